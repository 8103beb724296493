#include "engine/window.h"

#include <Xm/Label.h>
#include <Xm/List.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>

#include <cstdio>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "support/KvuString.h"
#include "ui/KvcInstallIcon.h"
#include "ui/KviInstall.h"

KvText KvInstallInfoMsg;

namespace {

// Pixels from the left edge of the disk space values to the right edge of the window.
constexpr int spaceRoom = 150;

// Pixels: the left edges of the subsystems' columns, and the margin at the window's right edge.
constexpr int secondColumn = 225;
constexpr int thirdColumn = 439;
constexpr int windowEdge = 9;
constexpr const char* narrowFont = "-misc-fixed-medium-r-semicondensed-*-13-*-*-*-*-*-iso8859-1";

std::string textOf(Widget field) {
    const KviText text(XmTextFieldGetString(field));
    return text ? text.get() : "";
}

// A field can't show every byte of a path: it shows a readable form, and the path itself is kept.
struct ShownPath {
    std::string path, shown;

    void show(Widget field, const char* text, Widget ok) {
        path = text;
        shown = KvcReadable(path);
        XmTextFieldSetString(field, shown.data());
        XtSetSensitive(ok, False);
    }

    [[nodiscard]] std::string in(Widget field) const {
        const std::string typed = textOf(field);
        return typed == shown ? path : typed;
    }
};
ShownPath locationPath, mediumPath;

// Does nothing if the display doesn't know the colour, or if it is set already: after each change
// Motif queries the server for the places of the window's widgets, which is slow over a slow line.
void setForeground(Widget w, const char* colour) {
    Boolean converted = False;
    Arg pixel{const_cast<char*>(XmNforeground),
              CONVERT(XtParent(w), colour, XmRPixel, 0, &converted)};
    Pixel shown = 0;
    XtVaGetValues(w, XmNforeground, &shown, nullptr);
    if (converted && pixel.value != static_cast<XtArgVal>(shown)) XtSetValues(w, &pixel, 1);
}

void setAlignment(Widget label, unsigned char alignment) {
    unsigned char shown = alignment;
    XtVaGetValues(label, XmNalignment, &shown, nullptr);
    if (shown != alignment) XtVaSetValues(label, XmNalignment, alignment, nullptr);
}

}  // namespace

std::string KvmLocationField() {
    return locationPath.in(kviInstallLocationText);
}

std::string KvmMediumField() {
    return mediumPath.in(kviInstallReadText);
}

void KvmShowLocation(const char* location) {
    locationPath.show(kviInstallLocationText, location, kviInstallLocationTextOk);
}

void KvmShowMediumText(const char* text) {
    mediumPath.show(kviInstallReadText, text, kviInstallReadTextOk);
}

void KvmLocationTaken() {
    XtSetSensitive(kviInstallLocationTextOk, False);
}

void KvmMediumTextTaken() {
    XtSetSensitive(kviInstallReadTextOk, False);
}

bool KvmToggleIsOn(Widget toggle) {
    return XmToggleButtonGetState(toggle) != False;
}

void KvmSetToggle(Widget toggle, bool on) {
    XmToggleButtonSetState(toggle, on ? True : False, False);
}

void KvmLabelToggle(Widget toggle, const std::string& label) {
    KvcLabelSetString(toggle, label.c_str());
    Position x = 0;
    Dimension own = 0;
    Dimension width = 0;
    XtVaGetValues(toggle, XmNx, &x, XmNwidth, &own, nullptr);
    XtVaGetValues(XtParent(toggle), XmNwidth, &width, nullptr);
    const int scale = BxScale(XtDisplay(toggle));
    const int end = x < secondColumn * scale  ? secondColumn * scale
                    : x < thirdColumn * scale ? thirdColumn * scale
                                              : width - windowEdge * scale;
    if (own <= end - x && KvcFitLabel(toggle, end - x)) return;
    // If the normal font is missing, its substitute may be too wide for the column.
    Boolean converted = False;
    Arg font{const_cast<char*>(XmNfontList),
             CONVERT(toggle, narrowFont, XmRFontList, 0, &converted)};
    if (converted) XtSetValues(toggle, &font, 1);
    KvcFitLabel(toggle, end - x);
}

void KvmShowMark(Widget toggle, KvmMark mark) {
    static const struct {
        const char* colour;
        Widget* legend;
    } looks[] = {{"Black", nullptr},
                 {"#008c00", &kviInstallSubsystemAddedLabel},
                 {"#d00", &kviInstallSubsystemRemovedLabel}};
    const auto& look = looks[static_cast<int>(mark)];
    setForeground(toggle, look.colour);
    if (look.legend != nullptr) XtManageChild(*look.legend);
}

void KvmAllowInstall(bool allowed) {
    XtSetSensitive(kviInstallButtonInstall, allowed ? True : False);
}

void KvmAllowChanges(bool allowed) {
    XtSetSensitive(kviInstallButtonRemove, allowed ? True : False);
    XtSetSensitive(kviInstallButtonUsers, allowed ? True : False);
}

void KvmShowRequired(const std::string& text) {
    KvcLabelSetString(kviInstallDiskReq, text.c_str());
}

void KvmShowAvailable(const std::string& text, bool enough) {
    KvcLabelSetString(kviInstallDiskAvail, text.c_str());
    KvcFitLabel(kviInstallDiskAvail, spaceRoom * BxScale(XtDisplay(kviInstallDiskAvail)));
    setForeground(kviInstallDiskAvail, enough ? "Black" : "#ca0000");
}

void KvmInstallMgr::info(Widget label, const char* a, const char* b, const char* c, const char* d) {
    if (label == nullptr) return;
    XtManageChild(label);
    const std::string text = KvuString::concatStrings(a, b, c, d);
    // A bell character at the end is for the terminal only; a label would show it as a box.
    std::string shown = KvcReadable(text);
    std::erase(shown, '\a');
    KvcLabelSetString(label, shown.c_str());
    // If the text is too long, show its beginning; the terminal has the whole of it.
    setAlignment(label, KvcFitLabel(label, 0) ? XmALIGNMENT_CENTER : XmALIGNMENT_BEGINNING);
    // Draw it now: usually a command follows, during which the window is not updated.
    XmUpdateDisplay(label);
    if (text != KvInstallInfoMsg) {
        std::printf("\n%s\n", text.c_str());
        std::fflush(stdout);
    }
    static_cast<void>(KvCopyText(KvInstallInfoMsg, text));
}

void KvmStatus(const char* a, const char* b, const char* c, const char* d) {
    KvmInstallMgr::info(kviInstallSystemMsg, a, b, c, d);
}

void KvmRaiseTerminal() {
    const char* id = std::getenv("WINDOWID");
    const Window terminal = id != nullptr ? std::strtoul(id, nullptr, 10) : None;
    if (terminal == None) return;
    Display* display = XtDisplay(kviInstallWidget);
    XSync(display, False);
    // The terminal may have been closed, or the window id may belong to another display.
    const XErrorHandler before = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    XRaiseWindow(display, terminal);
    XSync(display, False);
    XSetErrorHandler(before);
}

void KvmOpenIconDialog() {
    KvcInstallIcon(nullptr, nullptr, nullptr);
}

// Adds all names in one call, since each call lays out the whole list again.
void KvmShowUsers(const std::vector<std::string>& names) {
    XmListDeleteAllItems(kviInstallUserList);
    std::vector<KviXmString> owners;
    std::vector<XmString> items;
    for (std::string name : names) {
        owners.emplace_back(XmStringCreate(name.data(), XmSTRING_DEFAULT_CHARSET));
        items.push_back(owners.back().get());
    }
    XmListAddItems(kviInstallUserList, items.data(), static_cast<int>(items.size()), 0);
}

std::string KvmIconField() {
    return textOf(kviInstallIconPath);
}

void KvmShowIconPath(const char* path) {
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>(path));
}

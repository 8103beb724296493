#include "ui/KviInstall.h"

#include <Xm/BulletinB.h>
#include <Xm/DialogS.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/List.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrolledW.h>
#include <Xm/Separator.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>

#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "engine/catalogue.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "ui/KvcInstall.h"
#include "ui/KviWindow.h"
#include "ui/installIcon.h"

Widget kviInstallWidget;
Widget kviInstallSubsystemRemovedLabel, kviInstallSubsystemAddedLabel;
Widget kviInstallPinnet, kviInstallCorvan, kviInstallLustrel, kviInstallAmbrel;
Widget kviSubsystemPictureGallery, kviSubsystemMiscSource, kviSubsystemTranslatorsDev,
    kviSubsystemPhotorealRenderer, kviSubsystemExportXlators, kviSubsystemImportXlators,
    kviSubsystemProjects, kviSubsystemMaterials, kviSubsystemModels, kviSubsystemTextures;
Widget kviInstallDiskAvail, kviInstallDiskReq;
Widget kviInstallToggleTape, kviInstallToggleRemoteTape, kviInstallToggleTarFile,
    kviInstallToggleCD;
Widget kviInstallButtonUsers, kviInstallSystemMsg;
Widget kviInstallReadTextOk, kviInstallReadText;
Widget kviInstallButtonInstall, kviInstallButtonRemove;
Widget kviInstallLocationTextOk, kviInstallLocationText;
Widget kviInstallIconShell, kviIInstallIcon;
Widget kviInstallIconInstall, kviInstallIconPath, kviInstallIconProductLabel, kviInstallUserList;

namespace {

// Parents that only this file uses.
Widget frame, radioBox1, radioBox, scrolledWindow;

using Creator = Widget (*)(Widget, char*, ArgList, Cardinal);

constexpr int unset = -1;

struct Geometry {
    int x = unset, y = unset, width = unset, height = unset;
};

// One resource: a plain value, or text that CONVERT turns into `type`.
struct Resource {
    Resource(const char* resource, XtArgVal plain) : name(resource), value(plain) {}
    Resource(const char* resource, const char* representation, const char* source)
        : name(resource), type(representation), text(source) {}

    const char* name;
    const char* type = nullptr;
    const char* text = nullptr;
    XtArgVal value = 0;
};
using Resources = std::vector<Resource>;

struct Callback {
    const char* list;
    XtCallbackProc procedure;
};
using Callbacks = std::vector<Callback>;

enum class Shown { yes, no };

struct Row {
    Widget* variable;  // null: nothing refers to the widget later
    const char* name;
    Creator create;
    Widget* parent;
    Geometry at;
    Resources resources;
    Callbacks callbacks = {};
    Shown shown = Shown::yes;
};

constexpr const char* markFont = "-*-helvetica-medium-r-*-*-*-100-*-*-*-*-iso8859-1";
constexpr const char* noteFont = "-*-times-medium-i-*-*-*-120-*-*-*-*-iso8859-1";
constexpr const char* statusFont = "-*-helvetica-medium-r-*-*-*-120-*-*-*-*-iso8859-1";

Resource text(const char* label) {
    return {XmNlabelString, XmRXmString, label};
}
Resource font(const char* pattern) {
    return {XmNfontList, XmRFontList, pattern};
}
Resource foreground(const char* colour) {
    return {XmNforeground, XmRPixel, colour};
}
Resource background(const char* colour) {
    return {XmNbackground, XmRPixel, colour};
}

const Resource begin{XmNalignment, XmALIGNMENT_BEGINNING};
const Resource grey = background("gray");
const Resource keepSize{XmNrecomputeSize, False};
const Resource set{XmNset, True};

// Callbacks that rows of the same kind share.
const Callbacks edition{{XmNvalueChangedCallback, KvcInstallProduct}};
const Callbacks subsystem{{XmNvalueChangedCallback, KvcInstallSubsystemOnOff}};
const Callbacks medium{{XmNvalueChangedCallback, KvcInstallToggleRead}};
const Callbacks readField{{XmNactivateCallback, KvcInstallReadTextOk},
                          {XmNvalueChangedCallback, KvcInstallReadTextVal}};
const Callbacks locationField{{XmNactivateCallback, KvcInstallLocationTextOk},
                              {XmNvalueChangedCallback, KvcInstallLocationTextVal}};

// clang-format off
const Row mainRows[] = {
    {&kviInstallSubsystemRemovedLabel, "kviInstallSubsystemRemovedLabel", XmCreateLabel, &kviInstallWidget,
     {456, 316, 117, 20}, {text("- Marked for removal"), foreground("#d00"), font(markFont), begin, keepSize}, {}, Shown::no},
    {&kviInstallSubsystemAddedLabel, "kviInstallSubsystemAddedLabel", XmCreateLabel, &kviInstallWidget,
     {27, 316, 130, 20}, {text("+ Marked for installation"), foreground("#008c00"), font(markFont), begin, keepSize}, {}, Shown::no},
    {nullptr, "label19", XmCreateLabel, &kviInstallWidget,
     {26, 171, 490, 23}, {text("Select Zarn product being installed:"), begin, keepSize}},
    {&frame, "frame", XmCreateFrame, &kviInstallWidget, {28, 198, 550, 30}, {}},
    {&radioBox1, "radioBox1", XmCreateRadioBox, &frame,
     {3, 3, 544, 24}, {{XmNisHomogeneous, False}, {XmNmarginWidth, 0}, {XmNmarginHeight, 0}, {XmNorientation, XmHORIZONTAL}, {XmNpacking, XmPACK_TIGHT}}},
    {&kviInstallPinnet, "kviInstallPinnet", XmCreateToggleButton, &radioBox1,
     {unset, unset, 105, 24}, {text("Pinnet"), set, keepSize}, edition},
    {&kviInstallCorvan, "kviInstallCorvan", XmCreateToggleButton, &radioBox1,
     {unset, unset, 138, 24}, {text("Corvan"), keepSize}, edition},
    {&kviInstallLustrel, "kviInstallLustrel", XmCreateToggleButton, &radioBox1,
     {unset, unset, 148, 24}, {text("Lustrel"), keepSize}, edition},
    {&kviInstallAmbrel, "kviInstallAmbrel", XmCreateToggleButton, &radioBox1,
     {unset, unset, 144, 24}, {text("Ambrel"), keepSize}, edition},
    {nullptr, "separator7", XmCreateSeparator, &kviInstallWidget, {6, 440, 590, 20}, {}},
    {&kviSubsystemPictureGallery, "kviSubsystemPictureGallery", XmCreateToggleButton, &kviInstallWidget,
     {225, 418, 162, 24}, {text("Zarn picture gallery"), begin, set}, subsystem},
    {nullptr, "separator10", XmCreateSeparator, &kviInstallWidget, {8, 295, 590, 20}, {}},
    {nullptr, "label20", XmCreateLabel, &kviInstallWidget,
     {459, 410, 105, 23}, {text("(Unsupported)"), font(noteFont)}},
    {&kviSubsystemMiscSource, "kviSubsystemMiscSource", XmCreateToggleButton, &kviInstallWidget,
     {439, 388, 120, 25}, {text("Misc. source"), begin, set}, subsystem},
    {nullptr, "label18", XmCreateLabel, &kviInstallWidget,
     {460, 361, 132, 21}, {text("(Developer library)"), font(noteFont)}},
    {&kviSubsystemTranslatorsDev, "kviSubsystemTranslatorsDev", XmCreateToggleButton, &kviInstallWidget,
     {439, 340, 119, 25}, {text("Translators"), begin, set}, subsystem},
    {&kviSubsystemPhotorealRenderer, "kviSubsystemPhotorealRenderer", XmCreateToggleButton, &kviInstallWidget,
     {225, 392, 178, 24}, {text("Photorealistic renderer"), begin, set}, subsystem},
    {&kviSubsystemExportXlators, "kviSubsystemExportXlators", XmCreateToggleButton, &kviInstallWidget,
     {225, 366, 149, 24}, {text("Export translators"), begin, set}, subsystem},
    {&kviSubsystemImportXlators, "kviSubsystemImportXlators", XmCreateToggleButton, &kviInstallWidget,
     {225, 340, 149, 24}, {text("Import translators"), begin, set}, subsystem},
    {&kviSubsystemProjects, "kviSubsystemProjects", XmCreateToggleButton, &kviInstallWidget,
     {25, 392, 149, 24}, {text("Clip art - Projects"), begin, set}, subsystem},
    {&kviSubsystemMaterials, "kviSubsystemMaterials", XmCreateToggleButton, &kviInstallWidget,
     {25, 366, 149, 24}, {text("Clip art - Materials"), begin, set}, subsystem},
    {&kviSubsystemModels, "kviSubsystemModels", XmCreateToggleButton, &kviInstallWidget,
     {25, 418, 162, 24}, {text("Clip art - Models"), begin, set}, subsystem},
    {&kviSubsystemTextures, "kviSubsystemTextures", XmCreateToggleButton, &kviInstallWidget,
     {25, 340, 149, 24}, {text("Clip art - Textures"), begin, set}, subsystem},
    {nullptr, "kviInstallLocationLabel2", XmCreateLabel, &kviInstallWidget,
     {187, 315, 206, 20}, {text("Optional Zarn subsystems"), begin, keepSize}},
    {&kviInstallDiskAvail, "kviInstallDiskAvail", XmCreateLabel, &kviInstallWidget,
     {455, 461, 126, 21}, {text(" Mbytes"), begin, keepSize}},
    {&kviInstallDiskReq, "kviInstallDiskReq", XmCreateLabel, &kviInstallWidget,
     {196, 461, 100, 23}, {text(" Mbytes"), begin, keepSize}},
    {&radioBox, "radioBox", XmCreateRadioBox, &kviInstallWidget,
     {30, 80, 551, 30}, {{XmNisHomogeneous, False}, {XmNorientation, XmHORIZONTAL}}},
    {&kviInstallToggleTape, "kviInstallToggleTape", XmCreateToggleButton, &radioBox,
     {unset, unset, 134, 24}, {text("Local Tape")}, medium},
    {&kviInstallToggleRemoteTape, "kviInstallToggleRemoteTape", XmCreateToggleButton, &radioBox,
     {unset, unset, 134, 24}, {text("Remote Tape      ")}, medium},
    {&kviInstallToggleTarFile, "kviInstallToggleTarFile", XmCreateToggleButton, &radioBox,
     {unset, unset, 134, 24}, {text("Tar File")}, medium},
    {&kviInstallToggleCD, "kviInstallToggleCD", XmCreateToggleButton, &radioBox,
     {unset, unset, 134, 24}, {text("CD-ROM"), {XmNsensitive, True}, {XmNset, False}}, medium},
    {nullptr, "label17", XmCreateLabel, &kviInstallWidget,
     {40, 461, 158, 20}, {text("Disk Space Required:"), begin, keepSize}},
    {nullptr, "label16", XmCreateLabel, &kviInstallWidget,
     {300, 461, 161, 20}, {text("Disk Space Available:"), begin, keepSize}},
    {nullptr, "separator", XmCreateSeparator, &kviInstallWidget, {10, 152, 590, 21}, {}},
    {&kviInstallButtonUsers, "kviInstallButtonUsers", XmCreatePushButton, &kviInstallWidget,
     {247, 503, 114, 29}, {text("Install Icon..."), grey, keepSize}, {{XmNactivateCallback, KvcInstallIcon}}},
    {&kviInstallSystemMsg, "kviInstallSystemMsg", XmCreateLabel, &kviInstallWidget,
     {7, 8, 588, 31}, {text("System initializing, please wait..."), {XmNborderWidth, 2}, grey, {XmNalignment, XmALIGNMENT_CENTER}, font(statusFont), keepSize}},
    {nullptr, "label15", XmCreateLabel, &kviInstallWidget,
     {26, 50, 349, 29}, {text("Device to read from:"), begin, keepSize}},
    {&kviInstallReadTextOk, "kviInstallReadTextOk", XmCreatePushButton, &kviInstallWidget,
     {536, 112, 40, 30}, {text("Ok"), grey, keepSize}, {{XmNactivateCallback, KvcInstallReadTextOk}}},
    {&kviInstallReadText, "kviInstallReadText", XmCreateTextField, &kviInstallWidget,
     {27, 110, 502, 37}, {}, readField},
    {&kviInstallButtonInstall, "kviInstallButtonInstall", XmCreatePushButton, &kviInstallWidget,
     {11, 503, 100, 30}, {text("Install"), grey, keepSize}, {{XmNactivateCallback, KvcInstallSystemInstall}}},
    {nullptr, "pushButton", XmCreatePushButton, &kviInstallWidget,
     {513, 503, 80, 30}, {text("Exit"), grey, keepSize}, {{XmNactivateCallback, KvcInstallSystemCancel}}},
    {&kviInstallButtonRemove, "kviInstallButtonRemove", XmCreatePushButton, &kviInstallWidget,
     {128, 503, 100, 30}, {text("Remove"), grey, keepSize}, {{XmNactivateCallback, KvcInstallSystemRemove}}},
    {nullptr, "separator2", XmCreateSeparator, &kviInstallWidget, {7, 481, 590, 20}, {}},
    {nullptr, "label13", XmCreateLabel, &kviInstallWidget,
     {26, 234, 490, 23}, {text("System install location (Make sure there's enough disk space!)"), begin, keepSize}},
    {&kviInstallLocationTextOk, "kviInstallLocationTextOk", XmCreatePushButton, &kviInstallWidget,
     {536, 260, 42, 32}, {text("Ok"), grey, keepSize}, {{XmNactivateCallback, KvcInstallLocationTextOk}}},
    {&kviInstallLocationText, "kviInstallLocationText", XmCreateTextField, &kviInstallWidget,
     {27, 259, 502, 36}, {}, locationField},
};

const Row iconRows[] = {
    {nullptr, "separator3", XmCreateSeparator, &kviIInstallIcon, {10, 81, 232, 20}, {}},
    {nullptr, "dismiss", XmCreatePushButton, &kviIInstallIcon,
     {140, 322, 90, 33}, {text("Close"), grey, keepSize}, {{XmNactivateCallback, KvcInstallIconDismiss}}},
    {&kviInstallIconInstall, "kviInstallIconInstall", XmCreatePushButton, &kviIInstallIcon,
     {23, 322, 90, 33}, {text("Install"), grey, keepSize}, {{XmNactivateCallback, KvcInstallIconOk}}},
    {nullptr, "separator4", XmCreateSeparator, &kviIInstallIcon, {10, 302, 240, 20}, {}},
    {&kviInstallIconPath, "kviInstallIconPath", XmCreateTextField, &kviIInstallIcon,
     {28, 266, 202, 36}, {{XmNvalue, reinterpret_cast<XtArgVal>("/usr/local/bin")}}, {{XmNvalueChangedCallback, KvcInstallIconLocChanged}}},
    {&kviInstallIconProductLabel, "kviInstallIconProductLabel", XmCreateLabel, &kviIInstallIcon,
     {20, 240, 221, 23}, {text("Zarn icon location"), keepSize}},
    {nullptr, "label1", XmCreateLabel, &kviIInstallIcon,
     {27, 97, 200, 20}, {text("Users on this system"), keepSize}},
    {&scrolledWindow, "scrolledWindow", XmCreateScrolledWindow, &kviIInstallIcon,
     {60, 121, 131, 112}, {{XmNscrollingPolicy, XmAPPLICATION_DEFINED}}},
    {&kviInstallUserList, "kviInstallUserList", XmCreateList, &scrolledWindow,
     {unset, unset, 113, 94}, {background("#acacac"), {XmNlistSizePolicy, XmCONSTANT}, {XmNscrollBarDisplayPolicy, XmSTATIC}}, {{XmNbrowseSelectionCallback, KvcInstallSelectUser}}},
    {nullptr, "label2", XmCreateLabel, &kviIInstallIcon,
     {10, 12, 231, 71},
     {text(":::t\"Enter a location on your system\":t\"where you want the Zarn icon\""
           ":t\"linked (Example \\\"/usr/local/bin\\\"), \"\"and click on \\\"Install\\\".\""),
      begin, keepSize}},
};
// clang-format on

// The arguments of one widget. Owns the compound strings among them; Motif copies those.
class Arguments {
public:
    explicit Arguments(Widget converting) : converting_(converting) {}

    void add(const Geometry& at) {
        addUnlessUnset(XmNx, at.x);
        addUnlessUnset(XmNy, at.y);
        addUnlessUnset(XmNwidth, at.width);
        addUnlessUnset(XmNheight, at.height);
    }

    void add(const Resource& resource) {
        Boolean converted = True;
        XtArgVal value = resource.value;
        if (resource.type != nullptr) value = convert(resource, &converted);
        if (!converted) return;
        if (resource.type != nullptr && std::string_view(resource.type) == XmRXmString)
            strings_.emplace_back(reinterpret_cast<XmString>(value));
        args_.push_back({const_cast<char*>(resource.name), value});
    }

    ArgList list() { return args_.data(); }
    Cardinal count() const { return static_cast<Cardinal>(args_.size()); }

private:
    // Xt caches converted colours but not fonts, and would query the server for each one again.
    XtArgVal convert(const Resource& resource, Boolean* converted) const {
        static std::map<std::string, XtArgVal> fonts;
        const std::string source = sourceOf(resource);
        const bool isFont = std::string_view(resource.type) == XmRFontList;
        if (const auto known = fonts.find(source); isFont && known != fonts.end())
            return known->second;
        const XtArgVal value = CONVERT(converting_, source.c_str(), resource.type, 0, converted);
        if (isFont && *converted) fonts[source] = value;
        return value;
    }

    // In a multibyte locale a single font would show each byte as a character, so this makes a font
    // set. Within a set, a size in points does not select the 75 dpi fonts by itself, and the
    // substitute for a missing font is too wide, so the 75 dpi fonts are named first.
    std::string sourceOf(const Resource& resource) const {
        std::string source = resource.text;
        if (MB_CUR_MAX == 1 || std::string_view(resource.type) != XmRFontList) return source;
        source = BxScaledFont(XtDisplay(converting_), source);
        constexpr std::string_view anyResolution = "0-*-*-";
        std::string drawnFor = source;
        const std::size_t at = drawnFor.find(anyResolution);
        if (at != drawnFor.npos) drawnFor.replace(at, anyResolution.size(), "0-75-75-");
        return drawnFor + ';' + source + ";fixed:";
    }

    void addUnlessUnset(const char* name, int value) {
        if (value != unset) add(Resource(name, XtArgVal{value} * BxScale(XtDisplay(converting_))));
    }

    Widget converting_;
    std::vector<Arg> args_;
    std::vector<KviXmString> strings_;
};

void initializeClasses() {
    for (const WidgetClass widgetClass :
         {xmDialogShellWidgetClass, xmBulletinBoardWidgetClass, xmFrameWidgetClass,
          xmLabelWidgetClass, xmListWidgetClass, xmPushButtonWidgetClass, xmRowColumnWidgetClass,
          xmScrolledWindowWidgetClass, xmSeparatorWidgetClass, xmTextFieldWidgetClass,
          xmToggleButtonWidgetClass})
        XtInitializeWidgetClass(widgetClass);
}

Arguments argumentsOf(Widget converting, const Geometry& at, const Resources& resources) {
    Arguments arguments(converting);
    arguments.add(at);
    for (const Resource& resource : resources) arguments.add(resource);
    return arguments;
}

void createRow(Widget converting, const Row& row) {
    Arguments arguments = argumentsOf(converting, row.at, row.resources);
    const Widget widget =
        row.create(*row.parent, const_cast<char*>(row.name), arguments.list(), arguments.count());
    if (row.variable != nullptr) *row.variable = widget;
    if (row.shown == Shown::yes) XtManageChild(widget);
    for (const Callback& callback : row.callbacks)
        XtAddCallback(widget, callback.list, callback.procedure, nullptr);
}

// A shell that only runs callbacks when the window manager closes it: Motif's default response
// would destroy or hide widgets without the program's knowledge.
Widget createShell(Widget converting, const char* name, Widget parent, const Geometry& at,
                   const Resources& resources) {
    Arguments arguments = argumentsOf(converting, at, resources);
    arguments.add({XmNdeleteResponse, XmDO_NOTHING});
    return XtCreatePopupShell(name, xmDialogShellWidgetClass, parent, arguments.list(),
                              arguments.count());
}

Widget createBoard(Widget converting, const char* name, Widget shell, const Geometry& at,
                   const Resources& resources) {
    Arguments arguments = argumentsOf(converting, at, resources);
    return XmCreateBulletinBoard(shell, const_cast<char*>(name), arguments.list(),
                                 arguments.count());
}

void createMainDialog(Widget parent) {
    constexpr Geometry whole{9, 32, 607, 542};
    const std::string title = KvuFormat("Zarn %s Installation", kvmVersion);
    const Widget shell =
        createShell(parent, "install", parent, whole,
                    {{XmNiconPixmap, static_cast<XtArgVal>(XPM_PIXMAP(parent, installIcon_icon))}});
    kviInstallWidget = createBoard(parent, "kviInstallWidget", shell, whole,
                                   {{XmNmarginWidth, 2},
                                    {XmNmarginHeight, 2},
                                    {XmNautoUnmanage, False},
                                    {XmNdefaultPosition, False},
                                    {XmNresizePolicy, XmRESIZE_GROW},
                                    {XmNdialogTitle, XmRXmString, title.c_str()}});
    for (const Row& row : mainRows) createRow(parent, row);
    // If the legends' font is missing, its substitute is wider, so the legends may grow: the left
    // one up to the heading at its right (x 187, less 2 pixels: 185 - 27), the right one up to the
    // edge of the window (width 607, less its margin of 2: 605 - 456).
    const int scale = BxScale(XtDisplay(parent));
    KvcFitLabel(kviInstallSubsystemAddedLabel, 158 * scale);
    KvcFitLabel(kviInstallSubsystemRemovedLabel, 149 * scale);
}

void createIconDialog(Widget parent) {
    kviInstallIconShell =
        createShell(parent, "kviInstallIconShell", kviInstallWidget, {174, 90, 258, 361}, {});
    kviIInstallIcon =
        createBoard(parent, "kviIInstallIcon", kviInstallIconShell, {unset, unset, 258, 361},
                    {{XmNautoUnmanage, False},
                     {XmNresizePolicy, XmRESIZE_GROW},
                     {XmNdialogTitle, XmRXmString, "Install Icon"}});
    for (const Row& row : iconRows) createRow(parent, row);
    XmAddWMProtocolCallback(kviInstallIconShell, KvcCloseProtocol(XtDisplay(parent)),
                            KvcInstallIconDismiss, nullptr);
}

}  // namespace

Widget CreatekviInstallWidget(Widget parent) {
    RegisterBxConverters(XtWidgetToApplicationContext(parent));
    initializeClasses();
    createMainDialog(parent);
    createIconDialog(parent);
    return kviInstallWidget;
}

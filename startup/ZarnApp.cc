#include "startup/ZarnApp.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <Xm/Protocols.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "builder/KviBxUtil.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "startup/logo.h"
#include "support/KvuCommand.h"
#include "support/KvuSystem.h"

KvText appDefaultsFile;

static const char* const appDefaults = R"(
! General

*sgiMode:                                    True

! Fonts

*XmLabel*fontList:                           -*-helvetica-bold-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmLabelGadget*fontList:                     -*-helvetica-bold-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmScale*fontList:                           -*-helvetica-bold-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmBulletinBoard*labelFontList:              -*-helvetica-bold-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmPushButton*fontList:                      -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmPushButtonGadget*fontList:                -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmIconGadget*fontList:                      -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmBulletinBoard*buttonFontList:             -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmToggleButton*fontList:                    -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmToggleButtonGadget*fontList:              -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*optionMenu*fontList:                        -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmPushButton*fontList:          -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmLabelGadget*fontList:         -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmPushButtonGadget*fontList:    -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmCascadeButton*fontList:       -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmCascadeButtonGadget*fontList: -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmToggleButton*fontList:        -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmMenuShell*XmToggleButtonGadget*fontList:  -*-helvetica-bold-o-normal-*-14-*-*-*-*-*-iso8859-1
*XmList*fontList:                            -*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1
*XmText.fontList:                            -*-lucidatypewriter-medium-r-*-*-14-*-*-*-*-*-iso8859-1
*XmTextField.fontList:                       -*-lucidatypewriter-medium-r-*-*-14-*-*-*-*-*-iso8859-1

! Margins and spacing

*XmPushButton*marginHeight:                  4
*XmPushButton*marginWidth:                   7
*XmList*listMarginWidth:                     3
*menuBar*marginHeight:                       1
*menuBar.marginHeight:                       0
*menuBar*marginLeft:                         1
*menuBar.spacing:                            7
*XmMenuShell*marginLeft:                     3
*XmMenuShell*marginRight:                    4
*XmMenuShell*XmToggleButtonGadget*spacing:   2
*XmMenuShell*XmToggleButtonGadget*marginHeight: 0
*XmMenuShell*XmToggleButtonGadget*indicatorSize: 10
*XmMenuShell*XmLabelGadget*marginHeight:     4
*XmToggleButtonGadget*spacing:               4
*XmToggleButton*spacing:                     4
*XmScrolledWindow*spacing:                   0
*XmScrollBar*foreground:                     gray
*XmScrollBar*width:                          18
*XmScrollBar*height:                         18
*XmScale*scaleHeight:                        20
*XmText*marginHeight:                        4

! Colours

*foreground:                                 Black
*background:                                 #c1c1c1
*XmList*background:                          #999999
*XmPushButton*background:                    #adadad
*XmText.background:                          #c19797
*XmTextField.background:                     #c19797
*XmSelectionBox*background:                  #c1c1c1
*XmSelectionBox*XmText*background:           #c19797
*XmMessageBox*background:                    #c1c1c1
*fillOnSelect:                               True
*visibleWhenOff:                             True
*selectColor:                                red

! Keyboard-traversal highlight

*XmText*highlightColor:                      Black
*XmTextField*highlightColor:                 Black
*XmPushButton*highlightColor:                Black
*XmText*highlightThickness:                  1
*XmTextField*highlightThickness:             1
*XmPushButton*highlightThickness:            1
*highlightThickness:                         0

! Main shell position

*install.geometry:                           +80+50
)";

namespace {

// The user's own search path; nothing if it was not set.
std::optional<std::string> searchPathBefore;

// A partly written file is no good: it would end in the middle of a resource.
bool writeDefaults() {
    // Anybody who could replace the file would configure the super-user's window.
    if (!platform::prepareTemporary(appDefaultsFile)) return false;
    std::FILE* file = platform::openTemporary(appDefaultsFile);
    if (file == nullptr) return false;
    const bool written = std::fprintf(file, "%s", appDefaults) > 0;
    if (std::fclose(file) == 0 && written) return true;
    std::remove(appDefaultsFile);
    return false;
}

struct FontResource {
    std::vector<XrmBinding> bindings;
    std::vector<XrmQuark> names;
    std::string font;
};

Bool collectFont(XrmDatabase*, XrmBindingList bindings, XrmQuarkList names, XrmRepresentation*,
                 XrmValue* value, XPointer fonts) {
    const std::string text = value->addr != nullptr ? value->addr : "";
    if (!text.ends_with("-iso8859-1")) return False;
    FontResource resource;
    resource.font = text;
    for (; *names != NULLQUARK; ++names, ++bindings) {
        resource.names.push_back(*names);
        resource.bindings.push_back(*bindings);
    }
    resource.names.push_back(NULLQUARK);
    reinterpret_cast<std::vector<FontResource>*>(fonts)->push_back(resource);
    return False;
}

}  // namespace

void ZarnAppInit(const char* name) {
    if (!KvCopyText(appDefaultsFile, KvuFormat("/tmp/%s", name)) || !writeDefaults()) {
        appDefaultsFile[0] = '\0';
        return;
    }
    const char* before = std::getenv("XFILESEARCHPATH");
    if (before != nullptr) searchPathBefore = before;
    // Static, since putenv keeps the pointer.
    static char searchPath[] = "XFILESEARCHPATH=/usr/lib/X11/app-defaults/%N:/tmp/%N";
    putenv(searchPath);
    // If the display can't be opened, the toolkit ends the process before ZarnAppClose is called.
    std::atexit(ZarnAppClose);
}

void ZarnAppClose() {
    if (appDefaultsFile[0] == '\0') return;
    // Anybody can put defaults for other programs into /tmp, so no child process may look there.
    unsetenv("XFILESEARCHPATH");
    if (searchPathBefore) setenv("XFILESEARCHPATH", searchPathBefore->c_str(), 1);
    KvuSystem::system(KvuCommand("rm -f %s", appDefaultsFile).text.c_str(), 1);
    appDefaultsFile[0] = '\0';
}

char** ZarnAppFallbacks() {
    static std::string text = appDefaults;
    static std::vector<char*> lines;
    if (lines.empty()) {
        for (std::size_t at = 0, end = 0; (end = text.find('\n', at)) != text.npos; at = end + 1) {
            text[end] = '\0';
            if (end > at && text[at] != '!') lines.push_back(&text[at]);
        }
        lines.push_back(nullptr);
    }
    return lines.data();
}

void ZarnAppFitFonts(Display* display) {
    const char* endOfSet = MB_CUR_MAX == 1 ? "" : ":";
    if (*endOfSet == '\0' && BxScale(display) == 1) return;
    XrmDatabase resources = XrmGetDatabase(display);
    std::array<XrmQuark, 1> all = {NULLQUARK};
    std::vector<FontResource> fonts;
    XrmEnumerateDatabase(resources, all.data(), all.data(), XrmEnumAllLevels, collectFont,
                         reinterpret_cast<XPointer>(&fonts));
    for (FontResource& resource : fonts)
        XrmQPutStringResource(&resources, resource.bindings.data(), resource.names.data(),
                              (BxScaledFont(display, resource.font) + endOfSet).c_str());
}

void ZarnAppSetIcon(Widget shell) {
    const Pixmap logo = XCreateBitmapFromData(XtDisplay(shell), RootWindowOfScreen(XtScreen(shell)),
                                              reinterpret_cast<const char*>(logoBW_bmp_bits),
                                              logoBW_bmp_width, logoBW_bmp_height);
    Arg icon{const_cast<char*>(XtNiconPixmap), static_cast<XtArgVal>(logo)};
    XtSetValues(shell, &icon, 1);
}

void ZarnAppSetCloseCB(Widget shell, XtCallbackProc callback) {
    ZarnAppSetIcon(shell);
    XmAddWMProtocolCallback(shell, KvcCloseProtocol(XtDisplay(shell)), callback, nullptr);
}

// Zarn_install, the installer of the Zarn suite.
//
// The program runs twice. When the user starts it, it is the launcher: parseArgs opens a terminal
// window, runs the program again in it as super-user, and never returns. The second process, the
// installer, is what follows below.
//
// The window (ui/KviInstall) is built from two tables of widgets. Every action starts in a callback
// (ui/KvcInstall), which reads at most one value and calls one operation of the engine (engine/).
// The engine has one state, KvmInstallMgr::_info and the tables of the catalogue, and does most of
// its work on the disk with shell commands, whose output appears in the terminal. While a command
// runs, the program waits; before that it draws the status line, and the X server keeps the window
// drawn. Messages and questions share one box (motif/); a question runs its own event loop. What
// was installed is recorded in one small file, the installation record.
//
// Read KvmInstallMgr::install in engine/install.cc first: everything else leads to it or serves it.

#include <X11/Intrinsic.h>
#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <Xm/Protocols.h>
#include <Xm/RepType.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "builder/KviBxUtil.h"
#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "startup/ZarnApp.h"
#include "startup/Zarn_install.h"
#include "startup/log.h"
#include "support/KvuUtil.h"
#include "ui/KvcInstall.h"
#include "ui/KviWindow.h"

Widget KviInstallWidget;

// The window can't shrink, so on a small screen it moves up and left, or its lower buttons would be
// off the screen. The window manager's frame needs room as well, more above than at the sides.
static int onScreen(int wanted, int length, int screen, int frame) {
    return std::min(wanted, std::max(0, screen - length - frame));
}

static void placeAt(int x, int y) {
    constexpr int sides = 16;
    constexpr int titleAndSides = 40;
    Dimension ownWidth = 0;
    Dimension ownHeight = 0;
    XtVaGetValues(KviInstallWidget, XmNwidth, &ownWidth, XmNheight, &ownHeight, nullptr);
    const Screen* screen = XtScreen(KviInstallWidget);
    XtVaSetValues(KviInstallWidget, XmNx, onScreen(x, ownWidth, WidthOfScreen(screen), sides), XmNy,
                  onScreen(y, ownHeight, HeightOfScreen(screen), titleAndSides), nullptr);
}

// Motif places a dialog by the x and y of its BulletinBoard, so copy the position from the shell's
// geometry resource to those.
static void placeWindow() {
    char* geometry = nullptr;
    XtVaGetValues(XtParent(KviInstallWidget), XtNgeometry, &geometry, nullptr);
    int x = 0;
    int y = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    const int given =
        geometry != nullptr ? XParseGeometry(geometry, &x, &y, &width, &height) : NoValue;
    if ((given & (XValue | XNegative)) == XValue && (given & (YValue | YNegative)) == YValue)
        placeAt(x, y);
}

static void showWindow(Widget topLevelShell, Atom closing) {
    KviInstallWidget = CreatekviInstallWidget(topLevelShell);
    placeWindow();
    XtManageChild(KviInstallWidget);
    XMapWindow(XtDisplay(KviInstallWidget), XtWindow(KviInstallWidget));
    const Widget dialogShell = XtParent(KviInstallWidget);
    KvcKeepDrawn(dialogShell);
    XmAddWMProtocolCallback(dialogShell, closing, KvcInstallSystemCancel, nullptr);
    // Show the window now: the commands that follow would delay it.
    XFlush(XtDisplay(KviInstallWidget));
}

static void selectMedium() {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallMedium)); ++i) {
        const Boolean chosen = i == KvReadFrom ? True : False;
        XmToggleButtonSetState(KvmInstallMedium[i].getWidget(), chosen, chosen);
    }
}

// If the named directory contains no suite, this shows an error and opens no icon dialog, even if a
// suite is installed elsewhere.
static void doWhatWasAskedFor() {
    const bool named = KvInvokeSubsystems || KvInvokeIconInstall;
    const bool found = named && KvmInstallMgr::setInstallInfo(KvInstallLocation);
    if (KvInvokeIconInstall && found && KvmInstallMgr::isInstalled(nullptr))
        KvcInstallIcon(nullptr, nullptr, nullptr);
    if (KvReadFrom != -1) selectMedium();
}

// Sets only the locale's character set: dates and numbers in records and labels must not change.
static String setLanguage(Display*, String language, XtPointer) {
    if (std::setlocale(LC_CTYPE, language) == nullptr || XSupportsLocale() == False)
        std::setlocale(LC_CTYPE, "C");
    XSetLocaleModifiers("");
    return std::setlocale(LC_CTYPE, nullptr);
}

static XtErrorMsgHandler warnAsBefore;

// No font set covers every character set; the user need not hear which ones are missing.
static void warn(String name, String type, String defaultClass, String text, String* parameters,
                 Cardinal* count) {
    if (std::string_view(name) != "missingCharsetList")
        warnAsBefore(name, type, defaultClass, text, parameters, count);
}

// A display refuses some requests of a program that it does not trust (ssh -X), such as Motif's
// properties on the root window. None of them is worth ending an installation in progress.
static int surviveError(Display* display, XErrorEvent* error) {
    char text[128] = "";
    XGetErrorText(display, error->error_code, text, sizeof text);
    if (error->error_code != BadAccess)
        std::fprintf(stderr, "The display refuses request %d: %s\n", error->request_code, text);
    return 0;
}

int main(int argc, char** argv) {
    platform::prepareProcess();
    // First: even the launcher's commands can run out of swap space, and that warning names the
    // product.
    KvuUtil::initClass("Zarn", "Installation of the Zarn suite", "2", ".0", "", "Zarn_install");
    parseArgs(argc, argv);
    ZarnLogStart(argc, argv);
    ZarnAppInit("Zarn_install");
    XtSetLanguageProc(nullptr, setLanguage, nullptr);
    XSetErrorHandler(surviveError);
    XtAppContext appContext = nullptr;
    const Widget topLevelShell = XtVaAppInitialize(&appContext, "Zarn_install", nullptr, 0, &argc,
                                                   argv, ZarnAppFallbacks(), nullptr);
    const Atom closing = KvcCloseProtocol(XtDisplay(topLevelShell));
    if (closing == 0) std::printf("Internal Error: Could not create protocol atom.\n");
    RegisterBxConverters(appContext);
    XmRepTypeInstallTearOffModelConverter();
    ZarnAppClose();
    ZarnAppFitFonts(XtDisplay(topLevelShell));
    warnAsBefore = XtAppSetWarningMsgHandler(appContext, warn);
    showWindow(topLevelShell, closing);
    // Before the session starts, since that already shows messages.
    KvcInit(topLevelShell, &appContext);
    KvcSetMessagesOver(KviInstallWidget);
    KvmInstallMgr::start(argc, argv);
    doWhatWasAskedFor();
    XtAppMainLoop(appContext);
    return 0;
}

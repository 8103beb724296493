// Zarn_install, the installer of the Zarn suite.
//
// The program runs twice. As the user starts it, it is the launcher: parseArgs opens a terminal
// window, runs the program again in it as super-user, and never returns. The second process, the
// installer, is what follows below.
//
// The window (ui/KviInstall) is built from two tables of widgets. Every action starts in a callback
// (ui/KvcInstall), which reads one value and calls one operation of the engine (engine/). The
// engine has one state, KvmInstallMgr::_info with the two tables of the catalogue, and does all
// work on the disk with shell commands, whose output appears in the terminal. While a command runs
// the program waits: the status line is on the screen before, and the X server keeps the window
// drawn. Messages and questions are one shared box (motif/); a question runs an event loop of its
// own. What was installed is remembered in one small file, the installation record.
//
// Read KvmInstallMgr::install in engine/install.cc first: everything else is on its way or serves
// it.

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

// The window can't shrink: on a small screen its lower buttons would lie below the edge. What a
// window manager puts around it needs room as well, above it more than at its side.
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

// A dialog takes its place from its board: the position of the shell's geometry goes there.
static void placeWindow() {
    char* geometry = nullptr;
    XtVaGetValues(XtParent(KviInstallWidget), XtNgeometry, &geometry, nullptr);
    int x = 0;
    int y = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    const int given = geometry ? XParseGeometry(geometry, &x, &y, &width, &height) : NoValue;
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
    // The commands of the start, which follow, would keep it from the screen.
    XFlush(XtDisplay(KviInstallWidget));
}

static void selectMedium() {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallMedium)); ++i) {
        const Boolean chosen = i == KvReadFrom ? True : False;
        XmToggleButtonSetState(KvmInstallMedium[i].getWidget(), chosen, chosen);
    }
}

// A directory that holds no suite gives its error and nothing more, whatever else is installed.
static void doWhatWasAskedFor() {
    const bool named = KvInvokeSubsystems || KvInvokeIconInstall;
    const bool found = named && KvmInstallMgr::setInstallInfo(KvInstallLocation);
    if (KvInvokeIconInstall && found && KvmInstallMgr::isInstalled(nullptr))
        KvcInstallIcon(nullptr, nullptr, nullptr);
    if (KvReadFrom != -1) selectMedium();
}

// The user's characters, and nothing else: a date or number in a record or label stays what it is.
static String setLanguage(Display*, String language, XtPointer) {
    if (std::setlocale(LC_CTYPE, language) == nullptr || XSupportsLocale() == False)
        std::setlocale(LC_CTYPE, "C");
    XSetLocaleModifiers("");
    return std::setlocale(LC_CTYPE, nullptr);
}

static XtErrorMsgHandler warnAsBefore;

// No font has the characters of every language, and nobody has to hear of those of others.
static void warn(String name, String type, String defaultClass, String text, String* parameters,
                 Cardinal* count) {
    if (std::string_view(name) != "missingCharsetList")
        warnAsBefore(name, type, defaultClass, text, parameters, count);
}

// A display refuses some requests to a program that it does not trust (ssh -X), such as the notes
// that Motif leaves on the root window. None is worth ending an installation that is on its way.
static int surviveError(Display* display, XErrorEvent* error) {
    char text[128] = "";
    XGetErrorText(display, error->error_code, text, sizeof text);
    if (error->error_code != BadAccess)
        std::fprintf(stderr, "The display refuses request %d: %s\n", error->request_code, text);
    return 0;
}

int main(int argc, char** argv) {
    platform::prepareProcess();
    // The launcher's commands can run out of swap space already, and the warning names the product.
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
    // The session tells the user what it finds, so that the messages have to be ready before it.
    KvcInit(topLevelShell, &appContext);
    KvcSetMessagesOver(KviInstallWidget);
    KvmInstallMgr::start(argc, argv);
    doWhatWasAskedFor();
    XtAppMainLoop(appContext);
    return 0;
}

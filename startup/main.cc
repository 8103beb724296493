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

#include <cstdio>
#include <iterator>

#include "builder/KviBxUtil.h"
#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "startup/ZarnApp.h"
#include "startup/Zarn_install.h"
#include "support/KvuUtil.h"
#include "ui/KvcInstall.h"
#include "ui/KviWindow.h"

Widget KviInstallWidget;

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
        XtVaSetValues(KviInstallWidget, XmNx, x, XmNy, y, nullptr);
}

static void showWindow(Widget topLevelShell, Atom closing) {
    KviInstallWidget = CreatekviInstallWidget(topLevelShell);
    placeWindow();
    XtManageChild(KviInstallWidget);
    XMapWindow(XtDisplay(KviInstallWidget), XtWindow(KviInstallWidget));
    const Widget dialogShell = XtParent(KviInstallWidget);
    KvcKeepDrawn(dialogShell);
    XmAddWMProtocolCallback(dialogShell, closing, KvcInstallSystemCancel, nullptr);
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

int main(int argc, char** argv) {
    platform::prepareProcess();
    // The launcher's commands can run out of swap space already, and the warning names the product.
    KvuUtil::initClass("Zarn", "Installation of the Zarn suite", "2", ".0", "", "Zarn_install");
    parseArgs(argc, argv);
    ZarnAppInit("Zarn_install");
    XtAppContext appContext = nullptr;
    const Widget topLevelShell =
        XtVaAppInitialize(&appContext, "Zarn_install", nullptr, 0, &argc, argv, nullptr, nullptr);
    const Atom closing =
        XmInternAtom(XtDisplay(topLevelShell), const_cast<char*>("WM_DELETE_WINDOW"), False);
    if (closing == 0) std::printf("Internal Error: Could not create protocol atom.\n");
    RegisterBxConverters(appContext);
    XmRepTypeInstallTearOffModelConverter();
    ZarnAppClose();
    showWindow(topLevelShell, closing);
    // The session tells the user what it finds, so that the messages have to be ready before it.
    KvcInit(topLevelShell, &appContext);
    KvcSetMessagesOver(KviInstallWidget);
    KvmInstallMgr::start(argc, argv);
    doWhatWasAskedFor();
    XtAppMainLoop(appContext);
    return 0;
}

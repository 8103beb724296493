#include "ui/KvcInstall.h"

#include <X11/Xlib.h>
#include <Xm/List.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>

#include <string>

#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "ui/KviInstall.h"

namespace {

int mediumOf(Widget toggle) {
    if (toggle == kviInstallToggleRemoteTape) return 1;
    if (toggle == kviInstallToggleTarFile) return 2;
    if (toggle == kviInstallToggleCD) return 3;
    return 0;
}

// The toolkit reports both toggles of a switch: the one that goes off and the one that comes on.
bool reportsSwitchOff(XtPointer callData) {
    const auto* report = static_cast<XmToggleButtonCallbackStruct*>(callData);
    return report != nullptr && report->set == XmUNSET;
}

void unmapWindow(Widget w) {
    if (XtIsRealized(w)) XUnmapWindow(XtDisplay(w), XtWindow(w));
}

}  // namespace

void KvcInstallToggleRead(Widget w, XtPointer, XtPointer callData) {
    if (reportsSwitchOff(callData)) return;
    KvmInstallMgr::setReadFrom(mediumOf(w));
    KvmInstallMgr::init();
}

void KvcInstallReadTextOk(Widget, XtPointer, XtPointer) {
    const KviText text(XmTextFieldGetString(kviInstallReadText));
    if (text) KvmInstallMgr::setReadText(text.get());
}

void KvcInstallReadTextVal(Widget, XtPointer, XtPointer) {
    KvcSetSensitive(kviInstallReadTextOk, 1);
}

void KvcInstallLocationTextOk(Widget, XtPointer, XtPointer) {
    const KviText text(XmTextFieldGetString(kviInstallLocationText));
    if (text) KvmInstallMgr::setLocation(text.get());
}

void KvcInstallLocationTextVal(Widget, XtPointer, XtPointer) {
    KvcSetSensitive(kviInstallLocationTextOk, 1);
}

void KvcInstallProduct(Widget w, XtPointer, XtPointer) {
    if (XmToggleButtonGetState(w)) KvmInstallMgr::setProduct();
}

void KvcInstallSubsystemOnOff(Widget w, XtPointer, XtPointer) {
    KvmInstallMgr::setSubsystem(w, XmToggleButtonGetState(w));
}

void KvcInstallSystemInstall(Widget, XtPointer, XtPointer) {
    if (KvmInstallMgr::install() != 0) KvmInstallMgr::init();
    KvcDropInput();
}

void KvcInstallSystemRemove(Widget, XtPointer, XtPointer) {
    KvmInstallMgr::remove();
    KvmInstallMgr::init();
    KvcDropInput();
}

void KvcInstallSystemCancel(Widget, XtPointer, XtPointer) {
    if (!KvcQuestionOpen()) KvmInstallMgr::close();
}

void KvcInstallIcon(Widget, XtPointer, XtPointer) {
    XtManageChild(kviIInstallIcon);
    KvcKeepDrawn(kviInstallIconShell);
    KvmInstallMgr::listUsers();
    const std::string heading = KvuPrint("%s icon location", KvmInstallMgr::getProductName());
    KvcLabelSetString(kviInstallIconProductLabel, heading.c_str());
    KvmInstallMgr::installDesktop();
}

void KvcInstallIconOk(Widget, XtPointer, XtPointer) {
    KvmInstallMgr::installIcon_icon();
    KvcSetSensitive(kviInstallIconInstall, 0);
}

void KvcInstallIconLocChanged(Widget, XtPointer, XtPointer) {
    KvcSetSensitive(kviInstallIconInstall, 1);
}

void KvcInstallSelectUser(Widget, XtPointer, XtPointer callData) {
    const auto* selection = static_cast<XmListCallbackStruct*>(callData);
    char* name = nullptr;
    if (!XmStringGetLtoR(selection->item, XmSTRING_DEFAULT_CHARSET, &name)) return;
    KvmInstallMgr::selectUser(KviText(name).get());
}

void KvcInstallIconDismiss(Widget, XtPointer, XtPointer) {
    if (KvcQuestionOpen()) return;
    XtUnmanageChild(kviIInstallIcon);
    // The window manager may still show what the toolkit has let go; these vanish at once.
    unmapWindow(kviIInstallIcon);
    unmapWindow(kviInstallIconShell);
}

#include "ui/KvcInstall.h"

#include <X11/Xlib.h>
#include <Xm/List.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>

#include <iterator>
#include <string>

#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "engine/catalogue.h"
#include "engine/window.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "ui/KviInstall.h"

namespace {

int mediumOf(Widget toggle) {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallMedium)); ++i)
        if (KvmInstallMedium[i].getWidget() == toggle) return i;
    return KvmLocalTape;
}

// Preserves a field's unconfirmed text while the window is refreshed, and its cursor in any case.
class FieldKeeper {
public:
    FieldKeeper(Widget field, Widget ok)
        : field_(field),
          ok_(ok),
          pending_(XtIsSensitive(ok) != False),
          text_(XmTextFieldGetString(field)),
          cursor_(XmTextFieldGetInsertionPosition(field)) {}
    FieldKeeper(const FieldKeeper&) = delete;
    FieldKeeper& operator=(const FieldKeeper&) = delete;

    /// The text was confirmed, so the refresh may replace it.
    void confirmed() { pending_ = false; }

    ~FieldKeeper() {
        if (pending_) XmTextFieldSetString(field_, text_.get());
        KvcSetSensitive(ok_, pending_ || XtIsSensitive(ok_));
        XmTextFieldSetInsertionPosition(field_, cursor_);
    }

private:
    Widget field_, ok_;
    bool pending_;
    KviText text_;
    XmTextPosition cursor_;
};

// When a radio box changes, Motif reports both toggles: the one going off and the one coming on.
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
    const FieldKeeper location(kviInstallLocationText, kviInstallLocationTextOk);
    KvmInstallMgr::setReadFrom(mediumOf(w));
    KvmInstallMgr::init();
}

void KvcInstallReadTextOk(Widget, XtPointer, XtPointer) {
    KvmInstallMgr::setReadText(KvmMediumField().c_str());
}

void KvcInstallReadTextVal(Widget, XtPointer, XtPointer) {
    KvcSetSensitive(kviInstallReadTextOk, 1);
}

void KvcInstallLocationTextOk(Widget, XtPointer, XtPointer) {
    const FieldKeeper medium(kviInstallReadText, kviInstallReadTextOk);
    FieldKeeper location(kviInstallLocationText, kviInstallLocationTextOk);
    if (KvmInstallMgr::setLocation(KvmLocationField().c_str())) location.confirmed();
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
    const FieldKeeper medium(kviInstallReadText, kviInstallReadTextOk);
    const FieldKeeper location(kviInstallLocationText, kviInstallLocationTextOk);
    KvmInstallMgr::remove();
    KvmInstallMgr::init();
    KvcDropInput();
}

void KvcInstallSystemCancel(Widget, XtPointer, XtPointer) {
    if (!KvcQuestionOpen()) KvmInstallMgr::close();
}

void KvcInstallIcon(Widget, XtPointer, XtPointer) {
    KvcWaitUntilRead();
    XtManageChild(kviIInstallIcon);
    KvcKeepDrawn(kviInstallIconShell);
    KvmInstallMgr::listUsers();
    const std::string heading = KvuFormat("%s icon location", KvmInstalledProgram().c_str());
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
    // The window manager may take time to remove an unmanaged dialog; unmapping hides it at once.
    unmapWindow(kviIInstallIcon);
    unmapWindow(kviInstallIconShell);
}

#pragma once

#include <X11/Intrinsic.h>

#include "ui/KvcInstallIcon.h"

/// The window's callbacks. Each reads at most one value from the window and calls one engine
/// operation; none keeps state. Client data is always null. Call data is looked at where a line
/// below says so.

/// A medium toggle: selects its medium and refreshes the window. A call that reports the toggle
/// as switched off is passed over: the medium is that of the toggle switched on.
void KvcInstallToggleRead(Widget w, XtPointer clientData, XtPointer callData);
/// The medium field's text becomes the engine's.
void KvcInstallReadTextOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallReadTextVal(Widget w, XtPointer clientData, XtPointer callData);
/// The location field's text becomes the install location, unless the engine refuses it.
void KvcInstallLocationTextOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallLocationTextVal(Widget w, XtPointer clientData, XtPointer callData);

/// An edition toggle: only the one switched on reaches the engine.
void KvcInstallProduct(Widget w, XtPointer clientData, XtPointer callData);
/// A subsystem toggle: marks or unmarks its subsystem.
void KvcInstallSubsystemOnOff(Widget w, XtPointer clientData, XtPointer callData);

/// "Install": refreshes the window only when something was installed.
void KvcInstallSystemInstall(Widget w, XtPointer clientData, XtPointer callData);
/// "Remove": refreshes the window whatever the outcome.
void KvcInstallSystemRemove(Widget w, XtPointer clientData, XtPointer callData);
/// "Exit", and the window manager's close of the main window: ends the process with status 0.
/// Does nothing while a question waits for its answer.
void KvcInstallSystemCancel(Widget w, XtPointer clientData, XtPointer callData);

/// The icon dialog's "Install": links the start command, then waits for another location.
void KvcInstallIconOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallIconLocChanged(Widget w, XtPointer clientData, XtPointer callData);
/// A user chosen in the list: call data is the list's. His home directory becomes the location.
void KvcInstallSelectUser(Widget w, XtPointer clientData, XtPointer callData);
/// "Close", and the window manager's close of the icon dialog. Does nothing while a question
/// waits for its answer.
void KvcInstallIconDismiss(Widget w, XtPointer clientData, XtPointer callData);

#pragma once

#include <X11/Intrinsic.h>

#include "ui/KvcInstallIcon.h"

/// The window's callbacks. Each reads at most one value from the window and calls one engine
/// operation; none keeps state. Client data is always null. Call data is used only where stated.

/// A medium toggle: selects its medium and refreshes the window. A call that reports the toggle
/// as switched off is ignored: only the toggle that is switched on selects the medium.
void KvcInstallToggleRead(Widget w, XtPointer clientData, XtPointer callData);
/// The medium field's text becomes the engine's.
void KvcInstallReadTextOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallReadTextVal(Widget w, XtPointer clientData, XtPointer callData);
/// The location field's text becomes the install location, unless the engine refuses it.
void KvcInstallLocationTextOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallLocationTextVal(Widget w, XtPointer clientData, XtPointer callData);

/// An edition toggle: passed to the engine only when it is switched on.
void KvcInstallProduct(Widget w, XtPointer clientData, XtPointer callData);
/// A subsystem toggle: marks or unmarks its subsystem.
void KvcInstallSubsystemOnOff(Widget w, XtPointer clientData, XtPointer callData);

/// "Install": refreshes the window only when something was installed.
void KvcInstallSystemInstall(Widget w, XtPointer clientData, XtPointer callData);
/// "Remove": always refreshes the window.
void KvcInstallSystemRemove(Widget w, XtPointer clientData, XtPointer callData);
/// "Exit", or the window manager closing the main window: ends the process with status 0. Does
/// nothing while a question is open.
void KvcInstallSystemCancel(Widget w, XtPointer clientData, XtPointer callData);

/// The icon dialog's "Install": links the start command, then waits for another location.
void KvcInstallIconOk(Widget w, XtPointer clientData, XtPointer callData);
void KvcInstallIconLocChanged(Widget w, XtPointer clientData, XtPointer callData);
/// A user chosen in the list; call data is the list's. His home directory becomes the location.
void KvcInstallSelectUser(Widget w, XtPointer clientData, XtPointer callData);
/// "Close", or the window manager closing the icon dialog. Does nothing while a question is open.
void KvcInstallIconDismiss(Widget w, XtPointer clientData, XtPointer callData);

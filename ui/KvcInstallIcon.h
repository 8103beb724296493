#pragma once

#include <X11/Intrinsic.h>

/// Opens the icon dialog: shows it, lists the machine's users, names the edition in its heading,
/// and asks whether to install the desktop icons. Returns when that question is answered; the
/// dialog stays open. The arguments are ignored and may be null.
void KvcInstallIcon(Widget w, XtPointer clientData, XtPointer callData);

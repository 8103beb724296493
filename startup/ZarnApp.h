#pragma once

#include <X11/Intrinsic.h>

#include "support/KvTypes.h"

/// Gives an application of the suite its look without an installed resource file.

/// Path of the generated defaults file; empty when there is none (before ZarnAppInit, after
/// ZarnAppClose, and when it could not be written).
extern KvText appDefaultsFile;

/// Writes the defaults for the application class `name` into "/tmp/<name>" and makes the toolkit
/// look there, behind the system's own app-defaults directory. To be called before the toolkit is
/// initialised with that class. When the file can't be written, or something that is not the
/// user's own stands in its place, nothing happens: the application has its look from
/// ZarnAppFallbacks then.
void ZarnAppInit(const char* name);

/// The same defaults, line by line with a null at the end, for the toolkit's initialisation: it
/// takes them when it finds no defaults file of the class, and prefers whatever the user has set.
[[nodiscard]] char** ZarnAppFallbacks();

/// Deletes the defaults file, if there is one, and lets the search path be what it was. To be
/// called once the toolkit has read the file.
void ZarnAppClose();

/// Scales the fonts that the resources name (BxScale). Where a character may take several bytes,
/// makes sets of them: a single font would show each byte as a character. To be called before a
/// widget is made.
void ZarnAppFitFonts(Display* display);

/// Makes the suite's logo the icon of a top-level `shell`. The bitmap is never freed.
void ZarnAppSetIcon(Widget shell);

/// The same, and calls `callback` (client data null) when the window manager asks `shell` to close.
void ZarnAppSetCloseCB(Widget shell, XtCallbackProc callback);

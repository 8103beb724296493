#pragma once

#include <X11/Intrinsic.h>

#include "support/KvTypes.h"

/// Gives an application of the suite its look without an installed resource file.

/// Path of the generated defaults file; empty when there is none (before ZarnAppInit, after
/// ZarnAppClose, and when it could not be written).
extern KvText appDefaultsFile;

/// Writes the defaults for the application class `name` to "/tmp/<name>" and makes the toolkit look
/// there, after the system's own app-defaults directory. Call it before the toolkit is initialised
/// with that class. If the file can't be written, or something there does not belong to the user,
/// it does nothing: the application then gets its look from ZarnAppFallbacks.
void ZarnAppInit(const char* name);

/// The same defaults as an array of lines that ends with null, for the toolkit's initialisation.
/// The toolkit uses them when it finds no defaults file for the class; the user's own settings take
/// precedence.
[[nodiscard]] char** ZarnAppFallbacks();

/// Deletes the defaults file, if there is one, and restores the search path. Call it once the
/// toolkit has read the file.
void ZarnAppClose();

/// Scales the fonts named in the resources (BxScale). In a multibyte locale also turns them into
/// font sets: a single font would show each byte as a character. Call it before any widget is
/// created.
void ZarnAppFitFonts(Display* display);

/// Makes the suite's logo the icon of a top-level `shell`. The bitmap is never freed.
void ZarnAppSetIcon(Widget shell);

/// The same, and calls `callback` (client data null) when the window manager asks `shell` to close.
void ZarnAppSetCloseCB(Widget shell, XtCallbackProc callback);

#pragma once

#include <X11/Intrinsic.h>

/// The window that the user has to deal with first: it is modal, above the others, and has the
/// keyboard, as far as a program can see to that under any window manager. For this folder's
/// sources only.

/// Tells the window manager that `shell` shuts off the window that it belongs to. That is forgotten
/// with a window that goes: so it has to be told each time before `shell` comes up.
void KvcAnnounceFront(Widget shell);

/// From now on, whenever `isShown` holds, `shell` takes the keyboard when it comes up, and when
/// another window of the program gets it. Another window of the program that comes up meanwhile,
/// or the one that KvcKeepBelowMessages names, stays below `shell` and leaves it the keyboard; all
/// other windows are left alone. `shell` does not insist against one that keeps doing the same. To
/// be called for one shell, once it is realized.
void KvcKeepInFront(Widget shell, bool (*isShown)());

/// Gives the keyboard to `shell`, above all windows. Nothing happens while it isn't on the screen.
void KvcGiveKeyboard(Widget shell);

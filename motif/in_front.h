#pragma once

#include <X11/Intrinsic.h>

/// The window that the user has to deal with first: it is modal, above the others, and has the
/// keyboard, as far as a program can ensure that under any window manager. For this folder's
/// sources only.

/// Tells the window manager that `shell` is modal for its parent window. Window managers forget
/// this when a window is withdrawn, so call it each time before `shell` is mapped.
void KvcAnnounceFront(Widget shell);

/// From now on, whenever `isShown` returns true, `shell` takes the keyboard when it is mapped and
/// when another window of the program gets the focus. If another window of the program, or the one
/// set by KvcKeepBelowMessages, is mapped meanwhile, it stays below and `shell` keeps the keyboard;
/// all other windows are left alone. `shell` gives up against a window that keeps fighting for the
/// front. Call this for one shell only, once it is realized.
void KvcKeepInFront(Widget shell, bool (*isShown)());

/// Raises `shell` above all windows and gives it the keyboard. Does nothing unless it is viewable.
void KvcGiveKeyboard(Widget shell);

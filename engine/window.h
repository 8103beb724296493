#pragma once

#include <X11/Intrinsic.h>

#include <string>
#include <vector>

/// The installer's window as the engine knows it: what is read from it and shown in it.

/// How a subsystem's toggle looks.
enum class KvmMark { none, added, removed };

// The fields. A field's text is pending while its "Ok" button is sensitive: the user has changed it
// since the engine last set or accepted it.

/// The text in the field of the location, and of the medium.
std::string KvmLocationField();
std::string KvmMediumField();

/// Sets a field's text, which is then no longer pending.
void KvmShowLocation(const char* location);
void KvmShowMediumText(const char* text);

/// Accepts the field's text as it is: it is no longer pending.
void KvmLocationTaken();
void KvmMediumTextTaken();

// Toggles and buttons

bool KvmToggleIsOn(Widget toggle);
/// Switches a toggle without running its callbacks.
void KvmSetToggle(Widget toggle, bool on);
void KvmLabelToggle(Widget toggle, const std::string& label);

/// Shows a subsystem's mark at its toggle, and the legend that explains the mark.
void KvmShowMark(Widget toggle, KvmMark mark);

void KvmAllowInstall(bool allowed);
/// Makes the buttons that need an installed suite sensitive or not.
void KvmAllowChanges(bool allowed);

// Labels

void KvmShowRequired(const std::string& text);
/// `enough` chooses the colour.
void KvmShowAvailable(const std::string& text, bool enough);

/// Shows the pieces joined in the status line, and prints them when they are new.
void KvmStatus(const char* a, const char* b = nullptr, const char* c = nullptr,
               const char* d = nullptr);

/// Raises the installer's terminal, if it has its own, above its window. Call this before a command
/// that may ask for something there.
void KvmRaiseTerminal();

// The icon dialog

/// Opens it, as its button does: it lists the users and asks about the desktop icons.
void KvmOpenIconDialog();
/// Replaces the names in the list of users.
void KvmShowUsers(const std::vector<std::string>& names);
std::string KvmIconField();
void KvmShowIconPath(const char* path);

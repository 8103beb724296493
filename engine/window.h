#pragma once

#include <X11/Intrinsic.h>

#include <string>
#include <vector>

/// The installer's window as the engine knows it: what is read from it and shown in it.

/// How a subsystem's toggle looks.
enum class KvmMark { none, added, removed };

// The fields. Text is pending while its "Ok" button is sensitive: the user changed it since the
// engine showed or took it.

/// What stands in the field of the location, and of the medium.
std::string KvmLocationField();
std::string KvmMediumField();

/// Puts text into a field, which is no longer pending then.
void KvmShowLocation(const char* location);
void KvmShowMediumText(const char* text);

/// What stands in the field was taken over as it is.
void KvmLocationTaken();
void KvmMediumTextTaken();

// Toggles and buttons

bool KvmToggleIsOn(Widget toggle);
/// Switches a toggle without running its callbacks.
void KvmSetToggle(Widget toggle, bool on);
void KvmLabelToggle(Widget toggle, const std::string& label);

/// Shows a subsystem's mark at its toggle, and with it the legend that explains the mark.
void KvmShowMark(Widget toggle, KvmMark mark);

void KvmAllowInstall(bool allowed);
/// The buttons that need an installed suite.
void KvmAllowChanges(bool allowed);

// Labels

void KvmShowRequired(const std::string& text);
/// `enough` tells the colour.
void KvmShowAvailable(const std::string& text, bool enough);

/// Shows the pieces joined in the status line, and prints them when they are new.
void KvmStatus(const char* a, const char* b = nullptr, const char* c = nullptr,
               const char* d = nullptr);

/// Brings the terminal that the installer runs in, if it has one of its own, before its window: to
/// be called before a command that may ask for something there.
void KvmRaiseTerminal();

// The icon dialog

/// Opens it, as its button does: it lists the users and asks for the desktop icons.
void KvmOpenIconDialog();
/// Shows these names in the list of users, instead of what was there.
void KvmShowUsers(const std::vector<std::string>& names);
std::string KvmIconField();
void KvmShowIconPath(const char* path);

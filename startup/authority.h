#pragma once

#include <string>

/// The permission to use the display. It is in a file of the user's (XAUTHORITY), but the
/// super-user needs it as well.

/// Whether DISPLAY can be opened within 20 seconds. A child process tries it, so that no connection
/// stays open.
[[nodiscard]] bool displayOpens();

/// For the super-user: if XAUTHORITY is not set, sets it to the file of the user who called sudo,
/// provided that this opens the display. First unsets an XAUTHORITY that can't be read.
void useCallersAuthority();

/// Passes the permission on to programs that are started while this object lives.
class HandedOnAuthority {
public:
    /// Sets XAUTHORITY to the file in the home directory, if that is readable and the variable is
    /// unset. If the display admits its user by name, so that there is no file to pass on, asks the
    /// display for a cookie and stores it in a folder that only the user can enter.
    HandedOnAuthority();
    HandedOnAuthority(const HandedOnAuthority&) = delete;
    HandedOnAuthority& operator=(const HandedOnAuthority&) = delete;
    ~HandedOnAuthority();

    /// Whether the super-user can't use the display, because it refused to issue a cookie.
    [[nodiscard]] bool refused() const { return refused_; }

private:
    void askDisplay(const char* display);
    void remove();

    std::string folder_;
    bool refused_ = false;
};

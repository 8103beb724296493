#pragma once

#include <string>

/// The permission to use the display: it lies in a file of the user's (XAUTHORITY), and the
/// super-user needs it as well.

/// Whether DISPLAY can be opened within 20 seconds; tried by another process, so that no connection
/// stays behind.
[[nodiscard]] bool displayOpens();

/// As super-user, takes the file of the user who called sudo, if it opens the display and
/// XAUTHORITY is not set; an XAUTHORITY that can't be read is unset.
void useCallersAuthority();

/// Hands the permission on to programs that are started while this lives.
class HandedOnAuthority {
public:
    /// Sets XAUTHORITY to the file in the home directory, if that can be read and the variable is
    /// unset. When there is no permission to hand on, since the display knows its user by name,
    /// the display is asked for one; it goes into a folder of the user's, which nobody else can
    /// enter.
    HandedOnAuthority();
    HandedOnAuthority(const HandedOnAuthority&) = delete;
    HandedOnAuthority& operator=(const HandedOnAuthority&) = delete;
    ~HandedOnAuthority();

    /// Whether the super-user can't have the display: it gives no permission to hand on.
    [[nodiscard]] bool refused() const { return refused_; }

private:
    void askDisplay(const char* display);
    void remove();

    std::string folder_;
    bool refused_ = false;
};

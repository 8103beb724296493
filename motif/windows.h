#pragma once

#include <X11/Intrinsic.h>

#include <functional>
#include <vector>

/// Shells as the X server and the window manager have them. For this folder's sources only.

/// A window with what its window manager puts around it, in pixels of the screen.
struct KvcFrame {
    int x = 0, y = 0, width = 0, height = 0;
    int extraWidth = 0, extraHeight = 0;
};

/// The shell that `w` lies in, or is; null for null.
[[nodiscard]] Widget KvcShellOf(Widget w);

/// Whether the window of `shell` is on the screen; it may be covered. False for null, and before it
/// is realized.
[[nodiscard]] bool KvcIsViewable(Widget shell);

/// Whether the window manager has nothing to do with the window, as before it was ever shown.
[[nodiscard]] bool KvcIsWithdrawn(Widget shell);

/// The outermost window that the window manager put around `window`; that itself if there is none.
[[nodiscard]] Window KvcFrameWindow(Display* display, Window window);

/// The windows in `window`, the lowest first; none if it is gone.
[[nodiscard]] std::vector<Window> KvcChildren(Display* display, Window window);

/// While it lives, no other program does anything to a window: one can go at any moment, and what
/// is asked of it then is a fatal error.
class KvcHeldServer {
public:
    explicit KvcHeldServer(Display* display) : display_(display) { XGrabServer(display); }
    ~KvcHeldServer() {
        XUngrabServer(display_);
        XFlush(display_);
    }
    KvcHeldServer(const KvcHeldServer&) = delete;
    KvcHeldServer& operator=(const KvcHeldServer&) = delete;

private:
    Display* display_;
};

/// Where the window is. REQUIRES: `shell` is realized.
[[nodiscard]] KvcFrame KvcFrameOf(Widget shell);

/// Waits until the condition holds, two seconds at most: a window manager acts in its own time, and
/// one that never does must not stop the program.
void KvcWaitFor(const std::function<bool()>& isMet);

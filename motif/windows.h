#pragma once

#include <X11/Intrinsic.h>

#include <functional>
#include <vector>

/// Shells as the X server and the window manager see them. For this folder's sources only.

/// A window including its window manager's frame, in pixels of the screen.
struct KvcFrame {
    int x = 0, y = 0, width = 0, height = 0;
    int extraWidth = 0, extraHeight = 0;
};

/// The shell that contains `w`, or `w` itself if it is a shell; null for null.
[[nodiscard]] Widget KvcShellOf(Widget w);

/// Whether the window of `shell` is on the screen; it may be covered. False for null, and before it
/// is realized.
[[nodiscard]] bool KvcIsViewable(Widget shell);

/// Whether the window is withdrawn: not managed by the window manager, as before it is first shown.
[[nodiscard]] bool KvcIsWithdrawn(Widget shell);

/// The outermost frame window around `window`; `window` itself if it has no frame.
[[nodiscard]] Window KvcFrameWindow(Display* display, Window window);

/// The child windows of `window`, the lowest first; none if it no longer exists.
[[nodiscard]] std::vector<Window> KvcChildren(Display* display, Window window);

/// Grabs the server while it lives, so that no other program can destroy a window: a request for a
/// window that no longer exists is a fatal error.
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

/// The place and size of the window with its frame. REQUIRES: `shell` is realized.
[[nodiscard]] KvcFrame KvcFrameOf(Widget shell);

/// Waits until the condition holds, for at most two seconds: a window manager acts in its own time,
/// and one that never responds must not block the program.
void KvcWaitFor(const std::function<bool()>& isMet);

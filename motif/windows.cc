#include "motif/windows.h"

#include <X11/Xutil.h>

#include <chrono>
#include <thread>

namespace {

constexpr std::chrono::seconds longestWait{2};

struct Family {
    Window parent = None;
    std::vector<Window> children;
};

Family familyOf(Display* display, Window window) {
    Window root = None, parent = None, *list = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, window, &root, &parent, &list, &count) == 0) return {};
    Family family{parent, {list, list + count}};
    if (list != nullptr) XFree(list);
    return family;
}

}  // namespace

Window KvcFrameWindow(Display* display, Window window) {
    const Window root = DefaultRootWindow(display);
    for (Window parent = window; parent != root && parent != None;
         parent = familyOf(display, window).parent)
        window = parent;
    return window;
}

std::vector<Window> KvcChildren(Display* display, Window window) {
    return familyOf(display, window).children;
}

Widget KvcShellOf(Widget w) {
    while (w != nullptr && !XtIsShell(w)) w = XtParent(w);
    return w;
}

bool KvcIsViewable(Widget shell) {
    XWindowAttributes attributes;
    return shell != nullptr && XtIsRealized(shell) &&
           XGetWindowAttributes(XtDisplay(shell), XtWindow(shell), &attributes) != 0 &&
           attributes.map_state == IsViewable;
}

bool KvcIsWithdrawn(Widget shell) {
    const Atom property = XInternAtom(XtDisplay(shell), "WM_STATE", False);
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(XtDisplay(shell), XtWindow(shell), property, 0, 1, False, property, &type,
                       &format, &count, &rest, &value);
    // Xlib returns 32-bit items as longs.
    const bool withdrawn = count == 0 || *reinterpret_cast<long*>(value) == WithdrawnState;
    if (value != nullptr) XFree(value);
    return withdrawn;
}

KvcFrame KvcFrameOf(Widget shell) {
    Display* display = XtDisplay(shell);
    XWindowAttributes inner, outer;
    const KvcHeldServer server(display);
    XGetWindowAttributes(display, XtWindow(shell), &inner);
    XGetWindowAttributes(display, KvcFrameWindow(display, XtWindow(shell)), &outer);
    return {outer.x,
            outer.y,
            outer.width,
            outer.height,
            outer.width - inner.width,
            outer.height - inner.height};
}

void KvcWaitFor(const std::function<bool()>& isMet) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + longestWait;
    while (!isMet() && steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

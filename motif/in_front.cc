#include "motif/in_front.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>

#include "motif/KvcUtil.h"
#include "motif/windows.h"

namespace {

using Clock = std::chrono::steady_clock;

// How long a window manager may take to give the keyboard to a window that has come up.
constexpr std::chrono::seconds comingUp{1};

constexpr int mostClaims = 10;
constexpr std::chrono::seconds calm{1};

const char* rivalTitle = nullptr;
Widget front = nullptr;
bool (*frontIsShown)() = nullptr;
Clock::time_point rivalCameUp;
Clock::time_point lastClaim;
int claims = 0;
std::array<XtEventDispatchProc, LASTEvent> dispatchBefore = {};

bool hasTitle(Display* display, Window window, std::string_view title) {
    char* own = nullptr;
    if (XFetchName(display, window, &own) == 0) return false;
    const bool same = own == title;
    XFree(own);
    return same;
}

// A window manager may put frames around a window, with any title, so look inside them as well.
bool holdsTitle(Display* display, Window window, std::string_view title, int depth = 2) {
    if (hasTitle(display, window, title)) return true;
    if (depth == 0) return false;
    const auto below = KvcChildren(display, window);
    return std::any_of(below.begin(), below.end(),
                       [=](Window child) { return holdsTitle(display, child, title, depth - 1); });
}

// Two windows that both insist on being in front would fight forever.
bool mayClaim() {
    const auto now = Clock::now();
    if (now - lastClaim > calm) claims = 0;
    lastClaim = now;
    return ++claims <= mostClaims;
}

bool hasKeyboard(Widget shell) {
    Window window = None;
    int revert = 0;
    XGetInputFocus(XtDisplay(shell), &window, &revert);
    return window == XtWindow(shell);
}

// Some window managers raise a window only on this request, not when its program raises it. Others
// ignore the request.
void askToActivate(Widget shell) {
    constexpr long asked = 2;  // source "user": requests with source "application" may be ignored
    Display* display = XtDisplay(shell);
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = XtWindow(shell);
    event.xclient.message_type = XInternAtom(display, "_NET_ACTIVE_WINDOW", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = asked;
    event.xclient.data.l[1] = static_cast<long>(XtLastTimestampProcessed(display));
    XSendEvent(display, DefaultRootWindow(display), False,
               SubstructureNotifyMask | SubstructureRedirectMask, &event);
}

void claimKeyboard() {
    if (!hasKeyboard(front) && mayClaim()) KvcGiveKeyboard(front);
}

bool isFront(Display* display, Window window) {
    return window == XtWindow(front) || window == KvcFrameWindow(display, XtWindow(front));
}

// Whether the program itself caused this window to appear, so that it may be kept below; all others
// are the user's doing. Other programs' windows, such as menus, are often gone before their event
// arrives, so query only those that still exist.
bool isRival(Display* display, Window window) {
    if (const Widget own = XtWindowToWidget(display, window)) return XtIsShell(own);
    const auto there = KvcChildren(display, DefaultRootWindow(display));
    return rivalTitle != nullptr && std::find(there.begin(), there.end(), window) != there.end() &&
           holdsTitle(display, window, rivalTitle);
}

void stayAbove() {
    rivalCameUp = Clock::now();
    if (mayClaim()) XRaiseWindow(XtDisplay(front), XtWindow(front));
}

void watch(const XEvent& event) {
    Display* display = event.xany.display;
    if (event.type == MapNotify) {
        // This event arrives for every top-level window and frame on the screen.
        const KvcHeldServer server(display);
        if (isFront(display, event.xmap.window))
            claimKeyboard();
        else if (isRival(display, event.xmap.window))
            stayAbove();
        return;
    }
    // Windows inside the shell count as the shell.
    const bool own = KvcShellOf(XtWindowToWidget(display, event.xfocus.window)) == front;
    const bool taken = own && Clock::now() - rivalCameUp < comingUp;
    if (event.xfocus.mode != NotifyGrab && (event.type == FocusIn ? !own : taken)) claimKeyboard();
}

Boolean dispatch(XEvent* event) {
    const Boolean dispatched = dispatchBefore[static_cast<std::size_t>(event->type)](event);
    if (frontIsShown()) watch(*event);
    return dispatched;
}

}  // namespace

void KvcAnnounceFront(Widget shell) {
    claims = 0;
    Display* display = XtDisplay(shell);
    const Atom modal = XInternAtom(display, "_NET_WM_STATE_MODAL", False);
    XChangeProperty(display, XtWindow(shell), XInternAtom(display, "_NET_WM_STATE", False), XA_ATOM,
                    32, PropModeReplace, reinterpret_cast<const unsigned char*>(&modal), 1);
}

void KvcKeepInFront(Widget shell, bool (*isShown)()) {
    front = shell;
    frontIsShown = isShown;
    Display* display = XtDisplay(shell);
    for (const int type : {FocusIn, FocusOut, MapNotify})
        dispatchBefore[static_cast<std::size_t>(type)] =
            XtSetEventDispatcher(display, type, dispatch);
    XWindowAttributes root;
    XGetWindowAttributes(display, DefaultRootWindow(display), &root);
    XSelectInput(display, DefaultRootWindow(display),
                 root.your_event_mask | SubstructureNotifyMask);
}

void KvcKeepBelowMessages(const char* title) {
    rivalTitle = title;
}

void KvcGiveKeyboard(Widget shell) {
    Display* display = XtDisplay(shell);
    // A hidden window can't take the focus, and must not reappear as if the user had asked for it.
    // It may be disappearing at this moment, hence the grab.
    const KvcHeldServer server(display);
    if (!KvcIsViewable(shell)) return;
    XRaiseWindow(display, XtWindow(shell));
    askToActivate(shell);
    XSetInputFocus(display, XtWindow(shell), RevertToPointerRoot, CurrentTime);
}

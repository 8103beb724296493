#pragma once

#include <gtest/gtest.h>  // before X.h, whose macros it does not survive

#include <X11/IntrinsicP.h>
#include <X11/Shell.h>
#include <Xm/ScreenP.h>

#include <stdexcept>
#include <string>

#include "builder/KviBxUtil.h"

/// The one display connection of a test program: Motif can't stand a second one.
inline XtAppContext testApp = nullptr;

/// The application shell of the tests. Without a display every test that asks for it fails.
inline Widget testShell() {
    static Widget shell = [] {
        int count = 0;
        XtToolkitInitialize();
        testApp = XtCreateApplicationContext();
        Display* display =
            XtOpenDisplay(testApp, nullptr, "tests", "Tests", nullptr, 0, &count, nullptr);
        if (display == nullptr) throw std::runtime_error("DISPLAY names no display to test on");
        RegisterBxConverters(testApp);
        Widget made = XtVaAppCreateShell("tests", "Tests", applicationShellWidgetClass, display,
                                         XmNmappedWhenManaged, False, nullptr);
        // Motif leaves modal input to its window manager: what is tested is our own hold on it.
        reinterpret_cast<XmScreen>(XmGetXmScreen(XtScreen(made)))->screen.mwmPresent = True;
        return made;
    }();
    return shell;
}

/// Handles what has happened in the windows of the tests.
inline void pump() {
    XSync(XtDisplay(testShell()), False);
    while (XtAppPending(testApp) != 0) XtAppProcessEvent(testApp, XtIMAll);
}

/// Does what a window manager does when its user closes a window.
inline void askToClose(Widget shell) {
    Display* display = XtDisplay(shell);
    const auto atom = [=](const char* name) { return XInternAtom(display, name, False); };
    XEvent event = {};
    event.xclient = {ClientMessage,        0,  True, display, XtWindow(shell),
                     atom("WM_PROTOCOLS"), 32, {}};
    event.xclient.data.l[0] = static_cast<long>(atom("WM_DELETE_WINDOW"));
    XSendEvent(display, XtWindow(shell), False, NoEventMask, &event);
    XSync(display, False);
}

/// Writes a compound string down: (l) and (r) for directions, #tag: for a tag, | for a line break.
inline std::string written(XmString string) {
    std::string text;
    XmStringContext context = nullptr;
    XmStringInitContext(&context, string);
    XmStringComponentType type = XmSTRING_COMPONENT_UNKNOWN;
    while (type != XmSTRING_COMPONENT_END) {
        unsigned length = 0;
        XtPointer value = nullptr;
        type = XmStringGetNextTriple(context, &length, &value);
        const std::string content(static_cast<char*>(value), length);
        XtFree(static_cast<char*>(value));
        if (type == XmSTRING_COMPONENT_DIRECTION)
            text += content[0] == XmSTRING_DIRECTION_R_TO_L ? "(r)" : "(l)";
        else if (type == XmSTRING_COMPONENT_TAG)
            text += "#" + content + ":";
        else
            text += type == XmSTRING_COMPONENT_SEPARATOR ? "|" : content;
    }
    XmStringFreeContext(context);
    return text;
}

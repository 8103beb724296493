#include <gtest/gtest.h>

#include <Xm/XmAll.h>
#include <stdio_ext.h>

#include <array>
#include <clocale>
#include <ctime>
#include <map>
#include <string>
#include <utility>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/hands.h"
#include "tests/fixtures/seen.h"

namespace {

const char* const Labels[] = {"Yes", "No", "Perhaps"};

std::string pressEscape() {
    const Widget shell = XtParent(kvcMessageWidget);
    if (!isViewable(shell)) return "is not on the screen";
    Display* display = XtDisplay(shell);
    XSetInputFocus(display, XtWindow(shell), RevertToParent, CurrentTime);
    for (const Bool down : {True, False})
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, XK_Escape), down, CurrentTime);
    XSync(display, False);
    return "";
}

// The box as the user sees it.
std::string look() {
    if (!XtIsManaged(kvcMessageWidget)) return "no box";
    std::string all = resourcesOf(kvcMessageWidget,
                                  "dialogTitle dialogType dialogStyle defaultPosition "
                                  "resizePolicy width height messageString");
    for (const int child : {XmDIALOG_OK_BUTTON, XmDIALOG_CANCEL_BUTTON, XmDIALOG_HELP_BUTTON})
        if (const Widget button = XmMessageBoxGetChild(kvcMessageWidget, child);
            XtIsManaged(button))
            all += resourcesOf(button, "labelString");
    return all;
}

Widget shown(const std::string& message) {
    KvcUserInfo(message.c_str());
    pump(kvcMessageWidget);
    return XtParent(kvcMessageWidget);
}

// A window with one button that counts how often it is pressed.
class Messages : public testing::Test {
protected:
    void SetUp() override {
        XtVaSetValues(window, XmNx, 300, XmNy, 200, XmNwidth, 600, XmNheight, 400, XmNautoUnmanage,
                      False, XmNdefaultPosition, False, nullptr);
        const auto count = [](Widget, XtPointer to, XtPointer) { ++*static_cast<int*>(to); };
        XtAddCallback(button, XmNactivateCallback, count, &presses);
        XtManageChild(button);
        KvcSetMessagesOver(window);
        // A message that an earlier test left open would have to be closed first.
        XtUnmanageChild(kvcMessageWidget);
    }

    // Asks, and does `meanwhile` while the question is open.
    int ask(int n, const char* question, const Step& meanwhile) {
        answers.prepare({meanwhile});
        return KvcUserConfirm(n, Labels, question);
    }

    // A window manager would hold back windows that it manages, and delay clicks.
    void showWithoutManager() {
        for (const Widget w : {window, kvcMessageWidget})
            XtVaSetValues(XtParent(w), XmNoverrideRedirect, True, nullptr);
        XtManageChild(window);
    }

    Answers answers{testShell(), &testApp};
    Widget window = XmCreateBulletinBoardDialog(testShell(), const_cast<char*>("window"), {}, 0);
    Widget button = XmCreateArrowButtonGadget(window, const_cast<char*>("button"), {}, 0);
    int presses = 0;
};

// The operation's result, what it prints, and the box: that of the question, or the one after it.
// "ask31" asks with three buttons and presses the second.
TEST_F(Messages, LookAndAnswer) {
    const std::time_t start = std::time(nullptr);
    const std::map<char, Step> acts = {
        {'0', answer(0)}, {'1', answer(1)}, {'2', answer(2)}, {'c', closeBox}, {'e', pressEscape}};
    expectResults("motif/messages.txt", [&](const std::string& what, const std::string& text) {
        std::string during;
        int result = 0;
        const char* of = text.c_str();
        kvcTopLevelWidget = what.starts_with("early") ? nullptr : testShell();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        if (what.ends_with("info")) result = KvcUserInfo(of);
        if (what.ends_with("error")) result = KvcUserError(of);
        if (what == "earlyAsk") result = KvcUserConfirm(2, Labels, of);
        if (what == "earlyDrop") KvcDropInput();
        if (what == "pieces") result = KvcUserInfo(of, "b", nullptr, "d");
        if (what == "quietInfo") result = KvcUserInfo(of, "b", "c", "d", 0);
        if (what == "quietError") result = KvcUserError(of, "b", "c", "d", 0);
        if (what == "close") XtUnmanageChild(kvcMessageWidget);
        if (what == "margin")
            XtVaSetValues(kvcMessageWidget, XmNmarginHeight, std::stoi(text), nullptr);
        if (what.starts_with("ask"))
            result = ask(what[3] - '0', of, [&] { return during = look(), acts.at(what[4])(); });
        EXPECT_EQ(__fpending(stdout), 0U) << "the text must appear at once";
        std::string all = std::to_string(result) + testing::internal::GetCapturedStdout();
        return all + testing::internal::GetCapturedStderr() + (during.empty() ? look() : during);
    });
    EXPECT_LT(std::time(nullptr) - start, 10) << "it waits for nothing";
    KvcKeepDrawn(nullptr);
    KvcUserInfo("a");
    answers.prepare({answer(0), answer(1)});
    EXPECT_EQ(KvcUserConfirm(2, Labels, "Sure?"), 1);
    EXPECT_EQ(answers.asked, (std::vector<std::string>{"a", "Sure?"}));
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    showWithoutManager();
    const auto clickOutsideAndYes = [&] {
        EXPECT_EQ(click(button), "");
        return answer(0)();
    };
    EXPECT_EQ(ask(2, "Sure?", clickOutsideAndYes), 0);
    EXPECT_EQ(presses, 0);
    press(button);
    EXPECT_EQ(presses, 1) << "the window is usable again";

    shown("Done.");
    // The second of these clicks comes too late for the information.
    const auto clickTwice = [] { return answer(0)() + answer(0)(); };
    answers.prepare({clickTwice, answer(2)});
    EXPECT_EQ(KvcUserConfirm(3, Labels, "Sure?"), 2);

    testing::internal::CaptureStderr();
    const auto interrupt = [] {
        EXPECT_EQ(KvcUserConfirm(2, Labels, "Second?"), -1);
        EXPECT_EQ(KvcUserError("failed"), 1);
        // The help key acts as the third button, which this question does not have.
        KvcConfirmCB(kvcMessageWidget, reinterpret_cast<XtPointer>(2), nullptr);
        KvcWaitUntilRead();
        KvcDropInput();
        EXPECT_TRUE(KvcQuestionOpen());
        EXPECT_EQ(message(), "First?");
        return answer(1)();
    };
    EXPECT_EQ(ask(2, "First?", interrupt), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Not asked, another question is open: Second?\nfailed\n");
}

TEST_F(Messages, IgnoreInputThatWasMeantForOthers) {
    showWithoutManager();
    // The second click of a double click on this question does not answer the next one.
    Display* display = XtDisplay(window);
    int clicks = 0;
    const auto clickTwiceSlowly = [&] {
        if (clicks == 1 && XPending(display) > 0) return std::string("the first is on its way");
        if (clicks == 1) XtSetMultiClickTime(display, 0);
        const std::string problem = answer(clicks)();
        return problem.empty() && ++clicks == 1 ? "ignored" : problem;
    };
    EXPECT_EQ(ask(2, "Sure?", answer(1)), 1);
    XtSetMultiClickTime(display, 60000);
    EXPECT_EQ(ask(2, "Sure?", clickTwiceSlowly), 1);

    // Nobody could know what the window would show after these.
    const std::function<void()> acts[] = {KvcDropInput, [] { KvcUserInfo("Done."); },
                                          [&] { ask(2, "Sure?", answer(0)); }};
    for (const auto& act : acts) {
        XtUnmanageChild(kvcMessageWidget);
        EXPECT_TRUE(pumpUntil(window, [&] { return click(button).empty(); }));
        act();
        pump(window);
        EXPECT_EQ(presses, 0);
    }
    XtUnmanageChild(kvcMessageWidget);
    KvcWaitUntilRead();
}

// Shows the message instead of the last one, and waits until a window manager has given it its
// place and size: x, y and the right edge.
std::array<int, 3> placed(const std::string& message, bool wide) {
    XtUnmanageChild(kvcMessageWidget);
    const Widget shell = shown(message);
    EXPECT_TRUE(
        pumpUntil(shell, [&] { return isViewable(shell) && (XtWidth(shell) > 500) == wide; }));
    usleep(50000);
    pump(shell);
    Position x = 0, y = 0;
    XtTranslateCoords(shell, 0, 0, &x, &y);
    return {x, y, x + XtWidth(shell)};
}

TEST_F(Messages, AreOverTheWindowAndOnTheScreen) {
    const Widget shell = XtParent(window);
    const int width = WidthOfScreen(XtScreen(window)), height = HeightOfScreen(XtScreen(window));
    const int left = width / 2 - 200, top = height / 2 - 100;
    auto box = placed("short", false);
    EXPECT_NEAR(box[0], left, 40);
    EXPECT_NEAR(box[1], top, 40);
    // The session's first message appears at once, but a window manager needs time to map a window.
    XtManageChild(window);
    XtVaSetValues(window, XmNx, 600, nullptr);
    XUnmapWindow(XtDisplay(shell), XtWindow(shell));
    const auto map = [](XtPointer of, XtIntervalId*) {
        XMapWindow(XtDisplay(static_cast<Widget>(of)), XtWindow(static_cast<Widget>(of)));
    };
    XtAppAddTimeOut(testApp, 200, map, shell);
    box = placed("short", false);
    EXPECT_NEAR(box[0], 700, 40) << "in the middle";
    EXPECT_NEAR(box[1], 300, 40) << "in the middle";
    XtVaSetValues(window, XmNx, 900, nullptr);
    for (const int size : {10, 100, 1000})
        EXPECT_LE(placed(std::string(size, 'w'), size >= 100)[2], width) << size;
}

// Whether the box has the keyboard, and nothing covers it.
bool isInFront() {
    const Window shell = XtWindow(XtParent(kvcMessageWidget));
    Display* display = XtDisplay(kvcMessageWidget);
    const Window root = DefaultRootWindow(display);
    Window focus = None, at = None, under = root;
    int revert = 0, x = 0, y = 0, inX = 0, inY = 0;
    XGetInputFocus(display, &focus, &revert);
    XTranslateCoordinates(display, XtWindow(kvcMessageWidget), root, 9, 9, &x, &y, &at);
    while (under != None)
        XTranslateCoordinates(display, root, at = under, x, y, &inX, &inY, &under);
    return focus == shell && at == XtWindow(kvcMessageWidget);
}

// Not every window manager gives a window the front that only asks the server for it.
TEST_F(Messages, AskTheWindowManagerForTheFront) {
    XtManageChild(window);
    const Widget box = shown("Done.");
    ASSERT_TRUE(pumpUntil(box, isInFront));
    const std::string id = std::to_string(XtWindow(box));
    EXPECT_EQ(outcomeOf("xprop -id " + id + " -notype _NET_WM_STATE WM_TRANSIENT_FOR").output,
              KvuFormat("_NET_WM_STATE = _NET_WM_STATE_MODAL\nWM_TRANSIENT_FOR: window id # 0x%x\n",
                        static_cast<unsigned>(XtWindow(XtParent(window)))));
    Display* other = XOpenDisplay(nullptr);
    XSelectInput(other, DefaultRootWindow(other), SubstructureNotifyMask);
    XSync(other, True);
    shown("Done.");
    XEvent event;
    const auto isMessage = [](Display*, XEvent* of, XPointer) -> Bool {
        return of->type == ClientMessage;
    };
    ASSERT_TRUE(pumpUntil(box, [&] { return XCheckIfEvent(other, &event, isMessage, nullptr); }));
    EXPECT_EQ(event.xclient.message_type, XInternAtom(other, "_NET_ACTIVE_WINDOW", False));
    EXPECT_EQ(event.xclient.window, XtWindow(box));
    EXPECT_EQ(event.xclient.data.l[0], 2);
    XCloseDisplay(other);
}

TEST_F(Messages, StayInFrontOfTheirProgram) {
    XtManageChild(window);
    const Widget box = shown("Done."), other = XtParent(window);
    Display* display = XtDisplay(box);
    Display* others = XOpenDisplay(nullptr);
    // Only the one window of another program that this program starts is kept below.
    KvcKeepBelowMessages("rival");
    for (const char* title : {"other", "rival"}) {
        shown("Done.");
        usleep(200000);
        EXPECT_TRUE(pumpUntil(box, isInFront));
        const Window foreign =
            XCreateSimpleWindow(others, DefaultRootWindow(others), 0, 0, 2000, 2000, 0, 0, 0);
        XStoreName(others, foreign, title);
        XMapWindow(others, foreign);
        XSync(others, False);
        usleep(300000);
        const bool kept = *title == 'r';
        EXPECT_TRUE(pumpUntil(box, [&] { return isInFront() == kept; })) << title;
        XDestroyWindow(others, foreign);
        XSync(others, False);
    }
    XCloseDisplay(others);

    const Widget late = XmCreateBulletinBoardDialog(testShell(), const_cast<char*>("late"), {}, 0);
    XtVaSetValues(late, XmNwidth, 2000, XmNheight, 2000, nullptr);
    XtManageChild(late);
    EXPECT_TRUE(pumpUntil(box, [&] { return isViewable(late) && isInFront(); }));
    XSetInputFocus(display, XtWindow(other), RevertToParent, CurrentTime);
    EXPECT_TRUE(pumpUntil(box, isInFront));

    XtUnmanageChild(kvcMessageWidget);
    shown("Done.");
    // It does not fight forever.
    int won = 0;
    for (int i = 0; i < 20; ++i) {
        XSetInputFocus(display, XtWindow(other), RevertToParent, CurrentTime);
        pump(box);
        won += isInFront();
    }
    EXPECT_TRUE(won >= 5 && won <= 10) << won;
}

TEST_F(Messages, ReturnWithTheirWindow) {
    XtManageChild(window);
    const Widget shell = XtParent(window), box = XtParent(kvcMessageWidget);
    Display* display = XtDisplay(shell);
    ASSERT_TRUE(pumpUntil(shell, [&] { return isViewable(shell); }));
    const auto iconify = [&] {
        XIconifyWindow(display, XtWindow(shell), DefaultScreen(display));
        EXPECT_TRUE(pumpUntil(shell, [&] { return !isViewable(shell) && !isViewable(box); }));
    };
    shown("Done.");
    iconify();
    const auto iconifyAndReturn = [&, done = false]() mutable -> std::string {
        if (!std::exchange(done, true)) {
            iconify();
            XMapWindow(display, XtWindow(shell));
        }
        return answer(1)();
    };
    answers.prepare({answer(0), iconifyAndReturn});
    EXPECT_EQ(KvcUserConfirm(2, Labels, "Sure?"), 1);
    EXPECT_TRUE(isViewable(shell));
    XWindowAttributes attributes;
    XGetWindowAttributes(display, XtWindow(box), &attributes);
    EXPECT_EQ(attributes.backing_store, Always);
}

// Another program's menu is often gone before its map event is handled.
TEST_F(Messages, OutliveWindowsOfOthers) {
    const Widget shell = shown("Done.");
    ASSERT_TRUE(pumpUntil(shell, [=] { return isViewable(shell); }));
    Display* other = XOpenDisplay(nullptr);
    XSetWindowAttributes menu;
    menu.override_redirect = True;
    const Window gone = XCreateWindow(other, DefaultRootWindow(other), 0, 0, 9, 9, 0, 0,
                                      InputOutput, CopyFromParent, CWOverrideRedirect, &menu);
    XMapWindow(other, gone);
    XDestroyWindow(other, gone);
    XCloseDisplay(other);
    pump(shell);
    EXPECT_TRUE(XtIsManaged(kvcMessageWidget));
}

TEST(Box, IsMadeByWhateverNeedsItFirst) {
    const std::function<int()> acts[] = {
        [] { return KvcUserInfo("a") - 1; },
        [] { return KvcUserError("a", nullptr, nullptr, nullptr, 0) - 1; },
        [] { return KvcDropInput(), 0; }, [] { return KvcUserConfirm(2, Labels, "a") + 1; }};
    for (const auto& act : acts)
        runInChild([&] {
            KvcInit(testShell(), &testApp);
            XtAppAddTimeOut(
                testApp, 200, [](XtPointer, XtIntervalId*) { closeBox(); }, nullptr);
            EXPECT_EQ(act(), 0);
            EXPECT_NE(kvcMessageWidget, nullptr);
        });
}

TEST(Readable, KeepsWhatTheLocaleHasAndMarksTheRest) {
    const char* latin = "/L\374ck/\303";
    EXPECT_EQ(KvcReadable(latin), latin) << "one byte is one character";
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(KvcReadable(latin), "/L?ck/?");
    EXPECT_EQ(KvcReadable("/B\303\274cher"), "/B\303\274cher");
}

}  // namespace

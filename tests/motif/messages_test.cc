#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <clocale>
#include <string>
#include <tuple>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/hands.h"

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

std::string text(const char* resource) {
    XmString string = nullptr;
    XtVaGetValues(kvcMessageWidget, resource, &string, nullptr);
    return written(KviXmString(string).get());
}

Widget shown(const std::string& message) {
    KvcUserInfo(message.c_str());
    pump(kvcMessageWidget);
    return XtParent(kvcMessageWidget);
}

// The window's place on the screen, inside its window manager's frame.
XWindowAttributes placeOf(Widget shell) {
    XWindowAttributes place;
    Window child = None;
    XGetWindowAttributes(XtDisplay(shell), XtWindow(shell), &place);
    XTranslateCoordinates(XtDisplay(shell), XtWindow(shell), place.root, 0, 0, &place.x, &place.y,
                          &child);
    return place;
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

    Answers answers{testShell(), &testApp};
    Widget window = XmCreateBulletinBoardDialog(testShell(), const_cast<char*>("window"), {}, 0);
    Widget button = XmCreateArrowButtonGadget(window, const_cast<char*>("button"), {}, 0);
    int presses = 0;
};

TEST_F(Messages, AreShownWholeAndLiterally) {
    const std::string many(90, 'x');
    EXPECT_EQ(KvcUserInfo("::\"a\\b\"\n", nullptr, (many + "\n" + many).c_str(), "c"), 1);
    EXPECT_EQ(text(XmNmessageString), "(l)::\"a\\b\"|" + many + "|" + many + "c");
    testing::internal::CaptureStderr();
    EXPECT_EQ(KvcUserError("c", "d", "e", "f", 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cdef\n");
    EXPECT_EQ(KvcUserError("sorry"), 0);
    EXPECT_EQ(text(XmNdialogTitle) + text(XmNokLabelString), "(l)Oooops... Sorry!(l)Ok");
}

TEST_F(Messages, AreAnsweredByButtonsAndByClosing) {
    const std::string closed = "none, the question was closed";
    const std::tuple<int, Step, int, std::string> cases[] = {{2, answer(0), 0, "Yes"},
                                                             {2, answer(1), 1, "No"},
                                                             {3, answer(2), 2, "Perhaps"},
                                                             {3, closeBox, -1, closed},
                                                             {2, pressEscape, -1, closed}};
    for (const auto& [buttons, act, chosen, printed] : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(ask(buttons, "Sure?", act), chosen);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "\nQuestion: Sure?\nAnswer: " + printed + "\n");
        const Widget third = XmMessageBoxGetChild(kvcMessageWidget, XmDIALOG_HELP_BUTTON);
        EXPECT_EQ(XtIsManaged(third), buttons == 3) << chosen;
        EXPECT_FALSE(XtIsManaged(kvcMessageWidget) || KvcQuestionOpen()) << chosen;
    }
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    // Bypass the window manager: it would hold back windows that it manages, and delay clicks.
    for (const Widget w : {window, kvcMessageWidget})
        XtVaSetValues(XtParent(w), XmNoverrideRedirect, True, nullptr);
    XtManageChild(window);
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
        return answer(0)();
    };
    EXPECT_EQ(ask(2, "First?", interrupt), 0);
    EXPECT_EQ(text(XmNmessageString), "(l)First?");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("failed\n"), std::string::npos);
}

TEST_F(Messages, StandTogetherUntilTheyAreRead) {
    testing::internal::CaptureStdout();
    KvcUserInfo("one\n");
    KvcUserError("two");
    KvcUserInfo("three");
    EXPECT_EQ(text(XmNdialogTitle), "(l)Oooops... Sorry!");
    answers.prepare({answer(0), answer(1)});
    EXPECT_EQ(KvcUserConfirm(2, Labels, "Sure?"), 1);
    EXPECT_EQ(answers.asked, (std::vector<std::string>{"one\n\ntwo\n\nthree", "Sure?"}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInformation: one\n\n\nError: two\n\nInformation: three\n"
              "\nQuestion: Sure?\nAnswer: No\n");
    KvcUserInfo("four");
    EXPECT_EQ(text(XmNdialogTitle) + message(), "(l)For your information...four");
}

// Shows the message and waits until it is there with its size, which a window manager may set a
// little later.
XWindowAttributes placed(const std::string& message, bool wide) {
    const Widget shell = shown(message);
    const auto isThere = [&] { return isViewable(shell) && (placeOf(shell).width > 500) == wide; };
    EXPECT_TRUE(pumpUntil(shell, isThere)) << placeOf(shell).width;
    return placeOf(shell);
}

TEST_F(Messages, AreOverTheWindowAndOnTheScreen) {
    XtManageChild(window);
    // The session's first message appears at once, but a window manager needs time to map a window.
    const Widget shell = XtParent(window);
    XtVaSetValues(window, XmNx, 600, nullptr);
    XUnmapWindow(XtDisplay(shell), XtWindow(shell));
    const auto map = [](XtPointer of, XtIntervalId*) {
        XMapWindow(XtDisplay(static_cast<Widget>(of)), XtWindow(static_cast<Widget>(of)));
    };
    XtAppAddTimeOut(testApp, 200, map, shell);
    XWindowAttributes box = placed("short", false);
    EXPECT_EQ(box.width, 400);
    EXPECT_NEAR(box.x, 700, 40) << "in the middle";
    EXPECT_NEAR(box.y, 300, 40) << "in the middle";
    XtVaSetValues(window, XmNx, 900, nullptr);
    // Motif leaks some bytes for every 255 lines, which the leak check would report. So leave room
    // for only a few lines.
    XtVaSetValues(kvcMessageWidget, XmNmarginHeight, 120, nullptr);
    const std::string lines = "first" + std::string(18, '\n') + "last";
    const std::tuple<std::string, int, std::string, std::string> cases[] = {
        {lines, 2, "(What came before is on the terminal.)\n\nfirst\n", "\nlast"},
        {lines + lines, 1, "first\n", "\n(The rest is on the terminal.)"},
        {std::string(10, 'w'), 1, "w", "w"},
        {std::string(100, 'w'), 1, "w", "w"},
        {std::string(1000, 'w'), 1, "w", "w"}};
    for (const auto& [one, times, begin, end] : cases) {
        XtUnmanageChild(kvcMessageWidget);
        for (int i = 1; i < times; ++i) KvcUserError(one.c_str());
        box = placed(one, one.size() >= 100 && one[0] == 'w');
        EXPECT_LE(box.x + box.width, WidthOfScreen(box.screen)) << one;
        EXPECT_LE(box.y + box.height, HeightOfScreen(box.screen)) << one;
        EXPECT_TRUE(message().starts_with(begin) && message().ends_with(end)) << message();
    }
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

TEST(Readable, KeepsWhatTheLocaleHasAndMarksTheRest) {
    const char* latin = "/L\374ck/\303";
    EXPECT_EQ(KvcReadable(latin), latin) << "one byte is one character";
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(KvcReadable(latin), "/L?ck/?");
    EXPECT_EQ(KvcReadable("/B\303\274cher"), "/B\303\274cher");
}

}  // namespace

#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <unistd.h>

#include <functional>
#include <string>
#include <tuple>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/fixtures/display.h"

namespace {

using Step = std::function<void()>;

const char* const Labels[] = {"Yes", "No", "Perhaps"};

void send(Widget w, XEvent event) {
    event.xany.window = XtWindow(w);
    XSendEvent(XtDisplay(w), XtWindow(w), False, NoEventMask, &event);
}

// Presses and releases the mouse button on a gadget.
void click(Widget gadget) {
    Position x = 0, y = 0;
    XtTranslateCoords(gadget, 5, 5, &x, &y);
    XEvent event = {};
    event.xbutton = {ButtonPress,     0, True, nullptr, 0,       0,   0, 0, XtX(gadget) + 5,
                     XtY(gadget) + 5, x, y,    0,       Button1, True};
    send(XtParent(gadget), event);
    event.type = ButtonRelease;
    event.xbutton.state = Button1Mask;
    send(XtParent(gadget), event);
}

Widget part(unsigned char child) {
    return XmMessageBoxGetChild(kvcMessageWidget, child);
}
const auto clickYes = [] { click(part(XmDIALOG_OK_BUTTON)); };
const auto clickNo = [] { click(part(XmDIALOG_CANCEL_BUTTON)); };
const auto clickPerhaps = [] { click(part(XmDIALOG_HELP_BUTTON)); };
const auto closeBox = [] { askToClose(XtParent(kvcMessageWidget)); };

std::string text(const char* resource) {
    XmString string = nullptr;
    XtVaGetValues(kvcMessageWidget, resource, &string, nullptr);
    return written(KviXmString(string).get());
}

// Asks, and does `meanwhile` while the question is open.
int ask(int n, const char* question, Step meanwhile) {
    const auto run = [](XtPointer todo, XtIntervalId*) { (*static_cast<Step*>(todo))(); };
    XtAppAddTimeOut(testApp, 50, run, &meanwhile);
    return KvcUserConfirm(n, Labels, question);
}

Widget shown(const std::string& message) {
    KvcUserInfo(message.c_str());
    pump();
    return XtParent(kvcMessageWidget);
}

// A window with one button that counts how often it is pressed.
class Messages : public testing::Test {
protected:
    void SetUp() override {
        alarm(60);  // a question that nothing answers would stay open for ever
        XtVaSetValues(window, XmNx, 300, XmNy, 200, XmNwidth, 600, XmNheight, 400, XmNautoUnmanage,
                      False, XmNdefaultPosition, False, nullptr);
        const auto count = [](Widget, XtPointer to, XtPointer) { ++*static_cast<int*>(to); };
        XtAddCallback(button, XmNactivateCallback, count, &presses);
        XtManageChild(button);
        XtManageChild(window);
        KvcInit(testShell(), &testApp);
        KvcSetMessagesOver(window);
        shown("ready");
    }

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
    const std::tuple<int, void (*)(), int> cases[] = {
        {2, clickYes, 0}, {2, clickNo, 1}, {3, clickPerhaps, 2}, {3, closeBox, 2}};
    for (const auto& [buttons, act, answer] : cases) {
        EXPECT_EQ(ask(buttons, "Sure?", act), answer);
        EXPECT_EQ(XtIsManaged(part(XmDIALOG_HELP_BUTTON)), buttons == 3) << answer;
        EXPECT_FALSE(XtIsManaged(kvcMessageWidget) || KvcQuestionOpen()) << answer;
    }
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    EXPECT_EQ(ask(2, "Sure?", [&] { click(button), clickYes(); }), 0);
    EXPECT_EQ(presses, 0);
    click(button);
    pump();
    EXPECT_EQ(presses, 1) << "the window is usable again";

    shown("Done.");
    clickYes();  // waits in the queue, meant for the information
    EXPECT_EQ(ask(3, "Sure?", clickPerhaps), 2);

    testing::internal::CaptureStderr();
    const auto interrupt = [] {
        EXPECT_EQ(KvcUserConfirm(2, Labels, "Second?"), 1);
        EXPECT_EQ(KvcUserError("failed"), 1);
        clickYes();
    };
    EXPECT_EQ(ask(2, "First?", interrupt), 0);
    EXPECT_EQ(text(XmNmessageString), "(l)First?");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("failed\n"), std::string::npos);
}

// A window manager takes its time to put windows into frames and to tell where they are.
void settle() {
    for (int i = 0; i < 30; ++i) {
        usleep(10000);
        pump();
    }
}

TEST_F(Messages, AreOverTheWindowAndOnTheScreen) {
    settle();
    const Widget shell = shown("short");
    settle();
    EXPECT_EQ(XtWidth(shell), 400);
    EXPECT_NEAR(XtX(shell), 400, 40) << "in the middle";
    EXPECT_NEAR(XtY(shell), 300, 40) << "in the middle";
    XtVaSetValues(window, XmNx, 900, nullptr);
    for (const std::size_t length : {10, 100, 1000}) {
        shown(std::string(length, 'w'));
        settle();
        EXPECT_LE(XtX(shell) + XtWidth(shell), WidthOfScreen(XtScreen(shell))) << length;
        EXPECT_EQ(XtWidth(shell) > 500, length >= 100) << length;
    }
}

}  // namespace

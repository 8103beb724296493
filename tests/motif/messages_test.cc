#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <string>
#include <tuple>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/hands.h"

namespace {

const char* const Labels[] = {"Yes", "No", "Perhaps"};

const auto closeBox = [] {
    askToClose(XtParent(kvcMessageWidget));
    return std::string();
};

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

// Where the screen has it, in the frame of its window manager.
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
    const std::tuple<int, Step, int> cases[] = {
        {2, answer(0), 0}, {2, answer(1), 1}, {3, answer(2), 2}, {3, closeBox, 2}};
    for (const auto& [buttons, act, chosen] : cases) {
        EXPECT_EQ(ask(buttons, "Sure?", act), chosen);
        const Widget third = XmMessageBoxGetChild(kvcMessageWidget, XmDIALOG_HELP_BUTTON);
        EXPECT_EQ(XtIsManaged(third), buttons == 3) << chosen;
        EXPECT_FALSE(XtIsManaged(kvcMessageWidget) || KvcQuestionOpen()) << chosen;
    }
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    // A window manager would hold back what it manages, and pass clicks on when it likes.
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
    EXPECT_EQ(answer(0)(), "");  // waits in the queue, meant for the information
    EXPECT_EQ(ask(3, "Sure?", answer(2)), 2);

    testing::internal::CaptureStderr();
    const auto interrupt = [] {
        EXPECT_EQ(KvcUserConfirm(2, Labels, "Second?"), 1);
        EXPECT_EQ(KvcUserError("failed"), 1);
        return answer(0)();
    };
    EXPECT_EQ(ask(2, "First?", interrupt), 0);
    EXPECT_EQ(text(XmNmessageString), "(l)First?");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("failed\n"), std::string::npos);
}

TEST_F(Messages, AreOverTheWindowAndOnTheScreen) {
    XtManageChild(window);
    EXPECT_TRUE(pumpUntil(window, [&] { return isViewable(window); }));
    const auto placed = [](const std::string& message) {
        const Widget shell = shown(message);
        EXPECT_TRUE(pumpUntil(shell, [&] { return isViewable(shell); }));
        return placeOf(shell);
    };
    XWindowAttributes box = placed("short");
    EXPECT_EQ(box.width, 400);
    EXPECT_NEAR(box.x, 400, 40) << "in the middle";
    EXPECT_NEAR(box.y, 300, 40) << "in the middle";
    XtVaSetValues(window, XmNx, 900, nullptr);
    for (const std::size_t length : {10, 100, 1000}) {
        box = placed(std::string(length, 'w'));
        EXPECT_LE(box.x + box.width, WidthOfScreen(box.screen)) << length;
        EXPECT_EQ(box.width > 500, length >= 100) << length;
    }
}

}  // namespace

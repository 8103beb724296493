#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "motif/KvcUtil.h"
#include "tests/builder/XTest.h"

namespace {

const char* const Labels[] = {"Yes", "No", "Perhaps"};

Widget part(unsigned char child) {
    return XmMessageBoxGetChild(kvcMessageWidget, child);
}
Widget shell() {
    return XtParent(kvcMessageWidget);
}

void send(Widget w, XEvent event) {
    event.xany.window = XtWindow(w);
    XSendEvent(XtDisplay(w), XtWindow(w), False, NoEventMask, &event);
}

// Presses and releases the mouse button on a widget or gadget.
void click(Widget w) {
    Widget owner = XtIsWidget(w) ? w : XtParent(w);
    Position left = 0, top = 0, x = 0, y = 0;
    XtTranslateCoords(owner, 0, 0, &left, &top);
    XtTranslateCoords(w, 5, 5, &x, &y);
    XEvent event = {};
    event.xbutton = {ButtonPress, 0,       True, nullptr, 0, 0,       0,   0,
                     x - left,    y - top, x,    y,       0, Button1, True};
    send(owner, event);
    event.type = ButtonRelease;
    event.xbutton.state = Button1Mask;
    send(owner, event);
}

template <unsigned char Child>
void press() {
    click(part(Child));
}
constexpr auto clickYes = press<XmDIALOG_OK_BUTTON>;
constexpr auto clickNo = press<XmDIALOG_CANCEL_BUTTON>;
constexpr auto clickPerhaps = press<XmDIALOG_HELP_BUTTON>;

void closeBox() {
    const auto atom = [](const char* name) { return XInternAtom(XtDisplay(shell()), name, False); };
    XEvent event = {};
    event.xclient = {ClientMessage, 0, True, nullptr, 0, atom("WM_PROTOCOLS"), 32, {}};
    event.xclient.data.l[0] = static_cast<long>(atom("WM_DELETE_WINDOW"));
    send(shell(), event);
}

std::string text(const char* resource) {
    XmString string = nullptr;
    XtVaGetValues(kvcMessageWidget, resource, &string, nullptr);
    const std::string result = written(string);
    XmStringFree(string);
    return result;
}

void pump() {
    XSync(XtDisplay(testShell()), False);
    KvcFlushEvents(testShell(), testApp);
}

XWindowAttributes placeOf(Widget w) {
    XWindowAttributes place;
    Window child = None;
    XGetWindowAttributes(XtDisplay(w), XtWindow(w), &place);
    XTranslateCoordinates(XtDisplay(w), XtWindow(w), place.root, 0, 0, &place.x, &place.y, &child);
    return place;
}

XWindowAttributes shown(const std::string& message) {
    KvcUserInfo(message.c_str());
    pump();
    return placeOf(shell());
}

// A window with one button that counts how often it is pressed.
class Messages : public testing::Test {
protected:
    void SetUp() override {
        main = XtVaCreatePopupShell("main", xmDialogShellWidgetClass, testShell(), XmNx, 300, XmNy,
                                    200, nullptr);
        Widget window =
            XtVaCreateWidget("window", xmBulletinBoardWidgetClass, main, XmNwidth, 600, XmNheight,
                             400, XmNautoUnmanage, False, XmNdefaultPosition, False, nullptr);
        button = XtVaCreateManagedWidget("button", xmArrowButtonWidgetClass, window, nullptr);
        const auto count = [](Widget, XtPointer to, XtPointer) { ++*static_cast<int*>(to); };
        XtAddCallback(button, XmNactivateCallback, count, &presses);
        XtManageChild(window);
        KvcInit(testShell(), &testApp);
        KvcSetMessagesOver(window);
        shown("ready");
    }
    void TearDown() override {
        XtUnmanageChild(kvcMessageWidget);
        KvcSetMessagesOver(nullptr);
        XtDestroyWidget(main);
        pump();
    }

    // Asks, and takes `todo` step by step while the question is open.
    int ask(int n, const char* question, std::vector<std::function<void()>> todo) {
        steps = std::move(todo);
        steps.push_back([] { KvcConfirmCB(nullptr, XtPointer(99), nullptr); });
        timer = XtAppAddTimeOut(testApp, 50, step, this);
        const int answer = KvcUserConfirm(n, Labels, question);
        XtRemoveTimeOut(timer);
        return answer;
    }
    static void step(XtPointer closure, XtIntervalId*) {
        auto* self = static_cast<Messages*>(closure);
        const auto todo = self->steps.front();
        self->steps.erase(self->steps.begin());
        self->timer = XtAppAddTimeOut(testApp, 50, step, closure);
        todo();
    }

    Widget main = nullptr, button = nullptr;
    int presses = 0;
    std::vector<std::function<void()>> steps;
    XtIntervalId timer = 0;
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
        EXPECT_EQ(ask(buttons, "Sure?", {act}), answer);
        EXPECT_EQ(XtIsManaged(part(XmDIALOG_HELP_BUTTON)), buttons == 3) << answer;
        EXPECT_FALSE(XtIsManaged(kvcMessageWidget) || KvcQuestionOpen()) << answer;
    }
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    const auto behind = [&] { click(button); };
    EXPECT_EQ(ask(2, "Sure?", {behind, behind, clickYes}), 0);
    EXPECT_EQ(presses, 0);
    behind();
    pump();
    EXPECT_EQ(presses, 1) << "the window is usable again";

    shown("Done.");
    clickYes();  // waits in the queue, meant for the information
    EXPECT_EQ(ask(3, "Sure?", {clickPerhaps}), 2);

    testing::internal::CaptureStderr();
    const auto interrupt = [] {
        EXPECT_EQ(KvcUserConfirm(2, Labels, "Second?"), 1);
        EXPECT_EQ(KvcUserError("failed"), 1);
    };
    EXPECT_EQ(ask(2, "First?", {interrupt, clickYes}), 0);
    EXPECT_EQ(text(XmNmessageString), "(l)First?");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("failed\n"), std::string::npos);
}

TEST_F(Messages, HaveTheSizeOfTheirTextAndStayOnTheScreen) {
    EXPECT_GT(shown(std::string(100, 'w')).width, 500);
    EXPECT_EQ(shown("short").width, 400);
    EXPECT_LE(shown(std::string(1000, 'w')).width, WidthOfScreen(XtScreen(main)));
    ask(2, "1\n2\n3\n4\n5\n", {});
    EXPECT_EQ(placeOf(shell()).width, 500);
    for (const int corner : {300, 900}) {
        XtVaSetValues(main, XmNx, corner, XmNy, corner, nullptr);
        const XWindowAttributes box = shown("Where am I?");
        EXPECT_LE(box.x + box.width, WidthOfScreen(box.screen)) << corner;
        EXPECT_TRUE(corner == 900 || box.x > corner) << "over the window";
    }
}

}  // namespace

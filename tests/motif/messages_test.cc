#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <functional>
#include <string>
#include <vector>

#include "motif/KvcUtil.h"
#include "tests/builder/XTest.h"

namespace {

const char* const Labels[] = {"Yes", "No", "Perhaps"};
constexpr int NobodyAnswered = 99;

// Presses and releases the mouse button on a widget or gadget, with events as the server sends
// them.
void click(Widget w) {
    Widget owner = XtIsWidget(w) ? w : XtParent(w);
    Position x = 0, y = 0;
    Dimension width = 0, height = 0;
    XtVaGetValues(w, XmNx, &x, XmNy, &y, XmNwidth, &width, XmNheight, &height, nullptr);
    XEvent event = {};
    event.xbutton.window = XtWindow(owner);
    event.xbutton.button = Button1;
    event.xbutton.same_screen = True;
    event.xbutton.x = (owner == w ? 0 : x) + width / 2;
    event.xbutton.y = (owner == w ? 0 : y) + height / 2;
    Window child = None;
    XTranslateCoordinates(XtDisplay(owner), XtWindow(owner), RootWindowOfScreen(XtScreen(owner)),
                          event.xbutton.x, event.xbutton.y, &event.xbutton.x_root,
                          &event.xbutton.y_root, &child);
    for (const int type : {ButtonPress, ButtonRelease}) {
        event.type = type;
        event.xbutton.state = type == ButtonRelease ? Button1Mask : 0;
        XSendEvent(XtDisplay(owner), XtWindow(owner), False, NoEventMask, &event);
    }
}

Widget part(unsigned char child) {
    return XmMessageBoxGetChild(kvcMessageWidget, child);
}

Widget shell() {
    return XtParent(kvcMessageWidget);
}

void closeByWindowManager() {
    Display* display = XtDisplay(shell());
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = XtWindow(shell());
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    XSendEvent(display, XtWindow(shell()), False, NoEventMask, &event);
}

void pump() {
    XSync(XtDisplay(testShell()), False);
    KvcFlushEvents(testShell(), testApp);
}

// Makes Motif believe that its window manager runs, which it leaves modal input to.
class MwmRuns {
public:
    MwmRuns() {
        const unsigned long info[] = {0, XCreateSimpleWindow(display_, root_, 0, 0, 1, 1, 0, 0, 0)};
        window_ = info[1];
        XChangeProperty(display_, root_, atom_, atom_, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(info), 2);
    }
    ~MwmRuns() {
        XDeleteProperty(display_, root_, atom_);
        XDestroyWindow(display_, window_);
    }

private:
    Display* display_ = XtDisplay(testShell());
    Window root_ = DefaultRootWindow(display_);
    Window window_ = None;
    Atom atom_ = XInternAtom(display_, "_MOTIF_WM_INFO", False);
};

struct Box {
    int x, y, width, height;
};

Box boxOf(Widget w) {
    Window child = None;
    XWindowAttributes size;
    Box box;
    XGetWindowAttributes(XtDisplay(w), XtWindow(w), &size);
    XTranslateCoordinates(XtDisplay(w), XtWindow(w), size.root, 0, 0, &box.x, &box.y, &child);
    return {box.x, box.y, size.width, size.height};
}

class Messages : public testing::Test {
protected:
    void SetUp() override {
        if (window == nullptr) buildWindow();
        KvcInit(testShell(), &testApp);
        KvcSetMessagesOver(window);
    }
    void TearDown() override {
        if (kvcMessageWidget != nullptr) XtUnmanageChild(kvcMessageWidget);
        pump();
    }

    static void buildWindow() {
        static const MwmRuns pretended;
        Widget main = XtVaCreatePopupShell("main", xmDialogShellWidgetClass, testShell(), XmNx, 300,
                                           XmNy, 200, nullptr);
        window =
            XtVaCreateWidget("window", xmBulletinBoardWidgetClass, main, XmNwidth, 600, XmNheight,
                             400, XmNautoUnmanage, False, XmNdefaultPosition, False, nullptr);
        button = XtVaCreateManagedWidget("button", xmPushButtonWidgetClass, window, nullptr);
        const auto count = [](Widget, XtPointer, XtPointer) { ++presses; };
        XtAddCallback(button, XmNactivateCallback, count, nullptr);
        XtManageChild(window);
        pump();
    }

    // Asks, and does `steps` one after the other while the question is open.
    int ask(int n, const char* text, std::vector<std::function<void()>> todo) {
        steps = std::move(todo);
        steps.push_back(
            [] { KvcConfirmCB(nullptr, reinterpret_cast<XtPointer>(NobodyAnswered), nullptr); });
        timer = XtAppAddTimeOut(testApp, 50, step, this);
        const int answer = KvcUserConfirm(n, Labels, text);
        XtRemoveTimeOut(timer);
        return answer;
    }

    static std::string text(const char* resource) {
        XmString string = nullptr;
        XtVaGetValues(kvcMessageWidget, resource, &string, nullptr);
        const std::string result = written(string);
        XmStringFree(string);
        return result;
    }

    static inline Widget window = nullptr;
    static inline Widget button = nullptr;
    static inline int presses = 0;

private:
    static void step(XtPointer closure, XtIntervalId*) {
        auto* self = static_cast<Messages*>(closure);
        const auto todo = self->steps.front();
        self->steps.erase(self->steps.begin());
        self->timer = XtAppAddTimeOut(testApp, 50, step, closure);
        todo();
    }

    std::vector<std::function<void()>> steps;
    XtIntervalId timer = 0;
};

TEST_F(Messages, NeedTheirWindow) {
    KvcInit(nullptr, nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(KvcUserInfo("text") + KvcUserError("text") + KvcUserConfirm(2, Labels, "text"), 0);
    const std::string line = "ERROR: Message widget not initialized.\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line + line);
}

TEST_F(Messages, GoToStandardErrorOnDemand) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KvcUserInfo("a", nullptr, "b", nullptr, 0), 1);
    EXPECT_EQ(KvcUserError("c", "d", "e", "f", 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ab\ncdef\n");
    EXPECT_FALSE(XtIsManaged(kvcMessageWidget));
}

TEST_F(Messages, AreShownWhole) {
    const std::string full(1500, '\n');
    const struct {
        const char* text;
        std::string string;
    } cases[] = {
        {"two\nlines", "(l)two|lines"},
        {"::\"a\\b\"\n#c", "(l)::\"a\\b\"|#c"},
        {full.c_str(), "(l)" + std::string(1500, '|')},
        {nullptr, "(l)"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(KvcUserInfo(one.text), 1);
        EXPECT_EQ(text(XmNmessageString), one.string);
    }
    ask(3, "Sure?", {[] { click(part(XmDIALOG_HELP_BUTTON)); }});
    EXPECT_EQ(KvcUserError("pieces ", nullptr, "of ", "text"), 0);
    EXPECT_EQ(text(XmNmessageString), "(l)pieces of text");
    EXPECT_EQ(text(XmNdialogTitle), "(l)Oooops... Sorry!");
    EXPECT_EQ(text(XmNokLabelString), "(l)Ok");
    EXPECT_FALSE(XtIsManaged(part(XmDIALOG_CANCEL_BUTTON)));
    EXPECT_FALSE(XtIsManaged(part(XmDIALOG_HELP_BUTTON)));
    pump();
    click(part(XmDIALOG_OK_BUTTON));
    pump();
    EXPECT_FALSE(XtIsManaged(kvcMessageWidget));
}

TEST_F(Messages, AreAnsweredByButtonsAndByClosing) {
    const struct {
        const char* what;
        int buttons;
        std::function<void()> act;
        int answer;
    } cases[] = {
        {"first of two", 2, [] { click(part(XmDIALOG_OK_BUTTON)); }, 0},
        {"second of two", 2, [] { click(part(XmDIALOG_CANCEL_BUTTON)); }, 1},
        {"third", 3, [] { click(part(XmDIALOG_HELP_BUTTON)); }, 2},
        {"close two", 2, closeByWindowManager, 1},
        {"close three", 3, closeByWindowManager, 2},
    };
    for (const auto& one : cases) {
        bool third = false;
        int open = 0;
        const auto look = [&] {
            third = XtIsManaged(part(XmDIALOG_HELP_BUTTON));
            open = KvcQuestionOpen();
        };
        EXPECT_EQ(ask(one.buttons, "Sure?", {look, one.act}), one.answer) << one.what;
        EXPECT_EQ(third, one.buttons == 3) << one.what;
        EXPECT_EQ(open - KvcQuestionOpen(), 1) << one.what;
        EXPECT_FALSE(XtIsManaged(kvcMessageWidget)) << one.what;
    }
}

TEST_F(Messages, HoldBackEverythingElseWhileAsking) {
    const auto behind = [] { click(button); };
    const auto answer = [] { click(part(XmDIALOG_OK_BUTTON)); };
    presses = 0;
    EXPECT_EQ(ask(2, "Sure?", {behind, behind, answer}), 0);
    EXPECT_EQ(presses, 0);
    behind();
    pump();
    EXPECT_EQ(presses, 1) << "the window is usable again";

    KvcUserInfo("Done.");
    pump();
    answer();  // waits in the queue, meant for the information
    EXPECT_EQ(ask(2, "Sure?", {[] { click(part(XmDIALOG_CANCEL_BUTTON)); }}), 1);

    int second = -1;
    testing::internal::CaptureStderr();
    const auto interrupt = [&] {
        second = KvcUserConfirm(2, Labels, "Second?");
        EXPECT_EQ(KvcUserError("failed"), 1);
    };
    EXPECT_EQ(ask(2, "First?", {interrupt, answer}), 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(text(XmNmessageString), "(l)First?");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("failed\n"), std::string::npos);
}

TEST_F(Messages, HaveTheSizeOfTheirText) {
    const auto shown = [](const std::string& message) {
        KvcUserInfo(message.c_str());
        pump();
        EXPECT_GE(boxOf(shell()).height, 200);
        return boxOf(shell());
    };
    EXPECT_EQ(shown("short").width, 400);
    const Box wide = shown(std::string(100, 'w'));
    Dimension label = 0;
    XtVaGetValues(part(XmDIALOG_MESSAGE_LABEL), XmNwidth, &label, nullptr);
    EXPECT_GT(label, 500) << "wide enough for a hundred letters";
    EXPECT_GT(wide.width, label);
    EXPECT_EQ(shown("short again").width, 400);
    EXPECT_EQ(shown("short again").height, 200);
    EXPECT_LE(shown(std::string(1000, 'w')).width, WidthOfScreen(XtScreen(window)));

    Box asked = {};
    ask(2, "1\n2\n3\n4\n5\n", {[&] { asked = boxOf(shell()); }});
    EXPECT_EQ(asked.width, 500);
    EXPECT_EQ(asked.height, 290);
    EXPECT_EQ(shown("still").width, 500);
}

TEST_F(Messages, StandOverTheWindowAndOnTheScreen) {
    const Box screen = {0, 0, WidthOfScreen(XtScreen(window)), HeightOfScreen(XtScreen(window))};
    for (const int corner : {300, 0, 900}) {
        XtVaSetValues(XtParent(window), XmNx, corner, XmNy, corner, nullptr);
        pump();
        KvcUserInfo("Where am I?");
        pump();
        const Box over = boxOf(window);
        const Box box = boxOf(shell());
        EXPECT_GE(box.x, 0) << corner;
        EXPECT_LE(box.x + box.width, screen.width) << corner;
        EXPECT_LE(box.y + box.height, screen.height) << corner;
        if (corner == 900) continue;
        EXPECT_NEAR(box.x + box.width / 2, over.x + over.width / 2, 30) << corner;
        EXPECT_NEAR(box.y + box.height / 2, over.y + over.height / 2, 30) << corner;
    }
    XWindowAttributes kept;
    XGetWindowAttributes(XtDisplay(shell()), XtWindow(shell()), &kept);
    EXPECT_EQ(kept.backing_store, Always);
}

}  // namespace

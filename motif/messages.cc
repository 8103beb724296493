#include <X11/Shell.h>
#include <Xm/DialogS.h>
#include <Xm/MessageB.h>
#include <Xm/Protocols.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <initializer_list>
#include <string>
#include <vector>

#include "motif/KvcUtil.h"
#include "motif/in_front.h"
#include "motif/message_box.h"

Widget kvcTopLevelWidget = nullptr;
XtAppContext* kvcAppContext = nullptr;
Widget kvcMessageWidget = nullptr;
int kvcMessageReturnVal = 0;

namespace {

constexpr KvcSize standardSize = {400, 200};
constexpr KvcSize longQuestionSize = {500, 290};
constexpr int longQuestionLines = 5;

// Values of kvcMessageReturnVal that are not buttons.
constexpr int noAnswer = -1;
constexpr int closed = -2;

KvcSize smallestSize = standardSize;
bool questionOpen = false;
int lastButton = 0;

// The messages in the box that the user has not closed yet.
struct Unread {
    std::vector<std::string> texts;
    bool error = false;
};
Unread unread;

bool isInitialized() {
    if (kvcTopLevelWidget == nullptr)
        std::fputs("ERROR: Message widget not initialized.\n", stderr);
    return kvcTopLevelWidget != nullptr;
}

// Not KvuString::concatStrings, which has a length limit: messages are never cut.
std::string joined(std::initializer_list<const char*> pieces) {
    std::string text;
    for (const char* piece : pieces)
        if (piece != nullptr) text += piece;
    return text;
}

void print(const char* kind, const std::string& text) {
    std::printf("%s%s\n", kind, text.c_str());
    std::fflush(stdout);
}

void setButton(unsigned char button, bool shown) {
    Widget widget = XmMessageBoxGetChild(kvcMessageWidget, button);
    shown ? XtManageChild(widget) : XtUnmanageChild(widget);
}

// The box itself

// A mapped box has to negotiate each size change with the window manager. So it is unmapped first
// and mapped again with its new text.
void hideBox() {
    XtUnmanageChild(kvcMessageWidget);
}

void closeBox(Widget, XtPointer, XtPointer) {
    if (questionOpen) kvcMessageReturnVal = closed;
    hideBox();
}

void closeBoxByKey(Widget, XEvent*, String*, Cardinal*) {
    closeBox(nullptr, nullptr, nullptr);
}

// Motif treats Escape as a press of the second button, which may have any meaning here.
void closeWithEscape() {
    XtActionsRec action = {const_cast<char*>("KvcCloseMessage"), closeBoxByKey};
    XtAppAddActions(XtWidgetToApplicationContext(kvcMessageWidget), &action, 1);
    XtOverrideTranslations(kvcMessageWidget,
                           XtParseTranslationTable("<Key>osfCancel: KvcCloseMessage()"));
}

void makeBox() {
    if (kvcMessageWidget != nullptr) return;
    Widget shell = XtVaCreatePopupShell(
        "msgPopup", xmDialogShellWidgetClass, kvcTopLevelWidget, XmNwidth, standardSize.width,
        XmNheight, standardSize.height, XmNdeleteResponse, XmDO_NOTHING, nullptr);
    std::array<Arg, 2> arguments;
    XtSetArg(arguments[0], XmNdialogStyle, XmDIALOG_PRIMARY_APPLICATION_MODAL);
    XtSetArg(arguments[1], XmNdefaultPosition, False);
    kvcMessageWidget =
        XmCreateMessageBox(shell, const_cast<char*>("msgBox"), arguments.data(), arguments.size());
    int answer = 0;
    for (const char* list : {XmNokCallback, XmNcancelCallback, XmNhelpCallback})
        XtAddCallback(kvcMessageWidget, list, KvcConfirmCB,
                      reinterpret_cast<XtPointer>(static_cast<XtArgVal>(answer++)));
    closeWithEscape();
    XmAddWMProtocolCallback(shell, KvcCloseProtocol(XtDisplay(shell)), closeBox, nullptr);
    XtRealizeWidget(shell);
    KvcKeepDrawn(shell);
    KvcKeepInFront(shell, KvcMessageIsShown);
}

class OpenQuestion {
public:
    explicit OpenQuestion(int buttons) {
        questionOpen = true;
        lastButton = buttons - 1;
    }
    ~OpenQuestion() { questionOpen = false; }
    OpenQuestion(const OpenQuestion&) = delete;
    OpenQuestion& operator=(const OpenQuestion&) = delete;
};

// Clicks and keys that arrived before a message was on the screen, or while a command ran, must not
// answer it or start anything. REQUIRES: a question is open, so that close requests are refused.
void discardInput() {
    const KvcInputHold hold;
    XSync(XtDisplay(kvcMessageWidget), False);
    while ((XtAppPending(*kvcAppContext) & XtIMXEvent) != 0)
        XtAppProcessEvent(*kvcAppContext, XtIMXEvent);
}

// Returns false when the message went to standard error.
bool showMessage(bool error, const std::string& message, int showDialog) {
    makeBox();
    if (!showDialog || questionOpen) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return false;
    }
    // Some texts already begin with the word.
    if (message.starts_with("Error"))
        print("\n", message);
    else
        print(error ? "\nError: " : "\nInformation: ", message);
    if (!KvcMessageIsShown()) unread = {};
    unread.texts.push_back(message);
    unread.error = unread.error || error;
    hideBox();
    KvcDropInput();
    KvcBoxArguments arguments;
    arguments.add(XmNdialogType, unread.error ? XmDIALOG_ERROR : XmDIALOG_INFORMATION);
    arguments.addText(XmNdialogTitle,
                      unread.error ? "Oooops... Sorry!" : "For your information...");
    arguments.addText(XmNokLabelString, "Ok");
    arguments.apply();
    setButton(XmDIALOG_CANCEL_BUTTON, false);
    setButton(XmDIALOG_HELP_BUTTON, false);
    KvcShowMessageBox(unread.texts, smallestSize);
    return true;
}

void showQuestion(int n, const char* const* labels, const std::string& message) {
    KvcBoxArguments arguments;
    arguments.add(XmNdialogType, XmDIALOG_QUESTION);
    arguments.addText(XmNdialogTitle, "Please confirm...");
    arguments.addText(XmNokLabelString, labels[0]);
    arguments.addText(XmNcancelLabelString, labels[1]);
    if (n >= 3) arguments.addText(XmNhelpLabelString, labels[2]);
    arguments.apply();
    setButton(XmDIALOG_CANCEL_BUTTON, true);
    setButton(XmDIALOG_HELP_BUTTON, n >= 3);
    if (std::count(message.begin(), message.end(), '\n') >= longQuestionLines)
        smallestSize = longQuestionSize;
    KvcShowMessageBox({message}, smallestSize);
}

Time timeOf(const XEvent& event) {
    switch (event.type) {
        case ButtonPress:
        case ButtonRelease:
            return event.xbutton.time;
        case KeyPress:
        case KeyRelease:
            return event.xkey.time;
        default:
            return 0;
    }
}

// The button that was pressed, or -1.
int waitForAnswer() {
    static Time lastAnswer = 0;
    const KvcInputHold hold;
    Display* display = XtDisplay(kvcMessageWidget);
    kvcMessageReturnVal = noAnswer;
    while (kvcMessageReturnVal == noAnswer) {
        XEvent event;
        XtAppNextEvent(*kvcAppContext, &event);
        // Ignore the second click of a double click on the previous question.
        const Time time = timeOf(event);
        if (time != 0 && time - lastAnswer < static_cast<Time>(XtGetMultiClickTime(display)))
            continue;
        XtDispatchEvent(&event);
    }
    lastAnswer = XtLastTimestampProcessed(display);
    // Otherwise the box would stay on the screen if a command follows at once.
    XSync(display, False);
    return kvcMessageReturnVal == closed ? -1 : kvcMessageReturnVal;
}

void waitUntilRead() {
    if (!KvcMessageIsShown()) return;
    const OpenQuestion message(1);
    KvcBringUpMessageBox();
    waitForAnswer();
}

}  // namespace

void KvcInit(Widget topLevel, XtAppContext* appContext) {
    kvcTopLevelWidget = topLevel;
    kvcAppContext = appContext;
}

int KvcUserInfo(const char* s1, const char* s2, const char* s3, const char* s4, int showDialog) {
    if (!isInitialized()) return 0;
    showMessage(false, joined({s1, s2, s3, s4}), showDialog);
    return 1;
}

int KvcUserError(const char* s1, const char* s2, const char* s3, const char* s4, int showDialog) {
    if (!isInitialized()) return 0;
    return showMessage(true, joined({s1, s2, s3, s4}), showDialog) ? 0 : 1;
}

int KvcUserConfirm(int n, const char* const* labels, const char* s1, const char* s2, const char* s3,
                   const char* s4) {
    if (!isInitialized()) return 0;
    const std::string message = joined({s1, s2, s3, s4});
    if (questionOpen) {
        std::fprintf(stderr, "Not asked, another question is open: %s\n", message.c_str());
        return -1;
    }
    makeBox();
    waitUntilRead();
    print("\nQuestion: ", message);
    const OpenQuestion question(n);
    hideBox();
    discardInput();
    showQuestion(n, labels, message);
    const int answer = waitForAnswer();
    print("Answer: ", answer < 0 ? "none, the question was closed" : labels[answer]);
    return answer;
}

void KvcDropInput() {
    if (questionOpen || !isInitialized()) return;
    makeBox();
    const OpenQuestion question(1);
    discardInput();
}

void KvcWaitUntilRead() {
    if (!questionOpen) waitUntilRead();
}

int KvcQuestionOpen() {
    return questionOpen ? 1 : 0;
}

std::string KvcReadable(const std::string& text) {
    if (MB_CUR_MAX == 1) return text;
    std::string shown;
    std::mbstate_t state = {};
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = std::mbrlen(&text[at], text.size() - at, &state);
        const bool valid = length > 0 && length <= text.size() - at;
        shown += valid ? text.substr(at, length) : "?";
        if (!valid) state = {};
        at += valid ? length : 1;
    }
    return shown;
}

void KvcConfirmCB(Widget, XtPointer clientData, XtPointer) {
    const int answer = static_cast<int>(reinterpret_cast<XtArgVal>(clientData));
    // The help key acts as the third button, even when there is none.
    if (questionOpen && answer > lastButton) return;
    kvcMessageReturnVal = answer;
    // Motif hides the box for its first two buttons only.
    if (kvcMessageWidget != nullptr) hideBox();
}

void KvcFlushEvents(Widget w, XtAppContext app) {
    while (XtAppPending(app) != 0) XtAppProcessEvent(app, XtIMAll);
    XFlush(XtDisplay(w));
}

void KvcKeepDrawn(Widget shell) {
    if (shell == nullptr || !XtIsRealized(shell)) return;
    XSetWindowAttributes attributes;
    attributes.backing_store = Always;
    XChangeWindowAttributes(XtDisplay(shell), XtWindow(shell), CWBackingStore, &attributes);
}

Atom KvcCloseProtocol(Display* display) {
    return XmInternAtom(display, const_cast<char*>("WM_DELETE_WINDOW"), False);
}

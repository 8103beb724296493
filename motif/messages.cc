#include <X11/Shell.h>
#include <X11/Xutil.h>
#include <Xm/DialogS.h>
#include <Xm/MessageB.h>
#include <Xm/Protocols.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"

Widget kvcTopLevelWidget = nullptr;
XtAppContext* kvcAppContext = nullptr;
Widget kvcMessageWidget = nullptr;
int kvcMessageReturnVal = 0;

namespace {

struct Size {
    int width;
    int height;
};

constexpr Size StandardSize = {400, 200};
constexpr Size LongQuestionSize = {500, 290};
constexpr int LongQuestionLines = 5;

constexpr char EarlierTexts[] = "(What came before is on the terminal.)";
constexpr char RestOfText[] = "(The rest is on the terminal.)";
constexpr std::chrono::seconds LongestWait{2};

// Of kvcMessageReturnVal, besides the buttons.
constexpr int NoAnswer = -1;
constexpr int Closed = -2;

Widget messagesOver = nullptr;
bool windowHasComeUp = false;
Size smallestSize = StandardSize;
bool questionOpen = false;
int lastButton = 0;

// What stands in the box until the user closes it.
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

// Not KvuString::concatStrings: a message is shown whole, however long its pieces are.
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

// The texts of the box

std::string segment(std::string_view line, bool last) {
    std::string markup = last ? "\"" : ":t\"";
    for (const char c : line) {
        if (c == '"' || c == '\\') markup += '\\';
        markup += c;
    }
    return markup + '"';
}

// A message may begin with a path or name that happens to look like markup; it is shown as it is.
std::string literal(const std::string& text) {
    if (!text.starts_with("::")) return text;
    std::string markup = "::";
    std::string_view rest = text;
    for (std::size_t end = 0; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1))
        markup += segment(rest.substr(0, end), false);
    return markup + segment(rest, true);
}

class BoxArguments {
public:
    void add(const char* resource, XtArgVal value) {
        XtSetArg(arguments_[count_], const_cast<char*>(resource), value);
        ++count_;
    }

    void addText(const char* resource, const char* text) {
        Boolean ok = False;
        const XtArgVal value = CONVERT(kvcTopLevelWidget, text, XmRXmString, 0, &ok);
        if (!ok) return;
        texts_.emplace_back(reinterpret_cast<XmString>(value));
        add(resource, value);
    }

    void apply() { XtSetValues(kvcMessageWidget, arguments_.data(), count_); }

private:
    std::array<Arg, 6> arguments_ = {};
    Cardinal count_ = 0;
    std::vector<KviXmString> texts_;
};

void setMessage(const std::string& message) {
    BoxArguments arguments;
    arguments.addText(XmNmessageString, literal(KvcReadable(message)).c_str());
    arguments.apply();
}

void setButton(unsigned char button, bool shown) {
    Widget widget = XmMessageBoxGetChild(kvcMessageWidget, button);
    shown ? XtManageChild(widget) : XtUnmanageChild(widget);
}

// Size and place of the box

Widget shellOf(Widget w) {
    while (w != nullptr && !XtIsShell(w)) w = XtParent(w);
    return w;
}

bool isViewable(Display* display, Window window) {
    XWindowAttributes attributes;
    return XGetWindowAttributes(display, window, &attributes) != 0 &&
           attributes.map_state == IsViewable;
}

bool isShown() {
    return kvcMessageWidget != nullptr && XtIsManaged(kvcMessageWidget);
}

Widget messageShell() {
    return XtParent(kvcMessageWidget);
}

Size screenSize() {
    Screen* screen = XtScreen(kvcMessageWidget);
    return {WidthOfScreen(screen), HeightOfScreen(screen)};
}

// The box keeps the size that it is given; only to be asked it is let loose.
Size naturalSize() {
    XtWidgetGeometry natural = {};
    XtVaSetValues(kvcMessageWidget, XmNresizePolicy, XmRESIZE_ANY, nullptr);
    XtQueryGeometry(kvcMessageWidget, nullptr, &natural);
    XtVaSetValues(kvcMessageWidget, XmNresizePolicy, XmRESIZE_NONE, nullptr);
    return {natural.width, natural.height};
}

std::size_t breakBefore(std::string_view line, std::size_t columns) {
    const std::size_t boundary = line.substr(0, columns).find_last_of(" /");
    if (boundary != line.npos && boundary > columns / 2) return boundary + 1;
    std::size_t at = columns;
    while (at > 1 && (static_cast<unsigned char>(line[at]) & 0xC0) == 0x80) --at;
    return at;
}

std::string wrapped(std::string_view text, std::size_t columns) {
    std::string result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const bool fits = end <= columns;
        const std::size_t taken = fits ? end : breakBefore(text, columns);
        result += text.substr(0, taken);
        if (taken < text.size()) result += '\n';
        text.remove_prefix(std::min(taken + (fits ? 1 : 0), text.size()));
    }
    return result;
}

std::size_t longestLine(std::string_view text) {
    std::size_t longest = 0;
    for (std::size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find('\n'), text.size());
        longest = std::max(longest, end);
    }
    return longest;
}

Size room() {
    return {screenSize().width * 9 / 10, screenSize().height * 9 / 10};
}

std::size_t countLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
}

// How many columns of the text, which is in the box, the screen is wide enough for.
std::size_t columnsThatFit(const std::string& text) {
    const int width = naturalSize().width;
    if (width <= room().width) return text.npos;
    const std::size_t columns = longestLine(text) * static_cast<std::size_t>(room().width) /
                                static_cast<std::size_t>(width);
    return std::max<std::size_t>(columns, 20);
}

// The same for lines.
std::size_t linesThatFit(const std::string& text) {
    XtWidgetGeometry label = {};
    XtQueryGeometry(XmMessageBoxGetChild(kvcMessageWidget, XmDIALOG_MESSAGE_LABEL), nullptr,
                    &label);
    const int others = naturalSize().height - label.height;
    const int height = std::max(room().height - others, 0);
    return static_cast<std::size_t>(height) * countLines(text) /
           static_cast<std::size_t>(std::max<int>(label.height, 1));
}

std::string oneBelowTheOther(const std::vector<std::string>& texts, std::size_t first) {
    std::string all = first > 0 ? EarlierTexts : "";
    for (std::size_t i = first; i < texts.size(); ++i) {
        while (all.ends_with('\n')) all.pop_back();
        if (!all.empty()) all += "\n\n";
        all += texts[i];
    }
    return all;
}

std::string firstLines(const std::string& text, std::size_t lines) {
    std::size_t end = 0;
    for (; lines > 0; --lines) end = text.find('\n', end) + 1;
    return text.substr(0, end);
}

// A line wider than the screen, as a long path makes it, is broken rather than left off it. What
// there is no room for below the others must not push the buttons off the screen.
void fitToScreen(const std::vector<std::string>& texts) {
    const std::string whole = oneBelowTheOther(texts, 0);
    setMessage(whole);
    const std::size_t columns = columnsThatFit(whole);
    const std::size_t lines = linesThatFit(whole);
    std::string text = wrapped(whole, columns);
    for (std::size_t first = 1; first < texts.size() && countLines(text) > lines; ++first)
        text = wrapped(oneBelowTheOther(texts, first), columns);
    if (countLines(text) > lines)
        text = firstLines(text, std::max<std::size_t>(lines, 1) - 1) + RestOfText;
    if (text != whole) setMessage(text);
}

// A window with what its window manager puts around it, in pixels of the screen.
struct Frame {
    int x = 0, y = 0, width = 0, height = 0;
    int extraWidth = 0, extraHeight = 0;
};

Window frameWindow(Display* display, Window window) {
    Window root = None, parent = window;
    while (parent != root) {
        window = parent;
        Window* children = nullptr;
        unsigned count = 0;
        if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) break;
        if (children != nullptr) XFree(children);
    }
    return window;
}

Frame whereMessagesGo() {
    Frame frame;
    frame.width = screenSize().width;
    frame.height = screenSize().height;
    Widget shell = shellOf(messagesOver);
    if (shell == nullptr || !XtIsRealized(shell)) return frame;
    XWindowAttributes inner, outer;
    Display* display = XtDisplay(shell);
    // A frame that the window manager takes away during the walk up to it would be a fatal error.
    XGrabServer(display);
    XGetWindowAttributes(display, XtWindow(shell), &inner);
    XGetWindowAttributes(display, frameWindow(display, XtWindow(shell)), &outer);
    XUngrabServer(display);
    XFlush(display);
    if (inner.map_state != IsViewable) return frame;
    return {outer.x,
            outer.y,
            outer.width,
            outer.height,
            outer.width - inner.width,
            outer.height - inner.height};
}

Position centred(int start, int length, int own, int screen) {
    return static_cast<Position>(
        std::clamp(start + (length - own) / 2, 0, std::max(0, screen - own)));
}

void placeBox() {
    const Size natural = naturalSize();
    const Size size = {std::max(natural.width, smallestSize.width),
                       std::max(natural.height, smallestSize.height)};
    const Frame over = whereMessagesGo();
    // When the box comes up the shell takes the box's size, not the other way round.
    XtVaSetValues(kvcMessageWidget, XmNwidth, size.width, XmNheight, size.height, nullptr);
    XtVaSetValues(
        messageShell(), XmNwidth, size.width, XmNheight, size.height, XmNx,
        centred(over.x, over.width, size.width + over.extraWidth, screenSize().width), XmNy,
        centred(over.y, over.height, size.height + over.extraHeight, screenSize().height), nullptr);
}

// The box itself

// A box that is up negotiates each change of its size with the window manager; so it goes away
// first and comes back with its new text.
void hideBox() {
    XtUnmanageChild(kvcMessageWidget);
}

void closeBox(Widget, XtPointer, XtPointer) {
    if (questionOpen) kvcMessageReturnVal = Closed;
    hideBox();
}

void closeBoxByKey(Widget, XEvent*, String*, Cardinal*) {
    closeBox(nullptr, nullptr, nullptr);
}

// Motif takes Escape for a press of the second button, which may mean anything.
void closeWithEscape() {
    XtActionsRec action = {const_cast<char*>("KvcCloseMessage"), closeBoxByKey};
    XtAppAddActions(XtWidgetToApplicationContext(kvcMessageWidget), &action, 1);
    XtOverrideTranslations(kvcMessageWidget,
                           XtParseTranslationTable("<Key>osfCancel: KvcCloseMessage()"));
}

void makeBox() {
    if (kvcMessageWidget != nullptr) return;
    Widget shell = XtVaCreatePopupShell(
        "msgPopup", xmDialogShellWidgetClass, kvcTopLevelWidget, XmNwidth, StandardSize.width,
        XmNheight, StandardSize.height, XmNdeleteResponse, XmDO_NOTHING, nullptr);
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
    XmAddWMProtocolCallback(
        shell, XmInternAtom(XtDisplay(shell), const_cast<char*>("WM_DELETE_WINDOW"), False),
        closeBox, nullptr);
    XtRealizeWidget(shell);
    KvcKeepDrawn(shell);
}

// A window manager hides the box with the window that it belongs to.
void bringBack(Display* display, Widget shell) {
    if (shell == nullptr || !XtIsRealized(shell)) return;
    if (!isViewable(display, XtWindow(shell))) XMapRaised(display, XtWindow(shell));
}

void bringUp() {
    Display* display = XtDisplay(kvcMessageWidget);
    bringBack(display, shellOf(messagesOver));
    XMapWindow(display, XtWindow(kvcMessageWidget));
    XMapRaised(display, XtWindow(messageShell()));
}

// While it lives, the box alone gets input. Motif leaves that to its own window manager, and when
// it brings up a shell it admits older ones again: so this starts once the box is up.
class InputHold {
public:
    InputHold() { XtAddGrab(messageShell(), True, False); }
    ~InputHold() { XtRemoveGrab(messageShell()); }
    InputHold(const InputHold&) = delete;
    InputHold& operator=(const InputHold&) = delete;
};

// A window manager acts in its own time. One that never does must not keep the message back.
template <typename Condition>
void waitFor(Condition isMet) {
    const auto end = std::chrono::steady_clock::now() + LongestWait;
    while (!isMet() && std::chrono::steady_clock::now() < end) usleep(5000);
}

// Only then has the window a place that the box can come up over.
void waitForWindow() {
    Widget shell = shellOf(messagesOver);
    if (windowHasComeUp || shell == nullptr || !XtIsRealized(shell) || !XtIsManaged(messagesOver))
        return;
    windowHasComeUp = true;
    const InputHold hold;
    waitFor([=] {
        KvcFlushEvents(shell, *kvcAppContext);
        return isViewable(XtDisplay(shell), XtWindow(shell));
    });
}

// Whether the window manager has nothing to do with the window, as before it was ever shown.
bool isWithdrawn(Display* display, Window window) {
    const Atom property = XInternAtom(display, "WM_STATE", False);
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(display, window, property, 0, 1, False, property, &type, &format, &count,
                       &rest, &value);
    // Xlib gives items of 32 bits as long ones.
    const bool withdrawn = count == 0 || *reinterpret_cast<long*>(value) == WithdrawnState;
    if (value != nullptr) XFree(value);
    return withdrawn;
}

// A window manager that is late with hiding and showing the box may end with hiding it, and nobody
// could answer then: so neither begins before the other is done.
void showBox(const std::vector<std::string>& texts) {
    waitForWindow();
    // Keeps the box above that window, and tells the window manager what the box shuts off.
    if (Widget over = shellOf(messagesOver))
        XtVaSetValues(messageShell(), XmNtransientFor, over, nullptr);
    fitToScreen(texts);
    placeBox();
    Display* display = XtDisplay(kvcMessageWidget);
    const Window window = XtWindow(messageShell());
    waitFor([=] { return isWithdrawn(display, window); });
    XtManageChild(kvcMessageWidget);
    bringUp();
    waitFor([=] { return isViewable(display, window); });
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

// Clicks and keys from before a message was on the screen, or from while a command ran, must not
// answer it or start anything. REQUIRES: an open question, for which close requests are refused.
void discardInput() {
    const InputHold hold;
    XSync(XtDisplay(kvcMessageWidget), False);
    while ((XtAppPending(*kvcAppContext) & XtIMXEvent) != 0)
        XtAppProcessEvent(*kvcAppContext, XtIMXEvent);
}

// False when the message went to standard error.
bool showMessage(bool error, const std::string& message, int showDialog) {
    makeBox();
    if (showDialog == 0 || questionOpen) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return false;
    }
    // Some texts say themselves what they are.
    if (message.starts_with("Error"))
        print("\n", message);
    else
        print(error ? "\nError: " : "\nInformation: ", message);
    if (!isShown()) unread = {};
    unread.texts.push_back(message);
    unread.error = unread.error || error;
    hideBox();
    KvcDropInput();
    BoxArguments arguments;
    arguments.add(XmNdialogType, unread.error ? XmDIALOG_ERROR : XmDIALOG_INFORMATION);
    arguments.addText(XmNdialogTitle,
                      unread.error ? "Oooops... Sorry!" : "For your information...");
    arguments.addText(XmNokLabelString, "Ok");
    arguments.apply();
    setButton(XmDIALOG_CANCEL_BUTTON, false);
    setButton(XmDIALOG_HELP_BUTTON, false);
    showBox(unread.texts);
    return true;
}

void showQuestion(int n, const char* const* labels, const std::string& message) {
    BoxArguments arguments;
    arguments.add(XmNdialogType, XmDIALOG_QUESTION);
    arguments.addText(XmNdialogTitle, "Please confirm...");
    arguments.addText(XmNokLabelString, labels[0]);
    arguments.addText(XmNcancelLabelString, labels[1]);
    if (n >= 3) arguments.addText(XmNhelpLabelString, labels[2]);
    arguments.apply();
    setButton(XmDIALOG_CANCEL_BUTTON, true);
    setButton(XmDIALOG_HELP_BUTTON, n >= 3);
    if (std::count(message.begin(), message.end(), '\n') >= LongQuestionLines)
        smallestSize = LongQuestionSize;
    showBox({message});
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
    const InputHold hold;
    Display* display = XtDisplay(kvcMessageWidget);
    kvcMessageReturnVal = NoAnswer;
    while (kvcMessageReturnVal == NoAnswer) {
        XEvent event;
        XtAppNextEvent(*kvcAppContext, &event);
        // The second half of a double click on the question before this one.
        const Time time = timeOf(event);
        if (time != 0 && time - lastAnswer < static_cast<Time>(XtGetMultiClickTime(display)))
            continue;
        XtDispatchEvent(&event);
    }
    lastAnswer = XtLastTimestampProcessed(display);
    // A command may follow at once, and the box would stay on the screen while it runs.
    XSync(display, False);
    return kvcMessageReturnVal == Closed ? -1 : kvcMessageReturnVal;
}

void waitUntilRead() {
    if (!isShown()) return;
    const OpenQuestion message(1);
    bringUp();
    waitForAnswer();
}

}  // namespace

void KvcInit(Widget topLevel, XtAppContext* appContext) {
    kvcTopLevelWidget = topLevel;
    kvcAppContext = appContext;
}

void KvcSetMessagesOver(Widget window) {
    messagesOver = window;
    windowHasComeUp = false;
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
    const OpenQuestion refusal(1);
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
    // The help key stands for a third button, even if there is none.
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

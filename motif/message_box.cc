#include "motif/message_box.h"

#include <Xm/MessageB.h>

#include <algorithm>
#include <string_view>

#include "motif/in_front.h"
#include "motif/windows.h"

namespace {

constexpr const char* earlierTexts = "(What came before is on the terminal.)";
constexpr const char* restOfText = "(The rest is on the terminal.)";

Widget messagesOver = nullptr;
bool windowHasComeUp = false;

// The text

std::string segment(std::string_view line, bool last) {
    std::string markup = last ? "\"" : ":t\"";
    for (const char c : line) {
        if (c == '"' || c == '\\') markup += '\\';
        markup += c;
    }
    return markup + '"';
}

// A message may begin with a path or name that looks like markup; show it literally.
std::string literal(const std::string& text) {
    if (!text.starts_with("::")) return text;
    std::string markup = "::";
    std::string_view rest = text;
    for (std::size_t end = 0; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1))
        markup += segment(rest.substr(0, end), false);
    return markup + segment(rest, true);
}

void setMessage(const std::string& message) {
    KvcBoxArguments arguments;
    arguments.addText(XmNmessageString, literal(KvcReadable(message)).c_str());
    arguments.apply();
}

// Size and place

KvcSize screenSize() {
    Screen* screen = XtScreen(kvcMessageWidget);
    return {WidthOfScreen(screen), HeightOfScreen(screen)};
}

// The box normally keeps the size that it was given. Its resize policy is relaxed only while we
// query its natural size.
KvcSize naturalSize() {
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

KvcSize room() {
    return {screenSize().width * 9 / 10, screenSize().height * 9 / 10};
}

std::size_t countLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
}

// How many columns of the text, which is in the box already, fit on the screen.
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
    std::string all = first > 0 ? earlierTexts : "";
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

// A line wider than the screen, such as a long path, is wrapped. Texts for which there is no room
// are left out, or they would push the buttons off the screen.
void fitToScreen(const std::vector<std::string>& texts) {
    const std::string whole = oneBelowTheOther(texts, 0);
    setMessage(whole);
    const std::size_t columns = columnsThatFit(whole);
    const std::size_t lines = linesThatFit(whole);
    std::string text = wrapped(whole, columns);
    for (std::size_t first = 1; first < texts.size() && countLines(text) > lines; ++first)
        text = wrapped(oneBelowTheOther(texts, first), columns);
    if (countLines(text) > lines)
        text = firstLines(text, std::max<std::size_t>(lines, 1) - 1) + restOfText;
    if (text != whole) setMessage(text);
}

KvcFrame whereMessagesGo() {
    Widget shell = KvcShellOf(messagesOver);
    if (KvcIsViewable(shell)) return KvcFrameOf(shell);
    return {0, 0, screenSize().width, screenSize().height, 0, 0};
}

Position centred(int start, int length, int own, int screen) {
    return static_cast<Position>(
        std::clamp(start + (length - own) / 2, 0, std::max(0, screen - own)));
}

void placeBox(KvcSize smallest) {
    const KvcSize natural = naturalSize();
    const KvcSize size = {std::max(natural.width, smallest.width),
                          std::max(natural.height, smallest.height)};
    const KvcFrame over = whereMessagesGo();
    // When the box is mapped, the shell takes the box's size, not the other way round.
    XtVaSetValues(kvcMessageWidget, XmNwidth, size.width, XmNheight, size.height, nullptr);
    XtVaSetValues(
        KvcMessageShell(), XmNwidth, size.width, XmNheight, size.height, XmNx,
        centred(over.x, over.width, size.width + over.extraWidth, screenSize().width), XmNy,
        centred(over.y, over.height, size.height + over.extraHeight, screenSize().height), nullptr);
}

// Coming up

// A window manager that iconifies the parent window hides the box with it.
void bringBack(Widget shell) {
    if (shell == nullptr || !XtIsRealized(shell)) return;
    if (!KvcIsViewable(shell)) XMapRaised(XtDisplay(shell), XtWindow(shell));
}

// The box can be placed over the window only once the window is on the screen.
void waitForWindow() {
    Widget shell = KvcShellOf(messagesOver);
    if (windowHasComeUp || shell == nullptr || !XtIsRealized(shell) || !XtIsManaged(messagesOver))
        return;
    windowHasComeUp = true;
    const KvcInputHold hold;
    KvcWaitFor([=] {
        KvcFlushEvents(shell, *kvcAppContext);
        return KvcIsViewable(shell);
    });
}

// When its parent window reappears, a question must reappear too.
void returnWithWindow(Widget, XtPointer, XEvent* event, Boolean*) {
    if (event->type == MapNotify && KvcMessageIsShown()) KvcBringUpMessageBox();
}

}  // namespace

Widget KvcMessageShell() {
    return XtParent(kvcMessageWidget);
}

bool KvcMessageIsShown() {
    return kvcMessageWidget != nullptr && XtIsManaged(kvcMessageWidget);
}

// If hiding and showing the box overlap, a slow window manager may do the hiding last, and nobody
// could answer. So each waits until the other is done.
void KvcShowMessageBox(const std::vector<std::string>& texts, KvcSize smallest) {
    Widget shell = KvcMessageShell();
    waitForWindow();
    // Keeps the box above that window, and tells the window manager for which window it is modal.
    if (Widget over = KvcShellOf(messagesOver)) {
        XtVaSetValues(shell, XmNtransientFor, over, nullptr);
        XtAddEventHandler(over, StructureNotifyMask, False, returnWithWindow, nullptr);
    }
    fitToScreen(texts);
    placeBox(smallest);
    KvcWaitFor([=] { return KvcIsWithdrawn(shell); });
    KvcAnnounceFront(shell);
    XtManageChild(kvcMessageWidget);
    KvcBringUpMessageBox();
    KvcWaitFor([=] { return KvcIsViewable(shell); });
    // Don't wait for the map event: a command may follow, during which no events are handled.
    KvcGiveKeyboard(shell);
}

void KvcBringUpMessageBox() {
    Display* display = XtDisplay(kvcMessageWidget);
    bringBack(KvcShellOf(messagesOver));
    XMapWindow(display, XtWindow(kvcMessageWidget));
    XMapRaised(display, XtWindow(KvcMessageShell()));
    KvcGiveKeyboard(KvcMessageShell());
}

void KvcSetMessagesOver(Widget window) {
    messagesOver = window;
    windowHasComeUp = false;
}

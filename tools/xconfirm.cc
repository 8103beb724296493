// The workstation's confirmation tool: shows a message with the given buttons and prints the label
// of the one that was pressed. Nothing is printed when the window is closed.

#include <X11/Shell.h>
#include <Xm/MessageB.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/Text.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t mostLines = 30;  // a longer text gets a scroll bar
constexpr std::size_t mostColumns = 80;
constexpr int usageStatus = 2;

struct Button {
    std::string label;
    bool isDefault;
};

struct Request {
    unsigned char icon = XmDIALOG_INFORMATION;
    std::string header = "xconfirm";
    std::vector<std::string> lines;
    std::vector<Button> buttons;
    std::size_t mostButtons = std::string::npos;
};

struct StringFree {
    void operator()(XmString string) const { XmStringFree(string); }
};
using Label = std::unique_ptr<std::remove_pointer_t<XmString>, StringFree>;

Label labelOf(const std::string& text) {
    return Label(XmStringCreateLocalized(const_cast<char*>(text.c_str())));
}

// An unknown icon is no reason not to show the message.
unsigned char iconOf(const std::string& name) {
    static const std::map<std::string, unsigned char> icons{
        {"info", XmDIALOG_INFORMATION}, {"error", XmDIALOG_ERROR}, {"question", XmDIALOG_QUESTION}};
    const auto icon = icons.find(name);
    if (icon != icons.end()) return icon->second;
    return XmDIALOG_MESSAGE;
}

void addLines(std::vector<std::string>& lines, const std::string& text) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
}

// The options of KvConfirm: this program may be installed under that name. KvConfirm's first button
// is the leftmost, and the default.
bool takeConfirmOption(Request& request, std::string_view option, const std::string& value) {
    if (option == "-num") {
        request.mostButtons = std::strtoul(value.c_str(), nullptr, 10);
        if (request.mostButtons > 1) request.icon = XmDIALOG_QUESTION;
    } else if (option == "-b1" || option == "-b2" || option == "-b3") {
        if (request.buttons.size() < request.mostButtons)
            request.buttons.insert(request.buttons.begin(), {value, option == "-b1"});
    } else if (option == "-text") {
        addLines(request.lines, value);
    } else {
        return false;
    }
    return true;
}

bool takeOption(Request& request, std::string_view option, const std::string& value) {
    if (option == "-icon") {
        request.icon = iconOf(value);
    } else if (option == "-header") {
        request.header = value;
    } else if (option == "-t") {
        request.lines.push_back(value);
    } else if (option == "-b" || option == "-B") {
        request.buttons.push_back({value, option == "-B"});
    } else {
        return takeConfirmOption(request, option, value);
    }
    return true;
}

std::optional<Request> parse(const std::vector<std::string>& words) {
    Request request;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "-useslider") continue;  // a long text gets a scroll bar in any case
        if (i + 1 == words.size() || !takeOption(request, words[i], words[i + 1]))
            return std::nullopt;
        ++i;
    }
    if (request.buttons.empty()) return std::nullopt;
    return request;
}

std::string textOf(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

bool beginsCharacter(char c) {
    return (c & 0xC0) != 0x80;
}

// Where to break a line: after the last blank that fits, or else before the first character that
// does not.
std::size_t endOfLine(std::string_view text) {
    std::size_t columns = 0;
    std::size_t blank = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (beginsCharacter(text[i]) && ++columns > mostColumns) return blank != 0 ? blank : i;
        if (text[i] == ' ') blank = i + 1;
    }
    return text.size();
}

std::vector<std::string> wrapped(const std::vector<std::string>& lines) {
    std::vector<std::string> all;
    for (std::string_view rest : lines) {
        do {
            const std::size_t end = endOfLine(rest);
            all.emplace_back(rest.substr(0, end));
            rest.remove_prefix(end);
        } while (!rest.empty());
    }
    return all;
}

void answer(Widget, XtPointer label, XtPointer) {
    const auto& text = *static_cast<const std::string*>(label);
    const bool printed = std::printf("%s\n", text.c_str()) >= 0 && std::fflush(stdout) == 0;
    std::exit(printed ? 0 : 1);
}

void closed(Widget, XtPointer, XtPointer) {
    std::exit(1);
}

void closeByKey(Widget, XEvent*, String*, Cardinal*) {
    std::exit(1);
}

// Escape closes the window without an answer; by default Motif would look for a Cancel button.
void closeOnEscape(Widget widget) {
    XtOverrideTranslations(widget, XtParseTranslationTable("<Key>osfCancel: closeByKey()"));
}

void addText(Widget box, const std::vector<std::string>& given) {
    const std::vector<std::string> lines = wrapped(given);
    const std::string text = textOf(lines);
    if (lines.size() <= mostLines) {
        const Label label = labelOf(text);
        XtVaSetValues(box, XmNmessageString, label.get(), nullptr);
        return;
    }
    std::array<Arg, 8> resources{{{XmNeditMode, XmMULTI_LINE_EDIT},
                                  {XmNeditable, False},
                                  {XmNcursorPositionVisible, False},
                                  {XmNwordWrap, True},
                                  {XmNscrollHorizontal, False},
                                  {XmNcolumns, 80},
                                  {XmNrows, 24},
                                  {XmNvalue, reinterpret_cast<XtArgVal>(text.c_str())}}};
    Widget scrolled = XmCreateScrolledText(box, const_cast<char*>("text"), resources.data(),
                                           static_cast<Cardinal>(resources.size()));
    closeOnEscape(scrolled);
    XtManageChild(scrolled);
}

// The first label given is the rightmost button.
void addButtons(Widget box, const std::vector<Button>& buttons) {
    Widget chosen = nullptr;
    for (auto button = buttons.rbegin(); button != buttons.rend(); ++button) {
        const Label label = labelOf(button->label);
        Widget widget =
            XtVaCreateManagedWidget("button", xmPushButtonWidgetClass, box, XmNlabelString,
                                    label.get(), XmNdefaultButtonShadowThickness, 1, nullptr);
        closeOnEscape(widget);
        XtAddCallback(widget, XmNactivateCallback, answer,
                      const_cast<std::string*>(&button->label));
        if (button->isDefault || chosen == nullptr) chosen = widget;
    }
    XtVaSetValues(chosen, XmNshowAsDefault, 1, nullptr);
    XtVaSetValues(box, XmNdefaultButton, chosen, XmNinitialFocus, chosen, nullptr);
}

Widget createBox(Widget shell, const Request& request) {
    Widget box = XmCreateMessageBox(shell, const_cast<char*>("box"), nullptr, 0);
    XtVaSetValues(box, XmNdialogType, request.icon, XmNmarginWidth, 16, XmNmarginHeight, 12,
                  nullptr);
    for (const unsigned char unused :
         {XmDIALOG_OK_BUTTON, XmDIALOG_CANCEL_BUTTON, XmDIALOG_HELP_BUTTON})
        XtUnmanageChild(XmMessageBoxGetChild(box, unused));
    closeOnEscape(box);
    addText(box, request.lines);
    addButtons(box, request.buttons);
    XtManageChild(box);
    return box;
}

void centre(Widget shell) {
    XtRealizeWidget(shell);
    Dimension width = 0;
    Dimension height = 0;
    XtVaGetValues(shell, XmNwidth, &width, XmNheight, &height, nullptr);
    Screen* screen = XtScreen(shell);
    const int x = std::max(0, (WidthOfScreen(screen) - width) / 2);
    const int y = std::max(0, (HeightOfScreen(screen) - height) / 3);
    XtVaSetValues(shell, XmNx, x, XmNy, y, nullptr);
    XtMapWidget(shell);
}

int ask(XtAppContext context, Display* display, const Request& request) {
    Widget shell =
        XtVaAppCreateShell("xconfirm", "Xconfirm", applicationShellWidgetClass, display, XmNtitle,
                           request.header.c_str(), XmNiconName, request.header.c_str(),
                           XmNdeleteResponse, XmDO_NOTHING, XmNmappedWhenManaged, False, nullptr);
    const Atom close = XInternAtom(display, "WM_DELETE_WINDOW", False);
    XmAddWMProtocolCallback(shell, close, closed, nullptr);
    createBox(shell, request);
    centre(shell);
    XtAppMainLoop(context);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Request> request = parse({argv, argv + argc});
    if (!request) {
        std::fputs(
            "usage: xconfirm [-useslider] [-icon info|error|question] [-header title]\n"
            "                [-t line]... [-b label]... [-B default-label]\n"
            "       KvConfirm -num count -b1 label [-b2 label] [-b3 label] -text text\n"
            "                [-header title]\n"
            "At least one button must be given.\n",
            stderr);
        return usageStatus;
    }
    // The installer sets this so that it finds its own defaults in /tmp, where anybody may put
    // files.
    unsetenv("XFILESEARCHPATH");
    // A display that does not trust the program (ssh -X) refuses the properties that Motif sets on
    // the root window; that must not end it.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtToolkitInitialize();
    XtAppContext context = XtCreateApplicationContext();
    // A font set, for all characters of the locale; a single font covers only one character set.
    std::string fonts = "*fontList: -*-helvetica-bold-r-normal--12-*-*-*-*-*-*-*;-*-*-*-r-*--*:";
    std::array<char*, 2> defaults{fonts.data(), nullptr};
    XtActionsRec closing{const_cast<char*>("closeByKey"), closeByKey};
    XtAppAddActions(context, &closing, 1);
    XtAppSetFallbackResources(context, defaults.data());
    int none = 0;
    Display* display =
        XtOpenDisplay(context, nullptr, "xconfirm", "Xconfirm", nullptr, 0, &none, argv);
    if (display == nullptr) {
        std::fputs("xconfirm: can't open the display\n", stderr);
        return EXIT_FAILURE;
    }
    return ask(context, display, *request);
}

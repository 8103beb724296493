#include <Xm/RowColumn.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "builder/KviBxUtil.h"

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view white = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(white);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(white) - first + 1);
}

std::string_view withoutBrackets(std::string_view list) {
    if (const std::size_t open = list.find('['); open != list.npos) list.remove_prefix(open + 1);
    return trimmed(list.substr(0, list.rfind(']')));
}

Widget nearest(Widget w, const std::string& pattern) {
    for (; w != nullptr; w = XtParent(w))
        if (Widget found = XtNameToWidget(w, pattern.c_str())) return found;
    return nullptr;
}

}  // namespace

Widget BxFindTopShell(Widget w) {
    while (w != nullptr && XtParent(w) != nullptr) w = XtParent(w);
    return w;
}

WidgetList BxWidgetIdsFromNames(Widget w, const char* callbackName, const char* names) {
    std::vector<Widget> found;
    std::string_view rest = withoutBrackets(names);
    while (!rest.empty()) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        const std::string_view name = trimmed(rest.substr(0, comma));
        rest.remove_prefix(std::min(comma + 1, rest.size()));
        if (name.empty()) continue;
        const std::string pattern = "*" + std::string(name);
        if (Widget widget = nearest(w, pattern))
            found.push_back(widget);
        else
            std::printf("Callback Error (%s):\n\tCannot find widget %s\n", callbackName,
                        pattern.c_str());
    }
    auto* list = reinterpret_cast<WidgetList>(
        XtMalloc(static_cast<Cardinal>((found.size() + 1) * sizeof(Widget))));
    *std::copy(found.begin(), found.end(), list) = nullptr;
    return list;
}

void MENU_POST(Widget, XtPointer menu, XEvent* event, Boolean*) {
    auto* popup = static_cast<Widget>(menu);
    unsigned int button = 0;
    XtVaGetValues(popup, XmNwhichButton, &button, nullptr);
    if (event->xbutton.button != button) return;
    XmMenuPosition(popup, &event->xbutton);
    XtManageChild(popup);
}

float* SINGLE(float value) {
    auto* cell = reinterpret_cast<float*>(XtMalloc(sizeof value));
    if (cell != nullptr) *cell = value;
    return cell;
}

double* DOUBLE(double value) {
    auto* cell = reinterpret_cast<double*>(XtMalloc(sizeof value));
    if (cell != nullptr) *cell = value;
    return cell;
}

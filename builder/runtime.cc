#include <X11/IntrinsicP.h>
#include <X11/Shell.h>
#include <X11/StringDefs.h>
#include <X11/xpm.h>
#include <Xm/RowColumn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "builder/KviBxUtil.h"
#include "support/KvuCommand.h"

namespace {

struct ColorGroup {
    const char* color;
    const char* pixmap;  // a pixmap serves as well as a colour; null: there is none
};

const std::array<ColorGroup, 4> ColorGroups = {{
    {XmNtopShadowColor, XmNtopShadowPixmap},
    {XmNbottomShadowColor, XmNbottomShadowPixmap},
    {XmNarmColor, nullptr},
    {XmNforeground, nullptr},
}};

bool sets(const Arg* args, Cardinal count, const char* name) {
    for (Cardinal i = 0; name != nullptr && i < count; ++i)
        if (std::strcmp(args[i].name, name) == 0) return true;
    return false;
}

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

// The display's own resources win over those in `lines`, which are released.
void fillGaps(Display* display, XrmDatabase lines) {
    XrmDatabase resources = XtDatabase(display);
    XrmCombineDatabase(lines, &resources, False);
}

std::string instancePath(Widget w, const char* instanceName) {
    std::string path = KvuFormat("*%s", instanceName);
    for (; w != nullptr && XtClass(w) != applicationShellWidgetClass; w = XtParent(w))
        path = KvuFormat("*%s%s", XtName(w), path.c_str());
    return path;
}

std::string resourceLine(const std::string& instance, const UIAppDefault& entry) {
    const char* path = instance.c_str();
    [[maybe_unused]] const auto& [root, widget, child, resource, value] = entry;
    if (child == nullptr && *widget != '\0')
        return KvuFormat("%s*%s.%s: %s", path, widget, resource, value);
    if (child == nullptr) return KvuFormat("%s.%s: %s", path, resource, value);
    if (*child != '\0') return KvuFormat("%s.%s*%s.%s: %s", path, widget, child, resource, value);
    return KvuFormat("%s.%s.%s: %s", path, widget, resource, value);
}

}  // namespace

Pixmap XPM_PIXMAP(Widget w, const char* const* data) {
    XpmAttributes attributes = {};
    XtVaGetValues(w, XmNdepth, &attributes.depth, XmNcolormap, &attributes.colormap, nullptr);
    attributes.valuemask = XpmVisual | XpmColormap | XpmDepth;
    Display* display = XtDisplay(w);
    attributes.visual = DefaultVisual(display, DefaultScreen(display));
    Pixmap pixmap = XmUNSPECIFIED_PIXMAP;
    Pixmap mask = None;
    const int status = XpmCreatePixmapFromData(
        display, DefaultRootWindow(display), const_cast<char**>(data), &pixmap, &mask, &attributes);
    if (mask != None) XFreePixmap(display, mask);
    if (status >= 0) return pixmap;
    XtWarning("Could not create pixmap.");
    return XmUNSPECIFIED_PIXMAP;
}

int SET_BACKGROUND_COLOR(Widget w, Arg* args, Cardinal* count, Pixel background) {
    const Cardinal given = *count;
    const auto isSet = [&](const ColorGroup& group) {
        return sets(args, given, group.color) || sets(args, given, group.pixmap);
    };
    if (!std::all_of(ColorGroups.begin(), ColorGroups.end(), isSet)) {
        Colormap colormap = None;
        XtVaGetValues(w, XmNcolormap, &colormap, nullptr);
        Pixel foreground = 0, topShadow = 0, bottomShadow = 0, select = 0;
        XmGetColors(XtScreen(w), colormap, background, &foreground, &topShadow, &bottomShadow,
                    &select);
        const std::array<Pixel, 4> derived = {topShadow, bottomShadow, select, foreground};
        for (std::size_t i = 0; i < ColorGroups.size(); ++i) {
            if (isSet(ColorGroups[i])) continue;
            XtSetArg(args[*count], const_cast<char*>(ColorGroups[i].color), derived[i]);
            ++*count;
        }
    }
    XtSetArg(args[*count], XmNbackground, background);
    return static_cast<int>((*count)++);
}

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

void setDefaultResources(const char* path, Widget w, const char* const* lines) {
    XrmDatabase defaults = XrmGetStringDatabase("");
    for (; *lines != nullptr; ++lines)
        XrmPutLineResource(&defaults, KvuFormat("*%s%s", path, *lines).c_str());
    fillGaps(XtDisplay(w), defaults);
}

void InitAppDefaults(Widget w, UIAppDefault* table) {
    XrmDatabase resources = XrmGetDatabase(XtDisplay(w));
    if (resources == nullptr) return;
    for (; table->widgetName != nullptr; ++table) {
        const bool named = *table->widgetName != '\0';
        const bool child = table->childName != nullptr && *table->childName != '\0';
        std::vector<XrmQuark> quarks = {
            XrmStringToQuark(table->rootName),
            XrmStringToQuark(named ? table->widgetName : table->rootName)};
        if (child) quarks.push_back(XrmStringToQuark(table->childName));
        quarks.push_back(XrmStringToQuark(table->resource));
        quarks.push_back(NULLQUARK);
        XrmRepresentation type = 0;
        XrmValue value = {};
        if (XrmQGetResource(resources, quarks.data(), quarks.data(), &type, &value))
            table->value = strdup(value.addr);
    }
}

void SetAppDefaults(Widget w, const UIAppDefault* table, const char* instanceName) {
    if (instanceName == nullptr) return;
    XrmDatabase defaults = XrmGetStringDatabase("");
    const std::string path = instancePath(w, instanceName);
    for (; table->widgetName != nullptr; ++table)
        if (table->value != nullptr)
            XrmPutLineResource(&defaults, resourceLine(path, *table).c_str());
    fillGaps(XtDisplay(w), defaults);
}

#include <X11/Shell.h>

#include <cstring>
#include <string>
#include <vector>

#include "builder/KviBxUtil.h"
#include "support/KvuCommand.h"

namespace {

// The display's own resources take precedence over those in `lines`, which is freed.
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

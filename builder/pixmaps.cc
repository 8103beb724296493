#include <X11/xpm.h>
#include <Xm/Xm.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "builder/KviBxUtil.h"

namespace {

struct ColorGroup {
    const char* color;
    const char* pixmap;  // the pixmap resource that may be set instead of the colour; may be null
};

const std::array<ColorGroup, 4> colorGroups = {{
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
    if (!std::all_of(colorGroups.begin(), colorGroups.end(), isSet)) {
        Colormap colormap = None;
        XtVaGetValues(w, XmNcolormap, &colormap, nullptr);
        Pixel foreground = 0, topShadow = 0, bottomShadow = 0, select = 0;
        XmGetColors(XtScreen(w), colormap, background, &foreground, &topShadow, &bottomShadow,
                    &select);
        const std::array<Pixel, 4> derived = {topShadow, bottomShadow, select, foreground};
        for (std::size_t i = 0; i < colorGroups.size(); ++i) {
            if (isSet(colorGroups[i])) continue;
            XtSetArg(args[*count], const_cast<char*>(colorGroups[i].color), derived[i]);
            ++*count;
        }
    }
    XtSetArg(args[*count], XmNbackground, background);
    return static_cast<int>((*count)++);
}

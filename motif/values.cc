#include <Xm/List.h>
#include <Xm/RowColumn.h>
#include <Xm/Scale.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"

namespace {

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

KviXmString stringOf(const char* text) {
    return KviXmString(XmStringCreateLtoR(const_cast<char*>(orEmpty(text)),
                                          const_cast<char*>(XmSTRING_DEFAULT_CHARSET)));
}

KviXmString stringResource(Widget w, const char* resource) {
    XmString string = nullptr;
    XtVaGetValues(w, resource, &string, nullptr);
    return KviXmString(string);
}

// XmStringGetLtoR would give the first line alone.
std::string textOf(XmString string) {
    std::string text;
    XmStringContext context = nullptr;
    if (string == nullptr || !XmStringInitContext(&context, string)) return text;
    XmStringComponentType type = XmSTRING_COMPONENT_UNKNOWN;
    do {
        unsigned length = 0;
        XtPointer value = nullptr;
        type = XmStringGetNextTriple(context, &length, &value);
        const KviText owner(static_cast<char*>(value));
        if (type == XmSTRING_COMPONENT_SEPARATOR)
            text += '\n';
        else if (type == XmSTRING_COMPONENT_TEXT || type == XmSTRING_COMPONENT_LOCALE_TEXT)
            text.append(owner.get(), length);
    } while (type != XmSTRING_COMPONENT_END);
    XmStringFreeContext(context);
    return text;
}

const char* fontForLength(int length, int shortLength, int mediumLength) {
    if (length < shortLength) return "-*-helvetica-bold-r-*-*-*-120-*-*-*-*-iso8859-1";
    if (length < mediumLength) return "-*-helvetica-bold-r-*-*-*-100-*-*-*-*-iso8859-1";
    return "-*-helvetica-medium-r-*-*-*-80-*-*-*-*-iso8859-1";
}

std::string fieldText(Widget textField) {
    const KviText text(textField != nullptr ? XmTextFieldGetString(textField) : nullptr);
    return orEmpty(text.get());
}

void setField(Widget textField, const std::string& text) {
    XmTextFieldSetString(textField, const_cast<char*>(text.c_str()));
}

// Numbers that an int does not hold become the nearest one that it does.
int nearestInt(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, double{INT_MIN}, double{INT_MAX}));
}

int limited(Widget scale, int value) {
    int minimum = 0;
    int maximum = 0;
    XtVaGetValues(scale, XmNminimum, &minimum, XmNmaximum, &maximum, nullptr);
    return std::clamp(value, minimum, std::max(minimum, maximum));
}

int scaleValue(Widget scale) {
    int value = 0;
    if (scale != nullptr) XmScaleGetValue(scale, &value);
    return value;
}

}  // namespace

void KvcLabelSetString(Widget label, const char* text) {
    const KviXmString string = stringOf(text);
    // After a change Motif asks the server where the widgets are, even if nothing looks different.
    if (XmStringCompare(string.get(), stringResource(label, XmNlabelString).get())) return;
    XtVaSetValues(label, XmNlabelString, string.get(), nullptr);
}

char* KvcLabelGetString(Widget label) {
    return XtNewString(textOf(stringResource(label, XmNlabelString).get()).c_str());
}

int KvcFitLabel(Widget label, int room) {
    const KviXmString text = stringResource(label, XmNlabelString);
    XmFontList font = nullptr;
    Dimension width = 0;
    Dimension margin = 0;
    Dimension left = 0;
    Dimension right = 0;
    XtVaGetValues(label, XmNfontList, &font, XmNwidth, &width, XmNmarginWidth, &margin,
                  XmNmarginLeft, &left, XmNmarginRight, &right, nullptr);
    const int needed = XmStringWidth(font, text.get()) + 2 * margin + left + right;
    if (needed > width && room > width)
        XtVaSetValues(label, XmNwidth, std::min(needed, room), nullptr);
    return needed <= std::max<int>(width, room);
}

void KvcLabelSetStringAndResize(Widget label, Widget ref, const char* text, int shortLength,
                                int mediumLength) {
    const int length = static_cast<int>(std::strlen(orEmpty(text)));
    const KviXmString string = stringOf(text);
    Boolean ok = False;
    const XtArgVal font =
        CONVERT(ref, fontForLength(length, shortLength, mediumLength), XmRFontList, 0, &ok);
    std::array<Arg, 2> arguments;
    XtSetArg(arguments[0], const_cast<char*>(XmNlabelString), string.get());
    XtSetArg(arguments[1], const_cast<char*>(XmNfontList), font);
    XtSetValues(label, arguments.data(), ok ? 2 : 1);
}

void KvcWidgetGetTextString(Widget w, KvText& out) {
    // The part that fits is what is promised.
    static_cast<void>(KvCopyText(out, textOf(stringResource(w, XmNtextString).get())));
}

KvFloat KvcGetTextValue(Widget textField) {
    return static_cast<KvFloat>(std::atof(fieldText(textField).c_str()));
}

void KvcSliderSetValue(Widget scale, int value) {
    if (scale != nullptr) XmScaleSetValue(scale, limited(scale, value));
}

void KvcSliderSetValue(Widget scale, Widget text, int value) {
    if (scale != nullptr) XmScaleSetValue(scale, value);
    if (text != nullptr) setField(text, std::to_string(value));
}

int KvcSliderGetValue(Widget scale, Widget text, int fromScale) {
    if (fromScale == 0) {
        const int typed =
            nearestInt(static_cast<double>(std::strtol(fieldText(text).c_str(), nullptr, 10)));
        if (scale == nullptr) return typed;
        KvcSliderSetValue(scale, typed);
    }
    const int value = scaleValue(scale);
    if (text != nullptr) setField(text, std::to_string(value));
    return value;
}

void KvcSliderGetFloatValue(Widget scale, Widget text, int factor, int fromScale) {
    if (fromScale == 0) {
        KvcSliderSetValue(scale, nearestInt(std::atof(fieldText(text).c_str()) * factor));
        return;
    }
    const KvFloat value =
        1.0F * static_cast<KvFloat>(scaleValue(scale)) / static_cast<KvFloat>(factor);
    if (text != nullptr) setField(text, KvuFormat("%.3f", static_cast<double>(value)));
}

void KvcSetRadio(int which, Widget t0, Widget t1, Widget t2, Widget t3, Widget t4, Widget t5,
                 Widget t6, Widget t7, Widget t8, Widget t9) {
    int index = 0;
    for (Widget toggle : {t0, t1, t2, t3, t4, t5, t6, t7, t8, t9}) {
        if (toggle != nullptr) XmToggleButtonSetState(toggle, index == which ? True : False, False);
        ++index;
    }
}

void KvcSetOption(int which, Widget optionMenu, Widget b0, Widget b1, Widget b2, Widget b3,
                  Widget b4, Widget b5, Widget b6, Widget b7, Widget b8, Widget b9) {
    const std::array<Widget, 10> buttons = {b0, b1, b2, b3, b4, b5, b6, b7, b8, b9};
    if (which < 0 || which >= static_cast<int>(buttons.size())) return;
    Widget button = buttons[static_cast<std::size_t>(which)];
    if (button != nullptr) XtVaSetValues(optionMenu, XmNmenuHistory, button, nullptr);
}

void KvcSetSensitive(Widget w, int sensitive) {
    const bool wanted = sensitive != 0;
    if (static_cast<bool>(XtIsSensitive(w)) != wanted) XtSetSensitive(w, wanted ? True : False);
}

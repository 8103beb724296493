#include <Xm/Scale.h>
#include <Xm/TextF.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"

namespace {

std::string fieldText(Widget textField) {
    const KviText text(textField != nullptr ? XmTextFieldGetString(textField) : nullptr);
    return KvOrEmpty(text.get());
}

void setField(Widget textField, const std::string& text) {
    XmTextFieldSetString(textField, const_cast<char*>(text.c_str()));
}

// A number outside the range of int becomes the nearest limit.
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
    if (!fromScale) {
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
    if (!fromScale) {
        KvcSliderSetValue(scale, nearestInt(std::atof(fieldText(text).c_str()) * factor));
        return;
    }
    const KvFloat value =
        1.0F * static_cast<KvFloat>(scaleValue(scale)) / static_cast<KvFloat>(factor);
    if (text != nullptr) setField(text, KvuFormat("%.3f", static_cast<double>(value)));
}

#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <string>
#include <tuple>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/builder/XTest.h"

namespace {

Widget make(WidgetClass type) {
    static Widget board =
        XtVaCreateWidget("board", xmBulletinBoardWidgetClass, testShell(), nullptr);
    return XtVaCreateWidget("made", type, board, nullptr);
}

std::string textOf(Widget label) {
    return KviText(KvcLabelGetString(label)).get();
}

TEST(Values, LabelsKeepTheirText) {
    Widget label = make(xmLabelWidgetClass);
    for (const char* text : {"", "one\n\ntwo\n", "caf\xe9", "::t\"x\""}) {
        KvcLabelSetString(label, text);
        EXPECT_EQ(textOf(label), text);
    }
    KvcLabelSetString(label, nullptr);
    EXPECT_EQ(textOf(label), "");
}

TEST(Values, LongerLabelsGetSmallerFonts) {
    Widget label = make(xmLabelWidgetClass);
    Dimension last = 1000;
    for (const char* text : {"10 letters", "just 15 letters", "twenty letters in all"}) {
        KvcLabelSetStringAndResize(label, label, text, 12, 20);
        XmFontList fonts = nullptr;
        XtVaGetValues(label, XmNfontList, &fonts, nullptr);
        const KviXmString sample(XmStringCreateLocalized(const_cast<char*>("M")));
        EXPECT_LT(XmStringHeight(fonts, sample.get()), last) << text;
        last = XmStringHeight(fonts, sample.get());
        EXPECT_EQ(textOf(label), text);
    }
}

TEST(Values, ScalesKeepStepWithFields) {
    Widget scale = make(xmScaleWidgetClass), field = make(xmTextFieldWidgetClass);
    XtVaSetValues(scale, XmNmaximum, 5000, nullptr);
    // What is typed, and what it gives for a whole number and for thousandths.
    const std::tuple<const char*, int, int> cases[] = {
        {"1.2345", 1, 1234},         {"5001", 5000, 5000}, {"-7", 0, 0},
        {"99999999999", 5000, 5000}, {"nan", 0, 0},        {"", 0, 0}};
    for (const auto& [text, whole, thousandths] : cases) {
        int value = 0;
        XmTextFieldSetString(field, const_cast<char*>(text));
        KvcSliderGetFloatValue(scale, field, 1000, 0);
        XmScaleGetValue(scale, &value);
        EXPECT_EQ(value, thousandths) << text;
        EXPECT_EQ(KvcSliderGetValue(scale, field, 0), whole) << text;
        XmScaleGetValue(scale, &value);
        EXPECT_EQ(value, whole) << text;
        EXPECT_EQ(KvcGetTextValue(field), static_cast<KvFloat>(whole)) << text;
    }
    KvcSliderSetValue(scale, 9999);
    KvcSliderGetFloatValue(scale, field, 1000, 1);
    EXPECT_STREQ(KviText(XmTextFieldGetString(field)).get(), "5.000");
    KvcSliderSetValue(nullptr, field, 9999);
    EXPECT_EQ(KvcSliderGetValue(nullptr, field, 0), 9999) << "no scale, no limit";
}

TEST(Values, OneToggleOfARowIsOn) {
    Widget a = make(xmToggleButtonWidgetClass), b = make(xmToggleButtonWidgetClass);
    for (const bool second : {true, false, true}) {
        KvcSetRadio(second ? 3 : 0, a, nullptr, nullptr, b);
        EXPECT_EQ(XmToggleButtonGetState(a), !second);
        EXPECT_EQ(XmToggleButtonGetState(b), second);
    }
}

}  // namespace

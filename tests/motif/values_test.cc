#include <gtest/gtest.h>

#include <Xm/XmAll.h>

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

TEST(Values, LabelsKeepTheirText) {
    Widget label = make(xmLabelWidgetClass);
    for (const char* text : {"", "one\n\ntwo\n", "caf\xe9", "::t\"x\""}) {
        KvcLabelSetString(label, text);
        EXPECT_STREQ(KviText(KvcLabelGetString(label)).get(), text);
    }
}

TEST(Values, ScalesKeepStepWithFields) {
    Widget scale = make(xmScaleWidgetClass), field = make(xmTextFieldWidgetClass);
    XtVaSetValues(scale, XmNmaximum, 5000, nullptr);
    // What is typed, and what it gives for a whole number and for thousandths.
    const std::tuple<const char*, int, int> cases[] = {
        {"1.2345", 1, 1234}, {"-7", 0, 0}, {"99999999999", 5000, 5000}, {"nan", 0, 0}, {"", 0, 0}};
    for (const auto& [text, whole, thousandths] : cases) {
        int value = 0;
        XmTextFieldSetString(field, const_cast<char*>(text));
        KvcSliderGetFloatValue(scale, field, 1000, 0);
        XmScaleGetValue(scale, &value);
        EXPECT_EQ(value, thousandths) << text;
        EXPECT_EQ(KvcSliderGetValue(scale, field, 0), whole) << text;
    }
}

TEST(Values, ListsSelectNames) {
    Widget list = make(xmListWidgetClass);
    XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
    const char* const names[] = {"z", "a", "z"};
    KvcListItems(list, names, 3, "z");
    int* positions = nullptr;
    int count = 0;
    ASSERT_TRUE(XmListGetSelectedPos(list, &positions, &count));
    EXPECT_TRUE(count == 2 && positions[0] == 1 && positions[1] == 3);
    XtFree(reinterpret_cast<char*>(positions));
}

}  // namespace

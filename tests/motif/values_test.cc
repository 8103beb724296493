#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <tuple>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/builder/XTest.h"
#include "tests/platform/scratch.h"

namespace {

using Values = ScratchTest;

Widget make(WidgetClass type) {
    static Widget board =
        XtVaCreateWidget("board", xmBulletinBoardWidgetClass, testShell(), nullptr);
    return XtVaCreateWidget("made", type, board, nullptr);
}

// The entries, with a blank after each.
std::string items(Widget list, const char* items, const char* count) {
    XmStringTable table = nullptr;
    int number = 0;
    XtVaGetValues(list, items, &table, count, &number, nullptr);
    std::string names;
    for (int i = 0; i < number; ++i) {
        const std::string name = written(table[i]);
        names += name.substr(name.find(')') + 1) + " ";
    }
    return names;
}

TEST_F(Values, LabelsKeepTheirText) {
    Widget label = make(xmLabelWidgetClass);
    for (const char* text : {"", "one\n\ntwo\n", "caf\xe9", "::t\"x\""}) {
        KvcLabelSetString(label, text);
        EXPECT_STREQ(KviText(KvcLabelGetString(label)).get(), text);
    }
}

TEST_F(Values, ScalesKeepStepWithFields) {
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

TEST_F(Values, ListsHoldFilesAndSelectNames) {
    for (const char* file : {"b.iv", "#c.iv", ".iv", "d.txt", "a.iv"}) writeFile(file, "x");
    Widget list = make(xmListWidgetClass);
    const std::tuple<const char*, const char*, int, std::string> cases[] = {
        {".", ".iv", 0, "a b "},
        {".", nullptr, 0, ".iv a.iv b.iv d.txt "},
        {"missing", ".iv", 1, ""}};
    for (const auto& [name, ext, keepExt, names] : cases) {
        EXPECT_EQ(KvcListFiles(list, name, ext, keepExt, 1, nullptr), !names.empty());
        EXPECT_EQ(items(list, XmNitems, XmNitemCount), names);
    }
    XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
    const char* const names[] = {"z", "a", "z"};
    KvcListItems(list, names, 3, "z");
    EXPECT_EQ(items(list, XmNselectedItems, XmNselectedItemCount), "z z ");
}

}  // namespace

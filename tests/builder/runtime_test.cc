#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/builder/XTest.h"

namespace {

class Runtime : public testing::Test {
protected:
    void SetUp() override {
        form_ = XtVaCreateWidget("form", xmBulletinBoardWidgetClass, testShell(), nullptr);
        left_ = XtVaCreateWidget("left", xmBulletinBoardWidgetClass, form_, nullptr);
        right_ = XtVaCreateWidget("right", xmBulletinBoardWidgetClass, form_, nullptr);
        XtVaCreateWidget("okButton", xmPushButtonWidgetClass, left_, nullptr);
        XtVaCreateWidget("okButton", xmPushButtonWidgetClass, right_, nullptr);
        XtVaCreateWidget("cancelButton", xmPushButtonWidgetClass, right_, nullptr);
    }
    void TearDown() override { XtDestroyWidget(form_); }

    static std::string resource(const char* name) {
        char* type = nullptr;
        XrmValue value = {};
        if (!XrmGetResource(XtDatabase(XtDisplay(testShell())), name, name, &type, &value))
            return "none";
        return value.addr;
    }

    Widget form_, left_, right_;
};

TEST_F(Runtime, FindsTheNearestWidgetsOfTheirNames) {
    Widget ok = XtNameToWidget(left_, "okButton");
    Widget cancel = XtNameToWidget(right_, "cancelButton");
    const struct {
        const char* names;
        std::vector<Widget> widgets;
        const char* report;
    } cases[] = {
        {"okButton", {ok}, ""},
        {"[ okButton , cancelButton ]", {ok, cancel}, ""},
        {"okButton,,cancelButton", {ok, cancel}, ""},
        {" [] ", {}, ""},
        {"none,okButton", {ok}, "Callback Error (pressed):\n\tCannot find widget *none\n"},
    };
    for (const auto& one : cases) {
        testing::internal::CaptureStdout();
        const WidgetList list = BxWidgetIdsFromNames(left_, "pressed", one.names);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), one.report) << one.names;
        std::vector<Widget> found;
        for (WidgetList at = list; *at != nullptr; ++at) found.push_back(*at);
        XtFree(reinterpret_cast<char*>(list));
        EXPECT_EQ(found, one.widgets) << one.names;
    }
    EXPECT_EQ(BxFindTopShell(ok), testShell());
}

TEST_F(Runtime, DerivesOnlyTheColoursThatAreMissing) {
    Arg args[9];
    XtSetArg(args[0], const_cast<char*>(XmNtopShadowPixmap), XmUNSPECIFIED_PIXMAP);
    XtSetArg(args[1], const_cast<char*>(XmNforeground), 0);
    Cardinal count = 2;
    EXPECT_EQ(SET_BACKGROUND_COLOR(form_, args, &count, 0xacacac), 4);
    ASSERT_EQ(count, 5U);
    EXPECT_STREQ(args[2].name, XmNbottomShadowColor);
    EXPECT_STREQ(args[3].name, XmNarmColor);
    EXPECT_STREQ(args[4].name, XmNbackground);
    EXPECT_EQ(args[4].value, 0xacacac);
    // Now all four groups are there.
    EXPECT_EQ(SET_BACKGROUND_COLOR(form_, args, &count, 0), 5);
    EXPECT_EQ(count, 6U);
}

TEST_F(Runtime, MakesPixmapsFromImages) {
    const char* image[] = {"3 2 2 1", "  c None", "x c #ff0000", "xx ", " xx"};
    const Pixmap pixmap = XPM_PIXMAP(form_, image);
    ASSERT_NE(pixmap, static_cast<Pixmap>(XmUNSPECIFIED_PIXMAP));
    XImage* pixels = XGetImage(XtDisplay(form_), pixmap, 0, 0, 3, 2, AllPlanes, ZPixmap);
    EXPECT_EQ(XGetPixel(pixels, 1, 1), 0xff0000U);
    XDestroyImage(pixels);
    XFreePixmap(XtDisplay(form_), pixmap);

    const char* broken[] = {"not an image"};
    testing::internal::CaptureStderr();
    EXPECT_EQ(XPM_PIXMAP(form_, broken), static_cast<Pixmap>(XmUNSPECIFIED_PIXMAP));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Could not create pixmap."),
              std::string::npos);
}

TEST_F(Runtime, PostsTheMenuForItsButtonOnly) {
    Widget menu = XmCreatePopupMenu(form_, const_cast<char*>("menu"), nullptr, 0);
    XtVaSetValues(menu, XmNwhichButton, Button2, nullptr);
    XEvent event = {};
    event.xbutton.button = Button3;
    Boolean more = True;
    MENU_POST(form_, menu, &event, &more);
    EXPECT_FALSE(XtIsManaged(menu));
    event.xbutton.button = Button2;
    MENU_POST(form_, menu, &event, &more);
    EXPECT_TRUE(XtIsManaged(menu));
}

TEST_F(Runtime, FillsGapsInTheResources) {
    const char* lines[] = {".colour: red", ".size: 1", nullptr};
    setDefaultResources("gap", form_, lines);
    const char* later[] = {".colour: blue", nullptr};
    setDefaultResources("gap", form_, later);
    EXPECT_EQ(resource("gap.colour"), "red");
    EXPECT_EQ(resource("gap.size"), "1");
}

TEST_F(Runtime, ReadsAndWritesDefaults) {
    char value[] = "v";
    const UIAppDefault toWrite[] = {
        {"r", "wid", nullptr, "one", value},    {"r", "", nullptr, "two", value},
        {"r", "wid", "child", "three", value},  {"r", "wid", "", "four", value},
        {"r", "wid", nullptr, "five", nullptr}, {nullptr, nullptr, nullptr, nullptr, nullptr}};
    SetAppDefaults(left_, toWrite, nullptr);
    EXPECT_EQ(resource("form.left.inst.two"), "none");
    SetAppDefaults(left_, toWrite, "inst");
    for (const char* name : {"form.left.inst.wid.one", "form.left.inst.two",
                             "form.left.inst.wid.x.child.three", "form.left.inst.wid.four"})
        EXPECT_EQ(resource(name), "v") << name;
    EXPECT_EQ(resource("form.left.inst.x.wid.four"), "none");
    EXPECT_EQ(resource("form.left.inst.wid.five"), "none");

    const char* lines[] = {"root.wid.child.res: a", "root.root.res: b", nullptr};
    setDefaultResources("", form_, lines);
    UIAppDefault toRead[] = {{"root", "wid", "child", "res", nullptr},
                             {"root", "", "", "res", nullptr},
                             {"root", "wid", nullptr, "none", nullptr},
                             {nullptr, nullptr, nullptr, nullptr, nullptr}};
    InitAppDefaults(form_, toRead);
    EXPECT_STREQ(toRead[0].value, "a");
    EXPECT_STREQ(toRead[1].value, "b");
    EXPECT_EQ(toRead[2].value, nullptr);
    for (UIAppDefault& entry : toRead) std::free(entry.value);
}

}  // namespace

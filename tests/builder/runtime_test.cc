#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "tests/builder/XTest.h"

namespace {

Widget board(const char* name, Widget parent) {
    return XtVaCreateWidget(name, xmBulletinBoardWidgetClass, parent, nullptr);
}

std::string resource(const char* name) {
    char* type = nullptr;
    XrmValue value = {};
    const XrmDatabase resources = XtDatabase(XtDisplay(testShell()));
    return XrmGetResource(resources, name, name, &type, &value) ? value.addr : "none";
}

TEST(Runtime, FindsTheNearestWidgetsOfTheirNames) {
    Widget form = board("form", testShell());
    Widget left = board("left", form), right = board("right", form);
    Widget near = board("ok", left), far = board("cancel", right);
    board("ok", right);
    const char* missing = "Callback Error (pressed):\n\tCannot find widget *none\n";
    const std::tuple<const char*, std::vector<Widget>, const char*> cases[] = {
        {"[ ok , cancel ]", {near, far}, ""},
        {"ok,,cancel", {near, far}, ""},
        {" [] ", {}, ""},
        {"none,ok", {near}, missing}};
    for (const auto& [names, widgets, report] : cases) {
        testing::internal::CaptureStdout();
        const WidgetList list = BxWidgetIdsFromNames(left, "pressed", names);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), report) << names;
        std::vector<Widget> found;
        for (WidgetList at = list; *at != nullptr; ++at) found.push_back(*at);
        XtFree(reinterpret_cast<char*>(list));
        EXPECT_EQ(found, widgets) << names;
    }
    EXPECT_EQ(BxFindTopShell(near), testShell());
}

TEST(Runtime, DerivesOnlyTheColoursThatAreMissing) {
    Arg args[7];
    XtSetArg(args[0], const_cast<char*>(XmNtopShadowPixmap), XmUNSPECIFIED_PIXMAP);
    XtSetArg(args[1], const_cast<char*>(XmNforeground), 0);
    Cardinal count = 2;
    EXPECT_EQ(SET_BACKGROUND_COLOR(testShell(), args, &count, 0xacacac), 4);
    EXPECT_STREQ(args[2].name, XmNbottomShadowColor);
    EXPECT_STREQ(args[3].name, XmNarmColor);
    EXPECT_EQ(args[4].value, 0xacacac);
    EXPECT_EQ(SET_BACKGROUND_COLOR(testShell(), args, &count, 0), 5) << "all groups are there";
    EXPECT_EQ(count, 6U);
}

TEST(Runtime, MakesPixmapsFromImages) {
    const char* image[] = {"3 2 2 1", "  c None", "x c #ff0000", "xx ", " xx"};
    const Pixmap pixmap = XPM_PIXMAP(testShell(), image);
    XImage* pixels = XGetImage(XtDisplay(testShell()), pixmap, 0, 0, 3, 2, AllPlanes, ZPixmap);
    EXPECT_EQ(XGetPixel(pixels, 1, 1), 0xff0000U);
    XDestroyImage(pixels);
    XFreePixmap(XtDisplay(testShell()), pixmap);
    const char* broken[] = {"not an image"};
    EXPECT_EQ(XPM_PIXMAP(testShell(), broken), static_cast<Pixmap>(XmUNSPECIFIED_PIXMAP));
}

TEST(Runtime, WritesAndReadsDefaultsThatFillGaps) {
    Widget left = board("left", board("form", testShell()));
    char value[] = "v";
    const UIAppDefault toWrite[] = {
        {"r", "wid", nullptr, "one", value},    {"r", "", nullptr, "two", value},
        {"r", "wid", "child", "three", value},  {"r", "wid", "", "four", value},
        {"r", "wid", nullptr, "five", nullptr}, {}};
    SetAppDefaults(left, toWrite, nullptr);
    EXPECT_EQ(resource("form.left.inst.two"), "none");
    SetAppDefaults(left, toWrite, "inst");
    for (const char* name : {"wid.one", "two", "wid.x.child.three", "wid.four"})
        EXPECT_EQ(resource((std::string("form.left.inst.") + name).c_str()), "v") << name;
    for (const char* name : {"x.wid.four", "wid.five"})
        EXPECT_EQ(resource((std::string("form.left.inst.") + name).c_str()), "none") << name;

    const char* lines[] = {".wid.child.res: a", ".root.res: b", nullptr};
    const char* late[] = {".root.res: late", nullptr};
    setDefaultResources("root", left, lines);
    setDefaultResources("root", left, late);
    UIAppDefault toRead[] = {
        {"root", "wid", "child", "res", nullptr}, {"root", "", "", "res", nullptr}, {}};
    InitAppDefaults(left, toRead);
    EXPECT_STREQ(toRead[0].value, "a");
    EXPECT_STREQ(toRead[1].value, "b");
    for (UIAppDefault& entry : toRead) std::free(entry.value);
}

}  // namespace

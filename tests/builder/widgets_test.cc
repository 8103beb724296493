#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <cstring>
#include <string>
#include <tuple>

#include "builder/KviOwners.h"
#include "tests/fixtures/seen.h"

namespace {

Display* display() {
    return XtDisplay(testShell());
}

void setResource(const std::string& line) {
    XrmDatabase resources = XrmGetDatabase(display());
    XrmPutLineResource(&resources, line.c_str());
}

// The display's value for the resource, "none" when it has none.
std::string resource(const std::string& name) {
    char* type = nullptr;
    XrmValue value = {};
    return XrmGetResource(XrmGetDatabase(display()), name.c_str(), name.c_str(), &type, &value)
               ? value.addr
               : "none";
}

TEST(Values, AreMadeFromText) {
    const XtTypeConverter toDouble = [](Display*, XrmValue*, Cardinal*, XrmValue*, XrmValue* to,
                                        XtPointer*) -> Boolean {
        static double number = 2.5;
        *to = {sizeof number, reinterpret_cast<XPointer>(&number)};
        return True;
    };
    XtAppSetTypeConverter(XtWidgetToApplicationContext(testShell()), XtRString, "Double", toDouble,
                          nullptr, 0, XtCacheNone, nullptr);
    const std::tuple<const char*, const char*, int, XtArgVal> plain[] = {
        {XtRBoolean, "True", 1, 1}, {XtRShort, "-300", 1, -300}, {XtRInt, "-70000", 1, -70000},
        {XtRAtom, "PRIMARY", 1, 1}, {XtRInt, "many", 0, 0},      {XtRInt, nullptr, 0, 0}};
    for (const auto& [type, text, converted, value] : plain) {
        Boolean ok = 2;
        EXPECT_EQ(CONVERT(testShell(), text, type, 0, &ok), value) << type;
        EXPECT_EQ(ok, converted) << type;
    }
    Boolean ok = False;
    const auto at = [&](const char* text, const char* type) {
        return reinterpret_cast<void*>(CONVERT(testShell(), text, type, 0, &ok));
    };
    EXPECT_STREQ(static_cast<char*>(at("text", XtRString)), "text");
    EXPECT_EQ(*static_cast<float*>(at("0.25", XtRFloat)), 0.25F);
    EXPECT_EQ(*static_cast<double*>(at("", "Double")), 2.5);
    const KviText single(reinterpret_cast<char*>(SINGLE(0.5F)));
    const KviText twice(reinterpret_cast<char*>(DOUBLE(0.7)));
    EXPECT_EQ(*reinterpret_cast<float*>(single.get()), 0.5F);
    EXPECT_EQ(*reinterpret_cast<double*>(twice.get()), 0.7);
}

TEST(Values, AreStoredForTheToolkit) {
    setResource("*named.labelString: ::\"a\":t\"b\"");
    setResource("*named.items: a,::#i\"b\"");
    const Widget box = XtCreateWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    const Widget label = XtCreateWidget("named", xmLabelWidgetClass, box, {}, 0);
    const Widget list = XtVaCreateWidget("named", xmListWidgetClass, box, XmNitemCount, 2, nullptr);
    EXPECT_EQ(resourcesOf(label, {XmNlabelString}), " labelString=(l)ab|");
    XmStringTable items = nullptr;
    XtVaGetValues(list, XmNitems, &items, nullptr);
    EXPECT_EQ(written(items[0]) + written(items[1]), "(l)a#i:(l)b");
    for (const std::string type : {XmRXmString, XmRXmStringTable}) {
        char room[] = "room";
        char text[] = "a,b";
        XrmValue from = {sizeof text, text}, to = {4, room};
        testing::internal::CaptureStderr();
        EXPECT_FALSE(XtConvertAndStore(testShell(), XtRString, &from, type.c_str(), &to));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Warning: Cannot convert string \"a,b\" to type " + type + "\n");
        EXPECT_STREQ(room, "room");
        EXPECT_EQ(to.size, sizeof(void*));
    }
    EXPECT_EQ(StringToXmString(nullptr), nullptr);
}

TEST(Fonts, SuitTheLayoutAndItsScale) {
    const std::string medium = "-*-helvetica-medium-r-*-*-*-120-*-*-*-*-iso8859-1";
    const std::pair<std::string, std::string> fonts[] = {
        {medium, "-adobe-helvetica-medium-r-normal--12-120-75-75-p-67-iso8859-1"},
        {"-*-helvetica-*-*-*-*-14-*-100-100-*-*-iso8859-1", ""},
        {"-misc-fixed-*-*-semicondensed-*-*-*-75-75-*-*-iso8859-1", ""},
        {"fixed", ""},
        {"no such font", "fixed"}};
    for (const auto& [pattern, font] : fonts)
        EXPECT_EQ(BxFontFor(display(), pattern.c_str()), font.empty() ? pattern : font);
    const auto converted = [](const std::string& text) {
        Boolean ok = False;
        return fontOf(testShell(), reinterpret_cast<XmFontList>(
                                       CONVERT(testShell(), text.c_str(), XmRFontList, 0, &ok)));
    };
    const std::string normal = "-Adobe-Helvetica-Medium-R-Normal--12-120-75-75-P-67-ISO8859-1";
    EXPECT_EQ(BxScale(display()), 1);
    EXPECT_EQ(converted(medium), normal);
    const std::pair<const char*, int> scales[] = {{"0", 1}, {"1", 1},  {"4", 4}, {"5", 1},
                                                  {"x", 1}, {"-1", 1}, {"3", 3}, {"2", 2}};
    for (const auto& [text, scale] : scales) {
        setResource(std::string("Zarn_install.scale: ") + text);
        EXPECT_EQ(BxScale(display()), scale) << text;
    }
    EXPECT_EQ(converted(medium), "-Adobe-Helvetica-Medium-R-Normal--24-240-75-75-P-130-ISO8859-1");
    for (const char* mark : {"=tag", ",fixed", ";fixed:", ":"})
        EXPECT_EQ(converted(medium + mark).find("--24-240"), std::string::npos) << mark;
    const std::pair<const char*, const char*> scaled[] = {
        {"-1-2-3-4-5-6-7-8-9-10-c-12-x-1", "-1-2-3-4-5-6-14-16-9-10-c-12-x-1"},
        {"-a-b-c-d-e-f-12", "-a-b-c-d-e-f-24"},
        {"-a-b-c-d-e-f-*-120-*", "-a-b-c-d-e-f-*-240-*"},
        {"9x15", "9x15"}};
    for (const auto& [pattern, font] : scaled) EXPECT_EQ(BxScaledFont(display(), pattern), font);
}

TEST(Pixmaps, HaveTheirColours) {
    const char* const picture[] = {"3 2 2 1", ". c #ff0000", "x c None", "..x", "..."};
    const char* const none[] = {"no picture"};
    EXPECT_EQ(pictureOf(testShell(), XPM_PIXMAP(testShell(), picture)), "3x2 #000000:1 #ff0000:5");
    testing::internal::CaptureStderr();
    EXPECT_EQ(XPM_PIXMAP(testShell(), none), XmUNSPECIFIED_PIXMAP);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: Could not create pixmap.\n");

    const std::pair<std::vector<const char*>, std::string> cases[] = {
        {{},
         "topShadowColor#e4d2d2 bottomShadowColor#644e4e armColor#a48080 foreground#ffffff "
         "background#c19797 4"},
        {{XmNtopShadowPixmap, XmNarmColor},
         "topShadowPixmap armColor bottomShadowColor#644e4e foreground#ffffff background#c19797 4"},
        {{XmNbottomShadowPixmap, XmNforeground},
         "bottomShadowPixmap foreground topShadowColor#e4d2d2 armColor#a48080 background#c19797 4"},
        {{XmNtopShadowColor, XmNbottomShadowColor, XmNarmColor, XmNforeground},
         "topShadowColor bottomShadowColor armColor foreground background#c19797 4"}};
    for (const auto& [given, expected] : cases) {
        Arg args[9] = {};
        Cardinal count = 0;
        for (const char* name : given) args[count++] = {const_cast<char*>(name), 0};
        const int at = SET_BACKGROUND_COLOR(testShell(), args, &count, 0xc19797);
        std::string names;
        for (Cardinal i = 0; i < count; ++i)
            names += std::string(args[i].name) +
                     (i < given.size() ? "" : colourOf(testShell(), args[i].value)) + " ";
        EXPECT_EQ(names + std::to_string(at), expected);
    }
}

TEST(Tools, FindWidgets) {
    const Widget box = XtCreateWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    const Widget inner = XtCreateWidget("inner", xmBulletinBoardWidgetClass, box, {}, 0);
    const Widget leaf = XtCreateWidget("leaf", xmLabelWidgetClass, inner, {}, 0);
    const Widget other = XtCreateWidget("other", xmLabelWidgetClass, box, {}, 0);
    EXPECT_EQ(BxFindTopShell(leaf), testShell());
    EXPECT_EQ(BxFindTopShell(nullptr), nullptr);
    const std::pair<const char*, std::vector<Widget>> lists[] = {
        {"", {}},
        {"[]", {}},
        {"[leaf]", {leaf}},
        {"x[ other , leaf\t,,inner ] y", {other, leaf, inner}},
        {"leaf, gone", {leaf}}};
    testing::internal::CaptureStdout();
    for (const auto& [names, widgets] : lists) {
        WidgetList found = BxWidgetIdsFromNames(leaf, "act", names);
        WidgetList end = found;
        while (*end != nullptr) ++end;
        EXPECT_EQ(std::vector<Widget>(found, end), widgets) << names;
        XtFree(reinterpret_cast<char*>(found));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Callback Error (act):\n\tCannot find widget *gone\n");
}

TEST(Tools, PostMenus) {
    const Widget menu = XmCreatePopupMenu(testShell(), const_cast<char*>("menu"), {}, 0);
    XtManageChild(XmCreatePushButton(menu, const_cast<char*>("item"), {}, 0));
    XtRealizeWidget(testShell());
    for (const unsigned button : {Button1, Button3}) {
        XEvent event = {};
        event.xbutton = {ButtonPress, 0, False, display(), 0, 0, 0, 0, 0, 0, 70, 80, 0, button, 0};
        MENU_POST(testShell(), menu, &event, nullptr);
        EXPECT_EQ(XtIsManaged(menu), button == Button3);
    }
    EXPECT_EQ(resourcesOf(XtParent(menu), {XmNx, XmNy}), " x=70 y=80");
}

TEST(Defaults, KeepWhatTheDisplayHas) {
    setResource("*board*a.width: 1");
    const char* const lines[] = {"*a.width: 2", "*a.height: 3", ".x: 4", nullptr};
    setDefaultResources("board", testShell(), lines);
    EXPECT_EQ(resource("p.board.a.width") + resource("p.board.a.height") + resource("p.board.x"),
              "134");

    for (const char* line : {"root.w.c.x: 1", "root.w.y: 2", "root.root.z: 3"}) setResource(line);
    char old[] = "old";
    UIAppDefault table[] = {{"root", "w", "c", "x", nullptr}, {"root", "w", nullptr, "y", nullptr},
                            {"root", "w", "", "y", nullptr},  {"root", "", nullptr, "z", nullptr},
                            {"root", "w", "c", "none", old},  {"root", nullptr, "c", "x", nullptr}};
    InitAppDefaults(testShell(), table);
    std::string values;
    for (const UIAppDefault& one : table) values += KvOrEmpty(one.value) + std::string(" ");
    EXPECT_EQ(values, "1 2 2 3 old  ");

    const Widget box = XtCreateWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    SetAppDefaults(box, table, nullptr);
    EXPECT_EQ(resource("tests.box.one.w.y"), "none");
    SetAppDefaults(box, table, "one");
    for (const auto& [name, value] : {std::pair("tests.box.one.w.q.c.x", "1"),
                                      {"tests.box.one.q.w.y", "2"},
                                      {"tests.box.one.w.y", "2"},
                                      {"tests.box.one.z", "3"},
                                      {"tests.box.one.w.c.none", "old"},
                                      {"tests.w.y", "none"}})
        EXPECT_EQ(resource(name), value) << name;
    for (UIAppDefault& one : table)
        if (one.value != old) free(one.value);
}

}  // namespace

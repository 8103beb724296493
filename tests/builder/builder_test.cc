#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <clocale>
#include <string>
#include <vector>

#include "builder/KviOwners.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/seen.h"

namespace {

// Text as a value of the type, written.
std::string converted(const std::string& type, const std::string& text) {
    Boolean ok = False;
    const XtArgVal value = CONVERT(testShell(), text.c_str(), type.c_str(), 0, &ok);
    auto* address = reinterpret_cast<char*>(value);
    if (!ok) return "failed " + std::to_string(value);
    if (type == XtRString) return address;
    if (type == XtRFloat) return std::to_string(*reinterpret_cast<float*>(address));
    if (type == "Double") return std::to_string(*reinterpret_cast<double*>(address));
    if (type == XmRFontList) return fontOf(testShell(), reinterpret_cast<XmFontList>(address));
    if (type == XmRXmString) return written(KviXmString(reinterpret_cast<XmString>(address)).get());
    if (type != XmRXmStringTable) return std::to_string(static_cast<long>(value));
    const KviText owner(address);
    std::string entries;
    for (auto* entry = reinterpret_cast<XmStringTable>(value); *entry != nullptr; ++entry)
        entries += written(KviXmString(*entry).get()) + " ";
    return entries;
}

// The colours that are set together with a background, if these resources are set already.
std::string coloursAfter(const std::vector<std::string>& given) {
    Arg args[9] = {};
    Cardinal count = 0;
    for (const std::string& name : given) args[count++].name = const_cast<char*>(name.c_str());
    const int at = SET_BACKGROUND_COLOR(testShell(), args, &count, 0xc19797);
    std::string all = std::to_string(at);
    for (Cardinal i = static_cast<Cardinal>(given.size()); i < count; ++i)
        all.append(" ").append(args[i].name).append(colourOf(testShell(), args[i].value));
    return all;
}

// Sets a default from the words of a line: "-" is a null name, "." an empty one, and a value may
// follow. Returns the value that the display has for it.
std::string setDefault(Widget w, std::vector<std::string> line) {
    line.resize(5);
    const auto name = [&](int at) {
        return line[at] == "-" ? nullptr : line[at] == "." ? "" : line[at].c_str();
    };
    char* const given = line[4].empty() ? nullptr : line[4].data();
    UIAppDefault table[] = {{name(0), name(1), name(2), name(3), given}, {}};
    InitAppDefaults(w, table);
    SetAppDefaults(w, table, "one");
    SetAppDefaults(w, table, nullptr);
    const KviText owner(table[0].value != given ? table[0].value : nullptr);
    return KvOrEmpty(table[0].value);
}

TEST(Builder, MakesValuesFromTextInAnyLocale) {
    const XtTypeConverter toDouble = [](Display*, XrmValue*, Cardinal*, XrmValue*, XrmValue* to,
                                        XtPointer*) -> Boolean {
        static double number = 2.5;
        *to = {sizeof number, reinterpret_cast<XPointer>(&number)};
        return True;
    };
    XtAppSetTypeConverter(XtWidgetToApplicationContext(testShell()), XtRString, "Double", toDouble,
                          nullptr, 0, XtCacheNone, nullptr);
    for (const char* locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        SCOPED_TRACE(locale);
        expectResults("builder/values.txt", converted);
        EXPECT_EQ(converted(XmRXmString, "a\nb"), "(l)a|b");
        EXPECT_EQ(converted(XmRXmString, "::Hello\nyou"), "(l)Hello\nyou");
        EXPECT_EQ(converted(XmRXmString, "::\"\\n\\t\\r\\f\\v\\q\""), "(l)\n\t\r\f\vq");
        EXPECT_EQ(converted(XmRXmStringTable, "\"x,y\"\nz,\xc3\xa9,\xe9"),
                  "(l)\"x,y\" (l)z (l)\xc3\xa9 (l)\xe9 ");
        for (RandomTexts random{100, {"::", "#tag", ":r\"", "\",::"}}; random.next();) {
            // Motif itself leaks memory with line breaks.
            const std::string line = "x" + random.draw(3000, "\n"), junk = "::" + line;
            const std::string text = random.draw(3000, "\"\\\n");
            EXPECT_EQ(converted(XmRXmString, line), "(l)" + line);
            EXPECT_EQ(converted(XmRXmStringTable, "::\"" + text + "\\\"\",x"),
                      "(l)" + text + "\" (l)x ");
            EXPECT_NE(converted(XmRXmString, junk) + converted(XmRXmStringTable, junk), "");
        }
    }
}

TEST(Builder, ServesTheToolkit) {
    XrmDatabase resources = XrmGetDatabase(XtDisplay(testShell()));
    XrmPutLineResource(&resources, "*named.labelString: ::\"a\":t\"b\"");
    XrmPutLineResource(&resources, "*named.items: a,::#i\"b\"");
    const Widget box = XtCreateWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    const Widget list = XtVaCreateWidget("named", xmListWidgetClass, box, XmNitemCount, 2, nullptr);
    EXPECT_EQ(resourcesOf(XtCreateWidget("named", xmLabelWidgetClass, box, {}, 0), "labelString"),
              " labelString=(l)ab|");
    XmStringTable items = nullptr;
    XtVaGetValues(list, XmNitems, &items, nullptr);
    EXPECT_EQ(written(items[0]) + written(items[1]), "(l)a#i:(l)b");
    for (const std::string type : {XmRXmString, XmRXmStringTable}) {
        char room[] = "room", text[] = "a,b";
        XrmValue from = {sizeof text, text}, to = {4, room};
        testing::internal::CaptureStderr();
        EXPECT_FALSE(XtConvertAndStore(testShell(), XtRString, &from, type.c_str(), &to));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Warning: Cannot convert string \"a,b\" to type " + type + "\n");
        EXPECT_EQ(room + std::to_string(to.size), "room8");
    }
    EXPECT_EQ(StringToXmString(nullptr), nullptr);
    Boolean ok = True;
    EXPECT_EQ(CONVERT(testShell(), nullptr, XtRInt, 0, &ok) + ok, 0);
    const KviText single(reinterpret_cast<char*>(SINGLE(0.5F))),
        twice(reinterpret_cast<char*>(DOUBLE(0.7)));
    EXPECT_EQ(*reinterpret_cast<float*>(single.get()), 0.5F);
    EXPECT_EQ(*reinterpret_cast<double*>(twice.get()), 0.7);
}

TEST(Builder, ServesGeneratedWindows) {
    Display* display = XtDisplay(testShell());
    XrmDatabase resources = XrmGetDatabase(display);
    const Widget box = XtCreateWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    const Widget inner = XtCreateWidget("inner", xmBulletinBoardWidgetClass, box, {}, 0);
    const Widget leaf = XtCreateWidget("leaf", xmLabelWidgetClass, inner, {}, 0);
    XtCreateWidget("other", xmLabelWidgetClass, box, {}, 0);
    expectResults(
        "builder/tools.txt", [&](const std::string& what, const std::string& text) -> std::string {
            if (what == "font") return BxFontFor(display, text.c_str());
            if (what == "scaled") return BxScaledFont(display, text);
            if (what == "list") return converted(XmRFontList, text);
            if (what == "colours") return coloursAfter(words(text));
            if (what == "default") return setDefault(box, words(text));
            if (what == "lines") {
                const char* const lines[] = {text.c_str(), "*other: x", nullptr};
                setDefaultResources("board", testShell(), lines);
            }
            if (what == "resource") XrmPutLineResource(&resources, text.c_str());
            if (what == "value") {
                char* type = nullptr;
                XrmValue value = {};
                return XrmGetResource(resources, text.c_str(), text.c_str(), &type, &value)
                           ? value.addr
                           : "none";
            }
            if (what != "names") return std::to_string(BxScale(display));
            testing::internal::CaptureStdout();
            WidgetList found = BxWidgetIdsFromNames(leaf, "act", text.c_str());
            std::string names;
            for (WidgetList one = found; *one != nullptr; ++one)
                names += XtName(*one) + std::string(" ");
            XtFree(reinterpret_cast<char*>(found));
            for (const std::string& word : words(testing::internal::GetCapturedStdout()))
                names += word + " ";
            return names;
        });
    EXPECT_EQ(BxFindTopShell(leaf), testShell());
    EXPECT_EQ(BxFindTopShell(nullptr), nullptr);
}

TEST(Builder, MakesPicturesAndPostsMenus) {
    const char* const picture[] = {"3 2 2 1", ". c #ff0000", "x c None", "..x", "..."};
    const char* const none[] = {"no picture"};
    EXPECT_EQ(pictureOf(testShell(), XPM_PIXMAP(testShell(), picture)), "3x2 #000000:1 #ff0000:5");
    testing::internal::CaptureStderr();
    EXPECT_EQ(XPM_PIXMAP(testShell(), none), XmUNSPECIFIED_PIXMAP);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: Could not create pixmap.\n");
    const Widget menu = XmCreatePopupMenu(testShell(), const_cast<char*>("menu"), {}, 0);
    XtManageChild(XmCreatePushButton(menu, const_cast<char*>("item"), {}, 0));
    XtRealizeWidget(testShell());
    for (const unsigned button : {Button1, Button3}) {
        XEvent event = {};
        event.xbutton = {ButtonPress, 0, False, nullptr, 0, 0, 0, 0, 0, 0, 70, 80, 0, button, 0};
        MENU_POST(testShell(), menu, &event, nullptr);
        EXPECT_EQ(XtIsManaged(menu), button == Button3);
    }
    EXPECT_EQ(resourcesOf(menu, "x y"), " x=70 y=80");
}

}  // namespace

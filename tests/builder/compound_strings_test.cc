#include <gtest/gtest.h>

#include <X11/StringDefs.h>

#include <clocale>
#include <string>
#include <tuple>

#include "tests/builder/XTest.h"

namespace {

std::string converted(const char* text) {
    Boolean ok = False;
    auto* string = reinterpret_cast<XmString>(CONVERT(testShell(), text, XmRXmString, 0, &ok));
    if (!ok) return "failed";
    const std::string result = written(string);
    XmStringFree(string);
    return result;
}

// The entries, each between blanks.
std::string convertedTable(const char* text) {
    Boolean ok = False;
    const XtArgVal value = CONVERT(testShell(), text, XmRXmStringTable, 0, &ok);
    if (!ok) return "failed";
    auto* table = reinterpret_cast<XmStringTable>(value);
    std::string entries = " ";
    for (XmString* entry = table; *entry != nullptr; XmStringFree(*entry++))
        entries += written(*entry) + " ";
    XtFree(reinterpret_cast<char*>(table));
    return entries;
}

TEST(CompoundStrings, AreMadeFromTextInAnyLocale) {
    struct Case {
        const char* text;
        const char* result;
    };
    // clang-format off
    const Case cases[] = {
        {"a\nb", "(l)a|b"}, {"\":t\" \\n", "(l)\":t\" \\n"}, {"\xc3\xa9 \xe9", "(l)\xc3\xa9 \xe9"},
        {"::", "(l)"}, {"::Hello\nyou", "(l)Hello\nyou"}, {"::\\\"a\"", "(l)\"a\""},
        {":::t\"a\":t\"b\"", "(l)a|b|"}, {":::1\"a\":F\"b\":T\"\"\"c\"", "(l)a|b|c"},
        {"::\"a#:b\"x\"c\"", "(l)a#:bx\"c\""}, {"::\"open", "(l)open"},
        {"::\"\xc3\xa9 \xe9\"", "(l)\xc3\xa9 \xe9"}, {":::r\"abc\"\"def\"", "(l)(r)abc(l)def"},
        {":::t:R\"a\":1:l\"b\"", "(l)(r)a|(l)b|"}, {"::#bold\"x\"", "#bold:(l)x"},
        {"::#\"x\"", "(l)x"}, {":::t#a\\n\"x\"", "#a\\n:(l)x|"}, {"::\"a\\\"b\"", "(l)a\"b"},
        {"::\"a\\\\\"", "(l)a\\"}, {"::a\\", "(l)a\\"}, {"::\"\\n\\t\\r\\f\\v\\q\"", "(l)\n\t\r\f\vq"},
        // malformed: what has no text gives none, the rest goes on
        {":::x\"a\"", "(l)a"}, {":::t:t\"a\"", "(l)|a|"}, {"::#one#two\"x\"", "#two:(l)x"},
        {"::#tag:t", "(l)|"}, {"::#", "(l)"}, {":::", "(l)"}};
    const Case tables[] = {
        {"", " "}, {"a,b,", " (l)a (l)b (l) "}, {"a\nb", " (l)a (l)b "},
        {"\"x,y\",z", " (l)\"x,y\" (l)z "}, {"a\\,b,c\\", " (l)a\\,b (l)c\\ "},
        {"\xc3\xa9,\xe9", " (l)\xc3\xa9 (l)\xe9 "}, {":::t\"a,b\",::#i\"c\"", " (l)a,b| #i:(l)c "}};
    // clang-format on
    for (const char* locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        SCOPED_TRACE(locale);
        for (const auto& one : cases) EXPECT_EQ(converted(one.text), one.result) << one.text;
        for (const auto& one : tables) EXPECT_EQ(convertedTable(one.text), one.result) << one.text;
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Convert, RefusesStorageThatIsTooSmall) {
    for (const char* type : {XmRXmString, XmRXmStringTable}) {
        char text[] = "a,b";
        char storage[4] = "xyz";
        XrmValue from = {sizeof text, text};
        XrmValue to = {sizeof storage, storage};
        EXPECT_FALSE(XtConvertAndStore(testShell(), XtRString, &from, type, &to)) << type;
        EXPECT_EQ(to.size, sizeof(XmString)) << type;
        EXPECT_STREQ(storage, "xyz") << type;
    }
}

TEST(Convert, ReadsValuesOfEveryWidth) {
    const std::tuple<const char*, const char*, XtArgVal> cases[] = {
        {"vertical", XmROrientation, XmVERTICAL},
        {"-2", XtRPosition, -2},
        {"-70000", XtRInt, -70000},
        {"white", XtRPixel, 0xffffff}};
    Boolean ok = False;
    for (const auto& [text, type, value] : cases)
        EXPECT_TRUE(CONVERT(testShell(), text, type, 0, &ok) == value && ok) << text;
    EXPECT_EQ(*reinterpret_cast<float*>(CONVERT(testShell(), "1.5", XtRFloat, 0, &ok)), 1.5F);
    EXPECT_EQ(CONVERT(testShell(), "no such colour", XtRPixel, 0, &ok), 0);
    EXPECT_FALSE(ok);
}

TEST(Fonts, SuitTheLayout) {
    Display* display = XtDisplay(testShell());
    const std::string font =
        BxFontFor(display, "-*-helvetica-medium-r-*-*-*-120-*-*-*-*-iso8859-1");
    EXPECT_NE(font.find("-normal--12-120-75-75-"), font.npos) << font;
    EXPECT_EQ(BxFontFor(display, "9x15"), "9x15");
    Boolean ok = False;
    EXPECT_NE(CONVERT(testShell(), "-*-no such font-*", XmRFontList, 0, &ok), 0);
    EXPECT_TRUE(ok);
}

}  // namespace

#include <gtest/gtest.h>

#include <X11/StringDefs.h>

#include <clocale>
#include <cstring>
#include <string>
#include <vector>

#include "tests/builder/XTest.h"

namespace {

std::string converted(const char* text) {
    Boolean ok = False;
    auto* string = reinterpret_cast<XmString>(CONVERT(testShell(), text, XmRXmString, 0, &ok));
    const std::string result = ok ? written(string) : "failed";
    if (ok) XmStringFree(string);
    return result;
}

std::vector<std::string> convertedTable(const char* text) {
    Boolean ok = False;
    auto* table =
        reinterpret_cast<XmStringTable>(CONVERT(testShell(), text, XmRXmStringTable, 0, &ok));
    if (!ok) return {"failed"};
    std::vector<std::string> entries;
    for (XmString* entry = table; *entry != nullptr; XmStringFree(*entry++))
        entries.push_back(written(*entry));
    XtFree(reinterpret_cast<char*>(table));
    return entries;
}

class CompoundStrings : public testing::TestWithParam<const char*> {
    void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, GetParam()), nullptr); }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

INSTANTIATE_TEST_SUITE_P(Locale, CompoundStrings, testing::Values("C", "C.UTF-8"),
                         [](const auto& locale) { return locale.index == 0 ? "C" : "Utf8"; });

TEST_P(CompoundStrings, AreMadeFromText) {
    const struct {
        const char* text;
        const char* string;
    } cases[] = {
        // plain text
        {"Hello", "(l)Hello"},
        {"a\nb", "(l)a|b"},
        {"say \":t\" \\n", "(l)say \":t\" \\n"},
        {"caf\xc3\xa9", "(l)caf\xc3\xa9"},
        {"caf\xe9 \xff", "(l)caf\xe9 \xff"},
        // segments
        {"::", "(l)"},
        {"::Hello\nyou", "(l)Hello\nyou"},
        {"::\\\"a\"", "(l)\"a\""},
        {":::t\"a\":t\"b\"", "(l)a|b|"},
        {":::t\"a\":t\"b\"\"c\"", "(l)a|b|c"},
        {":::1\"a\":F\"b\":T\"\"\"c\"", "(l)a|b|c"},
        {"::\"a#:b\"x\"c\"", "(l)a#:bx\"c\""},
        {"::\"never closed", "(l)never closed"},
        {"::\"caf\xc3\xa9 \xe9\"", "(l)caf\xc3\xa9 \xe9"},
        // directions
        {":::r\"abc\"\"def\"", "(l)(r)abc(l)def"},
        {":::t:R\"a\":1:l\"b\"", "(l)(r)a|(l)b|"},
        // tags
        {"::#bold\"x\"", "#bold:(l)x"},
        {"::#\"x\"", "(l)x"},
        {":::t#a\\n\"x\"", "#a\\n:(l)x|"},
        // escapes
        {"::\"a\\\"b\"", "(l)a\"b"},
        {"::\"a\\\\\"", "(l)a\\"},
        {"::\"\\n\\t\\r\\f\\v\\q\"", "(l)\n\t\r\f\vq"},
        {"::end\\", "(l)end\\"},
        // malformed: what has no text gives none, the rest goes on
        {":::x\"a\"", "(l)a"},
        {":::t:t\"a\"", "(l)|a|"},
        {"::#one#two\"x\"", "#two:(l)x"},
        {"::#tag:t", "(l)|"},
        {"::#", "(l)"},
        {":::", "(l)"},
    };
    for (const auto& one : cases) EXPECT_EQ(converted(one.text), one.string) << one.text;
    EXPECT_EQ(StringToXmString(nullptr), nullptr);
}

TEST_P(CompoundStrings, AreMadeFromTables) {
    const struct {
        const char* text;
        std::vector<std::string> entries;
    } cases[] = {
        {"", {}},
        {"a", {"(l)a"}},
        {"a,b,", {"(l)a", "(l)b", "(l)"}},
        {"a\n b", {"(l)a", "(l) b"}},
        {"\"x,y\",z", {"(l)\"x,y\"", "(l)z"}},
        {"a\\,b,c\\", {"(l)a\\,b", "(l)c\\"}},
        {"\xc3\xa9,\xe9,\xff", {"(l)\xc3\xa9", "(l)\xe9", "(l)\xff"}},
        {":::t\"a,b\",::#bold\"c\"", {"(l)a,b|", "#bold:(l)c"}},
    };
    for (const auto& one : cases) EXPECT_EQ(convertedTable(one.text), one.entries) << one.text;
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
    const struct {
        const char* text;
        const char* type;
        XtArgVal value;
    } cases[] = {
        {"vertical", XmROrientation, XmVERTICAL},
        {"true", XtRBoolean, 1},
        {"-2", XtRPosition, static_cast<XtArgVal>(-2)},
        {"-70000", XtRInt, -70000},
        {"white", XtRPixel, 0xffffff},
    };
    for (const auto& one : cases) {
        Boolean ok = False;
        EXPECT_EQ(CONVERT(testShell(), one.text, one.type, 0, &ok), one.value) << one.text;
        EXPECT_TRUE(ok) << one.text;
    }
    Boolean ok = True;
    EXPECT_EQ(CONVERT(testShell(), "no such colour", XtRPixel, 0, &ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_STREQ(reinterpret_cast<char*>(CONVERT(testShell(), "as it is", XtRString, 0, &ok)),
                 "as it is");
    EXPECT_EQ(*reinterpret_cast<float*>(CONVERT(testShell(), "1.5", XtRFloat, 0, &ok)), 1.5F);
}

TEST(Fonts, SuitTheLayout) {
    Display* display = XtDisplay(testShell());
    const std::string font =
        BxFontFor(display, "-*-helvetica-medium-r-*-*-*-120-*-*-*-*-iso8859-1");
    EXPECT_NE(font.find("-normal--12-120-75-75-"), font.npos) << font;
    EXPECT_EQ(BxFontFor(display, "-*-no such font-*"), "fixed");
    EXPECT_EQ(BxFontFor(display, "9x15"), "9x15");
    Boolean ok = False;
    EXPECT_NE(CONVERT(testShell(), "-*-no such font-*", XmRFontList, 0, &ok), 0);
    EXPECT_TRUE(ok);
}

}  // namespace

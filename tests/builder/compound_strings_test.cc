#include <gtest/gtest.h>

#include <X11/StringDefs.h>

#include <clocale>
#include <string>
#include <utility>

#include "builder/KviOwners.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/random.h"

namespace {

std::string converted(const char* text) {
    Boolean ok = False;
    const XtArgVal value = CONVERT(testShell(), text, XmRXmString, 0, &ok);
    return ok ? written(KviXmString(reinterpret_cast<XmString>(value)).get()) : "failed";
}

// The table's entries, each between blanks.
std::string convertedTable(const char* text) {
    Boolean ok = False;
    const XtArgVal value = CONVERT(testShell(), text, XmRXmStringTable, 0, &ok);
    if (!ok) return "failed";
    const KviText owner(reinterpret_cast<char*>(value));
    std::string entries = " ";
    for (auto* entry = reinterpret_cast<XmStringTable>(value); *entry != nullptr; ++entry)
        entries += written(KviXmString(*entry).get()) + " ";
    return entries;
}

TEST(CompoundStrings, AreMadeFromTextInAnyLocale) {
    using Case = std::pair<const char*, const char*>;
    // clang-format off
    const Case cases[] = {
        {"a\nb", "(l)a|b"}, {"\":t\" \\n", "(l)\":t\" \\n"}, {"\xc3\xa9 \xe9", "(l)\xc3\xa9 \xe9"},
        {"::", "(l)"}, {"::Hello\nyou", "(l)Hello\nyou"}, {"::\\\"a\"", "(l)\"a\""},
        {":::t\"a\":t\"b\"", "(l)a|b|"}, {":::1\"a\":F\"b\":T\"\"\"c\"", "(l)a|b|c"},
        {"::\"a#:b\"x\"c\"", "(l)a#:bx\"c\""}, {"::\"open", "(l)open"},
        {"::\"\xc3\xa9 \xe9\"", "(l)\xc3\xa9 \xe9"}, {":::r\"abc\"\"def\"", "(l)(r)abc(l)def"},
        {":::t:R\"a\":1:l\"b\":T:L\"c\":0:r\"d\":f:l\"e\":F\"f\"", "(l)(r)a|(l)b|c|(r)d(l)ef"},
        {":::R\"a\":L\"b\":r\"c\"#t:l\"d\"", "(l)(r)a(l)b(r)c#t:(l)d"}, {":::t:\"a\"", "(l)|a"}, {"::#bold\"x\"", "#bold:(l)x"},
        {"::#\"x\"", "(l)x"}, {":::t#a\\n\"x\"", "#a\\n:(l)x|"}, {"::\"a\\\"b\"", "(l)a\"b"},
        {"::\"a\\\\\"", "(l)a\\"}, {"::a\\", "(l)a\\"}, {"::\"\\n\\t\\r\\f\\v\\q\"", "(l)\n\t\r\f\vq"},
        // malformed: a segment without text adds none, and the rest is parsed
        {":::x\"a\"", "(l)a"}, {":::t:t\"a\"", "(l)|a|"}, {"::#one#two\"x\"", "#two:(l)x"},
        {"::#tag:t", "(l)|"}, {"::#", "(l)"}, {":::", "(l)"}};
    const Case tables[] = {
        {"", " "}, {"a,b,", " (l)a (l)b (l) "}, {"\"x,y\"\nz", " (l)\"x,y\" (l)z "},
        {"\xc3\xa9,\xe9", " (l)\xc3\xa9 (l)\xe9 "}, {":::t\"a,b\",::#i\"c\"", " (l)a,b| #i:(l)c "}};
    // clang-format on
    for (const char* locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        SCOPED_TRACE(locale);
        for (const auto& one : cases) EXPECT_EQ(converted(one.first), one.second) << one.first;
        for (const auto& one : tables)
            EXPECT_EQ(convertedTable(one.first), one.second) << one.first;
        for (RandomTexts random{100, {"::", "#tag", ":r\"", "\",::"}}; random.next();) {
            // Motif itself leaks memory with line breaks.
            const std::string line = "x" + random.draw(3000, "\n"), junk = "::" + line;
            const std::string text = random.draw(3000, "\"\\\n");
            std::string one = "::\"";
            one.append(text).append("\\\"\",x");
            EXPECT_EQ(converted(line.c_str()), "(l)" + line);
            EXPECT_EQ(convertedTable(one.c_str()),
                      std::string(" (l)").append(text).append("\" (l)x "));
            EXPECT_NE(converted(junk.c_str()) + convertedTable(junk.c_str()), "");
        }
    }
    std::setlocale(LC_ALL, "C");
}

}  // namespace

#include "support/KvuString.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using Words = std::vector<std::string>;

const std::string longText(2000, 'x');

// The entry after the last word must be there and empty.
Words wordsOf(const std::string& line, char comment) {
    char* argv[4];
    const int count = KvuString::parseLine(line.c_str(), argv, comment);
    EXPECT_TRUE(count == 0 || argv[count][0] == '\0') << "no empty entry at the end";
    return {argv, argv + count};
}

}  // namespace

TEST(KvuString, ParseLineSplitsIntoAsManyWordsAsFit) {
    const std::tuple<std::string, char, Words> lines[] = {
        {"  cp  \"a b\"  c\n", '#', {"cp", "a b", "c"}},
        {"\ta\t\tb \nc", '#', {"a", "b"}},
        {" # no", '#', {}},
        {"# yes", '\0', {"#", "yes"}},
        {"\"ab\"cd \"e \nd", '#', {"ab", "d", "e "}},
        {"a\"b \"\"", '#', {"a\"b", ""}},
        {"a b c d e", '#', {"a", "b", "c"}},
        {longText, '#', {longText.substr(0, 1023)}},
    };
    for (const auto& [text, comment, words] : lines)
        EXPECT_EQ(words, wordsOf(text, comment)) << text;
}

TEST(KvuString, NamesAreTakenAndFound) {
    KvText name = "old";
    KvuString::basename("/usr/bin/", name);
    EXPECT_STREQ("bin", name);
    EXPECT_EQ(0, KvuString::basename(longText.c_str(), name)) << "no name is ever cut";
    EXPECT_TRUE(KvuString::containsString("my-ZARN2.0.TAR", "Zarn2.0", 0));
    EXPECT_FALSE(KvuString::containsString("Zarn2", "Zarn2.0", 0));
}

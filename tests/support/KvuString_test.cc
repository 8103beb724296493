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
    char* argv[20];
    const int count = KvuString::parseLine(line.c_str(), argv, comment);
    EXPECT_TRUE(count == 0 || argv[count][0] == '\0') << "no empty entry at the end";
    return {argv, argv + count};
}

std::string nameOf(const std::string& path) {
    KvText out = "old";
    KvuString::basename(path.c_str(), out);
    return out;
}

std::string cut(std::string text, char c, int first) {
    return std::to_string(KvuString::truncateAtChar(text.data(), c, first)) + " " + text.c_str();
}

std::string parts(const std::string& s, char c, int n) {
    KvText before = "old";
    KvText after = "old";
    const int length = KvuString::split(s.c_str(), c, n, before, after);
    return std::to_string(length) + " [" + before + "] [" + after + "]";
}

}  // namespace

TEST(KvuString, ParseLineSplitsIntoWords) {
    const std::tuple<std::string, char, Words> lines[] = {
        {"  cp  \"a b\"  c\n", '#', {"cp", "a b", "c"}},
        {"\ta\t\tb \nc", '#', {"a", "b"}},
        {"", '#', {}},
        {" \t\n", '#', {}},
        {" # no", '#', {}},
        {"# yes", '\0', {"#", "yes"}},
        {"\"abc \nd", '#', {"abc "}},
        {"\"ab\"cd \"e\"\n", '#', {"ab", "d", "e"}},
        {"a\"b \"\"", '#', {"a\"b", ""}},
        {longText, '#', {longText.substr(0, 1023)}},
    };
    for (const auto& [text, comment, words] : lines)
        EXPECT_EQ(words, wordsOf(text, comment)) << text;
}

TEST(KvuString, ParseLineKeepsToTheArray) {
    char* argv[4] = {};
    EXPECT_EQ(2, KvuString::parseLine("a b c d", argv, '#', 3));
    EXPECT_STREQ("b", argv[1]);
    EXPECT_STREQ("", argv[2]);
    EXPECT_EQ(nullptr, argv[3]);
    EXPECT_EQ(0, KvuString::parseLine(nullptr, argv, '#'));
    EXPECT_STREQ("", argv[0]);
}

TEST(KvuString, Names) {
    const char* const names[][2] = {{"/usr/bin/", "bin"}, {"/a", "a"}, {"a/", ""}, {"a", "a"}};
    for (const auto& [path, name] : names) EXPECT_EQ(name, nameOf(path)) << path;
    EXPECT_EQ("", nameOf(longText)) << "a name is never cut";
    EXPECT_TRUE(KvuString::hasExtension(".gz", ".gz"));
    EXPECT_FALSE(KvuString::hasExtension("z", ".gz"));
    EXPECT_TRUE(KvuString::isANiceFilename("a.b:c\t"));
    EXPECT_FALSE(KvuString::isANiceFilename("a(b"));
    EXPECT_STREQ("my_file_txt", KvuString::makeNiceFilename("my file.txt"));
    EXPECT_EQ(std::string(1023, '_'), KvuString::makeNiceName(longText.c_str(), "x"));
    EXPECT_TRUE(KvuString::containsString("my-ZARN2.0.TAR", "Zarn2.0", 0));
    EXPECT_FALSE(KvuString::containsString("my-ZARN2.0.TAR", "Zarn2.0", 1));
    EXPECT_FALSE(KvuString::containsString("Zarn2", "Zarn2.0", 0));
    EXPECT_FALSE(KvuString::containsString("", "", 0));
    EXPECT_EQ(3, KvuString::characterCt("/a//", '/'));
}

TEST(KvuString, CuttingAndJoining) {
    EXPECT_EQ("1 a.tar", cut("a.tar.gz", '.', 0));
    EXPECT_EQ("1 a", cut("a.tar.gz", '.', 1));
    EXPECT_EQ("0 a.b", cut("a.b", '/', 1));
    EXPECT_EQ("14 [/usr] [local/bin]", parts("/usr/local/bin", '/', 2));
    EXPECT_EQ("3 [/ab] []", parts("/ab", '/', 2));
    EXPECT_EQ("0 [] []", parts("a/" + longText, '/', 1));
    EXPECT_STREQ("ab", KvuString::concatStrings("a", nullptr, "b", nullptr));
    const std::string half(512, 'h');
    EXPECT_EQ(half + &half[1], KvuString::concatStrings(half.c_str(), &half[1], "", nullptr));
    EXPECT_EQ(half, KvuString::concatStrings(half.c_str(), half.c_str(), nullptr, nullptr));
}

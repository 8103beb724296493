#include "support/KvuString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/KvuOwners.h"
#include "tests/support/support_test.h"

namespace {

using Words = std::vector<std::string>;

struct Line {
    std::string text;
    char comment;
    Words words;
};

// The words of `line`; the entry after the last must be there and empty.
Words wordsOf(const Line& line) {
    char* argv[20];
    const int count = KvuString::parseLine(line.text.c_str(), argv, line.comment);
    EXPECT_TRUE(count == 0 || argv[count][0] == '\0') << "no empty entry at the end";
    return {argv, argv + count};
}

std::string nameOf(const char* path) {
    KvText out = "old";
    KvuString::basename(path, out);
    return out;
}

std::string cut(std::string text, char c, int first) {
    const int found = KvuString::truncateAtChar(text.data(), c, first);
    return std::to_string(found) + " " + text.c_str();
}

std::string parts(const char* s, char c, int n) {
    KvText before = "old";
    KvText after = "old";
    const int length = KvuString::split(s, c, n, before, after);
    return std::to_string(length) + " [" + before + "] [" + after + "]";
}

}  // namespace

TEST(KvuString, ParseLineSplitsIntoWords) {
    const Line lines[] = {
        {"  cp  \"a b\"  c\n", '#', {"cp", "a b", "c"}},
        {"\ta\t\tb\t", '#', {"a", "b"}},
        {"a\nb", '#', {"a"}},
        {"", '#', {}},
        {"\n", '#', {}},
        {" \t ", '#', {}},
        {" # no", '#', {}},
        {"\"# no\" x", '#', {}},
        {"# yes", '\0', {"#", "yes"}},
        {"a # b", '#', {"a", "#", "b"}},
        {"\"abc", '#', {"abc"}},
        {"\"abc \nd", '#', {"abc "}},
        {"\"ab\"cd", '#', {"ab", "d"}},
        {"\"a\"\n", '#', {"a"}},
        {"\"\" b", '#', {"", "b"}},
        {"a\"b c\"", '#', {"a\"b", "c\""}},
        {std::string(2000, 'x'), '#', {std::string(1023, 'x')}},
        {std::string(1022, ' ') + "xy z", '#', {"x"}},
    };
    for (const Line& line : lines) EXPECT_EQ(line.words, wordsOf(line)) << "[" << line.text << "]";
}

TEST(KvuString, ParseLineKeepsToTheArray) {
    char* argv[4] = {nullptr, nullptr, nullptr, nullptr};
    char untouched = 'u';
    argv[3] = &untouched;
    EXPECT_EQ(2, KvuString::parseLine("a b c d", argv, '#', 3));
    EXPECT_STREQ("b", argv[1]);
    EXPECT_STREQ("", argv[2]);
    EXPECT_EQ(&untouched, argv[3]);
    EXPECT_EQ(0, KvuString::parseLine("a", argv, '#', 1));
    EXPECT_STREQ("", argv[0]);
    EXPECT_EQ(0, KvuString::parseLine(nullptr, argv, '#'));
    EXPECT_STREQ("", argv[0]);
}

TEST(KvuString, FileNames) {
    const std::pair<const char*, const char*> names[] = {
        {"/usr/bin", "bin"}, {"/usr/bin/", "bin"}, {"/a", "a"}, {"a/", ""}, {"a", "a"}, {"/", ""}};
    for (const auto& [path, name] : names) EXPECT_EQ(name, nameOf(path)) << path;
    EXPECT_EQ("", nameOf(std::string(1024, 'x').c_str())) << "a name is never cut";

    EXPECT_STREQ("gz", KvuString::extension("a.tar.gz"));
    EXPECT_EQ(nullptr, KvuString::extension("tar"));
    EXPECT_TRUE(KvuString::hasExtension(".gz", ".gz"));
    EXPECT_TRUE(KvuString::hasExtension("x.gz", ".gz"));
    EXPECT_FALSE(KvuString::hasExtension("x.GZ", ".gz"));
    EXPECT_FALSE(KvuString::hasExtension("z", ".gz"));

    EXPECT_TRUE(KvuString::isANiceFilename("a.b:c\t"));
    EXPECT_TRUE(KvuString::isANiceFilename(""));
    for (const char c : std::string(" ()[]{}@!$%^&*~`"))
        EXPECT_FALSE(KvuString::isANiceFilename((std::string("a") + c).c_str())) << c;
    EXPECT_STREQ("my_file_txt", KvuString::makeNiceFilename("my file.txt"));
    EXPECT_STREQ("a.b_", KvuString::makeNiceName("a.bx", "x"));
    EXPECT_STREQ("a.b x", KvuString::makeNiceName("a.b x", ""));
    EXPECT_EQ(std::string(1023, 'x'), KvuString::makeNiceName(std::string(2000, 'x').c_str(), ""));
}

TEST(KvuString, Searching) {
    EXPECT_TRUE(KvuString::containsString("my-ZARN2.0.TAR", "Zarn2.0", 0));
    EXPECT_FALSE(KvuString::containsString("my-ZARN2.0.TAR", "Zarn2.0", 1));
    EXPECT_FALSE(KvuString::containsString("Zarn2", "Zarn2.0", 0));
    EXPECT_FALSE(KvuString::containsString("", "", 0));
    EXPECT_TRUE(KvuString::containsString("", "", 1));
    EXPECT_EQ(0, KvuString::strncasecmp("ABx", "aby", 2));
    EXPECT_GT(0, KvuString::strncasecmp("ABx", "aby", -1));
    EXPECT_TRUE(KvuString::containsSpaces("a b"));
    EXPECT_FALSE(KvuString::containsSpaces("a\tb"));
    EXPECT_EQ(3, KvuString::characterCt("/a//", '/'));
}

TEST(KvuString, CuttingAndJoining) {
    EXPECT_EQ("1 a.tar", cut("a.tar.gz", '.', 0));
    EXPECT_EQ("1 a", cut("a.tar.gz", '.', 1));
    EXPECT_EQ("0 a.b", cut("a.b", '/', 1));

    EXPECT_EQ("14 [/usr] [local/bin]", parts("/usr/local/bin", '/', 2));
    EXPECT_EQ("3 [] [ab]", parts("/ab", '/', 1));
    EXPECT_EQ("3 [/ab] []", parts("/ab", '/', 2));
    EXPECT_EQ("3 [/ab] []", parts("/ab", '/', 0));
    EXPECT_EQ("0 [] []", parts(("a/" + std::string(1024, 'x')).c_str(), '/', 1));
    KvText text = "a/b/c";
    KvText other;
    KvuString::split(text, '/', 1, other, text);
    EXPECT_STREQ("b/c", text) << "split in place";

    EXPECT_STREQ("ab", KvuString::concatStrings("a", nullptr, "b", nullptr));
    EXPECT_STREQ("xabx", KvuString::concatStrings("x", KvuString::concatStrings("a", "b", "", ""),
                                                  "x", nullptr));
    const std::string half(512, 'h');
    const std::string whole(1024, 'w');
    EXPECT_EQ(half + half.substr(1), KvuString::concatStrings(half.c_str(), &half[1], "", nullptr));
    EXPECT_EQ(half, KvuString::concatStrings(half.c_str(), half.c_str(), nullptr, nullptr));
    EXPECT_STREQ("", KvuString::concatStrings(nullptr, whole.c_str(), nullptr, nullptr));
    EXPECT_EQ(whole.substr(1), KvuString::concatStrings(whole.c_str(), "", "", ""));
}

TEST(KvuString, GetTextFromFileReadsAtMostItsBuffer) {
    const TestFolder folder;
    for (const std::size_t size : {std::size_t{0}, std::size_t{65535}, std::size_t{70000}}) {
        const KvuFile file(std::fopen(folder.write("f", std::string(size, 'x')).c_str(), "r"));
        char* text = nullptr;
        const std::size_t read = std::min(size, std::size_t{65535});
        EXPECT_EQ(static_cast<int>(read), KvuString::getTextFromFile(file.get(), &text));
        EXPECT_EQ(std::string(read, 'x'), text) << size;
        std::free(text);
    }
}

#include "support/KvuString.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/KvuOwners.h"
#include "support/KvuSystem.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

using Words = std::vector<std::string>;

// Texts about as long as a KvText can hold.
const std::string most(1023, 'x'), tooLong(1024, 'x');

// The entry after the last word must be there and empty.
Words wordsOf(const std::string& line, char comment) {
    char* argv[4];
    const int count = KvuString::parseLine(line.c_str(), argv, comment);
    EXPECT_TRUE(count == 0 || argv[count][0] == '\0') << "no empty entry at the end";
    return {argv, argv + count};
}

// What the operation returns, and the text that it stores.
template <typename Operation>
std::string told(Operation operation) {
    KvText out = "old";
    const int result = operation(out);
    return std::to_string(result) + " " + out;
}

std::string baseOf(const std::string& path) {
    return told([&](KvText& out) { return KvuString::basename(path.c_str(), out); });
}

std::string halves(const std::string& text, int n) {
    KvText before = "old", after = "old";
    const int result = KvuString::split(text.c_str(), ':', n, before, after);
    return std::to_string(result) + " " + before + " " + after;
}

std::string cutAt(std::string text, char c, int first) {
    const int result = KvuString::truncateAtChar(text.data(), c, first);
    return std::to_string(result) + " " + text.c_str();
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
        {tooLong, '#', {most}},
        {"", '\0', {}}};
    for (const auto& [text, comment, words] : lines)
        EXPECT_EQ(wordsOf(text, comment), words) << text;
    char* argv[] = {nullptr, nullptr};
    EXPECT_EQ(KvuString::parseLine("a", argv, '#', 0), 0);
    EXPECT_EQ(argv[0], nullptr) << "there was no room";
    EXPECT_EQ(KvuString::parseLine(nullptr, argv, '#', 1), 0);
    EXPECT_STREQ(argv[0], "");
}

TEST(KvuString, TextsAreCutOrRefusedAtTheirLimits) {
    std::string stored;
    for (const std::string& text : {std::string(), most, tooLong})
        stored += Row{told([&](KvText& out) { return KvCopyText(out, text); }),
                      told([&](KvText& out) { return KvStoreText(out, text); })};
    EXPECT_EQ(stored, "1 |1 |1 " + most + "|1 " + most + "|0 " + most + "|0 |");
    EXPECT_EQ((Row{baseOf("/usr/bin/"), baseOf("a/"), baseOf("/"), baseOf("/b"), baseOf("b"),
                   baseOf(most), baseOf("/" + tooLong)}),
              "1 bin|1 |1 |1 b|1 b|1 " + most + "|0 |");
    const auto joined = [](auto... pieces) {
        return std::string(KvuString::concatStrings(pieces...));
    };
    const char* const longest = most.c_str();
    EXPECT_EQ((Row{joined("a", nullptr, "b", "c"), joined(longest + 1, "y", "", ""),
                   joined("a", longest, nullptr, nullptr), joined(nullptr, longest, "y", nullptr),
                   joined(tooLong.c_str(), "y", nullptr, nullptr)}),
              "abc|" + most.substr(1) + "y|a||" + most + "|");
    EXPECT_EQ((Row{halves("a:b:c", 0), halves("a:b:c", 1), halves("a:b:c", 2), halves("a:b:c", 3)}),
              "5 a:b:c |5 a b:c|5 a:b c|5 a:b:c |");
    EXPECT_EQ(
        (Row{halves(most + ":" + most, 1), halves(tooLong + ":a", 1), halves("a:" + tooLong, 1)}),
        "2047 " + most + " " + most + "|0  |0  |");
    KvText both = "a:b";
    EXPECT_EQ(told([&](KvText& out) { return KvuString::split(both, ':', 1, both, out); }) + both,
              "3 ba");
    EXPECT_EQ((Row{cutAt("a/b/c", '/', 0), cutAt("a/b/c", '/', 1), cutAt("abc", '/', 1)}),
              "1 a/b|1 a|0 abc|");
}

TEST(KvuString, NamesAndTheirCharacters) {
    using KvS = KvuString;
    EXPECT_EQ((Row{KvS::hasExtension("x.tar", ".tar"), KvS::hasExtension(".tar", ".tar"),
                   KvS::hasExtension("x.TAR", ".tar"), KvS::hasExtension("tar", ".tar"),
                   KvS::hasExtension(nullptr, "x"), KvS::hasExtension("x", nullptr)}),
              "1|1|0|0|0|1|");
    EXPECT_EQ((Row{KvS::extension("a.b.c"), (KvS::extension("none") == nullptr)}), "c|1|");
    EXPECT_EQ((Row{KvS::strncasecmp("AbC", "abd", 2), (KvS::strncasecmp("abc", "ABD", -1) < 0),
                   (KvS::strncasecmp("B", "a", 1) > 0), KvS::strncasecmp("a", "b", 0),
                   KvS::strncasecmp("aB", "Ab", -1)}),
              "0|1|1|0|0|");
    EXPECT_EQ((Row{KvS::containsString("my-ZARN2.0.TAR", "Zarn2.0", 0),
                   KvS::containsString("Zarn2", "Zarn2.0", 0), KvS::containsString("ab", "b", 1),
                   KvS::containsString("ab", "B", 1), KvS::containsString("", "", 1),
                   KvS::containsString("", "", 0)}),
              "1|0|1|0|1|0|");
    EXPECT_EQ((Row{KvS::containsSpaces("a b"), KvS::containsSpaces("a\tb"),
                   KvS::containsSpaces(nullptr), KvS::characterCt("/a/b", '/')}),
              "1|0|0|2|");
    const auto nice = [](const char* name, const char* set) {
        return std::string(KvS::makeNiceName(name, set));
    };
    EXPECT_EQ((Row{nice("abc", "ac"), nice("a b", ""), nice((tooLong + "y").c_str(), "y"),
                   nice(nullptr, "a"), KvS::makeNiceFilename("a.b:c~d e\tf-g")}),
              "_b_|a b|" + most + "||a_b_c_d_e_f-g|");
    std::string notNice, notForFiles;
    for (int c = 1; c < 256; ++c) {
        const char name[] = {static_cast<char>(c), '\0'};
        if (!KvuIsANiceChar(name[0], nullptr)) notNice += name;
        if (!KvS::isANiceFilename(name)) notForFiles += name;
    }
    EXPECT_EQ(notNice + notForFiles, "\t .:~ !$%&()*@[]^`{}~");
}

TEST_F(ScratchTest, HelpTextsAreReadUpToALimit) {
    for (const auto& [size, kept] : {std::pair(9, 9), {65535, 65535}, {70000, 65535}}) {
        char* text = nullptr;
        const KvuFile file(std::fopen(writeFile("help", std::string(size, 'x')).c_str(), "r"));
        EXPECT_EQ(KvuString::getTextFromFile(file.get(), &text), kept);
        EXPECT_EQ(text, std::string(kept, 'x'));
        std::free(text);
    }
}

TEST_F(ScratchTest, AnyTextIsReadAsPromised) {
    for (RandomTexts random{500, {"\" ", "../", "./"}}; random.next();) {
        for (const auto& word : wordsOf(random.text, '#')) EXPECT_TRUE(holds(random.text, word));
        const Words words = {random.draw(500, "\"\n"), random.draw(500, "\"\n")};
        EXPECT_EQ(wordsOf("\"" + words[0] + "\"\t\"" + words[1] + "\"", '\0'), words);
        const std::string parent = "/" + random.text, name = random.draw(99, "/") + "x";
        const std::string path = parent + "/" + name;
        EXPECT_EQ(baseOf(path), "1 " + name);
        EXPECT_TRUE(KvuString::containsString(path.c_str(), name.c_str(), 0)) << name;
        const fs::path from = fs::path(path).lexically_normal();
        const fs::path to = fs::path("/" + random.draw() + "/x").lexically_normal();
        KvText out;
        EXPECT_TRUE(!KvuSystem::getAbsolutePath(path.c_str(), out, nullptr) || from == out) << out;
        EXPECT_TRUE(!KvuSystem::getRelativePath(from.c_str(), to.c_str(), out) ||
                    to == (from / out).lexically_normal());
        EXPECT_EQ(KvuSystem::dirname(path.c_str()), parent);
        EXPECT_EQ(cutAt(path, '/', 0), "1 " + parent);
        const std::string comment = " #" + random.draw(900, "\n") + "\n";
        EXPECT_EQ(KvuSystem::fileIsEmpty(writeFile("file", comment + "\t ").c_str()), 1);
        EXPECT_EQ(KvuSystem::fileIsEmpty(writeFile("file", comment + "\t x").c_str()), 0);
    }
}

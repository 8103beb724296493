#include "support/KvuString.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/KvuSystem.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

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

TEST_F(ScratchTest, AnyTextIsReadAsPromised) {
    for (RandomTexts random{500, {"\" ", "../", "./"}}; random.next();) {
        for (const auto& word : wordsOf(random.text, '#')) EXPECT_TRUE(holds(random.text, word));
        const Words words = {random.draw(500, "\"\n"), random.draw(500, "\"\n")};
        EXPECT_EQ(words, wordsOf("\"" + words[0] + "\"\t\"" + words[1] + "\"", '\0'));
        const std::string parent = "/" + random.text, name = random.draw(99, "/") + "x";
        std::string path = parent;
        path.append("/").append(name);
        KvText out;
        EXPECT_TRUE(KvuString::basename(path.c_str(), out) == 1 && name == out) << out;
        EXPECT_EQ(1, KvuString::containsString(path.c_str(), name.c_str(), 0)) << name;
        const fs::path from = fs::path(path).lexically_normal();
        const fs::path to = fs::path("/" + random.draw() + "/x").lexically_normal();
        EXPECT_TRUE(!KvuSystem::getAbsolutePath(path.c_str(), out, nullptr) || from == out) << out;
        EXPECT_TRUE(!KvuSystem::getRelativePath(from.c_str(), to.c_str(), out) ||
                    to == (from / out).lexically_normal());
        EXPECT_EQ(parent, KvuSystem::dirname(path.c_str()));
        KvuString::truncateAtChar(path.data(), '/', 0);
        EXPECT_EQ(parent, path.c_str());
        const std::string comment = " #" + random.draw(900, "\n") + "\n";
        EXPECT_EQ(1, KvuSystem::fileIsEmpty(writeFile("file", comment + "\t ").c_str()));
        EXPECT_EQ(0, KvuSystem::fileIsEmpty(writeFile("file", comment + "\t x").c_str()));
    }
}

#include "support/KvuString.h"
#include "support/KvuCommand.h"

#include "support/KvuOwners.h"
#include "support/KvuSystem.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/session.h"

namespace {

using KvuStringTest = ScratchTest;
using Words = std::vector<std::string>;

// The entry after the last word must be there and empty.
Words wordsOf(const char* line, char comment) {
    char* argv[4];
    const int count = KvuString::parseLine(line, argv, comment);
    EXPECT_TRUE(count == 0 || argv[count][0] == '\0') << "no empty entry at the end";
    return {argv, argv + count};
}

std::string parsed(const char* line, char comment) {
    std::string text;
    for (const std::string& word : wordsOf(line, comment == '0' ? '\0' : comment))
        text += "[" + word + "]";
    return text;
}

int sign(const char* a, const char* b, int n) {
    const int order = KvuString::strncasecmp(a, b, n);
    return (order > 0) - (order < 0);
}

std::string baseOf(const std::string& path) {
    KvText name;
    return KvuString::basename(path.c_str(), name) == 1 ? name : "no name";
}

}  // namespace

TEST_F(KvuStringTest, Session) {
    using KvS = KvuString;
    const auto on = [](auto operation) { return callable(std::function(operation)); };
    const auto inPlace = [](const char* text, KvText& before, KvText& after) {
        return KvCopyText(before, text) ? KvS::split(before, ':', 1, before, after) : 0;
    };
    const auto copied = [](const char* text, KvText& out) { return KvCopyText(out, text) ? 1 : 0; };
    const auto stored = [](const char* text, KvText& out) {
        return KvStoreText(out, text) ? 1 : 0;
    };
    const auto few = [](const char* line, int capacity) {
        char* argv[] = {nullptr};
        const int count = KvS::parseLine(line, argv, '#', capacity);
        return std::to_string(count) + (argv[0] == nullptr ? " nothing" : argv[0]);
    };
    const auto help = [](const char* path) {
        const KvuFile file(std::fopen(path, "r"));
        char* text = nullptr;
        const int count = KvS::getTextFromFile(file.get(), &text);
        std::string kept = std::to_string(count) + " " + text;
        std::free(text);
        return kept;
    };
    expectSession(ZARN_SOURCE_DIR "/tests/support/strings.txt",
                  {{"parse", on(parsed)},
                   {"parseInto", on(few)},
                   {"copy", on(copied)},
                   {"store", on(stored)},
                   {"basename", on(KvS::basename)},
                   {"split", on(KvS::split)},
                   {"splitInPlace", on(inPlace)},
                   {"truncate", on(KvS::truncateAtChar)},
                   {"concat", on(KvS::concatStrings)},
                   {"hasExtension", on(KvS::hasExtension)},
                   {"extension", on(KvS::extension)},
                   {"compare", on(sign)},
                   {"contains", on(KvS::containsString)},
                   {"containsSpaces", on(KvS::containsSpaces)},
                   {"count", on(KvS::characterCt)},
                   {"niceFilename", on(KvS::makeNiceFilename)},
                   {"niceName", on(KvS::makeNiceName)},
                   {"help", on(help)}});
}

TEST_F(KvuStringTest, RefusedCharacters) {
    std::string notNice, notForFiles;
    for (int c = 1; c < 256; ++c) {
        const char name[] = {static_cast<char>(c), '\0'};
        if (!KvuIsANiceChar(name[0], nullptr)) notNice += name;
        if (!KvuString::isANiceFilename(name)) notForFiles += name;
    }
    EXPECT_EQ(notNice + notForFiles, "\t .:~ !$%&()*@[]^`{}~");
}

TEST_F(KvuStringTest, AnyTextIsReadAsPromised) {
    for (RandomTexts random{500, {"\" ", "../", "./"}}; random.next();) {
        for (const auto& word : wordsOf(random.text.c_str(), '#'))
            EXPECT_TRUE(holds(random.text, word));
        const Words words = {random.draw(500, "\"\n"), random.draw(500, "\"\n")};
        const std::string quoted = KvuFormat("\"%s\"\t\"%s\"", words[0].c_str(), words[1].c_str());
        EXPECT_EQ(wordsOf(quoted.c_str(), '\0'), words);
        const std::string parent = "/" + random.text, name = random.draw(99, "/") + "x";
        std::string path = parent;
        path.append("/").append(name);
        EXPECT_EQ(baseOf(path), name);
        EXPECT_TRUE(KvuString::containsString(path.c_str(), name.c_str(), 0)) << name;
        const fs::path from = fs::path(path).lexically_normal();
        const fs::path to = fs::path("/" + random.draw() + "/x").lexically_normal();
        KvText out;
        EXPECT_TRUE(!KvuSystem::getAbsolutePath(path.c_str(), out, nullptr) || from == out) << out;
        EXPECT_TRUE(!KvuSystem::getRelativePath(from.c_str(), to.c_str(), out) ||
                    to == (from / out).lexically_normal());
        EXPECT_EQ(KvuSystem::dirname(path.c_str()), parent);
        KvuString::truncateAtChar(path.data(), '/', 0);
        EXPECT_EQ(path.c_str(), parent);
        const std::string comment = " #" + random.draw(900, "\n") + "\n";
        EXPECT_EQ(KvuSystem::fileIsEmpty(writeFile("file", comment + "\t ").c_str()), 1);
        EXPECT_EQ(KvuSystem::fileIsEmpty(writeFile("file", comment + "\t x").c_str()), 0);
    }
}

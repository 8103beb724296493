#include "support/KvuSystem.h"

#include <sys/stat.h>

#include <tuple>

#include "tests/fixtures/scratch.h"

namespace {

using KvuSystemTest = ScratchTest;

std::string listed(const std::string& directory) {
    return outcomeOf("ls -A " + directory).output;
}

}  // namespace

TEST_F(KvuSystemTest, FileExistsReadsTheDirectory) {
    writeFile("full", "# comment\n \nword\n");
    writeFile("blank", "# comment\n\n");
    fs::create_symlink("nowhere", "dangling");
    ASSERT_EQ(0, mkfifo("pipe", 0600));
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {nullptr, "/etc", 0, 1}, {nullptr, "full", 0, 1}, {".", "full", 1, 1}, {".", "ful", 0, 0},
        {".", "dangling", 0, 1}, {".", "blank", 1, 0},    {"x", "full", 0, 0}, {".", "pipe", 1, 0},
    };
    for (const auto& [directory, name, nonEmpty, exists] : cases)
        EXPECT_EQ(exists, KvuSystem::fileExists(directory, name, nonEmpty)) << name << nonEmpty;
}

TEST_F(KvuSystemTest, RmRemovesTreesButFollowsNoLink) {
    for (const char* path : {"tree/a/b", "kept"}) fs::create_directories(path);
    for (const char* path : {"kept/file", "tree/a/two words"}) writeFile(path, "precious");
    fs::create_directory_symlink("../kept", "tree/link");
    fs::create_directory_symlink("kept", "link");
    EXPECT_EQ(0, KvuSystem::rm("tree", 0));
    for (const char* refused : {"missing", "/", ".", "tree/..", "", "//"})
        EXPECT_EQ(0, KvuSystem::rm(refused, 1)) << refused;
    EXPECT_TRUE(fs::exists("tree/a/b"));
    EXPECT_EQ(1, KvuSystem::rm("link/", 1)) << "the slash must not lead beyond the link";
    EXPECT_EQ(1, KvuSystem::rm("tree", 1));
    EXPECT_EQ("kept\n", listed("."));
    EXPECT_EQ("precious", contentsOf("kept/file"));
}

TEST_F(KvuSystemTest, RmStopsAtWhatCannotBeRemoved) {
    fs::create_directories("tree/b");
    for (const char* file : {"tree/a", "tree/b/stays", "tree/c"}) writeFile(file, "");
    fs::permissions(".", fs::perms(0755));
    fs::permissions("tree", fs::perms(0777));
    fs::permissions("tree/b", fs::perms(0555));
    runInChild([] {
        ASSERT_TRUE(becomeOrdinary());
        EXPECT_EQ(0, KvuSystem::rm("tree", 1));
    });
    EXPECT_EQ("b\nc\n", listed("tree"));
    fs::permissions("tree/b", fs::perms(0755));
}

TEST_F(KvuSystemTest, MkdirMakesEveryParent) {
    EXPECT_EQ(1, KvuSystem::mkdir("a/two words/../b/c/"));
    EXPECT_EQ(1, KvuSystem::mkdir("a/b/c"));
    EXPECT_EQ("b\n", listed("a"));
    writeFile("file", "");
    for (const char* path : {"file", "file/x"}) EXPECT_EQ(0, KvuSystem::mkdir(path)) << path;
}

TEST_F(KvuSystemTest, Paths) {
    const char* const parents[][2] = {{"a/b/", "a"}, {"/a/b", "/a"}, {"/a", ""},
                                      {"/", ""},     {"a", "."},     {nullptr, "."}};
    for (const auto& [path, parent] : parents) EXPECT_STREQ(parent, KvuSystem::dirname(path));
    KvText out = "old";
    EXPECT_EQ(0, KvuSystem::getAbsolutePath(std::string(1024, 'x').c_str(), out, nullptr));
    EXPECT_STREQ("", out) << "no path is ever cut";
}

TEST_F(KvuSystemTest, WritableProbeHarmsNothing) {
    EXPECT_EQ(1, KvuSystem::isADirectoryRW("."));
    EXPECT_EQ("", listed("."));
    writeFile("__TEST__", "precious");
    fs::create_symlink("made", "planted");
    EXPECT_EQ(1, KvuSystem::isADirectoryRW("."));
    EXPECT_EQ("precious", contentsOf("__TEST__"));
    EXPECT_EQ(0, KvuSystem::fileIsWritable("planted"));
    EXPECT_FALSE(fs::exists("made"));
}

TEST_F(KvuSystemTest, MailTakesNoTextForAnOption) {
    writeProgram("bin/Mail", "printf '<%s>' \"$@\" >called");
    writeFile("letter", "");
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    const char* const cases[][3] = {{"two words", "ann", "<-s><two words><ann>"},
                                    {"-x", "ann", "<-s><-x><ann>"},
                                    {"hello", "-x", "<-s><hello><--><-x>"}};
    for (const auto& [subject, address, called] : cases) {
        EXPECT_EQ(0, KvuSystem::mail(subject, address, "letter"));
        EXPECT_EQ(called, contentsOf("called"));
    }
}

TEST_F(KvuSystemTest, CopiesButNotOntoItself) {
    fs::create_directory("from dir");
    writeFile("-f;x", "text");
    EXPECT_EQ(1, KvuSystem::cp("-f;x", "from dir", 0));
    EXPECT_EQ(1, KvuSystem::cp("from dir", "copy", 1));
    EXPECT_EQ(0, KvuSystem::cat("copy/-f;x", "copy/-f;x")) << "it would never end";
    EXPECT_EQ("text", contentsOf("copy/-f;x"));
}

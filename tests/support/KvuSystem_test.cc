#include "support/KvuSystem.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <ctime>
#include <regex>
#include <vector>

#include "support/KvuOwners.h"
#include "support/KvuUtil.h"
#include "tests/platform/scratch.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;
using KvuSystemTest = ScratchTest;

Names listed(const char* dir, const char* ext) {
    KvuListing list;
    list.count = KvuSystem::ls(dir, &list.entries, ext);
    Names names;
    for (int i = 0; i < list.count; ++i) names.emplace_back(list.entries[i]->d_name);
    return names;
}

// Only a user other than root has a limit of processes.
void runOutOfProcesses() {
    KvuUtil::initClass("Zarn", nullptr, nullptr, nullptr, nullptr, nullptr);
    if (!becomeOrdinary()) _exit(9);
    struct rlimit standard;
    getrlimit(RLIMIT_NPROC, &standard);
    const struct rlimit none = {0, standard.rlim_max};
    for (const auto& [limit, force] :
         {std::pair(&none, 0), {&none, 1}, {&standard, 1}, {&standard, 0}}) {
        setrlimit(RLIMIT_NPROC, limit);
        std::fprintf(stderr, "{%d}", KvuSystem::system("exit 0", force));
    }
    _exit(0);
}

}  // namespace

TEST(KvuSystemDeathTest, LackOfProcessesIsReportedAndRemembered) {
    EXPECT_EXIT(runOutOfProcesses(), testing::ExitedWithCode(0),
                "^You are running out.* Some Zarn operations.*drive\\.[{]0[}]You are.*[{]-1[}]"
                "[{]0[}][{]-1[}]$");
}

TEST_F(KvuSystemTest, FileExistsReadsTheDirectory) {
    writeFile("full", "# comment\n \nword\n");
    writeFile("blank", "# comment\n\n");
    fs::create_symlink("nowhere", "dangling");
    ASSERT_EQ(0, mkfifo("pipe", 0600));
    using Case = std::tuple<const char*, const char*, int, int>;
    const Case cases[] = {
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
    EXPECT_EQ((Names{"kept"}), listed(".", nullptr));
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
    EXPECT_EQ((Names{"b", "c"}), listed("tree", nullptr));
    fs::permissions("tree/b", fs::perms(0755));
}

TEST_F(KvuSystemTest, MkdirMakesEveryParent) {
    EXPECT_EQ(1, KvuSystem::mkdir("a/two words/../b/c/"));
    EXPECT_EQ(1, KvuSystem::mkdir("a/b/c"));
    EXPECT_EQ((Names{"b"}), listed("a", nullptr));
    writeFile("file", "");
    for (const char* path : {"file", "file/x"}) EXPECT_EQ(0, KvuSystem::mkdir(path)) << path;
}

TEST_F(KvuSystemTest, Paths) {
    const char* const parents[][2] = {{"a/b/", "a"}, {"/a/b", "/a"}, {"/a", ""},
                                      {"/", ""},     {"a", "."},     {nullptr, "."}};
    for (const auto& [path, parent] : parents) EXPECT_STREQ(parent, KvuSystem::dirname(path));
    fs::create_directory("real");
    fs::create_directory_symlink("real", "link");
    KvText out = "old";
    EXPECT_EQ(1, KvuSystem::getAbsolutePath("link/./x/../no/such/", out, nullptr));
    EXPECT_EQ(folder / "real/no/such", out);
    EXPECT_EQ(0, KvuSystem::getAbsolutePath(std::string(1024, 'x').c_str(), out, nullptr));
    EXPECT_STREQ("", out) << "no path is ever cut";
    EXPECT_EQ(folder / "", KvuSystem::getwd() + std::string("/"));
}

TEST_F(KvuSystemTest, WritableProbeHarmsNothing) {
    EXPECT_EQ(1, KvuSystem::isADirectoryRW("."));
    EXPECT_EQ(Names(), listed(".", nullptr));
    writeFile("__TEST__", "precious");
    fs::create_symlink("made", "planted");
    EXPECT_EQ(1, KvuSystem::isADirectoryRW("."));
    EXPECT_EQ("precious", contentsOf("__TEST__"));
    EXPECT_EQ(0, KvuSystem::fileIsWritable("planted"));
    EXPECT_FALSE(fs::exists("made"));
    EXPECT_EQ(0, KvuSystem::isADirectoryRW("/proc"));
}

TEST_F(KvuSystemTest, CopiesArchivesAndAppends) {
    fs::create_directories("from dir/sub");
    const std::string binary("a\0b\nend", 7);
    writeFile("-f;x", binary);
    EXPECT_EQ(1, KvuSystem::cp("-f;x", "from dir", 0));
    EXPECT_EQ(1, KvuSystem::cp("from dir", "copy", 1));
    EXPECT_EQ(1, KvuSystem::mv("-f;x", "copy/sub"));
    EXPECT_EQ(0, KvuSystem::cat("copy/-f;x", "copy/-f;x")) << "it would never end";
    EXPECT_EQ(0, KvuSystem::cat("copy/-f;x", "/dev/full"));
    EXPECT_EQ(1, KvuSystem::compress("copy/sub/-f;x", 1));
    KvText out;
    EXPECT_EQ(1, KvuSystem::uncompress("copy/sub/-f;x.gz", ".", out));
    EXPECT_EQ(binary, contentsOf(out));
}

TEST_F(KvuSystemTest, MachineAndDate) {
    struct statvfs status;
    ASSERT_EQ(0, statvfs(".", &status));
    const auto blocks = geteuid() == 0 ? status.f_bfree : status.f_bavail;
    const double free = static_cast<double>(blocks) * static_cast<double>(status.f_frsize) * 1e-6;
    EXPECT_NEAR(1, KvuSystem::getFreeSpace(".") / free, 0.1);
    const std::time_t now = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof text, "%b-%e-%Y", std::localtime(&now));
    KvText date;
    KvuSystem::getDate(date);
    EXPECT_EQ(std::regex_replace(std::string(text), std::regex(" "), ""), date);
}

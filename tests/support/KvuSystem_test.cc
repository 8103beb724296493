#include "support/KvuSystem.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <ctime>
#include <vector>

#include "support/KvuCommand.h"
#include "support/KvuOwners.h"
#include "support/KvuUtil.h"
#include "tests/support/support_test.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;
using KvuSystemTest = TestFolder;

constexpr uid_t KvNobody = 65534;

Names listed(const char* dir, const char* ext) {
    KvuListing list;
    list.count = KvuSystem::ls(dir, &list.entries, ext);
    Names names;
    for (int i = 0; i < list.count; ++i) names.emplace_back(list.entries[i]->d_name);
    return names;
}

std::string absolute(const std::string& path, const char* base) {
    KvText out = "old";
    return std::to_string(KvuSystem::getAbsolutePath(path.c_str(), out, base)) + " " + out;
}

// Only a user other than root has a limit of processes.
void runOutOfProcesses() {
    KvuUtil::initClass("Zarn", nullptr, nullptr, nullptr, nullptr, nullptr);
    if (setresuid(KvNobody, KvNobody, KvNobody) != 0) _exit(9);
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
    const std::string message =
        "You are running out of swap space on your system. Some Zarn operations may fail. Please "
        "save your project and restart the program.\n\nRefer to the cuecard on \"SwapSpace\" for "
        "your operating system (using \"Cue Cards - On Topic\") to find out how to increase the "
        "size of swap space on your system drive.";
    EXPECT_EXIT(runOutOfProcesses(), testing::ExitedWithCode(0),
                testing::Eq(message + "{0}" + message + "{-1}{0}{-1}"));
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
    ASSERT_EQ(0, chmod(".", 0755) + chown("tree", KvNobody, KvNobody));
    runInChild([] {
        ASSERT_EQ(0, setresuid(KvNobody, KvNobody, KvNobody));
        EXPECT_EQ(0, KvuSystem::rm("tree", 1));
    });
    EXPECT_EQ((Names{"b", "c"}), listed("tree", nullptr));
}

TEST_F(KvuSystemTest, MkdirMakesEveryParent) {
    EXPECT_EQ(1, KvuSystem::mkdir("a/two words/../b/c/"));
    EXPECT_EQ(1, KvuSystem::mkdir("a/b/c"));
    EXPECT_EQ((Names{"b"}), listed("a", nullptr));
    writeFile("file", "");
    for (const char* path : {"file", "file/x"}) EXPECT_EQ(0, KvuSystem::mkdir(path)) << path;
}

TEST_F(KvuSystemTest, Listings) {
    for (const char* file : {"x.gz", "a.gz", ".gz", "gz"}) writeFile(file, "");
    EXPECT_EQ((Names{"a.gz", "x.gz"}), listed(".", ".gz"));
    EXPECT_EQ(4U, listed(".", nullptr).size());
    EXPECT_EQ(4, KvuSystem::numFiles("."));
}

TEST_F(KvuSystemTest, Paths) {
    const char* const parents[][2] = {
        {"a/b/", "a"}, {"/a/b", "/a"}, {"/a", ""}, {"a", "."}, {nullptr, "."}};
    for (const auto& [path, parent] : parents) EXPECT_STREQ(parent, KvuSystem::dirname(path));
    const char* const ways[][3] = {
        {"/a/b/c", "/a/b/d/e", "../d/e"}, {"/a/b/c/", "/a/b/d", "../d"}, {"/x/y", "/a", "../../a"},
        {"/a/bc", "/a/bd", "../bd"},      {"/", "/a", "../a"},           {"/a", "b", ""}};
    for (const auto& [from, to, way] : ways) {
        KvText out = "old";
        KvuSystem::getRelativePath(from, to, out);
        EXPECT_STREQ(way, out) << from << to;
    }
    fs::create_directory("real");
    fs::create_directory_symlink("real", "link");
    EXPECT_EQ("1 " + folder + "/real/no/such", absolute("link/./x/../no/such/", nullptr));
    EXPECT_EQ("1 /etc/x", absolute("x", "/etc"));
    EXPECT_EQ("0 ", absolute(std::string(1024, 'x'), nullptr));
    EXPECT_EQ(folder, KvuSystem::getwd());
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

TEST_F(KvuSystemTest, CopyMoveLinkAppend) {
    fs::create_directories("from dir/sub");
    const std::string binary("a\0b\nend", 7);
    writeFile("-f;x", binary);
    EXPECT_EQ(1, KvuSystem::cp("-f;x", "from dir", 0));
    EXPECT_EQ(1, KvuSystem::cp("from dir", "copy", 1));
    EXPECT_EQ(1, KvuSystem::mv("-f;x", "copy/sub"));
    EXPECT_EQ(1, KvuSystem::mv("copy/sub", "moved"));
    EXPECT_EQ(1, KvuSystem::ln("/etc/target", "moved"));
    EXPECT_EQ((Names{"-f;x", "target"}), listed("moved", nullptr));
    EXPECT_EQ(1, KvuSystem::cat("copy/-f;x", "moved/-f;x"));
    EXPECT_EQ(binary + binary, contentsOf("moved/-f;x"));
    EXPECT_EQ(0, KvuSystem::cat("copy/-f;x", "copy/-f;x")) << "it would never end";
    EXPECT_EQ(0, KvuSystem::cat("copy/-f;x", "/dev/full"));
}

TEST_F(KvuSystemTest, CompressionRoundTrip) {
    KvText out;
    writeFile("it's.tar", "text");
    EXPECT_EQ(1, KvuSystem::compress("it's.tar", 1));
    EXPECT_EQ(1, KvuSystem::uncompress("it's.tar.gz", nullptr, out));
    EXPECT_STREQ("./it's.tar", out);
    EXPECT_EQ("text", contentsOf(out));
}

TEST_F(KvuSystemTest, MachineAndDate) {
    EXPECT_NEAR(static_cast<double>(fs::space(".").free) * 1e-6, KvuSystem::getFreeSpace("."), 500);
    const std::time_t now = std::time(nullptr);
    const std::tm today = *std::localtime(&now);
    const int year = today.tm_year + 1900;
    char name[8];
    std::strftime(name, sizeof name, "%b", &today);
    KvText date;
    KvuSystem::getDate(date);
    EXPECT_EQ(KvuPrint("%s-%d-%d", name, today.tm_mday, year), date);
    EXPECT_EQ(0, KvuSystem::compareDate(year, today.tm_mon + 1, today.tm_mday));
    EXPECT_EQ(-1, KvuSystem::compareDate(year, today.tm_mon + 2, 1));
    EXPECT_EQ(1, KvuSystem::compareDate(year - 1, 12, 31));
}

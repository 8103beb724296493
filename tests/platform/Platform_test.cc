#include "platform/Platform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/platform/platform_test.h"

namespace fs = std::filesystem;

namespace {

TEST(PlatformTest, TemporaryFilesAreNeverSomebodyElses) {
    const ScratchFolder folder;
    const std::string victim = folder.write("victim", "precious");
    fs::create_symlink(victim, folder / "link");
    fs::create_symlink(folder / "new", folder / "dangling");
    fs::create_hard_link(victim, folder / "second");
    fs::create_directory(folder / "directory");
    ASSERT_EQ(0, mkfifo((folder / "fifo").c_str(), 0666));
    const std::string foreign = folder.write("foreign", "theirs");
    ASSERT_EQ(0, chown(foreign.c_str(), 65534, 65534)) << "this test needs the super-user";
    for (const char* name : {"link", "dangling", "second", "directory", "fifo", "foreign"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(nullptr, platform::openTemporary((folder / name).c_str()));
        EXPECT_FALSE(platform::prepareTemporary((folder / name).c_str()));
    }
    EXPECT_EQ("precious", contentsOf(victim));
    EXPECT_EQ("theirs", contentsOf(foreign));
    EXPECT_FALSE(fs::exists(folder / "new"));
}

TEST(PlatformTest, TemporaryFilesBeginEmpty) {
    const ScratchFolder folder;
    folder.write("own", "the text of an earlier run");
    for (const char* name : {"own", "fresh"}) {
        std::FILE* file = platform::openTemporary((folder / name).c_str());
        ASSERT_NE(nullptr, file) << name;
        std::fputs("now", file);
        std::fclose(file);
        EXPECT_EQ("now", contentsOf(folder / name)) << name;
    }
}

TEST(PlatformTest, AbsolutePaths) {
    const ScratchFolder folder;
    const std::string base = fs::canonical(folder / ".").string();
    fs::create_directories(folder / "real/inner");
    fs::create_symlink("real/inner", folder / "link");
    fs::create_symlink("loop", folder / "loop");
    fs::current_path(base);
    const struct {
        std::string path;
        std::string expected;
    } cases[] = {{"", ""},
                 {"/", "/"},
                 {".", base},
                 {"real/", base + "/real"},
                 {"link/..", base + "/real"},
                 {"link/new/../file", base + "/real/inner/file"},
                 {"none/deep/", base + "/none/deep"},
                 {"/none/..//x", "/x"},
                 {"loop/x", ""}};
    for (const auto& c : cases) EXPECT_EQ(c.expected, platform::absolutePath(c.path)) << c.path;
    fs::current_path(ZARN_BINARY_DIR);
}

TEST(PlatformTest, CommandsFindTheToolsBesideTheProgram) {
    const ScratchFolder folder;
    const std::string beside =
        (fs::read_symlink("/proc/self/exe").parent_path() / "Zarn_tools").string();
    fs::remove(beside);
    fs::create_directory_symlink(toolsDir, beside);
    EXPECT_EQ(
        0, platform::system(("(command -v tar; command -v xwsh) >" + (folder / "found")).c_str()));
    EXPECT_EQ(3 << 8, platform::system("exit 3"));
    fs::remove(beside);
    EXPECT_EQ(beside + "/tar\n" + beside + "/xwsh\n", contentsOf(folder / "found"));
}

}  // namespace

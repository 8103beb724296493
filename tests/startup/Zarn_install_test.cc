#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "startup/ZarnApp.h"
#include "startup/Zarn_install.h"

namespace {

// parseArgs, with literal words for a command line.
int parse(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    return parseArgs(static_cast<int>(words.size()), argv.data());
}

TEST(CommandLine, LastOptionWins) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse({"Zarn_install", "-cdrom", "-noShell", "-ftp", "-icons", "/a/Zarn_system",
                     "-subsystems", "/b/Zarn_system"}),
              1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nOk. Running Zarn installation...\n");
    EXPECT_EQ(KvReadFrom, 2);
    EXPECT_TRUE(KvInvokeSubsystems && KvInvokeIconInstall);
    EXPECT_STREQ(KvInstallLocation, "/b/Zarn_system");
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    const struct {
        std::vector<std::string> words;
        const char* says;
    } cases[] = {
        {{"zi", "-noShell", "-display", ":0"}, "Usage: zi"},
        {{"zi", "-NOSHELL"}, "Usage: zi"},
        {{"zi", "-noShell", "-icons"},
         "Usage zi \\[-cdrom\\] \\[-ftp\\] \\[-icons <Install location> <Product Id>\\]"},
        {{"zi", "-noShell", "-icons", "/x/Zarn_system", "PNT"}, "Usage: zi"},
        {{"zi", "-noShell", "-subsystems", std::string(1024, 'x')}, "too long"},
    };
    for (const auto& c : cases) EXPECT_EXIT(parse(c.words), testing::ExitedWithCode(0), c.says);
}

// The launcher in a folder of its own, with programs that tell what they were called with.
class Launcher : public testing::Test {
protected:
    void SetUp() override {
        std::string folder = ZARN_BINARY_DIR "/launcher.XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        here = folder;
        std::filesystem::current_path(here);
        script("xwsh", "printf '%s\\n' \"$@\" >said\nshift $(($# - 3))\nexec \"$@\"");
        script("su", "printf '%s\\n' \"$@\" >su-said\nexec sh -c \"$3\"");
        setenv("PATH", (here.string() + ":" + std::getenv("PATH")).c_str(), 1);
    }

    void TearDown() override {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(here);
    }

    void script(const std::string& name, const std::string& lines) const {
        std::ofstream(here / name) << "#!/bin/sh\n" << lines << "\n";
        std::filesystem::permissions(here / name, std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(here / name);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    std::filesystem::path here;
};

TEST_F(Launcher, OpensTheTerminalThatRunsTheProgramAgain) {
    for (const bool root : {false, true}) {
        SCOPED_TRACE(root);
        script("id", root ? "echo root" : "echo ann");
        script("Zarn_install", "printf '<%s>' \"$0\" \"$@\" >again");
        EXPECT_EXIT(parse({"Zarn_install", "-ftp"}), testing::ExitedWithCode(0), "");
        const std::string command = root ? "./Zarn_install -noShell -ftp \n"
                                         : "su root -c './Zarn_install -noShell -ftp '\n";
        const std::string title = root ? "Zarn Installation \n"
                                       : "Zarn Installation (Please enter super-user password)\n";
        EXPECT_EQ(read("said"),
                  "-bg\nblack\n-fg\ncyan\n-geom\n80x20+100+100\n-cursorfg\ncyan\n-cursorbg\ncyan\n"
                  "-title\n" +
                      title + "-icontitle\nZarn install\n-e\n/bin/csh\n-c\necho; echo; " + command);
        EXPECT_EQ(read("again"), "<./Zarn_install><-noShell><-ftp>");
        EXPECT_EQ(read("su-said"), root ? "" : "root\n-c\n./Zarn_install -noShell -ftp \n");
        std::filesystem::remove(here / "su-said");
        if (!root) std::filesystem::remove(here / "again");
    }
}

TEST_F(Launcher, AsksForNoPasswordInVain) {
    EXPECT_EXIT(parse({"/elsewhere/Zarn_install"}), testing::ExitedWithCode(0), "change to the");
    EXPECT_FALSE(std::filesystem::exists(here / "said"));
}

TEST_F(Launcher, HandsStrangeWordsOnUnchanged) {
    for (const bool root : {false, true}) {
        script("id", root ? "echo root" : "echo ann");
        script("it's $0", "printf '<%s>' \"$@\" >again");
        for (const char* word : {"a b", "it's", "a\"b", "$(touch oops)", "`touch oops`", "a!b",
                                 "\\", "*", "a;touch oops", "\n"}) {
            EXPECT_EXIT(parse({"it's $0", "-icons", word}), testing::ExitedWithCode(0), "");
            EXPECT_EQ(read("again"), std::string("<-noShell><-icons><") + word + ">")
                << root << word;
            std::filesystem::remove(here / "again");
        }
    }
    EXPECT_FALSE(std::filesystem::exists(here / "oops"));
}

TEST(Defaults, LieInAFileOfTheirOwnForAMoment) {
    const std::string name = "Zarn_test_" + std::to_string(getpid());
    const std::filesystem::path file = "/tmp/" + name;
    ZarnAppInit(name.c_str());
    std::ifstream stream(file);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(text.find("\n! General\n\n*sgiMode:"), 0U);
    EXPECT_EQ(std::count(text.begin(), text.end(), ':'), 63);
    EXPECT_TRUE(text.ends_with("\n*install.geometry:                           +80+50\n"));
    EXPECT_STREQ(std::getenv("XFILESEARCHPATH"), "/usr/lib/X11/app-defaults/%N:/tmp/%N");
    ZarnAppClose();
    EXPECT_FALSE(std::filesystem::exists(file));

    unsetenv("XFILESEARCHPATH");
    std::filesystem::create_symlink(ZARN_BINARY_DIR "/planted", file);
    ZarnAppInit(name.c_str());
    ZarnAppClose();
    EXPECT_FALSE(std::filesystem::exists(ZARN_BINARY_DIR "/planted"));
    EXPECT_EQ(std::getenv("XFILESEARCHPATH"), nullptr);
    EXPECT_TRUE(std::filesystem::remove(file)) << "it was not ours to delete";
}

}  // namespace

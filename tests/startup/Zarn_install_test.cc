#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "startup/ZarnApp.h"
#include "startup/Zarn_install.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

// parseArgs, with literal words for a command line.
int parse(std::vector<std::string> words) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
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
    for (RandomTexts random{99, {"-noShell", "-icons"}}; random.next();) {
        const std::string location = random.draw(KvTextSize - 1);
        EXPECT_TRUE(parse({"zi", "-icons", location, "-noShell"}) && KvInstallLocation == location);
    }
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

// The launcher in its own folder, with programs that report how they were called.
class Launcher : public ScratchTest {
protected:
    Launcher() {
        writeProgram("xwsh", "printf '%s\\n' \"$@\" >said\nshift $(($# - 3))\nexec \"$@\"");
        writeProgram("su", "printf '%s\\n' \"$@\" >su-said\nexec sh -c \"$3\"");
        for (const char* tool : {"xconfirm", "jot", "tar"}) writeProgram(tool, "");
        setenv("PATH", (folder + ":" + std::getenv("PATH")).c_str(), 1);
    }
};

TEST_F(Launcher, OpensTheTerminalThatRunsTheProgramAgain) {
    for (const bool root : {false, true}) {
        SCOPED_TRACE(root);
        writeProgram("id", root ? "echo root" : "echo ann");
        writeProgram("Zarn_install", "printf '<%s>' \"$0\" \"$@\" >again");
        EXPECT_EXIT(parse({"Zarn_install", "-ftp"}), testing::ExitedWithCode(0), "");
        const std::string command = root ? "./Zarn_install -noShell -ftp \n"
                                         : "su root -c './Zarn_install -noShell -ftp '\n";
        const std::string title = root ? "Zarn Installation \n"
                                       : "Zarn Installation (Please enter super-user password)\n";
        std::string said =
            "-bg\nblack\n-fg\ncyan\n-geom\n80x20+100+100\n-cursorfg\ncyan\n-cursorbg\ncyan\n-"
            "title\n";
        said.append(title).append("-icontitle\nZarn install\n-e\n/bin/csh\n-c\necho; echo; ");
        EXPECT_EQ(contentsOf("said"), said + command);
        EXPECT_EQ(contentsOf("again"), "<./Zarn_install><-noShell><-ftp>");
        EXPECT_EQ(contentsOf("su-said"), root ? "" : "root\n-c\n./Zarn_install -noShell -ftp \n");
        fs::remove("su-said");
        if (!root) fs::remove("again");
    }
}

TEST_F(Launcher, AsksForNoPasswordInVain) {
    writeProgram("Zarn_install", "");
    writeProgram("sub/Zarn_install", "");
    const std::string path = folder + "/tools";
    const auto without = [&](const std::string& missing) {
        for (const std::string tool :
             {"sh", "id", "grep", "xwsh", "xconfirm", "jot", "tar", "xterm"})
            writeFile(fs::path(path) / tool, "#!/bin/sh\n", tool == missing ? 0644 : 0755);
        setenv("PATH", path.c_str(), 1);
    };
    const struct {
        const char* program;
        std::function<void()> before;
        const char* says;
    } cases[] = {
        {"/elsewhere/Zarn_install", [] {}, "change to the"},
        {"sub/Zarn_install", [] {}, "change to the"},
        {"Zarn_install", [] { unsetenv("DISPLAY"); }, "no display; please set"},
        {"Zarn_install", [] { setenv("DISPLAY", ":987", 1); }, "display \":987\" can't be opened"},
        {"Zarn_install", [&] { without("xwsh"); }, "\"xwsh\" is missing"},
        {"Zarn_install", [&] { without("tar"); }, "\"tar\" is missing"},
        {"./Zarn_install", [&] { without("xterm"); }, "no xterm on this system"},
    };
    for (const auto& c : cases) {
        const auto start = [&] { c.before(), parse({c.program}); };
        EXPECT_EXIT(start(), testing::ExitedWithCode(0), c.says);
    }
    EXPECT_FALSE(fs::exists("said"));
}

TEST_F(Launcher, HandsStrangeWordsOnUnchanged) {
    std::vector<std::string> line = {"it's $0"};
    std::string received = "<-noShell>";
    for (const std::string word : {"a b", "it's", "a\"b", "$(touch oops)", "`touch oops`", "a!b",
                                   "\\", "*", "a;touch oops", "\n"}) {
        line.insert(line.end(), {"-icons", word});
        received += "<-icons><" + word + ">";
    }
    for (const bool root : {false, true}) {
        writeProgram("id", root ? "echo root" : "echo ann");
        writeProgram("it's $0", "printf '<%s>' \"$@\" >again");
        EXPECT_EXIT(parse(line), testing::ExitedWithCode(0), "");
        EXPECT_EQ(contentsOf("again"), received) << root;
        fs::remove("again");
    }
    EXPECT_FALSE(fs::exists("oops"));
}

TEST_F(Launcher, NamesTheProductWhenThereIsNoSwapSpace) {
    fs::copy_file(ZARN_BINARY_DIR "/Zarn_install", "Zarn_install");
    fs::permissions(".", fs::perms(0755));
    // The leak check needs a process of its own.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    const auto launch = [] {
        const rlimit none = {0, 0};
        if (becomeOrdinary() && setrlimit(RLIMIT_NPROC, &none) == 0)
            execl("./Zarn_install", "Zarn_install", nullptr);
    };
    EXPECT_EXIT(launch(), testing::ExitedWithCode(0), "Some Zarn operations may fail");
}

TEST(Defaults, LieInAFileOfTheirOwnForAMoment) {
    const std::string name = "Zarn_test_" + std::to_string(getpid());
    const fs::path file = "/tmp/" + name;
    ZarnAppInit(name.c_str());
    const std::string text = contentsOf(file);
    EXPECT_EQ(text.find("\n! General\n\n*sgiMode:"), 0U);
    EXPECT_EQ(std::count(text.begin(), text.end(), ':'), 63);
    EXPECT_TRUE(text.ends_with("\n*install.geometry:                           +80+50\n"));
    std::string fallbacks;
    for (char** line = ZarnAppFallbacks(); *line != nullptr; ++line) fallbacks += *line;
    EXPECT_EQ(std::count(fallbacks.begin(), fallbacks.end(), ':'), 63) << "the same without it";
    EXPECT_STREQ(std::getenv("XFILESEARCHPATH"), "/usr/lib/X11/app-defaults/%N:/tmp/%N");
    ZarnAppClose();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(std::getenv("XFILESEARCHPATH"), nullptr) << "no child is to look into /tmp";

    fs::create_symlink(ZARN_BINARY_DIR "/planted", file);
    ZarnAppInit(name.c_str());
    ZarnAppClose();
    EXPECT_FALSE(fs::exists(ZARN_BINARY_DIR "/planted"));
    EXPECT_EQ(std::getenv("XFILESEARCHPATH"), nullptr);
    EXPECT_TRUE(fs::remove(file)) << "it was not ours to delete";
}

}  // namespace

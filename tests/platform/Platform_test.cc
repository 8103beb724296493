#include "platform/Platform.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>
#include <vector>

#include "tests/fixtures/scratch.h"

namespace {

using PlatformTest = ScratchTest;

TEST_F(PlatformTest, TemporaryFilesAreNeverSomebodyElses) {
    writeFile("victim", "precious");
    fs::create_symlink("victim", "link");
    fs::create_symlink("new", "dangling");
    fs::create_hard_link("victim", "second");
    fs::create_directory("directory");
    ASSERT_EQ(0, mkfifo("fifo", 0666));
    writeFile("program", "precious", 0744);
    std::vector<std::string> names{"link", "dangling", "second", "directory", "fifo", "program"};
    if (geteuid() == 0) {
        names.push_back(writeFile("foreign", "precious"));
        ASSERT_EQ(0, chown("foreign", nobody, nobody));
    }
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        EXPECT_EQ(nullptr, platform::openTemporary(name.c_str()));
        EXPECT_FALSE(platform::prepareTemporary((folder + "/" + name).c_str()));
        EXPECT_TRUE(!fs::is_regular_file(name) || contentsOf(name) == "precious");
    }
    EXPECT_FALSE(fs::exists("new"));
}

TEST_F(PlatformTest, TemporaryFilesBeginEmptyInASafeFolder) {
    writeFile("own", "the text of an earlier run");
    for (const char* name : {"own", "fresh"}) {
        std::FILE* file = platform::openTemporary(name);
        ASSERT_NE(nullptr, file) << name;
        std::fputs("now", file);
        std::fclose(file);
        EXPECT_EQ("now", contentsOf(name)) << name;
    }
    const std::string file = folder + "/common/file";
    EXPECT_TRUE(platform::prepareTemporary(file.c_str())) << "a folder for everybody is made";
    EXPECT_EQ(fs::perms(01777), fs::status("common").permissions());
    if (geteuid() == 0) {
        ASSERT_EQ(0, chown("common", 0, 1)) << "the group of the user daemon";
    }
    for (const auto& [mode, safe] :
         {std::pair(0777, 0), {0775, geteuid() == 0 ? 0 : 1}, {0757, 0}, {01775, 1}, {0755, 1}}) {
        fs::permissions("common", fs::perms(mode));
        EXPECT_EQ(safe, platform::prepareTemporary(file.c_str())) << mode;
    }
    if (geteuid() != 0) return;
    ASSERT_EQ(0, chown("common", nobody, nobody));
    EXPECT_FALSE(platform::prepareTemporary(file.c_str())) << "its owner could change the file";
}

TEST_F(PlatformTest, AbsolutePaths) {
    fs::create_directories("real/inner");
    fs::create_directory("shut");
    fs::create_symlink("real/inner", "link");
    fs::create_symlink("loop", "loop");
    const std::string here = fs::canonical(".");
    const std::pair<const char*, const char*> below[] = {
        {".", ""},
        {"link/new/../file", "/real/inner/file"},
        {"none/deep/", "/none/deep"},
        {"shut/a/../b/", "/shut/b"},
        {"shut/a/../../link/x", "/real/inner/x"},
    };
    fs::permissions("shut", fs::perms::none);
    fs::permissions(".", fs::perms(0755));
    runInChild([&] {
        ASSERT_TRUE(becomeOrdinary());
        for (const auto& [path, real] : below)
            EXPECT_EQ(here + real, platform::absolutePath(path)) << path;
    });
    fs::permissions("shut", fs::perms::owner_all);
    for (const auto& [path, real] : {std::pair("", ""), {"loop/x", ""}, {"/none/..//x", "/x"}})
        EXPECT_EQ(real, platform::absolutePath(path)) << path;
}

TEST_F(PlatformTest, ProcessIsFitHoweverItWasStarted) {
    runInChild([] {
        umask(0);
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(file);
        platform::prepareProcess();
        EXPECT_GT(open("/dev/null", O_RDONLY), STDERR_FILENO);
        EXPECT_EQ(umask(0), 022U);
        // When the terminal goes away, only the running command ends.
        for (const int signal : {SIGHUP, SIGPIPE, SIGXFSZ}) {
            raise(signal);
            const std::string end = "kill -" + std::to_string(signal) + " $$";
            EXPECT_EQ(signal, WTERMSIG(platform::system(end.c_str())));
        }
    });
}

TEST_F(PlatformTest, StatusesSurviveIgnoredChildren) {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(3 << 8, platform::system("sh -c 'exit 3'; exit $?"));
    EXPECT_EQ(0, platform::system("! grep 'SigIgn:.*[13579bdf]....$' /proc/self/status"));
    EXPECT_EQ(SIG_IGN, std::signal(SIGCHLD, SIG_DFL));
}

TEST_F(PlatformTest, SuperUsersCommandsAreNobodyElses) {
    for (const char* name : {"own", "open", "foreign", "."})
        writeFile(fs::path(name) / "greet", "#!/bin/sh\necho " + std::string(name), 0755);
    fs::permissions("open", fs::perms(0777));
    if (geteuid() != 0 || chown("foreign", nobody, nobody) != 0)
        GTEST_SKIP() << "only for the super-user";
    const std::string path =
        ".::" + folder + "/open:" + folder + "/foreign:" + folder + "/own:" + std::getenv("PATH");
    runInChild([&] {
        setenv("PATH", path.c_str(), 1);
        platform::system("greet >said");
    });
    EXPECT_EQ("own\n", contentsOf("said"));
}

TEST_F(PlatformTest, OutputThatNobodyReadsEndsNoCommand) {
    runInChild([] {
        int pipe[2] = {};
        ASSERT_EQ(0, ::pipe(pipe));
        dup2(pipe[1], STDOUT_FILENO);
        for (const int end : pipe) close(end);
        platform::prepareProcess();
        EXPECT_EQ(0, platform::system("/bin/echo printed"));
    });
    // A background process that keeps writing must not hide that the command has ended.
    platform::system("(while :; do echo 'again and again' >&2; done) & echo $! >noisy; sleep 0.1");
    platform::system(("kill " + contentsOf("noisy")).c_str());
}

TEST_F(PlatformTest, TheLogHoldsWhatTheTerminalShowsAndKeepsNobodyWaiting) {
    writeFile("log", "before\n", 0644);
    runInChild([&] {
        for (const int output : {STDOUT_FILENO, STDERR_FILENO})
            dup2(open("shown", O_WRONLY | O_CREAT | O_APPEND, 0600), output);
        platform::prepareProcess();
        std::fputs(platform::keepLog(folder + "/log", "first").c_str(), stdout);
        // Standard error goes through a pipe, so it may appear later than the output after it.
        platform::system(
            "echo 1; echo 2 >&2; timeout 9 sh -c 'until grep -qx 2 shown; do :; done';"
            "(sleep 60; echo late) & echo $! >sleeper; seq 3 2e4");
        std::printf("last");
        std::exit(0);
    });
    const std::string shown = contentsOf("shown");
    EXPECT_EQ("before\nfirst\n" + shown, contentsOf("log"));
    EXPECT_TRUE(shown.starts_with("1\n2\n3\n") && shown.ends_with("\n20000\nlast"));
    EXPECT_EQ(fs::perms(0600), fs::status("log").permissions());
    EXPECT_EQ(0, outcomeOf("kill $(cat sleeper)").status) << "nothing was waited for";
}

TEST_F(PlatformTest, TheLogIsNobodyElsesAndDoesNotGrowForEver) {
    writeFile("victim", "precious");
    fs::create_symlink("victim", "link");
    fs::create_hard_link("victim", "second");
    fs::create_directory("directory");
    fs::create_directory("open");
    fs::permissions("open", fs::perms(01777));
    ASSERT_EQ(0, mkfifo("fifo", 0600));
    for (const char* name : {"link", "second", "directory", "fifo", "open/log", "none/log"})
        EXPECT_NE("", platform::keepLog(folder + "/" + name, "planted")) << name;
    EXPECT_EQ("precious", contentsOf("victim"));
    EXPECT_FALSE(fs::exists("open/log"));
    runInChild([&] {
        writeFile("log", std::string(1 << 20, 'x'));
        EXPECT_EQ("", platform::keepLog(folder + "/log", "first"));
    });
    EXPECT_EQ("first\n", contentsOf("log"));
    EXPECT_EQ(std::uintmax_t{1} << 20, fs::file_size("log.old"));
}

TEST_F(PlatformTest, TheLastComplaintIsKept) {
    const std::string longest(400, 'y');
    const std::pair<const char*, const char*> cases[] = {
        {"echo first >&2; printf 'last\\n\\n' >&2; echo out", "last"},
        {"printf unended >&2", "unended"},
        {"false", ""},
        {"echo before >&2; kill -KILL $$", "Killed"},
        {"head -c 500 /dev/zero | tr '\\0' y >&2", longest.c_str()},
        {"(until [ -e go ]; do sleep 0.01; done; echo late >&2; echo $? >alive) & echo now >&2",
         "now"},
    };
    for (const auto& [command, complaint] : cases) {
        platform::system(command);
        EXPECT_EQ(complaint, platform::lastComplaint()) << command;
    }
    // The background process must be able to go on writing.
    writeFile("go", "");
    for (int i = 0; i < 200 && contentsOf("alive").empty(); ++i) usleep(10000);
    EXPECT_EQ("0\n", contentsOf("alive"));
}

}  // namespace

#include "platform/Platform.h"
#include "platform/Files.h"
#include "platform/Locks.h"
#include "platform/Processes.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
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
    ASSERT_EQ(mkfifo("fifo", 0666), 0);
    std::vector<std::string> names{"link", "dangling", "second", "directory", "fifo"};
    for (const int mode : {0744, 0654, 0645})
        names.push_back(writeFile("program" + std::to_string(mode), "precious", mode));
    if (geteuid() == 0) {
        names.push_back(writeFile("foreign", "precious"));
        ASSERT_EQ(chown("foreign", nobody, nobody), 0);
    }
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        EXPECT_EQ(platform::openTemporary(name.c_str()), nullptr);
        EXPECT_FALSE(platform::prepareTemporary((folder + "/" + name).c_str()));
        EXPECT_TRUE(!fs::is_regular_file(name) || contentsOf(name) == "precious");
    }
    EXPECT_FALSE(fs::exists("new"));
}

TEST_F(PlatformTest, TemporaryFilesBeginEmptyInASafeFolder) {
    umask(0);
    writeFile("own", "the text of an earlier run");
    for (const char* name : {"own", "fresh"}) {
        std::FILE* file = platform::openTemporary(name);
        ASSERT_NE(file, nullptr) << name;
        std::fputs("now", file);
        std::fclose(file);
        EXPECT_EQ(contentsOf(name), "now") << name;
        EXPECT_EQ(fs::status(name).permissions(), fs::perms(0644));
    }
    umask(022);
    const std::string file = folder + "/common/file";
    EXPECT_TRUE(platform::prepareTemporary(file.c_str())) << "a folder for everybody is made";
    EXPECT_EQ(fs::status("common").permissions(), fs::perms(01777));
    EXPECT_FALSE(platform::prepareTemporary((folder + "/none/deep/file").c_str()));
    if (geteuid() == 0) {
        ASSERT_EQ(chown("common", 0, 1), 0) << "the group of the user daemon";
    }
    for (const auto& [mode, safe] :
         {std::pair(0777, 0), {0775, geteuid() == 0 ? 0 : 1}, {0757, 0}, {01775, 1}, {0755, 1}}) {
        fs::permissions("common", fs::perms(mode));
        EXPECT_EQ(platform::prepareTemporary(file.c_str()), safe) << mode;
    }
    if (geteuid() != 0) return;
    ASSERT_EQ(chown("common", nobody, nobody), 0);
    EXPECT_FALSE(platform::prepareTemporary(file.c_str())) << "its owner could change the file";
}

TEST_F(PlatformTest, FindsWhereAPathLeads) {
    fs::create_directories("real/inner");
    fs::create_directory("shut");
    fs::create_symlink("real/inner", "link");
    fs::create_symlink("loop", "loop");
    const std::string here = fs::canonical(".");
    const std::pair<const char*, const char*> below[] = {{".", ""},
                                                         {"link/new/../file", "/real/inner/file"},
                                                         {"none/deep/", "/none/deep"},
                                                         {"shut/a/../b/", "/shut/b"},
                                                         {"shut/a/../../link/x", "/real/inner/x"}};
    fs::permissions("shut", fs::perms::none);
    fs::permissions(".", fs::perms(0755));
    runInChild([&] {
        ASSERT_TRUE(becomeOrdinary());
        for (const auto& [path, real] : below)
            EXPECT_EQ(platform::absolutePath(path), here + real) << path;
    });
    fs::permissions("shut", fs::perms::owner_all);
    for (const auto& [path, real] :
         {std::pair("", ""), {"loop/x", ""}, {"/none/..//x", "/x"}, {"/", "/"}})
        EXPECT_EQ(platform::absolutePath(path), real) << path;
    fs::create_directory("gone");
    fs::current_path("gone");
    fs::remove("../gone");
    EXPECT_EQ(platform::absolutePath("x"), "");
}

// Users and groups of our own: only root, toor and nobody, and who is in which group.
void replaceUsers() {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    writeFile("passwd",
              "root:x:0:0::/:/bin/sh\ntoor:x:0:203::/:/bin/sh\nnobody:x:65534:204::/:/bin/sh\n");
    writeFile("group", "root:x:0:\nwe:x:202:root\nall:x:205:root,nobody\nwho:x:206:stranger\n");
    for (const char* file : {"passwd", "group"})
        ASSERT_EQ(mount(file, (std::string("/etc/") + file).c_str(), nullptr, MS_BIND, nullptr), 0);
}

TEST_F(PlatformTest, WhatOthersMayWriteIsFound) {
    if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give files away";
    for (const char* name : {"own/file", "open/file", "sticky/loose", "foreign/file", "listed"})
        writeFile(name, "");
    for (const auto& [name, target] :
         {std::pair("link", "open/file"), {"good", "own"}, {"bad", "own"}, {"loop", "loop"}})
        fs::create_symlink(target, name);
    const char list[] =
        "\2\0\0\0\1\0\6\0\377\377\377\377\2\0\6\0\1\0\0\0\4\0\4\0\377\377\377\377\20\0\6\0\377\377"
        "\377\377\40\0\4\0\377\377\377\377";
    ASSERT_EQ(setxattr("listed", "system.posix_acl_access", list, sizeof list - 1, 0), 0);
    ASSERT_EQ(lchown("bad", nobody, nobody) + lchown("foreign", nobody, nobody), 0);
    for (const auto& [name, mode] :
         {std::pair("open", 0777), {"sticky", 01777}, {"sticky/loose", 01666}, {"own/file", 0664}})
        fs::permissions(name, fs::perms(mode));
    for (int group = 201; group <= 206; ++group) {
        writeFile(std::to_string(group), "", 0664);
        ASSERT_EQ(chown(std::to_string(group).c_str(), 0, group), 0);
    }
    // As many links as the kernel follows, and one more.
    for (int i = 1; i <= 41; ++i)
        fs::create_symlink(i == 1 ? "own" : std::to_string(1000 + i - 1), std::to_string(1000 + i));
    // Each with what is found; "" means that it is this user's alone.
    const char* const cases[][2] = {{"own/file", ""},
                                    {"open/file", "open"},
                                    {"sticky/none", ""},
                                    {"sticky/loose", "sticky/loose"},
                                    {"foreign/file", "foreign"},
                                    {"listed", "listed"},
                                    {"link", "open"},
                                    {"good/file", ""},
                                    {"bad/file", "bad"},
                                    {"loop", "loop"},
                                    {"none/file", ""},
                                    {"201", ""},
                                    {"202", ""},
                                    {"203", ""},
                                    {"204", "204"},
                                    {"205", "205"},
                                    {"206", "206"},
                                    {"1040", ""},
                                    {"1041", "1001"}};
    runInChild([&] {
        replaceUsers();
        for (const auto& [path, found] : cases)
            EXPECT_EQ(platform::writableByOthers(folder + "/" + path),
                      *found == '\0' ? "" : folder + "/" + found)
                << path;
    });
}

TEST_F(PlatformTest, LocksKeepProcessesApart) {
    fs::create_directory("directory");
    fs::create_symlink("record", "link");
    umask(0);
    platform::LockedFile file, other;
    EXPECT_EQ((Row{file.isOpen(), file.isEmpty(), file.write("x"), other.openToRead("record")}),
              "0|0|0|0|");
    EXPECT_EQ((Row{file.openToWrite("record"), file.isOpen(), file.isEmpty(),
                   file.write("a longer text"), file.write("text"), file.isEmpty()}),
              "1|1|1|1|1|0|");
    EXPECT_EQ(contentsOf("record"), "text");
    EXPECT_EQ(fs::status("record").permissions(), fs::perms(0600));
    const platform::DirectoryLock lock("directory");
    const int self = getpid();
    EXPECT_EQ((Row{lock.isTaken(), lock.holder(), platform::DirectoryLock("none").isTaken()}),
              "0|0|0|");
    runInChild([&] {
        platform::LockedFile mine;
        EXPECT_EQ((Row{mine.openToWrite("record"), errno == EWOULDBLOCK, mine.holder() == self,
                       mine.isOpen()}),
                  "0|1|1|0|");
        EXPECT_EQ((Row{mine.openToRead("record"), errno == EWOULDBLOCK}), "0|1|");
        EXPECT_EQ((Row{mine.openToWrite("link"), errno == ELOOP, mine.openToRead("directory"),
                       errno == EINVAL, mine.openToRead("none"), errno == ENOENT}),
                  "0|1|0|1|0|1|");
        const platform::DirectoryLock second("directory");
        EXPECT_EQ((Row{second.isTaken(), second.holder() == self}), "1|1|");
    });
    EXPECT_EQ((Row{file.moveTo("none/x"), file.moveTo("moved")}), "0|1|");
    EXPECT_EQ(contentsOf("moved"), "text");
    EXPECT_EQ(fs::status("moved").permissions(), fs::perms(0644));
    EXPECT_EQ((Row{other.openToWrite("record"), other.isEmpty()}), "1|1|");
    other.remove();
    EXPECT_FALSE(fs::exists("record"));
    double blocks = 1, size = 2;
    EXPECT_EQ((Row{platform::freeSpace(nullptr, blocks, size),
                   platform::freeSpace("none", blocks, size), blocks, size}),
              "0|0|1|2|");
}

TEST_F(PlatformTest, HandlesFiles) {
    umask(0);
    fs::create_directory("directory");
    fs::create_symlink("directory", "link");
    writeFile("file", "x", 0444);
    ASSERT_EQ(mkfifo("pipe", 0666), 0);
    EXPECT_EQ((Row{platform::isRealDirectory("directory"), platform::isRealDirectory("link"),
                   platform::isRealDirectory("none")}),
              "1|0|0|");
    std::string opened;
    for (const char* path : {"file", "pipe", "directory", "none"}) {
        std::FILE* file = platform::openToRead(path);
        opened += file != nullptr ? "1" : "0";
        if (file != nullptr) std::fclose(file);
    }
    EXPECT_EQ(opened, "1000");
    EXPECT_EQ(platform::entriesOf(".")->size(), 4U);
    EXPECT_FALSE(platform::entriesOf("none").has_value());
    EXPECT_EQ((Row{platform::makeDirectory("new"), platform::makeDirectory("new"), errno == EEXIST,
                   platform::removeEmptyDirectory("."), platform::removeEmptyDirectory("file"),
                   platform::makePrivateFile("own"), platform::makePrivateFile("own"),
                   platform::makePrivateFile("link")}),
              "1|0|1|0|0|1|0|0|");
    EXPECT_EQ(fs::status("new").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status("own").permissions(), fs::perms(0600));
    EXPECT_TRUE(platform::removeEmptyDirectory("new") && !fs::exists("new"));
    const std::string made = platform::makePrivateDirectory("directory", ".x.");
    EXPECT_TRUE(made.starts_with("directory/.x.") && made.size() == 19) << made;
    EXPECT_EQ(fs::status(made).permissions(), fs::perms(0700));
    EXPECT_EQ(platform::makePrivateDirectory("none", "x"), "");
    fs::permissions(".", fs::perms(0755));
    runInChild([] {
        ASSERT_TRUE(becomeOrdinary());
        using namespace platform;
        EXPECT_EQ(
            (Row{mayUse("file", toRead), mayUse("file", toWrite), mayUse("file", toRead | toWrite),
                 mayUse("file", toRun), mayUse("directory", toRun), mayUse("none", toRead),
                 isSuperUser(), isOrdinaryUsers(getpid()), isOrdinaryUsers(1)}),
            "1|0|0|0|1|0|0|1|0|");
        EXPECT_EQ(makePrivateDirectory("/", "x"), "") << "another user's";
    });
}

TEST_F(PlatformTest, KnowsUsersAndProcesses) {
    EXPECT_EQ(
        (Row{platform::exitStatus(3 << 8), platform::exitStatus(9), platform::exitStatus(-1)}),
        "3|-1|-1|");
    EXPECT_EQ((Row{platform::homeOf("nobody").value_or("none"),
                   platform::homeOf("no such user").value_or("none")}),
              "/nonexistent|none|");
    EXPECT_EQ(platform::homeOf(platform::User::real), platform::homeOf(platform::User::effective));
    EXPECT_EQ((Row{platform::askInChild([] { return true; }, 9, false),
                   platform::askInChild([] { return false; }, 9, true),
                   platform::askInChild([] { return raise(SIGKILL) == 0; }, 9, true),
                   platform::askInChild([] { return pause() == -1; }, 1, true)}),
              "1|0|0|0|");
}

TEST_F(PlatformTest, ProcessIsFitHoweverItWasStarted) {
    runInChild([] {
        umask(0);
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(file);
        std::signal(SIGXFSZ, SIG_IGN);
        platform::prepareProcess();
        EXPECT_GT(open("/dev/null", O_RDONLY), STDERR_FILENO);
        EXPECT_EQ(umask(077), 022U);
        // When the terminal goes away, only the running command ends.
        for (const int signal : {SIGHUP, SIGPIPE, SIGXFSZ}) {
            raise(signal);
            const std::string end = "kill -" + std::to_string(signal) + " $$";
            EXPECT_EQ(platform::system(end.c_str()), signal == SIGXFSZ ? 0 : signal);
        }
        platform::prepareProcess();
        EXPECT_EQ(umask(077), geteuid() == 0 ? 022U : 077U)
            << "everybody is to read what the super-user installs";
    });
    runInChild([] {
        ASSERT_TRUE(becomeOrdinary());
        umask(0700);
        platform::prepareProcess();
        EXPECT_EQ(umask(0), 0722U);
    });
}

int handled = 0;

TEST_F(PlatformTest, CommandsGetTheirOwnSignals) {
    const auto handle = [](int) { ++handled; };
    for (const int signal : {SIGINT, SIGQUIT}) {
        const std::string end = "kill -" + std::to_string(signal) + " $PPID $$; exit 3";
        struct sigaction action = {};
        EXPECT_EQ(platform::system(end.c_str()) & 0x7f, signal) << "this process goes on";
        EXPECT_EQ(std::signal(signal, SIG_IGN), SIG_DFL);
        EXPECT_EQ(platform::system(end.c_str()), 3 << 8) << "as its parent wanted";
        std::signal(signal, handle);
        platform::system(end.c_str());
        EXPECT_EQ(std::signal(signal, SIG_DFL), +handle);
        sigaction(signal, &action, nullptr);
    }
    EXPECT_EQ(handled, 0);
    // The status and the signal survive, whatever is to become of a child's end.
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR1);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    struct sigaction action = {}, after = {};
    for (const auto& [handler, flags, ends] : {std::tuple(SIG_IGN, 0, 0),
                                               {SIG_DFL, SA_NOCLDWAIT, 0},
                                               {+handle, 0, 2},
                                               {+handle, SA_NOCLDWAIT, 2}}) {
        handled = 0;
        action.sa_handler = handler;
        action.sa_flags = flags;
        sigaction(SIGCHLD, &action, nullptr);
        EXPECT_EQ(platform::system("sh -c 'exit 3'; exit $?"), 3 << 8);
        EXPECT_EQ(platform::system("! grep 'SigIgn:.*[13579bdf]....$' /proc/self/status"), 0);
        sigaction(SIGCHLD, nullptr, &after);
        sigprocmask(SIG_BLOCK, nullptr, &mask);
        EXPECT_EQ((Row{after.sa_handler == handler, after.sa_flags & SA_NOCLDWAIT,
                       sigismember(&mask, SIGCHLD), sigismember(&mask, SIGUSR1)}),
                  (Row{1, flags, 0, 1}));
        EXPECT_EQ(handled >= ends && handled <= ends, 1) << handled;
    }
}

TEST_F(PlatformTest, SuperUsersCommandsAreNobodyElses) {
    for (const char* name : {"own", "open", "foreign"}) fs::create_directory(name);
    writeFile("file", "");
    fs::permissions("open", fs::perms(0777));
    fs::permissions(".", fs::perms(0755));
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(chown("foreign", nobody, nobody), 0);
    }
    const std::string paths = ".::own:" + folder + "/open:" + folder + "/foreign:" + folder +
                              "/file:" + folder + "/none:" + folder + "/own:/usr/bin:/bin";
    const std::string standard = ":/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                      tools = ZARN_BINARY_DIR "/tests/Zarn_tools";
    const std::tuple<bool, std::string, std::string> cases[] = {
        {true, paths, ":" + folder + "/own:/usr/bin:/bin"},
        {true, ".", standard},
        {true, "", standard},
        {false, paths, ":" + paths},
        {false, "", standard}};
    for (const auto& row : cases) {
        if (std::get<0>(row) && !root) continue;
        runInChild([&] {
            const auto& [asRoot, given, used] = row;
            ASSERT_TRUE(asRoot || becomeOrdinary());
            setenv("PATH", given.c_str(), 1);
            EXPECT_EQ(platform::system("true"), 0);
            EXPECT_EQ(std::getenv("PATH"), tools + used);
        });
    }
}

// Runs itself again, in folders of which some have the programs.
TEST_F(PlatformTest, TheToolsAreBesideTheProgramOrInstalled) {
    if (std::getenv("ZARN_AGAIN") != nullptr) {
        platform::system("echo \"PATH is ${PATH%%:/usr*}\" >&2");
        return;
    }
    const std::string again = "/program --gtest_filter=*TheToolsAreBeside* 2>&1 >/dev/null";
    for (const char* place :
         {"beside/Zarn_tools", "bin", "libexec/Zarn_tools", "a:b/Zarn_tools", "x/none"})
        fs::create_directories(place);
    for (const char* place : {"beside", "bin", "a:b", "x/none"})
        fs::copy_file("/proc/self/exe", fs::path(place) / "program");
    setenv("ZARN_AGAIN", "yes", 1);
    setenv("PATH", "/usr/bin:/bin", 1);
    const std::string installed = outcomeOf("x/none" + again).output;
    EXPECT_TRUE(installed.starts_with("PATH is /") && installed.ends_with("/libexec/Zarn_tools\n"))
        << installed;
    EXPECT_EQ(outcomeOf("beside" + again).output, "PATH is " + folder + "/beside/Zarn_tools\n");
    EXPECT_EQ(outcomeOf("bin" + again).output, "PATH is " + folder + "/libexec/Zarn_tools\n");
    const std::string place = installed.substr(8, installed.size() - 9);
    EXPECT_EQ(outcomeOf("a:b" + again).output,
              "The programs in " + folder +
                  "/a:b/Zarn_tools can't be used: the name of a folder in PATH must not hold a "
                  "\":\". Those in " +
                  place + " are used if they are there.\n" + installed);
}

TEST_F(PlatformTest, OutputThatNobodyReadsEndsNoCommand) {
    runInChild([] {
        int pipe[2] = {};
        ASSERT_EQ(::pipe(pipe), 0);
        dup2(pipe[1], STDOUT_FILENO);
        for (const int end : pipe) close(end);
        platform::prepareProcess();
        EXPECT_EQ(platform::system("/bin/echo printed"), 0);
        std::printf("printed");
        EXPECT_EQ(std::fflush(stdout), 0);
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
        std::printf("early\n");
        std::fputs(platform::keepLog(folder + "/log", "first").c_str(), stdout);
        // Standard error goes through a pipe, so it may appear later than the output after it.
        platform::system(
            "echo 1; echo 2 >&2; timeout 9 sh -c 'until grep -qx 2 shown; do :; done';"
            "(sleep 60; echo late) & echo $! >sleeper; seq 3 2e4");
        std::printf("last");
        std::exit(0);
    });
    const std::string shown = contentsOf("shown");
    EXPECT_EQ(contentsOf("log"), "before\nfirst\n" + shown.substr(6));
    EXPECT_TRUE(shown.starts_with("early\n1\n2\n3\n") && shown.ends_with("\n20000\nlast"));
    EXPECT_EQ(fs::status("log").permissions(), fs::perms(0600));
    EXPECT_EQ(outcomeOf("kill $(cat sleeper)").status, 0) << "nothing was waited for";
}

TEST_F(PlatformTest, TheLogIsNobodyElses) {
    writeFile("victim", "precious");
    writeFile("foreign", "precious");
    fs::create_symlink("victim", "link");
    fs::create_hard_link("victim", "second");
    for (const char* name : {"directory", "open", "theirs", "wide", "wide/inner"})
        fs::create_directory(name);
    fs::permissions("open", fs::perms(01777));
    fs::permissions("wide", fs::perms(0777));
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const char* const notOwn = "it is not an ordinary file of this user";
    std::vector<std::pair<std::string, std::string>> cases = {
        {"link", "Too many levels of symbolic links"},
        {"second", notOwn},
        {"directory", "Is a directory"},
        {"fifo", "No such device or address"},
        {"open/log", "others may write to " + folder + "/open"},
        {"wide/inner/log", "others may write to " + folder + "/wide"},
        {"none/log", "No such file or directory"}};
    if (geteuid() == 0) {
        ASSERT_EQ(chown("theirs", nobody, nobody) + chown("foreign", nobody, nobody), 0);
        cases.insert(cases.end(), {{"theirs/log", folder + "/theirs belongs to somebody else"},
                                   {"foreign", notOwn}});
    }
    for (const auto& [name, reason] : cases)
        EXPECT_EQ(platform::keepLog(folder + "/" + name, "planted"), reason) << name;
    EXPECT_EQ(contentsOf("victim") + contentsOf("foreign"), "preciousprecious");
    EXPECT_FALSE(fs::exists("open/log") || fs::exists("wide/inner/log"));
}

TEST_F(PlatformTest, TheLogDoesNotGrowForEver) {
    // A run's first line goes into a file of its own when the file has 1 MB.
    for (const auto& [size, moved] : {std::pair((1 << 20) - 1, false), {1 << 20, true}}) {
        writeFile("log", std::string(size, 'x'), 0600);
        runInChild([&] { EXPECT_EQ(platform::keepLog(folder + "/log", "first"), ""); });
        EXPECT_EQ(contentsOf("log"), (moved ? "" : std::string(size, 'x')) + "first\n");
        EXPECT_EQ(fs::exists("log.old"), moved);
    }
    EXPECT_EQ(contentsOf("log.old"), std::string(1 << 20, 'x'));
    // And what cannot be moved is emptied.
    fs::remove("log.old");
    fs::create_directory("log.old");
    writeFile("log", std::string(1 << 20, 'x'), 0600);
    runInChild([&] {
        for (const auto& [output, name] : {std::pair(STDOUT_FILENO, "out"), {STDERR_FILENO, "err"}})
            dup2(open(name, O_WRONLY | O_CREAT | O_APPEND, 0600), output);
        EXPECT_EQ(platform::keepLog(folder + "/log", "first"), "");
        platform::system(
            "head -c 8388600 /dev/zero; sleep 0.3; echo over >&2; sleep 0.3; echo out");
        std::exit(0);
    });
    EXPECT_EQ(contentsOf("err"), "over\n" + folder + "/log ends here: File too large\n");
    EXPECT_EQ(contentsOf("log"), "first\n" + std::string(8388600, '\0') + "over\n");
    EXPECT_EQ(contentsOf("out"), std::string(8388600, '\0') + "out\n");
}

TEST_F(PlatformTest, TheLastComplaintIsKept) {
    const std::string longest(400, 'y');
    const std::pair<const char*, const char*> cases[] = {
        {"echo first >&2; printf 'last\n\n' >&2; echo out", "last"},
        {"printf unended >&2", "unended"},
        {"false", ""},
        {"echo before >&2; kill -KILL $$", "Killed"},
        {"head -c 500 /dev/zero | tr '\\0' y >&2", longest.c_str()},
        {"(until [ -e go ]; do sleep 0.01; done; echo late >&2; echo $? >alive) & echo now >&2",
         "now"}};
    for (const auto& [command, complaint] : cases) {
        platform::system(command);
        EXPECT_EQ(platform::lastComplaint(), complaint) << command;
    }
    // The background process must be able to go on writing.
    writeFile("go", "");
    for (int i = 0; i < 200 && contentsOf("alive").empty(); ++i) usleep(10000);
    EXPECT_EQ(contentsOf("alive"), "0\n");
    testing::internal::CaptureStderr();
    platform::system("seq 9000 >&2; (sleep 0.2; echo late >&2) & seq 9 >&2");
    usleep(500000);
    EXPECT_EQ(outcomeOf("seq 9000; seq 9; echo late").output,
              testing::internal::GetCapturedStderr());
}

}  // namespace

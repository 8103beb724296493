#include "tests/fixtures/installing.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <functional>

#include "engine/lock.h"
#include "engine/record.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/random.h"

namespace {

// What the installer guarantees when other users, the disk or another installer work against it.
class Hostile : public Installing {
protected:
    // Makes a suite without subsystems, with its record.
    void installed() {
        suite = here / "suite";
        writeProgram(suite / "Zarn_system/bin/Zarn.install",
                     "touch \"$(dirname \"$0\")/../../ran\"");
        writeFile(suite / "Zarn_system/subsystems/models/content", "models");
        writeFile(record,
                  "# PROGRAM: Zarn-Pinnet\n# VERSION: 2.0\n# PATH:    " + suite.string() + "\n");
        ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
        KvmInstallMgr::init();
    }
};

TEST_F(Hostile, ArchiveWritesNowhereElse) {
    const fs::path victim = writeFile(here / "victim/.Zarn_inst", "precious");
    writeFile(here / "victim/Zarn.install", "", 0755);
    const fs::path system = here / "make/Zarn_system";
    const struct {
        const char* name;  // becomes a link
        const char* to;
        bool done;
    } cases[] = {{"resources/.Zarn_inst", "victim/.Zarn_inst", true},
                 {"bin/Zarn_install", "victim/.Zarn_inst", true},
                 {"resources", "victim", false},
                 {"bin", "victim", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(system / c.name);
        fs::create_symlink(here / c.to, system / c.name);
        ASSERT_EQ(chdir(here.c_str()), 0);
        pack();
        start(std::string("in/") + fs::path(c.name).filename().string(), {1});
        EXPECT_EQ(KvmInstallMgr::install(), c.done) << message();
        EXPECT_EQ(fs::exists(record), c.done);
        EXPECT_EQ(contentsOf(victim), "precious");
        EXPECT_EQ(listing(here / "victim"), ".Zarn_inst Zarn.install ");
        forget();
        fs::remove(system / c.name);
    }
}

class Spoilt : public Hostile {
protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give files away";
        Hostile::SetUp();
        brief = true;
        pack();
        fs::create_directory(here / "above");
        fs::create_directory_symlink(here / "above", here / "link");
    }

    static int remove() { return KvmInstallMgr::remove(); }

    static int removeModels() {
        mark(kviSubsystemModels, 0);
        return KvmInstallMgr::remove();
    }

    static int changeEdition() {
        mark(kviInstallCorvan, 1);
        return KvmInstallMgr::install();
    }

    auto installIn(const char* place) {
        return [=, this] {
            start(place, {});
            return KvmInstallMgr::install();
        };
    }

    auto goOver() {
        return [this] { return KvmInstallMgr::setInstallInfo((suite / "Zarn_system").c_str()); };
    }
};

TEST_F(Spoilt, SuperUserReliesOnNothingThatOthersMayWrite) {
    const fs::path system = here / "suite/Zarn_system";
    const struct {
        fs::path spoilt;
        int mode;  // 0: give it to another user instead
        std::function<int()> operation;
        std::vector<int> buttons;
    } cases[] = {
        {here / "above", 0777, installIn("above/place"), {}},
        {here / "above", 0, installIn("above/place"), {}},
        {here / "link", 0, installIn("link/place"), {}},
        {system / "bin/Zarn.install", 0775, remove, {0}},
        {system / "subsystems", 0, removeModels, {0}},
        {system, 0, changeEdition, {}},
        {system / "bin", 0757, KvmInstallMgr::installDesktop, {0}},
        {system / "bin", 0757, KvmInstallMgr::installTranslators, {0}},
        {system / "resources/.Zarn_inst", 0666, goOver(), {}},
        {record, 0620, KvmInstallMgr::getInstallInfo, {}},
        {record, 0, KvmInstallMgr::getInstallInfo, {}},
        {record, 0, installIn("place"), {}},
    };
    for (const auto& c : cases) {
        installed();
        writeFile(system / "resources/.Zarn_inst", contentsOf(record));
        constexpr gid_t daemon = 1;  // of the user of that name
        ASSERT_EQ(lchown(c.spoilt.c_str(), c.mode == 0 ? nobody : 0, daemon), 0);
        if (c.mode != 0) chmod(c.spoilt.c_str(), c.mode);
        answerWith(c.buttons);
        tell(c.spoilt, c.operation);
        ASSERT_EQ(lchown(c.spoilt.c_str(), 0, 0), 0);
        ASSERT_EQ(chmod(c.spoilt.c_str(), 0755), 0);
    }
}

TEST_F(Hostile, VanishedLocationIsNoInstallation) {
    pack();
    for (const char* last : {"tar", "mv", "cp"}) {
        SCOPED_TRACE(last);
        start(last, {});
        KvmInstallMgr::setReadFrom(KvmLocalTape);
        type(kviInstallReadText, here / "Zarn2.0.tar");
        script(last,
               std::string("PATH=/usr/bin:/bin; ") + last + " \"$@\"; rm -r " + suite.string());
        EXPECT_FALSE(KvmInstallMgr::install());
        EXPECT_NE(message(), "");
        EXPECT_FALSE(fs::exists(record) || KvmInstallMgr::isInstalled(nullptr));
        fs::remove(here / "tools" / last);
        forget();
    }
}

TEST_F(Hostile, PipesAreNeverReadFrom) {
    pack();
    ASSERT_EQ(std::system("gzip Zarn2.0.tar; mkfifo gunzip"), 0);
    ASSERT_EQ(mkfifo(record.c_str(), 0600), 0);
    brief = true;
    tell("record", KvmInstallMgr::getInstallInfo);
    keepOnly("models");
    start("suite", {1});
    install("install");
}

TEST_F(Hostile, APlaceThatSomebodyMakesMeanwhileIsLookedAtAgain) {
    pack();
    start("place", {});
    const auto meanwhile = [&](const char* heading, const std::string& command) {
        fs::remove_all(suite);
        answers.prepare({[=, this] {
            EXPECT_EQ(std::system(("cd " + folder + "; " + command).c_str()), 0);
            return answer(0)();
        }});
        install(heading);
    };
    meanwhile("subsystems", "mkdir -p place/subsystems");
    meanwhile("system", "mkdir -p place/Zarn_system");
    if (geteuid() == 0) meanwhile("others", "mkdir -m 777 place");
    fs::remove_all(suite);
    answers.prepare({[this] {
        writeFile(suite, "");
        return answer(0)();
    }});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("Can't write to disk.\nPlease select another path\n")) << message();
}

TEST_F(Hostile, DevicesAreNotCopied) {
    const fs::path device = here / "make/Zarn_system/data/disk";
    writeFile(here / "make/Zarn_system/data/file", "");
    fs::create_symlink("/dev/null", here / "make/Zarn_system/data/link");
    if (mknod(device.c_str(), S_IFBLK | 0600, makedev(7, 0)) != 0)
        GTEST_SKIP() << "only the super-user can make devices";
    start("suite", {}, KvmCdRom);
    type(kviInstallReadText, here / "make/Zarn_system");
    install("block");
    fs::remove(device);
    ASSERT_EQ(mknod(device.c_str(), S_IFCHR | 0600, makedev(1, 3)), 0);
    install("character");
    fs::remove(device);
    keepOnly("none");
    install("none");
}

TEST_F(Hostile, AnotherInstallerIsNoticedWheneverItActs) {
    pack();
    start("new/suite", {});
    fs::remove(suite);
    answers.prepare({[&] {
        writeFile(record, "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# PATH:    /elsewhere\n");
        return answer(0)();
    }});
    install("while the user thought about the new folder");
    installed();
    KvmPreparedRecord held;
    ASSERT_TRUE(held.keepOthersOff());
    answerWith({0});
    tell("remove", KvmInstallMgr::remove);
    const KvmPlaceLock lock(suite);
    tell("remove", KvmInstallMgr::remove);
}

TEST_F(Hostile, OrdinaryUsersCanNotLockTheSuperUserOut) {
    installed();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        if (becomeOrdinary()) flock(open(suite.c_str(), O_RDONLY), LOCK_EX);
        close(ends[1]);
        pause();
        _exit(0);
    }
    char end = 0;
    close(ends[1]);
    EXPECT_EQ(read(ends[0], &end, 1), 0) << "it has the lock";
    EXPECT_EQ(KvmPlaceLock(suite).held(), geteuid() == 0);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ends[0]);
}

// Tests with mounts that no other process sees.
class OwnMounts : public Hostile {
protected:
    void SetUp() override {
        if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            GTEST_SKIP() << "this needs a mount of its own";
        Hostile::SetUp();
        // The advance check of the space is not tested here, so it must pass.
        KvmInstallSubsystem[0].sizeMB = -100;
    }

    // Mounts a file system of this size at the location.
    void limit(int kilobytes) {
        const fs::path disk = here / "disk";
        fs::create_directories(disk);
        umount2(disk.c_str(), MNT_DETACH);
        const std::string size = "mode=755,size=" + std::to_string(kilobytes) + "k";
        ASSERT_EQ(mount("tmpfs", disk.c_str(), "tmpfs", 0, size.c_str()), 0);
    }

    void TearDown() override {
        umount2((here / "disk").c_str(), MNT_DETACH);
        umount2("/etc/passwd", MNT_DETACH);
        Hostile::TearDown();
    }
};

TEST_F(OwnMounts, AFullDiskIsNeverTakenForAnInstallation) {
    const std::string big(20000, 'x');
    writeFile(here / "make/Zarn_system/data", big);
    for (const char* name : {"models", "render"})
        writeFile(here / "make/subsystems" / name / "content", big);
    writeFile(here / "Zarn_install", std::string(60000, 'x'), 0755);
    pack();
    int failed = 0;
    int bare = 0;
    int whole = 0;
    for (int kilobytes = 4; whole < 2; kilobytes += 12) {
        SCOPED_TRACE(kilobytes);
        limit(kilobytes);
        start("disk", {});
        KvmInstallMgr::setReadFrom(KvmLocalTape);
        type(kviInstallReadText, here / "Zarn2.0.tar");
        const int done = KvmInstallMgr::install();
        EXPECT_EQ(fs::exists(record), done != 0);
        const fs::path copy = suite / "Zarn_system/bin/Zarn_install";
        if (done) {
            EXPECT_EQ(subsystems(), allSubsystems);
            EXPECT_EQ(contentsOf(suite / "Zarn_system/subsystems/render/content"), big);
            EXPECT_EQ(fs::exists(copy), message() == "") << message();
            ++(fs::exists(copy) ? whole : bare);
        } else {
            EXPECT_TRUE(says("No space left on device")) << message();
            ++failed;
        }
        EXPECT_TRUE(!fs::exists(copy) || fs::file_size(copy) == 60000U);
        forget();
    }
    EXPECT_GT(failed, 3);
    EXPECT_GT(bare, 2) << "the last copies were never what did not fit";
}

TEST_F(OwnMounts, APlaceThatCanOnlyBeReadIsRefused) {
    limit(100);
    pack();
    ASSERT_EQ(mount("", (here / "disk").c_str(), "", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    start("disk", {});
    install("install");
    ASSERT_EQ(mount("tmpfs", "/etc", "tmpfs", 0, nullptr), 0);
    tell("no users", KvmInstallMgr::listUsers);
    EXPECT_EQ(KvmInstallMgr::getHomeDir("root"), nullptr);
    umount2("/etc", MNT_DETACH);
    ASSERT_EQ(mount("tmpfs", "/usr/sbin", "tmpfs", 0, nullptr), 0);
    writeFile("/usr/sbin/ObjToIv", "");
    tell("translators are there", KvmInstallMgr::installTranslators);
    writeFile("/usr/sbin/gunzip", "");
    writeFile(here / "gunzip", "");
    ASSERT_EQ(std::system("gzip Zarn2.0.tar"), 0);
    KvText unpacked;
    tell("gunzip is there",
         [&] { return KvmInstallMgr::uncompress((here / "Zarn2.0.tar.gz").c_str(), unpacked); });
    EXPECT_EQ(unpacked, here / "Zarn2.0.tar");
    umount2("/usr/sbin", MNT_DETACH);
}

TEST_F(OwnMounts, AnyPasswordFileIsRead) {
    const fs::path users = writeFile(here / "passwd", "");
    ASSERT_EQ(mount(users.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
    std::string lines = "ann:x:1:1::/home/ann:/bin/sh\nno line\nbob:x:3:3::/bob\n";
    for (const char* account :
         {"sysadm", "diag", "daemon", "bin", "uucp", "sys", "adm", "lp", "nuucp", "nobody", "lpr"})
        lines += std::string(account) + ":x:2:2::/:\n";
    writeFile(users, lines);
    EXPECT_EQ(KvmInstallMgr::listUsers(), 1);
    XmStringTable items = nullptr;
    int count = 0;
    XtVaGetValues(kviInstallUserList, XmNitems, &items, XmNitemCount, &count, nullptr);
    ASSERT_EQ(count, 2);
    EXPECT_TRUE(written(items[0]).ends_with(":ann") && written(items[1]).ends_with(":bob"));
    EXPECT_TRUE(KvmInstallMgr::selectUser("ann"));
    EXPECT_EQ(fieldText(kviInstallIconPath), "/home/ann");
    for (const char* unknown : {"an", "bob", "no line"})
        EXPECT_FALSE(KvmInstallMgr::selectUser(unknown)) << unknown;
    for (RandomTexts random{60, {":", "::x:", "\nlp:x:1:1:::"}}; random.next();) {
        const std::string home = "/" + random.draw(900, ":\n");
        writeFile(users, random.text + "\nann:x:1:1:Ann:" + home + ":/bin/sh\nlp:");
        EXPECT_EQ(KvmInstallMgr::listUsers(), 1);
        EXPECT_STREQ(KvmInstallMgr::getHomeDir("ann"), home.c_str());
        KvmInstallMgr::getHomeDir(random.draw(20).c_str());
    }
}

}  // namespace

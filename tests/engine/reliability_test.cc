#include <gtest/gtest.h>  // before X.h, whose macros break it

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
class UnderAttack : public Installing {};

TEST_F(UnderAttack, ArchiveWritesNowhereElse) {
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

TEST_F(UnderAttack, VanishedLocationIsNoInstallation) {
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

TEST_F(UnderAttack, AnotherInstallerIsNoticedInAPlace) {
    installBare();
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    const KvmPlaceLock lock(suite);
    for (const auto operation : {KvmInstallMgr::install, KvmInstallMgr::remove}) {
        EXPECT_FALSE(operation());
        EXPECT_EQ(acknowledge(), KvuFormat("Another Zarn_install (process %d) is at work in this "
                                           "location.",
                                           getpid()));
    }
}

TEST_F(UnderAttack, OrdinaryUsersCannotLockTheSuperUserOut) {
    installBare();
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
class OwnMounts : public UnderAttack {
protected:
    void SetUp() override {
        if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            GTEST_SKIP() << "this needs a mount of its own";
        UnderAttack::SetUp();
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
        UnderAttack::TearDown();
    }
};

TEST_F(OwnMounts, AFullDiskNeverCountsAsAnInstallation) {
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

TEST_F(OwnMounts, WhatTheMachineHasOrLacksIsNoticed) {
    limit(100);
    pack();
    ASSERT_EQ(mount("", (here / "disk").c_str(), "", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    start("disk", {});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_EQ(acknowledge(),
              "Can't write to disk.\nPlease select another path\nRead-only file system");
    ASSERT_EQ(mount("tmpfs", "/etc", "tmpfs", 0, nullptr), 0);
    EXPECT_EQ(KvmInstallMgr::getHomeDir("root"), nullptr);
    umount2("/etc", MNT_DETACH);
    EXPECT_EQ(acknowledge(),
              "Could not open /etc/passwd system file.\nAre you running as super-user?");
    ASSERT_EQ(mount("tmpfs", "/usr/sbin", "tmpfs", 0, nullptr), 0);
    for (const char* name : {"ObjToIv", "gunzip"}) writeFile(fs::path("/usr/sbin") / name, "kept");
    EXPECT_TRUE(KvmInstallMgr::installTranslators()) << "they are there";
    writeFile(here / "gunzip", "");
    ASSERT_EQ(std::system(("gzip " + folder + "/Zarn2.0.tar").c_str()), 0);
    KvText unpacked;
    EXPECT_TRUE(KvmInstallMgr::uncompress((here / "Zarn2.0.tar.gz").c_str(), unpacked));
    EXPECT_EQ(unpacked, here / "Zarn2.0.tar");
    EXPECT_EQ(contentsOf("/usr/sbin/gunzip"), "kept");
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

#include "tests/fixtures/installing.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <functional>

#include "engine/record.h"
#include "support/KvuCommand.h"
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

    // Back to the state in which nothing has been installed.
    void forget() const {
        if (message() != "") acknowledge();
        for (const char* end : {"", ".part"}) fs::remove(record.string() + end);
        KvmForgetRecord();
    }

    const fs::path record = here / "home/.Zarn_inst";
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

TEST_F(Hostile, SuperUserReliesOnNothingThatOthersMayWrite) {
    if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give files away";
    fs::create_directory(here / "above");
    fs::create_directory_symlink(here / "above", here / "link");
    ASSERT_EQ(lchown((here / "link").c_str(), nobody, nobody), 0);
    pack();
    installed();
    const auto installIn = [&](const char* place) {
        return [=, this] {
            start(place, {});
            return KvmInstallMgr::install();
        };
    };
    const auto remove = [&] {
        answerWith({0});
        return KvmInstallMgr::remove();
    };
    const auto removeModels = [&] {
        mark(kviSubsystemModels, 0);
        return remove();
    };
    const auto change = [&] {
        mark(kviInstallCorvan, 1);
        return KvmInstallMgr::install();
    };
    const auto desktop = [&] {
        answerWith({0});
        return KvmInstallMgr::installDesktop();
    };
    const auto goOver = [&] {
        return KvmInstallMgr::setInstallInfo((suite / "Zarn_system").c_str());
    };
    const gid_t daemon = 1;  // of the user of that name
    const fs::path system = here / "suite/Zarn_system";
    writeFile(system / "bin/Zarn.installDesktop", "#!/bin/sh\n", 0755);
    writeFile(system / "resources/.Zarn_inst", contentsOf(record));
    const struct {
        fs::path spoilt;
        int mode;  // 0: give it to another user instead
        std::function<int()> operation;
    } cases[] = {
        {here / "above", 0777, installIn("above/place")},
        {here / "above", 0, installIn("above/place")},
        {here / "link", 0, installIn("link/place")},
        {system / "bin/Zarn.install", 0775, remove},
        {system / "subsystems", 0, removeModels},
        {system, 0, change},
        {system / "bin", 0757, desktop},
        {system / "resources/.Zarn_inst", 0666, goOver},
        {record, 0620, KvmInstallMgr::getInstallInfo},
        {record, 0, KvmInstallMgr::getInstallInfo},
        {record, 0, installIn("place")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spoilt.native() + " " + std::to_string(c.mode));
        installed();
        ASSERT_EQ(lchown(c.spoilt.c_str(), c.mode == 0 ? nobody : 0, daemon), 0);
        if (c.mode != 0) chmod(c.spoilt.c_str(), c.mode);
        EXPECT_FALSE(c.operation());
        EXPECT_EQ(message().find("Not only the super-user may write to\n" + c.spoilt.string()), 0U)
            << message();
        EXPECT_TRUE(fs::exists(record) && fs::exists(system / "subsystems/models/content"));
        EXPECT_FALSE(fs::exists(here / "suite/ran") || fs::exists(suite / "Zarn_system/data"));
        if (message() != "") acknowledge();
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
        XmTextFieldSetString(kviInstallReadText, (here / "Zarn2.0.tar").string().data());
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
    ASSERT_EQ(std::system("gzip Zarn2.0.tar; rm Zarn_install; mkfifo gunzip Zarn_install pipe"), 0);
    ASSERT_EQ(mkfifo(record.c_str(), 0600), 0);
    EXPECT_FALSE(KvmInstallMgr::getInstallInfo());
    start("suite", {});
    for (const int medium : {KvmLocalTape, KvmRemoteTape}) {
        KvmInstallMgr::setReadFrom(medium);
        XmTextFieldSetString(kviInstallReadText, (here / "pipe").string().data());
        EXPECT_FALSE(KvmInstallMgr::install());
        EXPECT_TRUE(says("is neither a device nor a file")) << message();
        acknowledge();
    }
    start("suite", {1});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_TRUE(says("the copy of the installer into the product tree.\n")) << message();
    EXPECT_TRUE(fs::is_regular_file(record));
}

TEST_F(Hostile, ARecordWithoutAPlaceSpeaksForNone) {
    fs::create_directories(here / "home/Zarn_system");
    for (const char* text : {"", "# PROGRAM: Zarn-Pinnet\n# VERSION: 2.0\n# PATH:\n", "\xff\n"}) {
        writeFile(record, text);
        EXPECT_FALSE(KvmInstallMgr::getInstallInfo());
        EXPECT_EQ(message(), "This is no installation record of Zarn:\n" + record.string());
        acknowledge();
        EXPECT_TRUE(fs::exists(record));
    }
}

TEST_F(Hostile, APlaceThatSomebodyMakesMeanwhileIsLookedAtAgain) {
    if (geteuid() != 0) GTEST_SKIP() << "only the super-user can give files away";
    pack();
    start("place", {});
    fs::remove(suite);
    answers.prepare({[&] {
        fs::create_directory(suite);
        EXPECT_EQ(chmod(suite.c_str(), 0777), 0);
        return answer(0)();
    }});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("Not only the super-user may write to")) << message();
    EXPECT_TRUE(fs::is_empty(suite) && !fs::exists(record.string() + ".part"));
}

TEST_F(Hostile, DevicesAreNotCopied) {
    const fs::path device = here / "make/Zarn_system/data/disk";
    writeFile(here / "make/Zarn_system/data/file", "");
    if (mknod(device.c_str(), S_IFBLK | 0600, makedev(7, 0)) != 0)
        GTEST_SKIP() << "only the super-user can make devices";
    start("suite", {});
    KvmInstallMgr::setReadFrom(KvmCdRom);
    XmTextFieldSetString(kviInstallReadText, (here / "make/Zarn_system").string().data());
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says(device.string() + "\nis a device.")) << message();
    EXPECT_TRUE(fs::is_empty(suite));
}

TEST_F(Hostile, AnotherInstallerIsNoticedWheneverItActs) {
    pack();
    start("new/suite", {});
    fs::remove(suite);
    const std::string other = "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# PATH:    /elsewhere\n";
    answers.prepare({[&] {
        writeFile(record, other);
        return answer(0)();
    }});
    EXPECT_FALSE(KvmInstallMgr::install()) << "while the user thought about the new folder";
    EXPECT_TRUE(says("The installation record has changed")) << message();
    EXPECT_EQ(contentsOf(record), other);
    EXPECT_FALSE(fs::exists(suite) || fs::exists(record.string() + ".part"));
    acknowledge();

    installed();
    KvmPreparedRecord held;
    ASSERT_TRUE(held.keepOthersOff());
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_TRUE(says(KvuFormat("Another Zarn_install (process %d) is at work", getpid())))
        << message();
    EXPECT_TRUE(fs::exists(suite / "Zarn_system"));
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
        XmTextFieldSetString(kviInstallReadText, (here / "Zarn2.0.tar").string().data());
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

TEST_F(OwnMounts, AnyPasswordFileIsRead) {
    const fs::path users = writeFile(here / "passwd", "");
    ASSERT_EQ(mount(users.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
    for (RandomTexts random{60, {":", "::x:", "\nlp:x:1:1:::"}}; random.next();) {
        const std::string home = "/" + random.draw(900, ":\n");
        writeFile(users, random.text + "\nann:x:1:1:Ann:" + home + ":/bin/sh\nlp:");
        EXPECT_EQ(KvmInstallMgr::listUsers(), 1);
        EXPECT_STREQ(KvmInstallMgr::getHomeDir("ann"), home.c_str());
        KvmInstallMgr::getHomeDir(random.draw(20).c_str());
    }
}

}  // namespace

#include <gtest/gtest.h>  // before X.h, whose macros break it

#include <sys/resource.h>
#include "engine/record.h"

#include <csignal>
#include <utility>

#include "engine/archives.h"
#include "support/KvuCommand.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/window.h"

namespace {

class Record : public InstallerWindow {
protected:
    // Makes a suite in the folder `name`, with a record that names the suite in `path`.
    std::string tree(const std::string& name, const fs::path& path) const {
        std::string system = here / name / "Zarn_system";
        writeFile(system + "/resources/.Zarn_inst",
                  "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# DATE:    long ago\n# PATH:    " +
                      path.string() + "\n# HOST:    crane\n");
        return system;
    }

    const fs::path own = here / "home/.Zarn_inst";
};

TEST_F(Record, TakesTheLinesItKnows) {
    fs::create_directories(here / "suite/Zarn_system");
    const std::string path = "# PATH:    " + (here / "suite").string() + "\n";
    const struct {
        const char* lines;
        const char* version;
        int product;
    } cases[] = {
        {"# VERSION: 1.7\n# PROGRAM: Zarn-Ambrel\n", "1.7", 3},
        {"#\tVERSION:\t1.7\t2.0\n# PROGRAM: Zarn-Nobody\n", "1.7", 1},
        {"VERSION: 1.7\n#VERSION: 1.7\n# version: 1.7\n## VERSION: 1.7\n\n# VERSION:\n", "old", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines);
        KvmInstallMgr::_info = {};
        KvmInstallMgr::_info.product = 1;
        ASSERT_TRUE(KvCopyText(KvmInstallMgr::_info.version, "old"));
        writeFile(own, c.lines + path);
        EXPECT_TRUE(KvmInstallMgr::getInstallInfo());
        EXPECT_STREQ(KvmInstallMgr::_info.version, c.version);
        EXPECT_EQ(KvmInstallMgr::_info.product, c.product);
    }
}

TEST_F(Record, IsAWholeRegularFileOrNone) {
    const std::string part = own.string() + ".part";
    const std::string cantWrite = "Can't write out info file " + own.string();
    fs::create_symlink(here / "planted", part);
    EXPECT_FALSE(KvmPreparedRecord().prepare(here));
    EXPECT_EQ(acknowledge(), cantWrite + "\nToo many levels of symbolic links");
    fs::remove(part);
    fs::create_symlink(here / "planted", own);
    fs::create_directory(here / "Zarn_system");
    {
        KvmPreparedRecord record;
        EXPECT_TRUE(record.prepare(here));
        EXPECT_EQ(KvmUnfinishedPlace(), "") << "somebody is at work there";
        for (const bool prepares : {true, false}) {
            KvmPreparedRecord other;
            EXPECT_FALSE(prepares ? other.prepare(here) : other.keepOthersOff());
            EXPECT_EQ(acknowledge(), KvuFormat("Another Zarn_install (process %d) is at work at "
                                               "this moment.",
                                               getpid()));
        }
        EXPECT_EQ(fs::status(part).permissions(), fs::perms(0600));
    }
    EXPECT_EQ(KvmUnfinishedPlace(), folder);
    {
        KvmPreparedRecord record;
        EXPECT_TRUE(record.prepare(here) && record.putInPlace());
    }
    EXPECT_EQ(fs::symlink_status(own).permissions(), fs::perms(0644));
    EXPECT_FALSE(fs::exists(here / "planted") || fs::exists(part));
    fs::remove(own);
    {
        KvmPreparedRecord record;
        EXPECT_TRUE(record.keepOthersOff());
        EXPECT_TRUE(fs::exists(part));
    }
    EXPECT_FALSE(fs::exists(part)) << "it was not needed";
    fs::remove_all(here / "home");
    EXPECT_FALSE(KvmPreparedRecord().canBePrepared());
    EXPECT_EQ(acknowledge(), cantWrite + "\nNo such file or directory");
}

TEST_F(Record, ThatDoesNotFitIsNotPrepared) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    // As on a full disk, no byte can be written, or only a few.
    for (const auto& [bytes, reason] :
         {std::pair<rlim_t, std::string>{0, "File too large"}, {20, "No space left on device"}}) {
        const rlimit limit{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_FALSE(KvmPreparedRecord().prepare(here));
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(acknowledge(), "Can't write out info file " + own.string() + "\n" + reason);
        EXPECT_FALSE(fs::exists(own.string() + ".part"));
    }
}

TEST_F(Record, OfAUserWithoutAHomeIsNotInTheWorkingDirectory) {
    const std::string home = outcomeOf("HOME=; eval echo ~$(whoami)").output;
    setenv("HOME", ".", 1);
    EXPECT_EQ(KvmHome() + "\n", home);
    unsetenv("HOME");
    EXPECT_EQ(KvmHome() + "\n", home);
    script("id", "echo ann");
    setenv("HOME", ("/" + std::string(1020, 'x')).c_str(), 1);
    testing::internal::CaptureStderr();
    KvmInstallMgr::checkIfRoot();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "The path of the installation record is too long: /" + std::string(1020, 'x') +
                  "/.Zarn_inst\n");
    EXPECT_STREQ(KvmInstallMgr::_infoFile, "") << "another path would be another file";
}

TEST_F(Record, OfAnyTextAndArchivesOfAnyNameAreRead) {
    const std::string suite = here / "suite";
    const std::string system = tree("suite", suite);
    for (RandomTexts random{60, {"\n# VERSION", ":\n# PATH", "\n# ", "tar "}}; random.next();) {
        const std::string version = "1" + random.draw(900, " \t\n");
        std::string lines = random.text;
        lines.append("\n# PROGRAM: Zarn-Corvan\n# VERSION: ").append(version);
        lines.append("\n##").append(random.draw(900, "\n")).append("\n# PATH: ");
        lines.append(suite).append("\n");
        fs::remove(own);
        for (const std::string& record : {own.string() + ".part", system + "/resources/.Zarn_inst"})
            writeFile(record, lines);
        EXPECT_EQ(KvmUnfinishedPlace(), suite);
        writeFile(own, lines);
        EXPECT_TRUE(KvmInstallMgr::getInstallInfo());
        EXPECT_EQ(KvmInstallMgr::_info.version, version);
        EXPECT_TRUE(KvmInstallMgr::setInstallInfo(system.c_str()));
        EXPECT_TRUE(KvCopyText(KvmInstallMgr::_infoFile, own.native()));
        const std::string name = writeFile(here / (random.draw(99, "\"\n/#") + "Zarn2.0tar"), "");
        bool all = false;
        const auto found = KvmLocateArchives(KvmArchiveNames().c_str(), all);
        EXPECT_TRUE(all && found.size() == 1 && found[0].path == name) << name;
        EXPECT_TRUE(KvmLocateArchives(random.draw(60).c_str(), all).empty());
        fs::remove(name);
        // Motif itself leaks memory when a box shows several messages.
        if (message() != "") acknowledge();
    }
}

}  // namespace

#include "tests/fixtures/transcript.h"

#include "engine/archives.h"
#include "engine/record.h"
#include "engine/session.h"
#include "tests/fixtures/random.h"

namespace {

class Record : public Transcript {
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

TEST_F(Record, IsReadBackAsItWasWritten) {
    // Every kind of shell metacharacter, but no blank.
    const std::string place = here / "a'b\"c$(d)`e`;f&g";
    fs::create_directories(place + "/Zarn_system/subsystems/render");
    KvmInstallMgr::_info.product = 2;
    {
        KvmPreparedRecord record;
        ASSERT_TRUE(record.prepare(place));
        tell("in place", [&] { return record.putInPlace(); });
    }
    story += neutral(contentsOf(own));
    KvmInstallMgr::_info = {};
    tell("read", KvmInstallMgr::getInstallInfo);
    EXPECT_EQ(KvmInstallMgr::_info.product, 2);
    EXPECT_EQ(KvmInstallMgr::getPath(), place);
    EXPECT_STREQ(KvmInstallMgr::_info.version, "2.0");
    EXPECT_TRUE(holds(contentsOf(own), KvmInstallMgr::_info.date));
    EXPECT_TRUE(KvmInstallMgr::isRunningOnServer());
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        EXPECT_EQ(row.installed && row.selected, std::string(row.directory) == "render")
            << row.label;
}

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

TEST_F(Record, SpeaksOnlyForWhatIsThere) {
    writeFile(here / "file", "");
    const std::string texts[] = {"", "# PROGRAM: Zarn-Pinnet\n# VERSION: 2.0\n# PATH:\n",
                                 "# PATH:    /nowhere\n", "# PATH:    " + folder + "/file\n",
                                 "# PATH:    " + folder + "/loop\n"};
    fs::create_symlink("loop", here / "loop");
    for (const std::string& text : texts) {
        writeFile(own, text);
        tell(text.substr(0, text.find('\n')), [] {
            return KvmInstallMgr::getInstallInfo() != 0 ? 2 : KvmRecordIsAsSeen() ? 1 : 0;
        });
    }
    fs::remove(own);
    writeFile(own / "precious", "kept");
    tell("a folder", KvmInstallMgr::getInstallInfo);
}

TEST_F(Record, IsAWholeRegularFileOrNone) {
    fs::create_symlink(here / "planted", own.string() + ".part");
    tell("prepared", [this] { return KvmPreparedRecord().prepare(here); });
    fs::remove(own.string() + ".part");
    fs::create_symlink(here / "planted", own);
    KvmPreparedRecord record;
    tell("prepared", [&] { return record.prepare(here); });
    tell("another", [this] { return KvmPreparedRecord().prepare(here); });
    tell("another", [] { return KvmPreparedRecord().keepOthersOff(); });
    fs::create_directory(here / "Zarn_system");
    EXPECT_EQ(KvmUnfinishedPlace(), "") << "somebody is at work there";
    tell("in place", [&] { return record.putInPlace(); });
    fs::remove(own);
    fs::create_directory(own);
    tell("a folder", [] { return KvmPreparedRecord().canBePrepared(); });
    fs::remove_all(here / "home");
    tell("no home", [] { return KvmPreparedRecord().canBePrepared(); });
}

TEST_F(Record, OfAUserWithoutAHomeIsNotInTheWorkingDirectory) {
    const std::string home = outcomeOf("HOME=; eval echo ~$(whoami)").output;
    setenv("HOME", ".", 1);
    EXPECT_EQ(KvmHome() + "\n", home);
    unsetenv("HOME");
    EXPECT_EQ(KvmHome() + "\n", home);
}

TEST_F(Record, OfATreeIsTakenOverOrChangesNothing) {
    tree("original", here / "original");
    const auto go = [&](const std::string& location) {
        tell(location, [&] { return KvmInstallMgr::setInstallInfo(location.c_str()); });
    };
    go(here / "home");
    go(tree("moved", here / "gone"));
    go(tree("copy", here / "original"));
    go("/" + std::string(990, 'x') + "/Zarn_system");
    EXPECT_FALSE(
        KvmInstallMgr::setInstallInfo(("/" + std::string(989, 'x') + "/Zarn_system").c_str()));
    EXPECT_TRUE(message().starts_with("Could not find")) << "it would fit";
    for (const char* text : {"", "# PROGRAM: Other\n# VERSION: 2.0\n", "# PROGRAM: Zarn-Pinnet\n",
                             "# PROGRAM: Zarn-Pinnet\n# VERSION: 2\n"}) {
        writeFile(here / "none/Zarn_system/resources/.Zarn_inst", text);
        go(here / "none/Zarn_system");
    }
    EXPECT_EQ(KvmInstallMgr::_infoFile, own) << "an installation must not be recorded there";
    EXPECT_STREQ(KvmInstallMgr::getProductCode(), "PNT");
    EXPECT_FALSE(KvmInstallMgr::isInstalled(nullptr));
    go(tree("suite", here / "suite") + "/");
    EXPECT_EQ(KvmInstallMgr::_infoFile, here / "suite/Zarn_system/resources/.Zarn_inst");
    EXPECT_FALSE(KvmInstallMgr::isRunningOnServer());
    fs::create_directory(here / "original/Zarn_system/subsystems");
    fs::create_directory(here / "original/Zarn_system/subsystems/src");
    go("original/Zarn_system");
    EXPECT_EQ(KvmInstallMgr::_infoFile, here / "original/Zarn_system/resources/.Zarn_inst");
    EXPECT_EQ(KvmInstallMgr::_info.path, here / "original");
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

TEST_F(Record, OfATreeIsLeftBehindWithItsTree) {
    KvmInstallMgr::checkIfRoot();
    const std::string system = tree("suite", here / "suite");
    writeProgram(system + "/bin/Zarn.install", "[ $1 != -r ] || exec rm -r \"$2\"");
    writeFile(own, contentsOf(system + "/resources/.Zarn_inst"));
    KvmForgetRecord();
    ASSERT_TRUE(KvmInstallMgr::setInstallInfo(system.c_str()));
    getHostName(KvmInstallMgr::_info.installHostname);
    mark(kviInstallLustrel, 1);
    tell("changed", KvmInstallMgr::install);
    EXPECT_EQ(contentsOf(own), contentsOf(system + "/resources/.Zarn_inst"));
    answerWith({0});
    tell("removed", KvmInstallMgr::remove);
    EXPECT_EQ(KvmInstallMgr::_infoFile, own) << "the next installation is recorded there";
}

}  // namespace

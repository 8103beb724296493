#include "tests/fixtures/window.h"

#include "engine/archives.h"
#include "engine/record.h"
#include "tests/fixtures/random.h"

namespace {

class Record : public InstallerWindow {
protected:
    // Reads a record with these lines, which lies in a place with a suite.
    int readBack(const std::string& lines) {
        writeFile(here / "home/.Zarn_inst", lines);
        return KvmInstallMgr::getInstallInfo();
    }
};

TEST_F(Record, IsReadBackAsItWasWritten) {
    // Every kind of shell metacharacter, but no blank.
    const std::string place = here / "a'b\"c$(d)`e`;f&g";
    fs::create_directories(place + "/Zarn_system/subsystems/render");
    KvmInstallMgr::_info.product = 2;
    {
        KvmPreparedRecord record;
        ASSERT_TRUE(record.prepare(place) && record.putInPlace());
    }
    const std::string text = contentsOf(here / "home/.Zarn_inst");
    EXPECT_EQ(text.find("# DO NOT MODIFY THIS FILE MANUALLY\n# \n# PROGRAM: Zarn-Lustrel\n# \n"
                        "# VERSION: 2.0\n# DATE:    "),
              0U)
        << text;
    EXPECT_NE(text.find("\n# PATH:    " + place + "\n# HOST:    "), std::string::npos) << text;
    KvmInstallMgr::_info = {};
    ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
    EXPECT_EQ(KvmInstallMgr::_info.product, 2);
    EXPECT_EQ(KvmInstallMgr::_info.path, place);
    EXPECT_STREQ(KvmInstallMgr::_info.version, "2.0");
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
        EXPECT_TRUE(readBack(c.lines + path));
        EXPECT_STREQ(KvmInstallMgr::_info.version, c.version);
        EXPECT_EQ(KvmInstallMgr::_info.product, c.product);
    }
}

TEST_F(Record, OfASuiteThatIsGoneIsDeleted) {
    EXPECT_FALSE(readBack("# PATH:    /nowhere\n"));
    EXPECT_EQ(message(),
              "Could not locate Zarn system files in\npreviously installed Zarn system "
              "location:\n/nowhere");
    EXPECT_FALSE(fs::exists(here / "home/.Zarn_inst"));
}

TEST_F(Record, IsAWholeRegularFileOrNone) {
    writeFile(here / "home/.Zarn_inst/precious", "kept");
    EXPECT_FALSE(KvmInstallMgr::getInstallInfo());
    EXPECT_EQ(fs::remove_all(here / "home/.Zarn_inst"), 2U) << "it was no record";
    fs::create_symlink(here / "planted", here / "home/.Zarn_inst.part");
    EXPECT_FALSE(KvmPreparedRecord().prepare(here));
    EXPECT_FALSE(fs::exists(here / "planted"));
    fs::remove(here / "home/.Zarn_inst.part");
    fs::create_symlink(here / "planted", here / "home/.Zarn_inst");
    KvmPreparedRecord record;
    EXPECT_TRUE(record.prepare(here) && record.putInPlace());
    EXPECT_FALSE(fs::is_symlink(here / "home/.Zarn_inst") || fs::exists(here / "planted"));
}

class TreeRecord : public Record {
protected:
    // Makes a suite in the folder `name`, with a record that names the suite in `path`.
    std::string tree(const std::string& name, const fs::path& path) const {
        std::string system = here / name / "Zarn_system";
        writeFile(system + "/resources/.Zarn_inst",
                  "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# PATH:    " + path.string() +
                      "\n# HOST:    crane\n");
        return system;
    }
};

TEST_F(TreeRecord, TakesOver) {
    const std::string system = tree("suite", here / "suite");
    EXPECT_TRUE(KvmInstallMgr::setInstallInfo((system + "/").c_str()));
    EXPECT_EQ(KvmInstallMgr::_infoFile, system + "/resources/.Zarn_inst");
    EXPECT_EQ(textOf(kviInstallSystemMsg),
              "Zarn-Corvan Version 2.0 is currently installed on 'crane'");
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonRemove));
    EXPECT_FALSE(KvmInstallMgr::isRunningOnServer());
}

TEST_F(TreeRecord, OfNoEditionIsRefused) {
    const std::string system = tree("suite", here / "suite");
    for (const char* text :
         {"", "# PROGRAM: Other\n# VERSION: 2.0\n", "# PROGRAM: Zarn-Pinnet\n"}) {
        writeFile(system + "/resources/.Zarn_inst", text);
        EXPECT_FALSE(KvmInstallMgr::setInstallInfo(system.c_str())) << text;
    }
}

TEST_F(Record, OfAUserWithoutAHomeIsNotInTheWorkingDirectory) {
    setenv("HOME", ".", 1);
    EXPECT_EQ(KvmHome()[0], '/');
}

TEST_F(TreeRecord, IsFoundFromAnywhere) {
    tree("suite", here / "suite");
    EXPECT_TRUE(KvmInstallMgr::setInstallInfo("suite/Zarn_system"));
    EXPECT_EQ(KvmInstallMgr::_infoFile, here / "suite/Zarn_system/resources/.Zarn_inst");
    EXPECT_EQ(KvmInstallMgr::_info.path, here / "suite");
}

TEST_F(TreeRecord, ThatDoesNotSpeakForItsTreeChangesNothing) {
    const std::string own = KvmInstallMgr::_infoFile;
    tree("original", here / "original");
    const struct {
        std::string location;
        const char* says;
    } cases[] = {
        {here / "home", "Could not find an installed Zarn system"},
        {tree("moved", here / "gone"), "Could not locate Zarn system files in\n"},
        {tree("copy", here / "original"), "is a copy. The installed one is in "},
        {"/" + std::string(1015, 'x') + "/Zarn_system", "is too long"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        EXPECT_FALSE(KvmInstallMgr::setInstallInfo(c.location.c_str()));
        EXPECT_NE(message().find(c.says), std::string::npos) << message();
        EXPECT_EQ(KvmInstallMgr::_infoFile, own) << "an installation must not be recorded there";
        EXPECT_STREQ(KvmInstallMgr::getProductCode(), "PNT");
        EXPECT_TRUE(XmToggleButtonGetState(kviInstallPinnet));
        EXPECT_FALSE(KvmInstallMgr::isInstalled(nullptr));
    }
    EXPECT_TRUE(fs::exists(here / "moved/Zarn_system/resources/.Zarn_inst"));
}

TEST_F(TreeRecord, OfAnyTextAndArchivesOfAnyNameAreRead) {
    const std::string own = KvmInstallMgr::_infoFile, suite = here / "suite";
    const std::string system = tree("suite", suite);
    for (RandomTexts random{60, {"\n# VERSION", ":\n# PATH", "\n# ", "tar "}}; random.next();) {
        const std::string version = "1" + random.draw(900, " \t\n");
        std::string lines = random.text;
        lines.append("\n# PROGRAM: Zarn-Corvan\n# VERSION: ").append(version);
        lines.append("\n##").append(random.draw(900, "\n")).append("\n# PATH: ");
        lines.append(suite).append("\n");
        fs::remove(own);
        for (const std::string& record : {own + ".part", system + "/resources/.Zarn_inst"})
            writeFile(record, lines);
        EXPECT_EQ(KvmUnfinishedPlace(), suite);
        writeFile(own, lines);
        EXPECT_TRUE(KvmInstallMgr::getInstallInfo());
        EXPECT_EQ(KvmInstallMgr::_info.version, version);
        EXPECT_TRUE(KvmInstallMgr::setInstallInfo(system.c_str()));
        EXPECT_TRUE(KvCopyText(KvmInstallMgr::_infoFile, own));
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

TEST_F(TreeRecord, IsLeftBehindWithItsTree) {
    script("id", "echo 'uid=1000(ann) gid=1000(ann)'");
    KvmInstallMgr::checkIfRoot();
    const std::string own = KvmInstallMgr::_infoFile;
    const std::string system = tree("suite", here / "suite");
    writeProgram(system + "/bin/Zarn.install", "exec rm -r \"$2\"");
    writeFile(own, "# PATH:    " + (here / "suite").string() + "\n");
    KvmForgetRecord();
    ASSERT_TRUE(KvmInstallMgr::setInstallInfo(system.c_str()));
    EXPECT_TRUE(KvmInstallMgr::removeAll());
    EXPECT_FALSE(fs::exists(system));
    EXPECT_EQ(KvmInstallMgr::_infoFile, own) << "the next installation is recorded there";
    EXPECT_FALSE(fs::exists(own)) << "it named the suite that is gone";
}

}  // namespace

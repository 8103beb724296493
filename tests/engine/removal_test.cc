#include "tests/fixtures/window.h"

#include "engine/record.h"

namespace {

// A suite with three subsystems, read from its record.
class Removing : public InstallerWindow {
protected:
    void SetUp() override {
        InstallerWindow::SetUp();
        tree = here / "suite/Zarn_system";
        for (const char* name : {"textures", "models", "render"})
            writeFile(tree / "subsystems" / name / "content", name);
        writeProgram(tree / "bin/Zarn.install", "[ \"$1\" = -r ] && rm -rf \"$2\"");
        writeFile(here / "home/.Zarn_inst", "# PROGRAM: Zarn-Ambrel\n# VERSION: 2.0\n# PATH:    " +
                                                (here / "suite").string() + "\n");
        ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
        KvmInstallMgr::init();
    }

    [[nodiscard]] bool has(const char* name) const {
        return fs::exists(tree / "subsystems" / name);
    }

    fs::path tree;
};

TEST_F(Removing, NeverFollowsALink) {
    writeFile(here / "elsewhere/textures/content", "kept");
    fs::remove_all(tree / "subsystems/textures");
    fs::create_directory_symlink(here / "elsewhere/textures", tree / "subsystems/textures");
    mark(kviSubsystemTextures, 0);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_FALSE(fs::is_symlink(tree / "subsystems/textures"));
    acknowledge();

    fs::rename(tree / "subsystems", here / "outside");
    fs::create_directory_symlink(here / "outside", tree / "subsystems");
    mark(kviSubsystemModels, 0);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_EQ(message(),
              "Error: could not remove subsystem \"Clip art - Models\"\nNot a directory");
    EXPECT_TRUE(fs::exists(here / "outside/models/content"));
    EXPECT_TRUE(fs::exists(here / "elsewhere/textures/content"));
}

TEST_F(Removing, EndsWhenTheQuestionIsClosed) {
    mark(kviSubsystemModels, 0);
    answers.prepare({closeBox});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_TRUE(has("models"));
}

TEST_F(Removing, ThatFailsLeavesWindowAndDiskAgreed) {
    script("rm", "exit 1");
    mark(kviSubsystemModels, 0);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_TRUE(fs::exists(tree / "subsystems/models"));
    EXPECT_TRUE(KvmInstallSubsystem[3].installed && KvmInstallSubsystem[3].selected);
    EXPECT_TRUE(XmToggleButtonGetState(kviSubsystemModels));
    EXPECT_EQ(colourOf(kviSubsystemModels), "#000000");

    fs::remove(here / "tools/rm");
    writeProgram(tree / "bin/Zarn.install", "exit 1");
    answerWith({0, 0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message(), "Can't remove " + tree.string());
    EXPECT_TRUE(KvmInstallMgr::_info.installed);

    writeProgram(tree / "bin/Zarn.install", "exit 0");
    answerWith({0, 0});
    EXPECT_TRUE(KvmInstallMgr::remove());
    EXPECT_NE(message().find("left this behind:\n" + tree.string()), std::string::npos);
    EXPECT_EQ(KvmUnfinishedPlace(), tree.parent_path());
}

TEST_F(Removing, GoesByTheRecordAndByWhatTheUserSaid) {
    writeFile(here / "home/Zarn-Ambrel", "");
    writeFile(here / "home/Zarn-Corvan", "not ours");
    mark(kviInstallCorvan, 1);
    writeFile(here / "home/.zarnRunning", "");
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_NE(message().find((here / "home/.zarnRunning").string()), std::string::npos);
    acknowledge();
    fs::remove(here / "home/.zarnRunning");

    mark(kviSubsystemModels, 0);
    for (const std::vector<int>& buttons : {std::vector<int>{0, 1}, {0, 1}}) {
        answerWith(buttons);
        KvmInstallMgr::remove();
        EXPECT_TRUE(KvmInstallMgr::_info.subsystemsRemoved) << "what was declined is still marked";
    }
    fs::permissions(tree / "bin/Zarn.install", fs::perms(0644));
    answerWith({1, 0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_TRUE(fs::exists(here / "home/.Zarn_inst")) << "without its script the tree would stay";
    acknowledge();
    fs::permissions(tree / "bin/Zarn.install", fs::perms(0755));
    answerWith({1, 0});
    EXPECT_TRUE(KvmInstallMgr::remove()) << message();
    EXPECT_FALSE(fs::exists(here / "home/Zarn-Ambrel"));
    EXPECT_TRUE(fs::exists(here / "home/Zarn-Corvan"));
}

TEST_F(Removing, LeavesARecordThatSomebodyElseHasWritten) {
    const std::string other = "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# PATH:    /elsewhere\n";
    writeFile(here / "home/.Zarn_inst", other);
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message().find("The installation record has changed"), 0U) << message();
    EXPECT_EQ(contentsOf(here / "home/.Zarn_inst"), other);
    EXPECT_TRUE(fs::exists(tree));
    acknowledge();
    EXPECT_FALSE(KvmInstallMgr::install()) << "nor is anything added";
}

}  // namespace

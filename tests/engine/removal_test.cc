#include "tests/fixtures/window.h"

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
    EXPECT_EQ(message(), "Error: could not remove subsystem \"Clip art - Models\"");
    EXPECT_TRUE(fs::exists(here / "outside/models/content"));
    EXPECT_TRUE(fs::exists(here / "elsewhere/textures/content"));
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
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message(), "Can't remove " + tree.string());
    EXPECT_TRUE(KvmInstallMgr::_info.installed);
}

}  // namespace

#include "tests/window.h"

#include <Xm/ToggleB.h>

namespace {

// A suite with three subsystems, read from its record.
class Removing : public InstallerWindow {
protected:
    void SetUp() override {
        InstallerWindow::SetUp();
        tree = here / "suite/Zarn_system";
        for (const char* name : {"textures", "models", "render"})
            write(tree / "subsystems" / name / "content", name);
        program(tree / "bin/Zarn.install", "[ \"$1\" = -r ] && rm -rf \"$2\"");
        write(here / "home/.Zarn_inst", "# PROGRAM: Zarn-Ambrel\n# VERSION: 2.0\n# PATH:    " +
                                            (here / "suite").string() + "\n");
        ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
        KvmInstallMgr::init();
    }

    [[nodiscard]] bool has(const char* name) const {
        return std::filesystem::exists(tree / "subsystems" / name);
    }

    static void switchOff(Widget toggle) { XmToggleButtonSetState(toggle, False, True); }

    std::filesystem::path tree;
};

TEST_F(Removing, NeverFollowsALink) {
    write(here / "elsewhere/textures/content", "kept");
    std::filesystem::remove_all(tree / "subsystems/textures");
    std::filesystem::create_directory_symlink(here / "elsewhere/textures",
                                              tree / "subsystems/textures");
    switchOff(kviSubsystemTextures);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_FALSE(std::filesystem::is_symlink(tree / "subsystems/textures"));

    std::filesystem::rename(tree / "subsystems", here / "outside");
    std::filesystem::create_directory_symlink(here / "outside", tree / "subsystems");
    switchOff(kviSubsystemModels);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_EQ(message(), "Error: could not remove subsystem \"Clip art - Models\"");
    EXPECT_TRUE(std::filesystem::exists(here / "outside/models/content"));
    EXPECT_TRUE(std::filesystem::exists(here / "elsewhere/textures/content"));
}

TEST_F(Removing, ThatFailsLeavesWindowAndDiskAgreed) {
    script("rm", "exit 1");
    switchOff(kviSubsystemModels);
    answerWith({0, 0});
    KvmInstallMgr::remove();
    EXPECT_TRUE(has("models"));
    EXPECT_TRUE(KvmInstallSubsystem[3].installed && KvmInstallSubsystem[3].selected);
    EXPECT_TRUE(XmToggleButtonGetState(kviSubsystemModels));
    EXPECT_EQ(colourOf(kviSubsystemModels), "#000000");

    std::filesystem::remove(here / "tools/rm");
    program(tree / "bin/Zarn.install", "exit 1");
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message(), "Can't remove " + tree.string());
    EXPECT_TRUE(KvmInstallMgr::_info.installed);
}

}  // namespace

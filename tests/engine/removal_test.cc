#include "tests/window.h"

#include <Xm/ToggleB.h>

#include "support/KvuCommand.h"

namespace {

// A suite with three subsystems, read from its record.
class Removing : public InstallerWindow {
protected:
    void SetUp() override {
        InstallerWindow::SetUp();
        tree = here / "suite/Zarn_system";
        for (const char* name : {"textures", "models", "render"})
            write(tree / "subsystems" / name / "content", name);
        write(tree / "bin/Zarn.install", "#!/bin/sh\n[ \"$1\" = -r ] && rm -rf \"$2\"\n");
        std::filesystem::permissions(tree / "bin/Zarn.install", std::filesystem::perms::owner_all);
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

TEST_F(Removing, TakesTheMarkedSubsystemsThatTheUserConfirms) {
    switchOff(kviSubsystemTextures);
    switchOff(kviSubsystemModels);
    answerWith({0, 0, 1});
    press(kviInstallButtonRemove);
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_EQ(asked[1], "Remove subsystem 'Clip art - Textures'?");
    EXPECT_EQ(message(), "Successfully removed the following subsystems:\n\n\nClip art - Textures");
    EXPECT_FALSE(has("textures"));
    EXPECT_TRUE(has("models") && has("render"));
    EXPECT_FALSE(KvmInstallSubsystem[0].installed);
    EXPECT_EQ(colourOf(kviSubsystemTextures), "#000000");
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsRemoved);
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonRemove)) << "the suite is still there";
}

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
}

TEST_F(Removing, OfEverythingAsksTwiceAndTakesOnlyWhatIsItsOwn) {
    write(here / "home/Zarn-Ambrel", "the start command");
    write(here / "home/Zarn-Pinnet", "of another suite");
    write(here / "suite/letter", "kept");
    switchOff(kviSubsystemModels);
    answerWith({1, 1});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_TRUE(has("models"));

    answerWith({1, 0});
    write(here / "home/.zarnRunning", "");
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message().find("Zarn is currently running."), 0U) << message();
    EXPECT_TRUE(std::filesystem::exists(here / "home/.Zarn_inst"));
    std::filesystem::remove(here / "home/.zarnRunning");

    answerWith({1, 0});
    press(kviInstallButtonRemove);
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1], "Are you sure you want to remove the currently\ninstalled Zarn system in " +
                            (here / "suite").string() + "?");
    EXPECT_FALSE(std::filesystem::exists(tree));
    EXPECT_FALSE(std::filesystem::exists(here / "home/.Zarn_inst"));
    EXPECT_FALSE(std::filesystem::exists(here / "home/Zarn-Ambrel"));
    EXPECT_TRUE(std::filesystem::exists(here / "home/Zarn-Pinnet"));
    EXPECT_TRUE(std::filesystem::exists(here / "suite/letter"));
    EXPECT_FALSE(XtIsSensitive(kviInstallButtonRemove));
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonInstall));
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsRemoved);

    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message(), "Zarn is not installed on this system!");
}

TEST_F(Removing, ThatTheScriptRefusesIsReported) {
    write(tree / "bin/Zarn.install", "#!/bin/sh\nexit 1\n");
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::remove());
    EXPECT_EQ(message(), "Can't remove " + tree.string());
    EXPECT_TRUE(KvmInstallMgr::_info.installed);
}

}  // namespace

#include "tests/fixtures/transcript.h"

#include "engine/record.h"

namespace {

// A suite with three subsystems, read from its record.
class Removing : public Transcript {
protected:
    void SetUp() override {
        Transcript::SetUp();
        for (const char* name : {"textures", "models", "render"})
            writeFile(tree / "subsystems" / name / "content", name);
        writeProgram(tree / "bin/Zarn.install", "[ \"$1\" = -r ] && rm -rf \"$2\"");
        writeFile(record, "# PROGRAM: Zarn-Ambrel\n# VERSION: 2.0\n# PATH:    " +
                              (here / "suite").string() + "\n");
        ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
        KvmInstallMgr::init();
    }

    void remove(const char* heading, const std::vector<int>& buttons) {
        answerWith(buttons);
        tell(heading, KvmInstallMgr::remove);
    }

    const fs::path tree = here / "suite/Zarn_system";
    const fs::path record = here / "home/.Zarn_inst";
};

TEST_F(Removing, TakesTheMarkedSubsystemsAway) {
    mark(kviSubsystemModels, 0);
    mark(kviSubsystemTextures, 0);
    answers.prepare({closeBox});
    tell("closed", KvmInstallMgr::remove);
    answers.prepare({answer(1), closeBox});
    tell("closed later", KvmInstallMgr::remove);
    remove("declined", {0, 1, 1});
    EXPECT_TRUE(KvmInstallMgr::_info.subsystemsRemoved);
    script("rm", "echo busy >&2; exit 1");
    answers.prepare({answer(0), answer(0), answer(0), answer(1)});
    tell("stays", KvmInstallMgr::remove);
    fs::remove(here / "tools/rm");
    mark(kviSubsystemModels, 0);
    mark(kviSubsystemTextures, 0);
    remove("both", {0, 0, 0});
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsRemoved);
}

TEST_F(Removing, NeverFollowsALink) {
    writeFile(here / "elsewhere/textures/content", "kept");
    fs::remove_all(tree / "subsystems/textures");
    fs::create_directory_symlink(here / "elsewhere/textures", tree / "subsystems/textures");
    mark(kviSubsystemTextures, 0);
    remove("subsystem", {0, 0});
    fs::rename(tree / "subsystems", here / "outside");
    fs::create_directory_symlink(here / "outside", tree / "subsystems");
    mark(kviSubsystemModels, 0);
    remove("folder", {0, 0});
    fs::remove(tree / "subsystems");
    fs::rename(here / "outside", tree / "subsystems");
    fs::rename(tree, here / "outside");
    fs::create_directory_symlink(here / "outside", tree);
    mark(kviSubsystemModels, 0);
    remove("tree", {0, 0});
}

TEST_F(Removing, GoesByTheRecordAndByWhatTheUserSaid) {
    writeFile(here / "home/Zarn-Ambrel", "");
    writeFile(here / "home/Zarn-Corvan", "not ours");
    mark(kviInstallCorvan, 1);
    mark(kviSubsystemModels, 0);
    writeFile(here / "home/.zarnRunning", "");
    remove("declined", {1, 1});
    remove("running", {1, 0});
    fs::remove(here / "home/.zarnRunning");
    fs::permissions(tree / "bin/Zarn.install", fs::perms(0644));
    remove("no script", {1, 0});
    fs::permissions(tree / "bin/Zarn.install", fs::perms(0755));
    script("rm", "echo busy >&2; exit 1");
    remove("record stays", {1, 0});
    fs::remove(here / "tools/rm");
    const std::string lines = contentsOf(tree / "bin/Zarn.install");
    writeProgram(tree / "bin/Zarn.install", "echo no >&2; exit 1");
    remove("script fails", {1, 0});
    writeFile(tree / "bin/Zarn.install", lines, 0755);
    remove("removed", {1, 0});
    remove("again", {});
}

TEST_F(Removing, TellsWhatIsLeftBehind) {
    writeProgram(tree / "bin/Zarn.install", "");
    remove("left", {0});
    EXPECT_EQ(KvmUnfinishedPlace(), tree.parent_path());
    story += neutral(contentsOf(record.string() + ".part"));
}

TEST_F(Removing, LeavesARecordThatSomebodyElseHasWritten) {
    writeFile(record, "# PROGRAM: Zarn-Corvan\n# VERSION: 2.0\n# PATH:    /elsewhere\n");
    tell("remove", KvmInstallMgr::remove);
    tell("install", KvmInstallMgr::install);
}

}  // namespace

#include "tests/fixtures/transcript.h"

#include "engine/record.h"
#include "engine/window.h"

namespace {

class Session : public Transcript {};

TEST_F(Session, TakesOrRefusesLocations) {
    for (const char* name : {"inner", "it's", "taken/Zarn_system"}) fs::create_directories(name);
    for (const std::string& typed :
         {(here / "taken").string(), std::string("a b"), std::string("a\tb"), std::string("a\nb"),
          std::string(), "/" + std::string(990, 'x'), std::string(1020, 'x'), std::string("."),
          std::string("inner/../inner"), std::string("-new"), (here / "it's").string(),
          std::string("~nobody-of-that-name/x")}) {
        KvmInstallMgr::_info.installed = 1;
        tell(typed, [&] { return KvmInstallMgr::setLocation(typed.c_str()); });
    }
    EXPECT_FALSE(KvmInstallMgr::setLocation(("/" + std::string(986, 'x')).c_str()));
    EXPECT_TRUE(KvmInstallMgr::setLocation(("/" + std::string(985, 'x')).c_str()));
}

TEST_F(Session, FillsTheWindow) {
    // What it does not set keeps these looks.
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        KvcLabelSetString(row.getWidget(), "?");
        KvmSetToggle(row.getWidget(), false);
        KvmShowMark(row.getWidget(), KvmMark::removed);
    }
    for (const Widget w : {kviInstallDiskReq, kviInstallSystemMsg}) KvcLabelSetString(w, "?");
    for (const Widget w : {kviInstallReadText, kviInstallLocationText})
        XmTextFieldSetString(w, const_cast<char*>("?"));
    KvmAllowChanges(true);
    KvmAllowInstall(false);
    KvmSetToggle(kviInstallToggleCD, true);
    KvmShowAvailable("?", false);
    const auto start = [&](const char* heading) {
        KvmInstallMgr::_info = {};
        char name[] = "Zarn_install";
        char* argv[] = {name, nullptr};
        tell(heading, [&] { return KvmInstallMgr::start(1, argv); });
        EXPECT_STREQ(KvmInstallMgr::_progName, "Zarn_install");
    };
    start("nothing");
    for (const char* version : {"2.0", "1.9"}) {
        writeFile(here / "suite/Zarn_system/subsystems/models/content", "");
        writeFile(here / "home/.Zarn_inst",
                  KvuFormat("# PROGRAM: Zarn-Corvan\n# VERSION: %s\n# PATH:    %s/suite\n", version,
                            folder.c_str()));
        start(version);
    }
    script("id", "echo 'uid=0(root)'");
    EXPECT_TRUE(KvmInstallMgr::checkIfRoot());
    EXPECT_STREQ(KvmInstallMgr::_infoFile, "/usr/lib/.Zarn_inst");
    KvmInstallMgr::initInfo();
    EXPECT_STREQ(KvmInstallMgr::getPath(), "/usr/local");
}

TEST_F(Session, CountsSpaceOnlyForAFirstInstallation) {
    ASSERT_TRUE(KvCopyText(KvmInstallMgr::_info.path, "/proc"));
    EXPECT_FALSE(KvmInstallMgr::initDiskSpace());
    EXPECT_EQ(textOf(kviInstallDiskAvail), "0.0 Mbytes");
    EXPECT_EQ(colourOf(kviInstallDiskAvail), "#ca0000");
    KvmInstallMgr::_info.installed = 1;
    EXPECT_TRUE(KvmInstallMgr::initDiskSpace());
    EXPECT_EQ(colourOf(kviInstallDiskAvail), "#000000");
}

TEST_F(Session, SaysATextOnce) {
    testing::internal::CaptureStdout();
    KvmInstallMgr::info(kviInstallSystemMsg, "one ", nullptr, "two", " three");
    KvmInstallMgr::info(kviInstallSystemMsg, "one ", "two three");
    KvmInstallMgr::info(nullptr, "four");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\none two three\n");
    tell("long", [] { return KvmStatus(std::string(330, 'x').c_str()), 0; });
    tell("short", [] { return KvmStatus("x"), 0; });
    EXPECT_EXIT(KvmInstallMgr::close(), testing::ExitedWithCode(0), "");
}

}  // namespace

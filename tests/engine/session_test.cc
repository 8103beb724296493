#include "tests/fixtures/window.h"

namespace {

class Session : public InstallerWindow {};

TEST_F(Session, RefusesLocationsBeforeAnythingIsTouched) {
    fs::create_directories(here / "taken/Zarn_system");
    const struct {
        std::string location;
        const char* says;
    } cases[] = {
        {here / "taken", ".\nPlease enter another location path."},
        {here / "a b", "holds a blank"},
        {here / "a\tb", "holds a blank"},
        {here / "a\nb", "holds a blank"},
        {"", "is empty"},
        {"/" + std::string(1100, 'x'), "is too long"},
        {"/" + std::string(1000, 'x'), "is too long"},
    };
    const std::string before = KvmInstallMgr::_info.path;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.location);
        XmTextFieldSetString(kviInstallLocationText, const_cast<char*>(c.location.c_str()));
        press(kviInstallLocationTextOk);
        const std::string said = acknowledge();
        EXPECT_NE(said.find(c.says), std::string::npos) << said;
        EXPECT_EQ(KvmInstallMgr::_info.path, before);
        EXPECT_TRUE(XtIsSensitive(kviInstallLocationTextOk));
        EXPECT_FALSE(KvmInstallMgr::install()) << "it is refused there as well";
        acknowledge();
    }
    EXPECT_TRUE(fs::is_empty(here / "taken/Zarn_system"));
}

TEST_F(Session, TakesLocationsOver) {
    fs::create_directories(here / "inner");
    fs::create_directories(here / "it's");
    const std::string place = here;
    const struct {
        std::string typed, taken;
    } cases[] = {{place + "/inner", place + "/inner"},
                 {".", "."},
                 {"inner/../inner", place + "/inner"},
                 {"-new", place + "/-new"},
                 {place + "/it's", place + "/it's"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        KvmInstallMgr::_info.installed = 1;
        EXPECT_TRUE(KvmInstallMgr::setLocation(c.typed.c_str()));
        EXPECT_EQ(KvmInstallMgr::_info.path, c.taken);
        EXPECT_EQ(fieldText(kviInstallLocationText), c.taken);
        EXPECT_FALSE(KvmInstallMgr::_info.installed);
    }
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
    KvmInstallMgr::info(kviInstallSystemMsg, "one ", nullptr, "two");
    KvmInstallMgr::info(kviInstallSystemMsg, "one ", "two");
    KvmInstallMgr::info(nullptr, "three");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\none two\n");
    EXPECT_EQ(textOf(kviInstallSystemMsg), "one two");
}

TEST_F(Session, WarnsOfAnotherVersion) {
    script("id", "echo 'uid=1000(ann) gid=1000(ann)'");
    writeFile(here / "suite/Zarn_system/bin/Zarn", "");
    writeFile(here / "home/.Zarn_inst",
              "# VERSION: 1.9\n# PATH:    " + (here / "suite").string() + "\n");
    char name[] = "Zarn_install";
    char* argv[] = {name, nullptr};
    EXPECT_TRUE(KvmInstallMgr::start(1, argv));
    EXPECT_EQ(message().find("Another version of Zarn is currently installed."), 0U) << message();
    EXPECT_FALSE(XtIsSensitive(kviInstallButtonInstall));
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonRemove));
}

}  // namespace

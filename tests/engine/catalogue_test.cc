#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "tests/fixtures/window.h"

namespace {

class Catalogue : public InstallerWindow {};

TEST_F(Catalogue, MarksASubsystemByWhatIsInstalledAndWanted) {
    const struct {
        int installed, present, on;
        const char* colour;
        int added, removed;
    } cases[] = {
        {1, 1, 0, "#d00000", 0, 1}, {1, 1, 1, "#000000", 0, 0}, {1, 0, 1, "#008c00", 1, 0},
        {1, 0, 0, "#000000", 0, 0}, {0, 1, 1, "#000000", 0, 0}, {0, 1, 0, "#000000", 0, 0},
    };
    KvmInstallSubsystemRow& row = KvmInstallSubsystem[5];
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.installed << c.present << c.on);
        KvmInstallInfo& info = KvmInstallMgr::_info;
        info.installed = c.installed;
        info.subsystemsAdded = info.subsystemsRemoved = 0;
        row.installed = c.present;
        XtSetSensitive(kviInstallButtonInstall, False);
        XtUnmanageChild(kviInstallSubsystemAddedLabel);
        XtUnmanageChild(kviInstallSubsystemRemovedLabel);
        KvmInstallMgr::setSubsystem(kviSubsystemExportXlators, c.on);
        EXPECT_EQ(row.selected, c.on);
        EXPECT_EQ(colourOf(kviSubsystemExportXlators), c.colour);
        EXPECT_EQ(info.subsystemsAdded, c.added);
        EXPECT_EQ(info.subsystemsRemoved, c.removed);
        EXPECT_EQ(XtIsManaged(kviInstallSubsystemAddedLabel), c.added);
        EXPECT_EQ(XtIsManaged(kviInstallSubsystemRemovedLabel), c.removed);
        EXPECT_EQ(XtIsSensitive(kviInstallButtonInstall), c.added);
    }
}

TEST_F(Catalogue, AnEditionBringsItsSubsystems) {
    const struct {
        Widget toggle;
        const char* code;
        const char* without;
        const char* required;
    } cases[] = {
        {kviInstallLustrel, "LST", "render src ", "18.7 Mbytes"},
        {kviInstallAmbrel, "AMB", "projects ", "20.8 Mbytes"},
        {kviInstallCorvan, "CRV", "", "20.9 Mbytes"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        XtSetSensitive(kviInstallButtonInstall, False);
        mark(c.toggle, 1);
        std::string without;
        for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
            EXPECT_EQ(XmToggleButtonGetState(row.getWidget()), row.selected) << row.label;
            if (!row.selected) without += std::string(row.directory) + " ";
        }
        EXPECT_STREQ(KvmInstallMgr::getProductCode(), c.code);
        EXPECT_EQ(without, c.without);
        EXPECT_EQ(textOf(kviInstallDiskReq), c.required);
        EXPECT_TRUE(XtIsSensitive(kviInstallButtonInstall));
        EXPECT_FALSE(KvmInstallMgr::_info.productChanged) << "nothing is installed";
    }
}

TEST_F(Catalogue, AnotherEditionOfAnInstalledSuiteIsRemembered) {
    KvmInstallMgr::_info.installed = 1;
    KvmInstallSubsystem[7].installed = KvmInstallSubsystem[7].selected = 0;
    KvmInstallMgr::setProduct();
    EXPECT_FALSE(KvmInstallMgr::_info.productChanged) << "it is the edition that was recorded";
    mark(kviInstallAmbrel, 1);
    EXPECT_TRUE(KvmInstallMgr::_info.productChanged);
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsAdded) << "the user marked nothing";
}

TEST_F(Catalogue, ADistributionTellsItsSizes) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"# sizes\n\n models\t31500000\r\nrender 1500000", "51.6 Mbytes", "31.5"},
        {"models -5\nmodels 1e9\nmodels 5 6\nmodels\nmodels 99999999999999999999999\n"
         "models 2000000000000000\nnobody 7\nmodels +1\nmodels 0x1\n5\nrender 1500000\n#models 1",
         "20.2 Mbytes", "0.1"},
        {"Zarn_system 2100000000", "2103.9 Mbytes", "0.1"},
        {"Zarn_system 900000000000000", "900000000.0 Mbytes", "0.1"},
    };
    const auto given = std::to_array(KvmInstallSubsystem);
    for (const auto& [text, required, models] : cases) {
        SCOPED_TRACE(text);
        writeFile("Zarn_sizes", text);
        std::ranges::copy(given, KvmInstallSubsystem);
        KvmInstallMgr::initInfo();
        KvmInstallMgr::init();
        EXPECT_EQ(textOf(kviInstallDiskReq), required);
        EXPECT_EQ(textOf(kviSubsystemModels), "Clip art - Models (" + std::string(models) + " Mb)");
    }
    EXPECT_FALSE(KvmInstallMgr::initDiskSpace()) << "no disk bears that";
    fs::remove("Zarn_sizes");
    ASSERT_EQ(mkfifo("Zarn_sizes", 0600), 0);
    EXPECT_TRUE(KvmInstallMgr::initInfo()) << "nothing waits for a pipe";
}

}  // namespace

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "engine/brochure.h"
#include "engine/window.h"
#include "tests/fixtures/installing.h"

namespace {

// Only the first installation of a process shows the brochure.
class Brochure : public Installing {
protected:
    std::string shown() {
        script("xwsh", "printf '%s|' \"$@\" >new; mv new " + (here / "said").string());
        installBare();
        for (int i = 0; i < 200 && !fs::exists(here / "said"); ++i) usleep(10000);
        return contentsOf(here / "said");
    }
};

TEST_F(Brochure, IsShown) {
    EXPECT_EQ(shown(),
              "-bg|black|-fg|cyan|-cursorfg|cyan|-cursorbg|cyan|-geom|80x20+100+500|-title|"
              "Installation will take a few minutes... use the space bar to scroll up and down|"
              "-icontitle|Zarn install|-e|/bin/csh|-c|more /tmp/.kvcInstallMsg; cat|");
    EXPECT_EQ(outcomeOf("cksum </tmp/.kvcInstallMsg").output, "3098238277 7433\n");
}

TEST_F(Brochure, IsNotWrittenThroughALink) {
    const std::string victim = writeFile(here / "victim", "precious");
    fs::create_symlink(victim, "/tmp/.kvcInstallMsg");
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(contentsOf(victim), "precious");
}

class Catalogue : public Transcript {};

TEST_F(Catalogue, ListsSubsystemsEditionsAndMedia) {
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        story +=
            KvuFormat("%s %s %s %.1f %d%d %d\n", XtName(row.getWidget()), row.label, row.directory,
                      row.sizeMB, row.installed, row.selected, row.offForProduct);
    for (const KvmInstallProductRow& row : KvmInstallProduct)
        story += KvuFormat("%s %s %s %d %s %s\n", XtName(row.getWidget()), row.code, row.program,
                           row.mask, KvmInstallMgr::getProductName(row.code),
                           KvmInstallMgr::getProductCode(row.program));
    for (const KvmInstallMediumRow& row : KvmInstallMedium)
        story += KvuFormat("%s %s\n", XtName(row.getWidget()), row.option ? row.option : "-");
    story += std::string(KvmInstallMgr::getProductName("PNX")) + " " +
             KvmInstallMgr::getProductCode("Zarn") + "\n";
    for (const int medium : {1, 2, 3, -1, 4, 0}) {
        tell(std::to_string(medium), [=] {
            KvmInstallMgr::setReadFrom(medium);
            KvmInstallMgr::init();
            return KvmInstallMgr::getReadFrom();
        });
    }
    ASSERT_TRUE(KvCopyText(KvmInstallMgr::_info.startDir, "/nowhere"));
    tell("no folder", [] { return KvmInstallMgr::setReadFrom(KvmTarFile), 0; });
}

TEST_F(Catalogue, MarksASubsystemByWhatIsInstalledAndWanted) {
    const auto switched = [this](int installed, int present, int on) {
        KvmInstallInfo& info = KvmInstallMgr::_info;
        info.installed = installed;
        info.subsystemsAdded = info.subsystemsRemoved = 0;
        KvmInstallSubsystem[5].installed = present;
        KvmInstallMgr::setSubsystem(kviSubsystemExportXlators, !on);
        info.subsystemsAdded = info.subsystemsRemoved = 0;
        KvmAllowInstall(false);
        XtUnmanageChild(kviInstallSubsystemAddedLabel);
        XtUnmanageChild(kviInstallSubsystemRemovedLabel);
        tell(std::to_string(installed) + std::to_string(present) + std::to_string(on), [&] {
            KvmInstallMgr::setSubsystem(kviSubsystemExportXlators, on);
            return info.subsystemsAdded * 10 + info.subsystemsRemoved;
        });
        EXPECT_EQ(KvmInstallSubsystem[5].selected, on);
    };
    for (const int on : {0, 1}) {
        switched(1, 1, on);
        switched(1, 0, on);
        switched(0, 1, on);
        switched(0, 0, on);
    }
}

TEST_F(Catalogue, AnEditionBringsItsSubsystems) {
    // What another edition lacks, and what the user switched off, comes back.
    for (const Widget toggle :
         {kviInstallLustrel, kviInstallAmbrel, kviInstallCorvan, kviInstallPinnet}) {
        mark(kviSubsystemModels, 0);
        XtSetSensitive(kviInstallButtonInstall, False);
        tell(XtName(toggle), [=] {
            mark(toggle, 1);
            return KvmInstallMgr::_info.product;
        });
        EXPECT_FALSE(KvmInstallMgr::_info.productChanged) << "nothing is installed";
    }
    KvmInstallMgr::_info.installed = 1;
    KvmInstallSubsystem[7].installed = KvmInstallSubsystem[7].selected = 0;
    KvmInstallMgr::setProduct();
    EXPECT_FALSE(KvmInstallMgr::_info.productChanged) << "it is the edition that was recorded";
    mark(kviInstallAmbrel, 1);
    EXPECT_TRUE(KvmInstallMgr::_info.productChanged);
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsAdded) << "the user marked nothing";
    XmToggleButtonSetState(kviInstallAmbrel, False, False);
    EXPECT_EQ(KvmInstallMgr::getProduct(), 8);
}

TEST_F(Catalogue, ADistributionTellsItsSizes) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"# sizes\n\n models\t31500000\r\nrender 1500000", "51.6 Mbytes", "31.5"},
        {"models -5\nmodels 1e9\nmodels 5 6\nmodels\nmodels 99999999999999999999999\n"
         "models 2000000000000000\nnobody 7\nmodels +1\nmodels 0x1\n5\nrender 1500000\n#models 1",
         "20.2 Mbytes", "0.1"},
        {"Zarn_system 2100000000", "2103.9 Mbytes", "0.1"},
        {"Zarn_system 1000000000000000", "1000000000.0 Mbytes", "0.1"},
        {"Zarn_system 1000000000000001\nmodels 200000", "1000000000.0 Mbytes", "0.2"},
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
    const int usual = XtWidth(kviSubsystemTextures);
    KvmLabelToggle(kviSubsystemTextures, "Clip art - Textures (1000.0 Mb)");
    EXPECT_EQ(XtWidth(kviSubsystemTextures), 207) << "in the narrow font";
    EXPECT_EQ(usual, 192);
    KvmShowAvailable("12345678901234567890 Mbytes", true);
    EXPECT_EQ(XtWidth(kviInstallDiskAvail), 150) << "up to the window's edge";
    for (const int begin : {65536, 65535}) {
        writeFile("Zarn_sizes", std::string(begin - 12, '\n') + "models 900000");
        KvmInstallMgr::initInfo();
        EXPECT_EQ(KvmInstallSubsystem[3].sizeMB, begin == 65535 ? 0.9F : 0.09F) << "read in part";
    }
    fs::remove("Zarn_sizes");
    ASSERT_EQ(mkfifo("Zarn_sizes", 0600), 0);
    EXPECT_TRUE(KvmInstallMgr::initInfo()) << "nothing waits for a pipe";
}

}  // namespace

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
}

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

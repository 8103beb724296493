#include <gtest/gtest.h>  // before X.h, whose macros break it

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "engine/window.h"
#include "tests/fixtures/window.h"

namespace {

class Session : public InstallerWindow {};

TEST_F(Session, ADistributionTellsItsSizes) {
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

TEST_F(Session, RefusesTextsThatAreTooLong) {
    const auto location = [](int length) {
        const int taken = KvmInstallMgr::setLocation(("/" + std::string(length, 'x')).c_str());
        return taken != 0 ? "taken" : acknowledge();
    };
    const char* const tooLong =
        "This install location is too long.\nPlease enter another location path.";
    EXPECT_EQ(location(985), "taken");
    EXPECT_EQ(location(986), tooLong);
    EXPECT_FALSE(KvmInstallMgr::setLocation(std::string(1020, 'x').c_str()));
    EXPECT_TRUE(acknowledge().starts_with("This install location can't be found:\nx"));
    const auto tree = [](int length) {
        const std::string place = "/" + std::string(length, 'x') + "/Zarn_system";
        EXPECT_FALSE(KvmInstallMgr::setInstallInfo(place.c_str()));
        const std::string said = acknowledge();
        return said.substr(0, said.find('/'));
    };
    EXPECT_EQ(tree(989), "Could not find an installed Zarn system in:\n");
    EXPECT_EQ(tree(990), "This location is too long:\n");
    const std::string before = KvmInstallMgr::_info.readText;
    KvmInstallMgr::setReadText(std::string(1024, 'x').c_str());
    EXPECT_EQ(acknowledge(), "The text that names the device or the archives is too long.");
    EXPECT_EQ(KvmInstallMgr::_info.readText, before);
    KvmInstallMgr::setReadText(std::string(1023, 'x').c_str());
    EXPECT_EQ(KvmInstallMgr::_info.readText, std::string(1023, 'x'));
}

TEST_F(Session, DoesWithoutAStartFolderWhosePathIsTooLong) {
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(mkdir(std::string(250, 'x').c_str(), 0755), 0);
        ASSERT_EQ(chdir(std::string(250, 'x').c_str()), 0);
    }
    testing::internal::CaptureStderr();
    KvmInstallMgr::initInfo();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "The path of the start directory is too long.\n");
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
    const auto alignment = [](const std::string& text) {
        KvmStatus(text.c_str());
        unsigned char shown = 0;
        XtVaGetValues(kviInstallSystemMsg, XmNalignment, &shown, nullptr);
        return shown;
    };
    EXPECT_EQ(alignment(std::string(200, 'x')), XmALIGNMENT_BEGINNING);
    EXPECT_EQ(alignment("x"), XmALIGNMENT_CENTER);
    const auto picture = [] {
        XImage* image = XGetImage(XtDisplay(topLevel), XtWindow(kviInstallSystemMsg), 0, 0, 500, 20,
                                  AllPlanes, ZPixmap);
        std::string pixels(image->data, static_cast<std::size_t>(image->bytes_per_line) * 20);
        XDestroyImage(image);
        return pixels;
    };
    EXPECT_TRUE(pumpUntil(kviInstallWidget, [] { return isViewable(kviInstallSystemMsg); }));
    KvmStatus("This is on the screen at once, while the program does something else.");
    const std::string shown = picture();
    pump(kviInstallWidget);
    EXPECT_TRUE(picture() == shown) << "nothing was left to be drawn";
    EXPECT_EXIT(KvmInstallMgr::close(), testing::ExitedWithCode(0), "");
}

}  // namespace

#include "tests/fixtures/window.h"

#include <Xm/Label.h>
#include <Xm/List.h>

#include <sstream>

#include "builder/KviBxUtil.h"
#include "ui/KvcInstall.h"

namespace {

class Window : public InstallerWindow {};

TEST_F(Window, HasItsWidgetsInTheirPlaces) {
    // Name, x, y, width and height; a width of 0 means that of the label, which the engine sets.
    std::istringstream places(R"(
        kviInstallSystemMsg 7 8 588 31              kviInstallReadText 27 110 502 37
        kviInstallReadTextOk 536 112 40 30          frame 28 198 550 30
        kviInstallLocationText 27 259 502 36        kviInstallLocationTextOk 536 260 42 32
        kviInstallSubsystemAddedLabel 27 316 130 20 kviInstallSubsystemRemovedLabel 456 316 117 20
        kviSubsystemTextures 25 340 0 0             kviSubsystemImportXlators 225 340 0 0
        kviSubsystemMaterials 25 366 0 0            kviSubsystemExportXlators 225 366 0 0
        kviSubsystemProjects 25 392 0 0             kviSubsystemPhotorealRenderer 225 392 0 0
        kviSubsystemModels 25 418 0 0               kviSubsystemPictureGallery 225 418 0 0
        kviSubsystemTranslatorsDev 439 340 0 0      kviSubsystemMiscSource 439 388 0 0
        kviInstallDiskReq 196 461 100 23            kviInstallDiskAvail 455 461 126 21
        kviInstallButtonInstall 11 503 100 30       kviInstallButtonRemove 128 503 100 30
        kviInstallButtonUsers 247 503 114 29        pushButton 513 503 80 30
        label2 10 12 231 71                        scrolledWindow 60 121 131 112
        kviInstallIconPath 28 266 202 36           kviInstallIconInstall 23 322 90 33
        dismiss 140 322 90 33)");
    const int scale = BxScale(XtDisplay(topLevel));
    std::string name;
    int x = 0, y = 0, width = 0, height = 0, count = 0;
    for (; places >> name >> x >> y >> width >> height; ++count) {
        SCOPED_TRACE(name);
        const Widget w = XtNameToWidget(topLevel, ("*" + name).c_str());
        ASSERT_NE(w, nullptr);
        Position liveX = 0, liveY = 0;
        Dimension liveWidth = 0, liveHeight = 0;
        XtVaGetValues(w, XmNx, &liveX, XmNy, &liveY, XmNwidth, &liveWidth, XmNheight, &liveHeight,
                      nullptr);
        EXPECT_TRUE(liveX == x * scale && liveY == y * scale) << liveX << "," << liveY;
        EXPECT_TRUE(width == 0 || (liveWidth == width * scale && liveHeight == height * scale))
            << liveWidth << "x" << liveHeight;
    }
    EXPECT_EQ(count, 29) << "the table above can't be read";
}

// No text may overlap the widget at its right or leave the window, however long the subsystems'
// sizes make their labels.
TEST_F(Window, GivesEveryTextItsRoom) {
    const int scale = BxScale(XtDisplay(topLevel));
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(kviInstallWidget, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (Cardinal i = 0; i < count; ++i) {
        if (!XtIsSubclass(children[i], xmLabelWidgetClass)) continue;
        XmString text = nullptr;
        XmFontList font = nullptr;
        Position x = 0;
        Dimension width = 0, height = 0;
        XtVaGetValues(children[i], XmNlabelString, &text, XmNfontList, &font, XmNx, &x, XmNwidth,
                      &width, XmNheight, &height, nullptr);
        const KviXmString owned(text);
        const int decoration = XtIsSubclass(children[i], xmToggleButtonWidgetClass) ? 18 : 0;
        EXPECT_LE(XmStringWidth(font, text) + decoration, width) << XtName(children[i]);
        EXPECT_LE(XmStringHeight(font, text), height) << XtName(children[i]);
        EXPECT_GT(XmStringHeight(font, text), 11 * scale) << XtName(children[i]);
        const int nextColumn = x < 225 * scale ? 225 : x < 439 * scale ? 439 : 607;
        EXPECT_LE(x + width, (decoration != 0 ? nextColumn : 607) * scale) << XtName(children[i]);
    }
}

TEST_F(Window, StaysWithTheMediumThatWasSwitchedOn) {
    const Widget toggles[] = {kviInstallToggleRemoteTape, kviInstallToggleCD, kviInstallToggleTape};
    const char* const texts[] = {"guest@<REMOTE-MACHINE-NAME>:/dev/tape", "/Zarn_system",
                                 "/dev/tape"};
    const int media[] = {1, 3, 0};
    for (int i = 0; i < 3; ++i) {
        press(toggles[i]);
        EXPECT_EQ(KvmInstallMgr::getReadFrom(), media[i]);
        EXPECT_NE(fieldText(kviInstallReadText).find(texts[i]), std::string::npos);
        for (const Widget other : toggles)
            EXPECT_EQ(XmToggleButtonGetState(other), other == toggles[i]) << XtName(other);
    }
}

TEST_F(Window, KeepsTextThatIsNotConfirmed) {
    const std::string place = here;
    XmTextFieldSetString(kviInstallLocationText, const_cast<char*>(place.c_str()));
    press(kviInstallToggleCD);
    EXPECT_EQ(fieldText(kviInstallLocationText), place);
    EXPECT_NE(KvmInstallMgr::_info.path, place);
    XmTextFieldSetString(kviInstallReadText, const_cast<char*>("/dev/other"));
    XmTextFieldSetInsertionPosition(kviInstallLocationText, 5);
    press(kviInstallLocationTextOk);
    EXPECT_EQ(KvmInstallMgr::_info.path, place);
    EXPECT_FALSE(XtIsSensitive(kviInstallLocationTextOk));
    EXPECT_EQ(XmTextFieldGetInsertionPosition(kviInstallLocationText), 5);
    EXPECT_EQ(fieldText(kviInstallReadText), "/dev/other");
    EXPECT_TRUE(XtIsSensitive(kviInstallReadTextOk));
}

TEST_F(Window, OpensAndClosesTheIconDialogAnyNumberOfTimes) {
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        XtSetSensitive(kviInstallButtonUsers, True);
        answerWith({1});
        press(kviInstallButtonUsers);
        EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
        EXPECT_EQ(textOf(kviInstallIconProductLabel), "Zarn-Pinnet icon location");
        EXPECT_EQ(textOf(XtNameToWidget(kviIInstallIcon, "label2")),
                  "Enter a location on your system\nwhere you want the Zarn icon\nlinked (Example "
                  "\"/usr/local/bin\"), \nand click on \"Install\".");
        EXPECT_EQ(answers.asked.at(0), "Do you want to install Indigo Magic desktop icons?");
        if (i % 2 == 0) {
            press(XtNameToWidget(kviIInstallIcon, "dismiss"));
        } else {
            askToClose(kviInstallIconShell);
            pump(topLevel);
        }
        EXPECT_FALSE(XtIsManaged(kviIInstallIcon));
        EXPECT_FALSE(isViewable(kviIInstallIcon));
    }
}

TEST_F(Window, LinksTheStartCommandOncePerLocation) {
    const std::string place = here;
    XtSetSensitive(kviInstallButtonUsers, True);
    answerWith({1});
    press(kviInstallButtonUsers);
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>(place.c_str()));
    press(kviInstallIconInstall);
    EXPECT_EQ(fs::read_symlink(here / "Zarn-Pinnet"), "/usr/sbin/Zarn-Pinnet");
    EXPECT_FALSE(XtIsSensitive(kviInstallIconInstall));
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>((place + "/Zarn-Pinnet").c_str()));
    EXPECT_TRUE(XtIsSensitive(kviInstallIconInstall));
    press(kviInstallIconInstall);
    EXPECT_EQ(message().find("Could not write to: " + place + "/Zarn-Pinnet\nln: "), 0U);
    EXPECT_EQ(textOf(kviInstallSystemMsg), "Installed Zarn-Pinnet in " + place + "/Zarn-Pinnet");

    int users[2] = {};
    for (int& count : users) {
        KvmInstallMgr::listUsers();
        XtVaGetValues(kviInstallUserList, XmNitemCount, &count, nullptr);
    }
    EXPECT_EQ(users[0], users[1]) << "the list is emptied first";
    XmListSelectPos(kviInstallUserList, 1, True);
    EXPECT_EQ(fieldText(kviInstallIconPath), KvmInstallMgr::getHomeDir("root"));
    EXPECT_EQ(KvmInstallMgr::getHomeDir("roo"), nullptr);
}

}  // namespace

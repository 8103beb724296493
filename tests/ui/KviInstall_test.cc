#include "tests/window.h"

#include <Xm/Label.h>
#include <Xm/List.h>
#include <Xm/ToggleB.h>

#include "ui/KvcInstall.h"

namespace {

class Window : public InstallerWindow {
protected:
    static Widget named(const char* name) {
        const Widget w = XtNameToWidget(kviInstallWidget, name);
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
};

struct Placed {
    const char* name;
    int x, y, width, height;
};

void expectPlaced(Widget w, const Placed& at) {
    Position x = 0;
    Position y = 0;
    Dimension width = 0;
    Dimension height = 0;
    XtVaGetValues(w, XmNx, &x, XmNy, &y, XmNwidth, &width, XmNheight, &height, nullptr);
    EXPECT_EQ(x, at.x) << at.name;
    EXPECT_EQ(y, at.y) << at.name;
    if (at.width == 0) return;
    EXPECT_EQ(width, at.width) << at.name;
    EXPECT_EQ(height, at.height) << at.name;
}

TEST_F(Window, HasItsWidgetsInTheirPlaces) {
    for (const Placed& at : {Placed{"kviInstallSystemMsg", 7, 8, 588, 31},
                             {"label15", 26, 50, 349, 29},
                             {"kviInstallReadText", 27, 110, 502, 37},
                             {"kviInstallReadTextOk", 536, 112, 40, 30},
                             {"separator", 10, 152, 590, 21},
                             {"label19", 26, 171, 490, 23},
                             {"frame", 28, 198, 550, 30},
                             {"label13", 26, 234, 490, 23},
                             {"kviInstallLocationText", 27, 259, 502, 36},
                             {"kviInstallLocationTextOk", 536, 260, 42, 32},
                             {"separator10", 8, 295, 590, 20},
                             {"kviInstallLocationLabel2", 187, 315, 206, 20},
                             {"kviInstallSubsystemAddedLabel", 27, 316, 130, 20},
                             {"kviInstallSubsystemRemovedLabel", 456, 316, 117, 20},
                             {"separator7", 6, 440, 590, 20},
                             {"label17", 40, 461, 158, 20},
                             {"kviInstallDiskReq", 196, 461, 100, 23},
                             {"label16", 300, 461, 161, 20},
                             {"kviInstallDiskAvail", 455, 461, 126, 21},
                             {"separator2", 7, 481, 590, 20},
                             {"kviInstallButtonInstall", 11, 503, 100, 30},
                             {"kviInstallButtonRemove", 128, 503, 100, 30},
                             {"kviInstallButtonUsers", 247, 503, 114, 29},
                             {"pushButton", 513, 503, 80, 30}})
        expectPlaced(named(at.name), at);
    // A subsystem's toggle is as wide as its label.
    for (const Placed& at : {Placed{"kviSubsystemTextures", 25, 340, 0, 0},
                             {"kviSubsystemMaterials", 25, 366, 0, 0},
                             {"kviSubsystemProjects", 25, 392, 0, 0},
                             {"kviSubsystemModels", 25, 418, 0, 0},
                             {"kviSubsystemImportXlators", 225, 340, 0, 0},
                             {"kviSubsystemExportXlators", 225, 366, 0, 0},
                             {"kviSubsystemPhotorealRenderer", 225, 392, 0, 0},
                             {"kviSubsystemPictureGallery", 225, 418, 0, 0},
                             {"kviSubsystemTranslatorsDev", 439, 340, 0, 0},
                             {"kviSubsystemMiscSource", 439, 388, 0, 0}})
        expectPlaced(named(at.name), at);
    for (const Placed& at : {Placed{"label2", 10, 12, 231, 71},
                             {"scrolledWindow", 60, 121, 131, 112},
                             {"kviInstallIconPath", 28, 266, 202, 36},
                             {"kviInstallIconInstall", 23, 322, 90, 33},
                             {"dismiss", 140, 322, 90, 33}})
        expectPlaced(XtNameToWidget(kviIInstallIcon, at.name), at);
}

// No text may run into the widget at its right or out of the window, whatever the subsystems' sizes
// made of their labels.
TEST_F(Window, GivesEveryTextItsRoom) {
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(kviInstallWidget, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (Cardinal i = 0; i < count; ++i) {
        if (!XtIsSubclass(children[i], xmLabelWidgetClass)) continue;
        XmString text = nullptr;
        XmFontList font = nullptr;
        Position x = 0;
        Dimension width = 0;
        Dimension height = 0;
        XtVaGetValues(children[i], XmNlabelString, &text, XmNfontList, &font, XmNx, &x, XmNwidth,
                      &width, XmNheight, &height, nullptr);
        const KviXmString owned(text);
        const int decoration = XtIsSubclass(children[i], xmToggleButtonWidgetClass) ? 18 : 0;
        EXPECT_LE(XmStringWidth(font, text) + decoration, width) << XtName(children[i]);
        EXPECT_LE(XmStringHeight(font, text), height) << XtName(children[i]);
        const int nextColumn = x < 225 ? 225 : x < 439 ? 439 : 607;
        EXPECT_LE(x + width, decoration != 0 ? nextColumn : 607) << XtName(children[i]);
    }
}

TEST_F(Window, SaysWhatItSays) {
    const struct {
        const char* name;
        const char* text;
    } cases[] = {
        {"label15", "Device to read from:"},
        {"*kviInstallToggleRemoteTape", "Remote Tape      "},
        {"label13", "System install location (Make sure there's enough disk space!)"},
        {"kviInstallSubsystemRemovedLabel", "- Marked for removal"},
        {"*kviInstallAmbrel", "Ambrel"},
        {"kviInstallButtonUsers", "Install Icon..."},
        {"pushButton", "Exit"},
    };
    for (const auto& c : cases) EXPECT_EQ(textOf(named(c.name)), c.text);
    EXPECT_EQ(textOf(XtNameToWidget(kviIInstallIcon, "label2")),
              "Enter a location on your system\nwhere you want the Zarn icon\nlinked (Example "
              "\"/usr/local/bin\"), \nand click on \"Install\".");
    EXPECT_EQ(fieldText(kviInstallIconPath), "/usr/local/bin");
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

TEST_F(Window, AsksForOkAfterTyping) {
    const struct {
        Widget field, button;
    } cases[] = {{kviInstallReadText, kviInstallReadTextOk},
                 {kviInstallLocationText, kviInstallLocationTextOk}};
    for (const auto& c : cases) {
        EXPECT_FALSE(XtIsSensitive(c.button));
        XmTextFieldSetString(c.field, const_cast<char*>(here.c_str()));
        EXPECT_TRUE(XtIsSensitive(c.button)) << XtName(c.button);
        XtCallActionProc(c.field, "activate", nullptr, nullptr, 0);
        EXPECT_FALSE(XtIsSensitive(c.button)) << "Return does what Ok does";
    }
    EXPECT_EQ(KvmInstallMgr::_info.readText, here.string());
    EXPECT_EQ(KvmInstallMgr::getPath(), here.string());
}

TEST_F(Window, OpensAndClosesTheIconDialogAnyNumberOfTimes) {
    const Atom protocols = XInternAtom(XtDisplay(topLevel), "WM_PROTOCOLS", False);
    const Atom closing = XInternAtom(XtDisplay(topLevel), "WM_DELETE_WINDOW", False);
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        XtSetSensitive(kviInstallButtonUsers, True);
        answerWith({1});
        press(kviInstallButtonUsers);
        EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
        EXPECT_EQ(textOf(kviInstallIconProductLabel), "Zarn-Pinnet icon location");
        EXPECT_EQ(asked.at(0), "Do you want to install Indigo Magic desktop icons?");
        if (i % 2 == 0) {
            press(XtNameToWidget(kviIInstallIcon, "dismiss"));
        } else {
            XEvent event{};
            event.xclient.type = ClientMessage;
            event.xclient.window = XtWindow(kviInstallIconShell);
            event.xclient.message_type = protocols;
            event.xclient.format = 32;
            event.xclient.data.l[0] = static_cast<long>(closing);
            XSendEvent(XtDisplay(topLevel), XtWindow(kviInstallIconShell), False, 0, &event);
            XSync(XtDisplay(topLevel), False);
            KvcFlushEvents(topLevel, app);
        }
        EXPECT_FALSE(XtIsManaged(kviIInstallIcon));
        XWindowAttributes attributes;
        XGetWindowAttributes(XtDisplay(topLevel), XtWindow(kviIInstallIcon), &attributes);
        EXPECT_NE(attributes.map_state, IsViewable);
    }
}

TEST_F(Window, LinksTheStartCommandOncePerLocation) {
    const std::string place = here;
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>(place.c_str()));
    press(kviInstallIconInstall);
    EXPECT_EQ(std::filesystem::read_symlink(here / "Zarn-Pinnet"), "/usr/sbin/Zarn-Pinnet");
    EXPECT_FALSE(XtIsSensitive(kviInstallIconInstall));
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>((place + "/Zarn-Pinnet").c_str()));
    EXPECT_TRUE(XtIsSensitive(kviInstallIconInstall));
    press(kviInstallIconInstall);
    EXPECT_EQ(message(), "Could not write to: " + place + "/Zarn-Pinnet");
    EXPECT_EQ(textOf(kviInstallSystemMsg), "Installed Zarn-Pinnet in " + place + "/Zarn-Pinnet");

    KvmInstallMgr::listUsers();
    KvmInstallMgr::listUsers();
    int users = 0;
    XtVaGetValues(kviInstallUserList, XmNitemCount, &users, nullptr);
    int lines = 0;
    std::ifstream passwords("/etc/passwd");
    for (std::string line; std::getline(passwords, line);) ++lines;
    EXPECT_GT(users, 0);
    EXPECT_LT(users, lines) << "system accounts are left out, and the list is emptied first";
    XmListSelectPos(kviInstallUserList, 1, True);
    EXPECT_EQ(fieldText(kviInstallIconPath), KvmInstallMgr::getHomeDir("root"));
    EXPECT_EQ(KvmInstallMgr::getHomeDir("roo"), nullptr);
}

}  // namespace

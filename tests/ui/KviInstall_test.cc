#include "tests/fixtures/installing.h"

#include <Xm/XmAll.h>

#include <span>
#include <string>
#include <tuple>
#include <utility>

#include "builder/KviBxUtil.h"
#include "engine/window.h"
#include "support/KvuCommand.h"
#include "tests/fixtures/seen.h"
#include "ui/KvcInstall.h"

namespace {

class Window : public Installing {};

const char* const resources =
    "borderWidth foreground background fontList labelString alignment recomputeSize marginWidth "
    "marginHeight spacing set selectColor fillOnSelect visibleWhenOff highlightThickness "
    "highlightColor value orientation packing isHomogeneous scrollingPolicy listSizePolicy "
    "listMarginWidth scrollBarDisplayPolicy autoUnmanage defaultPosition resizePolicy dialogTitle "
    "iconPixmap activateCallback valueChangedCallback browseSelectionCallback";

// clang-format off
const Procedures procedures = {
    {KvcInstallToggleRead, "ToggleRead"}, {KvcInstallReadTextOk, "ReadTextOk"},
    {KvcInstallReadTextVal, "ReadTextVal"}, {KvcInstallLocationTextOk, "LocationTextOk"},
    {KvcInstallLocationTextVal, "LocationTextVal"}, {KvcInstallProduct, "Product"},
    {KvcInstallSubsystemOnOff, "SubsystemOnOff"}, {KvcInstallSystemInstall, "SystemInstall"},
    {KvcInstallSystemRemove, "SystemRemove"}, {KvcInstallSystemCancel, "SystemCancel"},
    {KvcInstallIcon, "Icon"}, {KvcInstallIconOk, "IconOk"}, {KvcInstallSelectUser, "SelectUser"},
    {KvcInstallIconLocChanged, "IconLocChanged"}, {KvcInstallIconDismiss, "IconDismiss"}};
// clang-format on

// The widget and everything in it, one line each.
std::string treeOf(Widget w, const std::string& indent = "") {
    std::string text = indent + XtName(w) + " " + XtClass(w)->core_class.class_name;
    text += KvuFormat(" %d,%d %dx%d", XtX(w), XtY(w), XtWidth(w), XtHeight(w));
    if (!XtIsManaged(w)) text += " unmanaged";
    text += resourcesOf(w, resources, procedures) + "\n";
    WidgetList children = nullptr;
    Cardinal count = 0;
    if (XtIsComposite(w)) XtVaGetValues(w, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (Cardinal i = 0; i < count; ++i) text += treeOf(children[i], indent + "  ");
    return text;
}

TEST_F(Window, HasItsWidgets) {
    // New ones, which the engine has not changed.
    XtManageChild(CreatekviInstallWidget(topLevel));
    const Widget shells[] = {XtParent(kviInstallWidget), kviInstallIconShell};
    expectFile(treeOf(shells[0]) + treeOf(shells[1]),
               KvuFormat("ui/window_x%d%s.txt", BxScale(XtDisplay(topLevel)),
                         MB_CUR_MAX > 1 ? "_utf8" : ""));
    for (const Widget shell : shells) {
        unsigned char response = XmDESTROY;
        XtVaGetValues(shell, XmNdeleteResponse, &response, nullptr);
        EXPECT_EQ(response, XmDO_NOTHING) << XtName(shell);
    }
}

// What the suite's other programs get: menus, and widgets that the installer does not have.
TEST_F(Window, SharesItsLookAndIcon) {
    const Widget shell = XtCreatePopupShell("other", topLevelShellWidgetClass, topLevel, {}, 0);
    const Widget board = XtCreateManagedWidget("board", xmBulletinBoardWidgetClass, shell, {}, 0);
    const auto name = [](const char* text) { return const_cast<char*>(text); };
    const Widget bar = XmCreateMenuBar(board, name("menuBar"), {}, 0);
    const Widget menu = XmCreatePulldownMenu(bar, name("menu"), {}, 0);
    Arg sub{name(XmNsubMenuId), reinterpret_cast<XtArgVal>(menu)};
    XtManageChild(XmCreateOptionMenu(board, name("optionMenu"), &sub, 1));
    const WidgetClass kinds[] = {
        xmLabelGadgetClass,         xmPushButtonGadgetClass, xmToggleButtonGadgetClass,
        xmCascadeButtonGadgetClass, xmPushButtonWidgetClass, xmToggleButtonWidgetClass,
        xmCascadeButtonWidgetClass, xmIconGadgetClass,       xmTextWidgetClass,
        xmScaleWidgetClass,         xmScrollBarWidgetClass,  xmSelectionBoxWidgetClass,
        xmMessageBoxWidgetClass};
    for (const Widget parent : {board, bar, menu})
        for (const WidgetClass kind : std::span(kinds, parent == board ? 13 : 7))
            XtCreateManagedWidget("w", kind, parent, {}, 0);
    static int closed = 0;
    ZarnAppSetCloseCB(shell, [](Widget, XtPointer data, XtPointer) { closed += data == nullptr; });
    XtPopup(shell, XtGrabNone);
    expectFile(treeOf(shell) + treeOf(menu), "ui/others.txt");
    askToClose(shell);
    pump(shell);
    EXPECT_EQ(closed, 1);
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

void type(Widget field, const char* text, int cursor) {
    XmTextFieldSetString(field, const_cast<char*>(text));
    XmTextFieldSetInsertionPosition(field, cursor);
}

// Both fields with their cursors; "+" stands for what is not confirmed.
std::string fields() {
    std::string all;
    for (const auto& [field, ok] : {std::pair(kviInstallLocationText, kviInstallLocationTextOk),
                                    std::pair(kviInstallReadText, kviInstallReadTextOk)})
        all += KvuFormat("%s%s %d ", KviText(XmTextFieldGetString(field)).get(),
                         XtIsSensitive(ok) ? "+" : "", int(XmTextFieldGetInsertionPosition(field)));
    return all;
}

TEST_F(Window, StaysWithTheMediumThatWasSwitchedOn) {
    pack();
    const std::tuple<Widget, int, std::string> media[] = {
        {kviInstallToggleRemoteTape, 1, "guest@<REMOTE-MACHINE-NAME>:/dev/tape"},
        {kviInstallToggleTarFile, 2, " Zarn2.0.tar"},
        {kviInstallToggleCD, 3, here / "Zarn_system"},
        {kviInstallToggleTape, 0, "/dev/tape"}};
    for (const auto& [toggle, medium, text] : media) {
        press(toggle);
        EXPECT_EQ(KvmInstallMgr::getReadFrom(), medium);
        EXPECT_EQ(fieldText(kviInstallReadText), text);
        for (const auto& other : media)
            EXPECT_EQ(XmToggleButtonGetState(std::get<Widget>(other)),
                      std::get<int>(other) == medium);
    }
}

TEST_F(Window, KeepsTextThatIsNotConfirmed) {
    type(kviInstallLocationText, "/nowhere", 3);
    type(kviInstallReadText, "/dev/other", 4);
    EXPECT_EQ(fields(), "/nowhere+ 3 /dev/other+ 4 ");
    press(kviInstallToggleRemoteTape);
    EXPECT_EQ(fields(), "/nowhere+ 3 guest@<REMOTE-MACHINE-NAME>:/dev/tape 0 ");
    EXPECT_STRNE(KvmInstallMgr::_info.path, "/nowhere");
    type(kviInstallReadText, "/dev/other", 4);
    press(kviInstallLocationTextOk);
    EXPECT_STREQ(KvmInstallMgr::_info.path, "/nowhere");
    EXPECT_EQ(fields(), "/nowhere 3 /dev/other+ 4 ");
    press(kviInstallReadTextOk);
    EXPECT_STREQ(KvmInstallMgr::_info.readText, "/dev/other");
    EXPECT_EQ(fields(), "/nowhere 3 /dev/other 4 ");
    type(kviInstallLocationText, "/a blank", 2);
    press(kviInstallLocationTextOk);
    EXPECT_EQ(fields(), "/a blank+ 2 /dev/other 4 ");
    acknowledge();
    KvcInstallProduct(kviInstallCorvan, nullptr, nullptr);
    XmToggleButtonSetState(kviInstallPinnet, False, False);
    XmToggleButtonSetState(kviInstallCorvan, True, False);
    KvcInstallProduct(kviInstallPinnet, nullptr, nullptr);
    EXPECT_EQ(KvmInstallMgr::_info.product, 0) << "no edition was switched on";
    press(kviInstallLustrel);
    EXPECT_EQ(KvmInstallMgr::_info.product, 2);
    mark(kviSubsystemModels, false);
    EXPECT_FALSE(KvmInstallSubsystem[3].selected);
    mark(kviSubsystemModels, true);
    EXPECT_TRUE(KvmInstallSubsystem[3].selected);
}

TEST_F(Window, InstallsAndRemoves) {
    const auto clickOn = [](Widget button) {
        Position x = 0, y = 0;
        XtTranslateCoords(button, 9, 9, &x, &y);
        return KvuFormat("xdotool mousemove %d %d click 1\n", int{x}, int{y});
    };
    pump(topLevel);
    // Clicks while the program is busy mean nothing.
    writeProgram(here / "make/Zarn_system/bin/Zarn.install",
                 clickOn(kviInstallButtonRemove) + "[ \"$1\" != -r ] || rm -rf \"$2\"");
    script("rm", clickOn(kviInstallButtonInstall) + "exec /bin/rm \"$@\"");
    pack();
    keepOnly("models");
    start("a blank", {});
    KvmStatus("Not yet");
    press(kviInstallButtonInstall);
    EXPECT_EQ(textOf(kviInstallSystemMsg), "Not yet");
    acknowledge();
    start("suite", {1});
    press(kviInstallButtonInstall);
    EXPECT_EQ(textOf(kviInstallSystemMsg),
              "Zarn-Pinnet Version 2.0 is currently installed. To reinstall, \"Remove\", then "
              "\"Install\".");
    EXPECT_EQ(subsystems(), "models ");
    type(kviInstallLocationText, "/nowhere", 3);
    type(kviInstallReadText, "/dev/other", 4);
    answerWith({0});
    press(kviInstallButtonRemove);
    EXPECT_EQ(
        textOf(kviInstallSystemMsg),
        "Zarn is currently not installed on this system. Click on \"Install\" when you are ready.");
    EXPECT_EQ(fields(), "/nowhere+ 3 /dev/other+ 4 ");
}

// Requests of the window manager to close a window bypass a question's grab.
TEST_F(Window, StaysWhileAQuestionIsOpen) {
    std::atexit([] {
        if (KvcQuestionOpen()) _exit(1);
    });
    XtSetSensitive(kviInstallButtonUsers, True);
    answers.prepare({[] {
        KvcInstallSystemCancel(nullptr, nullptr, nullptr);
        KvcInstallIconDismiss(nullptr, nullptr, nullptr);
        EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
        return answer(1)();
    }});
    press(kviInstallButtonUsers);
    EXPECT_EXIT(KvcInstallSystemCancel(nullptr, nullptr, nullptr), testing::ExitedWithCode(0), "");
}

TEST_F(Window, OpensAndClosesTheIconDialogAnyNumberOfTimes) {
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        // The dialog would cover a message.
        KvcUserInfo("Read me");
        answerWith({0, 1});
        KvcInstallIcon(nullptr, nullptr, nullptr);
        EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
        EXPECT_EQ(textOf(kviInstallIconProductLabel), "Zarn-Pinnet icon location");
        EXPECT_EQ(answers.asked,
                  (std::vector<std::string>{"Read me",
                                            "Do you want to install Indigo Magic desktop icons?"}));
        XWindowAttributes shell;
        XGetWindowAttributes(XtDisplay(topLevel), XtWindow(kviInstallIconShell), &shell);
        EXPECT_EQ(shell.backing_store, Always);
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

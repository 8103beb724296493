#include <gtest/gtest.h>  // before X.h, whose macros break it

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

// What the user and the engine see. "+" stands for a text that is not confirmed.
std::string state() {
    const auto field = [](Widget text, Widget ok) {
        return KvuFormat("%s%s %d ", KviText(XmTextFieldGetString(text)).get(),
                         XtIsSensitive(ok) ? "+" : "", int(XmTextFieldGetInsertionPosition(text)));
    };
    const KvmInstallInfo& info = KvmInstallMgr::_info;
    std::string all = field(kviInstallLocationText, kviInstallLocationTextOk);
    all += KvuFormat("[%s] ", info.path) + field(kviInstallReadText, kviInstallReadTextOk);
    all += KvuFormat("[%s] medium %d", info.readText, info.readFrom);
    for (const KvmInstallMediumRow& row : KvmInstallMedium)
        all += XmToggleButtonGetState(row.getWidget()) ? "x" : ".";
    all += KvuFormat(" edition %d, ", info.product);
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem) all += row.selected ? "x" : ".";
    all += KvuFormat(" \"%s\"", KviText(KvcLabelGetString(kviInstallSystemMsg)).get());
    if (!XtIsManaged(kviIInstallIcon)) return all;
    return all + " " + KviText(KvcLabelGetString(kviInstallIconProductLabel)).get() + " " +
           field(kviInstallIconPath, kviInstallIconInstall);
}

void set(Widget field, const std::string& text) {
    XmTextFieldSetString(field, const_cast<char*>(text.c_str()));
    XmTextFieldSetInsertionPosition(field, 2);
}

TEST_F(Window, DoesWhatItsUserAsksFor) {
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
    const auto act = [&](const std::string& what, const std::string& argument) {
        if (what == "location") set(kviInstallLocationText, argument);
        if (what == "medium") set(kviInstallReadText, argument);
        if (what == "icons") set(kviInstallIconPath, argument);
        if (what == "press") press(XtNameToWidget(topLevel, ("*" + argument).c_str()));
        if (what == "yes") answerWith({0});
        if (what == "no") answerWith({1});
        if (what == "yesNo") answerWith({0, 1});
        if (what == "only") keepOnly(argument);
        if (what == "user") XmListSelectPos(kviInstallUserList, std::stoi(argument), True);
        if (what == "close") askToClose(kviInstallIconShell), pump(topLevel);
        if (what == "switchOff") {
            XmToggleButtonSetState(kviInstallPinnet, False, False);
            XmToggleButtonSetState(kviInstallCorvan, True, False);
            KvcInstallProduct(kviInstallPinnet, nullptr, nullptr);
        }
        std::string result;
        for (const std::string& asked : answers.asked) result += asked + "\n";
        answers.asked.clear();
        if (message() != "") result += acknowledge();
        return result.substr(0, result.find("\nln: ")) + "\n" + state();
    };
    expectResults("ui/actions.txt", act, here);
    EXPECT_EQ(fs::read_symlink(here / "Zarn-Pinnet"), "/usr/sbin/Zarn-Pinnet");
    EXPECT_FALSE(isViewable(kviIInstallIcon));
    const KviXmString root(XmStringCreate(const_cast<char*>("root"), XmSTRING_DEFAULT_CHARSET));
    XmListDeleteItem(kviInstallUserList, root.get());
    EXPECT_FALSE(XmListItemExists(kviInstallUserList, root.get())) << "it is emptied each time";
    EXPECT_EQ(KvmInstallMgr::getHomeDir("roo"), nullptr);
}

// Requests of the window manager to close a window bypass a question's grab.
TEST_F(Window, StaysWhileAQuestionIsOpen) {
    std::atexit([] {
        if (KvcQuestionOpen()) _exit(1);
    });
    // The dialog would cover a message.
    KvcUserInfo("Read me");
    answers.prepare({answer(0), [] {
                         KvcInstallSystemCancel(nullptr, nullptr, nullptr);
                         KvcInstallIconDismiss(nullptr, nullptr, nullptr);
                         EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
                         return answer(1)();
                     }});
    KvcInstallIcon(nullptr, nullptr, nullptr);
    EXPECT_EQ(answers.asked.at(0), "Read me");
    XWindowAttributes shell;
    XGetWindowAttributes(XtDisplay(topLevel), XtWindow(kviInstallIconShell), &shell);
    EXPECT_EQ(shell.backing_store, Always);
    EXPECT_EXIT(KvcInstallSystemCancel(nullptr, nullptr, nullptr), testing::ExitedWithCode(0), "");
}

}  // namespace

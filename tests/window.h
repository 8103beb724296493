#pragma once

// Ahead of the headers of X, which define None and the like as macros.
#include <gtest/gtest.h>

#include <Xm/MessageB.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "tests/platform/scratch.h"
#include "ui/KviInstall.h"

/// The installer's window on the display of the tests, in a working directory of its own. The
/// window is built once in a process, since Motif bears only one connection to a display.
class InstallerWindow : public ScratchTest {
protected:
    void SetUp() override {
        buildOnce();
        fs::create_directories(here / "home");
        setenv("HOME", (here / "home").c_str(), 1);
        // A terminal would stay open for somebody to read it.
        script("xwsh", "exit 0");
        setenv("PATH",
               (here / "tools")
                   .string()
                   .append(":" ZARN_BINARY_DIR "/Zarn_tools:")
                   .append(machinePath)
                   .c_str(),
               1);
        KvmInstallMgr::_info = {};
        KvmInstallMgr::_isRoot = 0;
        ASSERT_TRUE(KvCopyText(KvmInstallMgr::_infoFile, (here / "home/.Zarn_inst").string()));
        KvmInstallMgr::initInfo();
        KvmInstallMgr::setProductUI();
        KvmInstallMgr::init();
        // What an earlier case said is not to be taken for this one's.
        if (kvcMessageWidget != nullptr) XtUnmanageChild(kvcMessageWidget);
    }

    void TearDown() override {
        if (timer != 0) XtRemoveTimeOut(timer);
        fs::remove("/tmp/.kvcInstallMsg");
    }

    /// Puts a program of that name in front of the machine's own.
    void script(const std::string& name, const std::string& lines) const {
        writeProgram(here / "tools" / name, lines);
    }

    static std::string textOf(Widget label) { return KviText(KvcLabelGetString(label)).get(); }

    static std::string fieldText(Widget field) {
        return KviText(XmTextFieldGetString(field)).get();
    }

    static std::string colourOf(Widget w) {
        Pixel pixel = 0;
        XtVaGetValues(w, XmNforeground, &pixel, nullptr);
        XColor colour{};
        colour.pixel = pixel;
        XQueryColor(XtDisplay(w), DefaultColormapOfScreen(XtScreen(w)), &colour);
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.red >> 8, colour.green >> 8,
                      colour.blue >> 8);
        return text;
    }

    /// The text of the message that is shown, "" when there is none.
    static std::string message() {
        if (kvcMessageWidget == nullptr || !XtIsManaged(kvcMessageWidget)) return "";
        return textOf(XmMessageBoxGetChild(kvcMessageWidget, XmDIALOG_MESSAGE_LABEL));
    }

    /// Switches a toggle as a user does.
    static void mark(Widget toggle, int on) {
        XmToggleButtonSetState(toggle, on ? True : False, True);
    }

    /// Presses a button as a user does.
    static void press(Widget button) {
        XEvent event{};
        event.xany.type = ButtonPress;
        event.xany.display = XtDisplay(button);
        event.xany.window = XtWindow(button);
        XtCallActionProc(button, "ArmAndActivate", &event, nullptr, 0);
    }

    /// Lets the coming questions be answered, in order, with these buttons (0 the first). What was
    /// asked is in `asked` afterwards.
    void answerWith(std::vector<int> buttons) {
        answers = std::move(buttons);
        asked.clear();
        if (timer == 0) timer = XtAppAddTimeOut(app, 20, answerOne, this);
    }

    const fs::path here = folder;
    std::vector<std::string> asked;
    static inline Widget topLevel = nullptr;
    static inline XtAppContext app = nullptr;

private:
    static void buildOnce() {
        if (topLevel != nullptr) return;
        int argc = 1;
        char name[] = "Zarn_install";
        char* argv[] = {name, nullptr};
        ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "these tests need a display";
        machinePath = std::getenv("PATH");
        topLevel =
            XtVaAppInitialize(&app, "Zarn_install", nullptr, 0, &argc, argv, nullptr, nullptr);
        XtManageChild(CreatekviInstallWidget(topLevel));
        KvcInit(topLevel, &app);
        KvcSetMessagesOver(kviInstallWidget);
    }

    static void answerOne(XtPointer closure, XtIntervalId*) {
        auto* self = static_cast<InstallerWindow*>(closure);
        self->timer = 0;
        if (self->answers.empty()) return;
        if (KvcQuestionOpen()) {
            self->asked.push_back(message());
            const int button = self->answers.front();
            self->answers.erase(self->answers.begin());
            const char* list = button == 0 ? XmNokCallback : XmNcancelCallback;
            XtCallCallbacks(kvcMessageWidget, list, nullptr);
        }
        self->timer = XtAppAddTimeOut(app, 20, answerOne, self);
    }

    std::vector<int> answers;
    XtIntervalId timer = 0;
    static inline std::string machinePath;
};

#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/KvuCommand.h"
#include "tests/fixtures/hands.h"
#include "tests/fixtures/seen.h"

namespace {

// Runs the calls in a table. In their arguments, "-" stands for null.
class Helpers : public ScratchTest {
protected:
    Widget make(WidgetClass kind, const char* name = "w") {
        return XtCreateManagedWidget(name, kind, box, {}, 0);
    }
    static const char* text(const std::string& word) {
        return word == "-" ? nullptr : word.c_str();
    }
    static void countUp(Widget, void* count, void*) { ++*static_cast<int*>(count); }

    Widget box = XtCreateManagedWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    int called = 0;
};

TEST_F(Helpers, ShowTexts) {
    const Widget label = make(xmLabelWidgetClass), selection = make(xmSelectionBoxWidgetClass);
    XtVaSetValues(label, XmNmarginLeft, 7, XmNmarginRight, 5, nullptr);
    expectResults("motif/labels.txt", [&](const std::string& what, const std::string& line) {
        KvText taken = "";
        std::string result;
        if (what == "set") KvcLabelSetString(label, text(line));
        if (what == "resize") KvcLabelSetStringAndResize(label, label, text(line), 5, 8);
        if (what == "keepSize") XtVaSetValues(label, XmNrecomputeSize, False, nullptr);
        if (what == "fit") {
            XtVaSetValues(label, XmNwidth, std::stoi(words(line)[0]), nullptr);
            result = std::to_string(KvcFitLabel(label, std::stoi(words(line)[1])));
        }
        if (what == "selected") {
            XtVaSetValues(selection, XmNtextString, KviStringOf(line.c_str()).get(), nullptr);
            KvcWidgetGetTextString(selection, taken);
        }
        EXPECT_EQ(what == "set" && line != "-" ? KviText(KvcLabelGetString(label)).get() : line,
                  line);
        return result + resourcesOf(label, "labelString fontList width") + " " + taken;
    });
    KvcLabelSetString(label, "caf\xe9");
    EXPECT_STREQ(KviText(KvcLabelGetString(label)).get(), "caf\xe9");
    XtVaSetValues(selection, XmNtextString, KviStringOf(std::string(1024, 'x').c_str()).get(),
                  nullptr);
    KvText taken = "";
    KvcWidgetGetTextString(selection, taken);
    EXPECT_EQ(taken, std::string(1023, 'x'));
}

TEST_F(Helpers, HandleNumbers) {
    const Widget s = make(xmScaleWidgetClass), f = make(xmTextFieldWidgetClass);
    XtVaSetValues(s, XmNminimum, -10, XmNmaximum, 50, nullptr);
    expectResults("motif/numbers.txt", [&](const std::string& what, const std::string& line) {
        auto args = words(line);
        args.resize(4);
        const Widget scale = args[0] == "-" ? nullptr : s, field = args[1] == "-" ? nullptr : f;
        const int third = std::atoi(args[2].c_str()), fourth = std::atoi(args[3].c_str());
        double result = 0;
        int value = 0;
        testing::internal::CaptureStderr();
        if (what == "type") XmTextFieldSetString(f, args[0].data());
        if (what == "number") result = KvcGetTextValue(field);
        if (what == "set") KvcSliderSetValue(scale, third);
        if (what == "setBoth") KvcSliderSetValue(scale, field, third);
        if (what == "get") result = KvcSliderGetValue(scale, field, third);
        if (what == "getFloat") KvcSliderGetFloatValue(scale, field, third, fourth);
        XmScaleGetValue(s, &value);
        const bool warned = !testing::internal::GetCapturedStderr().empty();
        return KvuFormat("%.0f%s, shown %d %s", result, warned ? " with a warning" : "", value,
                         KviText(XmTextFieldGetString(f)).get());
    });
}

TEST_F(Helpers, MakeChoices) {
    std::vector<Widget> t, b;
    const Widget menu = XmCreatePulldownMenu(box, const_cast<char*>("menu"), {}, 0);
    for (const char* name : {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
        t.push_back(*name == '4' ? nullptr : make(xmToggleButtonWidgetClass));
        b.push_back(*name == '4'
                        ? nullptr
                        : XtCreateManagedWidget(name, xmPushButtonWidgetClass, menu, {}, 0));
    }
    Arg sub{const_cast<char*>(XmNsubMenuId), reinterpret_cast<XtArgVal>(menu)};
    const Widget option = XmCreateOptionMenu(box, const_cast<char*>("option"), &sub, 1);
    expectResults("motif/choices.txt", [&](const std::string& what, const std::string& line) {
        const int i = std::stoi(line);
        if (what == "radio")
            KvcSetRadio(i, t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9]);
        if (what == "option")
            KvcSetOption(i, option, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9]);
        if (what == "sensitive") KvcSetSensitive(t[0], i);
        Widget chosen = nullptr;
        XtVaGetValues(option, XmNmenuHistory, &chosen, nullptr);
        std::string all = XtName(chosen) + std::string(XtIsSensitive(t[0]) ? " " : " insensitive ");
        for (const Widget toggle : t) all += toggle && XmToggleButtonGetState(toggle) ? "x" : ".";
        return all;
    });
}

// The items of a list, with a star at those that are selected.
std::string itemsOf(Widget list) {
    XmStringTable items = nullptr;
    int count = 0;
    XtVaGetValues(list, XmNitems, &items, XmNitemCount, &count, nullptr);
    std::string all;
    for (int i = 0; i < count; ++i) {
        const std::string item = written(items[i]);
        all += XmListPosSelected(list, i + 1) ? " *" : " ";
        all += item.substr(item.find_last_of(":)") + 1);
    }
    return all;
}

TEST_F(Helpers, ListFiles) {
    for (const char* file : {"b.iv", "#c.iv", ".iv", "d.txt", "a.iv", "e/x"}) writeFile(file, "x");
    const Widget list = make(xmListWidgetClass);
    XtAddCallback(list, XmNbrowseSelectionCallback, countUp, &called);
    const Widget files = KvcCreateSimpleFileSelector(box, "files", countUp, &called);
    const Widget prompt = XmCreatePromptDialog(testShell(), const_cast<char*>("prompt"), {}, 0);
    const auto act = [&](const std::string& what, const std::string& line) {
        auto args = words(line + " 0 0 0 0");
        const char* const names[] = {"z", "a", "z"};
        const char *first = text(args[0]), *second = text(args[1]), *next = nullptr;
        const int number = std::atoi(args[1].c_str()), third = std::atoi(args[2].c_str());
        int result = 0;
        if (what == "files") result = KvcListFiles(list, first, second, third, 1, text(args[3]));
        if (what == "filesOfBox") result = KvcListFiles(files, first, second, third, 0, "b");
        if (what == "filesOfPrompt") result = KvcListFiles(prompt, first, second, third, 0, "b");
        if (what == "items") KvcListItems(list, names, 3, first);
        if (what == "many") XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
        if (what == "add") result = KvcListNamesCB(list, first, number, third);
        if (what == "mark") result = KvcSelectNamesCB(list, first, number, 0);
        if (what == "walk") next = KvcGetDirectoryList(first, second, third);
        if (what == "next") next = KvcGetDirectoryList(nullptr, nullptr, 0);
        if (what == "folder") KvcFileSelectorSetDirectory(files, first);
        if (what == "new") writeFile(args[0], "x"), KvcFileSelectorUpdate(files);
        if (what == "ok") XtCallCallbacks(files, XmNokCallback, nullptr);
        return KvuFormat("%d %s, called %d:%s /%s", result, KvOrEmpty(next), called,
                         itemsOf(list).c_str(),
                         itemsOf(XmSelectionBoxGetChild(files, XmDIALOG_LIST)).c_str()) +
               (what == "folder" ? resourcesOf(files,
                                               "marginWidth marginHeight resizePolicy autoUnmanage "
                                               "dirSpec directory dirMask")
                                 : "");
    };
    expectResults("motif/lists.txt", act, folder);
    std::string children;
    for (int child = XmDIALOG_CANCEL_BUTTON; child <= XmDIALOG_TEXT; ++child)
        if (const Widget of = XmFileSelectionBoxGetChild(files, child); of && XtIsManaged(of))
            children += XtName(of) + std::string(" ");
    EXPECT_EQ(children, "OK OK FilterLabel FilterText ItemsList Items Selection Text ");
}

}  // namespace

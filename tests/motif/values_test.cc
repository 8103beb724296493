#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fixtures/hands.h"
#include "tests/fixtures/seen.h"

namespace {

// Tests of single calls: each writes what it sees, and the whole is compared with a file.
class Helpers : public ScratchTest {
protected:
    ~Helpers() override {
        std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        expectFile(log.str(), "motif/" + name + ".txt");
    }

    Widget make(WidgetClass kind, const char* name = "w") {
        return XtCreateManagedWidget(name, kind, box, {}, 0);
    }

    Widget box = XtCreateManagedWidget("box", xmBulletinBoardWidgetClass, testShell(), {}, 0);
    std::ostringstream log;
};

TEST_F(Helpers, Labels) {
    const Widget label = make(xmLabelWidgetClass);
    const auto note = [&](const std::string& what) {
        log << what << resourcesOf(label, "labelString fontList width") << "\n";
    };
    for (const char* text : {"", "one\n\ntwo\n", "caf\xe9", "::t\"x\""}) {
        KvcLabelSetString(label, text);
        EXPECT_STREQ(KviText(KvcLabelGetString(label)).get(), text);
    }
    KvcLabelSetString(label, nullptr);
    note("null");
    for (const char* text : {"", "1234", "12345", "1234567", "12345678"}) {
        KvcLabelSetStringAndResize(label, label, text, 5, 8);
        note("resized");
    }
    KvcLabelSetStringAndResize(label, label, nullptr, 1, 1);
    note("null");
    KvcLabelSetString(label, "This is text");
    XtVaSetValues(label, XmNrecomputeSize, False, XmNmarginLeft, 7, XmNmarginRight, 5, nullptr);
    for (const auto& [width, room] :
         {std::pair(20, 50), {20, 500}, {500, 0}, {500, 600}, {78, 79}, {80, 0}, {20, 10}}) {
        XtVaSetValues(label, XmNwidth, width, nullptr);
        log << width << " room " << room << " fits " << KvcFitLabel(label, room);
        note("");
    }
    const Widget selection = make(xmSelectionBoxWidgetClass);
    for (const std::string& text : {std::string("two\nlines"), std::string(1030, 'x')}) {
        XtVaSetValues(selection, XmNtextString, KviStringOf(text.c_str()).get(), nullptr);
        KvText taken = "";
        KvcWidgetGetTextString(selection, taken);
        log << std::string(taken).substr(0, 9) << " " << std::string(taken).size() << "\n";
    }
}

TEST_F(Helpers, Numbers) {
    const Widget scale = make(xmScaleWidgetClass), field = make(xmTextFieldWidgetClass);
    XtVaSetValues(scale, XmNminimum, -10, XmNmaximum, 50, nullptr);
    const auto note = [&](double result = 0) {
        int value = 0;
        XmScaleGetValue(scale, &value);
        log << " " << result << "," << value << "," << KviText(XmTextFieldGetString(field)).get();
    };
    for (const char* text :
         {"", "12abc", "-3.75", "99", "-1e1", "99999999999", "-99999999999", "nan", "x"}) {
        const auto type = [&] { XmTextFieldSetString(field, const_cast<char*>(text)); };
        type();
        log << "\n" << text << ":";
        note(KvcGetTextValue(field));
        note(KvcSliderGetValue(scale, field, 0));
        type();
        note((KvcSliderGetFloatValue(scale, field, 10, 0), 0));
        note(KvcSliderGetValue(nullptr, field, 0));
        note((KvcSliderGetFloatValue(scale, field, 8, 1), 0));
        note(KvcSliderGetValue(scale, field, 1));
    }
    log << "\nnull:";
    note(KvcGetTextValue(nullptr));
    note(KvcSliderGetValue(nullptr, nullptr, 0));
    note(KvcSliderGetValue(nullptr, nullptr, 1));
    note((KvcSliderSetValue(nullptr, 5), 0));
    note((KvcSliderSetValue(nullptr, field, 6), 0));
    note((KvcSliderSetValue(scale, nullptr, 7), 0));
    note(KvcSliderGetValue(scale, nullptr, 0));
    note((KvcSliderGetFloatValue(nullptr, field, 8, 1), 0));
    note((KvcSliderGetFloatValue(scale, nullptr, 8, 1), 0));
    log << "\nset:";
    for (const int value : {-11, -10, 50, 51}) note((KvcSliderSetValue(scale, value), value));
    testing::internal::CaptureStderr();
    note((KvcSliderSetValue(scale, field, 51), 0));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    note((KvcSliderSetValue(scale, field, 49), 0));
}

TEST_F(Helpers, Choices) {
    std::vector<Widget> t, b;
    const Widget menu = XmCreatePulldownMenu(box, const_cast<char*>("menu"), {}, 0);
    for (int i = 0; i < 10; ++i) {
        t.push_back(i == 4 ? nullptr : make(xmToggleButtonWidgetClass));
        const std::string name = std::to_string(i);
        b.push_back(XtCreateManagedWidget(name.c_str(), xmPushButtonWidgetClass, menu, {}, 0));
    }
    b[4] = nullptr;
    Arg sub{const_cast<char*>(XmNsubMenuId), reinterpret_cast<XtArgVal>(menu)};
    const Widget option = XmCreateOptionMenu(box, const_cast<char*>("option"), &sub, 1);
    for (const int which : {7, -1, 0, 9, 3, 4, 10, 5}) {
        KvcSetRadio(which, t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9]);
        log << which << " ";
        for (const Widget toggle : t) log << (toggle && XmToggleButtonGetState(toggle) ? "x" : ".");
        KvcSetOption(which, option, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9]);
        Widget chosen = nullptr;
        XtVaGetValues(option, XmNmenuHistory, &chosen, nullptr);
        log << " " << XtName(chosen) << "\n";
    }
    for (const int sensitive : {0, 0, 2, 1, 0}) {
        KvcSetSensitive(t[0], sensitive);
        log << bool(XtIsSensitive(t[0]));
    }
}

TEST_F(Helpers, Lists) {
    for (const char* file : {"b.iv", "#c.iv", ".iv", "d.txt", "a.iv", "e/x"}) writeFile(file, "x");
    const Widget list = make(xmListWidgetClass);
    int presses = 0, selected = 0;
    const auto countUp = [](Widget, void* to, void*) { ++*static_cast<int*>(to); };
    const Widget files = KvcCreateSimpleFileSelector(box, "files", countUp, &presses);
    // The items' last names; those that are selected after a star.
    const auto note = [&](Widget of, double result) {
        XmStringTable items = nullptr;
        int count = 0;
        XtVaGetValues(of, XmNitems, &items, XmNitemCount, &count, nullptr);
        log << result << ":";
        for (int i = 0; i < count; ++i) {
            const std::string item = written(items[i]);
            log << (XmListPosSelected(of, i + 1) ? " *" : " ")
                << item.substr(item.find_last_of(")/") + 1);
        }
        log << "\n";
    };
    XtAddCallback(list, XmNbrowseSelectionCallback, countUp, &selected);
    for (const char* ext : {static_cast<const char*>(nullptr), "", ".iv"})
        for (const int keep : {0, 1})
            note(list, KvcListFiles(list, ".", ext, keep, 1, keep ? "b.iv" : "b"));
    note(list, selected);
    note(list, KvcListFiles(list, ".", ".none", 0, 1, nullptr));
    note(list, KvcListFiles(list, "missing", nullptr, 0, 1, "b"));
    const Widget inner = XmSelectionBoxGetChild(files, XmDIALOG_LIST);
    note(inner, KvcListFiles(files, ".", ".iv", 0, 0, "b"));
    const Widget prompt = XmCreatePromptDialog(testShell(), const_cast<char*>("prompt"), {}, 0);
    note(inner, KvcListFiles(prompt, ".", nullptr, 0, 0, "b"));
    const char* const names[] = {"z", "a", "z"};
    KvcListItems(list, names, 3, nullptr);
    note(list, selected);
    XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
    KvcListItems(list, names, 3, "z");
    note(list, selected);
    const std::tuple<const char*, int, int> added[] = {
        {"first", 0, 1}, {"last", 1, 0}, {"second", 1, 2}, {"more", 0, 0}};
    for (const auto& [name, select, at] : added) note(list, KvcListNamesCB(list, name, select, at));
    for (const auto& [name, select] : {std::pair("a", 1), {"a", 1}, {"z", 0}, {"none", 0}})
        note(list, KvcSelectNamesCB(list, name, select, 0));
    note(list, selected);
    // A list that is filled during an iteration has its own extension.
    for (const char* dir : {"missing", ".", "."}) {
        EXPECT_EQ(KvcGetDirectoryList(dir, ".iv", 0), nullptr);
        while (const char* name = KvcGetDirectoryList(nullptr, nullptr, 0)) {
            log << name << " ";
            KvcListFiles(list, ".", ".long_extension", 0, 1, nullptr);
        }
    }
    KvcGetDirectoryList(".", ".iv", 1);
    log << KvcGetDirectoryList(nullptr, nullptr, 0);
    KvcGetDirectoryList(".", nullptr, 0);
    log << KvcGetDirectoryList(nullptr, nullptr, 0) << "\n";
    for (const std::string directory : {"/", "/e///"}) {
        KvcFileSelectorSetDirectory(files, (folder + directory).c_str());
        KvcFileSelectorSetDirectory(files, nullptr);
        pump(files);
        writeFile("e/new.iv", "x");
        KvcFileSelectorUpdate(files);
        std::string seen = resourcesOf(files,
                                       "marginWidth marginHeight resizePolicy autoUnmanage dirSpec "
                                       "directory dirMask fileListItemCount");
        for (std::size_t at = 0; (at = seen.find(folder)) != seen.npos;)
            seen.replace(at, folder.size(), "~");
        log << seen << "\n";
    }
    for (int child = XmDIALOG_CANCEL_BUTTON; child <= XmDIALOG_TEXT; ++child)
        if (const Widget of = XmFileSelectionBoxGetChild(files, child))
            log << XtName(of) << (XtIsManaged(of) ? " " : "- ");
    XtCallCallbacks(files, XmNokCallback, nullptr);
    log << presses;
}

}  // namespace

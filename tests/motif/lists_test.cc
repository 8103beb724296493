#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/builder/XTest.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

Names items(Widget w, const char* items = XmNitems, const char* count = XmNitemCount) {
    XmStringTable table = nullptr;
    int number = 0;
    XtVaGetValues(w, items, &table, count, &number, nullptr);
    Names names;
    for (int i = 0; i < number; ++i)
        names.emplace_back(
            KviText(static_cast<char*>(XmStringUnparse(table[i], nullptr, XmCHARSET_TEXT,
                                                       XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL)))
                .get());
    return names;
}

Names walked() {
    Names names;
    while (const char* name = KvcGetDirectoryList(nullptr, nullptr, 0)) names.push_back(name);
    return names;
}

class Lists : public testing::Test {
protected:
    void SetUp() override {
        std::string folder = ZARN_BINARY_DIR "/lists.XXXXXX";
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        here = folder;
        for (const char* file : {"b.iv", "#c.iv", ".iv", "d.txt", "a.iv"})
            std::ofstream(here / file) << "x";
        fs::create_directory(here / "empty");
    }
    void TearDown() override { fs::remove_all(here); }

    fs::path here;
    Widget list = XmCreateList(testShell(), const_cast<char*>("list"), nullptr, 0);
};

TEST_F(Lists, HoldTheFilesOfADirectory) {
    const std::tuple<const char*, const char*, int, Names> cases[] = {
        {".", ".iv", 0, {"a", "b"}},
        {".", nullptr, 0, {".iv", "a.iv", "b.iv", "d.txt", "empty"}},
        {"empty", nullptr, 0, {}},
        {"missing", ".iv", 1, {}}};
    Widget box = XmCreateSelectionBox(testShell(), const_cast<char*>("box"), nullptr, 0);
    for (const auto& [name, ext, keepExt, names] : cases) {
        SCOPED_TRACE(std::string(name) + (ext != nullptr ? ext : "") + std::to_string(keepExt));
        const std::string folder = here / name;
        EXPECT_EQ(KvcListFiles(list, folder.c_str(), ext, keepExt, 1, nullptr), !names.empty());
        EXPECT_EQ(items(list), names);
        EXPECT_EQ(KvcListFiles(box, folder.c_str(), ext, keepExt, 0, "b"), !names.empty());
        EXPECT_EQ(items(box, XmNlistItems, XmNlistItemCount), names);
        EXPECT_EQ(KvcGetDirectoryList(folder.c_str(), ext, keepExt), nullptr);
        EXPECT_EQ(walked(), names);
        EXPECT_EQ(walked(), Names());
    }
    KvcGetDirectoryList(here.c_str(), ".iv", 0);
    EXPECT_STREQ(KvcGetDirectoryList(nullptr, nullptr, 0), "a");
    KvcGetDirectoryList(here.c_str(), ".txt", 1);
    EXPECT_EQ(walked(), Names{"d.txt"}) << "the walk before was given up";
}

TEST_F(Lists, TakeAndSelectNames) {
    int calls = 0;
    const auto count = [](Widget, XtPointer called, XtPointer) { ++*static_cast<int*>(called); };
    XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
    XtAddCallback(list, XmNmultipleSelectionCallback, count, &calls);
    const char* const names[] = {"z", "a", "z"};
    KvcListItems(list, names, 1, nullptr);
    KvcListItems(list, names, 3, "z");
    EXPECT_EQ(KvcListNamesCB(list, "top", 1, 1), 1);
    EXPECT_EQ(KvcListNamesCB(list, "end", 1, 0), 5);
    EXPECT_EQ(items(list), Names({"top", "z", "a", "z", "end"}));
    EXPECT_EQ(items(list, XmNselectedItems, XmNselectedItemCount), Names({"top", "z", "z", "end"}));
    EXPECT_EQ(KvcSelectNamesCB(list, "end", 0, 7), 3);
    for (const char* name : {"a", "a", "nobody"})
        EXPECT_EQ(KvcSelectNamesCB(list, name, 1, 0), 4) << name;
    EXPECT_EQ(calls, 0);
    KvcListFiles(list, here.c_str(), ".iv", 0, 1, "b");
    EXPECT_EQ(items(list, XmNselectedItems, XmNselectedItemCount), Names{"b"});
    EXPECT_EQ(calls, 1);
}

TEST_F(Lists, FileSelectorsReadTheirDirectoryAgain) {
    Widget box = KvcCreateSimpleFileSelector(testShell(), "files", nullptr, nullptr);
    KvcFileSelectorSetDirectory(box, here.c_str());
    fs::remove(here / "a.iv");
    KvcFileSelectorUpdate(box);
    EXPECT_EQ(items(box, XmNlistItems, XmNlistItemCount).size(), 4U);
}

}  // namespace

#include <gtest/gtest.h>

#include <Xm/XmAll.h>

#include <string>

#include "motif/KvcUtil.h"
#include "tests/fixtures/display.h"
#include "tests/fixtures/hands.h"
#include "tests/fixtures/scratch.h"

namespace {

// The names of the items, with a blank after each.
std::string items(Widget list, const char* resource, const char* countResource) {
    XmStringTable table = nullptr;
    int count = 0;
    XtVaGetValues(list, resource, &table, countResource, &count, nullptr);
    std::string names;
    for (int i = 0; i < count; ++i) {
        const std::string item = written(table[i]);
        names += item.substr(item.find_last_of(")/") + 1) + " ";
    }
    return names;
}

using Files = ScratchTest;

TEST_F(Files, AreListedAndSelected) {
    for (const char* file : {"b.iv", "#c.iv", ".iv", "d.txt", "a.iv"}) writeFile(file, "x");
    Widget box = KvcCreateSimpleFileSelector(
        XmCreateDialogShell(testShell(), const_cast<char*>("files"), nullptr, 0), "box", nullptr,
        nullptr);
    XtManageChild(box);
    KvcFileSelectorSetDirectory(box, folder.c_str());
    pump(box);
    fs::remove("d.txt");
    KvcFileSelectorUpdate(box);
    EXPECT_EQ(items(box, XmNlistItems, XmNlistItemCount), "#c.iv .iv a.iv b.iv ");
    Widget list = XmSelectionBoxGetChild(box, XmDIALOG_LIST);
    EXPECT_TRUE(KvcListFiles(box, ".", ".iv", 0, 0, "b"));
    EXPECT_EQ(items(list, XmNitems, XmNitemCount), "a b ");
    EXPECT_EQ(items(list, XmNselectedItems, XmNselectedItemCount), "b ");
    EXPECT_FALSE(KvcListFiles(list, "missing", nullptr, 0, 1, nullptr));
    EXPECT_EQ(items(list, XmNitems, XmNitemCount), "");
    const char* const names[] = {"z", "a"};
    KvcListItems(list, names, 2, "a");
    EXPECT_EQ(items(list, XmNselectedItems, XmNselectedItemCount), "a ");

    Widget prompt = XmCreatePromptDialog(testShell(), const_cast<char*>("prompt"), nullptr, 0);
    EXPECT_FALSE(KvcListFiles(prompt, ".", nullptr, 0, 0, "b")) << "it has no list";
    // A list that is filled during an iteration has its own extension.
    KvcGetDirectoryList(".", ".iv", 0);
    for (const char* file : {"a", "b"}) {
        EXPECT_STREQ(KvcGetDirectoryList(nullptr, nullptr, 0), file);
        KvcListFiles(list, ".", ".long_extension", 0, 1, nullptr);
    }
    EXPECT_EQ(KvcGetDirectoryList(nullptr, nullptr, 0), nullptr);
}

}  // namespace

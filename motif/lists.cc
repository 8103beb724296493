#include <Xm/FileSB.h>
#include <Xm/List.h>
#include <Xm/SelectioB.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "support/KvuOwners.h"
#include "support/KvuSystem.h"

namespace {

// A copy, since it is used after the call that set it.
std::string kviListFilesExt;

struct dirent** kviDirList = nullptr;
int kviDirListNum = 0;
int kviDirListCurrent = 0;
// Kept apart from `kviListFilesExt`: lists may be filled with other extensions during an iteration.
std::size_t kviDirListCut = 0;
KvText name;

void useExtension(const char* ext) {
    kviListFilesExt = ext != nullptr ? ext : "";
}

std::size_t cutFromNames(int keepExt) {
    return keepExt ? 0 : kviListFilesExt.size();
}

int KvcListFilesSelect(struct dirent* entry) {
    const std::string_view file = entry->d_name;
    if (file.size() <= kviListFilesExt.size() || file == "." || file == "..") return 0;
    return !file.starts_with('#') && file.ends_with(kviListFilesExt) ? 1 : 0;
}

std::string shownName(const struct dirent* entry, std::size_t cut) {
    std::string shown = entry->d_name;
    shown.resize(shown.size() - cut);
    return shown;
}

void endWalk() {
    const KvuListing walked(std::exchange(kviDirList, nullptr), std::exchange(kviDirListNum, 0));
}

void setItems(Widget w, bool isList, XmString* items, int count) {
    XtVaSetValues(w, isList ? XmNitems : XmNlistItems, items,
                  isList ? XmNitemCount : XmNlistItemCount, count, nullptr);
}

std::string withoutSlashes(std::string directory) {
    while (!directory.empty() && directory.back() == '/') directory.pop_back();
    return directory;
}

}  // namespace

int KvcListFiles(Widget w, const char* dir, const char* ext, int keepExt, int isList,
                 const char* select) {
    Widget list = isList ? w : XmSelectionBoxGetChild(w, XmDIALOG_LIST);
    if (list == nullptr) return 0;
    // A selection from another directory does not apply to this one.
    XmListDeselectAllItems(list);
    setItems(w, isList, nullptr, 0);
    useExtension(ext);
    KvuListing files;
    files.count = KvcGetListFiles(dir, &files.entries);
    if (files.count <= 0) return 0;
    std::vector<KviXmString> owners;
    std::vector<XmString> items;
    for (int i = 0; i < files.count; ++i) {
        owners.push_back(KviStringOf(shownName(files.entries[i], cutFromNames(keepExt)).c_str()));
        items.push_back(owners.back().get());
    }
    items.push_back(nullptr);
    setItems(w, isList, items.data(), files.count);
    if (select != nullptr) XmListSelectItem(list, KviStringOf(select).get(), True);
    return 1;
}

const char* KvcGetDirectoryList(const char* dir, const char* ext, int keepExt) {
    if (dir != nullptr) {
        endWalk();
        useExtension(ext);
        kviDirListNum = KvcGetListFiles(dir, &kviDirList);
        kviDirListCurrent = 0;
        kviDirListCut = cutFromNames(keepExt);
        return nullptr;
    }
    if (kviDirListCurrent >= kviDirListNum) {
        endWalk();
        return nullptr;
    }
    const std::string shown = shownName(kviDirList[kviDirListCurrent++], kviDirListCut);
    // Always fits: the name of a directory entry has at most 255 bytes.
    static_cast<void>(KvCopyText(name, shown));
    return name;
}

int KvcGetListFiles(const char* dir, struct dirent*** list) {
    return KvuSystem::scandir(dir, list, KvcListFilesSelect);
}

void KvcListItems(Widget list, const char* const* items, int n, const char* select) {
    XmListDeleteAllItems(list);
    for (int i = 0; i < n; ++i) {
        XmListAddItemUnselected(list, KviStringOf(items[i]).get(), 0);
        if (select != nullptr && std::string_view(items[i]) == select)
            XmListSelectPos(list, i + 1, False);
    }
}

int KvcListNamesCB(void* list, const char* item, int select, int position) {
    auto* widget = static_cast<Widget>(list);
    XmListAddItemUnselected(widget, KviStringOf(item).get(), position);
    int count = 0;
    XtVaGetValues(widget, XmNitemCount, &count, nullptr);
    if (select) XmListSelectPos(widget, position, False);
    return position == 0 ? count : position;
}

int KvcSelectNamesCB(void* list, const char* item, int select, int) {
    auto* widget = static_cast<Widget>(list);
    const KviXmString string = KviStringOf(item);
    if (!select)
        XmListDeselectItem(widget, string.get());
    else if (const int at = XmListItemPos(widget, string.get()); !XmListPosSelected(widget, at))
        XmListSelectItem(widget, string.get(), False);
    int count = 0;
    XtVaGetValues(widget, XmNselectedItemCount, &count, nullptr);
    return count;
}

Widget KvcCreateSimpleFileSelector(Widget parent, const char* boxName,
                                   void (*okCallback)(Widget, void*, void*), void* clientData) {
    std::array<Arg, 4> arguments;
    XtSetArg(arguments[0], const_cast<char*>(XmNautoUnmanage), False);
    XtSetArg(arguments[1], const_cast<char*>(XmNmarginWidth), 2);
    XtSetArg(arguments[2], const_cast<char*>(XmNmarginHeight), 2);
    XtSetArg(arguments[3], const_cast<char*>(XmNresizePolicy), XmRESIZE_NONE);
    Widget box = XmCreateFileSelectionBox(parent, const_cast<char*>(boxName), arguments.data(),
                                          arguments.size());
    XtAddCallback(box, XmNokCallback, okCallback, clientData);
    for (const unsigned char child :
         {XmDIALOG_CANCEL_BUTTON, XmDIALOG_HELP_BUTTON, XmDIALOG_SEPARATOR})
        XtUnmanageChild(XmFileSelectionBoxGetChild(box, child));
    return box;
}

void KvcFileSelectorSetDirectory(Widget box, const char* dir) {
    if (dir == nullptr) return;
    const std::string directory = withoutSlashes(dir) + "/";
    const KviXmString place = KviStringOf(directory.c_str());
    const KviXmString mask = KviStringOf((directory + "*").c_str());
    XtVaSetValues(box, XmNdirSpec, place.get(), XmNdirectory, place.get(), XmNdirMask, mask.get(),
                  XmNpattern, nullptr, nullptr);
}

void KvcFileSelectorUpdate(Widget box) {
    XmString directory = nullptr;
    XtVaGetValues(box, XmNdirectory, &directory, nullptr);
    const KviXmString owner(directory);
    char* text = nullptr;
    if (directory == nullptr ||
        !XmStringGetLtoR(directory, const_cast<char*>(XmSTRING_DEFAULT_CHARSET), &text))
        return;
    const KviText path(text);
    KvcFileSelectorSetDirectory(box, path.get());
}

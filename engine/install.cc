#include <Xm/TextF.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "motif/KvcUtil.h"
#include "ui/KvcInstallIcon.h"
#include "ui/KviInstall.h"

namespace {

// Where an attempt of this process that came to nothing left something; empty: nowhere.
struct Leftovers {
    std::string treeIn;
    std::string folderIn;
};
Leftovers leftovers;

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

void status(const char* text) {
    KvmInstallMgr::info(kviInstallSystemMsg, text);
}

// Takes over what stands in the window's two fields; what the user typed and did not confirm
// passes the same checks as with "Ok".
bool takeFields() {
    const KviText location(XmTextFieldGetString(kviInstallLocationText));
    const KviText medium(XmTextFieldGetString(kviInstallReadText));
    if (std::strlen(medium.get()) >= KvTextSize) {
        KvmInstallMgr::setReadText(medium.get());
        return false;
    }
    if (!KvCopyText(state().readText, medium.get())) return false;
    if (std::strcmp(location.get(), state().path) != 0)
        return KvmInstallMgr::setLocation(location.get()) != 0;
    return !KvmTakeLocation(location.get()).empty();
}

bool mayInstall() {
    const KvmInstallInfo& info = state();
    if (info.installed && !KvmInstallMgr::isRunningOnServer())
        return KvmFail(KvmInstallMgr::getProductName(), " was originally installed on host '",
                       info.installHostname,
                       ".'\nPlease log in to that system to add or remove subsystems.");
    return true;
}

bool fitsAndIsNew() {
    const KvmInstallInfo& info = state();
    if (!KvmInstallMgr::initDiskSpace())
        return KvmFail("Not enough disk space for installation.\nPlease enter another file path.");
    // A mark that was taken back leaves its flag behind.
    if (info.installed && KvmMarkedSubsystems().empty())
        return KvmFail("Zarn system has already been installed in \"", info.path,
                       "\".\nNo new subsytems have been marked for installation.");
    return true;
}

void changeEdition(const std::string& place) {
    KvmRun("Zarn_system/bin/Zarn.install %s %s %s %s", place, KvmInstallMgr::getProductCode(),
           KvmInstallMgr::getProductName(), "scriptOnly");
}

bool isLink(const char* name) {
    struct stat entry;
    return lstat(name, &entry) == 0 && S_ISLNK(entry.st_mode);
}

bool enterLocation() {
    // Touching a link that somebody left there would write elsewhere.
    if (!KvmChangeDirectory(state().path) || isLink(".Zarn_system") ||
        !KvmRun("touch .Zarn_system"))
        return KvmFail("Can't write to disk.\nPlease select another path");
    KvmRun("rm -f .Zarn_system >/dev/null");
    return true;
}

bool holds(const char* name) {
    return KvuSystem::fileExists(state().path, name, 0);
}

bool removeLeftovers(bool tree, bool folder) {
    const std::string_view path = state().path;
    if (KvcUserConfirm(2, yesNo, "The last installation in ", state().path,
                       " was not finished.\nRemove what it left there, and start again?") != 0)
        return false;
    return (!tree || KvmRun("rm -rf %s/%s", path, kvmSystem) ||
            KvmFail("Can't remove ", kvmSystem)) &&
           (!folder || KvmRun("rm -rf %s/%s", path, kvmSubsystems) ||
            KvmFail("Can't remove ", kvmSubsystems));
}

// What is extracted gets the names "Zarn_system" and "subsystems" in the location. What has these
// names already and is not a leftover of this process belongs to somebody: extraction would write
// into it, and placing the subsystems would take it away.
bool locationIsFree() {
    const KvmInstallInfo& info = state();
    const bool tree = !info.installed && holds(kvmSystem);
    const bool folder = info.readFrom != kvmCdRom && holds(kvmSubsystems);
    if (tree && leftovers.treeIn != info.path) return KvmInstallMgr::isValidInstallPath(info.path);
    if (folder && leftovers.folderIn != info.path)
        return KvmFail("There is a folder \"subsystems\" in ", info.path,
                       " already.\nPlease move it, or enter another location path.");
    return (!tree && !folder) || removeLeftovers(tree, folder);
}

void noteLeftovers() {
    const KvmInstallInfo& info = state();
    leftovers.treeIn = !info.installed && holds(kvmSystem) ? info.path : "";
    leftovers.folderIn = info.readFrom != kvmCdRom && holds(kvmSubsystems) ? info.path : "";
}

bool extractArchives() {
    const KvmRows wanted = KvmMarkedSubsystems();
    if (!KvmInstallArchives() || kvmDeclined) return false;
    // The archive that failed may have been the last one, which places the subsystems.
    if (!holds(kvmSubsystems)) return true;
    return KvmPlaceExtracted() && (!state().installed || KvmReportAdded(wanted));
}

bool extractAll() {
    kvmDeclined = false;
    if (state().readFrom == kvmTarFile) return extractArchives();
    return KvmInstallMgr::copyInstall(std::string(state().readText).c_str(), 1) != 0;
}

void runProductScripts(const std::string& place) {
    const std::string_view system = kvmSystem;
    const std::string_view path = state().path;
    KvmRun("cp %s %s/%s/resources/%s", KvmInstallMgr::_infoFile, path, system, kvmRecord);
    KvmRun("Zarn_system/bin/Zarn.install %s %s %s", place, KvmInstallMgr::getProductCode(),
           KvmInstallMgr::getProductName());
    KvmRun("cp %s/%s %s/%s/bin", state().startDir, "Zarn_install", place, system);
}

bool finishFirst(const std::string& place) {
    std::printf("\nInitializing Installation...\a\n");
    if (!KvmWriteRecord(place))
        return KvmFail("Can't write out info file ", KvmInstallMgr::_infoFile);
    runProductScripts(place);
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected;
    state().installed = state().installedInThisSession = 1;
    status("Installed Zarn system\a");
    if (KvmInstallMgr::_isRoot) {
        KvcInstallIcon(nullptr, nullptr, nullptr);
        KvmInstallMgr::installTranslators();
    }
    KvmInstallMgr::getInstallInfo();
    return true;
}

bool finishAdding() {
    KvmShowInstalled();
    status("Installation of selected subsystems successful");
    return true;
}

}  // namespace

int KvmInstallMgr::install() {
    if (!takeFields()) return 0;
    // From here on the directory has to be found from anywhere, the product tree included.
    const std::string place = std::string_view(_info.path) == "." ? KvuSystem::getwd() : _info.path;
    if (!KvCopyText(_info.path, place)) return 0;
    if (!mayInstall()) return 0;
    if (_info.productChanged) changeEdition(place);
    if (!fitsAndIsNew() || !enterLocation() || !locationIsFree()) return 0;
    const int done = extractAll() && (_info.installed ? finishAdding() : finishFirst(place));
    // Nothing is left over of what was finished, whatever stands there from now on.
    leftovers = {};
    if (!done) noteLeftovers();
    return done;
}

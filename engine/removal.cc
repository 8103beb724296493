#include <cerrno>
#include <cstdio>
#include <string>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/lock.h"
#include "engine/record.h"
#include "engine/trust.h"
#include "engine/window.h"
#include "platform/Files.h"

namespace {

constexpr const char* removeSub[] = {"Marked subsystems", "Entire Zarn system"};

// If the product tree or the subsystem folder is a link, it leads out of the installed tree.
bool removeDirectory(const std::string& folder, const char* directory, std::string& reason) {
    const std::string tree = KvuFormat("%s/%s", KvmInstallMgr::_info.path, kvmSystem);
    reason = KvmSystemReason(ENOTDIR);
    if (!platform::isRealDirectory(tree) || !platform::isRealDirectory(folder)) return false;
    const bool removed = KvmRun("rm -rf %s/%s", folder, directory);
    reason = KvmCommandReason();
    return removed;
}

// Anybody who can write there could redirect the names that are removed.
bool isSafe(const std::string& folder) {
    return KvmOnlySuperUserWrites(folder, "For safety nothing was removed from\n" + folder);
}

// A subsystem that could not be removed is still there, at least in part. Its row shows that again,
// as it would after a restart, and can be switched off again. If the user only declined a removal,
// the mark stays.
void showWhatStayed() {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        if (row.installed || !KvmIsPresent(row)) continue;
        row.installed = row.selected = 1;
        KvmSetToggle(row.getWidget(), true);
    }
    KvmShowInstalled();
}

// Removes the row's subsystem if the user agrees; true when it is gone.
bool removeSubsystem(KvmInstallSubsystemRow& row, const std::string& folder) {
    if (KvcUserConfirm(2, yesNo, "Remove subsystem '", row.label, "'?") != 0) return false;
    std::string reason;
    const bool removed = removeDirectory(folder, row.directory, reason);
    if (!removed) KvmFail("Error: could not remove subsystem \"", row.label, "\"", reason);
    std::printf(removed ? "Removed subsystem [%s]\n" : "Could not remove subsystem [%s]\n",
                row.label);
    std::fflush(stdout);
    row.installed = 0;
    KvmShowMark(row.getWidget(), KvmMark::none);
    return removed;
}

}  // namespace

int KvmInstallMgr::removeSubsystems() {
    const std::string folder = KvmSubsystemFolder();
    std::string summary;
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        if (row.selected || !KvmIsPresent(row)) continue;
        if (removeSubsystem(row, folder)) summary = KvuFormat("%s\n%s", summary.c_str(), row.label);
    }
    if (!summary.empty())
        KvcUserInfo("Successfully removed the following subsystems:\n\n", summary.c_str());
    _info.subsystemsRemoved = 0;
    return 1;
}

int KvmInstallMgr::removeAll() {
    const std::string home = KvmHome();
    if (KvuSystem::fileExists(home.c_str(), ".zarnRunning", 0))
        return KvmFail("Zarn is currently running.\nExit the program before removing Zarn_system",
                       "\n\nIf it is not running, delete this file:\n", home.c_str(),
                       "/.zarnRunning");
    KvmPreparedRecord record;
    if (!record.keepOthersOff() || !KvmRecordIsAsSeen()) return 0;
    const std::string tree = KvuFormat("%s/%s", _info.path, kvmSystem);
    // Check now: without its script the tree would stay, and once the record is gone nothing would
    // name it.
    const std::string script = tree + "/bin/Zarn.install";
    if (!platform::mayUse(script, platform::toRun))
        return KvmFail("Can't remove ", tree, KvmSystemReason(errno));
    if (!KvmMayRun(script)) return 0;
    const std::string program = KvmInstalledProgram();
    record.announceRemoval(_info.path);
    if (!KvmRun("rm -f %s", _infoFile)) {
        record.drop();
        return KvmFail("Can't remove ", _infoFile, KvmCommandReason());
    }
    // The session may have been using the record inside the tree.
    KvmReturnToOwnRecord();
    if (KvmIsSameDirectory(KvmOwnRecordPlace(), _info.path)) KvmRun("rm -f %s", _infoFile);
    KvmUnmarkComplete(_info.path);
    KvmForgetRecord();
    KvmStatus("Removing Zarn system ...\a");
    if (!KvmRun("%s/Zarn_system/bin/Zarn.install -r %s/%s", _info.path, _info.path, kvmSystem))
        return KvmFail("Can't remove ", tree, KvmCommandReason());
    KvmRun("rm -f %s/%s %s/%s", home, program, "/usr/sbin", program);
    // If part of the tree is still there, it stays recorded as unfinished.
    if (KvmHolds(_info.path, kvmSystem))
        KvmFail("The product's script has left this behind:\n", tree);
    else
        record.drop();
    _info.installed = 0;
    KvmForgetMarks();
    KvmStatus("Removed ", _info.path, "/Zarn_system\a");
    return 1;
}

int KvmInstallMgr::remove() {
    if (!_info.installed) return KvmFail("Zarn is not installed on this system!");
    const KvmPlaceLock lock(_info.path);
    if (!lock.held() || !KvmRecordIsAsSeen()) return 0;
    if (_info.subsystemsRemoved) {
        const int answer = KvcUserConfirm(
            2, removeSub,
            "Some subsystems have been marked for removal. Do you want to\nremove just those "
            "subsystems, or do you want the entire\nZarn system removed?");
        if (answer == 0) {
            if (!isSafe(KvmSubsystemFolder())) return 0;
            const int done = removeSubsystems();
            showWhatStayed();
            return done;
        }
        if (answer != 1) return 0;
    }
    if (KvcUserConfirm(2, yesNo,
                       "Are you sure you want to remove the currently\ninstalled Zarn system in ",
                       _info.path, "?") != 0)
        return 0;
    return removeAll();
}

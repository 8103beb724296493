#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

#include "engine/catalogue.h"
#include "engine/checksums.h"
#include "engine/command.h"
#include "engine/extract.h"
#include "engine/lock.h"
#include "engine/record.h"
#include "engine/session.h"
#include "engine/trust.h"
#include "engine/window.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace {

constexpr const char* cantWrite = "Can't write to disk.\nPlease select another path";
constexpr const char* notAllDone = "The Zarn system is installed, but this failed:\n";
constexpr const char* noSystem = "What was extracted is not a Zarn system: ";

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

// Accept the fields

// While an installed suite is shown, only "Ok" switches to another location.
bool takeLocation() {
    const std::string typed = KvmLocationField();
    if (!state().installed)
        return typed == state().path ? !KvmCheckedLocation(typed).empty()
                                     : KvmInstallMgr::setLocation(typed.c_str());
    const std::string place = KvmCheckedLocation(typed);
    if (place.empty()) return false;
    if (KvmIsSameDirectory(place, state().path)) return true;
    return KvmFail(
        KvuFormat("%s is installed in\n%s.\nTo install into\n%s,\npress \"Ok\" beside that "
                  "location first.",
                  KvmInstalledProgram().c_str(), state().path, place.c_str())
            .c_str());
}

// Text that the user typed without pressing "Ok" goes through the same checks.
bool takeFields() {
    const std::string medium = KvmMediumField();
    if (!KvCopyText(state().readText, medium)) {
        KvmInstallMgr::setReadText(medium.c_str());
        return false;
    }
    return takeLocation();
}

KvmPlan planOfFields() {
    KvmPlan plan;
    plan.adding = state().installed;
    // From here on the path must work from any working directory, such as the product tree.
    plan.place = state().path;
    if (plan.place == ".") {
        plan.place = KvuSystem::getwd();
        KvmShowLocation(plan.place.c_str());
    }
    plan.source = state().readText;
    // cp runs in the product tree, but the checks of its source run elsewhere: make it absolute.
    if (state().readFrom == KvmCdRom && !plan.source.starts_with('/'))
        plan.source = KvuFormat("%s/%s", state().startDir, plan.source.c_str());
    if (!plan.adding || state().subsystemsAdded) plan.wanted = KvmWantedRows();
    return plan;
}

// Look

bool mayInstall() {
    if (!state().installed || KvmInstallMgr::isRunningOnServer()) return true;
    return KvmFail(KvmInstalledProgram().c_str(), " was originally installed on host '",
                   state().installHostname,
                   ".'\nPlease log in to that system to add or remove subsystems.");
}

bool fits(const KvmPlan& plan) {
    if (!platform::mayUse(KvmNearestDirectory(plan.place),
                          platform::toRead | platform::toWrite | platform::toRun))
        return KvmFail(cantWrite, KvmSystemReason(errno));
    if (KvmInstallMgr::initDiskSpace()) return true;
    return KvmFail("Not enough disk space for installation.\nPlease enter another file path.");
}

bool isSomethingToAdd(const KvmPlan& plan) {
    // Don't rely on the flags: they stay set when a mark is taken back.
    if (!plan.adding || !plan.wanted.empty()) return true;
    return KvmFail("Zarn system has already been installed in \"", plan.place.c_str(),
                   "\".\nNo new subsytems have been marked for installation.");
}

bool canBeWritten(KvmPlan& plan) {
    std::error_code error;
    plan.makePlace = !std::filesystem::exists(plan.place, error);
    if (plan.makePlace) return true;
    if (!KvmChangeDirectory(plan.place)) return KvmFail(cantWrite, KvmSystemReason(errno));
    // If somebody left a link here, the test below would write to the link's target.
    if (std::filesystem::is_symlink(".Zarn_system", error))
        return KvmFail(cantWrite, "\n", plan.place, "/.Zarn_system is a link.");
    if (!KvmRun("touch .Zarn_system")) return KvmFail(cantWrite, KvmCommandReason());
    KvmRun("rm -f .Zarn_system >/dev/null");
    return true;
}

bool isSafe(const KvmPlan& plan) {
    return KvmOnlySuperUserWrites(plan.place, "Others could change what is installed there.");
}

// Refuses sources that might never end, such as a pipe.
bool isTape(const KvmPlan& plan) {
    std::error_code error;
    const std::filesystem::file_status source = std::filesystem::status(plan.source, error);
    if (error || is_regular_file(source) || is_character_file(source) || is_block_file(source))
        return true;
    return KvmFail(KvmInstallMedium[state().readFrom].error, "\n", plan.source,
                   "\nis neither a device nor a file.");
}

// cp would recreate device files, and anybody with access to the copies could open, for example,
// the machine's disks.
bool hasNoDevices(const KvmPlan& plan) {
    std::error_code error;
    const std::filesystem::recursive_directory_iterator all(
        plan.source, std::filesystem::directory_options::skip_permission_denied, error);
    for (auto entry = begin(all); !error && entry != end(all); entry.increment(error)) {
        if (entry->is_symlink(error)) continue;
        if (entry->is_block_file(error) || entry->is_character_file(error))
            return KvmFail(KvmInstallMedium[KvmCdRom].error, "\n", entry->path().native(),
                           "\nis a device.");
    }
    return true;
}

bool findSource(KvmPlan& plan) {
    if (plan.complete) return true;
    if (state().readFrom == KvmCdRom) return hasNoDevices(plan);
    if (state().readFrom != KvmTarFile) return isTape(plan);
    plan.archives = KvmLocateArchives(plan.source.c_str(), plan.allArchives);
    return !plan.archives.empty();
}

bool liesBelow(const std::string& path, const std::string& directory) {
    const std::string real = platform::absolutePath(path);
    return (real + "/").starts_with(platform::absolutePath(directory) + "/");
}

// Whether the whole medium can be read, and is not inside what would be removed. Only then may an
// unfinished installation from it be removed.
bool canBeReadAgain(const KvmPlan& plan) {
    const auto goes = [&](const std::string& path) {
        return liesBelow(path, KvuFormat("%s/%s", plan.place.c_str(), kvmSystem)) ||
               liesBelow(path, KvuFormat("%s/%s", plan.place.c_str(), kvmSubsystems));
    };
    bool readable = plan.allArchives;
    if (state().readFrom == KvmCdRom)
        readable = KvuSystem::numFiles(plan.source.c_str()) > 0 && !goes(plan.source);
    else if (plan.archives.empty())
        readable = KvmRun("tar tf %s >/dev/null", plan.source);
    for (const KvmArchive& archive : plan.archives)
        readable =
            readable && !goes(archive.path) &&
            (archive.compressed() ? KvmRun("gunzip -c %s | tar tf - >/dev/null", archive.path)
                                  : KvmRun("tar tf %s >/dev/null", archive.path));
    if (readable) return true;
    return KvmFail(KvmInstallMedium[state().readFrom].error,
                   "\nWhat the last installation left is kept.");
}

// Whether only the record is missing: all is extracted, and only wanted subsystems are there.
bool isFinishedButForTheRecord(const KvmPlan& plan) {
    return !plan.adding && KvmIsSameDirectory(KvmUnfinishedPlace(), plan.place) &&
           KvmIsComplete(plan.place) &&
           std::ranges::all_of(KvmRowsIn(KvmSubsystemFolder()),
                               [](const auto* row) { return row->selected; });
}

int refuseFolder(const std::string& folder, const char* name) {
    return KvmFail("There is a folder \"", name, "\" in ",
                   (folder + " already.\nPlease move it, or enter another location path.").c_str());
}

// Extraction creates "Zarn_system" and "subsystems" in the location, or the subsystems' folders in
// the product tree. Anything that already has such a name belongs to somebody: extraction would
// write into it, and placing the subsystems would move it away. The exception is what an
// interrupted installation of this user's left: that is finished, or removed and begun again.
bool isFree(KvmPlan& plan) {
    if (plan.complete) return true;
    const std::string tree = KvuFormat("%s/%s", plan.place.c_str(), kvmSystem);
    const bool folder = KvmHolds(plan.place, kvmSubsystems);
    if (plan.adding && state().readFrom == KvmCdRom) {
        const auto there = KvmRowsIn(tree);
        for (const KvmInstallSubsystemRow* row : plan.wanted)
            if (there.contains(row)) return refuseFolder(tree, row->directory);
        return true;
    }
    plan.startAgain = !plan.adding && KvmIsSameDirectory(KvmUnfinishedPlace(), plan.place);
    if (!plan.adding && !plan.startAgain && !KvmInstallMgr::isValidInstallPath(plan.place.c_str()))
        return false;
    // If the tree has its subsystems already, this folder is not from the interrupted installation.
    if (folder && (!plan.startAgain || KvmHolds(tree, kvmSubsystems)))
        return refuseFolder(plan.place, kvmSubsystems);
    return !plan.startAgain || canBeReadAgain(plan);
}

// Asks for the user's consent, after all other checks have passed.
bool isAgreedTo(const KvmPlan& plan) {
    const std::string elsewhere = plan.adding ? "" : KvmUnfinishedPlace();
    // Only one unfinished installation is remembered.
    if (!elsewhere.empty() && !KvmIsSameDirectory(elsewhere, plan.place) &&
        KvcUserConfirm(2, yesNo, "The last installation in ", elsewhere.c_str(),
                       " was not finished.\nIf you install elsewhere now, what it left has to be "
                       "removed by hand. Go on?") != 0)
        return false;
    if (plan.startAgain &&
        KvcUserConfirm(2, yesNo, "The last installation in ", plan.place.c_str(),
                       " was not finished.\nRemove what it left there, and start again?") != 0)
        return false;
    return !plan.makePlace || KvcUserConfirm(2, yesNo, "There is no folder\n", plan.place.c_str(),
                                             "\nyet. Make it?") == 0;
}

// The checks before anything is changed. The last step prepares the record.
bool look(KvmPlan& plan, KvmPreparedRecord& record) {
    plan.complete = isFinishedButForTheRecord(plan);
    return fits(plan) && isSomethingToAdd(plan) && isSafe(plan) && canBeWritten(plan) &&
           findSource(plan) && isFree(plan) && KvmAgreesWithSums(plan) &&
           (plan.adding || record.canBePrepared()) && isAgreedTo(plan) &&
           (plan.adding || record.prepare(plan.place));
}

// Act

// The product's script sets the tree up for another edition; it is recorded only if that succeeds.
bool changeEdition(const KvmPlan& plan) {
    const char* edition = KvmInstallMgr::getProductName();
    if (!KvmMayRun(plan.place + "/Zarn_system/bin/Zarn.install")) return false;
    if (!KvmChangeDirectory(plan.place) ||
        !KvmRun("Zarn_system/bin/Zarn.install %s %s %s %s", plan.place,
                KvmInstallMgr::getProductCode(), edition, "scriptOnly"))
        return KvmFail("Could not change the installed edition to ", edition,
                       ".\nThe terminal shows what its script said.");
    if (const std::string record = KvmRecordEdition(); !record.empty())
        return KvmFail("The installed edition is ", edition,
                       " now, but that could not be recorded in ", record, KvmSystemReason(errno));
    state().productChanged = 0;
    KvcUserInfo("The installed edition is ", edition, " now.");
    return true;
}

// Extract only into a folder that we have just created ourselves.
bool makeFolder(const KvmPlan& plan, const char* name) {
    if (platform::makeDirectory(KvuFormat("%s/%s", plan.place.c_str(), name))) return true;
    return errno == EEXIST ? refuseFolder(plan.place, name)
                           : KvmFail(cantWrite, KvmSystemReason(errno));
}

bool makeFolders(const KvmPlan& plan) {
    if (!plan.adding && !makeFolder(plan, kvmSystem)) return false;
    if (state().readFrom == KvmCdRom || plan.wanted.empty() || makeFolder(plan, kvmSubsystems))
        return true;
    if (!plan.adding)
        platform::removeEmptyDirectory(KvuFormat("%s/%s", plan.place.c_str(), kvmSystem));
    return false;
}

bool enter(const KvmPlan& plan) {
    const bool there = !plan.makePlace || KvuSystem::mkdir(plan.place.c_str());
    if (there && KvmChangeDirectory(plan.place)) return true;
    return KvmFail(cantWrite, KvmSystemReason(errno));
}

// The tree is removed last: while it exists, the place is known to be unfinished.
bool removeRest(const KvmPlan& plan) {
    for (const char* name : {kvmSubsystems, kvmSystem}) {
        // An incomplete copy of a CD-ROM is still read-only, like the original.
        if (platform::isRealDirectory(KvuFormat("%s/%s", plan.place.c_str(), name)))
            KvmRun("chmod -R u+rwX %s/%s", plan.place, name);
        if (!KvmRun("rm -rf %s/%s", plan.place, name))
            return KvmFail("Can't remove ", name, KvmCommandReason());
    }
    return true;
}

bool begin(const KvmPlan& plan, const KvmPreparedRecord& record) {
    // Check again: somebody may have created the place while the question was open.
    const bool entered = enter(plan) && isSafe(plan);
    // The record keeps naming what could not be removed, but never what somebody else created.
    if (entered && plan.startAgain && !removeRest(plan)) return false;
    if (entered && (plan.complete || makeFolders(plan))) return true;
    if (entered || !(plan.startAgain || plan.complete)) record.drop();
    return false;
}

KvmExtraction extract(KvmPlan& plan) {
    if (plan.complete) return KvmExtraction::all;
    return KvmInstallMedium[state().readFrom].extract(plan);
}

// Deletes the archives that the user does not want, once nothing can need them any more.
void deleteArchives(const KvmPlan& plan) {
    for (const KvmArchive& archive : plan.archives) {
        if (!archive.unwanted) continue;
        if (!KvmRun("rm -rf %s", archive.unpacked))
            KvmFail("Can't remove ", archive.unpacked, KvmCommandReason());
        // The installer has always paused here for two seconds; no later step depends on it.
        std::this_thread::sleep_for(std::chrono::seconds(2));
    }
}

void keepArchives(const KvmPlan& plan) {
    bool wereUnwanted = false;
    for (const KvmArchive& archive : plan.archives) {
        if (!archive.unwanted) continue;
        wereUnwanted = true;
        KvmPackAgain(archive);
    }
    if (wereUnwanted)
        KvcUserInfo("The tar files were kept, since the installation is not complete.");
}

// Removes the tree if it is empty. True if no tree is left in the place.
bool isAsBefore(const KvmPlan& plan) {
    const std::string tree = KvuFormat("%s/%s", plan.place.c_str(), kvmSystem);
    return platform::removeEmptyDirectory(tree) || !KvmHolds(plan.place, kvmSystem);
}

void tellFailure(const KvmPlan& plan) {
    const char* const what = plan.adding ? "subsystems." : "system.";
    if (KvuFormat("Could not install Zarn %s", what) != KvInstallInfoMsg)
        KvmStatus("Could not install Zarn ", what);
}

int giveUp(const KvmPlan& plan, const KvmPreparedRecord& record) {
    if (plan.adding) {
        KvmDropExtracted(plan);
        KvmShowInstalled();
        return 0;
    }
    keepArchives(plan);
    if (!isAsBefore(plan)) return 0;
    if (state().readFrom != KvmCdRom) KvmDropExtracted(plan);
    record.drop();
    return 0;
}

// Subsystems that could not be placed are left where they are: the user may need them.
int giveUpPlacing(const KvmPlan& plan) {
    tellFailure(plan);
    keepArchives(plan);
    if (plan.adding) KvmShowInstalled();
    return 0;
}

// An installer that is found in PATH need not be in the distribution's folder.
std::string installerToCopy() {
    std::error_code error;
    if (KvmHolds(state().startDir, "Zarn_install"))
        return KvuFormat("%s/Zarn_install", state().startDir);
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

int copyInstaller(const KvmPlan& plan) {
    const char* const step = "the copy of the installer into the product tree.";
    const std::string own = installerToCopy();
    const std::string copy = KvuFormat("%s/%s/bin/Zarn_install", plan.place.c_str(), kvmSystem);
    std::error_code error;
    // Reading from a pipe, for example, might never end.
    if (!std::filesystem::is_regular_file(own, error))
        return KvmFail(notAllDone, step, "\n", own, " is not a file.");
    // An archive may have put a link here, to anywhere, so remove it. The new file becomes
    // executable only when it is complete, so that nobody can run half a program.
    KvuSystem::rm(copy.c_str(), 0);
    platform::makePrivateFile(copy);
    const bool copied =
        KvmHolds(state().startDir, "Zarn_install")
            ? KvmRun("cp %s/%s %s/%s/bin", state().startDir, "Zarn_install", plan.place, kvmSystem)
            : KvmRun("cp %s %s", own, copy);
    if (copied) std::filesystem::permissions(copy, std::filesystem::perms{0755}, error);
    if (copied && !error) return 1;
    const std::string reason = KvmCommandReason();
    KvmRun("rm -f %s", copy);
    return KvmFail(notAllDone, step, reason);
}

// The installation counts as done even if these steps fail.
void setUp(const KvmPlan& plan) {
    const std::string_view place = plan.place;
    if (!KvmRun("cp %s %s/%s/resources/%s", KvmInstallMgr::_infoFile, place, kvmSystem, kvmRecord))
        KvmFail(notAllDone, "the copy of the installation record into the product tree.",
                KvmCommandReason());
    if (KvmMayRun(plan.place + "/Zarn_system/bin/Zarn.install") &&
        !KvmRun("Zarn_system/bin/Zarn.install %s %s %s", place, KvmInstallMgr::getProductCode(),
                KvmInstallMgr::getProductName()))
        KvmFail(notAllDone, "the product's install script. The terminal shows what it said.",
                KvmCommandReason());
    copyInstaller(plan);
}

bool isProgram(const std::string& path) {
    using std::filesystem::perms;
    std::error_code error;
    const std::filesystem::file_status file = std::filesystem::symlink_status(path, error);
    return is_regular_file(file) && (file.permissions() & perms::owner_exec) != perms::none;
}

// An archive can contain anything under these names, including links.
bool isSound(const KvmPlan& plan) {
    const std::string tree = KvuFormat("%s/%s", plan.place.c_str(), kvmSystem);
    const std::string script = tree + "/bin/Zarn.install";
    const std::string resources = tree + "/resources";
    if (!platform::isRealDirectory(tree) || !platform::isRealDirectory(tree + "/bin") ||
        !isProgram(script))
        return KvmFail(noSystem, "there is no program\n", script);
    if (platform::isRealDirectory(resources)) return true;
    return KvmFail(noSystem, "there is no folder\n", resources);
}

int finishFirst(const KvmPlan& plan, const KvmPreparedRecord& record) {
    std::printf("\nInitializing Installation...\a\n");
    KvmMarkComplete(plan.place);
    // Sync first: after a power failure the record must not name files that are not on the disk.
    platform::syncFiles(plan.place);
    if (!record.putInPlace()) {
        KvmStatus("Could not install Zarn ", "system.");
        keepArchives(plan);
        return 0;
    }
    setUp(plan);
    deleteArchives(plan);
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected;
    state().installed = state().installedInThisSession = 1;
    const std::string before = KvInstallInfoMsg;
    KvmStatus("Installed Zarn system\a");
    // A tree that was complete before is not compared with what is selected now.
    if (!plan.complete) KvmReportMissing(plan);
    if (KvmInstallMgr::_isRoot) {
        KvmOpenIconDialog();
        KvmInstallMgr::installTranslators();
    }
    state().installed = KvmInstallMgr::getInstallInfo();
    if (!state().installed) KvmStatus(before.c_str());
    return state().installed;
}

int finishAdding(const KvmPlan& plan) {
    KvmReportAdded(plan);
    KvmShowInstalled();
    KvmStatus("Installation of selected subsystems successful");
    return 1;
}

}  // namespace

int KvmInstallMgr::install() {
    if (!takeFields()) return 0;
    KvmPlan plan = planOfFields();
    if (!KvCopyText(_info.path, plan.place) || !KvmRecordIsAsSeen() || !mayInstall()) return 0;
    const KvmPlaceLock lock(KvmNearestDirectory(plan.place));
    if (!lock.held()) return 0;
    // The edition can be changed without adding subsystems.
    if (_info.productChanged && plan.wanted.empty()) return fits(plan) && changeEdition(plan);
    KvmPreparedRecord record;
    const std::string before = KvInstallInfoMsg;
    const bool editionChanges = _info.productChanged;
    if (!look(plan, record) || (editionChanges && !changeEdition(plan)) || !begin(plan, record)) {
        // The checks may have changed the status line.
        KvmStatus(before.c_str());
        return 0;
    }
    const KvmExtraction result = extract(plan);
    if (result == KvmExtraction::declined) {
        // The status before may name the edition before.
        editionChanges ? init() : KvmStatus(before.c_str());
        return giveUp(plan, record);
    }
    if (result == KvmExtraction::failed || (!plan.adding && !isSound(plan))) {
        tellFailure(plan);
        return giveUp(plan, record);
    }
    if (!plan.complete && !KvmPlaceExtracted(plan)) return giveUpPlacing(plan);
    return plan.adding ? finishAdding(plan) : finishFirst(plan, record);
}

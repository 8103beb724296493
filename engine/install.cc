#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/PlaceLock.h"
#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/extract.h"
#include "engine/record.h"
#include "engine/session.h"
#include "engine/window.h"
#include "platform/Platform.h"

namespace {

constexpr const char* cantWrite = "Can't write to disk.\nPlease select another path";

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

// Take over the fields

// While a suite is installed it stays the one that is shown: only "Ok" leads to another location.
bool takeLocation() {
    const std::string typed = KvmLocationField();
    if (!state().installed)
        return typed == state().path ? !KvmTakeLocation(typed).empty()
                                     : KvmInstallMgr::setLocation(typed.c_str()) != 0;
    const std::string place = KvmTakeLocation(typed);
    if (place.empty()) return false;
    if (KvmIsSameDirectory(place, state().path)) return true;
    return KvmFail(
        KvuPrint("%s is installed in\n%s.\nTo install into\n%s,\npress \"Ok\" beside that "
                 "location first.",
                 KvmInstalledProgram().c_str(), state().path, place.c_str())
            .c_str());
}

// What the user typed and did not confirm passes the same checks as with "Ok".
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
    plan.adding = state().installed != 0;
    // From here on the directory has to be found from anywhere, the product tree included.
    plan.place = state().path;
    if (plan.place == ".") {
        plan.place = KvuSystem::getwd();
        KvmShowLocation(plan.place.c_str());
    }
    plan.source = state().readText;
    // A copy starts in the product tree, the look at its source elsewhere.
    if (state().readFrom == KvmCdRom && !plan.source.starts_with('/'))
        plan.source = KvuPrint("%s/%s", state().startDir, plan.source.c_str());
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
    if (access(KvmNearestDirectory(plan.place).c_str(), R_OK | W_OK | X_OK) != 0)
        return KvmFail(cantWrite);
    return KvmInstallMgr::initDiskSpace() ||
           KvmFail("Not enough disk space for installation.\nPlease enter another file path.");
}

bool isSomethingToAdd(const KvmPlan& plan) {
    // A mark that was taken back leaves its flag behind.
    return !plan.adding || !plan.wanted.empty() ||
           KvmFail("Zarn system has already been installed in \"", plan.place.c_str(),
                   "\".\nNo new subsytems have been marked for installation.");
}

bool isLink(const char* name) {
    struct stat entry;
    return lstat(name, &entry) == 0 && S_ISLNK(entry.st_mode);
}

bool canBeWritten(KvmPlan& plan) {
    std::error_code error;
    plan.makePlace = !std::filesystem::exists(plan.place, error);
    if (plan.makePlace) return true;
    // Touching a link that somebody left there would write elsewhere.
    if (!KvmChangeDirectory(plan.place) || isLink(".Zarn_system") || !KvmRun("touch .Zarn_system"))
        return KvmFail(cantWrite);
    KvmRun("rm -f .Zarn_system >/dev/null");
    return true;
}

bool findArchives(KvmPlan& plan) {
    if (state().readFrom != KvmTarFile || plan.complete) return true;
    plan.archives = KvmLocateArchives(plan.source.c_str(), plan.allArchives);
    return !plan.archives.empty();
}

bool liesBelow(const std::string& path, const std::string& directory) {
    const std::string real = platform::absolutePath(path);
    return (real + "/").starts_with(platform::absolutePath(directory) + "/");
}

// What the medium holds is read to its end, and lies elsewhere: only then may what it once gave be
// removed.
bool canBeReadAgain(const KvmPlan& plan) {
    const auto goes = [&](const std::string& path) {
        return liesBelow(path, KvuPrint("%s/%s", plan.place.c_str(), kvmSystem)) ||
               liesBelow(path, KvuPrint("%s/%s", plan.place.c_str(), kvmSubsystems));
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
    return readable || KvmFail(KvmInstallMedium[state().readFrom].error,
                               "\nWhat the last installation left is kept.");
}

// Nothing is there that is not wanted.
bool isFinishedButForTheRecord(const KvmPlan& plan) {
    return !plan.adding && KvmIsSameDirectory(KvmUnfinishedPlace(), plan.place) &&
           KvmIsComplete(plan.place) &&
           std::ranges::all_of(KvmInstallSubsystem, [](const auto& row) {
               return row.selected != 0 || !KvmIsPresent(row);
           });
}

int refuseFolder(const std::string& folder, const char* name) {
    return KvmFail("There is a folder \"", name, "\" in ",
                   (folder + " already.\nPlease move it, or enter another location path.").c_str());
}

// What is extracted gets the names "Zarn_system" and "subsystems" in the location, or those of the
// subsystems in the product tree. What has such a name already belongs to somebody: extraction
// would write into it, and placing the subsystems would take it away. But what an installation of
// this user left there when it ended early is taken up again.
bool isFree(KvmPlan& plan) {
    if (plan.complete) return true;
    const std::string tree = KvuPrint("%s/%s", plan.place.c_str(), kvmSystem);
    const bool folder = KvmHolds(plan.place, kvmSubsystems);
    if (plan.adding && state().readFrom == KvmCdRom) {
        for (const KvmInstallSubsystemRow* row : plan.wanted)
            if (KvmHolds(tree, row->directory)) return refuseFolder(tree, row->directory);
        return true;
    }
    plan.startAgain = !plan.adding && KvmIsSameDirectory(KvmUnfinishedPlace(), plan.place);
    if (!plan.adding && !plan.startAgain && !KvmInstallMgr::isValidInstallPath(plan.place.c_str()))
        return false;
    // Beside a tree that has its subsystems already, the folder is not what was left.
    if (folder && (!plan.startAgain || KvmHolds(tree, kvmSubsystems)))
        return refuseFolder(plan.place, kvmSubsystems);
    return !plan.startAgain || canBeReadAgain(plan);
}

// What the user has to agree to, when nothing else is in the way any more.
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

// Every refusal comes from here, before the first change.
bool look(KvmPlan& plan, KvmPreparedRecord& record) {
    plan.complete = isFinishedButForTheRecord(plan);
    return fits(plan) && isSomethingToAdd(plan) && canBeWritten(plan) && findArchives(plan) &&
           isFree(plan) && (plan.adding || record.canBePrepared()) && isAgreedTo(plan) &&
           (plan.adding || record.prepare(plan.place));
}

// Act

// The product's script sets the tree up for another edition, which is recorded when it is true.
bool changeEdition(const KvmPlan& plan) {
    const char* edition = KvmInstallMgr::getProductName();
    if (!KvmChangeDirectory(plan.place) ||
        !KvmRun("Zarn_system/bin/Zarn.install %s %s %s %s", plan.place,
                KvmInstallMgr::getProductCode(), edition, "scriptOnly"))
        return KvmFail("Could not change the installed edition to ", edition,
                       ".\nThe terminal shows what its script said.");
    if (!KvmRecordEdition())
        return KvmFail("The installed edition is ", edition,
                       " now, but that could not be recorded in ", KvmInstallMgr::_infoFile);
    state().productChanged = 0;
    KvcUserInfo("The installed edition is ", edition, " now.");
    return true;
}

bool begin(const KvmPlan& plan) {
    const std::string_view place = plan.place;
    if (plan.makePlace && !KvuSystem::mkdir(plan.place.c_str())) return KvmFail(cantWrite);
    if (!KvmChangeDirectory(plan.place)) return KvmFail(cantWrite);
    if (!plan.startAgain) return true;
    return (KvmRun("rm -rf %s/%s", place, kvmSystem) || KvmFail("Can't remove ", kvmSystem)) &&
           (KvmRun("rm -rf %s/%s", place, kvmSubsystems) ||
            KvmFail("Can't remove ", kvmSubsystems));
}

KvmExtraction extract(KvmPlan& plan) {
    if (plan.complete) return KvmExtraction::all;
    return KvmInstallMedium[state().readFrom].extract(plan);
}

// The user's wish to delete archives is carried out when nothing can need them any more.
void deleteArchives(const KvmPlan& plan) {
    for (const KvmArchive& archive : plan.archives) {
        if (!archive.unwanted) continue;
        if (!KvmRun("rm -rf %s", archive.unpacked))
            KvcUserError("Can't remove ", archive.unpacked.c_str());
        sleep(2);
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

// What an extraction into an empty place left without a tree is nothing to be taken up again.
int giveUp(const KvmPlan& plan, const KvmPreparedRecord& record, bool begun) {
    if (plan.adding) {
        KvmDropExtracted(plan);
        KvmShowInstalled();
        return 0;
    }
    keepArchives(plan);
    if (KvmHolds(plan.place, kvmSystem)) return 0;
    if (begun && state().readFrom != KvmCdRom) KvmDropExtracted(plan);
    record.drop();
    return 0;
}

// What could not be placed may be needed: it stays where it is.
int giveUpPlacing(const KvmPlan& plan) {
    keepArchives(plan);
    if (plan.adding) KvmShowInstalled();
    return 0;
}

// The installation counts as done whatever becomes of these steps.
void setUp(const KvmPlan& plan) {
    const std::string_view system = kvmSystem;
    const std::string_view place = plan.place;
    const auto tell = [](bool done, const char* failed) {
        if (!done) KvcUserError("The Zarn system is installed, but this failed:\n", failed);
    };
    tell(KvmRun("cp %s %s/%s/resources/%s", KvmInstallMgr::_infoFile, place, system, kvmRecord),
         "the copy of the installation record into the product tree.");
    tell(KvmRun("Zarn_system/bin/Zarn.install %s %s %s", place, KvmInstallMgr::getProductCode(),
                KvmInstallMgr::getProductName()),
         "the product's install script. The terminal shows what it said.");
    if (KvmRun("cp %s/%s %s/%s/bin", state().startDir, "Zarn_install", place, system)) return;
    // Half a program must not be taken for one.
    std::error_code error;
    const std::string own = KvuPrint("%s/Zarn_install", state().startDir);
    const std::string copy = KvuPrint("%s/%s/bin/Zarn_install", plan.place.c_str(), kvmSystem);
    if (std::filesystem::is_regular_file(own, error) && !KvmIsSameDirectory(own, copy))
        KvmRun("rm -f %s", copy);
    tell(false, "the copy of the installer into the product tree.");
}

// An archive can hold anything under these names.
bool isSound(const KvmPlan& plan) {
    const std::string tree = KvuPrint("%s/%s", plan.place.c_str(), kvmSystem);
    const std::string script = tree + "/bin/Zarn.install";
    struct stat entry;
    return (lstat(tree.c_str(), &entry) == 0 && S_ISDIR(entry.st_mode) &&
            lstat(script.c_str(), &entry) == 0 && S_ISREG(entry.st_mode) &&
            (entry.st_mode & S_IXUSR) != 0) ||
           KvmFail("What was extracted is no Zarn system: there is no program\n", script.c_str());
}

int finishFirst(const KvmPlan& plan, const KvmPreparedRecord& record) {
    std::printf("\nInitializing Installation...\a\n");
    KvmMarkComplete(plan.place);
    if (!record.putInPlace()) {
        KvmStatus("Could not install Zarn ", "system.");
        keepArchives(plan);
        return 0;
    }
    setUp(plan);
    deleteArchives(plan);
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected;
    state().installed = state().installedInThisSession = 1;
    KvmStatus("Installed Zarn system\a");
    // What was complete before is not compared with what is wanted now.
    if (!plan.complete) KvmReportMissing(plan);
    if (KvmInstallMgr::_isRoot) {
        KvmOpenIconDialog();
        KvmInstallMgr::installTranslators();
    }
    state().installed = KvmInstallMgr::getInstallInfo();
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
    const PlaceLock lock(KvmNearestDirectory(plan.place));
    if (!lock.held()) return 0;
    // An edition can be changed without anything being added.
    if (_info.productChanged && plan.wanted.empty()) return fits(plan) && changeEdition(plan);
    KvmPreparedRecord record;
    if (!look(plan, record)) return 0;
    if (_info.productChanged && !changeEdition(plan)) return 0;
    const std::string before = KvInstallInfoMsg;
    if (!begin(plan)) return giveUp(plan, record, false);
    const KvmExtraction result = extract(plan);
    if (result == KvmExtraction::declined) KvmStatus(before.c_str());
    if (result == KvmExtraction::failed || result == KvmExtraction::declined ||
        (!plan.adding && !isSound(plan)))
        return giveUp(plan, record, true);
    if (!plan.complete && !KvmPlaceExtracted(plan)) return giveUpPlacing(plan);
    return plan.adding ? finishAdding(plan) : finishFirst(plan, record);
}

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/extract.h"
#include "engine/record.h"
#include "engine/session.h"
#include "engine/window.h"

namespace {

constexpr const char* cantWrite = "Can't write to disk.\nPlease select another path";

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

bool holds(const std::string& directory, const char* name) {
    return KvuSystem::fileExists(directory.c_str(), name, 0) != 0;
}

bool isSameDirectory(const std::string& a, const std::string& b) {
    std::error_code error;
    return a == b || std::filesystem::equivalent(a, b, error);
}

// Keeps other installers off a place for as long as it lives, and no longer than this process.
class PlaceLock {
public:
    explicit PlaceLock(const std::string& place)
        : file_(open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          held_(file_ < 0 || flock(file_, LOCK_EX | LOCK_NB) == 0) {}
    ~PlaceLock() {
        if (file_ >= 0) close(file_);
    }
    PlaceLock(const PlaceLock&) = delete;
    PlaceLock& operator=(const PlaceLock&) = delete;

    [[nodiscard]] bool held() const {
        return held_ || KvmFail("Another Zarn_install is at work in this location.");
    }

private:
    int file_;
    bool held_;
};

// Take over the fields

// While a suite is installed it stays the one that is shown: only "Ok" leads to another location.
bool takeLocation() {
    const std::string typed = KvmLocationField();
    if (!state().installed)
        return typed == state().path ? !KvmTakeLocation(typed).empty()
                                     : KvmInstallMgr::setLocation(typed.c_str()) != 0;
    const std::string place = KvmTakeLocation(typed);
    if (place.empty()) return false;
    if (isSameDirectory(place, state().path)) return true;
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
    plan.place = std::string_view(state().path) == "." ? KvuSystem::getwd() : state().path;
    plan.source = state().readText;
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
    if (access(KvmNearestDirectory(plan.place).c_str(), W_OK | X_OK) != 0)
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
    if (plan.makePlace)
        return KvcUserConfirm(2, yesNo, "There is no folder\n", plan.place.c_str(),
                              "\nyet. Make it?") == 0;
    // Touching a link that somebody left there would write elsewhere.
    if (!KvmChangeDirectory(plan.place) || isLink(".Zarn_system") || !KvmRun("touch .Zarn_system"))
        return KvmFail(cantWrite);
    KvmRun("rm -f .Zarn_system >/dev/null");
    return true;
}

bool findArchives(KvmPlan& plan) {
    if (state().readFrom != KvmTarFile) return true;
    plan.archives = KvmLocateArchives(plan.source.c_str());
    return !plan.archives.empty();
}

// What the medium holds is read to its end: only then may what it once gave be removed.
bool canBeReadAgain(const KvmPlan& plan) {
    bool readable = state().readFrom == KvmCdRom
                        ? KvuSystem::numFiles(plan.source.c_str()) > 0
                        : !plan.archives.empty() || KvmRun("tar tf %s >/dev/null", plan.source);
    for (const KvmArchive& archive : plan.archives)
        readable =
            readable && (archive.compressed() ? KvmRun("gunzip -t %s", archive.path)
                                              : KvmRun("tar tf %s >/dev/null", archive.path));
    return readable || KvmFail(KvmInstallMedium[state().readFrom].error,
                               "\nWhat the last installation left is kept.");
}

bool isFinishedButForTheRecord(const KvmPlan& plan) {
    return KvmIsComplete(plan.place) &&
           std::ranges::all_of(KvmInstallSubsystem, [](const auto& row) {
               return (row.selected != 0) == KvmIsPresent(row);
           });
}

// What an installation of this user left when it ended early is taken up again.
bool takeUpAgain(KvmPlan& plan) {
    plan.complete = isFinishedButForTheRecord(plan);
    if (plan.complete) return true;
    plan.startAgain =
        canBeReadAgain(plan) &&
        KvcUserConfirm(2, yesNo, "The last installation in ", plan.place.c_str(),
                       " was not finished.\nRemove what it left there, and start again?") == 0;
    return plan.startAgain;
}

// What is extracted gets the names "Zarn_system" and "subsystems" in the location, or those of the
// subsystems in the product tree. What has such a name already belongs to somebody: extraction
// would write into it, and placing the subsystems would take it away.
bool isFree(KvmPlan& plan) {
    if (!plan.adding && KvmUnfinishedPlace() == plan.place) return takeUpAgain(plan);
    if (!plan.adding && !KvmInstallMgr::isValidInstallPath(plan.place.c_str())) return false;
    const bool copies = state().readFrom == KvmCdRom;
    const std::string folder =
        copies ? KvuPrint("%s/%s", plan.place.c_str(), kvmSystem) : plan.place;
    std::string taken = !copies && holds(folder, kvmSubsystems) ? kvmSubsystems : "";
    for (const KvmInstallSubsystemRow* row : plan.wanted)
        if (copies && plan.adding && holds(folder, row->directory)) taken = row->directory;
    return taken.empty() ||
           KvmFail("There is a folder \"", taken.c_str(), "\" in ",
                   (folder + " already.\nPlease move it, or enter another location "
                             "path.")
                       .c_str());
}

// Every refusal comes from here, before the first change.
bool look(KvmPlan& plan, KvmPreparedRecord& record) {
    return fits(plan) && isSomethingToAdd(plan) && canBeWritten(plan) && findArchives(plan) &&
           isFree(plan) && (plan.adding || record.prepare(plan.place));
}

// Act

// The product's script sets the tree up for another edition, which is recorded when it is true.
void changeEdition(const KvmPlan& plan) {
    const bool changed =
        KvmChangeDirectory(plan.place) &&
        KvmRun("Zarn_system/bin/Zarn.install %s %s %s %s", plan.place,
               KvmInstallMgr::getProductCode(), KvmInstallMgr::getProductName(), "scriptOnly");
    if (!changed || !KvmRecordEdition())
        KvcUserError("Could not change the installed edition to ", KvmInstallMgr::getProductName(),
                     ".");
    state().productChanged = changed ? 0 : 1;
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
        KvmRun("rm -rf %s", archive.unpacked);
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

int giveUp(const KvmPlan& plan, const KvmPreparedRecord& record, const std::string& statusBefore,
           KvmExtraction result) {
    if (result == KvmExtraction::declined) KvmStatus(statusBefore.c_str());
    if (plan.adding) {
        KvmDropExtracted(plan);
    } else {
        keepArchives(plan);
        if (!holds(plan.place, kvmSystem) && !holds(plan.place, kvmSubsystems)) record.drop();
    }
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
    tell(KvmRun("cp %s/%s %s/%s/bin", state().startDir, "Zarn_install", place, system),
         "the copy of the installer into the product tree.");
}

int finishFirst(const KvmPlan& plan, const KvmPreparedRecord& record) {
    std::printf("\nInitializing Installation...\a\n");
    KvmMarkComplete(plan.place);
    if (!record.putInPlace()) {
        keepArchives(plan);
        return 0;
    }
    setUp(plan);
    deleteArchives(plan);
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected;
    state().installed = state().installedInThisSession = 1;
    KvmStatus("Installed Zarn system\a");
    KvmReportMissing(plan);
    if (KvmInstallMgr::_isRoot) {
        KvmOpenIconDialog();
        KvmInstallMgr::installTranslators();
    }
    KvmInstallMgr::getInstallInfo();
    return 1;
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
    if (!KvCopyText(_info.path, plan.place) || !mayInstall()) return 0;
    // An edition can be changed without anything being added.
    if (_info.productChanged && plan.wanted.empty()) changeEdition(plan);
    const PlaceLock lock(KvmNearestDirectory(plan.place));
    KvmPreparedRecord record;
    if (!lock.held() || !look(plan, record)) return 0;
    if (_info.productChanged) changeEdition(plan);
    const std::string statusBefore = KvInstallInfoMsg;
    if (!begin(plan)) return 0;
    const KvmExtraction result = extract(plan);
    if (result == KvmExtraction::failed || result == KvmExtraction::declined)
        return giveUp(plan, record, statusBefore, result);
    if (!KvmPlaceExtracted(plan)) return 0;
    return plan.adding ? finishAdding(plan) : finishFirst(plan, record);
}

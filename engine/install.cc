#include <Xm/TextF.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "builder/KviOwners.h"
#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "engine/brochure.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "support/KvuOwners.h"
#include "ui/KvcInstallIcon.h"
#include "ui/KviInstall.h"

namespace {

constexpr int tarFile = 2;
constexpr int cdRom = 3;

int firstTimeShell = 1;

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

void status(const char* a, const char* b = nullptr, const char* c = nullptr) {
    KvmInstallMgr::info(kviInstallSystemMsg, a, b, c);
}

std::string productTree() {
    return KvuPrint("%s/%s", state().path, kvmSystem);
}

// What one extraction is to bring: the subsystems in the forms that its commands take.
struct Wanted {
    bool any = false;
    KvuShellText files;        // to extract
    KvuShellText directories;  // names in the subsystems folder
    std::string labels;        // for the user, each on a line of its own
};

void want(Wanted& wanted, const KvmInstallSubsystemRow& row, std::string_view from) {
    const std::string_view directory = row.directory;
    const std::string_view folder = kvmSubsystems;
    wanted.any = true;
    wanted.files = state().readFrom == cdRom
                       ? KvuCommand("%s %s/%s/%s", wanted.files, from, folder, directory)
                       : KvuCommand("%s %s/%s", wanted.files, folder, directory);
    wanted.directories = KvuCommand("%s %s", wanted.directories, directory);
    wanted.labels = KvuPrint("%s\n%s", wanted.labels.c_str(), row.label);
}

bool isMarked(const KvmInstallSubsystemRow& row) {
    return row.selected && !KvuSystem::fileExists(KvmSubsystemFolder().c_str(), row.directory, 0);
}

Wanted wantedFrom(const char* source) {
    Wanted wanted;
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        if (state().installed ? isMarked(row) : row.selected != 0) want(wanted, row, source);
    return wanted;
}

KvuShellText baseEntries(const char* from) {
    KvuShellText entries;
    const KvuDir directory(opendir(from));
    if (!directory) {
        KvcUserError("Could not locate Zarn system in:\n", from,
                     "\nPlease re-enter device/distribution path.");
        return entries;
    }
    while (const struct dirent* entry = readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != kvmSubsystems && name != "." && name != "..")
            entries = KvuCommand("%s %s/%s", entries, from, name);
    }
    return entries;
}

// The command of a CD-ROM copies into the working directory, which becomes the product tree.
// False, and an error, when that can't be entered.
bool composeCopy(const char* from, const Wanted& wanted, KvuShellText& command) {
    if (state().installed) {
        command = KvuCommand("cp -r %s .", wanted.files);
    } else {
        KvuSystem::mkdir(kvmSystem);
        command = KvuCommand("cp -r %s %s .", baseEntries(from), wanted.files);
    }
    if (KvmChangeDirectory(productTree())) return true;
    return KvmFail("Can't write to disk.\nPlease select another path");
}

bool composeExtraction(const char* source, const Wanted& wanted, KvuShellText& command) {
    const std::string_view from = source;
    if (state().readFrom == cdRom) return composeCopy(source, wanted, command);
    command = state().installed ? KvuCommand("tar xvof %s %s", from, wanted.files)
                                : KvuCommand("tar xvof %s %s %s", from, kvmSystem, wanted.files);
    return true;
}

bool writeBrochure() {
    std::FILE* file = platform::openTemporary("/tmp/.kvcInstallMsg");
    if (file == nullptr) return false;
    std::fputs(kvcInstallMsg, file);
    return std::fclose(file) == 0;
}

void showBrochure() {
    if (!firstTimeShell) return;
    firstTimeShell = 0;
    if (!writeBrochure()) return;
    KvmRun(
        "xwsh -bg black -fg cyan -cursorfg cyan -cursorbg cyan -geom 80x20+100+500 -title "
        "\"Installation will take a few minutes... use the space bar to scroll up and down\" "
        "-icontitle \"Zarn install\"  -e /bin/csh -c \"more /tmp/.kvcInstallMsg; cat\" &");
}

const char* extractionError() {
    static const char* const errors[] = {
        "Error in installing from tape\nPlease check if the tape is inserted in the drive,\n and "
        "the drive is on.\n",
        "Error in installing from remote tape.\nPlease check if the tape is inserted in the "
        "drive,\n and the drive is on.\n",
        "Error while installing from tar file.\n",
        "Error in installing from CD-ROM\nPlease check if CD-ROM is connected properly\nand if you "
        "are running Zarn_install from the CD-ROM!",
    };
    return errors[state().readFrom];
}

bool extract(const KvuShellText& command) {
    const bool done = KvuSystem::system(command.text.c_str(), 1) == 0 &&
                      KvuSystem::fileExists(state().path, kvmSystem, 0);
    if (done) return true;
    status("Could not install Zarn ", state().installed ? "subsystems." : "system.");
    KvcUserError(extractionError());
    return false;
}

// Copies of what lies on a CD-ROM are as read-only as the originals: their owner could neither
// move nor ever remove them.
void makeWritable(const Wanted& wanted) {
    if (state().installed) {
        KvmRun("chmod -R u+w %s", wanted.directories);
    } else {
        KvmRun("chmod -R u+w .");
    }
}

bool placeCopies(const Wanted& wanted) {
    KvuSystem::mkdir(kvmSubsystems);
    if (!KvmRun("mv %s %s", wanted.directories, kvmSubsystems))
        KvcUserError("Error: Could not move the following subsystems inside the subsystems folder.",
                     wanted.labels.c_str());
    return KvmChangeDirectory(state().path);
}

bool moveExtracted() {
    const std::string_view path = state().path;
    const std::string_view system = kvmSystem;
    const std::string_view folder = kvmSubsystems;
    if (!state().installed) return KvmRun("mv %s/%s %s/%s", path, folder, path, system);
    // A suite that was installed without subsystems has no folder for them yet. A move that fails
    // must end the command, or what was extracted would be deleted unplaced.
    KvuSystem::mkdir(KvmSubsystemFolder().c_str());
    return KvmRun("set -e; mv %s/%s/* %s/%s/%s; rm -rf %s/%s", path, folder, path, system, folder,
                  path, folder);
}

bool placeExtracted() {
    if (moveExtracted()) return true;
    KvcUserError("Error: Could not move subsystems folder \"", "subsystems\"\ninside ",
                 state().path, "/Zarn_system");
    return false;
}

bool place(const Wanted& wanted, int finalPass) {
    if (state().readFrom == cdRom) {
        makeWritable(wanted);
        return !wanted.any ? KvmChangeDirectory(state().path) : placeCopies(wanted);
    }
    return !wanted.any || !finalPass || placeExtracted();
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

// A mark that was taken back leaves its flag behind.
bool somethingIsMarked() {
    return state().subsystemsAdded &&
           std::any_of(std::begin(KvmInstallSubsystem), std::end(KvmInstallSubsystem), isMarked);
}

bool fitsAndIsNew() {
    const KvmInstallInfo& info = state();
    if (!KvmInstallMgr::initDiskSpace())
        return KvmFail("Not enough disk space for installation.\nPlease enter another file path.");
    if (info.installed && !somethingIsMarked())
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

// A folder of that name that is not ours would be moved into the product tree with what is in it.
bool subsystemsFolderIsFree() {
    static std::string ownFolderIn;
    const bool used = KvuSystem::fileExists(state().path, kvmSubsystems, 0);
    if (state().readFrom != cdRom && used && ownFolderIn != state().path)
        return KvmFail("There is a folder \"subsystems\" in ", state().path,
                       " already.\nPlease move it, or enter another location path.");
    ownFolderIn = state().path;
    return true;
}

bool extractAll() {
    if (state().readFrom != tarFile)
        return KvmInstallMgr::copyInstall(std::string(state().readText).c_str(), 1) != 0;
    if (!KvmInstallArchives()) return false;
    // The archive that failed may have been the last one, which places the subsystems.
    if (!state().installed && KvuSystem::fileExists(state().path, kvmSubsystems, 0))
        placeExtracted();
    return true;
}

void runProductScripts(const std::string& place) {
    const std::string_view system = kvmSystem;
    const std::string_view path = state().path;
    KvmRun("cp %s %s/%s/resources/%s", KvmInstallMgr::_infoFile, path, system, kvmRecord);
    KvmRun("Zarn_system/bin/Zarn.install %s %s %s", place, KvmInstallMgr::getProductCode(),
           KvmInstallMgr::getProductName());
    KvmRun("cp %s/%s %s/%s/bin", state().startDir, "Zarn_install", place, system);
}

int finishFirstInstallation(const std::string& place) {
    std::printf("\nInitializing Installation...\a\n");
    if (!KvmWriteRecord(place))
        return KvmFail("Can't write out info file ", KvmInstallMgr::_infoFile);
    runProductScripts(place);
    state().installed = state().installedInThisSession = 1;
    status("Installed Zarn system\a");
    if (KvmInstallMgr::_isRoot) {
        KvcInstallIcon(nullptr, nullptr, nullptr);
        KvmInstallMgr::installTranslators();
    }
    KvmInstallMgr::getInstallInfo();
    return 1;
}

}  // namespace

int KvmInstallMgr::install() {
    if (!takeFields()) return 0;
    // From here on the directory has to be found from anywhere, the product tree included.
    const std::string place = std::string_view(_info.path) == "." ? KvuSystem::getwd() : _info.path;
    if (!KvCopyText(_info.path, place)) return 0;
    if (!mayInstall()) return 0;
    if (_info.productChanged) changeEdition(place);
    if (!fitsAndIsNew() || !enterLocation() || !subsystemsFolderIsFree() || !extractAll()) return 0;
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        row.installed = row.selected;
        KvmSetForeground(row.getWidget(), "Black");
    }
    if (!_info.installed) return finishFirstInstallation(place);
    status("Installation of selected subsystems successful");
    return 1;
}

int KvmInstallMgr::copyInstall(const char* source, int finalPass) {
    status("Installing ", _info.installed ? "selected subsystems" : "Zarn system",
           ". This will take a few minutes...\a");
    const Wanted wanted = wantedFrom(source);
    if (_info.installed) {
        if (!wanted.any) return 0;
        if (finalPass && KvcUserConfirm(2, yesNo, "Install the following subsystems?\n",
                                        wanted.labels.c_str()) != 0)
            return 0;
    }
    KvuShellText command;
    if (!composeExtraction(source, wanted, command)) return 0;
    showBrochure();
    if (!extract(command) || !place(wanted, finalPass)) return 0;
    if (_info.installed && finalPass) {
        KvcUserInfo("The following subsystems were successfully installed:\n",
                    wanted.labels.c_str());
        _info.subsystemsAdded = 0;
    }
    return 1;
}

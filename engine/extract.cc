#include <dirent.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "engine/brochure.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "support/KvuOwners.h"
#include "ui/KviInstall.h"

namespace {

int firstTimeShell = 1;

KvmInstallInfo& state() {
    return KvmInstallMgr::_info;
}

void status(const char* a, const char* b, const char* c = nullptr) {
    KvmInstallMgr::info(kviInstallSystemMsg, a, b, c);
}

// The labels for the user, each on a line of its own.
std::string labelList(const KvmRows& rows) {
    std::string labels;
    for (const KvmInstallSubsystemRow* row : rows)
        labels = KvuPrint("%s\n%s", labels.c_str(), row->label);
    return labels;
}

KvuShellText fileList(const KvmRows& rows, const char* from) {
    KvuShellText files;
    for (const KvmInstallSubsystemRow* row : rows)
        files = state().readFrom == kvmCdRom
                    ? KvuCommand("%s %s/%s/%s", files, from, kvmSubsystems, row->directory)
                    : KvuCommand("%s %s/%s", files, kvmSubsystems, row->directory);
    return files;
}

KvuShellText directoryList(const KvmRows& rows) {
    KvuShellText directories;
    for (const KvmInstallSubsystemRow* row : rows)
        directories = KvuCommand("%s %s", directories, row->directory);
    return directories;
}

KvmRows wantedRows() {
    KvmRows rows;
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        if (row.selected && !(state().installed && KvmIsPresent(row))) rows.push_back(&row);
    return rows;
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

// What is copied from a CD-ROM lands in the working directory, which has to be the product tree.
bool enterProductTree() {
    if (!state().installed) KvuSystem::mkdir(kvmSystem);
    return KvmChangeDirectory(KvuPrint("%s/%s", state().path, kvmSystem)) ||
           KvmFail("Can't write to disk.\nPlease select another path");
}

KvuShellText extractionCommand(const char* from, const KvmRows& wanted) {
    const KvuShellText files = fileList(wanted, from);
    if (state().readFrom == kvmCdRom)
        return state().installed ? KvuCommand("cp -r %s .", files)
                                 : KvuCommand("cp -r %s %s .", baseEntries(from), files);
    return state().installed ? KvuCommand("tar xvof %s %s", from, files)
                             : KvuCommand("tar xvof %s %s %s", from, kvmSystem, files);
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
    if (KvuSystem::system(command.text.c_str(), 1) == 0 &&
        KvuSystem::fileExists(state().path, kvmSystem, 0))
        return true;
    status("Could not install Zarn ", state().installed ? "subsystems." : "system.");
    return KvmFail(extractionError());
}

// Copies of what lies on a CD-ROM are as read-only as the originals: their owner could neither
// move nor ever remove them.
void makeWritable(const KvmRows& wanted) {
    if (state().installed) {
        KvmRun("chmod -R u+w %s", directoryList(wanted));
    } else {
        KvmRun("chmod -R u+w .");
    }
}

void placeCopies(const KvmRows& wanted) {
    KvuSystem::mkdir(kvmSubsystems);
    if (!KvmRun("mv %s %s", directoryList(wanted), kvmSubsystems))
        KvcUserError("Error: Could not move the following subsystems inside the subsystems folder.",
                     labelList(wanted).c_str());
}

bool copyFromCdRom(const char* from, const KvmRows& wanted) {
    if (!enterProductTree()) return false;
    const KvuShellText command = extractionCommand(from, wanted);
    showBrochure();
    const bool copied = extract(command);
    makeWritable(wanted);
    if (copied && !wanted.empty()) placeCopies(wanted);
    return KvmChangeDirectory(state().path) && copied;
}

bool extractFromArchive(const char* from, const KvmRows& wanted, int finalPass) {
    const KvuShellText command = extractionCommand(from, wanted);
    showBrochure();
    return extract(command) && (wanted.empty() || !finalPass || KvmPlaceExtracted());
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

}  // namespace

bool kvmDeclined = false;

bool KvmPlaceExtracted() {
    return moveExtracted() || KvmFail("Error: Could not move subsystems folder \"",
                                      "subsystems\"\ninside ", state().path, "/Zarn_system");
}

KvmRows KvmMarkedSubsystems() {
    return state().installed && state().subsystemsAdded ? wantedRows() : KvmRows();
}

bool KvmReportAdded(const KvmRows& wanted) {
    KvmRows added;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(added),
                 [](const KvmInstallSubsystemRow* row) { return KvmIsPresent(*row); });
    // An archive need not hold all that is asked of it; what it did not hold stays marked.
    state().subsystemsAdded = added.size() < wanted.size();
    if (added.empty()) return false;
    KvcUserInfo("The following subsystems were successfully installed:\n",
                labelList(added).c_str());
    return true;
}

int KvmInstallMgr::copyInstall(const char* source, int finalPass) {
    const std::string before = KvInstallInfoMsg;
    status("Installing ", _info.installed ? "selected subsystems" : "Zarn system",
           ". This will take a few minutes...\a");
    const KvmRows wanted = wantedRows();
    if (_info.installed && wanted.empty()) return 0;
    if (_info.installed && finalPass &&
        KvcUserConfirm(2, yesNo, "Install the following subsystems?\n",
                       labelList(wanted).c_str()) != 0) {
        kvmDeclined = true;
        status(before.c_str(), nullptr);
        return 0;
    }
    const bool done = _info.readFrom == kvmCdRom ? copyFromCdRom(source, wanted)
                                                 : extractFromArchive(source, wanted, finalPass);
    if (!done) return 0;
    return !_info.installed || !finalPass || KvmReportAdded(wanted);
}

#include "engine/extract.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "engine/brochure.h"
#include "engine/command.h"
#include "engine/window.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Processes.h"

namespace {

// Zarn_tools/tar's status for an intact archive that contains none of the requested members.
constexpr int nothingFound = 1;

// The members of an archive, or the directories on a CD-ROM, each with `prefix` in front.
KvuShellText sourceList(const KvmRows& rows, const std::string& prefix) {
    KvuShellText files;
    for (const KvmInstallSubsystemRow* row : rows)
        files = prefix.empty()
                    ? KvuCommand("%s %s/%s", files, kvmSubsystems, row->directory)
                    : KvuCommand("%s %s/%s/%s", files, prefix, kvmSubsystems, row->directory);
    return files;
}

KvuShellText directoryList(const KvmRows& rows) {
    KvuShellText directories;
    for (const KvmInstallSubsystemRow* row : rows)
        directories = KvuCommand("%s %s", directories, row->directory);
    return directories;
}

KvuShellText baseEntries(const char* from) {
    KvuShellText entries;
    const auto names = platform::entriesOf(from);
    if (!names) {
        KvcUserError("Could not locate Zarn system in:\n", from,
                     "\nPlease re-enter device/distribution path.");
        return entries;
    }
    for (const std::string& name : *names)
        if (name != kvmSubsystems) entries = KvuCommand("%s %s/%s", entries, from, name);
    return entries;
}

bool writeBrochure() {
    std::FILE* file = platform::openTemporary("/tmp/.kvcInstallMsg");
    if (file == nullptr) return false;
    std::fputs(kvcInstallMsg, file);
    return std::fclose(file) == 0;
}

// Once per process: by the second installation the user knows the text.
void showBrochure() {
    static int firstTimeShell = 1;
    if (!firstTimeShell) return;
    firstTimeShell = 0;
    if (!writeBrochure()) return;
    constexpr const char* title =
        "Installation will take a few minutes... use the space bar to scroll up and down";
    KvcKeepBelowMessages(title);
    KvmRun(
        "xwsh -bg black -fg cyan -cursorfg cyan -cursorbg cyan -geom 80x20+100+500 -title \"%s\" "
        "-icontitle \"Zarn install\"  -e /bin/csh -c \"more /tmp/.kvcInstallMsg; cat\" &",
        KvuShellText{title});
}

// Tells the user what is about to happen. If `ask`, asks whether to go on before subsystems are
// added.
bool announce(const KvmPlan& plan, bool ask) {
    KvmStatus("Installing ", plan.adding ? "selected subsystems" : "Zarn system",
              ". This will take a few minutes...\a");
    if (!ask || !plan.adding) return true;
    return KvcUserConfirm(2, yesNo, "Install the following subsystems?\n",
                          KvmLabelList(plan.wanted).c_str()) == 0;
}

KvmExtraction fail(const KvmPlan& plan, const std::string& reason) {
    KvmStatus("Could not install Zarn ", plan.adding ? "subsystems." : "system.");
    KvmFail(KvmInstallMedium[KvmInstallMgr::_info.readFrom].error, reason);
    return KvmExtraction::failed;
}

KvmExtraction howMuch(const KvmPlan& plan, const KvmRows& there) {
    return there.size() == plan.wanted.size() ? KvmExtraction::all : KvmExtraction::part;
}

std::string extractedFolder(const KvmPlan& plan) {
    return KvuFormat("%s/%s", plan.place.c_str(), kvmSubsystems);
}

// Extracts one archive or tape. When adding, only the last pass asks whether to go on.
KvmExtraction extractPass(const KvmPlan& plan, const char* from, bool finalPass) {
    if (!announce(plan, finalPass)) return KvmExtraction::declined;
    const KvuShellText files = sourceList(plan.wanted, "");
    showBrochure();
    const KvuShellText command = plan.adding
                                     ? KvuCommand("tar xvof %s %s", from, files)
                                     : KvuCommand("tar xvof %s %s %s", from, kvmSystem, files);
    const int status = KvuSystem::system(command.text.c_str(), 1);
    const bool read = status == 0 || platform::exitStatus(status) == nothingFound;
    // With several archives, the product tree may be in a later one.
    const std::string tree = KvuFormat("%s/%s", plan.place.c_str(), kvmSystem);
    const KvmRows there = KvmWantedIn(plan, extractedFolder(plan));
    // If no subsystem was added, the extraction failed, whatever the commands' status.
    const bool nothing = KvuSystem::numFiles(tree.c_str()) == 0 || (plan.adding && there.empty());
    if (!read || (finalPass && nothing)) return fail(plan, KvmCommandReason());
    return finalPass ? howMuch(plan, there) : KvmExtraction::part;
}

void askToDelete(KvmArchive& archive) {
    archive.unwanted =
        KvcUserConfirm(2, yesNo, "Installation from tar file \"", archive.word.c_str(),
                       "\" is complete.\nDo you want to remove the tar file from "
                       "your system?") == 0;
    if (!archive.unwanted) KvmPackAgain(archive);
}

// Copies from a CD-ROM are read-only like the originals: their owner could neither move nor remove
// them. Unlike tar, cp also keeps a folder's sticky bit.
void makeWritable(const KvmPlan& plan, const KvmRows& there) {
    if (plan.adding) {
        KvmRun("chmod -R u+w,a-t %s", directoryList(there));
    } else {
        KvmRun("chmod -R u+w,a-t .");
    }
}

// cp copies into the working directory, which is the product tree.
KvmExtraction copyIntoTree(const KvmPlan& plan, const KvmRows& there) {
    if (plan.adding && there.empty())
        return fail(plan, "\nNone of the selected subsystems is in\n" + plan.source);
    const KvuShellText files = sourceList(there, plan.source);
    const KvuShellText command =
        plan.adding ? KvuCommand("cp -r %s .", files)
                    : KvuCommand("cp -r %s %s .", baseEntries(plan.source.c_str()), files);
    showBrochure();
    const KvmExtraction result = KvuSystem::system(command.text.c_str(), 1) == 0
                                     ? howMuch(plan, there)
                                     : fail(plan, KvmCommandReason());
    makeWritable(plan, there);
    return result;
}

// A first installation goes on even if a subsystem can't be moved: its files are there, if not in
// their place.
bool placeCopies(const KvmRows& there) {
    KvuSystem::mkdir(kvmSubsystems);
    if (KvmRun("mv %s %s", directoryList(there), kvmSubsystems)) return true;
    return KvmFail("Error: Could not move the following subsystems inside the subsystems folder.",
                   KvmLabelList(there), KvmCommandReason());
}

}  // namespace

KvmRows KvmWantedIn(const KvmPlan& plan, const std::string& folder) {
    KvmRows there;
    std::ranges::copy_if(
        plan.wanted, std::back_inserter(there),
        [present = KvmRowsIn(folder)](const auto* row) { return present.contains(row); });
    return there;
}

KvmExtraction KvmExtractFromTape(KvmPlan& plan) {
    // The remote machine may ask for a password.
    if (KvmInstallMgr::_info.readFrom == KvmRemoteTape) KvmRaiseTerminal();
    return extractPass(plan, plan.source.c_str(), true);
}

// After a failure, a first installation still tries the remaining archives, so that the user learns
// of every bad one at once. It fails all the same, and asks nothing more. An archive that can't be
// uncompressed ends it at once.
KvmExtraction KvmExtractFromArchives(KvmPlan& plan) {
    KvmExtraction result = KvmExtraction::failed;
    bool failed = false;
    for (KvmArchive& archive : plan.archives) {
        if (failed && plan.adding) break;
        // An earlier archive may have extracted a file of that name; this one then counts as
        // missing. When adding, that is an error, since the last archive's pass must ask.
        if (!KvmCanUnpack(archive)) {
            failed = failed || plan.adding;
            continue;
        }
        if (!KvmUnpack(archive)) return KvmExtraction::failed;
        const bool last = &archive == &plan.archives.back();
        result = extractPass(plan, archive.unpacked.c_str(), last);
        if (result == KvmExtraction::failed) {
            failed = true;
        } else if (plan.adding || failed) {
            KvmPackAgain(archive);
        } else {
            askToDelete(archive);
        }
    }
    return failed ? KvmExtraction::failed : result;
}

KvmExtraction KvmCopyFromCdRom(KvmPlan& plan) {
    if (!announce(plan, true)) return KvmExtraction::declined;
    if (!plan.adding) KvuSystem::mkdir(kvmSystem);
    if (!KvmChangeDirectory(KvuFormat("%s/%s", plan.place.c_str(), kvmSystem))) {
        KvmFail("Can't write to disk.\nPlease select another path", KvmSystemReason(errno));
        return KvmExtraction::failed;
    }
    // Name only what is on the disc: anything else would make the whole cp fail.
    const KvmRows there = KvmWantedIn(plan, KvuFormat("%s/%s", plan.source.c_str(), kvmSubsystems));
    const KvmExtraction result = copyIntoTree(plan, there);
    const bool placed =
        result == KvmExtraction::failed || there.empty() || placeCopies(there) || !plan.adding;
    return KvmChangeDirectory(plan.place) && placed ? result : KvmExtraction::failed;
}

bool KvmPlaceExtracted(const KvmPlan& plan) {
    const std::string_view path = plan.place;
    const std::string_view system = kvmSystem;
    const std::string_view folder = kvmSubsystems;
    // From a CD-ROM they are in the tree already, and a folder of that name beside it is not ours.
    if (KvmInstallMgr::_info.readFrom == KvmCdRom || !KvmHolds(plan.place, kvmSubsystems))
        return true;
    // If the archives had no subsystems, the folder is empty.
    if (platform::removeEmptyDirectory(extractedFolder(plan))) return true;
    bool moved = false;
    if (plan.adding) {
        // A suite that was installed without subsystems has no folder for them yet. If mv fails,
        // the command must stop, or rm would delete subsystems that were not moved.
        KvuSystem::mkdir(KvmSubsystemFolder().c_str());
        moved = KvmRun("set -e; mv %s/%s/* %s/%s/%s; rm -rf %s/%s", path, folder, path, system,
                       folder, path, folder);
    } else {
        moved = KvmRun("mv %s/%s %s/%s", path, folder, path, system);
    }
    if (moved) return true;
    return KvmFail("Error: Could not move subsystems folder \"", "subsystems\"\ninside ",
                   plan.place, "/Zarn_system", KvmCommandReason());
}

void KvmDropExtracted(const KvmPlan& plan) {
    const std::string_view place = plan.place;
    if (KvmInstallMgr::_info.readFrom != KvmCdRom) {
        KvmRun("rm -rf %s/%s", place, kvmSubsystems);
        return;
    }
    for (const KvmInstallSubsystemRow* row : plan.wanted) {
        KvmRun("rm -rf %s/%s/%s", place, kvmSystem, row->directory);
        KvmRun("rm -rf %s/%s/%s/%s", place, kvmSystem, kvmSubsystems, row->directory);
    }
}

void KvmReportAdded(const KvmPlan& plan) {
    const std::string added = KvmLabelList(KvmRowsOnDisk(plan.wanted, true));
    KvcUserInfo("The following subsystems were successfully installed:\n", added.c_str());
}

void KvmReportMissing(const KvmPlan& plan) {
    const KvmRows missing = KvmRowsOnDisk(plan.wanted, false);
    if (!missing.empty())
        KvcUserError("The following subsystems were selected, but are not on the medium:\n",
                     KvmLabelList(missing).c_str());
}

int KvmInstallMgr::copyInstall(const char* source, int finalPass) {
    KvmPlan plan;
    plan.adding = _info.installed;
    plan.place = _info.path;
    plan.source = source;
    plan.wanted = KvmWantedRows();
    if (plan.adding && plan.wanted.empty()) return 0;
    const KvmExtraction result =
        _info.readFrom == KvmCdRom ? KvmCopyFromCdRom(plan) : extractPass(plan, source, finalPass);
    if (result == KvmExtraction::failed || result == KvmExtraction::declined) return 0;
    if (!finalPass) return 1;
    if (!KvmPlaceExtracted(plan)) return 0;
    if (plan.adding) KvmReportAdded(plan);
    return 1;
}

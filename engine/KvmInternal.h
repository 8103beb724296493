#pragma once

#include <X11/Intrinsic.h>

#include <string>
#include <vector>

#include "engine/KvmInstallMgr.h"
#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "support/KvuSystem.h"

/// What the engine's sources share.

/// Names inside a distribution and an installed tree.
inline constexpr const char* kvmSystem = "Zarn_system";
inline constexpr const char* kvmSubsystems = "subsystems";
inline constexpr const char* kvmRecord = ".Zarn_inst";
/// Media that need a way of their own.
inline constexpr int kvmTarFile = 2;
inline constexpr int kvmCdRom = 3;
/// The version that this installer installs.
inline constexpr const char* kvmVersion = "2.0";

/// Labels of the engine's questions; the answer 0 is always "Yes".
inline constexpr const char* yesNo[] = {"Yes", "No"};

/// Runs a command template filled with `pieces` and waits for it; true for exit status 0.
template <typename... Pieces>
bool KvmRun(std::type_identity_t<KvuTemplate<Pieces...>> commandTemplate, const Pieces&... pieces) {
    return KvuSystem::system(KvuCommand(commandTemplate, pieces...).text.c_str(), 1) == 0;
}

/// Tells the user what is wrong; always 0, for an operation to end with.
template <typename... Pieces>
int KvmFail(const Pieces&... pieces) {
    KvcUserError(pieces...);
    return 0;
}

/// The folder of the installed subsystems.
std::string KvmSubsystemFolder();

/// Whether the row's subsystem is on the disk, whatever the row says.
bool KvmIsPresent(const KvmInstallSubsystemRow& row);

/// The user's home directory: HOME, or what the system knows when that is not set.
std::string KvmHome();

/// Changes into `directory`; false when that is not possible.
[[nodiscard]] bool KvmChangeDirectory(const std::string& directory);

/// Sets a widget's foreground to a colour by name; a name unknown to the display changes nothing.
void KvmSetForeground(Widget w, const char* colour);

/// Takes all marks back: what was marked on an installed suite means nothing for another one.
void KvmForgetMarks();

/// The place that `location` names, as the installation goes there and the record keeps it: "." as
/// it is, any other relative name made absolute. Empty, after an error that says why, when the
/// record could not hold it.
std::string KvmTakeLocation(const char* location);

/// Writes the record for an installation in `place`; false when not all of it is on the disk.
bool KvmWriteRecord(const std::string& place);

/// Goes back to the user's own record from that of an installed tree.
void KvmReturnToOwnRecord();

/// Whether the record in use is there and names `place`.
bool KvmOwnRecordNames(const std::string& place);

/// The subsystems that are marked for installation and not there.
using KvmRows = std::vector<KvmInstallSubsystemRow*>;
KvmRows KvmMarkedSubsystems();

/// Takes the rows' `installed` from the disk, and shows the marks that remain.
void KvmShowInstalled();

/// Moves the extracted folder "subsystems" into the product tree; false after an error.
bool KvmPlaceExtracted();

/// Tells the user which of `wanted` are there now; false when none is.
bool KvmReportAdded(const KvmRows& wanted);

/// Set when the user answered the question of the last copyInstall with "No".
extern bool kvmDeclined;

/// Extracts all archives of the tar-file medium; true when at least one was installed.
bool KvmInstallArchives();

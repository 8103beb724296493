#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "engine/KvmInstallMgr.h"

/// Names inside a distribution and an installed tree.
inline constexpr const char* kvmSystem = "Zarn_system";
inline constexpr const char* kvmSubsystems = "subsystems";
inline constexpr const char* kvmRecord = ".Zarn_inst";
/// The version that this installer installs.
inline constexpr const char* kvmVersion = "2.0";

/// The longest name of a subsystem's directory.
inline constexpr std::string_view kvmLongestDirectory = "translatorDev";

/// Rows of the table of subsystems, in its order.
using KvmRows = std::vector<KvmInstallSubsystemRow*>;

/// The folder of the installed subsystems.
std::string KvmSubsystemFolder();

/// The rows whose directories lie in `folder`, which is listed once. None when it can't be read.
std::set<const KvmInstallSubsystemRow*> KvmRowsIn(const std::string& folder);

/// Whether the row's subsystem is on the disk, whatever the row says.
bool KvmIsPresent(const KvmInstallSubsystemRow& row);

/// The subsystems that are switched on and, on an installed suite, not on the disk.
KvmRows KvmWantedRows();

/// Those of `rows` that are on the disk, or (`present` false) that are not.
KvmRows KvmRowsOnDisk(const KvmRows& rows, bool present);

/// The labels of the rows for the user, each behind a newline.
std::string KvmLabelList(const KvmRows& rows);

/// Takes the rows' `installed` from the disk, shows the marks that remain, and sets the flags of
/// what is marked accordingly.
void KvmShowInstalled();

/// Takes all marks back: what was marked on an installed suite means nothing for another one.
void KvmForgetMarks();

/// Program name of the edition that is installed, from its record; of the chosen one while none is.
std::string KvmInstalledProgram();

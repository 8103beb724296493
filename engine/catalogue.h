#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "engine/KvmInstallMgr.h"

/// Names of folders in a distribution and an installed tree.
inline constexpr const char* kvmSystem = "Zarn_system";
inline constexpr const char* kvmSubsystems = "subsystems";
inline constexpr const char* kvmRecord = ".Zarn_inst";
/// The version that this installer installs.
inline constexpr const char* kvmVersion = "2.0";

/// The longest name of a subsystem's directory.
inline constexpr std::string_view kvmLongestDirectory = "translatorDev";

/// Rows of the table of subsystems, in the order of the table.
using KvmRows = std::vector<KvmInstallSubsystemRow*>;

/// The folder of the installed subsystems.
std::string KvmSubsystemFolder();

/// The rows whose directories are in `folder`, which is read once. None when it can't be read.
std::set<const KvmInstallSubsystemRow*> KvmRowsIn(const std::string& folder);

/// Whether the row's subsystem is on the disk, whatever the row says.
bool KvmIsPresent(const KvmInstallSubsystemRow& row);

/// The subsystems that are switched on and, on an installed suite, not on the disk.
KvmRows KvmWantedRows();

/// Those of `rows` that are on the disk, or (`present` false) that are not.
KvmRows KvmRowsOnDisk(const KvmRows& rows, bool present);

/// The rows' labels for a message, each preceded by a newline.
std::string KvmLabelList(const KvmRows& rows);

/// Sets each row's `installed` from what is on the disk, shows the marks that remain, and updates
/// the flags that say what is marked.
void KvmShowInstalled();

/// Clears all marks: those made for one installed suite mean nothing for another.
void KvmForgetMarks();

/// The program name of the installed edition, from its record; if none is installed, that of the
/// chosen edition.
std::string KvmInstalledProgram();

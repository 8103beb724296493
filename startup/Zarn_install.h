#pragma once

#include "support/KvTypes.h"

/// The installer's command line, and the launcher that runs the program again in a terminal.

/// Value that followed "-subsystems" or "-icons": an installed Zarn_system directory.
extern KvText KvInstallLocation;
/// Medium chosen on the command line: -1 none, 2 tar file, 3 CD-ROM.
extern int KvReadFrom;
/// 1: "-subsystems", or "-icons", was given.
extern int KvInvokeSubsystems;
extern int KvInvokeIconInstall;

/// Parses the command line into the globals above; a later option overrides an earlier one.
/// With "-noShell" it returns 1: this process is the installer. Without, this process is the
/// launcher: it runs the program again with "-noShell" in a terminal window, through su when the
/// user is not the super-user, waits for it, and exits with status 0. That works from the directory
/// that holds the program. Started elsewhere, an unknown argument, a missing value and one that
/// does not fit end the process with a note on standard error and status 0.
int parseArgs(int argc, char** argv);

/// Prints how the program is called on standard error and exits with status 0.
[[noreturn]] void usage(const char* program);

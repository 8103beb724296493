#pragma once

#include "support/KvTypes.h"

/// The installer's command line, and the launcher that runs the program again in a terminal.

/// The value after "-subsystems" or "-icons": an installed Zarn_system directory.
extern KvText KvInstallLocation;
/// Medium chosen on the command line: -1 none, 2 tar file, 3 CD-ROM.
extern int KvReadFrom;
/// 1: "-subsystems", or "-icons", was given.
extern int KvInvokeSubsystems;
extern int KvInvokeIconInstall;

/// Parses the command line into the globals above; a later option overrides an earlier one.
/// With "-noShell" it returns 1: this process is the installer. Otherwise this process is the
/// launcher: it runs the program again with "-noShell" in a terminal window, through su unless the
/// user is the super-user, waits for it, and exits with status 0. The working directory must be the
/// one that contains the program. If it is not, or an argument is unknown, or a value is missing or
/// too long, the process exits with a message on standard error and status 0.
int parseArgs(int argc, char** argv);

/// Prints the usage on standard error and exits with status 0.
[[noreturn]] void usage(const char* program);

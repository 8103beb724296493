#pragma once

#include <cstdio>
#include <string>

/// Services of the suite's original workstation that Linux lacks or provides differently.
/// The programs among them (xwsh, xconfirm, jot, a tape-aware tar) have their sources in tools/ and
/// are built into the folder Zarn_tools.
namespace platform {

/// Makes the process safe to run as root, however it was started: standard input, output and error
/// are open (on "/dev/null" if they were closed), nobody else can write the files it creates (and,
/// when it runs as the super-user, everybody can read them), and it survives the loss of its
/// terminal (SIGHUP, SIGPIPE) and a file size limit (SIGXFSZ), which end only the command that is
/// running. Call it before opening anything.
void prepareProcess();

/// Runs `command` in the shell and waits for it. Returns the status as waitpid gives it: 0 for
/// success, -1 with errno set (EAGAIN: no process available) when the shell could not be started.
/// The first call changes PATH: the folder with the stand-in programs, Zarn_tools beside the
/// running program or else where it was installed, comes first, and for the super-user the relative
/// folders and those that others may write to are removed. (PATH can't name a folder that has a ":"
/// in its name; the first call says so on standard error.) This process's own output is flushed
/// first, so that it stays in order with the command's. The status is right whatever this process
/// has inherited or set for SIGCHLD. The command's standard error is a pipe, from which everything
/// is passed on to this process's standard error. When the reader of this process's output has
/// gone, later calls send that output to "/dev/null".
int system(const char* command);

/// The last line, at most 400 bytes of it, that the most recent command of `system` wrote to
/// standard error; or the name of the signal, if one ended it. Empty when there is neither.
std::string lastComplaint();

/// Starts a log: what this process and its commands print from now on still goes where it went, and
/// up to 8 MB of it also into the file `path`, after `firstLine`. An existing file is appended to
/// only if it is a regular file of this user's with a link count of 1; a link is never followed.
/// The file gets mode 0600; one of 1 MB or more is first renamed with ".old" added. The folder must
/// belong to this user, and nobody else may write to it. A separate process does the copying; it
/// survives the terminal, and lives on after this process while background commands can still
/// print. When this process exits, it waits up to 2 seconds for the copying to finish. Call it
/// once. Returns "" on success, otherwise the reason why there is no log.
[[nodiscard]] std::string keepLog(const std::string& path, const std::string& firstLine);

/// The space on the file system of `directory`, even a read-only one: the number of free blocks
/// that this process's user may use, and the size of a block in bytes. False, with the results
/// untouched, when the file system can't be queried.
bool freeSpace(const char* directory, double& blocks, double& blockSize);

/// The canonical absolute form of `path`: ".", ".." and symbolic links are resolved as far as the
/// path exists; whatever does not exist yet, or lies below a folder that this process may not
/// search, is resolved from its text alone. Empty on failure: an empty path, a loop of links, a
/// path or name longer than the system allows, a relative path without a working directory, a file
/// system error.
std::string absolutePath(const std::string& path);

/// The first file, folder or link along the absolute `path`, including the last, that anybody other
/// than the super-user and this process's user may write or replace. In a sticky folder only the
/// owner of an entry can replace it. Group write permission counts if the group has other members.
/// Empty when there is none. Something that does not exist does not count as writable.
std::string writableByOthers(const std::string& path);

/// Waits until everything written to the file system of `directory` is on the disk.
void syncFiles(const std::string& directory);

/// Opens a file with a fixed name in a directory that everybody may write to ("/tmp", "/usr/tmp"),
/// truncated, for writing; a new one has mode 0644 less the umask. Null when the name exists and is
/// not a regular file of this user's with a link count of 1: a planted link is never followed.
/// Null also for an executable file, since the installer itself may have that name.
std::FILE* openTemporary(const char* path);

/// Makes it safe for a command to write to the fixed name `path`: the file exists, is empty, meets
/// the conditions of `openTemporary`, and nobody else can replace it, because its folder belongs to
/// the super-user or this user and is either sticky or not writable by others. A missing folder
/// ("/usr/tmp" on most systems) is created with mode 1777 if this process may do so. False when any
/// of this fails: the name must then not be used.
bool prepareTemporary(const char* path);

}  // namespace platform

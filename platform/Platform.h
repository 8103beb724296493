#pragma once

#include <cstdio>
#include <string>

/// What the suite's original workstation offered its programs and Linux does not, or not so.
/// The programs for that (xwsh, xconfirm, jot, a tape-aware tar) have tools/ to themselves, and lie
/// in the folder Zarn_tools.
namespace platform {

/// Makes the process fit to run as root, however it was started: standard input, output and error
/// are open (on "/dev/null" if nowhere else), what it makes is nobody else's to write (and, if it
/// is the super-user's, everybody's to read), and it outlives its terminal (SIGHUP, SIGPIPE) and a
/// limit on the size of files (SIGXFSZ), which end only the command that runs. To be called before
/// anything is opened.
void prepareProcess();

/// Runs `command` in the shell and waits for it; the status is that of waitpid: 0 for success,
/// -1 with errno set (EAGAIN: no process to be had) when the shell could not be started. The
/// stand-in programs are found without the user's doing: the folder Zarn_tools beside the running
/// program, or else where it was installed, comes first in PATH from the first call on; for the
/// super-user folders that others may write to, and relative ones, go from it. (PATH has no way to
/// name a folder with a ":" in its name; standard error tells of that once.) What this
/// process has printed so far is flushed first, so that its output and the command's stay in order.
/// The status is right whatever this process has inherited or arranged for SIGCHLD. Standard error
/// reaches the command as a pipe, and this process's own standard error from there. Output that
/// nobody reads any more goes to "/dev/null" from the next call on.
int system(const char* command);

/// The last line that the last command of `system` wrote on standard error, at most 400 bytes of
/// it; the name of the signal that ended it if one did. Empty when there is neither.
std::string lastComplaint();

/// Keeps a log: what this process and its commands print from now on goes where it went and, up to
/// 8 MB, into the file `path` as well, behind `firstLine`. Appends to an own file (mode 0600) with
/// no second name, never through a link; one of 1 MB and more gets ".old" added to its name first.
/// The folder must be this user's, and nobody else's to write. A process of its own copies; it
/// outlives the terminal, and this process as long as commands in the background can print. When
/// this process exits, it waits until all is copied, 2 seconds at most. To be called once. Returns
/// the reason when there is no log, and "" when there is.
[[nodiscard]] std::string keepLog(const std::string& path, const std::string& firstLine);

/// Space on the file system of `directory` as that counts it, even if it can't be written: free
/// blocks that this process's user may have, and their size in bytes. False (the results untouched)
/// when it can't be asked.
bool freeSpace(const char* directory, double& blocks, double& blockSize);

/// The canonical absolute form of `path`: ".", "..", and symbolic links are resolved as far as
/// the path exists; what does not exist yet, or lies below a folder that this process may not
/// search, is resolved by its text alone. Empty on failure: an empty path, a loop of links, a path
/// or name longer than the system allows, a relative path without a working directory, an error
/// of the file system.
std::string absolutePath(const std::string& path);

/// The first file, folder or link on the way to the absolute `path`, itself included, that anybody
/// but the super-user and this process's user may write or replace; what is in a sticky folder only
/// its owner can. A group counts if it has other members. Empty when there is none. What does not
/// exist can't be written.
std::string writableByOthers(const std::string& path);

/// Waits until all that was written to the file system of `directory` is on the disk.
void syncFiles(const std::string& directory);

/// The process that holds a flock lock on the open `file`; 0 when there is none, or it is not
/// known.
int lockHolder(int file);

/// Opens the file at a fixed name in a directory that everybody may write ("/tmp", "/usr/tmp")
/// for writing, empty; a new one has mode 0644 less the umask. Null when anything but an own
/// regular file with no second name stands there: a link that somebody planted is never followed.
/// A program is no such file either: the installer itself may lie at that name.
std::FILE* openTemporary(const char* path);

/// Makes sure that a command may write to the fixed name `path` safely: the file is there, empty
/// and as `openTemporary` demands, and nobody else can change that: its folder belongs to the
/// super-user or to this one, and is sticky or nobody else may write it. A missing folder
/// ("/usr/tmp" on most systems) is made with mode 1777 if this process may. False when all this
/// can't be had: the name must not be used then.
bool prepareTemporary(const char* path);

}  // namespace platform

#pragma once

#include <dirent.h>

#include "support/KvTypes.h"

/// Files, directories, paths, the date and shell commands. Yes-or-no results are 1 or 0; a failure
/// shows only in the result unless stated otherwise. Texts returned as `const char*` are in a
/// buffer of the class and valid until the next call of the same operation. If a result does not
/// fit a `KvText`, the buffer is left empty and the operation fails. Commands are composed with
/// `KvuCommand`: a path is one word of the command whatever characters it contains. Some operations
/// (mail, editors, `compareDate`, logged-in users, `compress`, `mv`, `ln`, `cat`, relative paths)
/// serve only the suite's other programs.
class KvuSystem {
public:
    KvuSystem() = delete;

    // --- Commands

    /// Runs `command` in the shell and returns its status; 0 is success. When no process can be
    /// created (EAGAIN), it says so on standard error and returns -1, or 0 if `force` is 0; after
    /// such a failure every call with `force` 0 returns -1 and runs nothing.
    static int system(const char* command, int force);

    /// Compresses the file `path` in place, with gzip or (`useGzip` 0) with compress.
    static KvBool compress(const char* path, int useGzip);

    /// Uncompresses the ".gz" or ".Z" file `path` into `outDir` (null: the folder that it is in),
    /// under its name without that extension, and stores the new path in `outPath`. For any other
    /// file it does nothing, returns 1 and leaves `outPath` empty.
    static KvBool uncompress(const char* path, const char* outDir, KvText& outPath);

    /// Opens `file` in an editor in the background: in `editorName`, the name of a program without
    /// arguments, or in `editor()` when that is null. Tries `editor()` when the shell can't run the
    /// command in the background. The result does not tell whether the editor exists.
    static KvBool editFile(const char* file, const char* editorName);

    /// The default editor: always "jot", whatever the environment says.
    static const char* editor();

    /// Mails `file` to `address`; neither `subject` nor `address` is taken for an option. Returns
    /// the mail program's status.
    static int mail(const char* subject, const char* address, const char* file);

    // --- Questions about files and directories

    /// 1 when `path` is a directory or a link to one.
    static KvBool isADirectory(const char* path);

    /// 1 when the directory has an entry `name` of any kind, even a dangling link. With `directory`
    /// null, `name` is a path. With `nonEmpty` the file must not be empty either (`fileIsEmpty`).
    /// An unreadable directory has no entries.
    static KvBool fileExists(const char* directory, const char* name, int nonEmpty);

    /// 1 when every line of the file is blank or a "#" comment, 0 when not, -1 when the file can't
    /// be read.
    static int fileIsEmpty(const char* path);

    /// 1 when the file can be opened for reading.
    static KvBool fileIsReadable(const char* path);

    /// 1 when a file can be written and read at `path`. An existing file is not changed; a file
    /// created for the test is removed.
    static KvBool fileIsWritable(const char* path);

    /// 1 when `dir` is a directory in which files can be created; it tries with "__TEST__".
    static KvBool isADirectoryRW(const char* dir);

    /// 1 when `name` ends with ".gz" or ".Z".
    static KvBool isCompressed(const char* name);

    // --- Changing files and directories

    /// Removes a file or link, and with `recursive` a directory and everything in it, in
    /// alphabetical order, stopping at the first entry that can't be removed. A symbolic link is
    /// removed, never followed; the root directory is refused.
    static KvBool rm(const char* path, int recursive);

    /// Copies a file; with `recursive` also a directory and everything in it.
    static KvBool cp(const char* from, const char* to, int recursive);

    /// Makes the directory `path` and its missing parents, with mode 6755 as far as the umask and
    /// the system allow. Also returns 1 when it exists already.
    static KvBool mkdir(const char* path);

    /// Renames `from` to `to`. If `to` is a directory, a file moves into it and keeps its name.
    static KvBool mv(const char* from, const char* to);

    /// Makes a symbolic link to `from`; `to` is read as in `mv`.
    static KvBool ln(const char* from, const char* to);

    /// Appends the contents of `from` to `to`, which is created if necessary. 0 when either can't
    /// be opened, when a write fails, and when both are the same file.
    static KvBool cat(const char* from, const char* to);

    // --- Listings: the caller owns them and frees each entry, then the array

    /// Stores the entries of `dir` for which `select` returns nonzero (null: all of them) in
    /// `*list`, in alphabetical order. Returns their number; if `dir` can't be read, returns -1 and
    /// sets `*list` to null.
    static int scandir(const char* dir, struct dirent*** list, int (*select)(struct dirent*));

    /// The same without "." and ".."; if `ext` is given, only names that end with it and are longer
    /// than it.
    static int ls(const char* dir, struct dirent*** list, const char* ext);

    /// The number of entries of `dir` without "." and ".."; 0 when it can't be read.
    static int numFiles(const char* dir);

    // --- Paths

    /// The working directory, of any length; "" when there is none.
    static const char* getwd();
    static KvBool getwd(KvText& dir);

    /// The directory part of `path`, of any length; one trailing "/" is ignored: "a" for "a/b/",
    /// "." for "a" and for null, "" for "/a" and for "/".
    static const char* dirname(const char* path);

    /// Stores the canonical absolute form of `path`. A relative `path` starts at `base` (null: the
    /// working directory); a null `path` means `base` itself. Links are resolved as far as the path
    /// exists; the rest is resolved from its text.
    static KvBool getAbsolutePath(const char* path, KvText& out, const char* base);

    /// Stores a path, starting with "../", from the directory `from` to `to`; only the texts are
    /// looked at. Also returns 0 when only one of them is absolute.
    static KvBool getRelativePath(const char* from, const char* to, KvText& out);

    // --- The machine, its users and the date

    /// The free space that this process may use on the file system of `dir`, in millions of bytes.
    /// On failure 0, and a message on standard error.
    static KvFloat getFreeSpace(const char* dir);

    static KvBool gethostname(KvText& host);

    /// 1 when DISPLAY names this host or no host.
    static KvBool runningLocally();

    static KvBool runningAsRoot();

    /// 1 when `who` lists `user`. Also 0 when no safe temporary file can be made in "/usr/tmp".
    static KvBool isLoggedIn(const char* user);

    /// Stores today's date as month, day and year, such as "Jun-30-1997"; "11-1-95" if the C
    /// library gives no date.
    static void getDate(KvText& date);

    /// -1 when today is before the given date (`month` 1 to 12), 0 on that day, 1 after it.
    static int compareDate(int year, int month, int day);
};

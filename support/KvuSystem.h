#pragma once

#include <dirent.h>

#include "support/KvTypes.h"

/// Files, directories, paths, the date and shell commands. Yes-or-no results are 1 or 0; a failure
/// is told by the result alone unless something else is said. Texts returned as `const char*` lie
/// in a buffer of the class until the next call of the same operation. A result that does not fit
/// a `KvText` leaves it empty and is a failure. Commands are composed with `KvuCommand`: a path is
/// one word of the command whatever characters it holds.
class KvuSystem {
public:
    KvuSystem() = delete;

    // --- Commands

    /// Runs `command` in the shell and returns its status; 0 is success. When no process could be
    /// made (EAGAIN), it says so on standard error and returns -1, with `force` 0 the number 0;
    /// after such a failure every call with `force` 0 returns -1 and runs nothing.
    static int system(const char* command, int force);

    /// Compresses the file `path` in its place, with gzip or (`useGzip` 0) with compress.
    static KvBool compress(const char* path, int useGzip);

    /// Uncompresses the ".gz" or ".Z" file `path` into `outDir` (null: where it lies), under its
    /// name without that extension, and stores the new path in `outPath`. Any other file is left
    /// alone: 1, and `outPath` is empty.
    static KvBool uncompress(const char* path, const char* outDir, KvText& outPath);

    /// Opens `file` in an editor in the background: `editorName`, the name of one program without
    /// arguments, or `editor()` when it is null. The result tells only whether the shell could
    /// start it there (if not, `editor()` is tried), not whether there is such a program.
    static KvBool editFile(const char* file, const char* editorName);

    /// The default editor, "jot", whatever the environment says.
    static const char* editor();

    /// Mails `file` to `address`; neither text is taken for an option. Returns the status of the
    /// mail program.
    static int mail(const char* subject, const char* address, const char* file);

    // --- Questions about files and directories

    /// 1 when `path` is a directory or a link to one.
    static KvBool isADirectory(const char* path);

    /// 1 when the directory has an entry `name`, whatever it is (a link that leads nowhere, too).
    /// With `directory` null, `name` is a path. With `nonEmpty` the file must also hold something,
    /// see `fileIsEmpty`. An unreadable directory holds nothing.
    static KvBool fileExists(const char* directory, const char* name, int nonEmpty);

    /// 1 when every line of the file is blank or a "#" comment, 0 when not, -1 when the file can't
    /// be read.
    static int fileIsEmpty(const char* path);

    /// 1 when the file can be opened for reading.
    static KvBool fileIsReadable(const char* path);

    /// 1 when a file can be written and read at `path`. A file that is there stays as it is, one
    /// made for the test is removed.
    static KvBool fileIsWritable(const char* path);

    /// 1 when `dir` is a directory in which files can be made ("__TEST__" is tried).
    static KvBool isADirectoryRW(const char* dir);

    /// 1 when the text from the last "." of `name` on is ".gz" or ".Z".
    static KvBool isCompressed(const char* name);

    // --- Changing files and directories

    /// Removes a file or link, and with `recursive` a directory with all it holds, in alphabetical
    /// order up to the first entry that can't be removed. A symbolic link is removed, never
    /// followed; the root directory is refused.
    static KvBool rm(const char* path, int recursive);

    /// Copies a file; with `recursive` also a directory with all it holds.
    static KvBool cp(const char* from, const char* to, int recursive);

    /// Makes the directory `path` and its missing parents, with mode 6755 as far as umask and
    /// system allow. 1 also when it is there already.
    static KvBool mkdir(const char* path);

    /// Renames `from`. A file goes into `to` under its own name when that is a directory.
    static KvBool mv(const char* from, const char* to);

    /// Makes a symbolic link to `from` named as in `mv`.
    static KvBool ln(const char* from, const char* to);

    /// Appends the contents of `from` to `to`, which is made if it is missing. 0 when either can't
    /// be opened or not all was written, and when both are the same file.
    static KvBool cat(const char* from, const char* to);

    // --- Listings: arrays of the caller's, who frees each entry and then the array

    /// Stores the entries of `dir` that `select` (null: all) answers nonzero for in `*list`, in
    /// alphabetical order. Returns their number; -1, with `*list` null, if `dir` can't be read.
    static int scandir(const char* dir, struct dirent*** list, int (*select)(struct dirent*));

    /// The same without "." and "..", and with `ext` only longer names that end with it.
    static int ls(const char* dir, struct dirent*** list, const char* ext);

    /// The number of entries of `dir` without "." and ".."; 0 when it can't be read.
    static int numFiles(const char* dir);

    // --- Paths

    /// The working directory, of any length; "" when there is none.
    static const char* getwd();
    static KvBool getwd(KvText& dir);

    /// The directory part of `path`, without one trailing "/": "a" for "a/b/", "." for "a" and for
    /// null, "" for "/a" and for "/". Of any length.
    static const char* dirname(const char* path);

    /// Stores the canonical absolute form of `path`, taken from `base` (null: the working
    /// directory) when it is relative; null means `base` itself. Links are resolved as far as the
    /// path exists, the rest by its text.
    static KvBool getAbsolutePath(const char* path, KvText& out, const char* base);

    /// Stores a path that leads from the directory `from` to `to`, judged by their texts; it
    /// starts with "../". 0 also when only one of them is absolute.
    static KvBool getRelativePath(const char* from, const char* to, KvText& out);

    // --- The machine, its users and the date

    /// The space that this process may still use in the file system of `dir`, in millions of
    /// bytes. When it can't be found out: 0 and a message on standard error.
    static KvFloat getFreeSpace(const char* dir);

    static KvBool gethostname(KvText& host);

    /// 1 when DISPLAY names this host or none.
    static KvBool runningLocally();

    static KvBool runningAsRoot();

    /// 1 when `who` lists `user`. 0 also without a usable temporary file in "/usr/tmp".
    static KvBool isLoggedIn(const char* user);

    /// Stores today's date as month, day and year: "Jun-30-1997".
    static void getDate(KvText& date);

    /// -1 when today is before the given date (`month` 1 to 12), 0 on that day, 1 after it.
    static int compareDate(int year, int month, int day);
};

#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

/// File-system queries and changes for which the C++ standard library has no exact equivalent.
namespace platform {

/// Ways to use a file. To run a directory means to reach what is in it.
enum Way : unsigned { toRun = 1, toWrite = 2, toRead = 4 };

/// Whether this process's real user may use `path`, or what it links to, in all of these `ways`.
/// False, with errno set, when not.
bool mayUse(const std::string& path, unsigned ways);

/// Whether `path` itself is a directory; a link to one is not.
bool isRealDirectory(const std::string& path);

/// Opens a regular file, or a link to one, for reading; the caller closes it. Null for everything
/// else: opening a pipe, for example, could block.
std::FILE* openToRead(const std::string& path);

/// The names in `directory` except "." and "..", in no particular order. Nothing when it can't be
/// read.
std::optional<std::vector<std::string>> entriesOf(const std::string& directory);

/// Makes a directory with mode 0755 less the umask. False, with errno set, on failure: EEXIST when
/// anything has that name, even a directory or a dangling link.
bool makeDirectory(const std::string& path);

/// Removes an empty directory, and nothing else. False on failure.
bool removeEmptyDirectory(const std::string& path);

/// Makes an empty file with mode 0600. False when that fails, or when anything has that name.
bool makePrivateFile(const std::string& path);

/// Makes a directory with mode 0700 inside `parent`, and returns its path: `parent`, "/", `prefix`
/// and six random characters. Empty on failure, and when `parent` belongs to another user.
std::string makePrivateDirectory(const std::string& parent, const std::string& prefix);

}  // namespace platform

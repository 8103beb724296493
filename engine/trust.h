#pragma once

#include <string>

/// What the super-user may trust. Others who may write to a path could change what the installer
/// runs, or make a name lead elsewhere while it works. An ordinary user risks only his own files,
/// so for him every path is trusted.

/// Whether `path` and the folders above it can be written only by the super-user; always true when
/// an ordinary user runs the installer. When false, an error has named what others may write to,
/// and stated `consequence`.
bool KvmOnlySuperUserWrites(const std::string& path, const std::string& consequence);

/// Whether the program at `path` in a product tree may be run; false after an error.
bool KvmMayRun(const std::string& path);

/// The same as KvmOnlySuperUserWrites, without a message.
bool KvmIsTrusted(const std::string& path);

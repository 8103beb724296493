#pragma once

#include <string>

/// What the super-user may rely on. Where others may write, they could lead the installer astray:
/// change what it runs, or where a name leads to while it works. An ordinary user risks no more
/// than what is his own: for him everything will do.

/// Whether only the super-user may write to `path` and to the folders above it. False, after an
/// error that names what others may write to and ends with `consequence`, when he is at work and
/// that is not so.
bool KvmOnlySuperUserWrites(const std::string& path, const std::string& consequence);

/// Whether the program at `path` in a product tree may be run; false after an error.
bool KvmMayRun(const std::string& path);

/// The same as the first, without telling anybody.
bool KvmIsTrusted(const std::string& path);

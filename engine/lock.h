#pragma once

#include <string>

/// Keeps other installers off a location for as long as it lives, and no longer than this process.
/// Where a directory can't be locked, nobody is kept off.
class KvmPlaceLock {
public:
    explicit KvmPlaceLock(const std::string& place);
    ~KvmPlaceLock();
    KvmPlaceLock(const KvmPlaceLock&) = delete;
    KvmPlaceLock& operator=(const KvmPlaceLock&) = delete;

    /// False, after an error that names the other process, when another installer has it.
    [[nodiscard]] bool held() const;

private:
    int file_;
    bool held_;
};

/// "Another Zarn_install", with the number of the process that locks the open `file` if that is
/// known.
std::string KvmOtherInstaller(int file);

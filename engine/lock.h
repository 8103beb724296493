#pragma once

#include <string>

/// Locks a location against other installers until this object is destroyed or the process ends. A
/// directory that can't be locked is not protected.
class KvmPlaceLock {
public:
    explicit KvmPlaceLock(const std::string& place);
    ~KvmPlaceLock();
    KvmPlaceLock(const KvmPlaceLock&) = delete;
    KvmPlaceLock& operator=(const KvmPlaceLock&) = delete;

    /// False, after an error that names the other process, when another installer has the lock.
    [[nodiscard]] bool held() const;

private:
    int file_;
    bool held_;
};

/// "Another Zarn_install", with the number of the process that locks the open `file` if that is
/// known.
std::string KvmOtherInstaller(int file);

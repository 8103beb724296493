#pragma once

#include <string>

#include "platform/Locks.h"

/// Locks a location against other installers until this object is destroyed or the process ends. A
/// directory that can't be locked is not protected.
class KvmPlaceLock {
public:
    explicit KvmPlaceLock(const std::string& place);

    /// False, after an error that names the other process, when another installer has the lock.
    [[nodiscard]] bool held() const;

private:
    platform::DirectoryLock lock_;
    bool held_;
};

/// "Another Zarn_install", with the number of its `process` if that is not 0.
std::string KvmOtherInstaller(int process);

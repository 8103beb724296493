#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "engine/command.h"

/// Keeps other installers off a location for as long as it lives, and no longer than this process.
/// Where a directory can't be locked, nobody is kept off.
class PlaceLock {
public:
    explicit PlaceLock(const std::string& place)
        : file_(open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          held_(file_ < 0 || flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {}
    ~PlaceLock() {
        if (file_ >= 0) close(file_);
    }
    PlaceLock(const PlaceLock&) = delete;
    PlaceLock& operator=(const PlaceLock&) = delete;

    /// False, after an error, when another installer has it.
    [[nodiscard]] bool held() const {
        return held_ || KvmFail("Another Zarn_install is at work in this location.");
    }

private:
    int file_;
    bool held_;
};

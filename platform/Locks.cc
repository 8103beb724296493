#include "platform/Locks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>

namespace platform {
namespace {

// The id of the process that locks the open `file`; 0 when there is none, or it is not known.
int lockHolder(int file) {
    struct stat status;
    if (fstat(file, &status) != 0) return 0;
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        int process = 0;
        unsigned int major_ = 0, minor_ = 0;
        unsigned long node = 0;
        if (std::sscanf(line.c_str(), "%*d: FLOCK %*s %*s %d %x:%x:%lu", &process, &major_, &minor_,
                        &node) == 4 &&
            makedev(major_, minor_) == status.st_dev && node == status.st_ino)
            return process;
    }
    return 0;
}

// Whether another process holds a lock that excludes this one.
bool isTakenFrom(int file, int lock) {
    return flock(file, lock | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool isRegular(int file) {
    struct stat status;
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

// The previous holder of the lock may have renamed the file meanwhile.
bool isStillNamed(int file, const std::string& path) {
    struct stat status, named;
    return fstat(file, &status) == 0 && lstat(path.c_str(), &named) == 0 &&
           named.st_ino == status.st_ino;
}

}  // namespace

DirectoryLock::DirectoryLock(const std::string& directory)
    : file_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      taken_(file_ >= 0 && isTakenFrom(file_, LOCK_EX)) {
    if (taken_) holder_ = lockHolder(file_);
}

DirectoryLock::~DirectoryLock() {
    if (file_ >= 0) close(file_);
}

LockedFile::~LockedFile() {
    const int reason = errno;
    if (file_ >= 0) close(file_);
    errno = reason;
}

bool LockedFile::open(const std::string& path, int flags, int lock) {
    constexpr int always = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    path_ = path;
    const int file = ::open(path.c_str(), flags | always, 0600);
    if (file < 0) return false;
    const bool regular = isRegular(file);
    const bool taken = regular && isTakenFrom(file, lock);
    if (regular && !taken && isStillNamed(file, path)) {
        file_ = file;
        return true;
    }
    if (taken) holder_ = lockHolder(file);
    close(file);
    errno = taken ? EWOULDBLOCK : regular ? ESTALE : EINVAL;
    return false;
}

bool LockedFile::openToWrite(const std::string& path) {
    return open(path, O_WRONLY | O_CREAT, LOCK_EX);
}

bool LockedFile::openToRead(const std::string& path) {
    return open(path, O_RDONLY, LOCK_SH);
}

bool LockedFile::isEmpty() const {
    struct stat status;
    return file_ >= 0 && fstat(file_, &status) == 0 && status.st_size == 0;
}

// Overwrites the old text before truncating, so that its blocks can be reused on a full disk.
bool LockedFile::write(const std::string& text) const {
    const ssize_t written = pwrite(file_, text.data(), text.size(), 0);
    if (written >= 0 && written < static_cast<ssize_t>(text.size())) errno = ENOSPC;
    return written == static_cast<ssize_t>(text.size()) &&
           ftruncate(file_, static_cast<off_t>(text.size())) == 0 && fsync(file_) == 0;
}

bool LockedFile::moveTo(const std::string& path) const {
    constexpr mode_t mode = 0644;
    return fchmod(file_, mode) == 0 && std::rename(path_.c_str(), path.c_str()) == 0;
}

void LockedFile::remove() const {
    const int reason = errno;
    if (file_ >= 0) unlink(path_.c_str());
    errno = reason;
}

}  // namespace platform

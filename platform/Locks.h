#pragma once

#include <string>

/// Locks that keep processes of this program apart. They end with the object, or with the process.
/// Where the file system has no locks, nothing is protected, and everything else works.
namespace platform {

/// A lock on a directory, which anybody who can read the directory can take.
class DirectoryLock {
public:
    /// Tries to lock `directory` once, without waiting.
    explicit DirectoryLock(const std::string& directory);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

    /// Whether another process holds the lock. No, if the directory can't be opened.
    [[nodiscard]] bool isTaken() const { return taken_; }

    /// The id of that process; 0 when there is none, or when it can't be determined.
    [[nodiscard]] int holder() const { return holder_; }

private:
    int file_;
    int holder_ = 0;
    bool taken_;
};

/// A regular file that is prepared under one name and then renamed, and that is locked meanwhile.
/// Before a successful `open...`, `isEmpty` is false, `remove` does nothing, and `write` and
/// `moveTo` fail.
class LockedFile {
public:
    LockedFile() = default;
    /// Closes it.
    ~LockedFile();
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    /// Opens `path` for `write`; a missing file is made, with mode 0600: anybody who can open a
    /// file can lock it. Call it once. False, with errno set, when `path` is a link or not a
    /// regular file, when it was renamed just now, when it can't be opened, and, with errno
    /// EWOULDBLOCK, when another process has locked it.
    [[nodiscard]] bool openToWrite(const std::string& path);

    /// The same for a file that exists, and for reading: any number of readers can lock it.
    [[nodiscard]] bool openToRead(const std::string& path);

    /// The id of the process whose lock made `open...` fail; 0 when there is none, or when it can't
    /// be determined.
    [[nodiscard]] int holder() const { return holder_; }

    [[nodiscard]] bool isOpen() const { return file_ >= 0; }

    [[nodiscard]] bool isEmpty() const;

    /// Replaces the contents and waits until they are on the disk. False, with errno set, on
    /// failure; the contents are then undefined.
    [[nodiscard]] bool write(const std::string& text) const;

    /// Gives it the mode 0644 and the name `path`, replacing the file of that name, if any; it
    /// stays open and locked. False, with errno set, on failure.
    [[nodiscard]] bool moveTo(const std::string& path) const;

    /// Removes the name that it was opened with. Keeps errno.
    void remove() const;

private:
    bool open(const std::string& path, int flags, int lock);

    std::string path_;
    int file_ = -1;
    int holder_ = 0;
};

}  // namespace platform

#pragma once

#include <string>

#include "engine/KvmInstallMgr.h"
#include "platform/Locks.h"

/// The installation record, beyond what KvmInstallMgr offers.

/// The user's home directory: HOME if it is an absolute path, otherwise that in the password file.
std::string KvmHome();

/// Switches back from an installed tree's record to the user's own.
void KvmReturnToOwnRecord();

/// The place that the user's own record names; empty when there is none.
std::string KvmOwnRecordPlace();

/// The row of the edition that the record in use names; if it names none, the row that was returned
/// last. -1 when there never was one.
int KvmRecordedProduct();

/// Writes the chosen edition into the record in use, its copy in the installed tree, and the user's
/// own record if that names this suite; the other lines stay as they are. Returns the last record
/// that could not be written, with errno set; empty when all were.
[[nodiscard]] std::string KvmRecordEdition();

/// Whether the user's own record is still as this session last read or wrote it. If not, returns
/// false after an error which says that the window is out of date.
bool KvmRecordIsAsSeen();

/// Call this when the session itself has deleted the record.
void KvmForgetRecord();

/// Whether both paths lead to the same directory, or are equal.
bool KvmIsSameDirectory(const std::string& a, const std::string& b);

/// The record of an installation in progress. Until the installation is done, it is a file with the
/// record's name and ".part"; if the process dies, this file names the place of the unfinished
/// installation. While this object lives, no other installer can prepare a record.
class KvmPreparedRecord {
public:
    KvmPreparedRecord() = default;
    KvmPreparedRecord(const KvmPreparedRecord&) = delete;
    KvmPreparedRecord& operator=(const KvmPreparedRecord&) = delete;
    ~KvmPreparedRecord();

    /// Writes the nine lines for an installation of the chosen edition in `place`. False, after an
    /// error and with nothing changed, when the record can't be written there, when it is not as
    /// this session last saw it, or when another installer is at work.
    [[nodiscard]] bool prepare(const std::string& place);

    /// Makes it the record; false, after an error, when that fails and nothing has changed.
    [[nodiscard]] bool putInPlace() const;

    /// Deletes it, or restores what it said before about an unfinished installation elsewhere.
    /// Does nothing when it was neither prepared nor announced.
    void drop() const;

    /// Whether the record can be written in its place, as far as can be seen without writing; false
    /// after an error.
    [[nodiscard]] bool canBePrepared() const;

    /// To be used instead of prepare: only keeps other installers from preparing a record while
    /// this object lives. False, after an error, when one is at work; also true where no record can
    /// be written.
    [[nodiscard]] bool keepOthersOff();

    /// To be called after keepOthersOff and before the record in use is deleted: marks the suite in
    /// `place` as unfinished until `drop`. Does nothing where that can't be written.
    void announceRemoval(const std::string& place);

private:
    std::string part_;
    platform::LockedFile file_;
    std::string before_;
};

/// The place where this user's interrupted installation left a product tree, provided that no
/// installer is still at work; empty when there is none. A tree with the record of another
/// installation does not count.
std::string KvmUnfinishedPlace();

/// Marks the tree in `place` as completely extracted. The mark is a copy of the record, as in a
/// finished installation. REQUIRES: a record has been prepared.
void KvmMarkComplete(const std::string& place);

/// Removes that mark (the record's copy) from the tree.
void KvmUnmarkComplete(const std::string& place);

/// Whether the unfinished installation in `place` is marked as complete and has the chosen edition.
bool KvmIsComplete(const std::string& place);

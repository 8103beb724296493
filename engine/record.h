#pragma once

#include <string>

#include "engine/KvmInstallMgr.h"

/// The installation record, beyond what KvmInstallMgr offers.

/// The user's home directory: HOME, or what the system knows when that is not set.
std::string KvmHome();

/// Goes back to the user's own record from that of an installed tree.
void KvmReturnToOwnRecord();

/// The place that the user's own record names; empty when there is none.
std::string KvmOwnRecordPlace();

/// The row of the edition that the record in use names or, when a failed removal has deleted that,
/// named; -1 when none was ever named.
int KvmRecordedProduct();

/// Writes the chosen edition into the record in use, its copy in the installed tree, and the user's
/// own record if that names this suite; the other lines stay. False, with errno set, when one of
/// them failed.
bool KvmRecordEdition();

/// Whether the user's own record still says what this session last read or wrote; false after an
/// error: what the window shows is out of date.
bool KvmRecordIsAsSeen();

/// To be called when this session has deleted the record itself.
void KvmForgetRecord();

/// Whether both names lead to the same directory, or are the same.
bool KvmIsSameDirectory(const std::string& a, const std::string& b);

/// The record of an installation that is under way. It lies beside the record, under the record's
/// name with ".part", until the installation is done; what a process that died left there names
/// the place of an unfinished installation. While it lives, no other installer can prepare one.
class KvmPreparedRecord {
public:
    KvmPreparedRecord() = default;
    KvmPreparedRecord(const KvmPreparedRecord&) = delete;
    KvmPreparedRecord& operator=(const KvmPreparedRecord&) = delete;
    ~KvmPreparedRecord();

    /// Writes the nine lines for an installation of the chosen edition in `place`. False, after an
    /// error, when the record could not be written there, is not as this session has seen it, or
    /// another installer is at work; what was there is as it was.
    [[nodiscard]] bool prepare(const std::string& place);

    /// Makes it the record; false, after an error, when that fails: it stays what it was.
    [[nodiscard]] bool putInPlace() const;

    /// Deletes it, or restores what it said of an unfinished installation elsewhere. Nothing
    /// happens when it was neither prepared nor announced.
    void drop() const;

    /// Whether the record can be written where it belongs, as far as that shows without writing;
    /// false after an error.
    [[nodiscard]] bool canBePrepared() const;

    /// Instead of prepare: only keeps other installers from preparing one as long as this lives.
    /// False, after an error, when one is at work; true also where no record can be written.
    [[nodiscard]] bool keepOthersOff();

    /// After keepOthersOff, before the record in use is deleted: the suite in `place` is remembered
    /// as unfinished until `drop`. Where that can't be written, it is not.
    void announceRemoval(const std::string& place);

private:
    std::string part_;
    int file_ = -1;  // locked as long as it is open
    std::string before_;
};

/// Where an installation of this user that ended early has left a product tree, and no installer is
/// at work any more; empty when there is none. A tree that has the record of another installation
/// is not what it left.
std::string KvmUnfinishedPlace();

/// Notes in the tree in `place` that all was extracted; a prepared record is there. It is the copy
/// of the record that a finished installation has there, too.
void KvmMarkComplete(const std::string& place);

/// Takes that mark, or copy, away.
void KvmUnmarkComplete(const std::string& place);

/// Whether the unfinished installation in `place` is marked complete and of the chosen edition.
bool KvmIsComplete(const std::string& place);

#pragma once

#include <string>

#include "engine/KvmInstallMgr.h"

/// The installation record, beyond what KvmInstallMgr offers.

/// The user's home directory: HOME, or what the system knows when that is not set.
std::string KvmHome();

/// Goes back to the user's own record from that of an installed tree.
void KvmReturnToOwnRecord();

/// Whether the user's own record is there and names `place`.
bool KvmOwnRecordNames(const std::string& place);

/// The row of the edition that the record in use names; -1 when it names none, or is not there.
int KvmRecordedProduct();

/// Writes the chosen edition into the record in use and into its copy in the installed tree, and
/// leaves the other lines as they are; false, and the records as they were, when that fails.
bool KvmRecordEdition();

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
    /// error, when the record could not be written there or another installer is at work; what was
    /// there is as it was.
    [[nodiscard]] bool prepare(const std::string& place);

    /// Makes it the record; false, after an error, when that fails: it stays what it was.
    [[nodiscard]] bool putInPlace() const;

    /// Deletes it: there is nothing unfinished.
    void drop() const;

private:
    int file_ = -1;  // locked as long as it is open
};

/// Where an installation of this user that ended early has left something, of which no installer is
/// at work any more; empty when there is none.
std::string KvmUnfinishedPlace();

/// Notes in the tree in `place` that all was extracted; a prepared record is there. It is the copy
/// of the record that a finished installation has there, too.
void KvmMarkComplete(const std::string& place);

/// Whether the unfinished installation in `place` is marked complete and of the chosen edition.
bool KvmIsComplete(const std::string& place);

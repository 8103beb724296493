#pragma once

#include <string>
#include <vector>

/// The archives of the tar-file medium.

/// One of them: as the user names it, where it lies, and what tar reads.
struct KvmArchive {
    std::string word;
    std::string path;
    std::string unpacked;   ///< without ".gz" or ".Z"; `path` when it is not compressed
    bool unwanted = false;  ///< the user wants it deleted when all is done

    [[nodiscard]] bool compressed() const { return unpacked != path; }
};

/// The names of all archives beside the installer, each behind a blank, quoted where needed. Empty,
/// after an error, when there is none.
std::string KvmArchiveNames();

/// The archives that `text` names and that can be read. What can't is reported and left out, and
/// `all` is false then; so the last of them is known to be the last before the first is extracted.
/// Empty also, after an error, when `text` names none.
std::vector<KvmArchive> KvmLocateArchives(const char* text, bool& all);

/// Whether uncompressing the archive would overwrite no file; tells the user which one it would.
bool KvmCanUnpack(const KvmArchive& archive);

/// Uncompresses a compressed archive beside itself; false after an error.
bool KvmUnpack(const KvmArchive& archive);

/// Compresses an archive again that was; an error says so when that fails.
void KvmPackAgain(const KvmArchive& archive);

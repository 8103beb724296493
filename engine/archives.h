#pragma once

#include <string>
#include <vector>

/// The archives of the tar-file medium.

/// One archive: the user's name for it, its path, and the file that tar reads.
struct KvmArchive {
    std::string word;
    std::string path;
    std::string unpacked;   ///< without ".gz" or ".Z"; `path` when it is not compressed
    bool unwanted = false;  ///< the user wants it deleted after the installation

    [[nodiscard]] bool compressed() const { return unpacked != path; }
};

/// The names of all archives in the installer's folder, each preceded by a blank and quoted if
/// necessary. Empty, after an error, when there are none.
std::string KvmArchiveNames();

/// The archives that are named in `text` and can be read. Unreadable ones are reported and left
/// out, and `all` is then false; this happens in advance, so that the caller knows which archive
/// is the last one. Also empty, after an error, when `text` names none.
std::vector<KvmArchive> KvmLocateArchives(const char* text, bool& all);

/// Whether the archive can be uncompressed without overwriting a file. If not, tells the user which
/// file that would be.
bool KvmCanUnpack(const KvmArchive& archive);

/// Uncompresses a compressed archive in its own folder; false after an error.
bool KvmUnpack(const KvmArchive& archive);

/// Recompresses an archive that was compressed before; reports an error if that fails.
void KvmPackAgain(const KvmArchive& archive);

#include "engine/archives.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "engine/KvmInstallMgr.h"
#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/window.h"
#include "support/KvuOwners.h"
#include "support/KvuString.h"

namespace {

bool isArchiveName(const char* name) {
    const std::string suite = KvuFormat("Zarn%s", kvmVersion);
    return KvuString::containsString(name, suite.c_str(), 0) &&
           KvuString::containsString(name, "tar", 0);
}

// The medium's text is later split into words, so a name with a blank needs quotes.
std::string archiveWord(std::string_view name) {
    const bool blank = name.find_first_of(" \t") != std::string_view::npos;
    return blank ? KvuFormat("\"%s\"", std::string(name).c_str()) : std::string(name);
}

std::vector<std::string> typedWords(const char* text) {
    char* words[KvTextSize / 2 + 1];
    const int count = KvuString::parseLine(text, words, '#');
    return {words, words + count};
}

std::string withoutExtension(const std::string& path) {
    std::string name = path;
    if (KvuSystem::isCompressed(name.c_str())) KvuString::truncateAtChar(name.data(), '.', 0);
    return name.c_str();
}

// The archive's current name: an earlier installation may have left a compressed archive
// uncompressed, or compressed it again with gzip.
std::string presentName(const std::string& word, const char* directory) {
    const std::string plain = withoutExtension(word);
    if (plain == word) return word;
    for (const std::string& name : {word, plain, plain + ".gz"})
        if (KvuSystem::fileExists(directory, name.c_str(), 0)) return name;
    return word;
}

bool locate(const std::string& word, bool asWritten, KvmArchive& archive) {
    std::error_code error;
    const char* directory = asWritten ? nullptr : KvmInstallMgr::_info.startDir;
    archive.word = presentName(word, directory);
    archive.path = asWritten ? archive.word : KvuFormat("%s/%s", directory, archive.word.c_str());
    archive.unpacked = withoutExtension(archive.path);
    if (!KvuSystem::fileExists(directory, archive.word.c_str(), 0))
        return KvmFail("Could not open tar file:\n", archive.path.c_str());
    // Reading from a pipe, for example, might never end.
    if (!std::filesystem::is_regular_file(archive.path, error))
        return KvmFail("Could not open tar file:\n", archive.path.c_str(), "\nIt is not a file.");
    return KvmCanUnpack(archive);
}

void fetchGunzip() {
    const char* startDir = KvmInstallMgr::_info.startDir;
    if (KvuSystem::fileExists("/usr/sbin", "gunzip", 0) ||
        !KvuSystem::fileExists(startDir, "gunzip", 0))
        return;
    const std::string own = KvuFormat("%s/%s", startDir, "gunzip");
    std::error_code error;
    if (!std::filesystem::is_regular_file(own, error)) return;
    if (KvuSystem::cp(own.c_str(), "/usr/sbin", 0)) KvmStatus("Copied gunzip to /usr/sbin...");
}

}  // namespace

std::string KvmArchiveNames() {
    const char* startDir = KvmInstallMgr::_info.startDir;
    KvuListing listing;
    listing.count = KvuSystem::scandir(startDir, &listing.entries, nullptr);
    if (listing.count <= 0) {
        KvcUserError("Could not open directory [", startDir, "]");
        return {};
    }
    std::string names;
    for (int i = 0; i < listing.count; ++i) {
        const char* name = listing.entries[i]->d_name;
        if (isArchiveName(name))
            names = KvuFormat("%s %s", names.c_str(), archiveWord(name).c_str());
    }
    if (names.empty())
        KvcUserError("Could not locate a (Zarn system) tar file in:\n", startDir,
                     "\n\nPlease re-enter the location of the tar file.");
    return names;
}

std::vector<KvmArchive> KvmLocateArchives(const char* text, bool& all) {
    const std::vector<std::string> words = typedWords(text);
    if (words.empty())
        KvcUserError("Please enter the location of the Zarn system\ntar file first!");
    const bool asWritten = KvuString::characterCt(text, '/') > 0;
    std::vector<KvmArchive> archives;
    for (const std::string& word : words) {
        KvmArchive archive;
        if (locate(word, asWritten, archive)) archives.push_back(archive);
    }
    all = archives.size() == words.size();
    return archives;
}

// gunzip would ask on the terminal whether to overwrite an existing file, or fail; prevent both.
bool KvmCanUnpack(const KvmArchive& archive) {
    if (!archive.compressed() || !KvuSystem::fileExists(nullptr, archive.unpacked.c_str(), 0))
        return true;
    // A killed installer may have left either file incomplete.
    const bool whole = KvmRun("gzip -t %s 2>/dev/null", archive.path);
    return KvmFail("Could not uncompress \"", archive.word,
                   "\",\nsince this file exists already:\n", archive.unpacked,
                   whole ? "\nThe compressed archive is intact."
                         : "\nThe compressed archive is damaged: keep that file.");
}

bool KvmUnpack(const KvmArchive& archive) {
    if (!archive.compressed()) return true;
    KvmStatus("Uncompressing ", archive.word.c_str(), ", please wait...");
    KvText unpacked;
    if (KvmInstallMgr::uncompress(archive.path.c_str(), unpacked)) return true;
    return KvmFail("Error encountered while uncompressing \"", archive.word.c_str(),
                   "\"\nIs it a compressed archive?");
}

void KvmPackAgain(const KvmArchive& archive) {
    if (!archive.compressed()) return;
    KvmStatus("Compressing ", archive.unpacked.c_str(), ", please wait...");
    if (KvmInstallMgr::compress(archive.unpacked.c_str())) return;
    KvcUserError("Could not find 'gzip' to compress ", archive.unpacked.c_str(),
                 ".Will have to leave it uncompressed!");
}

int KvmInstallMgr::uncompress(const char* archive, KvText& out) {
    if (!KvCopyText(out, withoutExtension(archive))) return 0;
    fetchGunzip();
    if (KvmRun("gunzip %s", archive)) return 1;
    return KvmFail("Could not locate \"gunzip\".", KvmCommandReason());
}

int KvmInstallMgr::compress(const char* file) {
    // gzip would ask on the terminal whether to overwrite this file.
    if (KvuSystem::fileExists(nullptr, KvuFormat("%s.gz", file).c_str(), 0)) return 0;
    return KvmRun("gzip %s", file);
}

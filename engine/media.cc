#include <unistd.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "motif/KvcUtil.h"
#include "support/KvuOwners.h"
#include "support/KvuString.h"
#include "ui/KviInstall.h"

const char* const KvmInstallReadFrom[2] = {"/dev/tape", "guest@<REMOTE-MACHINE-NAME>:/dev/tape"};

namespace {

bool isArchiveName(const char* name) {
    return KvuString::containsString(name, "Zarn2.0", 0) &&
           KvuString::containsString(name, "tar", 0);
}

// The medium's text is split into words again: a name with a blank needs its quotes.
std::string archiveWord(std::string_view name) {
    const bool blank = name.find_first_of(" \t") != std::string_view::npos;
    return blank ? KvuPrint("\"%s\"", std::string(name).c_str()) : std::string(name);
}

void setMediumText(const std::string& text) {
    if (KvCopyText(KvmInstallMgr::_info.readText, text)) return;
    KvmInstallMgr::_info.readText[0] = '\0';
    KvcUserError("The text that names the device or the archives is too long.");
}

void listArchives() {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    info.readText[0] = '\0';
    KvuListing listing;
    listing.count = KvuSystem::scandir(info.startDir, &listing.entries, nullptr);
    if (listing.count <= 0) {
        KvcUserError("Could not open directory [", info.startDir, "]");
        return;
    }
    std::string names;
    for (int i = 0; i < listing.count; ++i) {
        const char* name = listing.entries[i]->d_name;
        if (isArchiveName(name))
            names = KvuPrint("%s %s", names.c_str(), archiveWord(name).c_str());
    }
    if (names.empty())
        KvcUserError("Could not locate a (Zarn system) tar file in:\n", info.startDir,
                     "\n\nPlease re-enter the location of the tar file.");
    setMediumText(names);
}

// An archive of the tar-file medium: as the user names it, where it lies, and what tar reads.
struct Archive {
    std::string word;
    std::string path;
    std::string unpacked;  // without ".gz" or ".Z"; `path` when it is not compressed

    [[nodiscard]] bool compressed() const { return unpacked != path; }
};

std::vector<std::string> wordsOf(const char* text) {
    char* words[KvTextSize / 2 + 1];
    const int count = KvuString::parseLine(text, words, '#');
    return {words, words + count};
}

std::string withoutExtension(const std::string& path) {
    std::string name = path;
    if (KvuSystem::isCompressed(name.c_str())) KvuString::truncateAtChar(name.data(), '.', 0);
    return name.c_str();
}

// gunzip would ask on the terminal whether to overwrite a file, or fail: neither is wanted.
bool canUnpack(const Archive& archive) {
    return !archive.compressed() || !KvuSystem::fileExists(nullptr, archive.unpacked.c_str(), 0) ||
           KvmFail("Could not uncompress \"", archive.word.c_str(),
                   "\",\nsince this file exists already:\n", archive.unpacked.c_str());
}

// The name that a compressed archive has now: an installation before this one may have left it
// uncompressed, or compressed with gzip.
std::string presentName(const std::string& word, const char* directory) {
    const std::string plain = withoutExtension(word);
    if (plain == word) return word;
    for (const std::string& name : {word, plain, plain + ".gz"})
        if (KvuSystem::fileExists(directory, name.c_str(), 0)) return name;
    return word;
}

bool locate(const std::string& word, bool asWritten, Archive& archive) {
    const char* directory = asWritten ? nullptr : KvmInstallMgr::_info.startDir;
    archive.word = presentName(word, directory);
    archive.path = asWritten ? archive.word : KvuPrint("%s/%s", directory, archive.word.c_str());
    archive.unpacked = withoutExtension(archive.path);
    if (!KvuSystem::fileExists(directory, archive.word.c_str(), 0))
        return KvmFail("Could not open tar file:\n", archive.path.c_str());
    return canUnpack(archive);
}

// The archives that can be read. What can't is reported and left out here, so that the last of
// them is known to be the last before the first is extracted.
std::vector<Archive> locateAll(const std::vector<std::string>& words) {
    const bool asWritten = KvuString::characterCt(KvmInstallMgr::_info.readText, '/') > 0;
    std::vector<Archive> archives;
    for (const std::string& word : words) {
        Archive archive;
        if (locate(word, asWritten, archive)) archives.push_back(archive);
    }
    return archives;
}

bool unpack(const Archive& archive) {
    if (!archive.compressed()) return true;
    KvmInstallMgr::info(kviInstallSystemMsg, "Uncompressing ", archive.word.c_str(),
                        ", please wait...");
    KvText unpacked;
    if (KvmInstallMgr::uncompress(archive.path.c_str(), unpacked)) return true;
    KvcUserError("Error encountered while uncompressing \"", archive.word.c_str(),
                 "\"\nIs it a compressed archive?");
    return false;
}

bool removedByUser(const Archive& archive) {
    if (KvmInstallMgr::_info.installed) return false;
    if (KvcUserConfirm(2, yesNo, "Installation from tar file \"", archive.word.c_str(),
                       "\" is complete.\nDo you want to remove the tar file from your system?") !=
        0)
        return false;
    KvmRun("rm -rf %s", archive.unpacked);
    sleep(2);
    return true;
}

void packAgain(const Archive& archive) {
    if (!archive.compressed()) return;
    KvmInstallMgr::info(kviInstallSystemMsg, "Compressing ", archive.unpacked.c_str(),
                        ", please wait...");
    if (KvmInstallMgr::compress(archive.unpacked.c_str())) return;
    KvcUserError("Could not find 'gzip' to compress ", archive.unpacked.c_str(),
                 ".Will have to leave it uncompressed!");
}

void fetchGunzip() {
    const char* startDir = KvmInstallMgr::_info.startDir;
    if (KvuSystem::fileExists("/usr/sbin", "gunzip", 0) ||
        !KvuSystem::fileExists(startDir, "gunzip", 0))
        return;
    const std::string own = KvuPrint("%s/%s", startDir, "gunzip");
    if (KvuSystem::cp(own.c_str(), "/usr/sbin", 0))
        KvmInstallMgr::info(kviInstallSystemMsg, "Copied gunzip to /usr/sbin...");
}

}  // namespace

void KvmInstallMgr::setReadFrom(int index) {
    if (index < 0 || index > kvmCdRom) return;
    _info.readFrom = index;
    if (index == kvmCdRom) {
        setMediumText(KvuPrint("%s/%s", _info.startDir, kvmSystem));
    } else if (index == kvmTarFile) {
        listArchives();
    } else {
        setMediumText(KvmInstallReadFrom[index]);
    }
}

int KvmInstallMgr::getReadFrom() {
    return _info.readFrom;
}

void KvmInstallMgr::setReadText(const char* text) {
    if (std::strlen(text) >= KvTextSize) {
        KvcUserError("The text that names the device or the archives is too long.");
        return;
    }
    setMediumText(text);
    XtSetSensitive(kviInstallReadTextOk, False);
}

bool KvmInstallArchives() {
    const std::vector<std::string> words = wordsOf(KvmInstallMgr::_info.readText);
    if (words.empty())
        return KvmFail("Please enter the location of the Zarn system\ntar file first!");
    const std::vector<Archive> archives = locateAll(words);
    bool any = false;
    for (const Archive& archive : archives) {
        // An archive before it may have left a file of that name.
        if (!canUnpack(archive)) continue;
        if (!unpack(archive)) return false;
        const int finalPass = &archive == &archives.back();
        if (!KvmInstallMgr::copyInstall(archive.unpacked.c_str(), finalPass)) continue;
        any = true;
        if (!removedByUser(archive)) packAgain(archive);
    }
    return any;
}

int KvmInstallMgr::uncompress(const char* archive, KvText& out) {
    if (!KvCopyText(out, withoutExtension(archive))) return 0;
    fetchGunzip();
    if (KvmRun("gunzip %s", archive)) return 1;
    KvcUserError("Could not locate \"gunzip\".");
    return 0;
}

int KvmInstallMgr::compress(const char* file) {
    // gzip would ask on the terminal whether to overwrite it.
    if (KvuSystem::fileExists(nullptr, KvuPrint("%s.gz", file).c_str(), 0)) return 0;
    return KvmRun("gzip %s", file);
}

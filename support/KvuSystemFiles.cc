#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "support/KvuCommand.h"
#include "support/KvuOwners.h"
#include "support/KvuString.h"
#include "support/KvuSystem.h"

namespace {

constexpr mode_t directoryMode = 06755;

const char* listDirectorySelectExtn = nullptr;

bool isDot(std::string_view name) {
    return name == "." || name == "..";
}

int listDirectorySelect(struct dirent* entry) {
    const std::string_view name = entry->d_name;
    if (isDot(name)) return 0;
    if (listDirectorySelectExtn == nullptr) return 1;
    const std::string_view extension = listDirectorySelectExtn;
    return name.size() > extension.size() && name.ends_with(extension);
}

// Must not block, even if `path` is a pipe without a writer.
KvuFile openForReading(const char* path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return KvuFile(file < 0 ? nullptr : fdopen(file, "r"));
}

// With a trailing slash, as in "link/", the system would follow the link.
std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool mayBeRemoved(const std::string& path) {
    struct stat status;
    struct stat root;
    if (lstat(path.c_str(), &status) != 0 || lstat("/", &root) != 0) return false;
    return !isDot(path.substr(path.rfind('/') + 1)) && !isSame(status, root);
}

bool removeAt(int folder, const char* name, bool recursive);

// Descends through the directory's descriptor, not its name: replacing the directory with a link
// meanwhile can't lead us elsewhere.
bool removeEntries(int folder, const char* name) {
    const int file = openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) return true;  // it may still be empty, and then it can be removed
    const KvuDir inside(fdopendir(file));
    if (inside == nullptr) {
        close(file);
        return false;
    }
    KvuListing list;
    list.count = scandirat(file, ".", &list.entries, nullptr, alphasort);
    for (int i = 0; i < list.count; ++i) {
        const char* const entry = list.entries[i]->d_name;
        if (!isDot(entry) && !removeAt(file, entry, true)) return false;
    }
    return true;
}

bool removeAt(int folder, const char* name, bool recursive) {
    struct stat status;
    if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    if (!S_ISDIR(status.st_mode)) return unlinkat(folder, name, 0) == 0;
    return recursive && removeEntries(folder, name) && unlinkat(folder, name, AT_REMOVEDIR) == 0;
}

bool makeIfMissing(const std::string& path) {
    if (KvuSystem::fileExists(nullptr, path.c_str(), 0)) return true;
    if (mkdir(path.c_str(), directoryMode) == 0) return true;
    // It may exist all the same, in a directory that we may search but not read.
    return KvuSystem::isADirectory(path.c_str());
}

bool opens(const char* path, int flags) {
    const int file = open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    return file >= 0 && close(file) == 0;
}

std::string getToPathFull(const char* from, const char* to) {
    const bool into = !KvuSystem::isADirectory(from) && KvuSystem::isADirectory(to) &&
                      KvuSystem::fileExists(nullptr, to, 0);
    if (!into) return to;
    KvText name;
    if (!KvuString::basename(from, name)) return {};
    return KvuFormat("%s/%s", to, name);
}

bool isSameFile(std::FILE* a, std::FILE* b) {
    struct stat first;
    struct stat second;
    return fstat(fileno(a), &first) == 0 && fstat(fileno(b), &second) == 0 && isSame(first, second);
}

}  // namespace

KvBool KvuSystem::isADirectory(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

KvBool KvuSystem::fileExists(const char* directory, const char* name, int nonEmpty) {
    std::string folder = directory != nullptr ? directory : ".";
    std::string entryName = name != nullptr ? name : "";
    const std::size_t slash = entryName.rfind('/');
    if (directory == nullptr && slash != std::string::npos) {
        folder = slash == 0 ? "/" : entryName.substr(0, slash);
        entryName.erase(0, slash + 1);
    }
    const KvuDir listing(opendir(folder.c_str()));
    if (listing == nullptr) return 0;
    const struct dirent* entry = nullptr;
    do {
        entry = readdir(listing.get());
    } while (entry != nullptr && entryName != entry->d_name);
    if (entry == nullptr) return 0;
    return !nonEmpty || fileIsEmpty((folder + "/" + entryName).c_str()) == 0;
}

int KvuSystem::fileIsEmpty(const char* path) {
    const KvuFile file = openForReading(path);
    if (file == nullptr) return -1;
    char line[KvTextSize];
    char* argv[2];
    while (std::fgets(line, sizeof line, file.get()) != nullptr) {
        if (KvuString::parseLine(line, argv, '#') != 0) return 0;
    }
    return std::ferror(file.get()) != 0 ? -1 : 1;
}

KvBool KvuSystem::fileIsReadable(const char* path) {
    return opens(path, O_RDONLY);
}

KvBool KvuSystem::fileIsWritable(const char* path) {
    // O_EXCL does not create a file through a link, and tells a new file from one that existed.
    const bool made = opens(path, O_WRONLY | O_APPEND | O_CREAT | O_EXCL);
    const bool writable = made || opens(path, O_WRONLY | O_APPEND);
    const bool readable = writable && opens(path, O_RDONLY);
    if (made) rm(path, 0);
    return readable;
}

KvBool KvuSystem::isADirectoryRW(const char* dir) {
    return isADirectory(dir) && fileIsWritable(KvuFormat("%s/%s", dir, "__TEST__").c_str());
}

KvBool KvuSystem::isCompressed(const char* name) {
    const std::string_view text = name != nullptr ? name : "";
    return text.ends_with(".gz") || text.ends_with(".Z");
}

KvBool KvuSystem::rm(const char* path, int recursive) {
    const std::string name = withoutTrailingSlashes(path != nullptr ? path : "");
    return mayBeRemoved(name) && removeAt(AT_FDCWD, name.c_str(), recursive);
}

KvBool KvuSystem::cp(const char* from, const char* to, int recursive) {
    const std::string_view source = from;
    const std::string_view target = to;
    const bool tree = recursive && isADirectory(from);
    const KvuShellText command =
        tree ? KvuCommand("cp -r %s %s", source, target) : KvuCommand("cp %s %s", source, target);
    return system(command.text.c_str(), 1) == 0;
}

KvBool KvuSystem::mkdir(const char* path) {
    if (isADirectory(path)) return 1;
    KvText abs;
    if (!getAbsolutePath(path, abs, nullptr)) return 0;
    const std::string full = abs;
    for (std::size_t end = 1; end < full.size();) {
        end = std::min(full.find('/', end + 1), full.size());
        if (!makeIfMissing(full.substr(0, end))) return 0;
    }
    // If the path existed already, it may be a file.
    return isADirectory(abs);
}

KvBool KvuSystem::mv(const char* from, const char* to) {
    return std::rename(from, getToPathFull(from, to).c_str()) == 0;
}

KvBool KvuSystem::ln(const char* from, const char* to) {
    return symlink(from, getToPathFull(from, to).c_str()) == 0;
}

KvBool KvuSystem::cat(const char* from, const char* to) {
    const KvuFile source = openForReading(from);
    if (source == nullptr) return 0;
    KvuFile target(std::fopen(to, "a"));
    // Appending a file to itself would never end.
    if (target == nullptr || isSameFile(source.get(), target.get())) return 0;
    char part[KvTextSize];
    std::size_t count = 0;
    bool written = true;
    while (written && (count = std::fread(part, 1, sizeof part, source.get())) > 0)
        written = std::fwrite(part, 1, count, target.get()) == count;
    const bool read = std::ferror(source.get()) == 0;
    return std::fclose(target.release()) == 0 && written && read;
}

int KvuSystem::scandir(const char* dir, struct dirent*** list, int (*select)(struct dirent*)) {
    *list = nullptr;
    struct dirent** entries = nullptr;
    const int count = dir != nullptr ? ::scandir(dir, &entries, nullptr, alphasort) : -1;
    if (count < 0) return -1;
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        if (select == nullptr || select(entries[i]) != 0) {
            entries[kept++] = entries[i];
        } else {
            std::free(entries[i]);
        }
    }
    *list = entries;
    return kept;
}

int KvuSystem::ls(const char* dir, struct dirent*** list, const char* ext) {
    listDirectorySelectExtn = ext;
    const int count = scandir(dir, list, listDirectorySelect);
    listDirectorySelectExtn = nullptr;
    return count;
}

int KvuSystem::numFiles(const char* dir) {
    const KvuDir listing(opendir(dir));
    if (listing == nullptr) return 0;
    int count = 0;
    while (readdir(listing.get()) != nullptr) ++count;
    return count < 2 ? count : count - 2;
}

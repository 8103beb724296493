#include "platform/Platform.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace platform {
namespace {

namespace fs = std::filesystem;

// Below a folder that we may not search, only the text of the path is known.
fs::path resolved(const fs::path& path, std::error_code& error) {
    fs::path canonical = fs::weakly_canonical(path, error);
    if (error != std::errc::permission_denied || !path.has_relative_path()) return canonical;
    const fs::path above = resolved(path.parent_path(), error);
    if (error) return {};
    fs::path text = (above / path.filename()).lexically_normal();
    // A ".." may have led back out of that folder, to where links can be resolved again.
    fs::path again = fs::weakly_canonical(text, error);
    if (error != std::errc::permission_denied) return again;
    error.clear();
    return text;
}

bool isTrusted(uid_t user) {
    return user == 0 || user == geteuid();
}

// A group with no other members, such as "staff", which owns /usr/local on some systems.
bool isOursAlone(gid_t id) {
    const struct group* const group = getgrgid(id);
    for (char** name = group != nullptr ? group->gr_mem : nullptr;
         name != nullptr && *name != nullptr; ++name) {
        const struct passwd* const user = getpwnam(*name);
        if (user == nullptr || !isTrusted(user->pw_uid)) return false;
    }
    bool alone = true;
    setpwent();
    while (const struct passwd* const user = getpwent())
        alone = alone && (user->pw_gid != id || isTrusted(user->pw_uid));
    endpwent();
    return alone;
}

// Whether only the super-user and this process's user may write the file with this status. A sticky
// folder is fine: nobody can replace somebody else's entries in it.
bool isOurs(const struct stat& status, const std::string& name) {
    const bool trusted = isTrusted(status.st_uid);
    // With an access control list, the group bits hold the mask, not the group's permissions.
    const bool listed = getxattr(name.c_str(), "system.posix_acl_access", nullptr, 0) > 0;
    const bool byGroup = (status.st_mode & S_IWGRP) != 0 &&
                         (listed || (status.st_gid != 0 && !isOursAlone(status.st_gid)));
    const bool open = byGroup || (status.st_mode & S_IWOTH) != 0;
    const bool sticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    return trusted && (!open || sticky);
}

bool isSafeFolder(const std::string& folder) {
    struct stat status;
    return stat(folder.c_str(), &status) == 0 && isOurs(status, folder);
}

// Walks the path as the kernel does, through every link.
fs::path firstOfOthers(const fs::path& path, int& links) {
    fs::path reached;
    struct stat status;
    for (const fs::path& part : path) {
        reached /= part;
        if (lstat(reached.c_str(), &status) != 0) return {};
        if (S_ISLNK(status.st_mode)) {
            std::error_code error;
            if (!isTrusted(status.st_uid)) return reached;
            const fs::path target = reached.parent_path() / fs::read_symlink(reached, error);
            if (fs::path found = --links < 0 ? reached : firstOfOthers(target, links);
                !found.empty())
                return found;
        } else if (!isOurs(status, reached)) {
            return reached;
        }
    }
    return {};
}

}  // namespace

bool freeSpace(const char* directory, double& blocks, double& blockSize) {
    struct statvfs status;
    if (directory == nullptr || statvfs(directory, &status) != 0) return false;
    const auto allowed = geteuid() == 0 ? status.f_bfree : status.f_bavail;
    blocks = static_cast<double>(allowed);
    blockSize = static_cast<double>(status.f_frsize);
    return true;
}

std::string absolutePath(const std::string& path) {
    std::error_code error;
    if (path.empty()) return {};
    const fs::path absolute = fs::absolute(path, error);
    if (error) return {};
    fs::path canonical = resolved(absolute, error);
    if (error) return {};
    // A trailing slash gives an empty last component.
    if (!canonical.has_filename() && canonical.has_relative_path())
        canonical = canonical.parent_path();
    return canonical.string();
}

std::string writableByOthers(const std::string& path) {
    constexpr int longestChain = 40;
    int links = longestChain;
    return firstOfOthers(path, links);
}

void syncFiles(const std::string& directory) {
    const int file = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return;
    syncfs(file);
    close(file);
}

std::FILE* openTemporary(const char* path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    if (file < 0) return nullptr;
    struct stat status;
    const bool own = fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
                     status.st_uid == geteuid() && status.st_nlink == 1 &&
                     (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0;
    if (!own || ftruncate(file, 0) != 0) {
        close(file);
        return nullptr;
    }
    return fdopen(file, "w");
}

bool prepareTemporary(const char* path) {
    const std::string folder = fs::path(path).parent_path().string();
    // mkdir applies the umask, but this folder must be writable for everybody.
    if (mkdir(folder.c_str(), 01777) == 0 && chmod(folder.c_str(), 01777) != 0) return false;
    if (!isSafeFolder(folder)) return false;
    std::FILE* const file = openTemporary(path);
    return file != nullptr && std::fclose(file) == 0;
}

}  // namespace platform

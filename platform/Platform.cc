#include "platform/Platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string toolsFolder() {
    std::error_code error;
    const fs::path beside = fs::read_symlink("/proc/self/exe", error).parent_path() / "Zarn_tools";
    return fs::is_directory(beside, error) ? beside.string() : ZARN_TOOLS_DIR;
}

void putToolsIntoPath() {
    const char* path = std::getenv("PATH");
    const std::string standard = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    const std::string extended =
        toolsFolder() + ":" + (path != nullptr && *path != '\0' ? path : standard);
    setenv("PATH", extended.c_str(), 1);
}

}  // namespace

int system(const char* command) {
    [[maybe_unused]] static const bool once = (putToolsIntoPath(), true);
    std::fflush(stdout);
    std::fflush(stderr);
    return std::system(command);
}

bool freeSpace(const char* directory, double& blocks, double& blockSize) {
    struct statvfs status;
    if (directory == nullptr || statvfs(directory, &status) != 0) return false;
    // A medium that can't be written has no room, however many blocks it counts as free.
    const bool readOnly = (status.f_flag & ST_RDONLY) != 0;
    const auto allowed = geteuid() == 0 ? status.f_bfree : status.f_bavail;
    blocks = readOnly ? 0.0 : static_cast<double>(allowed);
    blockSize = static_cast<double>(status.f_frsize);
    return true;
}

std::string absolutePath(const std::string& path) {
    std::error_code error;
    if (path.empty()) return {};
    const fs::path absolute = fs::absolute(path, error);
    if (error) return {};
    fs::path canonical = fs::weakly_canonical(absolute, error);
    if (error) return {};
    // A trailing slash leaves an empty last component behind.
    if (!canonical.has_filename() && canonical.has_relative_path())
        canonical = canonical.parent_path();
    return canonical.string();
}

std::FILE* openTemporary(const char* path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    if (file < 0) return nullptr;
    struct stat status;
    const bool own = fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
                     status.st_uid == geteuid() && status.st_nlink == 1;
    if (!own || ftruncate(file, 0) != 0) {
        close(file);
        return nullptr;
    }
    return fdopen(file, "w");
}

}  // namespace platform

#include "platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace platform {

namespace fs = std::filesystem;

static_assert(toRun == X_OK && toWrite == W_OK && toRead == R_OK);

bool mayUse(const std::string& path, unsigned ways) {
    return access(path.c_str(), static_cast<int>(ways)) == 0;
}

bool isRealDirectory(const std::string& path) {
    std::error_code error;
    return fs::is_directory(fs::symlink_status(path, error));
}

std::FILE* openToRead(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return nullptr;
    struct stat status;
    const bool regular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    std::FILE* const stream = regular ? fdopen(file, "r") : nullptr;
    if (stream == nullptr) close(file);
    return stream;
}

std::optional<std::vector<std::string>> entriesOf(const std::string& directory) {
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    if (error) return std::nullopt;
    std::vector<std::string> names;
    for (; entry != fs::directory_iterator(); entry.increment(error))
        names.push_back(entry->path().filename().string());
    return names;
}

bool makeDirectory(const std::string& path) {
    constexpr mode_t mode = 0755;
    return mkdir(path.c_str(), mode) == 0;
}

bool removeEmptyDirectory(const std::string& path) {
    return rmdir(path.c_str()) == 0;
}

bool makePrivateFile(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    return file >= 0 && close(file) == 0;
}

std::string makePrivateDirectory(const std::string& parent, const std::string& prefix) {
    struct stat status;
    if (stat(parent.c_str(), &status) != 0 || status.st_uid != geteuid()) return {};
    std::string path = parent + "/" + prefix + "XXXXXX";
    return mkdtemp(path.data()) != nullptr ? path : "";
}

}  // namespace platform

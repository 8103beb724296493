#include "platform/Platform.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string toolsFolder() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    // Without its own place the program must not take a relative folder for it.
    if (error) return ZARN_TOOLS_DIR;
    std::string beside = self.parent_path() / "Zarn_tools";
    if (!fs::is_directory(beside, error)) return ZARN_TOOLS_DIR;
    if (beside.find(':') == std::string::npos) return beside;
    std::fprintf(stderr,
                 "The programs in %s can't be used: the name of a folder in PATH must not hold a "
                 "\":\". Those in %s are used if they are there.\n",
                 beside.c_str(), ZARN_TOOLS_DIR);
    return ZARN_TOOLS_DIR;
}

void putToolsIntoPath() {
    const char* path = std::getenv("PATH");
    const std::string standard = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    const std::string extended =
        toolsFolder() + ":" + (path != nullptr && *path != '\0' ? path : standard);
    setenv("PATH", extended.c_str(), 1);
}

// While a command runs, the terminal's interrupts are for the command and SIGCHLD must not fetch
// its status away.
class CommandSignals {
public:
    CommandSignals() {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGINT, &ignore, &interrupt_);
        sigaction(SIGQUIT, &ignore, &quit_);
        sigset_t child;
        sigemptyset(&child);
        sigaddset(&child, SIGCHLD);
        sigprocmask(SIG_BLOCK, &child, &mask_);
        // Where SIGCHLD is ignored, no child leaves a status behind. A handler stays: replacing it
        // would drop what is waiting for it.
        sigaction(SIGCHLD, nullptr, &child_);
        if (child_.sa_handler != SIG_IGN && (child_.sa_flags & SA_NOCLDWAIT) == 0) return;
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &standard, nullptr);
    }
    CommandSignals(const CommandSignals&) = delete;
    CommandSignals& operator=(const CommandSignals&) = delete;
    ~CommandSignals() {
        sigaction(SIGCHLD, &child_, nullptr);
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
        sigaction(SIGQUIT, &quit_, nullptr);
        sigaction(SIGINT, &interrupt_, nullptr);
    }

    void restoreIn(posix_spawnattr_t& attributes) const {
        sigset_t standard;
        sigemptyset(&standard);
        if (interrupt_.sa_handler != SIG_IGN) sigaddset(&standard, SIGINT);
        if (quit_.sa_handler != SIG_IGN) sigaddset(&standard, SIGQUIT);
        posix_spawnattr_setsigdefault(&attributes, &standard);
        posix_spawnattr_setsigmask(&attributes, &mask_);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }

private:
    struct sigaction interrupt_ = {};
    struct sigaction quit_ = {};
    struct sigaction child_ = {};
    sigset_t mask_ = {};
};

int startShell(const char* command, const CommandSignals& signals, pid_t& shell) {
    posix_spawnattr_t attributes;
    if (const int error = posix_spawnattr_init(&attributes); error != 0) return error;
    signals.restoreIn(attributes);
    std::string name = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {name.data(), option.data(), text.data(), nullptr};
    const int error = posix_spawn(&shell, "/bin/sh", nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// The C library's own call answers 127 instead of -1 when no process could be made.
int runShell(const char* command) {
    const CommandSignals signals;
    pid_t shell = 0;
    if (const int error = startShell(command, signals, shell); error != 0) {
        errno = error;
        return -1;
    }
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(shell, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == shell ? status : -1;
}

// What lies below a folder that may not be searched is known by its text alone.
fs::path resolved(const fs::path& path, std::error_code& error) {
    fs::path canonical = fs::weakly_canonical(path, error);
    if (error != std::errc::permission_denied || !path.has_relative_path()) return canonical;
    const fs::path above = resolved(path.parent_path(), error);
    if (error) return {};
    fs::path text = (above / path.filename()).lexically_normal();
    // A ".." may have led out of that folder again.
    fs::path again = fs::weakly_canonical(text, error);
    if (error != std::errc::permission_denied) return again;
    error.clear();
    return text;
}

bool isSafeFolder(const std::string& folder) {
    struct stat status;
    if (stat(folder.c_str(), &status) != 0) return false;
    const bool trusted = status.st_uid == 0 || status.st_uid == geteuid();
    const bool open = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return trusted && (!open || (status.st_mode & S_ISVTX) != 0);
}

}  // namespace

int system(const char* command) {
    [[maybe_unused]] static const bool once = (putToolsIntoPath(), true);
    std::fflush(stdout);
    std::fflush(stderr);
    return runShell(command);
}

void prepareProcess() {
    // The next file that is opened gets the lowest free number.
    while (true) {
        const int file = open("/dev/null", O_RDWR);
        if (file < 0 || file > STDERR_FILENO) {
            close(file);
            break;
        }
    }
    umask(umask(022) | 022);
}

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
    // Whatever the umask says, a folder for everybody is for everybody.
    if (mkdir(folder.c_str(), 01777) == 0 && chmod(folder.c_str(), 01777) != 0) return false;
    if (!isSafeFolder(folder)) return false;
    std::FILE* const file = openTemporary(path);
    return file != nullptr && std::fclose(file) == 0;
}

}  // namespace platform

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/Platform.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string toolsFolder() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    // If the program can't find its own folder, a relative path must not stand in for it.
    if (error) return ZARN_TOOLS_DIR;
    // In a distribution the tools are beside the program; once installed, under the same prefix.
    std::string beside = self.parent_path() / "Zarn_tools";
    if (!fs::is_directory(beside, error))
        beside = self.parent_path().parent_path() / "libexec/Zarn_tools";
    if (!fs::is_directory(beside, error)) return ZARN_TOOLS_DIR;
    if (beside.find(':') == std::string::npos) return beside;
    std::fprintf(stderr,
                 "The programs in %s can't be used: the name of a folder in PATH must not hold a "
                 "\":\". Those in %s are used if they are there.\n",
                 beside.c_str(), ZARN_TOOLS_DIR);
    return ZARN_TOOLS_DIR;
}

// A user who becomes root may keep a PATH with folders where others could plant their own "rm".
bool mayHoldCommands(const std::string& folder) {
    std::error_code error;
    return geteuid() != 0 || (folder.starts_with('/') && fs::is_directory(folder, error) &&
                              writableByOthers(folder).empty());
}

void putToolsIntoPath() {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    std::string safe;
    for (std::string folder; std::getline(folders, folder, ':');)
        if (mayHoldCommands(folder)) safe += ":" + folder;
    if (safe.empty()) safe = ":/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    setenv("PATH", (toolsFolder() + safe).c_str(), 1);
}

// A closed terminal (a hangup, or a pipe without a reader) and a file size limit end the step that
// runs into them, not this process.
constexpr std::array survived{SIGHUP, SIGPIPE, SIGXFSZ};

// The ones that this process itself chose to ignore; its commands get the default action back.
sigset_t ownChoice = {};

// While a command runs, the terminal's interrupts go to the command, and no SIGCHLD setting may
// discard its status.
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
        // If SIGCHLD is ignored, children leave no status. A handler stays in place: replacing it
        // would drop the signals that are pending for it.
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
        sigset_t standard = ownChoice;
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

// Starts `command` in the shell, with `file` (unless it is -1) as the descriptor `as`.
int startShell(const char* command, const CommandSignals& signals, int file, int as, pid_t& shell) {
    posix_spawnattr_t attributes;
    if (const int error = posix_spawnattr_init(&attributes); error != 0) return error;
    posix_spawn_file_actions_t files;
    if (const int error = posix_spawn_file_actions_init(&files); error != 0) {
        posix_spawnattr_destroy(&attributes);
        return error;
    }
    signals.restoreIn(attributes);
    if (file >= 0) posix_spawn_file_actions_adddup2(&files, file, as);
    std::string name = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {name.data(), option.data(), text.data(), nullptr};
    const int error = posix_spawn(&shell, "/bin/sh", &files, &attributes, arguments, environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    return error;
}

int waitFor(pid_t shell) {
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(shell, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == shell ? status : -1;
}

std::string complaint;

void print(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR) return;
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
}

// The standard error of one command: passes it on as it arrives, and keeps its last line.
class ErrorPipe {
public:
    explicit ErrorPipe(const CommandSignals& signals) : signals_(signals) {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0) ends_ = {-1, -1};
        complaint.clear();
    }
    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;
    ~ErrorPipe() {
        for (const int end : ends_) close(end);
    }

    [[nodiscard]] int writeEnd() const { return ends_[1]; }

    // Stops when the command ends, not when the pipe's last writer does: a process that it left in
    // the background may go on writing for as long as it likes.
    void passOnUntilEndOf(pid_t command) {
        close(std::exchange(ends_[1], -1));
        if (ends_[0] < 0) return;
        const int end = static_cast<int>(syscall(SYS_pidfd_open, command, 0));
        std::array<pollfd, 2> watched{pollfd{ends_[0], POLLIN, 0}, pollfd{end, POLLIN, 0}};
        bool open = true;
        while (open && end >= 0) {
            if (poll(watched.data(), watched.size(), -1) < 0) continue;
            // Only what is in the pipe when the command ends can still be the command's own.
            const bool ended = watched[1].revents != 0;
            int left = 0;
            if (ended) ioctl(ends_[0], FIONREAD, &left);
            if (watched[0].revents != 0) open = passOn();
            while (ended && open && (left -= partSize) > 0) open = passOn();
            if (ended) break;
        }
        if (end >= 0) close(end);
        if (open) leaveToOthers();
    }

private:
    // False when the pipe has no writers left.
    bool passOn() {
        std::array<char, partSize> part;
        const ssize_t size = read(ends_[0], part.data(), part.size());
        if (size <= 0) return size < 0 && errno == EINTR;
        const std::string_view text(part.data(), static_cast<std::size_t>(size));
        print(text);
        for (const char c : text) keep(c);
        return true;
    }

    void keep(char c) {
        constexpr std::size_t longest = 400;
        if (c == '\n') {
            lineEnded_ = true;
        } else {
            if (std::exchange(lineEnded_, false)) complaint.clear();
            if (complaint.size() < longest) complaint += c;
        }
    }

    // Background processes would be killed by SIGPIPE if the pipe lost its reader.
    void leaveToOthers() {
        // Not as standard input: the shell takes that away from a command in the background.
        constexpr int spare = 3;
        pid_t shell = 0;
        if (startShell("cat <&3 >&2 &", signals_, ends_[0], spare, shell) == 0) waitFor(shell);
    }

    static constexpr int partSize = 4096;
    const CommandSignals& signals_;
    std::array<int, 2> ends_{};
    bool lineEnded_ = false;
};

// Once nobody reads our output, every further command would be killed as soon as it printed.
void replaceDeadOutput() {
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
        pollfd state{output, POLLOUT, 0};
        if (poll(&state, 1, 0) < 1 || (state.revents & (POLLERR | POLLHUP)) == 0) continue;
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (nowhere >= 0) dup2(nowhere, output);
        close(nowhere);
    }
}

// The C library's system() returns 127 instead of -1 when it can't create a process.
int runShell(const char* command) {
    const CommandSignals signals;
    ErrorPipe errors(signals);
    pid_t shell = 0;
    const int error = startShell(command, signals, errors.writeEnd(), STDERR_FILENO, shell);
    if (error != 0) {
        errno = error;
        return -1;
    }
    errors.passOnUntilEndOf(shell);
    const int status = waitFor(shell);
    if (status != -1 && WIFSIGNALED(status)) complaint = strsignal(WTERMSIG(status));
    return status;
}

}  // namespace

int system(const char* command) {
    static std::once_flag prepared;
    std::call_once(prepared, putToolsIntoPath);
    std::fflush(stdout);
    std::fflush(stderr);
    replaceDeadOutput();
    return runShell(command);
}

std::string lastComplaint() {
    return complaint;
}

void prepareProcess() {
    // open() returns the lowest free descriptor, so this fills 0, 1 and 2 if they are closed.
    while (true) {
        const int file = open("/dev/null", O_RDWR);
        if (file < 0 || file > STDERR_FILENO) {
            close(file);
            break;
        }
    }
    // A suite that the super-user installs must be readable by everybody.
    const mode_t before = umask(022);
    if (geteuid() != 0) umask(before | 022);
    for (const int signal : survived)
        if (std::signal(signal, SIG_IGN) != SIG_IGN) sigaddset(&ownChoice, signal);
}

}  // namespace platform

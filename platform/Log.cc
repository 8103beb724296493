#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Platform.h"

namespace platform {
namespace {

// A log of longLog bytes or more is renamed before a run; a run stops logging at longestLog.
constexpr off_t longLog = off_t{1} << 20;
constexpr off_t longestLog = off_t{8} << 20;

using Ends = std::array<int, 2>;

// What the parent needs when it exits: its end of the connection to the copier, and where its
// output originally went.
int copierLine = -1;
Ends outputsBefore{-1, -1};

// The folder must be one in which nobody else can change anything.
std::string whyNotIn(const std::string& folder) {
    struct stat status;
    if (stat(folder.c_str(), &status) != 0) return std::strerror(errno);
    if (status.st_uid != geteuid()) return folder + " belongs to somebody else";
    const std::string open = (status.st_mode & S_IWOTH) != 0 ? folder : writableByOthers(folder);
    return open.empty() ? "" : "others may write to " + open;
}

int openLog(const std::string& path, std::string& reason) {
    const int file =
        open(path.c_str(),
             O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
    reason = file < 0 ? std::strerror(errno) : "";
    struct stat status;
    const bool own = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
                     status.st_uid == geteuid() && status.st_nlink == 1 && fchmod(file, 0600) == 0;
    if (own || file < 0) return file;
    close(file);
    reason = "it is not an ordinary file of this user";
    return -1;
}

int openShortLog(const std::string& path, std::string& reason) {
    reason = whyNotIn(std::filesystem::path(path).parent_path());
    const int file = reason.empty() ? openLog(path, reason) : -1;
    if (file < 0 || lseek(file, 0, SEEK_END) < longLog) return file;
    const std::string old = path + ".old";
    const bool moved = std::rename(path.c_str(), old.c_str()) == 0;
    if (!moved && ftruncate(file, 0) == 0) return file;
    reason = std::strerror(errno);
    close(file);
    return moved ? openLog(path, reason) : -1;
}

// False, with errno set, when a write fails.
bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        pollfd room{file, POLLOUT, 0};
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            poll(&room, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Copies from the pipes to standard output, standard error and the file. Runs in a process of its
// own, which ends when the pipes have no writers left.
class Copier {
public:
    Copier(const Ends& pipes, int line, int file, std::string path)
        : watched_{pollfd{pipes[0], POLLIN, 0}, pollfd{pipes[1], POLLIN, 0},
                   pollfd{line, POLLIN, 0}},
          file_(file),
          path_(std::move(path)) {}

    void run() {
        bool leaving = false;
        while (watched_[0].fd >= 0 || watched_[1].fd >= 0) {
            // Only a poll that starts after the parent has left sees everything that it printed.
            const int ready = poll(watched_.data(), watched_.size(), leaving ? 0 : -1);
            if (ready == 0) {
                leaving = false;
                parentIsServed();
            }
            for (const std::size_t output : {0, 1})
                if (ready > 0 && watched_[output].revents != 0) passOn(output);
            if (ready > 0 && watched_[2].revents != 0) {
                leaving = true;
                line_ = std::exchange(watched_[2].fd, -1);
            }
        }
    }

private:
    // What a background command prints after this no longer belongs to the run.
    void parentIsServed() {
        close(std::exchange(file_, -1));
        close(std::exchange(line_, -1));
    }

    void passOn(std::size_t output) {
        std::array<char, 4096> part;
        const ssize_t size = read(watched_[output].fd, part.data(), part.size());
        if (size < 0 && errno == EINTR) return;
        if (size <= 0) {
            close(std::exchange(watched_[output].fd, -1));
            return;
        }
        const std::string_view text(part.data(), static_cast<std::size_t>(size));
        // Log it first: the write to the terminal may block or fail.
        keep(text);
        show(output, text);
    }

    void keep(std::string_view text) {
        if (file_ < 0) return;
        errno = EFBIG;
        if (lseek(file_, 0, SEEK_END) < longestLog && writeAll(file_, text)) return;
        const std::string reason = std::strerror(errno);
        close(std::exchange(file_, -1));
        show(1, path_ + " ends here: " + reason + "\n");
    }

    void show(std::size_t output, std::string_view text) {
        int& target = targets_[output];
        if (target >= 0 && !writeAll(target, text)) target = -1;
    }

    std::array<pollfd, 3> watched_;
    Ends targets_{STDOUT_FILENO, STDERR_FILENO};
    int line_ = -1;
    int file_;
    std::string path_;
};

bool areOneFile(int a, int b) {
    struct stat first;
    struct stat second;
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// If standard output and error go to the same place, they share a pipe, which keeps their order.
bool makePipes(Ends& readEnds, Ends& writeEnds) {
    readEnds = writeEnds = {-1, -1};
    const std::size_t needed = areOneFile(STDOUT_FILENO, STDERR_FILENO) ? 1 : 2;
    for (std::size_t i = 0; i < needed; ++i) {
        Ends ends;
        if (pipe2(ends.data(), O_CLOEXEC) != 0) return false;
        readEnds[i] = ends[0];
        writeEnds[i] = ends[1];
    }
    return true;
}

// The last output should be seen before the terminal closes, but a terminal that accepts no output
// must not keep the process from exiting.
void waitForCopier() {
    constexpr int longest = 2000;
    std::fflush(stdout);
    std::fflush(stderr);
    for (const int output : {0, 1}) dup2(outputsBefore[output], output + STDOUT_FILENO);
    shutdown(copierLine, SHUT_WR);
    pollfd served{copierLine, POLLIN, 0};
    while (poll(&served, 1, longest) < 0 && errno == EINTR) continue;
}

void printInto(const Ends& pipes) {
    for (const int output : {0, 1}) {
        const int number = output + STDOUT_FILENO;
        outputsBefore[output] = fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        dup2(pipes[output] >= 0 ? pipes[output] : pipes[0], number);
    }
    std::atexit(waitForCopier);
}

// The copier ignores the terminal's signals and its closing, and must not keep a folder or a medium
// busy.
void becomeCopier() {
    setsid();
    prctl(PR_SET_NAME, "Zarn_log");
    close(STDIN_FILENO);
    if (chdir("/") != 0) return;
}

void closeBoth(const Ends& ends) {
    for (const int end : ends) close(end);
}

bool startCopier(int file, const std::string& path) {
    Ends readEnds;
    Ends writeEnds;
    Ends line{-1, -1};
    const bool ready = makePipes(readEnds, writeEnds) &&
                       socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, line.data()) == 0;
    std::fflush(stdout);
    const pid_t copier = ready ? fork() : -1;
    const int reason = errno;
    if (copier == 0) {
        closeBoth(writeEnds);
        close(line[0]);
        becomeCopier();
        Copier(readEnds, line[1], file, path).run();
        _exit(0);
    }
    if (copier > 0) printInto(writeEnds);
    copierLine = copier > 0 ? line[0] : -1;
    closeBoth(readEnds);
    closeBoth(writeEnds);
    close(copier > 0 ? line[1] : line[0]);
    errno = reason;
    return copier > 0;
}

}  // namespace

std::string keepLog(const std::string& path, const std::string& firstLine) {
    std::string reason;
    const int file = openShortLog(path, reason);
    if (file < 0) return reason;
    if (!writeAll(file, firstLine + "\n") || !startCopier(file, path))
        reason = std::strerror(errno);
    close(file);
    return reason;
}

}  // namespace platform

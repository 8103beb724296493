#include "platform/Processes.h"

#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace platform {
namespace {

std::optional<std::string> homeIn(const struct passwd* user) {
    if (user == nullptr) return std::nullopt;
    return user->pw_dir;
}

}  // namespace

bool isSuperUser() {
    return geteuid() == 0;
}

std::optional<std::string> homeOf(User user) {
    return homeIn(getpwuid(user == User::real ? getuid() : geteuid()));
}

std::optional<std::string> homeOf(const std::string& name) {
    return homeIn(getpwnam(name.c_str()));
}

bool isOrdinaryUsers(int process) {
    struct stat status;
    const std::string folder = "/proc/" + std::to_string(process);
    return process != 0 && stat(folder.c_str(), &status) == 0 && status.st_uid != 0;
}

int exitStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool askInChild(const std::function<bool()>& question, unsigned seconds, bool otherwise) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGALRM, SIG_DFL);
        alarm(seconds);
        _exit(question() ? 0 : 1);
    }
    int status = 0;
    return child < 0 || waitpid(child, &status, 0) != child ? otherwise : status == 0;
}

}  // namespace platform

#include "engine/lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "engine/command.h"
#include "platform/Platform.h"

namespace {

// Anybody who can read a directory can lock it; that must not stop the super-user.
bool isOrdinaryUsers(int process) {
    struct stat status;
    return geteuid() == 0 && process != 0 &&
           stat(KvuFormat("/proc/%d", process).c_str(), &status) == 0 && status.st_uid != 0;
}

}  // namespace

KvmPlaceLock::KvmPlaceLock(const std::string& place)
    : file_(open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      held_(file_ < 0 || flock(file_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK ||
            isOrdinaryUsers(platform::lockHolder(file_))) {}

KvmPlaceLock::~KvmPlaceLock() {
    if (file_ >= 0) close(file_);
}

bool KvmPlaceLock::held() const {
    if (held_) return true;
    return KvmFail(KvmOtherInstaller(file_), " is at work in this location.");
}

std::string KvmOtherInstaller(int file) {
    const int process = platform::lockHolder(file);
    return process == 0 ? "Another Zarn_install"
                        : KvuFormat("Another Zarn_install (process %d)", process);
}

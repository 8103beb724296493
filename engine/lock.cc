#include "engine/lock.h"

#include "engine/command.h"
#include "platform/Processes.h"

// Anybody who can read a directory can lock it; that must not stop the super-user.
KvmPlaceLock::KvmPlaceLock(const std::string& place)
    : lock_(place),
      held_(!lock_.isTaken() ||
            (platform::isSuperUser() && platform::isOrdinaryUsers(lock_.holder()))) {}

bool KvmPlaceLock::held() const {
    if (held_) return true;
    return KvmFail(KvmOtherInstaller(lock_.holder()), " is at work in this location.");
}

std::string KvmOtherInstaller(int process) {
    return process == 0 ? "Another Zarn_install"
                        : KvuFormat("Another Zarn_install (process %d)", process);
}

#include "engine/trust.h"

#include "engine/command.h"
#include "platform/Platform.h"
#include "platform/Processes.h"

namespace {

std::string openPlace(const std::string& path) {
    return platform::isSuperUser() ? platform::writableByOthers(path) : "";
}

}  // namespace

bool KvmOnlySuperUserWrites(const std::string& path, const std::string& consequence) {
    const std::string open = openPlace(path);
    if (open.empty()) return true;
    return KvmFail("Users other than the super-user can write to\n", open, ".\n", consequence,
                   "\nPlease change its owner or its permissions.");
}

bool KvmMayRun(const std::string& path) {
    return KvmOnlySuperUserWrites(path, "For safety this program was not run:\n" + path);
}

bool KvmIsTrusted(const std::string& path) {
    return openPlace(path).empty();
}

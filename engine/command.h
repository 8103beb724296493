#pragma once

#include <string>
#include <type_traits>

#include "motif/KvcUtil.h"
#include "support/KvuCommand.h"
#include "support/KvuSystem.h"

/// How the engine runs commands, asks questions and reports failures.

/// Labels of the engine's questions; the answer 0 is always "Yes".
inline constexpr const char* yesNo[] = {"Yes", "No"};

/// Runs a command template filled with `pieces` and waits for it; true for exit status 0.
template <typename... Pieces>
bool KvmRun(std::type_identity_t<KvuTemplate<Pieces...>> commandTemplate, const Pieces&... pieces) {
    return KvuSystem::system(KvuCommand(commandTemplate, pieces...).text.c_str(), 1) == 0;
}

/// Changes into `directory`; false, with errno set, when that is not possible.
[[nodiscard]] bool KvmChangeDirectory(const std::string& directory);

/// Whether `directory` has an entry `name`; an unreadable directory has no entries.
[[nodiscard]] inline bool KvmHolds(const std::string& directory, const char* name) {
    return KvuSystem::fileExists(directory.c_str(), name, 0);
}

/// Shows an error. Always returns false, so that a failing operation can return its result.
template <typename... Pieces>
bool KvmFail(const Pieces&... pieces) {
    std::string text;
    (text.append(pieces), ...);
    KvcUserError(text.c_str());
    return false;
}

/// The reason why the last command, or a system call with this `errno`, failed, as a line to be
/// appended to a message. Empty when the command printed nothing.
std::string KvmCommandReason();
std::string KvmSystemReason(int error);

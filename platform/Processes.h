#pragma once

#include <functional>
#include <optional>
#include <string>

/// Users and processes.
namespace platform {

/// Whether this process acts as the super-user.
bool isSuperUser();

/// The user who started this process, and the user it acts as: they differ in a program with the
/// set-user-id bit.
enum class User { real, effective };

/// The home directory that the password file names for a user. Nothing when it does not know him.
std::optional<std::string> homeOf(User user);
std::optional<std::string> homeOf(const std::string& name);

/// Whether the process with this id exists and does not belong to the super-user.
bool isOrdinaryUsers(int process);

/// The exit status of a command, from the status that `system` in platform/Platform.h returned; -1
/// when the command did not exit by itself.
int exitStatus(int status);

/// Answers a question in a child process, so that nothing that the question opens or changes stays
/// in this one. The result is false when the question takes longer than `seconds` or kills the
/// child, and `otherwise` when no child can be made or waited for.
bool askInChild(const std::function<bool()>& question, unsigned seconds, bool otherwise);

}  // namespace platform

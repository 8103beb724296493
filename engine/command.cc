#include "engine/command.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/Platform.h"

bool KvmChangeDirectory(const std::string& directory) {
    std::error_code error;
    std::filesystem::current_path(directory, error);
    if (error) errno = error.value();
    return !error;
}

std::string KvmCommandReason() {
    const std::string complaint = platform::lastComplaint();
    return complaint.empty() ? "" : "\n" + complaint;
}

std::string KvmSystemReason(int error) {
    return std::string("\n") + std::strerror(error);
}

#include "engine/command.h"

#include <cstring>

#include "platform/Platform.h"

std::string KvmCommandReason() {
    const std::string complaint = platform::lastComplaint();
    return complaint.empty() ? "" : "\n" + complaint;
}

std::string KvmSystemReason(int error) {
    return std::string("\n") + std::strerror(error);
}

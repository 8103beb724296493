#include "engine/sizes.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include "engine/catalogue.h"
#include "platform/Files.h"
#include "support/KvuOwners.h"

namespace {

float systemMB = 17.0F;

// Anybody may have written the file, so reading it must be bounded.
std::string beginningOf(const std::string& path) {
    constexpr std::size_t mostRead = 65536;
    const KvuFile file(platform::openToRead(path));
    if (file == nullptr) return {};
    std::string text(mostRead, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    return text;
}

std::optional<float> megabytes(std::string_view digits) {
    constexpr std::uint64_t mostBytes = 1'000'000'000'000'000;
    std::uint64_t bytes = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), bytes);
    if (error != std::errc() || end != digits.end() || bytes > mostBytes) return std::nullopt;
    return static_cast<float>(static_cast<double>(bytes) * 1.0e-6);
}

void take(std::string_view name, float size) {
    if (name == kvmSystem) systemMB = size;
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        if (name == row.directory) row.sizeMB = size;
}

}  // namespace

void KvmReadSizes(const std::string& directory) {
    std::istringstream lines(beginningOf(directory + "/Zarn_sizes"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        std::string bytes;
        std::string more;
        words >> name >> bytes >> more;
        const std::optional<float> size = more.empty() ? megabytes(bytes) : std::nullopt;
        if (size) take(name, *size);
    }
}

float KvmSystemMB() {
    return systemMB;
}

#include "engine/checksums.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "engine/command.h"
#include "engine/window.h"
#include "platform/Platform.h"

namespace {

// Compressing an archive again changes its bytes, so the sum is of its uncompressed content.
constexpr std::string_view contentMark = "# content ";
constexpr std::size_t digits = 64;

struct Sum {
    std::string value;
    std::string path;  ///< for an archive's content, the path of the uncompressed file
    bool ofContent = false;
};

// If a name contains a backslash or a line break, sha256sum begins the line with a backslash and
// writes those characters as escapes.
std::string plainName(const std::string& name) {
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool sign = name[i] == '\\' && ++i < name.size();
        if (i == name.size()) break;
        plain += sign && name[i] == 'n' ? '\n' : sign && name[i] == 'r' ? '\r' : name[i];
    }
    return plain;
}

std::vector<Sum> readSums(const std::string& folder) {
    std::vector<Sum> sums;
    const std::string list = folder + "/SHA256SUMS";
    std::error_code error;
    // Reading from a pipe, for example, might never end.
    if (!std::filesystem::is_regular_file(list, error)) return sums;
    std::ifstream file(list);
    for (std::string line; std::getline(file, line);) {
        // Like sha256sum, accept CR LF line ends and upper-case digits.
        if (line.ends_with('\r')) line.pop_back();
        Sum sum;
        sum.ofContent = line.starts_with(contentMark);
        if (sum.ofContent) line.erase(0, contentMark.size());
        const bool escaped = line.starts_with('\\');
        if (escaped) line.erase(0, 1);
        sum.value = line.substr(0, digits);
        std::ranges::transform(sum.value, sum.value.begin(),
                               [](unsigned char c) { return std::tolower(c); });
        if (line.size() <= digits + 2 ||
            sum.value.find_first_not_of("0123456789abcdef") != std::string::npos)
            continue;
        const std::string name = line.substr(digits + 2);
        sum.path = platform::absolutePath(folder + "/" + (escaped ? plainName(name) : name));
        sums.push_back(sum);
    }
    return sums;
}

bool agrees(const Sum& sum, const std::string& path, bool uncompress) {
    KvmStatus("Checking ", path.c_str(), ", please wait...");
    std::error_code error;
    const bool readable = std::filesystem::is_regular_file(path, error);
    const bool same =
        readable && (uncompress ? KvmRun("gunzip -c %s | sha256sum | grep -q %s", path, sum.value)
                                : KvmRun("sha256sum <%s | grep -q %s", path, sum.value));
    if (same) return true;
    return KvmFail("This file is not the one that was published:\n", path,
                   "\nIts checksum differs from the one in SHA256SUMS.");
}

bool archiveAgrees(const std::vector<Sum>& sums, const KvmArchive& archive) {
    const auto find = [&](const std::string& path, bool ofContent) {
        return std::ranges::find_if(sums, [&, real = platform::absolutePath(path)](const Sum& sum) {
            return sum.ofContent == ofContent && sum.path == real;
        });
    };
    const auto content = find(archive.unpacked, true);
    if (content != sums.end()) return agrees(*content, archive.path, archive.compressed());
    const auto own = find(archive.path, false);
    return own == sums.end() || agrees(*own, archive.path, false);
}

// Subsystems that are not wanted, or not on the medium, are not read and so not checked.
bool isRead(const KvmPlan& plan, const std::string& tree, const KvmRows& there,
            const std::string& path) {
    if (!path.starts_with(tree + "/")) return false;
    const std::string folder = tree + "/" + kvmSubsystems + "/";
    if (!path.starts_with(folder)) return !plan.adding;
    return std::ranges::any_of(there, [&](const KvmInstallSubsystemRow* row) {
        return path.starts_with(folder + row->directory + "/");
    });
}

}  // namespace

bool KvmAgreesWithSums(const KvmPlan& plan) {
    if (plan.complete) return true;
    const std::vector<Sum> sums = readSums(KvmInstallMgr::_info.startDir);
    if (sums.empty()) return true;
    if (KvmInstallMgr::_info.readFrom != KvmCdRom)
        return std::ranges::all_of(
            plan.archives, [&](const KvmArchive& archive) { return archiveAgrees(sums, archive); });
    const std::string tree = platform::absolutePath(plan.source);
    const KvmRows there = KvmWantedIn(plan, tree + "/" + kvmSubsystems);
    return std::ranges::all_of(sums, [&](const Sum& sum) {
        return !isRead(plan, tree, there, sum.path) || agrees(sum, sum.path, false);
    });
}

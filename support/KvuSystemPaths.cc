#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/Platform.h"
#include "support/KvuString.h"
#include "support/KvuSystem.h"

namespace {

std::string getwdDir;
std::string dir;

bool storePath(KvText& out, std::string_view path) {
    return KvStoreText(out, path) && !path.empty();
}

bool isAbsolute(std::string_view path) {
    return path.starts_with('/');
}

// The leading directories that both paths share, including the slash after the last one.
std::string_view sharedDirectories(std::string_view from, std::string_view to) {
    const auto differing = std::mismatch(from.begin(), from.end(), to.begin(), to.end()).first;
    const std::string_view same =
        from.substr(0, static_cast<std::size_t>(differing - from.begin()));
    return same.substr(0, same.rfind('/') + 1);
}

}  // namespace

const char* KvuSystem::getwd() {
    std::error_code error;
    getwdDir = std::filesystem::current_path(error).string();
    return getwdDir.c_str();
}

KvBool KvuSystem::getwd(KvText& out) {
    return storePath(out, getwd());
}

const char* KvuSystem::dirname(const char* path) {
    std::string_view rest = KvOrEmpty(path);
    if (rest.size() > 1 && rest.ends_with('/')) rest.remove_suffix(1);
    const std::size_t slash = rest.rfind('/');
    dir = slash != std::string_view::npos ? rest.substr(0, slash) : ".";
    return dir.c_str();
}

KvBool KvuSystem::getAbsolutePath(const char* path, KvText& out, const char* base) {
    std::string full = KvOrEmpty(path);
    if (!isAbsolute(full)) {
        std::string start = base != nullptr ? base : getwd();
        if (base == nullptr && start.empty()) return storePath(out, "");
        full = path != nullptr ? start + "/" + full : start;
    }
    return storePath(out, platform::absolutePath(full));
}

KvBool KvuSystem::getRelativePath(const char* from, const char* to, KvText& out) {
    std::string_view start = from;
    std::string_view target = to;
    if (isAbsolute(start) != isAbsolute(target)) return storePath(out, "");
    if (start.size() > 1 && start.ends_with('/')) start.remove_suffix(1);
    const std::string_view shared = sharedDirectories(start, target);
    const auto beyond =
        std::count(start.begin() + static_cast<std::ptrdiff_t>(shared.size()), start.end(), '/');
    std::string path;
    for (auto steps = beyond + 1; steps > 0; --steps) path += "../";
    return storePath(out, path.append(target.substr(shared.size())));
}

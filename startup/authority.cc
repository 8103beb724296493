#include "startup/authority.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/Processes.h"
#include "support/KvuCommand.h"
#include "support/KvuSystem.h"

namespace {

// Asks the display from a child process, so that no connection stays open. `otherwise` is the
// answer when no process can be created.
bool askedDisplay(bool (*question)(Display*), bool otherwise) {
    // A stopped server, or a tunnel whose other end has gone, never answers.
    constexpr unsigned longestWait = 20;
    const auto ask = [question] {
        Display* display = XOpenDisplay(nullptr);
        return display != nullptr && question(display);
    };
    return platform::askInChild(ask, longestWait, otherwise);
}

std::string_view partOf(const char* text, int length) {
    return {text, static_cast<std::size_t>(length)};
}

// Whether the display admits some users by name, but not the super-user.
bool admitsOnlyOthersByName(Display* display) {
    int count = 0;
    Bool enabled = False;
    XHostAddress* hosts = XListHosts(display, &count, &enabled);
    for (int i = 0; i < count; ++i) {
        if (hosts[i].family != FamilyServerInterpreted) return false;
        const auto* host = reinterpret_cast<XServerInterpretedAddress*>(hosts[i].address);
        const std::string_view name = partOf(host->value, host->valuelength);
        if (partOf(host->type, host->typelength) != "localuser" || name == "root" || name == "#0")
            return false;
    }
    return enabled != False && count > 0;
}

std::string authorityIn(const std::string& home) {
    std::string file = home + "/.Xauthority";
    return platform::mayUse(file, platform::toRead) ? file : "";
}

bool succeeds(const KvuShellText& command) {
    return KvuSystem::system(command.text.c_str(), 1) == 0;
}

bool hasCookie(std::string_view display) {
    return succeeds(KvuCommand("xauth -q nlist %s 2>/dev/null | grep -q .", display));
}

// XDG_RUNTIME_DIR comes first, because the system cleans it up.
std::string privateFolder() {
    for (const char* variable : {"XDG_RUNTIME_DIR", "HOME"}) {
        const char* place = std::getenv(variable);
        if (place == nullptr) continue;
        std::string folder = platform::makePrivateDirectory(place, ".zarn.");
        if (!folder.empty()) return folder;
    }
    return {};
}

}  // namespace

bool displayOpens() {
    return askedDisplay([](Display*) { return true; }, true);
}

// sudo keeps DISPLAY but sets HOME to the super-user's, while the authority file is in the caller's
// home.
void useCallersAuthority() {
    const char* given = std::getenv("XAUTHORITY");
    if (!platform::isSuperUser()) return;
    // On a network file system, root may not be able to read the user's file.
    if (given != nullptr && !platform::mayUse(given, platform::toRead)) unsetenv("XAUTHORITY");
    const char* caller = std::getenv("SUDO_USER");
    if (caller == nullptr || std::getenv("XAUTHORITY") != nullptr) return;
    const auto home = platform::homeOf(caller);
    const std::string file = home ? authorityIn(*home) : "";
    if (file.empty()) return;
    setenv("XAUTHORITY", file.c_str(), 1);
    // If it does not help, the super-user's own file may: somebody may have added the cookie there.
    if (!displayOpens()) unsetenv("XAUTHORITY");
}

// su keeps DISPLAY, but does not tell the super-user where the authority file is.
HandedOnAuthority::HandedOnAuthority() {
    const char* home = std::getenv("HOME");
    const std::string file = home != nullptr ? authorityIn(home) : "";
    if (!file.empty()) setenv("XAUTHORITY", file.c_str(), 0);
    const char* display = std::getenv("DISPLAY");
    if (!platform::isSuperUser() && display != nullptr &&
        askedDisplay(admitsOnlyOthersByName, false) && !hasCookie(display))
        askDisplay(display);
}

HandedOnAuthority::~HandedOnAuthority() {
    remove();
}

void HandedOnAuthority::remove() {
    if (!folder_.empty()) KvuSystem::rm(folder_.c_str(), 1);
    folder_.clear();
}

void HandedOnAuthority::askDisplay(const char* display) {
    folder_ = privateFolder();
    const std::string file = folder_ + "/Xauthority";
    // It expires when unused for an hour, which is time enough to look for a password.
    const bool given =
        !folder_.empty() &&
        succeeds(KvuCommand(
            "xauth -q -f %s generate %s . trusted timeout 3600 >/dev/null 2>&1 && test -s %s",
            std::string_view(file), std::string_view(display), std::string_view(file)));
    refused_ = !given;
    if (given) {
        setenv("XAUTHORITY", file.c_str(), 1);
    } else {
        remove();
    }
}

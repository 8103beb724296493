#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/record.h"
#include "engine/trust.h"
#include "engine/window.h"
#include "support/KvuString.h"

namespace {

constexpr const char* translatorPage = "http://www.zarn.example/translators.html";

constexpr std::string_view kvInvalidUser[] = {"sysadm", "diag", "daemon", "bin",    "uucp", "sys",
                                              "adm",    "lp",   "nuucp",  "nobody", "lpr"};

KvText homeDir;

bool isSystemAccount(std::string_view name) {
    return std::find(std::begin(kvInvalidUser), std::end(kvInvalidUser), name) !=
           std::end(kvInvalidUser);
}

// The password file's lines that name a user; empty, after an error, when it can't be read.
std::vector<std::string> passwordLines() {
    std::vector<std::string> lines;
    std::ifstream file("/etc/passwd");
    if (!file) KvmFail("Could not open /etc/passwd system file.\nAre you running as super-user?");
    for (std::string line; std::getline(file, line);)
        if (line.find(':') != std::string::npos) lines.push_back(line);
    return lines;
}

std::string loginName(const std::string& line) {
    return line.substr(0, line.find(':'));
}

// Stores the text between the fifth and the sixth colon; false when there are fewer colons.
bool homeField(const std::string& line, KvText& home) {
    if (KvuString::characterCt(line.c_str(), ':') < 6) return false;
    std::size_t start = 0;
    for (int colon = 0; colon < 5; ++colon) start = line.find(':', start) + 1;
    return KvCopyText(home, std::string_view(line).substr(start, line.find(':', start) - start));
}

}  // namespace

int KvmInstallMgr::installIcon_icon() {
    const std::string path = KvmIconField();
    if (path.empty()) return 0;
    const std::string program = KvmInstalledProgram();
    const int linked = KvmRun("ln -s %s/%s %s", "/usr/sbin", program, path);
    if (!linked) KvmFail("Could not write to: ", path, KvmCommandReason());
    KvmStatus("Installed ", program.c_str(), " in ", path.c_str());
    return linked;
}

int KvmInstallMgr::installDesktop() {
    if (KvcUserConfirm(2, yesNo, "Do you want to install Indigo Magic desktop icons?") != 0)
        return 0;
    KvmStatus("Installing desktop icons, please wait...");
    if (!KvmMayRun(KvuFormat("%s/%s/bin/Zarn.installDesktop", _info.path, kvmSystem))) return 0;
    if (!KvmRun("%s/%s/bin/%s %s %s", _info.path, kvmSystem, "Zarn.installDesktop", _info.path,
                KvmInstalledProgram()))
        return 0;
    return KvcUserInfo(
        "Successfully installed desktop icons. These icons\nwill show up on your desktop when you "
        "log out and\nlog back in.");
}

int KvmInstallMgr::installTranslators() {
    if (KvuSystem::fileExists("/usr/sbin", "ObjToIv", 0)) return 1;
    if (KvcUserConfirm(
            2, yesNo,
            "The following OpenInventor translators can be downloaded\nfrom SGI's public domain "
            "site and used in Zarn:\n\nAutodesk DXF -> OpenInventor\nWavefront obj -> "
            "OpenInventor\nSOFTIMAGE -> OpenInventor\n3D Studio -> OpenInventor\nIGES -> "
            "OpenInventor\nAlias -> OpenInventor\nOpenInventor -> Renderman rib\n\nDownload these "
            "translators now?\n(Requires Netscape 1.1N or higher)") != 0)
        return KvcUserInfo(
            "Alright, if you'd like to install the translators at a later point,\nplease refer "
            "to ",
            translatorPage, " for more information.");
    if (!KvmMayRun(KvuFormat("%s/%s/bin/Zarn.installTranslators", _info.path, kvmSystem))) return 0;
    if (KvmRun("%s/%s/bin/%s &", _info.path, kvmSystem, "Zarn.installTranslators")) return 1;
    return KvmFail("Could not run Netscape on this system. Please refer to\n", translatorPage,
                   " for information\n on downloading these translators.");
}

int KvmInstallMgr::listUsers() {
    std::vector<std::string> names;
    for (const std::string& line : passwordLines())
        if (!isSystemAccount(loginName(line))) names.push_back(loginName(line));
    KvmShowUsers(names);
    return 1;
}

int KvmInstallMgr::selectUser(const char* name) {
    const char* home = getHomeDir(name);
    if (home == nullptr) return 0;
    KvmShowIconPath(home);
    return 1;
}

char* KvmInstallMgr::getHomeDir(const char* name) {
    for (const std::string& line : passwordLines())
        if (loginName(line) == name && homeField(line, homeDir)) return homeDir;
    return nullptr;
}

int KvmInstallMgr::runApp() {
    return KvmChangeDirectory(KvmHome()) &&
           KvmRun("(touch .zarnRunning; ./Zarn; rm .zarnRunning) &");
}

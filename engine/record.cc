#include <Xm/ToggleB.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "motif/KvcUtil.h"
#include "support/KvuOwners.h"
#include "ui/KviInstall.h"

KvText KvmInstallMgr::_progName;
KvmInstallInfo KvmInstallMgr::_info;
KvText KvmInstallMgr::_infoFile;
int KvmInstallMgr::_isRoot = 0;

namespace {

// The record that goes with the user, whatever tree's record the session is working on.
std::string ownRecord;

// A name that does not fit would name another file: better none at all.
void chooseRecord(const std::string& path) {
    if (KvCopyText(KvmInstallMgr::_infoFile, path)) return;
    std::fprintf(stderr, "The path of the installation record is too long: %s\n", path.c_str());
    KvmInstallMgr::_infoFile[0] = '\0';
}

constexpr const char* goneText =
    "Could not locate Zarn system files in\npreviously installed Zarn system location:\n";

// Only a regular file can be a record: a directory at its place must not be read, let alone be
// deleted as a record that went stale.
KvuFile openRecord(const char* path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return nullptr;
    struct stat status;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) return KvuFile(fdopen(file, "r"));
    ::close(file);
    return nullptr;
}

using Words = std::array<std::string_view, 3>;

// The first three words of a line; quotes are ordinary characters here, unlike in what users type.
Words wordsOf(std::string_view line) {
    Words words;
    for (std::string_view& word : words) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string_view::npos) break;
        line.remove_prefix(start);
        word = line.substr(0, line.find_first_of(" \t"));
        line.remove_prefix(word.size());
    }
    return words;
}

void takeProgram(std::string_view program) {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallProduct)); ++i) {
        if (program != KvmInstallProduct[i].program) continue;
        KvmInstallMgr::_info.product = i;
        break;
    }
    KvmInstallMgr::setProductUI();
}

template <typename Action>
void forEachLine(std::FILE* record, Action action) {
    KvText line;
    while (std::fgets(line, sizeof line, record) != nullptr) {
        const std::size_t length = std::strlen(line);
        if (length > 1) action(std::string_view(line, length - 1));
    }
}

bool isSameDirectory(const std::string& a, const std::string& b) {
    std::error_code error;
    return std::filesystem::equivalent(a, b, error);
}

std::string pathIn(std::FILE* record) {
    std::string path;
    forEachLine(record, [&](std::string_view line) {
        const auto [mark, key, value] = wordsOf(line);
        if (mark == "#" && key == "PATH:" && !value.empty()) path = value;
    });
    return path;
}

// Whether the record may speak for the suite in `place`. The record of a tree that was moved or
// copied names another one, which must not be changed, let alone be removed, in its stead.
bool speaksFor(const std::string& recordFile, const std::string& place, const char* location) {
    const KvuFile record = openRecord(recordFile.c_str());
    if (!record) return KvmFail("Could not find an installed Zarn system in:\n", location);
    const std::string path = pathIn(record.get());
    const std::string tree = KvuPrint("%s/%s", path.c_str(), kvmSystem);
    if (path.empty() || isSameDirectory(tree, KvuPrint("%s/%s", place.c_str(), kvmSystem)))
        return true;
    if (!isSameDirectory(tree, tree)) return KvmFail(goneText, path.c_str());
    return KvmFail("The Zarn system in ", place.c_str(), "\nis a copy. The installed one is in ",
                   path.c_str());
}

void takeValue(KvText& field, std::string_view value) {
    // A word of a line of 1023 characters always fits.
    static_cast<void>(KvCopyText(field, value));
}

void takeLine(std::string_view line) {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    const auto [mark, key, value] = wordsOf(line);
    if (mark != "#" || value.empty()) return;
    if (key == "VERSION:") takeValue(info.version, value);
    if (key == "DATE:") takeValue(info.date, value);
    if (key == "PROGRAM:") takeProgram(value);
    if (key == "PATH:") takeValue(info.path, value);
    if (key == "HOST:") takeValue(info.installHostname, value);
}

void readSubsystems() {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        row.installed = row.selected = KvmIsPresent(row);
        XmToggleButtonSetState(row.getWidget(), row.selected ? True : False, False);
    }
}

}  // namespace

std::string KvmHome() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') return home;
    const struct passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "/";
}

std::string KvmSubsystemFolder() {
    return KvuPrint("%s/%s/%s", KvmInstallMgr::_info.path, kvmSystem, kvmSubsystems);
}

bool KvmIsPresent(const KvmInstallSubsystemRow& row) {
    return KvuSystem::fileExists(KvmSubsystemFolder().c_str(), row.directory, 0);
}

bool KvmWriteRecord(const std::string& place) {
    KvText date;
    KvText host;
    KvuSystem::getDate(date);
    getHostName(host);
    std::FILE* record = std::fopen(KvmInstallMgr::_infoFile, "w");
    if (record == nullptr) return false;
    takeValue(KvmInstallMgr::_info.installHostname, host);
    std::fprintf(record, "# DO NOT MODIFY THIS FILE MANUALLY\n");
    std::fprintf(record, "# \n");
    std::fprintf(record, "# PROGRAM: %s\n", KvmInstallMgr::getProductName());
    std::fprintf(record, "# \n");
    std::fprintf(record, "# VERSION: %s\n", kvmVersion);
    std::fprintf(record, "# DATE:    %s\n", date);
    std::fprintf(record, "# PATH:    %s\n", place.c_str());
    std::fprintf(record, "# HOST:    %s\n", host);
    std::fprintf(record, "# \n");
    const bool failed = std::ferror(record) != 0;
    if (std::fclose(record) == 0 && !failed) return true;
    // Half a record would be taken for a whole one at the next start.
    unlink(KvmInstallMgr::_infoFile);
    return false;
}

int KvmInstallMgr::checkIfRoot() {
    if (KvmRun("id | grep root >/dev/null")) _isRoot = 1;
    ownRecord = _isRoot ? "/usr/lib/.Zarn_inst" : KvuPrint("%s/%s", KvmHome().c_str(), kvmRecord);
    chooseRecord(ownRecord);
    return _isRoot;
}

int KvmInstallMgr::getInstallInfo() {
    const KvuFile record = openRecord(_infoFile);
    if (!record) return 0;
    forEachLine(record.get(), takeLine);
    if (!KvuSystem::fileExists(_info.path, kvmSystem, 0)) {
        KvcUserError(goneText, _info.path);
        KvuSystem::rm(_infoFile, 1);
        return 0;
    }
    readSubsystems();
    _info.installed = 1;
    return 1;
}

void KvmReturnToOwnRecord() {
    if (!ownRecord.empty()) chooseRecord(ownRecord);
}

bool KvmOwnRecordNames(const std::string& place) {
    const KvuFile record = openRecord(KvmInstallMgr::_infoFile);
    return record && pathIn(record.get()) == place;
}

int KvmInstallMgr::setInstallInfo(const char* location) {
    const std::string place = KvuSystem::dirname(location);
    const std::string record = KvuPrint("%s/%s/resources/%s", place.c_str(), kvmSystem, kvmRecord);
    if (record.size() >= KvTextSize) return KvmFail("This location is too long:\n", location);
    if (!speaksFor(record, place, location)) return 0;
    const KvmInstallInfo before = _info;
    const std::string recordBefore = _infoFile;
    chooseRecord(record);
    if (!KvCopyText(_info.path, place) || !getInstallInfo()) {
        // The session goes on with what it knew, or an installation would be recorded there.
        _info = before;
        chooseRecord(recordBefore);
        setProductUI();
        init();
        return 0;
    }
    init();
    info(kviInstallSystemMsg, KvuPrint("%s Version %s is currently installed on '%s'",
                                       getProductName(), _info.version, _info.installHostname)
                                  .c_str());
    return 1;
}

int KvmInstallMgr::isInstalled(Widget) {
    return _info.installed;
}

int KvmInstallMgr::installedInThisSession() {
    return _info.installedInThisSession;
}

int KvmInstallMgr::isRunningOnServer() {
    KvText host;
    getHostName(host);
    return std::strcmp(host, _info.installHostname) == 0;
}

char* KvmInstallMgr::getPath() {
    return _info.path;
}

char* KvmInstallMgr::getInstallHostname() {
    return _info.installHostname;
}

void getHostName(KvText& host) {
    if (!KvuSystem::gethostname(host)) takeValue(host, "unknown");
}

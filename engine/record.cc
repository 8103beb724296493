#include "engine/record.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/window.h"
#include "platform/Platform.h"
#include "support/KvuOwners.h"

KvText KvmInstallMgr::_progName;
KvmInstallInfo KvmInstallMgr::_info;
KvText KvmInstallMgr::_infoFile;
int KvmInstallMgr::_isRoot = 0;

namespace {

// The record that goes with the user, whatever tree's record the session is working on.
std::string ownRecord;

std::string own() {
    return ownRecord.empty() ? KvmInstallMgr::_infoFile : ownRecord;
}

// A name that does not fit would name another file: better none at all.
void chooseRecord(const std::string& path) {
    if (KvCopyText(KvmInstallMgr::_infoFile, path)) return;
    std::fprintf(stderr, "The path of the installation record is too long: %s\n", path.c_str());
    KvmInstallMgr::_infoFile[0] = '\0';
}

constexpr const char* cantWrite = "Can't write out info file ";
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

int productNamed(std::string_view program) {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallProduct)); ++i)
        if (program == KvmInstallProduct[i].program) return i;
    return -1;
}

void takeProgram(std::string_view program) {
    const int product = productNamed(program);
    if (product != -1) KvmInstallMgr::_info.product = product;
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

// The value of `key` in the record at `path`; empty when there is none.
std::string valueIn(const std::string& path, std::string_view wanted) {
    std::string found;
    const KvuFile record = openRecord(path.c_str());
    if (!record) return found;
    forEachLine(record.get(), [&](std::string_view line) {
        const auto [mark, key, value] = wordsOf(line);
        if (mark == "#" && key == wanted && !value.empty()) found = value;
    });
    return found;
}

std::string contentsOf(const std::string& path) {
    std::string contents;
    const KvuFile file = openRecord(path.c_str());
    for (int c = 0; file && (c = std::fgetc(file.get())) != EOF;) contents += static_cast<char>(c);
    return contents;
}

// The own record as this session last saw it.
std::string lastSeen;

void noteRecord() {
    lastSeen = contentsOf(own());
}

// Whether the record may speak for the suite in `place`. The record of a tree that was moved or
// copied names another one, which must not be changed, let alone be removed, in its stead.
bool speaksFor(const std::string& recordFile, const std::string& place, const char* location) {
    if (!openRecord(recordFile.c_str()))
        return KvmFail("Could not find an installed Zarn system in:\n", location);
    const std::string path = valueIn(recordFile, "PATH:");
    const std::string tree = KvuPrint("%s/%s", path.c_str(), kvmSystem);
    // Without its edition and version it is no record of ours.
    if (productNamed(valueIn(recordFile, "PROGRAM:")) == -1 ||
        valueIn(recordFile, "VERSION:").empty())
        return KvmFail("This is no installation record of Zarn:\n", recordFile.c_str());
    if (path.empty() || KvmIsSameDirectory(tree, KvuPrint("%s/%s", place.c_str(), kvmSystem)))
        return true;
    if (!KvuSystem::isADirectory(tree.c_str())) return KvmFail(goneText, path.c_str());
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
        KvmSetToggle(row.getWidget(), row.selected != 0);
    }
}

// The nine lines.
std::string recordText(const std::string& program, const char* version, const char* date,
                       const std::string& place, const char* host) {
    return KvuPrint(
        "# DO NOT MODIFY THIS FILE MANUALLY\n# \n# PROGRAM: %s\n# \n# VERSION: %s\n# DATE:    %s\n"
        "# PATH:    %s\n# HOST:    %s\n# \n",
        program.c_str(), version, date, place.c_str(), host);
}

// The old text is overwritten, not freed: on a full disk there is still room for it.
bool writeAll(int file, const std::string& text) {
    return pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
           ftruncate(file, static_cast<off_t>(text.size())) == 0 && fsync(file) == 0;
}

std::string partOf(const std::string& record) {
    return record + ".part";
}

// A link that somebody planted at the name is not followed. Who only reads shares the lock.
int openPart(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    const int lock = (flags & O_ACCMODE) == O_RDONLY ? LOCK_SH : LOCK_EX;
    struct stat status, named;
    // Whoever had the lock may have renamed the file meanwhile.
    if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        (flock(file, lock | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
        lstat(path.c_str(), &named) == 0 && named.st_ino == status.st_ino)
        return file;
    const int reason = errno;
    if (file >= 0) ::close(file);
    errno = reason;
    return -1;
}

std::string copyIn(const std::string& place) {
    return KvuPrint("%s/%s/resources/%s", place.c_str(), kvmSystem, kvmRecord);
}

// Replaces a record as a whole: it is never half written.
bool replaceRecord(const std::string& path, const std::string& text) {
    const std::string successor = path + ".new";
    const int file = openPart(successor, O_WRONLY | O_CREAT);
    if (file < 0) return false;
    const bool done = writeAll(file, text) && rename(successor.c_str(), path.c_str()) == 0;
    if (!done) unlink(successor.c_str());
    ::close(file);
    return done;
}

}  // namespace

std::string KvmHome() {
    const char* home = std::getenv("HOME");
    // A relative one would be another directory after the next change of directory.
    if (home != nullptr && *home == '/') return home;
    const struct passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "/";
}

int KvmInstallMgr::checkIfRoot() {
    if (KvmRun("id | grep root >/dev/null")) _isRoot = 1;
    ownRecord = _isRoot ? "/usr/lib/.Zarn_inst" : KvuPrint("%s/%s", KvmHome().c_str(), kvmRecord);
    chooseRecord(ownRecord);
    noteRecord();
    return _isRoot;
}

int KvmInstallMgr::getInstallInfo() {
    const KvuFile record = openRecord(_infoFile);
    if (!record) return 0;
    forEachLine(record.get(), takeLine);
    noteRecord();
    if (!KvuSystem::fileExists(_info.path, kvmSystem, 0)) {
        KvcUserError(goneText, _info.path);
        KvuSystem::rm(_infoFile, 1);
        noteRecord();
        return 0;
    }
    readSubsystems();
    _info.installed = 1;
    return 1;
}

void KvmReturnToOwnRecord() {
    if (!ownRecord.empty()) chooseRecord(ownRecord);
}

std::string KvmOwnRecordPlace() {
    return valueIn(own(), "PATH:");
}

int KvmRecordedProduct() {
    static int last = -1;
    const int now = productNamed(valueIn(KvmInstallMgr::_infoFile, "PROGRAM:"));
    if (now != -1) last = now;
    return last;
}

bool KvmRecordEdition() {
    const KvmInstallInfo& info = KvmInstallMgr::_info;
    const std::string text = recordText(KvmInstallMgr::getProductName(), info.version, info.date,
                                        info.path, info.installHostname);
    const std::string used = KvmInstallMgr::_infoFile;
    bool done = true;
    if (copyIn(info.path) != used) done = replaceRecord(copyIn(info.path), text);
    if (own() != used && KvmIsSameDirectory(KvmOwnRecordPlace(), info.path))
        done = replaceRecord(own(), text) && done;
    done = replaceRecord(used, text) && done;
    noteRecord();
    return done;
}

bool KvmRecordIsAsSeen() {
    return contentsOf(own()) == lastSeen ||
           KvmFail(
               "The installation record has changed since this window last read it:\n",
               own().c_str(),
               "\nSomebody else has installed or removed Zarn. Please press \"Exit\", and start "
               "again.");
}

void KvmForgetRecord() {
    noteRecord();
}

bool KvmIsSameDirectory(const std::string& a, const std::string& b) {
    std::error_code error;
    return a == b || std::filesystem::equivalent(a, b, error);
}

KvmPreparedRecord::~KvmPreparedRecord() {
    if (file_ >= 0) ::close(file_);
}

bool KvmPreparedRecord::canBePrepared() const {
    const std::filesystem::path record = KvmInstallMgr::_infoFile;
    std::error_code error;
    return (!std::filesystem::is_directory(std::filesystem::symlink_status(record, error)) &&
            access(record.parent_path().c_str(), W_OK | X_OK) == 0) ||
           KvmFail(cantWrite, record.c_str());
}

bool KvmPreparedRecord::prepare(const std::string& place) {
    const std::string record = KvmInstallMgr::_infoFile;
    const std::string unfinished = KvmUnfinishedPlace();
    const bool again = KvmIsSameDirectory(unfinished, place);
    if (!unfinished.empty() && !again) before_ = contentsOf(partOf(record));
    // The mark of what is begun anew would make a foreign tree of it.
    if (again) unlink(copyIn(place).c_str());
    file_ = openPart(partOf(record), O_WRONLY | O_CREAT);
    if (file_ < 0)
        return errno == EWOULDBLOCK ? KvmFail("Another Zarn_install is installing at this moment.")
                                    : KvmFail(cantWrite, record.c_str());
    KvText date;
    KvText host;
    KvuSystem::getDate(date);
    getHostName(host);
    if (!writeAll(file_,
                  recordText(KvmInstallMgr::getProductName(), kvmVersion, date, place, host))) {
        drop();
        return KvmFail(cantWrite, record.c_str());
    }
    takeValue(KvmInstallMgr::_info.installHostname, host);
    return true;
}

bool KvmPreparedRecord::putInPlace() const {
    const std::string record = KvmInstallMgr::_infoFile;
    if (rename(partOf(record).c_str(), record.c_str()) != 0)
        return KvmFail(cantWrite, record.c_str());
    noteRecord();
    return true;
}

void KvmPreparedRecord::drop() const {
    if (before_.empty() || !writeAll(file_, before_))
        unlink(partOf(KvmInstallMgr::_infoFile).c_str());
}

std::string KvmUnfinishedPlace() {
    const std::string part = partOf(own());
    const int file = openPart(part, O_RDONLY);
    if (file < 0) return {};
    ::close(file);
    const std::string place = valueIn(part, "PATH:");
    const std::string recorded = contentsOf(copyIn(place));
    const bool foreign = !recorded.empty() && recorded != contentsOf(part);
    const bool left = KvuSystem::fileExists(place.c_str(), kvmSystem, 0) && !foreign;
    return !place.empty() && left ? place : "";
}

void KvmMarkComplete(const std::string& place) {
    std::ofstream(copyIn(place)) << contentsOf(partOf(KvmInstallMgr::_infoFile));
}

bool KvmIsComplete(const std::string& place) {
    const std::string part = partOf(own());
    return !contentsOf(part).empty() && contentsOf(copyIn(place)) == contentsOf(part) &&
           valueIn(part, "PROGRAM:") == KvmInstallMgr::getProductName();
}

int KvmInstallMgr::setInstallInfo(const char* location) {
    // The working directory changes with the first installation.
    const std::string tree = location[0] == '/' ? location : platform::absolutePath(location);
    if (tree.empty()) return KvmFail("Could not find an installed Zarn system in:\n", location);
    const std::string place = KvuSystem::dirname(tree.c_str());
    const std::string record = copyIn(place);
    if (record.size() >= KvTextSize) return KvmFail("This location is too long:\n", location);
    if (!speaksFor(record, place, location)) return 0;
    const KvmInstallInfo before = _info;
    const std::string recordBefore = _infoFile;
    chooseRecord(record);
    // What this record leaves out is not what another one said.
    _info.version[0] = _info.date[0] = '\0';
    getHostName(_info.installHostname);
    _info.product = 0;
    if (!KvCopyText(_info.path, place) || !getInstallInfo()) {
        // The session goes on with what it knew, or an installation would be recorded there.
        _info = before;
        chooseRecord(recordBefore);
        setProductUI();
        init();
        return 0;
    }
    init();
    KvmStatus(KvuPrint("%s Version %s is currently installed on '%s'", getProductName(),
                       _info.version, _info.installHostname)
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

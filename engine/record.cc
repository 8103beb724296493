#include "engine/record.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/lock.h"
#include "engine/trust.h"
#include "engine/window.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "support/KvuOwners.h"

KvText KvmInstallMgr::_progName;
KvmInstallInfo KvmInstallMgr::_info;
KvText KvmInstallMgr::_infoFile;
int KvmInstallMgr::_isRoot = 0;

namespace {

// The user's own record, even while the session works on a tree's record.
std::string ownRecord;

std::string own() {
    return ownRecord.empty() ? KvmInstallMgr::_infoFile : ownRecord;
}

// A path cut to fit would name a different file, so use none at all.
void chooseRecord(const std::string& path) {
    if (!KvStoreText(KvmInstallMgr::_infoFile, path))
        std::fprintf(stderr, "The path of the installation record is too long: %s\n", path.c_str());
}

constexpr const char* cantWrite = "Can't write out info file ";
constexpr const char* noRecord = "This is not a Zarn installation record:\n";
constexpr const char* goneText =
    "Could not locate Zarn system files in\npreviously installed Zarn system location:\n";

// Only a regular file can be a record: a directory of that name must not be read, let alone deleted
// as a stale record.
KvuFile openRecord(const std::string& path) {
    return KvuFile(platform::openToRead(path));
}

bool isBelieved(const std::string& path) {
    return KvmOnlySuperUserWrites(
        path, "The installation record is not trusted, and nothing was changed:\n" + path);
}

using Words = std::array<std::string_view, 3>;

// The first three words of a line. Unlike in what users type, quotes are ordinary characters here.
Words recordWords(std::string_view line) {
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
    const KvuFile record = openRecord(path);
    if (!record || !KvmIsTrusted(path)) return found;
    forEachLine(record.get(), [&](std::string_view line) {
        const auto [mark, key, value] = recordWords(line);
        if (mark == "#" && key == wanted && !value.empty()) found = value;
    });
    return found;
}

std::string contentsOf(const std::string& path) {
    std::string contents;
    const KvuFile file = openRecord(path);
    for (int c = 0; file && (c = std::fgetc(file.get())) != EOF;) contents += static_cast<char>(c);
    return contents;
}

// The records as this session last saw them.
std::map<std::string, std::string> seen;

void note(const std::string& record) {
    seen[record] = contentsOf(record);
}

bool isAsSeen(const std::string& record) {
    if (seen[record] == contentsOf(record)) return true;
    return KvmFail(
        "The installation record has changed since this window last read it:\n", record,
        "\nSomebody else has installed or removed Zarn. Please press \"Exit\", and start "
        "again.");
}

// Whether the record really describes the suite in `place`. The record of a tree that was moved or
// copied names the original tree, which must not be changed or even removed instead.
bool speaksFor(const std::string& recordFile, const std::string& place, const char* location) {
    if (!openRecord(recordFile))
        return KvmFail("Could not find an installed Zarn system in:\n", location);
    if (!isBelieved(recordFile)) return false;
    const std::string path = valueIn(recordFile, "PATH:");
    const std::string tree = KvuFormat("%s/%s", path.c_str(), kvmSystem);
    // A record of ours names an edition and a version.
    if (productNamed(valueIn(recordFile, "PROGRAM:")) == -1 ||
        valueIn(recordFile, "VERSION:").empty())
        return KvmFail(noRecord, recordFile);
    if (path.empty() || KvmIsSameDirectory(tree, KvuFormat("%s/%s", place.c_str(), kvmSystem)))
        return true;
    if (!KvuSystem::isADirectory(tree.c_str())) return KvmFail(goneText, path.c_str());
    return KvmFail("The Zarn system in ", place.c_str(), "\nis a copy. The installed one is in ",
                   path.c_str());
}

void takeValue(KvText& field, std::string_view value) {
    // Always fits: lines have at most 1023 characters.
    static_cast<void>(KvCopyText(field, value));
}

void takeLine(std::string_view line) {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    const auto [mark, key, value] = recordWords(line);
    if (mark != "#" || value.empty()) return;
    if (key == "VERSION:") takeValue(info.version, value);
    if (key == "DATE:") takeValue(info.date, value);
    if (key == "PROGRAM:") takeProgram(value);
    if (key == "PATH:") takeValue(info.path, value);
    if (key == "HOST:") takeValue(info.installHostname, value);
}

// A place that can't be read, perhaps only for the moment, is not gone.
bool isGone(const std::string& place) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(place + "/" + kvmSystem, error);
    if (error) errno = error.value();
    return status.type() == std::filesystem::file_type::not_found;
}

void readSubsystems() {
    const auto present = KvmRowsIn(KvmSubsystemFolder());
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        row.installed = row.selected = present.contains(&row);
        KvmSetToggle(row.getWidget(), row.selected);
    }
}

// The nine lines of a record.
std::string recordText(const std::string& program, const char* version, const char* date,
                       const std::string& place, const char* host) {
    return KvuFormat(
        "# DO NOT MODIFY THIS FILE MANUALLY\n# \n# PROGRAM: %s\n# \n# VERSION: %s\n# DATE:    %s\n"
        "# PATH:    %s\n# HOST:    %s\n# \n",
        program.c_str(), version, date, place.c_str(), host);
}

std::string ownPart() {
    return own() + ".part";
}

std::string copyIn(const std::string& place) {
    return KvuFormat("%s/%s/resources/%s", place.c_str(), kvmSystem, kvmRecord);
}

// Replaces a record as a whole: it is never half written. The successor is not a ".part", because
// that would mean an unfinished installation. False, with errno set, on failure.
[[nodiscard]] bool replaceRecord(const std::string& path, const std::string& text) {
    platform::LockedFile successor;
    if (!successor.openToWrite(path + ".new")) return false;
    if (successor.write(text) && successor.moveTo(path)) return true;
    successor.remove();
    return false;
}

}  // namespace

std::string KvmHome() {
    const char* home = std::getenv("HOME");
    // A relative HOME would mean another directory after the next chdir.
    if (home != nullptr && *home == '/') return home;
    return platform::homeOf(platform::User::real).value_or("/");
}

int KvmInstallMgr::checkIfRoot() {
    if (KvmRun("id | grep root >/dev/null")) _isRoot = 1;
    ownRecord = _isRoot ? "/usr/lib/.Zarn_inst" : KvuFormat("%s/%s", KvmHome().c_str(), kvmRecord);
    chooseRecord(ownRecord);
    note(own());
    return _isRoot;
}

int KvmInstallMgr::getInstallInfo() {
    const KvuFile record = openRecord(_infoFile);
    if (!record || !isBelieved(_infoFile)) return 0;
    note(_infoFile);
    // Don't fall back on the place that is shown: it may not be the record's.
    if (valueIn(_infoFile, "PATH:").empty()) return KvmFail(noRecord, _infoFile);
    forEachLine(record.get(), takeLine);
    if (!KvuSystem::fileExists(_info.path, kvmSystem, 0)) {
        const bool gone = isGone(_info.path);
        KvmFail(goneText, _info.path, gone ? "" : KvmSystemReason(errno));
        if (gone) KvuSystem::rm(_infoFile, 1);
        note(_infoFile);
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

std::string KvmRecordEdition() {
    const KvmInstallInfo& info = KvmInstallMgr::_info;
    const std::string text = recordText(KvmInstallMgr::getProductName(), info.version, info.date,
                                        info.path, info.installHostname);
    const std::string used = KvmInstallMgr::_infoFile;
    std::vector<std::string> records{copyIn(info.path), used};
    if (own() != used && KvmIsSameDirectory(KvmOwnRecordPlace(), info.path))
        records.push_back(own());
    int reason = 0;
    std::string failed;
    for (const std::string& record : records) {
        if (!replaceRecord(record, text)) {
            reason = errno;
            failed = record;
        }
        note(record);
    }
    errno = reason;
    return failed;
}

bool KvmRecordIsAsSeen() {
    return isAsSeen(own()) && isAsSeen(KvmInstallMgr::_infoFile);
}

void KvmForgetRecord() {
    note(own());
    note(KvmInstallMgr::_infoFile);
}

bool KvmIsSameDirectory(const std::string& a, const std::string& b) {
    std::error_code error;
    return a == b || std::filesystem::equivalent(a, b, error);
}

KvmPreparedRecord::~KvmPreparedRecord() {
    if (file_.isEmpty()) file_.remove();
}

bool KvmPreparedRecord::canBePrepared() const {
    const std::filesystem::path record = KvmInstallMgr::_infoFile;
    if (platform::isRealDirectory(record))
        return KvmFail(cantWrite, record.native(), KvmSystemReason(EISDIR));
    if (!platform::mayUse(record.parent_path(), platform::toWrite | platform::toRun))
        return KvmFail(cantWrite, record.native(), KvmSystemReason(errno));
    return isBelieved(record);
}

bool KvmPreparedRecord::keepOthersOff() {
    part_ = ownPart();
    if (file_.openToWrite(part_) || errno != EWOULDBLOCK) return true;
    return KvmFail(KvmOtherInstaller(file_.holder()), " is at work at this moment.");
}

bool KvmPreparedRecord::prepare(const std::string& place) {
    const std::string record = KvmInstallMgr::_infoFile;
    const std::string unfinished = KvmUnfinishedPlace();
    const bool again = KvmIsSameDirectory(unfinished, place);
    if (!keepOthersOff()) return false;
    if (!file_.isOpen()) return KvmFail(cantWrite, record, KvmSystemReason(errno));
    // Somebody may have finished an installation while a question was open.
    if (!KvmRecordIsAsSeen()) return false;
    if (!unfinished.empty()) before_ = contentsOf(part_);
    // When starting again, the old mark would make the tree look like another installation's.
    if (again) KvmUnmarkComplete(place);
    KvText date;
    KvText host;
    KvuSystem::getDate(date);
    getHostName(host);
    if (!file_.write(recordText(KvmInstallMgr::getProductName(), kvmVersion, date, place, host))) {
        const int reason = errno;
        drop();
        return KvmFail(cantWrite, record, KvmSystemReason(reason));
    }
    // From here on the tree there belongs to this installation.
    if (again) before_.clear();
    takeValue(KvmInstallMgr::_info.installHostname, host);
    return true;
}

void KvmPreparedRecord::announceRemoval(const std::string& place) {
    const std::string record = contentsOf(KvmInstallMgr::_infoFile);
    if (!KvmIsSameDirectory(valueIn(part_, "PATH:"), place)) before_ = contentsOf(part_);
    // If an earlier removal failed, the record is already gone and the announcement made.
    // Nothing is announced where that can't be written.
    if (file_.isOpen() && !record.empty()) static_cast<void>(file_.write(record));
}

bool KvmPreparedRecord::putInPlace() const {
    const std::string record = KvmInstallMgr::_infoFile;
    if (!file_.moveTo(record)) return KvmFail(cantWrite, record, KvmSystemReason(errno));
    platform::syncFiles(std::filesystem::path(record).parent_path());
    note(record);
    return true;
}

void KvmPreparedRecord::drop() const {
    if (!file_.isOpen()) return;
    if (before_.empty() || !file_.write(before_)) file_.remove();
}

std::string KvmUnfinishedPlace() {
    const std::string part = ownPart();
    if (!platform::LockedFile().openToRead(part)) return {};
    const std::string place = valueIn(part, "PATH:");
    // A suite whose removal was only announced is still installed while its record exists.
    if (KvmIsSameDirectory(KvmOwnRecordPlace(), place)) return {};
    const std::string recorded = contentsOf(copyIn(place));
    const bool foreign = !recorded.empty() && recorded != contentsOf(part);
    const bool left = KvuSystem::fileExists(place.c_str(), kvmSystem, 0) && !foreign;
    return !place.empty() && left ? place : "";
}

void KvmUnmarkComplete(const std::string& place) {
    KvuSystem::rm(copyIn(place).c_str(), 0);
}

void KvmMarkComplete(const std::string& place) {
    // An archive may have put a link here, to anywhere.
    KvmUnmarkComplete(place);
    // Without the mark the tree only counts as unfinished until the record is copied there.
    static_cast<void>(replaceRecord(copyIn(place), contentsOf(ownPart())));
}

bool KvmIsComplete(const std::string& place) {
    const std::string part = ownPart();
    return !contentsOf(part).empty() && contentsOf(copyIn(place)) == contentsOf(part) &&
           valueIn(part, "PROGRAM:") == KvmInstallMgr::getProductName();
}

int KvmInstallMgr::setInstallInfo(const char* location) {
    // Make it absolute now: the first installation changes the working directory.
    const std::string tree = location[0] == '/' ? location : platform::absolutePath(location);
    if (tree.empty()) return KvmFail("Could not find an installed Zarn system in:\n", location);
    const std::string place = KvuSystem::dirname(tree.c_str());
    const std::string record = copyIn(place);
    if (record.size() >= KvTextSize) return KvmFail("This location is too long:\n", location);
    if (!speaksFor(record, place, location)) return 0;
    const KvmInstallInfo before = _info;
    const std::string recordBefore = _infoFile;
    chooseRecord(record);
    // Lines that this record lacks must not keep the values from another record.
    _info.version[0] = _info.date[0] = '\0';
    getHostName(_info.installHostname);
    _info.product = 0;
    if (!KvCopyText(_info.path, place) || !getInstallInfo()) {
        // Restore the previous state, or the next installation would be recorded there.
        _info = before;
        chooseRecord(recordBefore);
        setProductUI();
        init();
        return 0;
    }
    init();
    KvmStatus(KvuFormat("%s Version %s is currently installed on '%s'", getProductName(),
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

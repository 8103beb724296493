#include "engine/session.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

#include "engine/catalogue.h"
#include "engine/command.h"
#include "engine/record.h"
#include "engine/sizes.h"
#include "engine/window.h"

namespace {

// Every path that the installer forms below the location must fit a text buffer, and so must the
// record's line with the location.
constexpr std::size_t longestLocation =
    KvTextSize - sizeof "/Zarn_system/subsystems/" - kvmLongestDirectory.size();

void resetSubsystems() {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected = 1;
}

void labelSubsystems() {
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        KvmLabelToggle(row.getWidget(), KvuFormat("%s (%.1f Mb)", row.label, row.sizeMB));
}

void showMedium() {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallMedium)); ++i)
        KvmSetToggle(KvmInstallMedium[i].getWidget(), i == KvmInstallMgr::_info.readFrom);
    KvmShowMediumText(KvmInstallMgr::_info.readText);
}

void showState() {
    const KvmInstallInfo& info = KvmInstallMgr::_info;
    KvmAllowInstall(!info.installed || info.subsystemsAdded || info.productChanged);
    KvmAllowChanges(info.installed);
    if (!info.installed) {
        KvmStatus(
            "Zarn is currently not installed on this system. Click on \"Install\" when you are "
            "ready.");
        return;
    }
    KvmStatus(KvuFormat("%s Version %s is currently installed. To reinstall, \"Remove\", then "
                        "\"Install\".",
                        KvmInstalledProgram().c_str(), info.version)
                  .c_str());
}

float requiredMB() {
    float required = KvmSystemMB();
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        if (row.selected) required += row.sizeMB;
    return required;
}

std::string refuse(const char* problem, const char* location = nullptr) {
    KvcUserError("This install location ", problem, location,
                 ".\nPlease enter another location path.");
    return {};
}

}  // namespace

std::string KvmCheckedLocation(const std::string& location) {
    std::string place = location;
    if (place.empty()) return refuse("is empty");
    if (place != "." && place[0] != '/') {
        KvText absolute;
        if (!KvuSystem::getAbsolutePath(location.c_str(), absolute, nullptr))
            return refuse("can't be found:\n", location.c_str());
        place = absolute;
    }
    const std::string effective = place == "." ? KvuSystem::getwd() : place;
    if (effective.size() > longestLocation) return refuse("is too long");
    if (effective.find_first_of(" \t\n") != std::string::npos)
        return refuse("holds a blank, which the record can't keep:\n", effective.c_str());
    return place;
}

std::string KvmNearestDirectory(const std::string& place) {
    std::filesystem::path nearest = place;
    std::error_code error;
    while (!std::filesystem::is_directory(nearest, error) && nearest.has_relative_path())
        nearest = nearest.parent_path();
    return nearest;
}

void KvmTellOfUnfinished() {
    const std::string place = KvmUnfinishedPlace();
    if (place.empty()) return;
    KvmInstallInfo& info = KvmInstallMgr::_info;
    if (!info.installed && !KvCopyText(info.path, place)) return;
    KvcUserInfo("The last installation in ", place.c_str(),
                KvmIsComplete(place)
                    ? " was not finished.\n\"Install\" there finishes it."
                    : " was not finished.\n\"Install\" there removes what it left, and starts "
                      "again.");
}

int KvmInstallMgr::start(int, char** argv) {
    // The name is only for display, so it may be cut.
    static_cast<void>(KvCopyText(_progName, argv[0] != nullptr ? argv[0] : ""));
    static_cast<void>(KvCopyText(KvInstallInfoMsg, " "));
    checkIfRoot();
    if (!_info.installed) {
        initInfo();
        getInstallInfo();
    }
    KvmTellOfUnfinished();
    init();
    if (_info.installed && std::strcmp(_info.version, kvmVersion) != 0)
        KvcUserInfo(
            "Another version of Zarn is currently installed.\nChoose \"Remove\" to remove that "
            "version.\nThen choose \"Install\" to install this version\n");
    return 1;
}

int KvmInstallMgr::initInfo() {
    if (!KvCopyText(_info.startDir, KvuSystem::getwd()))
        std::fprintf(stderr, "The path of the start directory is too long.\n");
    KvmReadSizes(_info.startDir);
    setReadFrom(_info.readFrom);
    static_cast<void>(KvStoreText(_info.path, _isRoot ? "/usr/local" : KvmHome()));
    _info.product = _info.installed = _info.installedInThisSession = 0;
    KvmForgetMarks();
    getHostName(_info.installHostname);
    resetSubsystems();
    return 1;
}

void KvmInstallMgr::init() {
    showState();
    labelSubsystems();
    initDiskSpace();
    showMedium();
    KvmShowLocation(_info.path);
}

int KvmInstallMgr::initDiskSpace() {
    const float available = KvuSystem::getFreeSpace(KvmNearestDirectory(_info.path).c_str());
    const float required = requiredMB();
    const bool enough = _info.installed || available > required;
    KvmShowAvailable(KvuFormat("%.1f Mbytes", available), enough);
    KvmShowRequired(KvuFormat("%.1f Mbytes", required));
    if (enough) return 1;
    std::printf("Not enough disk space for installation.\nPlease enter another file path.");
    std::fflush(stdout);
    return 0;
}

int KvmInstallMgr::isValidInstallPath(const char* location) {
    if (!KvuSystem::fileExists(location, kvmSystem, 0)) return 1;
    KvcUserError("Zarn_system already exists in ", location,
                 ".\nPlease enter another location path.");
    return 0;
}

int KvmInstallMgr::setLocation(const char* location) {
    const std::string place = KvmCheckedLocation(location);
    if (place.empty()) return 0;
    // The user's own suite, or what his interrupted installation left there, is no obstacle.
    const bool known = KvmIsSameDirectory(KvmOwnRecordPlace(), place) &&
                       KvuSystem::fileExists(place.c_str(), kvmSystem, 0);
    if (!known && !KvmIsSameDirectory(KvmUnfinishedPlace(), place) &&
        !isValidInstallPath(place.c_str()))
        return 0;
    if (!KvCopyText(_info.path, place)) return 0;
    _info.installed = 0;
    KvmForgetMarks();
    KvmReturnToOwnRecord();
    if (known) getInstallInfo();
    init();
    KvmLocationTaken();
    return 1;
}

void KvmInstallMgr::close() {
    KvmRun("rm -f /tmp/.kvcInstallMsg");
    std::exit(0);
}

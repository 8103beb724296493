#include <Xm/Label.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
#include "motif/KvcUtil.h"
#include "support/KvuString.h"
#include "ui/KviInstall.h"

KvText KvInstallInfoMsg;

namespace {

constexpr float baseMB = 17.0F;

// Pixels from the value's left edge to the window's right one.
constexpr int spaceRoom = 150;

// Every file that the installer names below the location must fit its buffer, and the record's
// line for it the reader's.
constexpr std::size_t longestLocation = KvTextSize - sizeof "/Zarn_system/subsystems/translatorDev";

void resetSubsystems() {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.installed = row.selected = 1;
}

void labelSubsystems() {
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        KvcLabelSetString(row.getWidget(), KvuPrint("%s (%.1f Mb)", row.label, row.sizeMB).c_str());
}

void showMedium() {
    const Widget toggles[] = {kviInstallToggleTape, kviInstallToggleRemoteTape,
                              kviInstallToggleTarFile, kviInstallToggleCD};
    for (int i = 0; i < 4; ++i)
        XmToggleButtonSetState(toggles[i], i == KvmInstallMgr::_info.readFrom ? True : False,
                               False);
    XmTextFieldSetString(kviInstallReadText, KvmInstallMgr::_info.readText);
    XtSetSensitive(kviInstallReadTextOk, False);
}

void showLocation() {
    XmTextFieldSetString(kviInstallLocationText, KvmInstallMgr::_info.path);
    XtSetSensitive(kviInstallLocationTextOk, False);
}

void showState() {
    const KvmInstallInfo& info = KvmInstallMgr::_info;
    XtSetSensitive(kviInstallButtonInstall, !info.installed || info.subsystemsAdded ? True : False);
    XtSetSensitive(kviInstallButtonRemove, info.installed ? True : False);
    XtSetSensitive(kviInstallButtonUsers, info.installed ? True : False);
    if (!info.installed) {
        KvmInstallMgr::info(kviInstallSystemMsg,
                            "Zarn is currently not installed on this system. "
                            "Click on \"Install\" when you are ready.");
        return;
    }
    KvmInstallMgr::info(kviInstallSystemMsg,
                        KvuPrint("%s Version %s is currently installed. To reinstall, \"Remove\", "
                                 "then \"Install\".",
                                 KvmInstallMgr::getProductName(), info.version)
                            .c_str());
}

float requiredMB() {
    float required = baseMB;
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

std::string KvmTakeLocation(const char* location) {
    std::string place = location;
    if (place.empty()) return refuse("is empty");
    if (place != "." && place[0] != '/') {
        KvText absolute;
        if (!KvuSystem::getAbsolutePath(location, absolute, nullptr))
            return refuse("can't be found:\n", location);
        place = absolute;
    }
    const std::string effective = place == "." ? KvuSystem::getwd() : place;
    if (effective.size() > longestLocation) return refuse("is too long");
    if (effective.find_first_of(" \t\n") != std::string::npos)
        return refuse("holds a blank, which the record can't keep:\n", effective.c_str());
    return place;
}

bool KvmChangeDirectory(const std::string& directory) {
    return chdir(directory.c_str()) == 0;
}

int KvmInstallMgr::start(int, char** argv) {
    // The name is kept for show alone.
    static_cast<void>(KvCopyText(_progName, argv[0] != nullptr ? argv[0] : ""));
    static_cast<void>(KvCopyText(KvInstallInfoMsg, " "));
    checkIfRoot();
    if (!_info.installed) {
        initInfo();
        getInstallInfo();
    }
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
    setReadFrom(_info.readFrom);
    if (!KvCopyText(_info.path, _isRoot ? "/usr/local" : KvmHome())) _info.path[0] = '\0';
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
    showLocation();
}

int KvmInstallMgr::initDiskSpace() {
    const float available = KvuSystem::getFreeSpace(_info.path);
    KvcLabelSetString(kviInstallDiskAvail, KvuPrint("%.1f Mbytes", available).c_str());
    KvcFitLabel(kviInstallDiskAvail, spaceRoom);
    const float required = requiredMB();
    KvcLabelSetString(kviInstallDiskReq, KvuPrint("%.1f Mbytes", required).c_str());
    const bool enough = _info.installed || available > required;
    KvmSetForeground(kviInstallDiskAvail, enough ? "Black" : "#ca0000");
    if (enough) return 1;
    std::printf("Not enough disk space for installation.\nPlease enter another file path.");
    std::fflush(stdout);
    return 0;
}

void KvmInstallMgr::info(Widget label, const char* a, const char* b, const char* c, const char* d) {
    if (label == nullptr) return;
    XtManageChild(label);
    const std::string text = KvuString::concatStrings(a, b, c, d);
    // The bell at the end is for the terminal; a font has a box for it.
    std::string shown = text;
    std::erase(shown, '\a');
    KvcLabelSetString(label, shown.c_str());
    // Of a text that is too long the beginning matters most, and the terminal has all of it.
    XtVaSetValues(label, XmNalignment,
                  KvcFitLabel(label, 0) ? XmALIGNMENT_CENTER : XmALIGNMENT_BEGINNING, nullptr);
    // The command that usually follows blocks the window: what it says has to be there before.
    XmUpdateDisplay(label);
    if (text != KvInstallInfoMsg) {
        std::printf("\n%s\n", text.c_str());
        std::fflush(stdout);
    }
    static_cast<void>(KvCopyText(KvInstallInfoMsg, text));
}

int KvmInstallMgr::isValidInstallPath(const char* location) {
    if (!KvuSystem::fileExists(location, kvmSystem, 0)) return 1;
    KvcUserError("Zarn_system already exists in ", location,
                 ".\nPlease enter another location path.");
    return 0;
}

int KvmInstallMgr::setLocation(const char* location) {
    const std::string place = KvmTakeLocation(location);
    if (place.empty() || !isValidInstallPath(place.c_str())) return 0;
    if (!KvCopyText(_info.path, place)) return 0;
    _info.installed = 0;
    KvmForgetMarks();
    KvmReturnToOwnRecord();
    init();
    XtSetSensitive(kviInstallLocationTextOk, False);
    return 1;
}

void KvmInstallMgr::close() {
    KvmRun("rm -f /tmp/.kvcInstallMsg");
    std::exit(0);
}

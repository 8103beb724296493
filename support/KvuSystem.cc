#include "support/KvuSystem.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <tuple>

#include "platform/Platform.h"
#include "support/KvuCommand.h"
#include "support/KvuOwners.h"
#include "support/KvuString.h"
#include "support/KvuUtil.h"

namespace {

constexpr char KvDefaultEditor[] = "jot";
constexpr char KvNoDate[] = "11-1-95";

constexpr std::array<std::string_view, 12> MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

int outOfSwapSpace = 0;

KvBool succeeds(const KvuShellText& command) {
    return KvuSystem::system(command.text.c_str(), 1) == 0;
}

void warnOfSwapSpace() {
    std::fprintf(stderr,
                 "You are running out of swap space on your system. Some %s operations may fail. "
                 "Please save your project and restart the program.\n\n"
                 "Refer to the cuecard on \"SwapSpace\" for your operating system (using \"Cue "
                 "Cards - On Topic\") to find out how to increase the size of swap space on your "
                 "system drive.",
                 KvuUtil::_productName);
    std::fflush(stderr);
}

bool edit(std::string_view editor, std::string_view file) {
    return succeeds(KvuCommand("%s %s &", editor, file)) != 0;
}

bool holdsWord(const char* path) {
    const KvuFile file(std::fopen(path, "r"));
    if (file == nullptr) return false;
    char line[KvTextSize];
    char* argv[2];
    while (std::fgets(line, sizeof line, file.get()) != nullptr) {
        if (KvuString::parseLine(line, argv, '#') > 0) return true;
    }
    return false;
}

// The words of the C library's date text: weekday, month, day, time and year.
struct Today {
    const char* month;
    const char* day;
    const char* year;
};

bool readToday(Today& today) {
    const std::time_t now = std::time(nullptr);
    char* argv[6];
    if (KvuString::parseLine(std::ctime(&now), argv, '#') < 5) return false;
    today = {argv[1], argv[2], argv[4]};
    return true;
}

}  // namespace

int KvuSystem::system(const char* command, int force) {
    if (outOfSwapSpace != 0 && force == 0) return -1;
    const int status = platform::system(command);
    if (status != -1 || errno != EAGAIN) return status;
    warnOfSwapSpace();
    outOfSwapSpace = 1;
    return force != 0 ? -1 : 0;
}

KvBool KvuSystem::compress(const char* path, int useGzip) {
    const std::string_view file = path;
    return succeeds(useGzip != 0 ? KvuCommand("gzip     %s", file)
                                 : KvuCommand("compress %s", file));
}

KvBool KvuSystem::uncompress(const char* path, const char* outDir, KvText& outPath) {
    outPath[0] = '\0';
    if (isCompressed(path) == 0) return 1;
    KvText name;
    if (KvuString::basename(path, name) == 0) return 0;
    const std::string folder = outDir != nullptr ? outDir : dirname(path);
    const std::string_view archive = path;
    std::string result = folder + "/" + name;
    result.erase(result.rfind('.'));
    if (!KvCopyText(outPath, result)) {
        outPath[0] = '\0';
        return 0;
    }
    const std::string_view out = result;
    return succeeds(archive.ends_with(".gz") ? KvuCommand("gunzip -c %s > %s", archive, out)
                                             : KvuCommand("uncompress -c %s > %s", archive, out));
}

KvBool KvuSystem::editFile(const char* file, const char* editorName) {
    const std::string_view chosen = editorName != nullptr ? editorName : editor();
    if (edit(chosen, file)) return 1;
    return chosen != KvDefaultEditor && edit(KvDefaultEditor, file);
}

const char* KvuSystem::editor() {
    return KvDefaultEditor;
}

int KvuSystem::mail(const char* subject, const char* address, const char* file) {
    // The word after -s is the subject whatever it begins with; the first address may be an option.
    KvuShellText to = KvuShellArgument(address);
    if (*address == '-') to.text.insert(0, "-- ");
    const KvuShellText command = KvuCommand(" %s %s %s < %s", KvuShellText{"Mail -s"},
                                            KvuShellArgument(subject), to, std::string_view(file));
    return system(command.text.c_str(), 1);
}

KvFloat KvuSystem::getFreeSpace(const char* dir) {
    double blocks = 0;
    double blockSize = 0;
    if (platform::freeSpace(dir, blocks, blockSize))
        return 1.0e-6F * static_cast<KvFloat>(blocks) * static_cast<KvFloat>(blockSize);
    std::fprintf(stderr, "Internal error determining disk space in directory %s.\n",
                 dir != nullptr ? dir : "<null directory>");
    std::fflush(stderr);
    return 0.0F;
}

KvBool KvuSystem::gethostname(KvText& host) {
    const bool read = ::gethostname(host, sizeof host) == 0;
    if (!read) host[0] = '\0';
    return read;
}

KvBool KvuSystem::runningLocally() {
    const char* const display = std::getenv("DISPLAY");
    KvText host;
    if (display == nullptr || gethostname(host) == 0) return 0;
    const std::string_view text = display;
    const std::string_view machine = text.substr(0, text.rfind(':'));
    return machine.empty() || machine == host || machine == "localhost";
}

KvBool KvuSystem::runningAsRoot() {
    return succeeds(KvuCommand("id | grep root >/dev/null"));
}

KvBool KvuSystem::isLoggedIn(const char* user) {
    const std::string_view name = user != nullptr ? user : "";
    if (name.empty() || name.find('/') != std::string_view::npos) return 0;
    const std::string path = KvuFormat("%s_%s", "/usr/tmp/.loginInfo", user);
    if (!platform::prepareTemporary(path.c_str())) return 0;
    const std::string_view file = path;
    succeeds(KvuCommand("who | grep %s > %s", name, file));
    const bool found = holdsWord(path.c_str());
    succeeds(KvuCommand("rm -rf %s", file));
    return found;
}

void KvuSystem::getDate(KvText& date) {
    Today today;
    const bool known = readToday(today);
    (void)KvCopyText(date,
                     known ? KvuFormat("%s-%s-%s", today.month, today.day, today.year) : KvNoDate);
}

int KvuSystem::compareDate(int year, int month, int day) {
    Today today;
    if (!readToday(today)) return 1;
    const auto* const name = std::find(MONTHS.begin(), MONTHS.end(), today.month);
    const int monthNow = static_cast<int>(name - MONTHS.begin()) + 1;
    const std::tuple date(std::atoi(today.year), monthNow, std::atoi(today.day));
    const std::tuple given(year, month, day);
    if (date < given) return -1;
    return date > given;
}

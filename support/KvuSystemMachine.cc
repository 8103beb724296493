#include <unistd.h>

#include <algorithm>
#include <array>
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
#include "support/KvuSystem.h"

namespace {

// In place of today's date when ctime's text has no words, so that a date is never empty.
constexpr const char* noDate = "11-1-95";

constexpr std::array<std::string_view, 12> MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

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

// Words from ctime's text, which reads: weekday, month, day, time and year.
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
    if (display == nullptr || !gethostname(host)) return 0;
    const std::string_view text = display;
    const std::string_view machine = text.substr(0, text.rfind(':'));
    return machine.empty() || machine == host || machine == "localhost";
}

KvBool KvuSystem::runningAsRoot() {
    return system(KvuCommand("id | grep root >/dev/null").text.c_str(), 1) == 0;
}

KvBool KvuSystem::isLoggedIn(const char* user) {
    const std::string_view name = user != nullptr ? user : "";
    if (name.empty() || name.find('/') != std::string_view::npos) return 0;
    const std::string path = KvuFormat("%s_%s", "/usr/tmp/.loginInfo", user);
    if (!platform::prepareTemporary(path.c_str())) return 0;
    const std::string_view file = path;
    system(KvuCommand("who | grep %s > %s", name, file).text.c_str(), 1);
    const bool found = holdsWord(path.c_str());
    system(KvuCommand("rm -rf %s", file).text.c_str(), 1);
    return found;
}

void KvuSystem::getDate(KvText& date) {
    Today today;
    const bool known = readToday(today);
    static_cast<void>(KvCopyText(
        date, known ? KvuFormat("%s-%s-%s", today.month, today.day, today.year) : noDate));
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

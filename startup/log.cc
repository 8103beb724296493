#include "startup/log.h"

#include <cstdio>
#include <ctime>
#include <string>

#include "engine/record.h"
#include "platform/Platform.h"
#include "platform/Processes.h"

namespace {

std::string firstLine(int argc, char** argv) {
    const std::time_t now = std::time(nullptr);
    char date[32] = "";
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", std::localtime(&now));
    std::string line = std::string("=== ") + date;
    for (int i = 0; i < argc; ++i) line.append(" ").append(argv[i]);
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ') c = '?';
    return line;
}

std::string systemHome() {
    return platform::homeOf(platform::User::effective).value_or("/");
}

}  // namespace

void ZarnLogStart(int argc, char** argv) {
    constexpr const char* name = "/.Zarn_install.log";
    const std::string line = firstLine(argc, argv);
    const std::string path = KvmHome() + name;
    const std::string reason = platform::keepLog(path, line);
    if (reason.empty() || platform::keepLog(systemHome() + name, line).empty()) return;
    std::fprintf(stderr, "%s: there is no log %s: %s\n", argv[0], path.c_str(), reason.c_str());
}

#include "startup/Zarn_install.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "engine/KvmInstallMgr.h"
#include "support/KvuCommand.h"
#include "support/KvuSystem.h"

KvText KvInstallLocation;
int KvReadFrom = -1;
int KvInvokeSubsystems = 0;
int KvInvokeIconInstall = 0;

namespace {

struct Option {
    const char* name;
    int* target;  // null: the option makes this process the installer
    int value;
    bool takesLocation;
    const char* help;
};

const Option options[] = {
    {KvmInstallMedium[KvmCdRom].option, &KvReadFrom, KvmCdRom, false,
     "read the distribution from the CD-ROM"},
    {KvmInstallMedium[KvmTarFile].option, &KvReadFrom, KvmTarFile, false,
     "read the distribution from tar files beside the installer"},
    {"-subsystems", &KvInvokeSubsystems, 1, true,
     "add to or remove from the suite installed there"},
    {"-icons", &KvInvokeIconInstall, 1, true, "install icons for the suite installed there"},
    {"-noShell", nullptr, 0, false, "run in this terminal, as this user"},
};

const Option* findOption(std::string_view argument) {
    for (const Option& option : options)
        if (argument == option.name) return &option;
    return nullptr;
}

[[noreturn]] void missingValue(const char* program) {
    std::fprintf(stderr, "Usage %s [-cdrom] [-ftp] [-icons <Install location> <Product Id>]\n",
                 program);
    std::exit(0);
}

void takeLocation(const char* program, const char* location) {
    if (location == nullptr) missingValue(program);
    if (KvCopyText(KvInstallLocation, location)) return;
    std::fprintf(stderr, "%s: this install location is too long: %s\n", program, location);
    std::exit(0);
}

KvuShellText argumentList(int argc, char** argv) {
    KvuShellText list;
    for (int i = 1; i < argc; ++i) list.text += KvuShellArgument(argv[i]).text + " ";
    return list;
}

KvuShellText terminalCommand(const char* program, const KvuShellText& arguments) {
    const KvuShellText name = KvuShellArgument(program);
    const bool root = KvmInstallMgr::checkIfRoot() != 0;
    const KvuShellText command =
        root ? KvuCommand("./%s -noShell %s", name, arguments)
             : KvuCommand("su root -c './%s -noShell %s'", KvuInSingleQuotes(name),
                          KvuInSingleQuotes(arguments));
    const KvuShellText title{root ? "" : "(Please enter super-user password)"};
    return KvuCommand(
        "xwsh -bg black -fg cyan -geom 80x20+100+100 -cursorfg cyan -cursorbg cyan -title \"Zarn "
        "Installation %s\" -icontitle \"Zarn install\" -e /bin/csh -c \"echo; echo; %s\"",
        title, KvuInDoubleQuotes(KvuForCsh(command)));
}

// su lets the super-user see the display, but not the file that permits him to use it.
void handOnDisplayAuthority() {
    const char* home = std::getenv("HOME");
    if (home == nullptr) return;
    const std::string authority = KvuPrint("%s/.Xauthority", home);
    if (access(authority.c_str(), R_OK) == 0) setenv("XAUTHORITY", authority.c_str(), 0);
}

[[noreturn]] void launch(int argc, char** argv) {
    // Nobody should be asked for a password for what is known to fail.
    if (access(KvuPrint("./%s", argv[0]).c_str(), X_OK) != 0) {
        std::fprintf(stderr,
                     "%s: please change to the directory that holds it, and start it there\n",
                     argv[0]);
        std::exit(0);
    }
    handOnDisplayAuthority();
    const KvuShellText command = terminalCommand(argv[0], argumentList(argc, argv));
    KvuSystem::system(command.text.c_str(), 1);
    std::exit(0);
}

}  // namespace

void usage(const char* program) {
    std::fprintf(stderr, "Usage: %s [options]\n", program);
    for (const Option& option : options)
        std::fprintf(stderr, "  %-12s%-24s%s\n", option.name,
                     option.takesLocation ? "<.../Zarn_system>" : "", option.help);
    std::exit(0);
}

int parseArgs(int argc, char** argv) {
    bool shell = true;
    for (int i = 1; i < argc; ++i) {
        const Option* option = findOption(argv[i]);
        if (option == nullptr) usage(argv[0]);
        if (option->target == nullptr) {
            shell = false;
        } else {
            *option->target = option->value;
        }
        if (option->takesLocation) takeLocation(argv[0], argv[++i]);
    }
    if (shell) launch(argc, argv);
    std::printf("\nOk. Running Zarn installation...\n");
    std::fflush(stdout);
    return 1;
}

#include "startup/Zarn_install.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "engine/KvmInstallMgr.h"
#include "platform/Files.h"
#include "startup/authority.h"
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
    const bool root = KvmInstallMgr::checkIfRoot();
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

// Refuse before su asks: nobody should type a password for something that is bound to fail.
[[noreturn]] void refuse(const char* program, const std::string& reason) {
    std::fprintf(stderr, "%s: %s\n", program, reason.c_str());
    std::exit(0);
}

bool canRun(const std::string& folder, const char* program) {
    return platform::mayUse(KvuFormat("%s/%s", folder.c_str(), program), platform::toRun);
}

// The first folder in PATH that contains the program; empty when there is none.
std::string folderOf(const char* program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (canRun(folder, program)) return folder;
    return {};
}

// The second process is started as "./" and the name, so it must be in the working directory.
void checkPlace(const char* program) {
    std::string_view name = program;
    while (name.starts_with("./")) name.remove_prefix(2);
    if (name.find('/') != std::string_view::npos || !canRun(".", program))
        refuse(program, "please change to the directory that holds it, and start it there");
}

void checkDisplay(const char* program) {
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0')
        refuse(program, "there is no display; please set DISPLAY, or log in with \"ssh -X\"");
    if (!displayOpens())
        refuse(program,
               KvuFormat("the display \"%s\" can't be opened; please check DISPLAY, and that "
                         "XAUTHORITY names a file that lets you use it. For sudo, first run as "
                         "yourself:\n  xauth extract - %s | sudo -H xauth merge -\n"
                         "If that copies nothing, first create a cookie:\n"
                         "  xauth generate %s . trusted timeout 3600",
                         display, display, display));
}

// Call this after the stand-in programs are in PATH.
void checkPrograms(const char* program) {
    // Look for all of them where xwsh is: tar is in PATH anyway, but that is the system's.
    const std::string tools = folderOf("xwsh");
    for (const char* tool : {"xwsh", "xconfirm", "jot", "tar"})
        if (!canRun(tools, tool))
            refuse(program, KvuFormat("\"%s\" is missing or can't be run; please copy the "
                                      "distribution's folder Zarn_tools beside this program",
                                      tool));
    if (folderOf("xterm").empty())
        refuse(program, "there is no xterm on this system; please install it");
    if (!canRun("/bin", "csh"))
        refuse(program, "there is no /bin/csh on this system; please install csh or tcsh");
}

void runWithAuthority(const char* program, const KvuShellText& command) {
    const HandedOnAuthority authority;
    if (authority.refused())
        refuse(program,
               "the display admits you by name but does not admit root, and gave no cookie (is "
               "xauth installed?); please start the display with an authority file, or run this "
               "program as yourself with -noShell");
    KvuSystem::system(command.text.c_str(), 1);
}

[[noreturn]] void launch(int argc, char** argv) {
    checkPlace(argv[0]);
    checkDisplay(argv[0]);
    const KvuShellText command = terminalCommand(argv[0], argumentList(argc, argv));
    checkPrograms(argv[0]);
    runWithAuthority(argv[0], command);
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
    useCallersAuthority();
    if (shell) launch(argc, argv);
    std::printf("\nOk. Running Zarn installation...\n");
    std::fflush(stdout);
    return 1;
}

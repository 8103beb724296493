#include "startup/Zarn_install.h"

#include <X11/Xlib.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
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

// In a process of its own, which leaves no connection behind.
bool displayOpens() {
    const pid_t child = fork();
    if (child == 0) _exit(XOpenDisplay(nullptr) != nullptr ? 0 : 1);
    int status = 0;
    return child < 0 || waitpid(child, &status, 0) != child || status == 0;
}

std::string authorityIn(const char* home) {
    std::string file = KvuPrint("%s/.Xauthority", home);
    return access(file.c_str(), R_OK) == 0 ? file : "";
}

// sudo keeps DISPLAY, but puts the super-user's home in place of the caller's, where the file lies
// that permits to use it.
void useCallersAuthority() {
    const char* caller = std::getenv("SUDO_USER");
    if (geteuid() != 0 || caller == nullptr || std::getenv("XAUTHORITY") != nullptr) return;
    const struct passwd* user = getpwnam(caller);
    const std::string file = user != nullptr ? authorityIn(user->pw_dir) : "";
    if (file.empty()) return;
    setenv("XAUTHORITY", file.c_str(), 1);
    // The super-user's own file may have been given what that one lacks.
    if (!displayOpens()) unsetenv("XAUTHORITY");
}

// su lets the super-user see the display, but not the file that permits him to use it.
void handOnDisplayAuthority() {
    const char* home = std::getenv("HOME");
    const std::string file = home != nullptr ? authorityIn(home) : "";
    if (!file.empty()) setenv("XAUTHORITY", file.c_str(), 0);
}

// Nobody should be asked for a password for what is known to fail.
[[noreturn]] void refuse(const char* program, const std::string& reason) {
    std::fprintf(stderr, "%s: %s\n", program, reason.c_str());
    std::exit(0);
}

bool isInPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (access(KvuPrint("%s/%s", folder.c_str(), program.c_str()).c_str(), X_OK) == 0)
            return true;
    return false;
}

// The second process is started as "./" and the name: that finds it in the working directory only.
void checkPlace(const char* program) {
    std::string_view name = program;
    while (name.starts_with("./")) name.remove_prefix(2);
    if (name.find('/') != std::string_view::npos ||
        access(KvuPrint("./%s", program).c_str(), X_OK) != 0)
        refuse(program, "please change to the directory that holds it, and start it there");
}

void checkDisplay(const char* program) {
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0')
        refuse(program, "there is no display; please set DISPLAY, or log in with \"ssh -X\"");
    if (!displayOpens())
        refuse(program, KvuPrint("the display \"%s\" can't be opened; please check DISPLAY, and "
                                 "that XAUTHORITY names a file that lets you use it (for sudo: "
                                 "xauth extract - %s | sudo -H xauth merge -)",
                                 display, display));
}

// To be called when the stand-ins are in PATH.
void checkPrograms(const char* program) {
    for (const char* tool : {"xwsh", "xconfirm", "jot"})
        if (!isInPath(tool))
            refuse(program, KvuPrint("\"%s\" is missing or can't be run; please copy the folder "
                                     "Zarn_tools of the distribution beside this program",
                                     tool));
    if (!isInPath("xterm")) refuse(program, "there is no xterm on this system; please install it");
    if (access("/bin/csh", X_OK) != 0)
        refuse(program, "there is no /bin/csh on this system; please install csh or tcsh");
}

[[noreturn]] void launch(int argc, char** argv) {
    checkPlace(argv[0]);
    handOnDisplayAuthority();
    checkDisplay(argv[0]);
    const KvuShellText command = terminalCommand(argv[0], argumentList(argc, argv));
    checkPrograms(argv[0]);
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
    useCallersAuthority();
    if (shell) launch(argc, argv);
    std::printf("\nOk. Running Zarn installation...\n");
    std::fflush(stdout);
    return 1;
}

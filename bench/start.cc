// Measures how a program starts, from outside.
//
//   bench_start PROGRAM [ARGUMENT...]
//
// Prints the milliseconds until the program's window is mapped, the milliseconds until the program
// is idle, and its kilobytes of memory then. Ends the program. The first window that is mapped
// counts, so nothing else may open one.

#include <X11/Xlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestStart{20};
constexpr std::chrono::milliseconds quiet{300};
constexpr int pollMicroseconds = 500;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

[[noreturn]] void giveUp(const char* reason) {
    std::fprintf(stderr, "bench_start: %s\n", reason);
    std::exit(1);
}

std::string contentOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// A text that changes while the program or a child of it works, and when a child starts or ends.
std::string activity(pid_t program) {
    const std::string own = std::to_string(program);
    const std::string children = contentOf("/proc/" + own + "/task/" + own + "/children");
    std::string all = contentOf("/proc/" + own + "/schedstat") + children;
    std::istringstream list(children);
    for (std::string child; list >> child;) all += contentOf("/proc/" + child + "/schedstat");
    return all;
}

long residentKilobytes(pid_t program) {
    std::ifstream status("/proc/" + std::to_string(program) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    return 0;
}

// Whether a top-level window was mapped. A window manager's frame counts as its window.
bool windowCameUp(Display* display) {
    XEvent event;
    while (XPending(display) > 0) {
        XNextEvent(display, &event);
        XWindowAttributes attributes;
        if (event.type == MapNotify && event.xmap.event != event.xmap.window &&
            XGetWindowAttributes(display, event.xmap.window, &attributes) != 0 &&
            attributes.width > 1 && attributes.map_state == IsViewable)
            return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) giveUp("no program is named");
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) giveUp("the display can't be opened");
    // A window may be destroyed before we query it.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
    XSync(display, False);
    const auto begin = Clock::now();
    const pid_t program = fork();
    if (program == 0) {
        if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(127);
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    Clock::time_point mapped{}, busy = begin;
    std::string before;
    while (mapped == Clock::time_point{} || Clock::now() - busy < quiet) {
        if (Clock::now() - begin > longestStart)
            giveUp("no window came up, or the program never waits");
        if (mapped == Clock::time_point{} && windowCameUp(display)) mapped = Clock::now();
        const std::string now = activity(program);
        if (now != before) busy = Clock::now();
        before = now;
        usleep(pollMicroseconds);
    }
    std::printf("%.1f %.1f %ld\n", milliseconds(mapped - begin), milliseconds(busy - begin),
                residentKilobytes(program));
    kill(program, SIGTERM);
    waitpid(program, nullptr, 0);
    return 0;
}

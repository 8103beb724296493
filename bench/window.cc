// Measures, within one process, what the installer does once its window is open.
//
//   bench_window install MEDIUM LOCATION   installs what lies in the working directory, and prints
//                                          the seconds that this takes; MEDIUM is
//                                          "archives" or "cdrom"
//   bench_window messages COUNT            prints the bytes that a message leaves allocated
//   bench_window users COUNT               prints the seconds that a list of users takes
//
// It answers every question with "No" as soon as it opens.

#include <X11/Intrinsic.h>
#include <Xm/Xm.h>

#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "builder/KviBxUtil.h"
#include "engine/KvmInstallMgr.h"
#include "engine/window.h"
#include "motif/KvcUtil.h"
#include "platform/Platform.h"
#include "ui/KviInstall.h"
#include "ui/KviWindow.h"

namespace {

constexpr unsigned long pollMilliseconds = 1;
constexpr XtArgVal ok = 0;
constexpr XtArgVal no = 1;

XtAppContext app;

void answerQuestions(XtPointer, XtIntervalId*) {
    // A message has only the button "Ok".
    for (XtArgVal button : {no, ok})
        if (KvcQuestionOpen() != 0 && kvcMessageReturnVal < 0)
            KvcConfirmCB(kvcMessageWidget, reinterpret_cast<XtPointer>(button), nullptr);
    XtAppAddTimeOut(app, pollMilliseconds, answerQuestions, nullptr);
}

void openWindow(int argc, char** argv) {
    const Widget shell =
        XtVaAppInitialize(&app, "Zarn_install", nullptr, 0, &argc, argv, nullptr, nullptr);
    RegisterBxConverters(app);
    XtManageChild(CreatekviInstallWidget(shell));
    KvcInit(shell, &app);
    KvcSetMessagesOver(kviInstallWidget);
    KvmInstallMgr::start(argc, argv);
    KvcFlushEvents(shell, app);
    answerQuestions(nullptr, nullptr);
}

double secondsOf(auto work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

int install(const std::string& medium, const char* location) {
    KvmInstallMgr::setReadFrom(medium == "cdrom" ? 3 : 2);
    KvmInstallMgr::init();
    KvmShowLocation(location);
    int done = 0;
    const double seconds = secondsOf([&] { done = KvmInstallMgr::install(); });
    std::fprintf(stderr, "%.4f\n", seconds);
    return done ? 0 : 1;
}

int messages(int count) {
    const auto show = [] { KvcUserInfo("This is a message of some length.\nIt has two lines."); };
    const auto bytes = [] { return static_cast<double>(mallinfo2().uordblks); };
    const auto read = [] {
        KvcFlushEvents(kvcMessageWidget, app);
        XtUnmanageChild(kvcMessageWidget);
        KvcFlushEvents(kvcMessageWidget, app);
    };
    for (int i = 0; i < 100; ++i) show(), read();
    const double before = bytes();
    for (int i = 0; i < count; ++i) show(), read();
    std::fprintf(stderr, "%.1f\n", (bytes() - before) / count);
    return 0;
}

int users(int count) {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) names.push_back("user" + std::to_string(i));
    std::fprintf(stderr, "%.4f\n", secondsOf([&] { KvmShowUsers(names); }));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    platform::prepareProcess();
    const std::string what = argc > 2 ? argv[1] : "";
    int rest = 1;
    if (what.empty()) return 2;
    openWindow(rest, argv);
    if (what == "install" && argc == 4) return install(argv[2], argv[3]);
    if (what == "messages") return messages(std::atoi(argv[2]));
    if (what == "users") return users(std::atoi(argv[2]));
    return 2;
}

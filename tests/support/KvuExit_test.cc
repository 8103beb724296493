#include "support/KvuExit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

using testing::Eq;
using testing::ExitedWithCode;
using testing::KilledBySignal;

namespace {

char own[] = "own";

// The processes below report on standard error what happened to them.
void report(void* data, int exitType, int code) {
    std::fprintf(stderr, "[%s %d %d]", static_cast<const char*>(data), exitType, code);
    errno = EBUSY;
}

void failAgain(void*, int, int) {
    KvuExit::fatalError("more", nullptr, nullptr, nullptr);
}

void begin(void (*callback)(void*, int, int)) {
    std::atexit([] { std::fputs("[bye]", stderr); });
    KvuExit::initClass(own, callback);
}

void raiseTwice(int signal) {
    begin(report);
    errno = 0;
    raise(signal);
    std::fprintf(stderr, "errno %d", errno);
    raise(signal);
}

void fail(void (*callback)(void*, int, int)) {
    begin(callback);
    KvuExit::fatalError("a", nullptr, "b", "c");
    _exit(9);
}

void raiseAndLeave(int signal, void (*callback)(void*, int, int)) {
    begin(callback);
    raise(signal);
    KvuExit::initClass(own, nullptr);
    KvuExit::exit(4);
    _exit(9);
}

}  // namespace

TEST(KvuExitDeathTest, HandlerServesOneSignal) {
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGFPE, SIGQUIT})
        EXPECT_EXIT(raiseTwice(signal), KilledBySignal(signal), Eq("[own 2 -1]errno 0"));
    for (const int signal : {SIGABRT, SIGHUP, SIGPWR})
        EXPECT_EXIT(raiseTwice(signal), KilledBySignal(signal), Eq("[own 3 -1]errno 0"));
}

TEST(KvuExitDeathTest, EndsWithAndWithoutCallback) {
    EXPECT_EXIT(fail(nullptr), ExitedWithCode(255), Eq("abc[bye]"));
    EXPECT_EXIT(fail(report), ExitedWithCode(9), Eq("abc[own 2 -1]"));
    EXPECT_EXIT(fail(failAgain), ExitedWithCode(255), Eq("abc"));
    EXPECT_EXIT((close(STDERR_FILENO), fail(nullptr)), ExitedWithCode(255), Eq(""));
    // A handler may not run exit functions; after it, the program leaves as usual.
    for (const int signal : {SIGHUP, SIGSEGV})
        EXPECT_EXIT(raiseAndLeave(signal, nullptr), ExitedWithCode(255), Eq(""));
    EXPECT_EXIT(raiseAndLeave(SIGPWR, report), ExitedWithCode(4), Eq("[own 3 -1][bye]"));
    EXPECT_EXIT((begin(report), KvuExit::exit(7), _exit(8)), ExitedWithCode(8), Eq("[own 0 7]"));
}

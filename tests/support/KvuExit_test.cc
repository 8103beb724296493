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

constexpr int killing[] = {SIGABRT, SIGHUP, SIGPWR};
constexpr int crashing[] = {SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGFPE, SIGQUIT};

char userData;

// Each of the processes below says on standard error what happened to it.
void report(void* data, int exitType, int code) {
    std::fprintf(stderr, "[%s type %d code %d]", data == &userData ? "own" : "lost", exitType,
                 code);
    errno = EBUSY;
}

void failAgain(void* data, int exitType, int code) {
    report(data, exitType, code);
    KvuExit::fatalError("more", nullptr, nullptr, nullptr);
    std::fprintf(stderr, "went on");
}

void raiseCaught(int signal) {
    KvuExit::initClass(&userData, report);
    errno = 0;
    raise(signal);
    std::fprintf(stderr, "errno %d", errno);
    raise(signal);
}

// What an exit function does is not safe in a signal handler.
void raiseWithExitFunction(int signal) {
    std::atexit([] { _exit(5); });
    KvuExit::initClass(nullptr, nullptr);
    raise(signal);
}

}  // namespace

TEST(KvuExitDeathTest, WithoutInitClassNothingIsCaught) {
    EXPECT_EXIT(KvuExit::exit(3), ExitedWithCode(3), Eq(""));
    EXPECT_EXIT(KvuExit::fatalError("a", "", "b\n", "c"), ExitedWithCode(255), Eq("ab\nc"));
    EXPECT_EXIT(raise(SIGHUP), KilledBySignal(SIGHUP), Eq(""));
}

TEST(KvuExitDeathTest, CallbackTakesTheSignalOnceAndTheNextOneKills) {
    for (const int signal : killing)
        EXPECT_EXIT(raiseCaught(signal), KilledBySignal(signal), Eq("[own type 3 code -1]errno 0"))
            << signal;
    for (const int signal : crashing)
        EXPECT_EXIT(raiseCaught(signal), KilledBySignal(signal), Eq("[own type 2 code -1]errno 0"))
            << signal;
}

TEST(KvuExitDeathTest, WithoutCallbackASignalEndsTheProcessAtOnce) {
    for (const int signal : killing)
        EXPECT_EXIT(raiseWithExitFunction(signal), ExitedWithCode(255), Eq("")) << signal;
    for (const int signal : crashing)
        EXPECT_EXIT(raiseWithExitFunction(signal), ExitedWithCode(255), Eq("")) << signal;
}

TEST(KvuExitDeathTest, InterruptAndTerminateKeepTheirDefault) {
    for (const int signal : {SIGINT, SIGTERM})
        EXPECT_EXIT(raiseCaught(signal), KilledBySignal(signal), Eq("")) << signal;
}

TEST(KvuExitDeathTest, FatalErrorReportsAndCallsBack) {
    const auto fail = [](void (*callback)(void*, int, int)) {
        KvuExit::initClass(&userData, callback);
        KvuExit::fatalError("a", nullptr, "b", nullptr);
        KvuExit::exit(4);
        _exit(9);
    };
    EXPECT_EXIT(fail(report), ExitedWithCode(9), Eq("ab[own type 2 code -1][own type 2 code 4]"));
    EXPECT_EXIT(fail(failAgain), ExitedWithCode(255), Eq("ab[own type 2 code -1]"));
}

#include "support/KvuExit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

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

void raiseTwice(int signal) {
    KvuExit::initClass(own, report);
    errno = 0;
    raise(signal);
    std::fprintf(stderr, "errno %d", errno);
    raise(signal);
}

void fail(void (*callback)(void*, int, int)) {
    KvuExit::initClass(own, callback);
    KvuExit::fatalError("a", nullptr, "b", nullptr);
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
    EXPECT_EXIT(fail(nullptr), ExitedWithCode(255), Eq("ab"));
    EXPECT_EXIT(fail(report), ExitedWithCode(9), Eq("ab[own 2 -1]"));
    EXPECT_EXIT(fail(failAgain), ExitedWithCode(255), Eq("ab"));
}

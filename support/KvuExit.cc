#include "support/KvuExit.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

int KvuExit::_exitType = KvuExitTypeOrdinary;
int KvuExit::_inFatalError = 0;
void (*KvuExit::_exitCB)(void*, int, int) = nullptr;
void* KvuExit::_userData = nullptr;

namespace {

constexpr int failureStatus = -1;

volatile std::sig_atomic_t handlersRunning = 0;

// If the callback returns from a signal handler, the interrupted code must find errno and our state
// as they were.
class InHandler {
public:
    InHandler() : savedErrno_(errno) { handlersRunning = handlersRunning + 1; }
    InHandler(const InHandler&) = delete;
    InHandler& operator=(const InHandler&) = delete;
    ~InHandler() {
        handlersRunning = handlersRunning - 1;
        errno = savedErrno_;
    }

private:
    int savedErrno_;
};

// Writes to the descriptor: the signal may have interrupted a call that was changing the stream.
void writeError(const char* text) {
    std::size_t left = std::strlen(text);
    while (left > 0) {
        const ssize_t written = write(STDERR_FILENO, text, left);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        left -= static_cast<std::size_t>(written);
    }
}

// A variadic function must not be called through a pointer to a function with fixed arguments.
extern "C" void onCrash(int signal) {
    KvuExitCoreDump(signal);
}

extern "C" void onKill(int signal) {
    KvuExitKilled(signal);
}

void handleOnce(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

void KvuExit::initClass(void* userData, void (*exitCB)(void*, int, int)) {
    _userData = userData;
    _exitCB = exitCB;
    signalSetup();
}

void KvuExit::signalSetup() {
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGFPE, SIGQUIT})
        handleOnce(signal, onCrash);
    for (const int signal : {SIGABRT, SIGHUP, SIGPWR}) handleOnce(signal, onKill);
}

void KvuExit::fatalError(const char* s1, const char* s2, const char* s3, const char* s4) {
    if (_inFatalError != 0) _exit(failureStatus);
    _inFatalError = 1;
    _exitType = KvuExitTypeFatal;
    for (const char* piece : {s1, s2, s3, s4}) {
        if (piece != nullptr) writeError(piece);
    }
    exit(failureStatus);
}

void KvuExit::exit(int code) {
    if (_exitCB != nullptr) {
        _exitCB(_userData, _exitType, code);
    } else if (handlersRunning != 0) {
        _exit(code);
    } else {
        std::exit(code);
    }
}

void KvuExitCoreDump(int, ...) {
    const InHandler mark;
    KvuExit::fatalError(nullptr, nullptr, nullptr, nullptr);
}

void KvuExitKilled(...) {
    const InHandler mark;
    KvuExit::_exitType = KvuExitTypeKilled;
    KvuExit::exit(failureStatus);
}

#pragma once

/// Why a program is leaving, as its exit callback is told.
inline constexpr int KvuExitTypeOrdinary = 0;  ///< by itself
inline constexpr int KvuExitTypeFatal = 2;     ///< after a fatal error or a crash signal
inline constexpr int KvuExitTypeKilled = 3;    ///< after a termination signal

/// Handler of the crash signals: `KvuExit::fatalError` without text.
void KvuExitCoreDump(int signal, ...);

/// Handler of the termination signals: leaves as killed, with code -1.
void KvuExitKilled(...);

/// One way out of a program: a report of fatal errors, handlers for crash and termination signals,
/// and a callback of the program that runs in place of the process's end. Nothing is caught before
/// `initClass`; `exit` and `fatalError` work without it.
///
/// Whatever runs here may run inside a signal handler and makes only calls that are safe there. The
/// callback must do the same when it is told `KvuExitTypeFatal` or `KvuExitTypeKilled`; when it
/// returns, the interrupted code goes on.
class KvuExit {
public:
    KvuExit() = delete;

    /// Stores the callback with its first argument (both may be null and stay the caller's) and
    /// installs the signal handlers.
    static void initClass(void* userData, void (*exitCB)(void* userData, int exitType, int code));

    /// Installs `KvuExitCoreDump` for SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGFPE and SIGQUIT, and
    /// `KvuExitKilled` for SIGABRT, SIGHUP and SIGPWR. A handler serves one signal: when it starts,
    /// the signal has its default action again and may arrive at once.
    static void signalSetup();

    /// Writes the pieces that are not null to standard error, nothing between or after them, and
    /// leaves with code -1. Called again while the program leaves that way, it ends the process at
    /// once with status 255, without output, callback or further clean-up.
    static void fatalError(const char* s1, const char* s2, const char* s3, const char* s4);

    /// Calls the callback if there is one, and returns when it does. Otherwise ends the process
    /// with `code`, the ordinary way; inside a signal handler without exit functions and without
    /// flushing any streams.
    static void exit(int code);

private:
    friend void KvuExitKilled(...);

    static int _exitType;      ///< why the program is leaving, one of the values above
    static int _inFatalError;  ///< 1 from the first fatal error on
    static void (*_exitCB)(void*, int, int);
    static void* _userData;
};

#pragma once

/// Why a program is ending, as passed to its exit callback.
inline constexpr int KvuExitTypeOrdinary = 0;  ///< by itself
inline constexpr int KvuExitTypeFatal = 2;     ///< after a fatal error or a crash signal
inline constexpr int KvuExitTypeKilled = 3;    ///< after a termination signal

/// Handler of the crash signals: `KvuExit::fatalError` without text.
void KvuExitCoreDump(int signal, ...);

/// Handler of the termination signals: leaves with type `KvuExitTypeKilled` and code -1.
void KvuExitKilled(...);

/// The one way out of a program: it reports fatal errors, handles crash and termination signals,
/// and calls the program's own callback instead of ending the process. The suite's other programs
/// use it; the installer does not. No signal is caught before `initClass`; `exit` and `fatalError`
/// work without it.
///
/// All of this may run inside a signal handler, so it makes only async-signal-safe calls. The
/// callback must do the same when it is given `KvuExitTypeFatal` or `KvuExitTypeKilled`; when it
/// returns, the interrupted code continues.
class KvuExit {
public:
    KvuExit() = delete;

    /// Stores the callback and its first argument and installs the signal handlers. Both may be
    /// null; the argument stays the caller's.
    static void initClass(void* userData, void (*exitCB)(void* userData, int exitType, int code));

    /// Installs `KvuExitCoreDump` for SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGFPE and SIGQUIT, and
    /// `KvuExitKilled` for SIGABRT, SIGHUP and SIGPWR. A handler runs once: when it starts, its
    /// signal has the default action again and is not blocked.
    static void signalSetup();

    /// Writes the pieces that are not null to standard error, with nothing between or after them,
    /// and leaves with code -1. Called again while the program is already leaving this way, it ends
    /// the process at once with status 255, without output, callback or further clean-up.
    static void fatalError(const char* s1, const char* s2, const char* s3, const char* s4);

    /// Calls the callback if there is one, and returns when the callback does. Otherwise ends the
    /// process with `code`; inside a signal handler without running exit functions or flushing
    /// streams.
    static void exit(int code);

private:
    friend void KvuExitKilled(...);

    static int _exitType;      ///< why the program is leaving, one of the values above
    static int _inFatalError;  ///< 1 from the first fatal error on
    static void (*_exitCB)(void*, int, int);
    static void* _userData;
};

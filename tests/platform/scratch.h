#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

/// A folder of the test's own below the build folder, removed with all it holds. The test works in
/// it.
class ScratchFolder {
public:
    ScratchFolder() {
        if (mkdtemp(path_.data()) == nullptr) std::abort();
        std::filesystem::current_path(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(path_);
    }

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_ = ZARN_BINARY_DIR "/scratch.XXXXXX";
};

class ScratchTest : public testing::Test {
protected:
    ScratchFolder folder;
};

inline std::string writeFile(const std::string& path, const std::string& text, int mode = 0644) {
    std::ofstream(path) << text;
    std::filesystem::permissions(path, std::filesystem::perms(mode));
    return path;
}

inline std::string contentsOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The stand-in programs of this build.
inline const std::string toolsDir = ZARN_BINARY_DIR "/Zarn_tools";

struct Outcome {
    int status = -1;     ///< exit status; 128 and the signal when one ended the command
    std::string output;  ///< what went to standard output and standard error
};

inline Outcome outcomeOf(const std::string& command) {
    Outcome outcome;
    FILE* pipe = popen(("exec 2>&1; " + command).c_str(), "r");
    if (pipe == nullptr) return outcome;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        outcome.output += static_cast<char>(c);
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

inline bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Runs `body` in a process of its own; its failed expectations count for this test.
inline void runInChild(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status) << "the child's failures stand above";
}

inline constexpr uid_t nobody = 65534;

/// The super-user's process goes on as nobody; any other is nobody special already.
inline bool becomeOrdinary() {
    return geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0;
}

/// Gives this process mounts of its own, as the super-user of them.
inline bool becomePrivate() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNS | (user != 0 ? CLONE_NEWUSER : 0)) != 0) return false;
    if (user == 0) return true;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return geteuid() == 0;
}

/// Whether that is allowed here: to the super-user, and to others where they have user namespaces.
inline bool mayBecomePrivate() {
    return outcomeOf("unshare -mr true").status == 0;
}

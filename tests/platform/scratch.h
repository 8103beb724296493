#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

/// A case that works in a folder of its own below the build folder, removed with all it holds.
class ScratchTest : public testing::Test {
protected:
    ScratchTest() {
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        fs::current_path(folder);
    }
    ~ScratchTest() override {
        fs::current_path("/");
        fs::remove_all(folder);
    }

    std::string folder = ZARN_BINARY_DIR "/scratch.XXXXXX";
};

/// Writes a file, in folders that are made if need be; returns its path.
inline std::string writeFile(const fs::path& path, const std::string& text, int mode = 0644) {
    if (path.has_parent_path()) fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
    fs::permissions(path, fs::perms(mode));
    return path;
}

/// Writes a shell script that can be run.
inline void writeProgram(const fs::path& path, const std::string& lines) {
    writeFile(path, "#!/bin/sh\n" + lines + "\n", 0755);
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

/// Whether this user may have mounts of its own, as it may where there are user namespaces.
inline bool mayBecomePrivate() {
    return outcomeOf("unshare -mr true").status == 0;
}

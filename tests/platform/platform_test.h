#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A folder of the test's own below the build folder, removed with all it holds.
class ScratchFolder {
public:
    ScratchFolder() {
        path_ = ZARN_BINARY_DIR "/platform_test.XXXXXX";
        if (mkdtemp(path_.data()) == nullptr) std::abort();
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() { std::filesystem::remove_all(path_); }

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(*this / name) << text;
        return *this / name;
    }

private:
    std::string path_;
};

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

#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

/// A folder of the test's own below the build folder, removed with all it holds.
class TestFolder {
public:
    TestFolder() {
        std::string name = ZARN_BINARY_DIR "/support_test.XXXXXX";
        if (mkdtemp(name.data()) == nullptr) std::abort();
        path_ = name;
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(path_); }

    /// The path of `name` in the folder.
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

/// Runs `body` in a process of its own; its failed expectations count for this test.
inline void runInChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status) << "the child's failures stand above";
}

/// Gives this process a "/usr" that nobody else sees and that is gone with the process.
inline void usePrivateUsr(const TestFolder& folder) {
    const std::string disk = folder / "usr";
    std::filesystem::create_directory(disk);
    ASSERT_EQ(0, unshare(CLONE_NEWNS)) << "this test needs the super-user";
    ASSERT_EQ(0, mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr));
    ASSERT_EQ(0, mount("none", disk.c_str(), "tmpfs", 0, nullptr));
    std::filesystem::create_directories(disk + "/upper");
    std::filesystem::create_directories(disk + "/work");
    const std::string layers =
        "lowerdir=/usr,upperdir=" + disk + "/upper,workdir=" + disk + "/work";
    ASSERT_EQ(0, mount("overlay", "/usr", "overlay", 0, layers.c_str()));
    std::filesystem::remove_all("/usr/tmp");
}

#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

/// A working directory of the test's own below the build folder, removed with all it holds.
class TestFolder : public testing::Test {
protected:
    TestFolder() {
        if (mkdtemp(folder.data()) == nullptr) std::abort();
        std::filesystem::current_path(folder);
    }
    ~TestFolder() override {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(folder);
    }

    std::string folder = ZARN_BINARY_DIR "/support_test.XXXXXX";
};

inline void writeFile(const std::string& path, const std::string& text, int mode = 0644) {
    std::ofstream(path) << text;
    std::filesystem::permissions(path, std::filesystem::perms(mode));
}

inline std::string contentsOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
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

/// The same with a "/usr" of its own, without "/usr/tmp". Needs the super-user.
inline void runInPrivateUsr(const std::function<void()>& body) {
    std::filesystem::create_directory("usr");
    runInChild([&] {
        ASSERT_EQ(0, unshare(CLONE_NEWNS));
        ASSERT_EQ(0, mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr));
        ASSERT_EQ(0, mount("none", "usr", "tmpfs", 0, nullptr));
        for (const char* layer : {"usr/up", "usr/work"}) std::filesystem::create_directory(layer);
        ASSERT_EQ(0, mount("overlay", "/usr", "overlay", 0,
                           "lowerdir=/usr,upperdir=usr/up,workdir=usr/work"));
        std::filesystem::remove_all("/usr/tmp");
        body();
    });
}

#include "support/KvuUtil.h"

#include <sched.h>

#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

const char* const labels[] = {"Yes", "No", "May\"be $x", "Later"};

// Records its arguments, each in brackets, and answers with the button $ANSWER.
const char* const KvProgram = "#!/bin/sh\nprintf '[%s]' \"$@\" >notes\nprintf '%s' \"$ANSWER\"\n";

class KvuUtilTest : public ScratchTest {
protected:
    KvuUtilTest() {
        fs::create_directory("bin");
        writeFile("bin/xconfirm", KvProgram, 0755);
        setenv("PATH", (folder + "/bin:/usr/bin:/bin").c_str(), 1);
        unsetenv("ZARNHOME");
    }

    // Runs `body` in a child process with a private "/usr" that has no "/usr/tmp".
    static void runInPrivateUsr(const std::function<void()>& body) {
        if (!mayBecomePrivate()) GTEST_SKIP() << "this user may have no folders of its own";
        runInChild([&] {
            const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
            ASSERT_EQ(0, unshare(CLONE_NEWUSER | CLONE_NEWNS));
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
            std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
            const Outcome mounted = outcomeOf(
                "mkdir usr && mount -t tmpfs none usr && mkdir usr/up usr/work && mount -t overlay "
                "-o lowerdir=/usr,upperdir=usr/up,workdir=usr/work none /usr && rm -rf /usr/tmp");
            ASSERT_EQ(0, mounted.status) << mounted.output;
            body();
        });
    }

    // The arguments that the program gets for `message`, in brackets.
    static std::string shown(const std::string& message) {
        KvuUtil::userInfo(message.c_str());
        const std::string notes = contentsOf("notes");
        const std::size_t start = notes.find("[-t]") + 4;
        return notes.substr(start, notes.find("[-B]") - start);
    }

    static int answer(const char* line, int n) {
        setenv("ANSWER", line, 1);
        return KvuUtil::userConfirm(n, labels, "a \"b\" `c` $d \\", nullptr);
    }
};

}  // namespace

TEST_F(KvuUtilTest, FallbackProgramGetsTextAndButtons) {
    runInPrivateUsr([] {
        const std::string question = "[-useslider][-icon][question][-header]";
        KvuUtil::userConfirm(2, labels, "sure?", "Title");
        EXPECT_EQ(question + "[Title][-t][sure?][-b][No][-B][Yes]", contentsOf("notes"));
        EXPECT_EQ("[it's][-t][][-t][\"$x\" `id`]", shown("it's\n\n\"$x\" `id`"));
        // The option and the quotes take 5 of the 1023 characters; no character is cut in half.
        const std::string fitting(1018, 'x');
        EXPECT_EQ("[" + fitting + "]", shown(fitting));
        EXPECT_EQ("[" + fitting.substr(4) + "...]", shown(fitting.substr(4) + "\xc3\xbc ..."));
        EXPECT_EQ(1, answer("No, thanks\n", 3));
        EXPECT_EQ(question +
                      "[Please confirm...][-t][a \"b\" `c` $d \\]"
                      "[-b][May\"be $x][-b][No][-B][Yes]",
                  contentsOf("notes"));
        for (RandomTexts random{20, {"\nYes"}}; random.next();)
            EXPECT_EQ(2, answer((labels[2] + random.text).c_str(), 4));
        EXPECT_EQ(fs::perms(01777), fs::status("/usr/tmp").permissions());
        EXPECT_TRUE(fs::is_empty("/usr/tmp")) << "the answer file stayed";
        ASSERT_EQ(0, outcomeOf("rmdir /usr/tmp && mount -o remount,ro /usr").status);
        EXPECT_EQ(1, answer("No\n", 2)) << "without /usr/tmp";
        EXPECT_NE(0, outcomeOf("ls -d /tmp/.zarnUserConfirm.*").status);
    });
}

TEST_F(KvuUtilTest, PlantedAnswerFileIsNotUsed) {
    writeFile("victim", "precious");
    runInPrivateUsr([&] {
        fs::create_directory("/usr/tmp");
        fs::create_symlink(folder + "/victim", "/usr/tmp/.zarnUserConfirm");
        testing::internal::CaptureStderr();
        EXPECT_EQ(0, answer("No\n", 2));
        EXPECT_EQ(0, KvuUtil::userError("disk full"));
        const std::string error =
            "Internal Error: Could not open temporary file /usr/tmp/.zarnUserConfirm.";
        EXPECT_EQ(error + error + "\nOooops... Sorry!\ndisk full\n",
                  testing::internal::GetCapturedStderr());
    });
    EXPECT_EQ("precious", contentsOf("victim"));
}

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/platform_test.h"

namespace {

class TarTest : public testing::Test {
protected:
    TarTest() {
        std::filesystem::create_directory(folder / "out");
        for (const char* name : {"base", "extra", "-x", "*"}) folder.write(name, name);
        shell(
            "/bin/tar cf a.tar -- base extra -x '*' && head -c 700 a.tar >short.tar && head -c "
            "1024 a.tar >cut.tar &&"
            "head -c 1300 a.tar >half.tar && cp a.tar guest@host:tape && cp a.tar 'with "
            "blanks.tar' && echo text >text.tar");
    }

    Outcome shell(const std::string& command) const {
        return outcomeOf("cd " + (folder / "") + " && export PATH=" + toolsDir + ":$PATH && " +
                         command);
    }
    Outcome extract(const std::string& words) const {
        return shell("rm -rf out/* && cd out && tar xvof " + words);
    }

    ScratchFolder folder;
};

TEST_F(TarTest, WhatCountsAsSuccess) {
    const struct {
        const char* words;
        int status;
        const char* output;
        const char* extracted;
    } cases[] = {
        {"../a.tar base extra", 0, "base\nextra\n", "base extra"},
        {"../a.tar base gone sub/gone", 0, "passed over: gone sub/gone\n", "base"},
        {"../a.tar gone", 2, "tar: gone: Not found in archive\n", ""},
        {"../a.tar gone gone", 2, "Not found", ""},
        {"../a.tar -x -gone", 0, "passed over: -gone", "-x"},
        {"../a.tar '*' 'b*'", 0, "passed over: b*", "*"},
        {"../short.tar base gone", 2, "Unexpected EOF", "base"},
        {"../cut.tar base gone", 2, "cut off", "base"},
        {"../half.tar base", 2, "cut off", "base"},
        {"../text.tar base", 2, "does not look like a tar archive", ""},
        {"../none.tar base", 2, "Cannot open", ""},
        {"'../with blanks.tar' base", 0, "base\n", "base"},
        {"../guest@host:tape base gone", 0, "passed over: gone\n", "base"},
        {"../a.tar", 0, "extra\n", "* -x base extra"},
        {"u@-oProxyCommand=id:/dev/tape base", 2, "is not the name of a machine", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.words);
        const Outcome outcome = extract(c.words);
        EXPECT_EQ(c.status, outcome.status) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, c.output)) << outcome.output;
        EXPECT_EQ(c.extracted, shell("cd out && LC_ALL=C && set -- * && [ -e \"$1\" ] && "
                                     "printf %s \"$*\"")
                                   .output);
    }
}

TEST_F(TarTest, AMemberThatCannotBeWrittenIsAFailureEvenBesideMissingOnes) {
    const Outcome outcome =
        shell("cd out && mkdir -p base/full && tar xvof ../a.tar base extra no");
    EXPECT_EQ(2, outcome.status);
    EXPECT_TRUE(holds(outcome.output, "Cannot open")) << outcome.output;
    EXPECT_TRUE(holds(outcome.output, "no: Not found")) << outcome.output;
}

TEST_F(TarTest, TheUsersLanguageAndOptionsDoNotMatter) {
    const Outcome outcome = extract("../a.tar base gone").status == 0
                                ? shell(
                                      "cd out && LC_ALL=de_DE.UTF-8 LANGUAGE=de TAR_OPTIONS=-q "
                                      "tar xvof ../a.tar base gone")
                                : Outcome{};
    EXPECT_EQ(0, outcome.status) << outcome.output;
}

TEST_F(TarTest, WithoutATapeDriveTheVariableNamesTheDevice) {
    ASSERT_FALSE(std::filesystem::exists("/dev/tape")) << "this machine has a tape drive";
    EXPECT_EQ(0, shell("cd out && TAPE=../a.tar tar xvof /dev/tape base gone").status);
    EXPECT_TRUE(holds(shell("unset TAPE; tar xvof /dev/tape base").output, "/dev/st0"));
}

TEST_F(TarTest, OtherOperationsAreGnuTars) {
    EXPECT_EQ("base\nextra\n-x\n*\n", shell("tar tf a.tar").output);
    EXPECT_EQ(2, shell("tar -xf a.tar -C out base gone").status);
    EXPECT_EQ(0, shell("tar --create --file=b.tar base && cmp base base").status);
}

TEST_F(TarTest, ProgressIsShownAndTheChildDiesWithIt) {
    // The archive's rest never comes, so all that can be seen is seen while tar still runs.
    const Outcome outcome = shell(
        "mkfifo slow; head -c 90000 /dev/zero >zeros; tar cf long.tar base extra zeros;"
        "(head -c 30720 long.tar; exec sleep 20) >slow 2>&1 & writer=$!; cd out;"
        "tar xvof ../slow base extra never >../log & tar=$!;"
        "for i in 1 2 3 4 5 6 7 8 9 10; do grep -q extra ../log && break; sleep 0.2; done;"
        "grep -c extra ../log; child=$(pgrep -P $tar); [ -e /proc/$child/exe ] && echo runs;"
        "kill $tar; wait $tar 2>&-; echo $?; sleep 0.3; kill $writer;"
        "[ -e /proc/$child/exe ] || echo gone");
    EXPECT_EQ("1\nruns\n143\ngone\n", outcome.output);
}

}  // namespace

#include <tuple>

#include "tests/fixtures/scratch.h"

namespace {

class TarTest : public ScratchTest {
protected:
    TarTest() {
        fs::create_directory("out");
        for (const char* name : {"base", "extra", "-x", "*"}) writeFile(name, name);
        shell(
            "/bin/tar cf a.tar -- base extra -x '*' && head -c 700 a.tar >short.tar && head -c "
            "1024 a.tar >cut.tar && head -c 1300 a.tar >half.tar && cp a.tar guest@host:tape && "
            "cp a.tar 'with blanks.tar' && echo text >text.tar");
    }

    static Outcome shell(const std::string& command) {
        return outcomeOf("export PATH='" + toolsDir + "':$PATH && " + command);
    }
};

TEST_F(TarTest, WhatCountsAsSuccess) {
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"../a.tar base extra", 0, "base\nextra\n", "base\nextra\n"},
        {"../a.tar base gone sub/gone", 0, "passed over: gone sub/gone\n", "base\n"},
        {"../a.tar gone", 1, "passed over: gone\n", ""},
        {"../a.tar -x -gone", 0, "passed over: -gone", "-x\n"},
        {"../a.tar '*' 'b*'", 0, "passed over: b*", "*\n"},
        {"../short.tar base gone", 2, "Unexpected EOF", "base\n"},
        {"../cut.tar base gone", 2, "cut off", "base\n"},
        {"../half.tar base", 2, "cut off", "base\n"},
        {"../text.tar base", 2, "does not look like a tar archive", ""},
        {"'../with blanks.tar' base", 0, "base\n", "base\n"},
        {"../guest@host:tape base gone", 0, "passed over: gone\n", "base\n"},
        {"../a.tar", 0, "extra\n", "*\n-x\nbase\nextra\n"},
        {"u@-oProxyCommand=id:/dev/tape base", 2, "is not the name of a machine", ""},
    };
    for (const auto& [words, status, output, extracted] : cases) {
        SCOPED_TRACE(words);
        // The user's language and options must not matter.
        const Outcome outcome = shell(
            "export LC_ALL=de_DE.UTF-8 LANGUAGE=de TAR_OPTIONS=-q; rm -rf out/* && cd out && "
            "tar xvof " +
            std::string(words));
        EXPECT_EQ(status, outcome.status) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, output)) << outcome.output;
        EXPECT_EQ(extracted, shell("LC_ALL=C ls out").output);
    }
}

TEST_F(TarTest, FullFoldersDrivesAndOtherOperations) {
    const Outcome full =
        shell("mkdir -p full/base/x && cd full && tar xvof ../a.tar base extra no");
    EXPECT_EQ(2, full.status) << "a member that can't be written is worse than a missing one";
    EXPECT_TRUE(holds(full.output, "Cannot open")) << full.output;
    ASSERT_FALSE(fs::exists("/dev/tape")) << "this machine has a tape drive";
    EXPECT_EQ(0, shell("cd out && TAPE=../a.tar tar xvof /dev/tape base gone").status);
    EXPECT_TRUE(holds(shell("unset TAPE; tar xvof /dev/tape base").output, "/dev/st0"));
    EXPECT_EQ(2, shell("tar -xf a.tar -C out base gone").status);
}

TEST_F(TarTest, ProgressIsShownAndTheChildDiesWithIt) {
    // The archive's rest never comes, so all that can be seen is seen while tar still runs.
    const Outcome outcome = shell(
        "mkfifo slow; touch log; head -c 90000 /dev/zero >zeros; tar cf long.tar base extra zeros;"
        "(head -c 30720 long.tar; exec sleep 20) >slow 2>&1 & writer=$!; cd out;"
        "tar xvof ../slow base extra never >../log & tar=$!;"
        "for i in $(seq 250); do grep -q extra ../log && break; sleep 0.02; done;"
        "grep -c extra ../log; child=$(pgrep -P $tar); [ -e /proc/$child/exe ] && echo runs;"
        "kill $tar; wait $tar 2>&-; echo $?;"
        "for i in $(seq 250); do [ -e /proc/$child/exe ] || break; sleep 0.02; done;"
        "[ -e /proc/$child/exe ] || echo gone; kill $writer");
    EXPECT_EQ("1\nruns\n143\ngone\n", outcome.output);
}

}  // namespace

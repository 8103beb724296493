#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

class TarTest : public ScratchTest {
protected:
    static Outcome shell(const std::string& command) {
        return outcomeOf("export PATH='" + toolsDir + "':$PATH && " + command);
    }
};

TEST_F(TarTest, NoDamagedArchiveCountsAsWhole) {
    ASSERT_EQ(shell("head -c 1024 /dev/zero >base; touch more; /bin/tar cf a.tar base more").status,
              0);
    for (RandomTexts random{20, {"0"}}; random.next();) {
        std::string part = contentsOf("a.tar").substr(0, 1 + random.engine() % 2000);
        part[random.engine() % part.size()] = random.text[0];
        EXPECT_EQ(shell("tar tf " + writeFile("part.tar", part) + " base").status, 2);
    }
}

TEST_F(TarTest, ProgressIsShownAndTheChildDiesWithIt) {
    // The rest of the archive never arrives, so all output here comes while tar is still running.
    const Outcome outcome = shell(
        "mkdir out; echo >base; echo >extra; mkfifo slow; touch log; head -c 90000 /dev/zero "
        ">zeros;"
        "tar cf long.tar base extra zeros; (head -c 30720 long.tar; exec sleep 20) >slow 2>&1 & "
        "writer=$!; cd out;"
        "tar xvof ../slow base extra never >../log & tar=$!;"
        "for i in $(seq 250); do grep -q extra ../log && break; sleep 0.02; done;"
        "grep -c extra ../log; child=$(pgrep -P $tar); [ -e /proc/$child/exe ] && echo runs;"
        "kill $tar; wait $tar 2>&-; echo $?;"
        "for i in $(seq 250); do [ -e /proc/$child/exe ] || break; sleep 0.02; done;"
        "[ -e /proc/$child/exe ] || echo gone; kill $writer");
    EXPECT_EQ(outcome.output, "1\nruns\n143\ngone\n");
}

}  // namespace

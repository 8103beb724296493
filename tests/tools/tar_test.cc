#include <tuple>

#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

class TarTest : public ScratchTest {
protected:
    TarTest() {
        fs::create_directory("out");
        for (const char* name : {"base", "extra", "-x", "*"}) writeFile(name, name);
        // An archive cut off after this member's contents, all zeros, still lacks its end marker.
        writeFile("base", std::string(1024, '\0'));
        shell(
            "/bin/tar cf a.tar -- base extra -x '*' && head -c 700 a.tar >short.tar && head -c "
            "1536 a.tar >cut.tar && head -c 1800 a.tar >half.tar && cp a.tar guest@host:tape && "
            "cp a.tar 'with blanks.tar' && echo text >text.tar;"
            "for i in 1 2 3 4 5 6; do echo >>holes && truncate -s +1M holes; done;"
            "/bin/tar cSbf 1 - holes | head -c -1024 >holes.tar;"
            // A link with its file's size in the header, as some tars write it; the checksum stays
            // right.
            "ln base twin; /bin/tar cf link.tar --owner Z:0 base twin;"
            "LC_ALL=C sed -i 's/00000000000\\(.*\\)Z/00000020000\\1X/' link.tar");
    }

    static Outcome shell(const std::string& command) {
        return outcomeOf("export PATH='" + toolsDir + "':$PATH && " + command);
    }
};

TEST_F(TarTest, WhatCountsAsSuccess) {
    writeProgram("rsh", "printf '[%s]' \"$@\" >&2");
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"../a.tar base extra", 0, "base\nextra\n", "base\nextra\n"},
        {"../a.tar base gone sub/gone", 0, "passed over: gone sub/gone\n", "base\n"},
        {"../a.tar gone", 1, "passed over: gone\n", ""},
        {"../a.tar -x -gone", 0, "passed over: -gone", "-x\n"},
        {"../a.tar '*' 'b*'", 0, "passed over: b*", "*\n"},
        {"../short.tar base gone", 2, "Unexpected EOF", "base\n"},
        {"../cut.tar base gone", 2, "cut off", "base\n"},
        {"../half.tar base", 2, "cut off", "base\n"},
        {"../holes.tar holes", 2, "cut off", "holes\n"},
        {"../link.tar base", 0, "base\n", "base\n"},
        {"../text.tar base", 2, "does not look like a tar archive", ""},
        {"'../with blanks.tar' base", 0, "base\n", "base\n"},
        {"../guest@host:tape base gone", 0, "passed over: gone\n", "base\n"},
        {"u@127.0.0.1:/dev/tape base", 2, "[127.0.0.1][-l][u]", ""},
        {"../a.tar", 0, "extra\n", "*\n-x\nbase\nextra\n"},
        {"u@-oProxyCommand=id:/dev/tape base", 2, "is not the name of a machine", ""},
    };
    for (const auto& [words, status, output, extracted] : cases) {
        SCOPED_TRACE(words);
        // The user's language and tar options must make no difference.
        const Outcome outcome = shell(
            "export LC_ALL=de_DE.UTF-8 LANGUAGE=de TAR_OPTIONS=-q TAR_RSH=$PWD/rsh; rm -rf out/* "
            "&& cd out && "
            "tar xvof " +
            std::string(words));
        EXPECT_EQ(status, outcome.status) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, output)) << outcome.output;
        EXPECT_EQ(extracted, shell("LC_ALL=C ls out").output);
    }
    for (RandomTexts random{20, {"0"}}; random.next();) {
        std::string part = contentsOf("a.tar").substr(0, 1 + random.engine() % 4600);
        part[random.engine() % part.size()] = random.text[0];
        EXPECT_EQ(2, shell("tar tf " + writeFile("part.tar", part) + " base").status);
    }
}

// Extracted as the installer does it: by name, with the product tree's folder already there.
TEST_F(TarTest, OddArchivesHarmNothingOutside) {
    const std::string through = "add --transform s,bin,Zarn_system/link, bin/victim";
    const std::tuple<std::string, int, const char*> cases[] = {
        {"ln Zarn_system/file Zarn_system/twin; mkfifo Zarn_system/fifo; chmod -R 7777 Zarn_system;"
         "add Zarn_system",
         0, "twin\n"},
        {"add --transform s,/dev,Zarn_system, /dev/null", 2, "null: Cannot mknod"},
        {"add Zarn_system; add --transform s,bin,$OLDPWD/place/bin, bin/victim", 0, "file\n"},
        {"add --transform s,bin,Zarn_system/../bin, bin/victim", 2, "contains '..'"},
        {"ln -s ../bin Zarn_system/link; add Zarn_system; " + through, 2, "Not a directory"},
        {"ln -s $PWD/bin Zarn_system/link; add Zarn_system; " + through, 2, "Not a directory"},
        {"ln -s . ../place/Zarn_system/link; " + through, 0, "victim\n"},
        {"ln -s ../bin ../place/Zarn_system/link; " + through, 2, "link to a folder elsewhere"},
        {"mkdir ../place/subsystems; ln -s ../bin ../place/subsystems/models;"
         "add --transform s,bin,subsystems/models, bin/victim",
         2, "link to a folder elsewhere"},
        {"ln -s bin link; add --transform s,link,Zarn_system, link; add Zarn_system/file", 2,
         "Cannot create symlink"},
        {"ln bin/victim Zarn_system/twin; add bin Zarn_system", 2, "Cannot hard link"},
        {"ln bin/victim Zarn_system/twin; add --transform s,^bin,Zarn_system/../bin, bin "
         "Zarn_system",
         2, "twin: Cannot hard link"},
    };
    for (const auto& [make, status, output] : cases) {
        SCOPED_TRACE(make);
        const Outcome outcome = shell(
            "umask 022; rm -rf odd.tar make place outside; mkdir -p make/Zarn_system make/bin "
            "place/Zarn_system place/bin outside; echo odd | tee make/bin/victim "
            ">make/Zarn_system/file; echo own | tee place/bin/victim >outside/victim;"
            "add() { /bin/tar rPf ../odd.tar \"$@\"; }; cd make;" +
            make + "; cd ../place; tar xvof ../odd.tar Zarn_system subsystems/models");
        EXPECT_EQ(status, outcome.status) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, output)) << outcome.output;
        EXPECT_EQ("own\nown\n", shell("cd place; cat bin/* ../outside/*; find . ! -type l -perm "
                                      "/7022 -o -type b,c -o -name victim -links +1")
                                    .output);
    }
    EXPECT_EQ("base\n4711\n", shell("chmod 4711 base; /bin/tar cf a.tar base; cd out;"
                                    "tar xvopf ../a.tar base; stat -c %a base")
                                  .output);
}

TEST_F(TarTest, FullFoldersDrivesAndOtherOperations) {
    const Outcome full =
        shell("mkdir -p full/base/x && cd full && tar xvof ../a.tar base extra no");
    EXPECT_EQ(2, full.status) << "a member that can't be written is worse than a missing one";
    EXPECT_TRUE(holds(full.output, "Cannot open")) << full.output;
    ASSERT_FALSE(fs::exists("/dev/tape")) << "this machine has a tape drive";
    EXPECT_EQ(0, shell("cd out && TAPE=../a.tar tar xvof /dev/tape base gone").status);
    EXPECT_TRUE(holds(shell("unset TAPE; tar xvof /dev/tape base").output, "/dev/st0"));
    EXPECT_TRUE(holds(shell("TAR_RSH=rsh tar xvof u@host:tape base").output, "full path"));
    writeProgram("gnu/tar", "echo 'tar: initgroups: Operation not permitted' >&2; exit 2");
    EXPECT_TRUE(holds(shell("PATH=" + toolsDir + ":$PWD/gnu tar xvof u@host:tape base").output,
                      "super-user only\n"));
    EXPECT_EQ(2, shell("tar -xf a.tar -C out base gone").status);
}

TEST_F(TarTest, ProgressIsShownAndTheChildDiesWithIt) {
    // The rest of the archive never arrives, so all output here comes while tar is still running.
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

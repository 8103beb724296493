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
        {"../a.tar base gone sub/gone", 0, "base\ntar: not in this archive, passed over: gone sub/gone\n", "base\n"},
        {"../a.tar gone", 1, "tar: not in this archive, passed over: gone\n", ""},
        {"../a.tar -x -gone", 0, "-x\ntar: not in this archive, passed over: -gone\n", "-x\n"},
        {"../a.tar '*' 'b*'", 0, "*\ntar: not in this archive, passed over: b*\n", "*\n"},
        {"../short.tar base gone", 2, "base\ntar: Unexpected EOF in archive\ntar: Unexpected EOF in archive\n", "base\n"},
        {"../cut.tar base gone", 2, "base\ntar: gone: Not found in archive\ntar: Exiting with failure status due to previous errors\ntar: ../cut.tar is cut off: it has no end\n", "base\n"},
        {"../half.tar base", 2, "base\ntar: ../half.tar is cut off: it has no end\n", "base\n"},
        {"../holes.tar holes", 2, "holes\ntar: ../holes.tar is cut off: it has no end\n", "holes\n"},
        {"../link.tar base", 0, "base\n", "base\n"},
        {"../text.tar base", 2, "tar: This does not look like a tar archive\n", ""},
        {"'../with blanks.tar' base", 0, "base\n", "base\n"},
        {"../guest@host:tape base gone", 0, "base\ntar: not in this archive, passed over: gone\n", "base\n"},
        {"u@127.0.0.1:/dev/tape base", 2, "[127.0.0.1][-l][u][/usr/sbin/rmt]tar: u@127.0.0.1\\:/dev/tape: Cannot open: Input/output error\ntar: Error is not recoverable: exiting now\n", ""},
        {"../a.tar", 0, "base\nextra\n-x\n*\n", "*\n-x\nbase\nextra\n"},
        {"u@-oProxyCommand=id:/dev/tape base", 2, "tar: -oProxyCommand=id is not the name of a machine\n", ""}};
    for (const auto& [words, status, output, extracted] : cases) {
        SCOPED_TRACE(words);
        // The user's language and tar options must make no difference.
        const Outcome outcome = shell(
            "export LC_ALL=de_DE.UTF-8 LANGUAGE=de TAR_OPTIONS=-q TAR_RSH=$PWD/rsh; rm -rf out/* "
            "&& cd out && tar xvof " + std::string(words));
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(shell("LC_ALL=C ls out").output, extracted);
    }
    for (RandomTexts random{20, {"0"}}; random.next();) {
        std::string part = contentsOf("a.tar").substr(0, 1 + random.engine() % 4600);
        part[random.engine() % part.size()] = random.text[0];
        EXPECT_EQ(shell("tar tf " + writeFile("part.tar", part) + " base").status, 2);
    }
}

// With a stand-in for GNU tar, which shows its words and what it sees of the user's language.
TEST_F(TarTest, GnuTarGetsTheseWords) {
    writeProgram("gnu/tar", "printf '[%s]' \"$@\"; echo $LC_ALL $LC_CTYPE $LC_MESSAGES $LANGUAGE $TAR_OPTIONS");
    fs::create_directory("di,r");
    const char* const plain = "[--no-wildcards][--no-unquote]";
    const std::string local = std::string(plain) + "[--force-local]", safe = "[--no-same-permissions]", english = "C\n";
    const std::string limits = "[--transform=s,^,what is not wanted: ,RS]", end = "[--transform=s,\\.\\./,what is not wanted: /,gRS]";
    const auto only = [](const std::string& name) { return "[--transform=s,^what is not wanted: \\(" + name + "\\(/\\|$\\)\\),\\1,RS]"; };
    const std::pair<const char*, std::string> cases[] = {
        {"tar xvof a.tar base di,r", "[xvof][a.tar]" + local + safe + limits + only("base") + only("di\\,r") + "[--transform=s,^di\\,r$,&/,SH]" + end + "[--][base][di,r]" + english},
        {"tar xpmkf a.tar 'a\\.[*^$b'", "[xpmkf][a.tar]" + local + limits + only("a\\\\\\.\\[\\*\\^\\$b") + end + "[--][a\\.[*^$b]" + english},
        {"tar xf a.tar", "[xf][a.tar]" + local + safe + "[--]" + english},
        {"tar tf a.tar base", "[tf][a.tar]" + local + safe + "[--][base]" + english},
        {"tar tf u@host:/dev/tape", "[tf][u@host:/dev/tape]" + (plain + ("[--rsh-command=/usr/bin/ssh]" + safe)) + "[--]" + english},
        {"TAR_RSH=/x tar tf host:tape", "[tf][host:tape]" + (plain + ("[--rsh-command=/x]" + safe)) + "[--]" + english},
        {"TAR_RSH= tar tf ./host:tape", "[tf][./host:tape]" + local + safe + "[--]" + english},
        {"TAR_RSH=x tar tf host:tape", "tar: TAR_RSH has to be the full path of a program\n"},
        {"tar tf /dev/tape", "[tf][/dev/st0]" + local + safe + "[--]" + english},
        {"TAPE= tar tf /dev/tape", "[tf][/dev/st0]" + local + safe + "[--]" + english},
        {"TAPE=/dev/nst1 tar tf /dev/tape", "[tf][/dev/nst1]" + local + safe + "[--]" + english},
        {"LC_ALL=fr_FR LANGUAGE=fr TAR_OPTIONS=-v tar tf a.tar", "[tf][a.tar]" + local + safe + "[--]fr_FR C\n"},
        {"LC_ALL=fr_FR TAR_OPTIONS=-v tar tf", "[tf]fr_FR -v\n"}, {"tar -xf a.tar", "[-xf][a.tar]\n"}, {"tar xzf a.tar", "[xzf][a.tar]\n"}, {"tar vf a.tar", "[vf][a.tar]\n"}, {"tar xff a b", "[xff][a][b]\n"}, {"tar", "[]\n"},
        {"PATH=gnu:$PWD:$PATH $T -x", "[-x]\n"}, {"PATH=$PWD/other:$PWD/link:$PWD/plain:$PWD/gnu $T -x", "[-x]\n"}, {"PATH=/none:$PWD/bad $T -x", "tar: can't run " + folder + "/bad/tar: Exec format error\n"},
    };
    shell("mkdir other link plain; echo >plain/tar; ln -s " + toolsDir + "/tar link; ln -s " + toolsDir + "/tar other");
    writeFile("bad/tar", "\177ELF", 0755);
    for (const auto& [command, got] : cases)
        EXPECT_EQ(shell("unset LC_ALL LC_CTYPE LC_MESSAGES LANGUAGE TAPE TAR_RSH; T=" + toolsDir + "/tar PATH=" + toolsDir + ":$PWD/gnu:/usr/bin:/bin; " + command).output, got) << command;
}

TEST_F(TarTest, ComplaintsAreJudged) {
    writeProgram("gnu/tar", "printf \"$SAID\" >&2; eval \"$DONE\"");
    const std::string gone = "tar: gone: Not found in archive\n", twice = "tar: a b: Not found in archive", passed = "tar: not in this archive, passed over: gone\n";
    const std::string bye = "tar: Exiting with failure status due to previous errors\n", over = "tar: Error is not recoverable: exiting now\n";
    const std::string remarks = "tar: Removing leading `/' from member names\ntar: Substituting `.' for empty member name\ntar: Record size = 8 blocks\ntar: Ignoring unknown extended header keyword 'x'\n"
        "tar: A lone zero block at 3\ntar: a: implausibly old time stamp 1970-01-01\ntar: a: time stamp 2099-01-01 is 9 s in the future\ntar: a: Unknown file type; file ignored\n";
    const std::string groups = "tar: initgroups: Operation not permitted\n";
    const std::tuple<std::string, const char*, int, std::string> cases[] = {
        {gone + bye, "exit 2", 0, passed}, {gone + twice, "exit 2", 1, "tar: not in this archive, passed over: gone a b\n"}, {remarks + gone + bye, "exit 2", 0, remarks + passed},
        {gone + "tar: base: Cannot open\n" + bye, "exit 2", 2, "tar: base: Cannot open\n"}, {"ssh: no\n" + gone, "exit 2", 0, "ssh: no\n" + passed},
        {gone + bye, "exit 1", 1, gone + bye}, {over, "exit 2", 2, over}, {"", "exit 3", 3, ""}, {"unended", "exit 0", 0, "unended"}, {"tar: ", "exit 2", 2, "tar: "},
        {groups + over, "exit 2", 2, groups + "tar: this system's tar reads remote tapes for the super-user only\n"}, {"tar: x initgroups: \n", "exit 2", 2, "tar: x initgroups: \n"}, {gone, "kill -KILL $$", 137, "Killed\n"},
        {"ssh: stays\n", "sleep 30 & echo $! >sleeper; exit 0", 0, "ssh: stays\n"}};
    for (const auto& [said, done, status, output] : cases) {
        setenv("SAID", said.c_str(), 1);
        setenv("DONE", done, 1);
        const Outcome outcome = shell("PATH=" + toolsDir + ":$PWD/gnu:/usr/bin:/bin; tar xf a.tar gone base >out/log 2>&1; s=$?; cat out/log; exit $s");
        EXPECT_EQ(outcome.status, status) << said;
        EXPECT_EQ(outcome.output, output);
    }
    shell("kill $(cat sleeper)");
}

TEST_F(TarTest, CutOffArchivesAreKnownByTheirHeaders) {
    writeProgram("gnu/tar", "");
    // Forty headers, more than are read at a time, and the end; an archive that is no longer
    // understood is left to GNU tar.
    shell("mkdir many; touch $(seq -f many/%.0f 39); /bin/tar cf many.tar many; truncate -s 9G huge; /bin/tar cf - huge | head -c 512 >huge.tar;"
          "for i in $(seq 40); do echo >>more && truncate -s +1M more; done; /bin/tar cSbf 1 - more | head -c -1024 >more.tar;"
          "/bin/tar cf fifo.tar --format=ustar many/1 base extra");
    const std::string many = contentsOf("many.tar"), one = contentsOf("a.tar");
    std::string cut;
    for (const std::size_t size : {0, 1, 511, 512, 700, 1024, 8192, 8704, 20479, 20480, 20481, 20992, 21504}) {
        writeFile("part.tar", many.substr(0, size));
        cut += std::to_string(size) + (shell("PATH=" + toolsDir + ":$PWD/gnu:/usr/bin:/bin; tar tf part.tar").status == 2 ? " cut, " : " whole, ");
    }
    EXPECT_EQ(cut, "0 whole, 1 cut, 511 cut, 512 cut, 700 cut, 1024 cut, 8192 cut, 8704 cut, 20479 cut, 20480 cut, 20481 cut, 20992 whole, 21504 whole, ");
    const auto judged = [&](const std::string& archive) { const Outcome outcome = shell("PATH=" + toolsDir + ":$PWD/gnu:/usr/bin:/bin; tar tf " + archive); return std::to_string(outcome.status) + outcome.output; };
    EXPECT_EQ((Row{judged("huge.tar"), judged("more.tar"), judged("short.tar"), judged("text.tar"), judged("out"), judged("none"), judged("a.tar"), judged("link.tar")}),
              "0|2tar: more.tar is cut off: it has no end\n|0|2tar: text.tar is cut off: it has no end\n|0|0|0|0|");
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
        EXPECT_EQ(outcome.status, status) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, output)) << outcome.output;
        EXPECT_EQ("own\nown\n", shell("cd place; cat bin/* ../outside/*; find . ! -type l -perm "
                                      "/7022 -o -type b,c -o -name victim -links +1")
                                    .output);
    }
    EXPECT_EQ("base\n4711\n", shell("chmod 4711 base; /bin/tar cf a.tar base; cd out;"
                                    "tar xvopf ../a.tar base; stat -c %a base")
                                  .output);
}

TEST_F(TarTest, FullFoldersAndOptionsOfGnuTar) {
    const Outcome full = shell("mkdir -p full/base/x && cd full && tar xof ../a.tar base extra no");
    EXPECT_EQ(full.status, 2) << "a member that can't be written is worse than a missing one";
    EXPECT_EQ(full.output, "tar: base/: Cannot open: Is a directory\n");
    EXPECT_EQ(shell("tar -xf a.tar -C out base gone").status, 2);
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
    EXPECT_EQ(outcome.output, "1\nruns\n143\ngone\n");
}

}  // namespace

#include <gtest/gtest.h>

#include "tests/fixtures/scratch.h"

namespace {

using SampleTest = ScratchTest;

const std::string sample = ZARN_SOURCE_DIR "/sample";

TEST_F(SampleTest, PackingAgainGivesTheSameAndReplacesNothingForeign) {
    const std::string pack = "'" + sample + "/pack' dist /bin/true '" + toolsDir + "'";
    ASSERT_EQ(0, outcomeOf(pack + " gz cdrom iso && cp -R dist/gz . && rm gz/Zarn_sizes").status);
    outcomeOf("xorriso -osirrox on -indev dist/iso/Zarn2.0.iso -extract / disc");
    EXPECT_EQ(outcomeOf("diff -r disc dist/cdrom; find disc dist/cdrom -perm /222").output, "");
    EXPECT_EQ(outcomeOf(pack + " gz cdrom").status, 0);
    EXPECT_EQ(outcomeOf("cmp gz/Zarn2.0.tar.gz dist/gz/Zarn2.0.tar.gz").status, 0);
    for (const char* medium : {"gz", "cdrom"})
        EXPECT_EQ(
            0, outcomeOf("cd dist/" + std::string(medium) + " && sha256sum -c SHA256SUMS").status);
    EXPECT_EQ(outcomeOf("mv gz dist/tar; " + pack + " tar").status, 1) << "not of its making";
    EXPECT_TRUE(fs::exists("dist/tar/Zarn2.0.tar.gz"));
    outcomeOf("chmod -R u+w disc dist");
}

TEST_F(SampleTest, WhatCannotBeInstalledIsNotPublished) {
    const char* const cases[][2] = {
        {"chmod -x $T/bin/Zarn.install", "bin/Zarn.install is not executable"},
        {"rm $T/bin/Zarn.installDesktop", "bin/Zarn.installDesktop"},
        {"mv $T/bin $T/b; ln -s b $T/bin", "no folder own/Zarn_system/bin"},
        {"mkdir $T/models", "Zarn_system/models"},
        {"ln -s /usr $T/data/out", "data/out leads out"},
        {"touch $T/resources/.Zarn_inst", "resources/.Zarn_inst"},
        {"mkdir $T/subsystems", "Zarn_system/subsystems"},
        {"mv own/subsystems/src 'own/subsystems/translatorDev src'", "Dev src is no"},
        {"chmod u+s own/subsystems/src/README", "src/README"},
        {"touch \"own/subsystems/src/a\nb\"", "src/a\\nb'"},
        {"mkfifo $T/data/pipe", "data/pipe"},
        {"touch $T/data/$(seq -s0 60)", "name is too long"}};
    for (const auto& [spoil, named] : cases) {
        SCOPED_TRACE(spoil);
        outcomeOf("rm -rf own; mkdir own; cp -R '" + sample + "'/[Zs]*s* own");
        const Outcome outcome = outcomeOf("T=own/Zarn_system; " + std::string(spoil) +
                                          "; '" ZARN_SOURCE_DIR
                                          "/publish/make-distribution' --output dist --medium two "
                                          "--installer /bin/true --tools '" +
                                          toolsDir + "' $T own/subsystems/*");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(holds(outcome.output, named)) << outcome.output;
        EXPECT_FALSE(fs::exists("dist/two"));
    }
}

/// An installed tree as the super-user sees it, with the test's own folders in place of the
/// system's for commands and icons.
class ScriptsTest : public ScratchTest {
protected:
    void SetUp() override {
        if (!mayBecomePrivate()) GTEST_SKIP() << "this user may make no place of its own";
        outcomeOf("mkdir home opt; chmod 755 .; cp -R '" + sample + "/Zarn_system' opt");
        outcomeOf("chmod -R a-w opt/Zarn_system");
    }
    void TearDown() override { outcomeOf("chmod -R u+w ."); }

    // $T is the folder, $B the tree's programs.
    Outcome run(const std::string& script) const {
        writeFile("script", "export T=" + folder + " HOME=" + folder + "/home" +
                                "\nB=$T/opt/Zarn_system/bin\n" + script);
        return outcomeOf(
            "unshare -mr sh -c 'mount -t tmpfs -o mode=755 none /usr/sbin && mount -t tmpfs none "
            "/usr/share/applications && sh " +
            folder + "/script'");
    }
};

TEST_F(ScriptsTest, WhatIsMadeIsTakenAwayAgain) {
    const Outcome outcome = run(R"(cd $T/opt; set -e
        mkdir data; echo kept >data/file; ln -s $T/opt/data Zarn_system/data/out
        Zarn_system/bin/Zarn.install $T/opt PNT Zarn-Pinnet
        Zarn_system/bin/Zarn.installDesktop $T/opt Zarn-Pinnet
        /usr/sbin/Zarn-Pinnet
        Zarn_system/bin/Zarn.install $T/opt AMB Zarn-Ambrel scriptOnly
        echo made: $(ls /usr/sbin /usr/share/applications)
        $B/Zarn.install -r $T/opt/Zarn_system >/dev/null
        echo left: $(ls -A /usr/sbin /usr/share/applications $HOME) $(ls $T/opt) $(cat data/file))");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const std::string data = fs::canonical("opt").string() + "/Zarn_system\n";
    const std::string parts[] = {
        "Zarn 2.0 Pinnet\nData: " + data, " data kept\n",
        "made: /usr/sbin: Zarn-Ambrel /usr/share/applications: Zarn-Pinnet.desktop"};
    for (const std::string& part : parts)
        EXPECT_TRUE(holds(outcome.output, part)) << part << outcome.output;
    EXPECT_FALSE(holds(outcome.output.substr(outcome.output.find("left:")), "Zarn-"))
        << outcome.output;
}

TEST_F(ScriptsTest, TouchNothingThatIsNotTheSuites) {
    const char* const foreignCommand =
        "echo mine >/usr/sbin/Zarn-Pinnet; $B/Zarn.install $T/opt PNT Zarn-Pinnet; r=$?; "
        "[ \"$(cat /usr/sbin/Zarn-Pinnet)\" = mine ] && exit $r; exit 0";
    const char* const plantedIcon =
        "ln -s $T/victim /usr/share/applications/Zarn-Pinnet.desktop; "
        "$B/Zarn.installDesktop $T/opt Zarn-Pinnet";
    const char* const cases[] = {
        foreignCommand,
        plantedIcon,
        "$B/Zarn.install -r /",
        "$B/Zarn.install -r ''",
        "$B/Zarn.install -r $T/opt",
        "$B/Zarn.install -r $T/opt/Zarn_system/..",
        "mkdir -p $T/x/Zarn_system; $B/Zarn.install -r $T/x/Zarn_system",
        "mkdir $T/y; ln -s $T/opt/Zarn_system $T/y; $B/Zarn.install -r $T/y/Zarn_system/",
        "$B/Zarn.install $T/none PNT Zarn-Pinnet",
        "$B/Zarn.install $T/opt PNT ../Zarn-Pinnet",
        "$B/Zarn.install $T/opt PNT Zarn-Pinnet other"};
    for (const char* script : cases) {
        SCOPED_TRACE(script);
        const Outcome outcome = run(script);
        EXPECT_TRUE(outcome.status == 1 || outcome.status == 2) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, "Zarn.install")) << outcome.output;
        EXPECT_TRUE(fs::exists("opt/Zarn_system/data/scenes/welcome.iv"));
    }
    EXPECT_FALSE(fs::exists("victim"));
}

}  // namespace

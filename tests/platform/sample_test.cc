#include <gtest/gtest.h>

#include <string>

#include "tests/platform/platform_test.h"

namespace fs = std::filesystem;

namespace {

const char* const subsystems[] = {"textures",      "materials",   "projects", "models",
                                  "translatorsIn", "translators", "render",   "pictures",
                                  "translatorDev", "src"};

Outcome pack(const ScratchFolder& folder, const std::string& media) {
    return outcomeOf(ZARN_SOURCE_DIR "/sample/pack " + (folder / "dist") + " /bin/true " +
                     toolsDir + " " + media);
}

TEST(SampleTest, EveryMediumHoldsTheSuite) {
    const ScratchFolder folder;
    ASSERT_EQ(0, pack(folder, "").status);
    const struct {
        const char* archive;
        bool hasBase;
        bool hasSubsystems;
    } cases[] = {{"tar/Zarn2.0.tar", true, true},
                 {"gz/Zarn2.0.tar.gz", true, true},
                 {"Z/Zarn2.0.tar.Z", true, true},
                 {"two/Zarn2.0.product.tar.gz", true, false},
                 {"two/Zarn2.0.subsystems.tar", false, true},
                 {"tape/tape.img", true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.archive);
        const std::string file = folder / (std::string("dist/") + c.archive);
        const std::string list = "\n" + outcomeOf("/bin/tar tf " + file).output;
        for (const char* base : {"bin/Zarn.install", "bin/Zarn_tools/tar", "resources/"})
            EXPECT_EQ(c.hasBase, holds(list, std::string("\nZarn_system/") + base + "\n")) << base;
        for (const char* name : subsystems)
            EXPECT_EQ(c.hasSubsystems, holds(list, std::string("\nsubsystems/") + name + "/\n"));
        EXPECT_FALSE(holds(list, "Zarn_system/subsystems"));
        const fs::path medium = fs::path(file).parent_path();
        EXPECT_TRUE(fs::exists(medium / "Zarn_install"));
        EXPECT_TRUE(fs::exists(medium / "Zarn_tools/xwsh"));
    }
    EXPECT_EQ(0U, fs::file_size(folder / "dist/tape/tape.img") % 10240);
    for (const char* name : subsystems)
        EXPECT_TRUE(
            fs::is_directory(folder / (std::string("dist/cdrom/Zarn_system/subsystems/") + name)))
            << name;
    EXPECT_EQ("", outcomeOf("find " + (folder / "dist/cdrom") + " -perm /222").output);
}

TEST(SampleTest, PackingAgainGivesTheSameAndSparesWhatIsNotItsOwn) {
    const ScratchFolder folder;
    ASSERT_EQ(0, pack(folder, "gz cdrom").status);
    const std::string first = contentsOf(folder / "dist/gz/Zarn2.0.tar.gz");
    ASSERT_EQ(0, pack(folder, "gz cdrom").status);
    EXPECT_TRUE(first == contentsOf(folder / "dist/gz/Zarn2.0.tar.gz"));
    fs::create_directory(folder / "dist/tar");
    EXPECT_EQ(1, pack(folder, "tar").status);
    EXPECT_EQ(1, pack(folder, "floppy").status);
}

/// An installed tree as the super-user finds it, in a place where the system's folders for
/// commands and icons are the test's own.
class ScriptsTest : public testing::Test {
protected:
    ScriptsTest() {
        fs::create_directories(folder / "home");
        fs::create_directories(folder / "opt");
        fs::copy(ZARN_SOURCE_DIR "/sample/Zarn_system", folder / "opt/Zarn_system",
                 fs::copy_options::recursive);
        outcomeOf("chmod 755 " + (folder / ".") + "; chmod -R a-w " + (folder / "opt/Zarn_system"));
    }

    // $T is the folder, $B the tree's programs.
    Outcome run(const std::string& script) const {
        const std::string file =
            folder.write("script", "export T=" + (folder / "") + " HOME=" + (folder / "home") +
                                       "\nB=$T/opt/Zarn_system/bin\n" + script);
        return outcomeOf(user + " unshare -mr sh -c 'mount -t tmpfs -o " + options +
                         " none /usr/sbin && mount -t tmpfs none /usr/share/applications && sh " +
                         file + "'");
    }

    ScratchFolder folder;
    std::string user;
    std::string options = "mode=755";
};

TEST_F(ScriptsTest, WhatIsMadeIsTakenAwayAgain) {
    const Outcome outcome = run(R"(cd $T/opt; set -e
        mkdir data; echo kept >data/file; ln -s $T/opt/data Zarn_system/data/out
        Zarn_system/bin/Zarn.install $T/opt PNT Zarn-Pinnet
        Zarn_system/bin/Zarn.installDesktop $T/opt Zarn-Pinnet
        /usr/sbin/Zarn-Pinnet
        Zarn_system/bin/Zarn.install $T/opt AMB Zarn-Ambrel scriptOnly
        ls /usr/sbin /usr/share/applications
        $B/Zarn.install -r $T/opt/Zarn_system >/dev/null
        echo left: $(ls -A /usr/sbin /usr/share/applications $HOME) $(ls $T/opt) $(cat data/file))");
    EXPECT_EQ(0, outcome.status) << outcome.output;
    EXPECT_TRUE(holds(
        outcome.output,
        "Zarn 2.0 Pinnet\nData: " + fs::canonical(folder / "opt").string() + "/Zarn_system\n"))
        << outcome.output;
    EXPECT_TRUE(holds(outcome.output,
                      "/usr/sbin:\nZarn-Ambrel\n\n/usr/share/applications:\n"
                      "Zarn-Pinnet.desktop\n"))
        << outcome.output;
    EXPECT_TRUE(holds(outcome.output, " data kept\n")) << outcome.output;
    EXPECT_FALSE(holds(outcome.output.substr(outcome.output.find("left:")), "Zarn-"))
        << outcome.output;
}

TEST_F(ScriptsTest, WithoutTheSystemsFoldersTheHomeServes) {
    options = "ro";
    const Outcome outcome = run(R"(cd $T/opt; mount -o remount,ro /usr/share/applications
        $B/Zarn.install . CRV Zarn-Corvan && $B/Zarn.installDesktop . Zarn-Corvan &&
        $HOME/Zarn-Corvan && ls $HOME/.local/share/applications &&
        $B/Zarn.install -r Zarn_system && echo left: $(ls -A $HOME .))");
    EXPECT_EQ(0, outcome.status) << outcome.output;
    EXPECT_TRUE(holds(outcome.output, "Zarn 2.0 Corvan\n")) << outcome.output;
    EXPECT_TRUE(holds(outcome.output, "\nZarn-Corvan.desktop\n")) << outcome.output;
    EXPECT_FALSE(fs::exists(folder / "opt/Zarn_system"));
    EXPECT_TRUE(fs::is_empty(folder / "home")) << outcome.output;
}

TEST_F(ScriptsTest, Refusals) {
    const char* const cases[] = {
        "$B/Zarn.install -r /",
        "$B/Zarn.install -r ''",
        "$B/Zarn.install -r $T/opt",
        "$B/Zarn.install -r $T/opt/Zarn_system/..",
        "mkdir -p $T/x/Zarn_system; "
        "$B/Zarn.install -r $T/x/Zarn_system",
        "mkdir $T/y; ln -s $T/opt/Zarn_system $T/y; "
        "$B/Zarn.install -r $T/y/Zarn_system/",
        "$B/Zarn.install $T/none PNT Zarn-Pinnet",
        "$B/Zarn.install $T/opt PNT Zarn-Ambrel",
        "$B/Zarn.install $T/opt PNT ../Zarn-Pinnet",
        "$B/Zarn.install $T/opt PNT Zarn-Pinnet other",
        "echo mine >/usr/sbin/Zarn-Pinnet; "
        "$B/Zarn.install $T/opt PNT Zarn-Pinnet; r=$?; [ \"$(cat /usr/sbin/Zarn-Pinnet)\" = mine ] "
        "&& exit $r; exit 0",
        "ln -s $T/victim /usr/share/applications/Zarn-Pinnet.desktop; "
        "$B/Zarn.installDesktop $T/opt Zarn-Pinnet",
        "$B/Zarn.installDesktop $T/opt Zarn"};
    for (const char* script : cases) {
        SCOPED_TRACE(script);
        const Outcome outcome = run(script);
        EXPECT_TRUE(outcome.status == 1 || outcome.status == 2) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, "Zarn.install")) << outcome.output;
        EXPECT_TRUE(fs::exists(folder / "opt/Zarn_system/data/scenes/welcome.iv"));
    }
    EXPECT_FALSE(fs::exists(folder / "victim"));
}

TEST_F(ScriptsTest, TheTranslatorsPageIsShownWithoutABrowser) {
    const Outcome outcome = run("unset DISPLAY WAYLAND_DISPLAY; $B/Zarn.installTranslators");
    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(holds(outcome.output, "http://www.zarn.example/translators.html"));
}

}  // namespace

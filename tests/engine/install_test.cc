#include "tests/fixtures/installing.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>

#include "engine/session.h"

namespace {

TEST_F(Installing, WorksInLocationsThatTheShellWouldMistake) {
    pack();
    // If a shell expanded it, ${IFS} would become the blank that a location may not contain.
    for (const char* name : {"plain", "it's", "a\"b", "$(touch${IFS}oops)", "`touch${IFS}oops`",
                             "a;b&c", "*", "~", "#x", "\\n", "\xe4\xf6"}) {
        SCOPED_TRACE(name);
        start(std::string("in/") + name, {1});
        EXPECT_TRUE(KvmInstallMgr::install()) << message();
        EXPECT_EQ(subsystems(), allSubsystems);
        EXPECT_EQ(contentsOf(suite / "script-said"), suite.string() + "\nPNT\nZarn-Pinnet\n");
        EXPECT_EQ(contentsOf(record), contentsOf(suite / "Zarn_system/resources/.Zarn_inst"));
        EXPECT_EQ(listing(suite), "Zarn_system script-said ");
        EXPECT_TRUE(KvmInstallMgr::installedInThisSession());
    }
    EXPECT_FALSE(fs::exists(here / "oops"));
}

TEST_F(Installing, ReadsEachMedium) {
    pack("tape");
    pack("Zarn2.0 a.tar", "Zarn_system");
    pack("zarn2.0b.TAR", "subsystems");
    ASSERT_EQ(std::system("compress zarn2.0b.TAR; cp -r make/Zarn_system .;"
                          "cp -r make/subsystems Zarn_system; rm -r Zarn_system/subsystems/src;"
                          "chmod 5555 Zarn_system/subsystems/models Zarn_system/resources"),
              0);
    const struct {
        std::string text;
        std::vector<int> buttons, more;
        std::string added;
    } media[] = {{here / "tape", {}, {0}, here / "tape"},
                 {here / "tape", {}, {}, here / "tape"},
                 {" \"Zarn2.0 a.tar\" zarn2.0b.TAR.Z", {0, 1}, {0}, "zarn2.0b.TAR.Z"},
                 {"Zarn_system", {}, {0}, here / "Zarn_system"}};
    for (int medium = KvmLocalTape; medium <= KvmCdRom; ++medium) {
        const auto& c = media[medium];
        keepOnly("models");
        start("in" + std::to_string(medium), c.buttons, medium);
        KvmInstallSubsystem[9].selected = medium == KvmCdRom;
        if (medium == KvmRemoteTape) {
            ASSERT_EQ(chdir(suite.c_str()), 0);
            type(kviInstallLocationText, ".");
        }
        type(kviInstallReadText, c.text);
        install("install");
        KvmInstallMgr::init();
        KvmInstallMgr::setSubsystem(kviSubsystemTextures, 1);
        type(kviInstallReadText, c.added);
        answerWith(c.more);
        if (medium != KvmRemoteTape) install("add");
        forget();
    }
    EXPECT_EQ(outcomeOf("find " + folder + "/in3 -perm /7000").output, "") << "as with archives";
}

TEST_F(Installing, TellsWhyAMediumCanNotBeRead) {
    writeFile(here / "text", "this is no archive");
    writeFile(here / "Zarn2.0.tar", "this is none");
    keepOnly("models");
    const char* const texts[] = {"text", "/dev/null", "Zarn2.0.tar", "no disc"};
    for (int medium = KvmLocalTape; medium <= KvmCdRom; ++medium) {
        start("suite", {}, medium);
        type(kviInstallReadText, here / texts[medium]);
        install("install");
        fs::remove_all(suite);
        forget();
    }
}

TEST_F(Installing, TellsWhichStepFailed) {
    brief = true;
    const struct {
        const char* program;
        const char* lines;
        std::vector<int> buttons;
    } steps[] = {
        {"touch", "echo no space >&2; exit 1", {}},
        {"tar", "echo torn >&2; exit 2", {}},
        {"tar", "/usr/bin/tar \"$@\"; rm Zarn_system/bin/Zarn.install", {0}},
        {"tar", "/usr/bin/tar \"$@\"; chmod -x Zarn_system/bin/Zarn.install", {0}},
        {"tar", "/usr/bin/tar \"$@\"; ln -sf /bin/true Zarn_system/bin/Zarn.install", {0}},
        {"tar", "/usr/bin/tar \"$@\"; mv Zarn_system real; ln -s real Zarn_system", {0}},
        {"tar", "/usr/bin/tar \"$@\"; rm -r Zarn_system/resources", {1}},
        {"tar", "/usr/bin/tar \"$@\"; rm -r subsystems/*; rm ../Zarn_install", {0}},
        {"mv", "echo busy >&2; exit 1", {0}},
        {"cp", "echo full >&2; exit 1", {0}},
        {"rm", "case $* in *tar) echo stays >&2; exit 1; esac; exec /bin/rm \"$@\"", {0}},
        {"tar",
         "/usr/bin/tar \"$@\"; echo exit 1 >Zarn_system/bin/Zarn.install;"
         "rm ../Zarn_install; mkfifo ../Zarn_install",
         {1}},
    };
    for (const auto& [program, lines, buttons] : steps) {
        ASSERT_EQ(chdir(here.c_str()), 0);
        pack();
        keepOnly("models");
        fs::remove("Zarn_install");
        writeProgram("Zarn_install", "");
        start("suite", buttons);
        script(program, lines);
        install(program);
        fs::remove(here / "tools" / program);
        fs::remove_all(suite);
        forget();
    }
}

TEST_F(Installing, StopsBeforeItDoesHarm) {
    pack();
    ASSERT_EQ(std::system("gzip -k Zarn2.0.tar; mkfifo pipe pipe.tar; cp Zarn2.0.tar.gz cut.tar.gz;"
                          "truncate -s 100 cut.tar.gz; touch cut.tar file"),
              0);
    writeFile(here / "mine/subsystems/letter", "kept");
    for (const char* name : {"link", "suite", "other", "ok"}) fs::create_directory(name);
    fs::create_symlink("../planted", "link/.Zarn_system");
    fs::create_directory_symlink("../other", "suite/Zarn_system");
    start("ok", {});
    const struct {
        std::string location;
        int medium;
        std::string text;
    } cases[] = {
        {"file", KvmTarFile, "Zarn2.0.tar"},        {"full", KvmTarFile, "Zarn2.0.tar"},
        {"mine", KvmTarFile, "Zarn2.0.tar"},        {"link", KvmTarFile, "Zarn2.0.tar"},
        {"suite", KvmTarFile, "Zarn2.0.tar"},       {"ok", KvmTarFile, ""},
        {"ok", KvmTarFile, "Zarn2.0.tar.gz"},       {"ok", KvmTarFile, "cut.tar.gz"},
        {"ok", KvmTarFile, "nothing.tar"},          {"ok", KvmTarFile, "pipe.tar"},
        {"ok", KvmTarFile, std::string(1100, 'x')}, {"ok", KvmLocalTape, here / "pipe"},
        {"ok", KvmRemoteTape, here / "pipe"},
    };
    for (const auto& [location, medium, text] : cases) {
        KvmInstallMgr::_info.readFrom = medium;
        type(kviInstallReadText, text);
        KvmInstallSubsystem[0].sizeMB = location == "full" ? 1e9F : 0.2F;
        type(kviInstallLocationText, here / location);
        install(location);
    }
}

TEST_F(Installing, StartsAgain) {
    pack();
    keepOnly("models");
    script("tar", "/usr/bin/tar \"$@\"; exit 2");
    start("suite", {});
    install("torn");
    install("torn again");
    fs::remove(here / "tools/tar");
    // A new process finds the same.
    ASSERT_EQ(chdir(here.c_str()), 0);
    KvmInstallMgr::_info = {};
    KvmInstallMgr::initInfo();
    tell("new process", [] { return KvmTellOfUnfinished(), 0; });
    EXPECT_EQ(KvmInstallMgr::_info.path, suite.string());
    KvmInstallMgr::setReadFrom(KvmTarFile);
    KvmInstallMgr::init();
    keepOnly("models");
    install("declined", {1});
    start("other", {1});
    install("elsewhere, declined");
    fs::remove(suite);
    install("elsewhere, no folder", {0, 1});
    start("suite", {});
    answers.prepare({[this] {
        fs::rename(suite, here / "aside");
        return answer(0)();
    }});
    install("gone");
    fs::rename(here / "aside", suite);
    script("rm", "case $* in *subsystems) echo busy >&2; exit 1; esac; exec /bin/rm \"$@\"");
    install("rest stays", {0});
    fs::remove(here / "tools/rm");
    install("done", {0, 1});
    EXPECT_EQ(KvmUnfinishedPlace(), "");
    // Its names belong to the user again.
    writeFile(suite / "subsystems/letter", "kept");
    KvmInstallMgr::init();
    KvmInstallMgr::setSubsystem(kviSubsystemTextures, 1);
    install("a folder");
}

TEST_F(Installing, FinishesWhatOnlyLacksItsRecord) {
    pack();
    keepOnly("models");
    start("suite", {});
    // The record's name is taken while the question about the archive is open.
    answers.prepare({[this] {
        fs::create_directory(record);
        return answer(0)();
    }});
    install("no record");
    install("still none");
    fs::remove(record);
    tell("new process", [] { return KvmTellOfUnfinished(), 0; });
    keepOnly("textures");
    install("other subsystems", {1});
    keepOnly("models");
    KvmInstallMgr::_info.product = 1;
    install("another edition", {1});
    KvmInstallMgr::_info.product = 0;
    script("tar", "exit 2");
    writeFile(here / "SHA256SUMS", std::string(64, '0') + "  Zarn2.0.tar\n");
    install("finished");
}

TEST_F(Installing, ChangesTheEdition) {
    installBare();
    mark(kviInstallAmbrel, 1);
    KvmInstallMgr::init();
    const fs::path product = suite / "Zarn_system/bin/Zarn.install";
    const fs::path copy = suite / "Zarn_system/resources/.Zarn_inst";
    const std::string lines = contentsOf(product);
    writeFile(product, "#!/bin/sh\nexit 1\n", 0755);
    install("script fails");
    writeFile(product, lines, 0755);
    fs::remove(copy);
    fs::create_directory(copy);
    install("no record");
    fs::remove(copy);
    install("changed");
    tell("shown", [] { return KvmInstallMgr::init(), 0; });
    mark(kviInstallCorvan, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    answers.prepare({answer(0), answer(1)});
    install("changed, but nothing added");
    story += neutral(contentsOf(record)) + neutral(contentsOf(suite / "script-said"));
    EXPECT_EQ(contentsOf(record), contentsOf(copy));
}

TEST_F(Installing, AddsAllOrNothing) {
    installBare();
    ASSERT_EQ(chdir(here.c_str()), 0);
    addMarked("Zarn2.0.tar", {});
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 0);
    addMarked("Zarn2.0.tar", {});
    pack("Zarn2.0a.tar", "subsystems/textures");
    pack("Zarn2.0b.tar", "subsystems/models");
    ASSERT_EQ(std::system("cp Zarn2.0b.tar cut.tar; truncate -s 600 cut.tar; gzip Zarn2.0b.tar"),
              0);
    for (const Widget w : {kviSubsystemModels, kviSubsystemTextures})
        KvmInstallMgr::setSubsystem(w, 1);
    addMarked("Zarn2.0a.tar cut.tar", {0});
    addMarked("cut.tar Zarn2.0a.tar", {});
    addMarked("Zarn2.0a.tar Zarn2.0b.tar.gz", {1});
    addMarked("Zarn_install", {0});
    script("tar", "touch ../Zarn2.0b.tar; exec " + toolsDir + "/tar \"$@\"");
    addMarked("Zarn2.0a.tar Zarn2.0b.tar.gz", {});
    fs::remove(here / "Zarn2.0b.tar");
    fs::remove(here / "tools/tar");
    script("mv", "echo busy >&2; exit 1");
    addMarked("Zarn2.0a.tar", {0});
    fs::remove_all(suite / "subsystems");
    fs::remove(here / "tools/mv");
    const int other = open(suite.c_str(), O_RDONLY | O_DIRECTORY);
    flock(other, LOCK_EX);
    addMarked("Zarn2.0a.tar", {});
    close(other);
    addMarked("Zarn2.0a.tar", {0});
    mark(kviSubsystemTextures, 0);
    addMarked("Zarn2.0b.tar.gz", {0});
}

TEST_F(Installing, SetsUpMoreForTheSuperUser) {
    for (const char* end : {"Desktop", "Translators"})
        writeProgram(here / "make/Zarn_system/bin" / (std::string("Zarn.install") + end), "");
    pack();
    keepOnly("models");
    KvmInstallMgr::_isRoot = 1;
    start("suite", {1, 1, 1});
    install("all declined");
    EXPECT_TRUE(XtIsManaged(kviIInstallIcon));
    XtUnmanageChild(kviIInstallIcon);
    const fs::path bin = suite / "Zarn_system/bin";
    for (const char* end : {"", "exit 1"}) {
        writeProgram(bin / "Zarn.installDesktop", end);
        answerWith({0});
        tell("icons", KvmInstallMgr::installDesktop);
    }
    answerWith({0});
    tell("translators", KvmInstallMgr::installTranslators);
    type(kviInstallIconPath, here / "no/bin");
    tell("no folder", KvmInstallMgr::installIcon_icon);
    fs::create_directory(here / "no");
    tell("link", KvmInstallMgr::installIcon_icon);
    type(kviInstallIconPath, "");
    tell("nowhere", KvmInstallMgr::installIcon_icon);
    for (const char* name : {"touch", "rm"}) script(name, "");
    tell("run", KvmInstallMgr::runApp);
    EXPECT_EQ(fs::current_path(), here / "home");
}

TEST_F(Installing, KeepsToItsPlaceAndItsHost) {
    installBare();
    const std::string elsewhere = here / "elsewhere";
    type(kviInstallLocationText, elsewhere);
    install("elsewhere");
    const auto move = [&](const std::string& place) {
        tell("go", [&] { return KvmInstallMgr::setLocation(place.c_str()); });
    };
    move(elsewhere);
    move(suite.string() + "/");
    type(kviInstallLocationText, here / "suite/../suite");
    install("nothing to add");
    ASSERT_TRUE(KvCopyText(KvmInstallMgr::_info.installHostname, "crane"));
    install("another host");
}

TEST_F(Installing, ExtractsOnRequest) {
    installBare();
    ASSERT_EQ(chdir(suite.c_str()), 0);
    const auto copy = [&](int medium, const char* source, bool last,
                          const std::vector<int>& buttons) {
        KvmInstallMgr::_info.readFrom = medium;
        answerWith(buttons);
        tell(source, [&] { return KvmInstallMgr::copyInstall((here / source).c_str(), last); });
    };
    copy(KvmTarFile, "Zarn2.0.tar", true, {});
    KvmInstallSubsystem[3].selected = 1;
    fs::create_directory("subsystems");
    copy(KvmTarFile, "Zarn2.0.tar", false, {});
    copy(KvmTarFile, "Zarn2.0.tar", true, {1});
    copy(KvmTarFile, "Zarn2.0.tar", true, {0});
    KvmInstallSubsystem[0].selected = 1;
    copy(KvmCdRom, "make", true, {0});
    KvmInstallSubsystem[1].selected = 1;
    copy(KvmCdRom, "nothing", true, {0});
}

TEST_F(Installing, ReadsOnlyWhatWasPublished) {
    pack();
    ASSERT_EQ(std::system("sha256sum Zarn2.0.tar | sed 's/^/# content /' >content; "
                          "gzip Zarn2.0.tar; cp -r make/Zarn_system . && "
                          "cp -r make/subsystems Zarn_system && "
                          ">\"$(printf 'Zarn_system/a\\rb\\\\')\"; "
                          "find Zarn_system -type f | sort | xargs -d '\\n' sha256sum >disc"),
              0);
    keepOnly("src");
    brief = true;
    // Each change stays in place for the later cases, whose files have earlier lines in the list.
    const struct {
        const char* sums;
        int medium;
        bool refused;
    } cases[] = {{"printf 'A%063d  Zarn2.0.tar.gz\\r\\n' 0", KvmTarFile, true},
                 {"echo \"# content $Z  Zarn2.0.tar\"", KvmTarFile, true},
                 // Compressed by another gzip, so the bytes differ.
                 {"echo \"$Z  Zarn2.0.tar.gz\"; cat content", KvmTarFile, false},
                 // The models are not selected.
                 {"cat disc; echo >>Zarn_system/subsystems/models/content", KvmCdRom, false},
                 {"cat disc; echo >>Zarn_system/subsystems/src/content", KvmCdRom, true},
                 {"cat disc; echo >>Zarn_system/resources/splash", KvmCdRom, true},
                 {"cat disc; rm Zarn_system/bin/Zarn.install", KvmCdRom, true}};
    for (const auto& [sums, medium, refused] : cases) {
        outcomeOf("cd " + folder + "; Z=" + std::string(64, '0') + "; { echo x; echo y${Z#0}; " +
                  sums + "; } >SHA256SUMS");
        start("suite", refused || medium == KvmCdRom ? std::vector<int>{} : std::vector{1}, medium);
        EXPECT_NE(install(sums) != 0, refused);
        EXPECT_EQ(refused, fs::remove_all(suite / "Zarn_system") == 0);
        forget();
    }
}

TEST_F(Installing, CopiesADisc) {
    installBare();
    fs::rename(here / "make/subsystems", here / "make/Zarn_system/subsystems");
    fs::remove_all(here / "make/Zarn_system/subsystems/materials");
    writeFile(suite / "subsystems/letter", "kept");
    const auto add = [&](const char* heading, Widget toggle, const std::vector<int>& buttons) {
        KvmInstallMgr::setReadFrom(KvmCdRom);
        KvmInstallMgr::setReadText((here / "make/Zarn_system").c_str());
        KvmInstallMgr::init();
        KvmInstallMgr::setSubsystem(toggle, 1);
        answerWith(buttons);
        install(heading);
        KvmInstallMgr::setSubsystem(toggle, 0);
    };
    brief = true;
    add("not on it", kviSubsystemMaterials, {0});
    add("declined", kviSubsystemModels, {1});
    fs::create_directory(suite / "Zarn_system/models");
    add("in the way", kviSubsystemModels, {});
    fs::remove(suite / "Zarn_system/models");
    for (const char* name : {"cp", "mv"}) {
        script(name, "echo busy >&2; exit 1");
        add(name, kviSubsystemModels, {0});
        fs::remove(here / "tools" / name);
    }
    brief = false;
    add("added", kviSubsystemModels, {0});
}

TEST_F(Installing, KeepsARestUntilTheMediumCanBeReadAgain) {
    pack();
    keepOnly("models");
    script("tar", "/usr/bin/tar \"$@\"; exit 2");
    start("suite", {});
    EXPECT_FALSE(KvmInstallMgr::install());
    fs::remove(here / "tools/tar");
    ASSERT_EQ(chdir(here.c_str()), 0);
    ASSERT_EQ(std::system("cp Zarn2.0.tar suite/Zarn_system && cp Zarn2.0.tar suite/subsystems &&"
                          "gzip -c Zarn2.0.tar >other.tar.gz && mkdir empty;"
                          "cp -r suite/Zarn_system suite/Zarn_system.old"),
              0);
    const struct {
        int medium;
        const char* text;
        bool asks;
    } cases[] = {{KvmTarFile, "suite/Zarn_system/Zarn2.0.tar", false},
                 {KvmTarFile, "suite/subsystems/Zarn2.0.tar", false},
                 {KvmTarFile, "Zarn2.0.tar nothing.tar", false},
                 {KvmTarFile, "Zarn2.0.tar other.tar.gz", true},
                 {KvmLocalTape, "other.tar", false},
                 {KvmCdRom, "suite/Zarn_system", false},
                 {KvmCdRom, "suite/Zarn_system.old", true},
                 {KvmCdRom, "empty", false},
                 {KvmCdRom, "make/subsystems", true}};
    for (const auto& [medium, text, asks] : cases) {
        start("suite", asks ? std::vector{1} : std::vector<int>{}, medium);
        type(kviInstallReadText, holds(text, " ") ? text : here / text);
        install(text);
    }
    fs::create_directory(suite / "Zarn_system/subsystems");
    start("suite", {});
    install("two folders");
    // What is elsewhere is not forgotten if nothing comes of an installation.
    const std::string rest = contentsOf(record.string() + ".part");
    start("other", {0});
    type(kviInstallReadText, here / "home/.profile");
    install("elsewhere");
    EXPECT_EQ(contentsOf(record.string() + ".part"), rest);
}

TEST_F(Installing, AsksNobodyOnTheTerminal) {
    pack();
    ASSERT_EQ(std::system("gzip -k Zarn2.0.tar && compress Zarn2.0.tar; echo >gunzip"), 0);
    script("cp", "case $* in *gunzip*) exit 0; esac; exec /bin/cp \"$@\"");
    keepOnly("models");
    script("gunzip", "echo none >&2; exit 1");
    start("suite", {});
    install("no gunzip");
    fs::remove(here / "tools/gunzip");
    install("install", {1});
}

TEST_F(Installing, TakesNobodyElsesSuiteForItsOwnRest) {
    pack();
    writeFile(record.string() + ".part", "# PATH:    " + (here / "suite").string() + "\n");
    writeFile(here / "suite/Zarn_system/resources/.Zarn_inst", "# PROGRAM: Zarn-Pinnet\n");
    start("suite", {});
    EXPECT_EQ(KvmUnfinishedPlace(), "");
    install("install");
}

TEST_F(Installing, RaisesItsTerminalForARemoteTape) {
    pack();
    Display* display = XtDisplay(topLevel);
    const Window root = DefaultRootWindow(display);
    XSetWindowAttributes free = {};
    free.override_redirect = True;
    std::vector<Window> windows;
    for (int i = 0; i < 2; ++i) {
        windows.push_back(XCreateWindow(display, root, 0, 0, 9, 9, 0, CopyFromParent, InputOutput,
                                        CopyFromParent, CWOverrideRedirect, &free));
        XMapWindow(display, windows[i]);
    }
    const auto raised = [&](int medium, const std::string& id) {
        XRaiseWindow(display, windows[1]);
        setenv("WINDOWID", id.c_str(), 1);
        start("suite", {}, medium);
        type(kviInstallReadText, here / "make");
        EXPECT_FALSE(KvmInstallMgr::install()) << "a folder is no tape";
        KvmInstallMgr::_info.readFrom = medium;
        type(kviInstallReadText, here / "no tape");
        EXPECT_FALSE(KvmInstallMgr::install());
        Window up = 0, above = 0, *all = nullptr;
        unsigned count = 0;
        XQueryTree(display, root, &up, &above, &all, &count);
        const auto at = [&](Window w) { return std::find(all, all + count, w); };
        const bool is = at(windows[0]) > at(windows[1]);
        XFree(all);
        return is;
    };
    EXPECT_FALSE(raised(KvmLocalTape, std::to_string(windows[0])));
    EXPECT_TRUE(raised(KvmRemoteTape, std::to_string(windows[0])));
    EXPECT_FALSE(raised(KvmRemoteTape, "12345678")) << "there is none";
    for (const Window w : windows) XDestroyWindow(display, w);
}

}  // namespace

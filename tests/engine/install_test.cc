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
            XmTextFieldSetString(kviInstallLocationText, const_cast<char*>("."));
        }
        XmTextFieldSetString(kviInstallReadText, const_cast<char*>(c.text.c_str()));
        tell("install", KvmInstallMgr::install);
        KvmInstallMgr::init();
        KvmInstallMgr::setSubsystem(kviSubsystemTextures, 1);
        XmTextFieldSetString(kviInstallReadText, const_cast<char*>(c.added.c_str()));
        answerWith(c.more);
        if (medium != KvmRemoteTape) tell("add", KvmInstallMgr::install);
        forget();
    }
    EXPECT_EQ(outcomeOf("find " + folder + "/in3 -perm /7000").output, "") << "as with archives";
}

TEST_F(Installing, TellsWhyAMediumCanNotBeRead) {
    writeFile(here / "text", "this is no archive");
    writeFile(here / "Zarn2.0.tar", "this is none");
    fs::create_directories(here / "disc/subsystems");
    keepOnly("models");
    const char* const texts[] = {"text", "text", "Zarn2.0.tar", "disc"};
    for (int medium = KvmLocalTape; medium <= KvmCdRom; ++medium) {
        start("suite", {}, medium);
        XmTextFieldSetString(kviInstallReadText, (here / texts[medium]).string().data());
        tell("install", KvmInstallMgr::install);
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
        tell(program, KvmInstallMgr::install);
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
        XmTextFieldSetString(kviInstallReadText, const_cast<char*>(text.c_str()));
        KvmInstallSubsystem[0].sizeMB = location == "full" ? 1e9F : 0.2F;
        XmTextFieldSetString(kviInstallLocationText, (here / location).string().data());
        tell(location, KvmInstallMgr::install);
    }
}

TEST_F(Installing, FinishesOrStartsAgain) {
    pack();
    keepOnly("models");
    script("tar", "/usr/bin/tar \"$@\"; exit 2");
    start("suite", {});
    tell("torn", KvmInstallMgr::install);
    tell("torn again", KvmInstallMgr::install);
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
    answerWith({1});
    tell("declined", KvmInstallMgr::install);
    start("other", {1});
    tell("elsewhere, declined", KvmInstallMgr::install);
    answerWith({0, 1});
    fs::remove(suite);
    tell("elsewhere, no folder", KvmInstallMgr::install);
    start("suite", {0});
    script("rm", "case $* in *subsystems) echo busy >&2; exit 1; esac; exec /bin/rm \"$@\"");
    tell("rest stays", KvmInstallMgr::install);
    fs::remove(here / "tools/rm");
    answers.prepare({answer(0), [this] {
                         fs::create_directory(record);
                         return answer(0)();
                     }});
    tell("no record", KvmInstallMgr::install);
    tell("still none", KvmInstallMgr::install);
    fs::remove(record);
    script("tar", "exit 2");
    tell("new process", [] { return KvmTellOfUnfinished(), 0; });
    tell("finished", KvmInstallMgr::install);
    EXPECT_EQ(KvmUnfinishedPlace(), "");
    // Its names belong to the user again.
    writeFile(suite / "subsystems/letter", "kept");
    KvmInstallMgr::init();
    KvmInstallMgr::setSubsystem(kviSubsystemTextures, 1);
    tell("a folder", KvmInstallMgr::install);
}

TEST_F(Installing, ChangesTheEdition) {
    installBare();
    mark(kviInstallAmbrel, 1);
    KvmInstallMgr::init();
    const fs::path product = suite / "Zarn_system/bin/Zarn.install";
    const fs::path copy = suite / "Zarn_system/resources/.Zarn_inst";
    const std::string lines = contentsOf(product);
    writeFile(product, "#!/bin/sh\nexit 1\n", 0755);
    tell("script fails", KvmInstallMgr::install);
    writeFile(product, lines, 0755);
    fs::remove(copy);
    fs::create_directory(copy);
    tell("no record", KvmInstallMgr::install);
    fs::remove(copy);
    tell("changed", KvmInstallMgr::install);
    tell("shown", [] { return KvmInstallMgr::init(), 0; });
    mark(kviInstallCorvan, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    answers.prepare({answer(0), answer(1)});
    tell("changed, but nothing added", KvmInstallMgr::install);
    story += neutral(contentsOf(record)) + neutral(contentsOf(suite / "script-said"));
    EXPECT_EQ(contentsOf(record), contentsOf(copy));
}

TEST_F(Installing, AddsAllOrNothing) {
    installBare();
    const auto add = [&](const char* archives, const std::vector<int>& buttons) {
        KvmInstallMgr::setReadText(archives);
        KvmInstallMgr::init();
        answerWith(buttons);
        tell(archives, KvmInstallMgr::install);
    };
    ASSERT_EQ(chdir(here.c_str()), 0);
    add("Zarn2.0.tar", {});
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 0);
    add("Zarn2.0.tar", {});
    pack("Zarn2.0a.tar", "subsystems/textures");
    pack("Zarn2.0b.tar", "subsystems/models");
    ASSERT_EQ(std::system("cp Zarn2.0b.tar cut.tar; truncate -s 600 cut.tar; gzip Zarn2.0b.tar"),
              0);
    for (const Widget w : {kviSubsystemModels, kviSubsystemTextures})
        KvmInstallMgr::setSubsystem(w, 1);
    add("Zarn2.0a.tar cut.tar", {0});
    add("cut.tar Zarn2.0a.tar", {});
    add("Zarn2.0a.tar Zarn2.0b.tar.gz", {1});
    add("Zarn_install", {0});
    script("mv", "echo busy >&2; exit 1");
    add("Zarn2.0a.tar", {0});
    fs::remove_all(suite / "subsystems");
    fs::remove(here / "tools/mv");
    const int other = open(suite.c_str(), O_RDONLY | O_DIRECTORY);
    flock(other, LOCK_EX);
    add("Zarn2.0a.tar", {});
    close(other);
    add("Zarn2.0a.tar", {0});
    mark(kviSubsystemTextures, 0);
    add("Zarn2.0b.tar.gz", {0});
}

TEST_F(Installing, SetsUpMoreForTheSuperUser) {
    for (const char* end : {"Desktop", "Translators"})
        writeProgram(here / "make/Zarn_system/bin" / (std::string("Zarn.install") + end), "");
    pack();
    keepOnly("models");
    KvmInstallMgr::_isRoot = 1;
    start("suite", {1, 1, 1});
    tell("all declined", KvmInstallMgr::install);
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
    XmTextFieldSetString(kviInstallIconPath, (here / "no/bin").string().data());
    tell("no folder", KvmInstallMgr::installIcon_icon);
    fs::create_directory(here / "no");
    tell("link", KvmInstallMgr::installIcon_icon);
    XmTextFieldSetString(kviInstallIconPath, const_cast<char*>(""));
    tell("nowhere", KvmInstallMgr::installIcon_icon);
    for (const char* name : {"touch", "rm"}) script(name, "");
    tell("run", KvmInstallMgr::runApp);
    EXPECT_EQ(fs::current_path(), here / "home");
}

TEST_F(Installing, KeepsToItsPlaceAndItsHost) {
    installBare();
    const std::string elsewhere = here / "elsewhere";
    XmTextFieldSetString(kviInstallLocationText, const_cast<char*>(elsewhere.c_str()));
    tell("elsewhere", KvmInstallMgr::install);
    const auto move = [&](const std::string& place) {
        tell("go", [&] { return KvmInstallMgr::setLocation(place.c_str()); });
    };
    move(elsewhere);
    move(suite.string() + "/");
    XmTextFieldSetString(kviInstallLocationText, (here / "suite/../suite").string().data());
    tell("nothing to add", KvmInstallMgr::install);
    ASSERT_TRUE(KvCopyText(KvmInstallMgr::_info.installHostname, "crane"));
    tell("another host", KvmInstallMgr::install);
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
        outcomeOf("cd " + folder + "; Z=" + std::string(64, '0') + "; { " + sums +
                  "; } >SHA256SUMS");
        start("suite", refused || medium == KvmCdRom ? std::vector<int>{} : std::vector{1}, medium);
        EXPECT_NE(tell(sums, KvmInstallMgr::install) != 0, refused);
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
        tell(heading, KvmInstallMgr::install);
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
                          "gzip -c Zarn2.0.tar >other.tar.gz && mkdir suite/Zarn_system/disc empty;"
                          "touch suite/Zarn_system/disc/x"),
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
                 {KvmCdRom, "suite/Zarn_system/disc", false},
                 {KvmCdRom, "empty", false},
                 {KvmCdRom, "make/subsystems", true}};
    for (const auto& [medium, text, asks] : cases) {
        start("suite", asks ? std::vector{1} : std::vector<int>{}, medium);
        const std::string source = holds(text, " ") ? text : here / text;
        XmTextFieldSetString(kviInstallReadText, const_cast<char*>(source.c_str()));
        tell(text, KvmInstallMgr::install);
    }
    // What is elsewhere is not forgotten if nothing comes of an installation.
    const std::string rest = contentsOf(record.string() + ".part");
    start("other", {0});
    XmTextFieldSetString(kviInstallReadText, (here / "home/.profile").string().data());
    tell("elsewhere", KvmInstallMgr::install);
    EXPECT_EQ(contentsOf(record.string() + ".part"), rest);
}

TEST_F(Installing, AsksNobodyOnTheTerminal) {
    pack();
    ASSERT_EQ(std::system("gzip -k Zarn2.0.tar && compress Zarn2.0.tar; echo >gunzip"), 0);
    script("cp", "case $* in *gunzip*) exit 0; esac; exec /bin/cp \"$@\"");
    keepOnly("models");
    start("suite", {1});
    tell("install", KvmInstallMgr::install);
}

TEST_F(Installing, TakesNobodyElsesSuiteForItsOwnRest) {
    pack();
    writeFile(record.string() + ".part", "# PATH:    " + (here / "suite").string() + "\n");
    writeFile(here / "suite/Zarn_system/resources/.Zarn_inst", "# PROGRAM: Zarn-Pinnet\n");
    start("suite", {});
    EXPECT_EQ(KvmUnfinishedPlace(), "");
    tell("install", KvmInstallMgr::install);
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
        XmTextFieldSetString(kviInstallReadText, (here / "make").string().data());
        EXPECT_FALSE(KvmInstallMgr::install()) << "a folder is no tape";
        KvmInstallMgr::_info.readFrom = medium;
        XmTextFieldSetString(kviInstallReadText, (here / "no tape").string().data());
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

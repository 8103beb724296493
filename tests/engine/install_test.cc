#include "tests/fixtures/installing.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "engine/record.h"
#include "engine/session.h"
#include "support/KvuCommand.h"

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
        EXPECT_EQ(contentsOf(here / "home/.Zarn_inst"),
                  contentsOf(suite / "Zarn_system/resources/.Zarn_inst"));
        EXPECT_EQ(listing(suite), "Zarn_system script-said ");
        EXPECT_TRUE(KvmInstallMgr::_info.installedInThisSession);
    }
    EXPECT_FALSE(fs::exists(here / "oops"));
}

TEST_F(Installing, TakesFromSeveralArchivesWhatEachHolds) {
    pack("Zarn2.0 a.tar", "Zarn_system");
    pack("zarn2.0b.TAR", "subsystems/models subsystems/render subsystems/src");
    start("bare", {1, 1});
    keepOnly("none");
    EXPECT_TRUE(KvmInstallMgr::install());
    EXPECT_EQ(message(), "") << "that the second archive has no Zarn_system is no error";

    start("suite", {0, 1});
    EXPECT_EQ(fieldText(kviInstallReadText), " \"Zarn2.0 a.tar\" zarn2.0b.TAR");
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) row.selected = 0;
    KvmInstallSubsystem[3].selected = KvmInstallSubsystem[0].selected = 1;
    EXPECT_TRUE(KvmInstallMgr::install());
    EXPECT_EQ(subsystems(), "models ");
    EXPECT_TRUE(says("not on the medium:\n\nClip art - Textures")) << message();
    EXPECT_EQ(
        answers.asked.at(0),
        "Installation from tar file \"Zarn2.0 a.tar\" is complete.\nDo you want to remove the "
        "tar file from your system?");
    EXPECT_FALSE(fs::exists(here / "Zarn2.0 a.tar")) << "it was to be removed";
    EXPECT_TRUE(fs::exists(here / "zarn2.0b.TAR")) << "it was to stay";

    // The textures are in no archive, and the models are marked for removal.
    KvmInstallMgr::init();
    acknowledge();
    for (const Widget w : {kviSubsystemPhotorealRenderer, kviSubsystemTextures}) mark(w, 1);
    mark(kviSubsystemModels, 0);
    answerWith({0, 0});
    EXPECT_TRUE(KvmInstallMgr::install());
    EXPECT_TRUE(says("The following subsystems were successfully installed:\n\nPhotoreal renderer"))
        << message();
    EXPECT_EQ(subsystems(), "models render ");
    EXPECT_EQ(colourOf(kviSubsystemPhotorealRenderer), "#000000");
    EXPECT_EQ(colourOf(kviSubsystemTextures), "#008c00") << "it is still to be installed";
    EXPECT_EQ(colourOf(kviSubsystemModels), "#d00000") << "it is still to be removed";
}

TEST_F(Installing, FindsACompressedArchiveUnderTheNameThatItHasNow) {
    pack();
    ASSERT_EQ(std::system("compress Zarn2.0.tar; rm Zarn_install"), 0);
    keepOnly("src");
    start("suite", {1});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(std::system("cmp Zarn_system/bin/Zarn_install /proc/$PPID/exe"), 0);
    EXPECT_TRUE(fs::exists("../Zarn2.0.tar.gz")) << "it was to stay";
    mark(kviSubsystemModels, 1);
    answerWith({0});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(subsystems(), "models src ");
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
    // Each change stays in place for the later cases, whose files have earlier lines in the list.
    const struct {
        const char* sums;
        int medium;
        const char* refused;
    } cases[] = {
        {"printf 'A%063d  Zarn2.0.tar.gz\\r\\n' 0", KvmTarFile, "Zarn2.0.tar.gz"},
        {"echo \"# content $Z  Zarn2.0.tar\"", KvmTarFile, "Zarn2.0.tar.gz"},
        // Compressed by another gzip, so the bytes differ.
        {"echo \"$Z  Zarn2.0.tar.gz\"; cat content", KvmTarFile, nullptr},
        // The models are not selected.
        {"cat disc; echo >>Zarn_system/subsystems/models/content", KvmCdRom, nullptr},
        {"cat disc; echo >>Zarn_system/subsystems/src/content", KvmCdRom, "subsystems/src/content"},
        {"cat disc; echo >>Zarn_system/resources/splash", KvmCdRom, "resources/splash"},
        {"cat disc; rm Zarn_system/bin/Zarn.install", KvmCdRom, "bin/Zarn.install"}};
    for (const auto& [sums, medium, refused] : cases) {
        SCOPED_TRACE(sums);
        outcomeOf("cd " + folder + "; Z=" + std::string(64, '0') + "; { " + sums +
                  "; } >SHA256SUMS");
        const bool asks = medium == KvmTarFile && refused == nullptr;
        start("suite", asks ? std::vector{1} : std::vector<int>{}, medium);
        EXPECT_NE(KvmInstallMgr::install() != 0, refused != nullptr) << message();
        EXPECT_EQ(refused == nullptr, fs::remove_all(suite / "Zarn_system") != 0);
        if (refused == nullptr) continue;
        EXPECT_TRUE(says(std::string(refused) + "\nIts SHA256SUMS")) << message();
        EXPECT_FALSE(holds(KvInstallInfoMsg, "Checking"));
        acknowledge();
    }
}

TEST_F(Installing, AsksNobodyOnTheTerminal) {
    pack();
    ASSERT_EQ(std::system("gzip -k Zarn2.0.tar && compress Zarn2.0.tar"), 0);
    start("suite", {1});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_TRUE(fs::exists("../Zarn2.0.tar")) << "its compressed name is taken";
    EXPECT_TRUE(fs::exists("../Zarn2.0.tar.gz"));
}

TEST_F(Installing, StartsAgainOnlyWithWhatIsItsOwn) {
    pack();
    script("tar", "/usr/bin/tar \"$@\"; exit 2");
    start("suite", {});
    EXPECT_FALSE(KvmInstallMgr::install()) << "the archive is torn";
    EXPECT_TRUE(fs::exists(suite / "Zarn_system")) << "nothing is claimed, and nothing hidden";
    EXPECT_FALSE(fs::exists(here / "home/.Zarn_inst"));
    EXPECT_EQ(KvmUnfinishedPlace(), suite.string());
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(fs::exists(suite / "Zarn_system/bin")) << "its archive can't be read again";
    fs::remove(here / "tools/tar");
    acknowledge();

    // A new process finds the same.
    ASSERT_EQ(chdir(here.c_str()), 0);
    KvmInstallMgr::_info = {};
    KvmInstallMgr::initInfo();
    KvmTellOfUnfinished();
    EXPECT_TRUE(says("The last installation in " + suite.string() + " was not finished."));
    EXPECT_EQ(KvmInstallMgr::_info.path, suite.string());
    acknowledge();
    KvmInstallMgr::setReadFrom(KvmTarFile);
    KvmInstallMgr::init();
    answerWith({1});
    EXPECT_FALSE(KvmInstallMgr::install()) << "the user does not want the leftovers removed";
    EXPECT_EQ(answers.asked.at(0),
              "The last installation in " + suite.string() +
                  " was not finished.\nRemove what it left there, and start again?");
    answerWith({0, 1});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(subsystems(), allSubsystems);
    EXPECT_EQ(KvmUnfinishedPlace(), "");

    // After that, files with these names belong to the user again.
    writeFile(suite / "subsystems/.letter", "kept");
    fs::remove_all(suite / "Zarn_system/subsystems/models");
    KvmInstallMgr::getInstallInfo();
    mark(kviSubsystemModels, 1);
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("There is a folder \"subsystems\"")) << message();
    EXPECT_TRUE(fs::exists(suite / "subsystems/.letter"));
}

TEST_F(Installing, FinishesWhatOnlyLacksItsRecord) {
    pack();
    start("suite", {});
    const fs::path record = here / "home/.Zarn_inst";
    // The record's name is taken while the question about the archive is open.
    answers.prepare({[=] {
        fs::create_directory(record);
        return answer(0)();
    }});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("Can't write out info file " + record.string())) << message();
    EXPECT_TRUE(fs::exists(here / "Zarn2.0.tar")) << "it may be needed yet";
    EXPECT_FALSE(KvmInstallMgr::install()) << "it still can't be written";
    fs::remove(record);
    script("tar", "exit 2");
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(subsystems(), allSubsystems);
    EXPECT_EQ(contentsOf(suite / "script-said"), suite.string() + "\nPNT\nZarn-Pinnet\n");
}

TEST_F(Installing, KeepsArchivesUntilAllAreThrough) {
    pack("Zarn2.0a.tar", "Zarn_system");
    pack("Zarn2.0b.tar", "subsystems");
    fs::resize_file("Zarn2.0b.tar", fs::file_size("Zarn2.0b.tar") / 2);
    ASSERT_EQ(std::system("gzip Zarn2.0a.tar"), 0);
    start("suite", {0});
    EXPECT_FALSE(KvmInstallMgr::install()) << "the second archive breaks off";
    EXPECT_TRUE(says("The tar files were kept")) << message();
    EXPECT_TRUE(says("Zarn2.0b.tar is cut off: it has no end")) << message();
    EXPECT_TRUE(fs::exists(here / "Zarn2.0a.tar.gz"));
    EXPECT_FALSE(fs::exists(here / "home/.Zarn_inst"));
    EXPECT_STRNE(KvInstallInfoMsg, "Installed Zarn system\a");
}

TEST_F(Installing, TellsWhichStepFailed) {
    writeProgram(here / "make/Zarn_system/bin/Zarn.install", "exit 1");
    fs::remove(here / "Zarn_install");
    fs::create_directory(here / "Zarn_install");
    pack();
    start("suite", {1});
    EXPECT_TRUE(KvmInstallMgr::install());
    EXPECT_TRUE(fs::exists(here / "home/.Zarn_inst")) << "it counts as done";
    EXPECT_TRUE(says("the copy of the installer into the product tree")) << message();
}

TEST_F(Installing, RecordsNothingThatIsNoSuite) {
    fs::permissions("make/Zarn_system/bin/Zarn.install", fs::perms(0644));
    pack();
    start("suite", {1});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("What was extracted is no Zarn system")) << message();
    EXPECT_FALSE(fs::exists(here / "home/.Zarn_inst"));
}

TEST_F(Installing, MakesALocationThatIsNotThere) {
    pack();
    start(".", {1});
    suite = here / "new/suite";
    XmTextFieldSetString(kviInstallLocationText, suite.string().data());
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_FALSE(fs::exists(here / "new")) << "the user said no";
    EXPECT_TRUE(answers.asked.at(0).find(suite.string()) != std::string::npos);
    EXPECT_NE(textOf(kviInstallDiskAvail), "0.0 Mbytes") << "the folder above has some";
    answerWith({0, 1});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(subsystems(), allSubsystems);
}

TEST_F(Installing, StopsBeforeItDoesHarm) {
    pack();
    ASSERT_EQ(std::system("gzip -k Zarn2.0.tar"), 0);
    writeFile(here / "mine/subsystems/letter", "kept");
    for (const char* name : {"link", "suite", "other"}) fs::create_directory(name);
    fs::create_symlink("../planted", "link/.Zarn_system");
    fs::create_directory_symlink("../other", "suite/Zarn_system");
    const std::string place = here;
    const struct {
        std::string location, archives;
        const char* says;
    } cases[] = {
        {"/proc/self", " Zarn2.0.tar", "Can't write to disk.\nPlease select another path"},
        {place + "/full", " Zarn2.0.tar", "Not enough disk space for installation."},
        {place + "/mine", " Zarn2.0.tar", "There is a folder \"subsystems\""},
        {place + "/link", " Zarn2.0.tar", "Can't write to disk.\nPlease select another path"},
        {place + "/suite", " Zarn2.0.tar", "Zarn_system already exists in "},
        {place + "/ok", "", "Please enter the location of the Zarn system\ntar file first!"},
        {place + "/ok", " Zarn2.0.tar.gz", "this file exists already"},
        {place + "/ok", " nothing.tar", "Could not open tar file:\n"},
        {place + "/ok", " pipe.tar", "It is not a file."},
        {place + "/ok", " readme", "Error while installing from tar file.\n"},
        {place + "/ok", std::string(1100, 'x'), "is too long"},
    };
    writeFile(here / "readme", "this is no archive");
    ASSERT_EQ(mkfifo("pipe.tar", 0600), 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.location + c.archives.substr(0, 40));
        KvmInstallMgr::_info.readFrom = 2;
        XmTextFieldSetString(kviInstallReadText, const_cast<char*>(c.archives.c_str()));
        if (c.location[1] != 'p') fs::create_directories(c.location);
        KvmInstallSubsystem[0].sizeMB = c.location.ends_with("full") ? 1e9F : 0.2F;
        XmTextFieldSetString(kviInstallLocationText, const_cast<char*>(c.location.c_str()));
        EXPECT_FALSE(KvmInstallMgr::install());
        EXPECT_NE(message().find(c.says), std::string::npos) << message();
        EXPECT_FALSE(KvmInstallMgr::_info.installed);
        EXPECT_FALSE(fs::exists(here / "home/.Zarn_inst"));
    }
    EXPECT_EQ(listing(here / "mine"), "subsystems ");
    EXPECT_FALSE(fs::exists(here / "planted"));
    EXPECT_TRUE(fs::is_empty(here / "other"));
    EXPECT_TRUE(fs::exists(here / "Zarn2.0.tar"));
}

TEST_F(Installing, AddsToASuiteThatHasNoSubsystems) {
    installBare();
    EXPECT_FALSE(fs::exists(suite / "Zarn_system/subsystems"));
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_NE(acknowledge().find("No new subsytems have been marked"), std::string::npos);

    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 0);
    EXPECT_FALSE(KvmInstallMgr::install()) << "the mark was taken back";
    EXPECT_NE(acknowledge().find("No new subsytems have been marked"), std::string::npos);

    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    KvmInstallMgr::setSubsystem(kviSubsystemTextures, 1);
    answerWith({1});
    EXPECT_FALSE(KvmInstallMgr::install()) << "the user said no";
    EXPECT_EQ(answers.asked.at(0),
              "Install the following subsystems?\n\nClip art - Textures\nClip art - Models");
    EXPECT_FALSE(fs::exists(suite / "Zarn_system/subsystems"));
    EXPECT_TRUE(KvmInstallMgr::_info.subsystemsAdded);

    answerWith({0});
    EXPECT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_EQ(subsystems(), "models textures ");
    EXPECT_FALSE(KvmInstallMgr::_info.subsystemsAdded);
    EXPECT_EQ(colourOf(kviSubsystemModels), "#000000");
}

TEST_F(Installing, AddsAllOrNothing) {
    installBare();
    const auto add = [&](const char* archives, const std::vector<int>& buttons) {
        if (message() != "") acknowledge();
        KvmInstallMgr::setReadText(archives);
        KvmInstallMgr::init();
        answerWith(buttons);
        return KvmInstallMgr::install();
    };
    ASSERT_EQ(chdir(here.c_str()), 0);
    pack("Zarn2.0a.tar", "subsystems/textures");
    pack("Zarn2.0b.tar", "subsystems/models");
    fs::copy("Zarn2.0b.tar", "cut.tar");
    fs::resize_file("cut.tar", 600);
    for (const Widget w : {kviSubsystemModels, kviSubsystemTextures})
        KvmInstallMgr::setSubsystem(w, 1);
    const struct {
        const char* archives;
        std::vector<int> buttons;
    } cases[] = {{"Zarn2.0a.tar cut.tar", {0}},
                 {"cut.tar Zarn2.0a.tar", {}},
                 {"Zarn2.0a.tar Zarn2.0b.tar", {1}},
                 {"Zarn_install", {0}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.archives);
        EXPECT_FALSE(add(c.archives, c.buttons));
        EXPECT_EQ(listing(suite), "Zarn_system script-said ");
        EXPECT_FALSE(fs::exists(suite / "Zarn_system/subsystems"));
        EXPECT_EQ(colourOf(kviSubsystemTextures), "#008c00") << "it is still marked";
    }
    const int other = open(suite.c_str(), O_RDONLY | O_DIRECTORY);
    flock(other, LOCK_EX);
    EXPECT_FALSE(add("Zarn2.0a.tar Zarn2.0b.tar", {}));
    EXPECT_TRUE(says(KvuFormat("Another Zarn_install (process %d) is at work", getpid())))
        << message();
    close(other);
    EXPECT_TRUE(add("Zarn2.0a.tar Zarn2.0b.tar", {0})) << message();
    EXPECT_EQ(subsystems(), "models textures ");
}

TEST_F(Installing, LeavesAFolderBesideACopiedSuiteAlone) {
    writeFile(here / "cd/Zarn_system/bin/Zarn.install", "", 0755);
    writeFile(here / "cd/Zarn_system/resources/splash", "Zarn");
    for (const char* name : {"models", "textures"})
        writeFile(here / "cd/Zarn_system/subsystems" / name / "content", name, 07777);
    for (const char* name : {"resources", "subsystems/models", "subsystems/textures"})
        fs::permissions(here / "cd/Zarn_system" / name, fs::perms(07777));
    keepOnly("textures");
    KvmInstallSubsystem[1].selected = 1;
    start("suite", {});
    acknowledge();
    KvmInstallMgr::setReadFrom(KvmCdRom);
    KvmInstallMgr::setReadText((here / "cd/Zarn_system").c_str());
    KvmInstallMgr::init();
    XmTextFieldSetString(kviInstallLocationText, suite.string().data());
    ASSERT_TRUE(KvmInstallMgr::install()) << message();
    EXPECT_TRUE(says("not on the medium:\n\nClip art - Materials")) << message();
    EXPECT_EQ(subsystems(), "textures ");
    acknowledge();
    writeFile(suite / "subsystems/letter", "kept");
    KvmInstallMgr::setSubsystem(kviSubsystemMaterials, 1);
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::install()) << "the disc holds nothing of it";
    EXPECT_TRUE(says("None of the selected subsystems is in")) << message();
    acknowledge();
    for (const int button : {1, 0}) {
        KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
        answerWith({button});
        EXPECT_EQ(KvmInstallMgr::install(), 1 - button) << message();
        EXPECT_TRUE(fs::exists(suite / "subsystems/letter"));
    }
    EXPECT_EQ(subsystems(), "models textures ");
    EXPECT_EQ(outcomeOf("find " + suite.string() + " -perm /7000").output, "")
        << "as with archives";
}

TEST_F(Installing, TakesNobodyElsesSuiteForItsOwnRest) {
    pack();
    writeFile(here / "home/.Zarn_inst.part", "# PATH:    " + (here / "suite").string() + "\n");
    writeFile(here / "suite/Zarn_system/resources/.Zarn_inst", "# PROGRAM: Zarn-Pinnet\n");
    start("suite", {});
    EXPECT_EQ(KvmUnfinishedPlace(), "");
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_TRUE(says("Zarn_system already exists in ")) << message();
    EXPECT_TRUE(fs::exists(here / "suite/Zarn_system/resources/.Zarn_inst"));
}

TEST_F(Installing, RefusesAnotherPlaceWhileASuiteIsInstalled) {
    installBare();
    const std::string elsewhere = here / "elsewhere";
    XmTextFieldSetString(kviInstallLocationText, const_cast<char*>(elsewhere.c_str()));
    EXPECT_FALSE(KvmInstallMgr::install());
    for (const std::string& part : {suite.string(), elsewhere, std::string("press \"Ok\"")})
        EXPECT_TRUE(says(part)) << message();
    EXPECT_TRUE(KvmInstallMgr::_info.installed);
    acknowledge();
    EXPECT_TRUE(KvmInstallMgr::setLocation(elsewhere.c_str()));
    EXPECT_FALSE(KvmInstallMgr::_info.installed);
    EXPECT_TRUE(KvmInstallMgr::setLocation((suite.string() + "/").c_str())) << message();
    EXPECT_TRUE(KvmInstallMgr::_info.installed) << "the user's own suite is shown again";
}

TEST_F(Installing, ShowsTheEditionThatIsInstalled) {
    installBare();
    mark(kviInstallAmbrel, 1);
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonInstall));
    KvmInstallMgr::init();
    EXPECT_TRUE(XtIsSensitive(kviInstallButtonInstall)) << "the change is still to be made";
    EXPECT_EQ(textOf(kviInstallSystemMsg).find("Zarn-Pinnet Version 2.0"), 0U);
    EXPECT_TRUE(KvmInstallMgr::install()) << "nothing is to be added, but this is to be done";
    EXPECT_TRUE(says("The installed edition is Zarn-Ambrel now.")) << message();
    EXPECT_EQ(contentsOf(suite / "script-said"),
              suite.string() + "\nAMB\nZarn-Ambrel\nscriptOnly\n");
    KvmInstallMgr::init();
    EXPECT_EQ(textOf(kviInstallSystemMsg).find("Zarn-Ambrel Version 2.0"), 0U);
    EXPECT_EQ(contentsOf(here / "home/.Zarn_inst"),
              contentsOf(suite / "Zarn_system/resources/.Zarn_inst"));
}

TEST_F(Installing, NeverDeletesWhatItCouldNotPlace) {
    installBare();
    script("mv", "exit 1");
    KvmInstallMgr::setSubsystem(kviSubsystemModels, 1);
    answerWith({0});
    EXPECT_FALSE(KvmInstallMgr::install());
    EXPECT_NE(message().find("Could not move subsystems folder"), std::string::npos) << message();
    EXPECT_TRUE(fs::exists(suite / "subsystems/models/content"));
}

}  // namespace

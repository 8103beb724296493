#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <X11/Shell.h>
#include <X11/StringDefs.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "startup/ZarnApp.h"
#include "startup/Zarn_install.h"
#include "startup/authority.h"
#include "startup/log.h"
#include "support/KvuCommand.h"
#include "tests/fixtures/hands.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

using testing::ExitedWithCode;

// parseArgs, with literal words for a command line.
int parse(std::vector<std::string> words) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    return parseArgs(static_cast<int>(words.size()), argv.data());
}

TEST(CommandLine, LastOptionWins) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse({"Zarn_install", "-cdrom", "-noShell", "-ftp", "-icons", "/a/Zarn_system",
                     "-subsystems", "/b/Zarn_system"}),
              1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nOk. Running Zarn installation...\n");
    EXPECT_EQ(KvReadFrom, 2);
    EXPECT_TRUE(KvInvokeSubsystems && KvInvokeIconInstall);
    EXPECT_STREQ(KvInstallLocation, "/b/Zarn_system");
    for (RandomTexts random{99, {"-noShell", "-icons"}}; random.next();) {
        const std::string location = random.draw(KvTextSize - 1);
        EXPECT_TRUE(parse({"zi", "-icons", location, "-noShell"}) && KvInstallLocation == location);
    }
}

// A display that admits one user by name, and others with its cookie; and a stand-in for xauth.
class Authority : public ScratchTest {
protected:
    // Runs this test again on such a display.
    static bool isOnDisplay() {
        if (std::getenv("ZARN_AGAIN") != nullptr) return true;
        const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        const Outcome outcome =
            outcomeOf("ZARN_AGAIN=yes xvfb-run -a -s '-nolisten tcp -noreset' " +
                      KvuShellArgument(fs::read_symlink("/proc/self/exe").string()).text +
                      " --gtest_filter=Authority." + name);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        return false;
    }

    // What becomes of XAUTHORITY for an ordinary user, after the shell has run `before`.
    std::string handedOn(const std::string& before) {
        outcomeOf(
            "rm -rf home other asked; mkdir -m 777 home other; xhost -; for other in "
            "inet:127.0.0.1 si:localuser:root 'si:localuser:#0'; do xhost \"-$other\"; done; xhost "
            "+si:localuser:" +
            user + "; " + before);
        outcomeOf("[ $(id -u) != 0 ] || chown -R nobody home; chmod 777 .");
        runInChild([] {
            ASSERT_TRUE(becomeOrdinary());
            unsetenv("XAUTHORITY");
            if (fs::exists("given")) setenv("XAUTHORITY", "given", 1);
            std::ofstream result("result");
            {
                const HandedOnAuthority authority;
                const char* file = std::getenv("XAUTHORITY");
                result << authority.refused() << " " << (file != nullptr ? file : "") << " "
                       << outcomeOf("stat -c %a home/.zarn* other/.zarn* 2>&-").output;
            }
            result << outcomeOf("ls -A home other; cat asked 2>&-").output;
        });
        std::string result = contentsOf("result");
        for (std::size_t at = 0; (at = result.find(".zarn.", at)) != result.npos;)
            result.replace(at + 6, 6, ""), at += 6;
        const char* const display = std::getenv("DISPLAY");
        for (const std::string& known :
             {folder, std::string(display != nullptr ? display : "none")})
            for (std::size_t at = 0; (at = result.find(known)) != result.npos;)
                result.replace(at, known.size(), "~");
        return result;
    }

    const std::string user = geteuid() == 0 ? "nobody" : outcomeOf("id -un | tr -d '\\n'").output;
};

TEST_F(Authority, OfADisplayThatKnowsTheUserByName) {
    if (!isOnDisplay()) return;
    writeProgram("bin/xauth",
                 "printf '[%s]' \"$@\" >>asked; [ \"$2\" != nlist ] || exec cat cookie; [ -e "
                 "refuses ] || echo cookie >\"$3\"; [ ! -e fails ]");
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    setenv("HOME", (folder + "/home").c_str(), 1);
    unsetenv("XDG_RUNTIME_DIR");
    const std::string
        none = "home:\n\nother:\n",
        asks = "[-q][nlist][~]",
        wants = "[-q][-f][~/home/.zarn./Xauthority][generate][~][.][trusted][timeout][3600]";
    EXPECT_EQ(handedOn(""), "0 ~/home/.zarn./Xauthority 700\n" + none + asks + wants);
    EXPECT_EQ(handedOn("touch cookie fails"), "1  " + none + asks + wants);
    EXPECT_EQ(handedOn("rm fails; touch refuses"), "1  " + none + asks + wants);
    EXPECT_EQ(handedOn("rm refuses; echo one >cookie"), "0  " + none + asks);
    for (const char* others : {"rm cookie; xhost +si:localuser:root", "xhost +",
                               "xhost +inet:127.0.0.1", "xhost '+si:localuser:#0'"})
        EXPECT_EQ(handedOn(others), "0  " + none) << others;
    EXPECT_EQ(handedOn("echo >home/.Xauthority; xhost +"),
              "0 ~/home/.Xauthority home:\n.Xauthority\n\nother:\n");
    EXPECT_EQ(handedOn("echo >home/.Xauthority; touch given; xhost +"),
              "0 given home:\n.Xauthority\n\nother:\n");
    setenv("XDG_RUNTIME_DIR", "/none", 1);
    EXPECT_EQ(handedOn("rm given"), "0 ~/home/.zarn./Xauthority 700\n" + none + asks + wants);
    setenv("XDG_RUNTIME_DIR", "/proc", 1);
    EXPECT_EQ(handedOn("").substr(0, 9), "0 ~/home/") << "/proc is somebody else's";
    setenv("XDG_RUNTIME_DIR", (folder + "/home").c_str(), 1);
    setenv("HOME", "/none", 1);
    EXPECT_EQ(handedOn("").substr(0, 9), "0 ~/home/");
    unsetenv("XDG_RUNTIME_DIR");
    unsetenv("HOME");
    EXPECT_EQ(handedOn(""), "1  " + none + asks);
}

// What is said and logged, without the date, when a program starts with this HOME.
std::string logOf(const std::string& home) {
    char program[] = "prog", word[] = "a\nb";
    char* words[] = {program, word, nullptr};
    setenv("HOME", home.c_str(), 1);
    testing::internal::CaptureStderr();
    runInChild([&] {
        ZarnLogStart(2, words);
        std::exit(0);
    });
    std::string said = testing::internal::GetCapturedStderr();
    for (const char* place : {"root", "own"}) {
        const std::string log = contentsOf(std::string(place) + "/.Zarn_install.log");
        said += "|" + (log.size() > 24 ? log.substr(0, 4) + log.substr(24) : log);
    }
    outcomeOf("rm -f */.Zarn_install.log");
    return said;
}

TEST_F(Authority, OfTheUserWhoCalledSudo) {
    if (!isOnDisplay()) return;
    for (const char* name : {"root", "ann", "bea", "cid", "own"}) fs::create_directory(name);
    fs::copy(std::getenv("XAUTHORITY"), "ann/.Xauthority");
    writeFile("bea/.Xauthority", "");
    writeFile("passwd", "root:x:0:0::" + folder +
                            "/root:/bin/sh\nann:x:1:1::ann:/bin/sh\nbea:x:2:1::bea:/bin/"
                            "sh\ncid:x:3:1::cid:/bin/sh\n");
    const char* const cases[][3] = {{"", "ann", "ann/.Xauthority"},
                                    {"", "bea", ""},
                                    {"", "cid", ""},
                                    {"", "dan", ""},
                                    {"", "", ""},
                                    {"/none", "ann", "ann/.Xauthority"},
                                    {"bea/.Xauthority", "ann", "bea/.Xauthority"}};
    runInPrivateUsr([&] {
        ASSERT_EQ(outcomeOf("mount --bind passwd /etc/passwd").status, 0);
        for (const auto& [given, caller, used] : cases) {
            *given != '\0' ? setenv("XAUTHORITY", given, 1) : unsetenv("XAUTHORITY");
            *caller != '\0' ? setenv("SUDO_USER", caller, 1) : unsetenv("SUDO_USER");
            useCallersAuthority();
            const char* file = std::getenv("XAUTHORITY");
            EXPECT_STREQ(file != nullptr ? file : "", used) << given << " " << caller;
            EXPECT_EQ(displayOpens(), std::string(used) == "ann/.Xauthority");
        }
        // The log of a super-user whose HOME is another user's, as under sudo.
        const std::string line = "=== prog a?b\n";
        EXPECT_EQ(logOf(folder + "/own"), "||" + line);
        EXPECT_EQ(logOf(folder + "/none"), "|" + line + "|");
        outcomeOf("chmod 777 root");
        EXPECT_EQ(logOf(folder + "/none"),
                  "prog: there is no log " + folder +
                      "/none/.Zarn_install.log: No such file or directory\n||");
    });
    setenv("SUDO_USER", "ann", 1);
    setenv("XAUTHORITY", "/none", 1);
    runInChild([] {
        if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) return;
        useCallersAuthority();
        EXPECT_STREQ(std::getenv("XAUTHORITY"), "/none") << "another user's choice";
    });
}

TEST(Defaults, LieInAFileOfTheirOwnForAMoment) {
    const std::string name = "Zarn_test_" + std::to_string(getpid()),
                      golden = contentsOf(ZARN_SOURCE_DIR "/tests/startup/app_defaults.txt");
    const fs::path file = "/tmp/" + name;
    ZarnAppInit(name.c_str());
    EXPECT_EQ(contentsOf(file), golden);
    EXPECT_STREQ(appDefaultsFile, file.c_str());
    EXPECT_STREQ(std::getenv("XFILESEARCHPATH"), "/usr/lib/X11/app-defaults/%N:/tmp/%N");
    ZarnAppClose();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_STREQ(appDefaultsFile, "");
    EXPECT_EQ(std::getenv("XFILESEARCHPATH"), nullptr) << "no child is to look into /tmp";
    std::string fallbacks, lines;
    for (char** line = ZarnAppFallbacks(); *line != nullptr; ++line)
        fallbacks.append(*line).append("\n");
    std::istringstream text(golden);
    for (std::string line; std::getline(text, line);)
        if (line.starts_with('*')) lines += line + "\n";
    EXPECT_EQ(fallbacks, lines) << "the same without it";

    setenv("XFILESEARCHPATH", "own", 1);
    EXPECT_EXIT((ZarnAppInit(name.c_str()), std::exit(3)), ExitedWithCode(3), "");
    EXPECT_FALSE(fs::exists(file)) << "a program that ends early leaves it behind";
    ZarnAppInit(name.c_str());
    ZarnAppClose();
    EXPECT_STREQ(std::getenv("XFILESEARCHPATH"), "own");
    fs::create_symlink(ZARN_BINARY_DIR "/planted", file);
    runInChild([&] {
        ZarnAppInit(name.c_str());
        EXPECT_STREQ(appDefaultsFile, "");
        ZarnAppClose();
        EXPECT_STREQ(std::getenv("XFILESEARCHPATH"), "own");
    });
    EXPECT_FALSE(fs::exists(ZARN_BINARY_DIR "/planted"));
    EXPECT_TRUE(fs::remove(file)) << "it was not ours to delete";
    runInChild([&] {
        const rlimit most = {1000, 1000};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &most), 0);
        std::signal(SIGXFSZ, SIG_IGN);
        ZarnAppInit(name.c_str());
        EXPECT_STREQ(appDefaultsFile, "");
    });
    EXPECT_FALSE(fs::exists(file)) << "half of it is no good";
    ZarnAppInit(std::string(1100, 'x').c_str());
    EXPECT_STREQ(appDefaultsFile, "");
}

int closings = 0;

TEST(Window, HasTheLogoAndACloseCallback) {
    XtAppContext app = nullptr;
    int argc = 0;
    Widget shell = XtVaAppInitialize(
        &app, "Zarn_install", nullptr, 0, &argc, nullptr, ZarnAppFallbacks(), XtNwidth, 9,
        XtNheight, 9, XtNmappedWhenManaged, False, XmNdeleteResponse, XmDO_NOTHING, nullptr);
    XtRealizeWidget(shell);
    ZarnAppSetCloseCB(shell,
                      [](Widget, XtPointer data, XtPointer) { closings += data == nullptr; });
    Pixmap icon = None;
    XtVaGetValues(shell, XtNiconPixmap, &icon, nullptr);
    Display* display = XtDisplay(shell);
    XImage* image = XGetImage(display, icon, 0, 0, 48, 52, AllPlanes, ZPixmap);
    std::string rows;
    for (int y = 3; y < 52; y += 12)
        for (int x = 0; x < 48; ++x) rows += XGetPixel(image, x, y) != 0 ? '#' : ' ';
    EXPECT_EQ(rows,
              "       ######################################   "
              "                      # # # #  ##########       "
              "         ## # # #  ########## # # # # #  ##     "
              "              ############        ###           "
              "### ####### ####### ######## ####### ####### ###");
    XDestroyImage(image);
    askToClose(shell);
    while (closings == 0 || XtAppPending(app) != 0) XtAppProcessEvent(app, XtIMAll);
    EXPECT_EQ(closings, 1);
    // Fonts become font sets in a multibyte locale, and grow with the scale.
    const auto font = [&] {
        char* type = nullptr;
        XrmValue value = {};
        XrmGetResource(XrmGetDatabase(display), "z.list.fontList", "Z.XmList.FontList", &type,
                       &value);
        return std::string(value.addr) + "|";
    };
    std::string fonts;
    XrmDatabase resources = XrmGetDatabase(display);
    XrmPutLineResource(&resources, "*XmList.other: 9x15");
    ZarnAppFitFonts(display);
    fonts += font();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    ZarnAppFitFonts(display);
    fonts += font();
    EXPECT_EQ(fonts,
              "-*-helvetica-medium-r-normal-*-14-*-*-*-*-*-iso8859-1|-*-helvetica-medium-r-normal-*"
              "-14-*-*-*-*-*-iso8859-1:|");
}

}  // namespace

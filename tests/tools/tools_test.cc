#include <tuple>

#include "tests/fixtures/scratch.h"

namespace {

class ToolsTest : public ScratchTest {
protected:
    ToolsTest() {
        writeFile("xterm", "#!/bin/sh\nprintf '[%s]' ${XFILESEARCHPATH-} \"$@\"\nexit 5\n", 0755);
    }

    // Runs `program` of this build, with a fake xterm in place of the real one.
    Outcome run(const std::string& program, const std::string& words) const {
        return outcomeOf("export XFILESEARCHPATH=/tmp/%N PATH='" + toolsDir + ":" + folder + "'; " +
                         program + " " + words);
    }
};

TEST_F(ToolsTest, XwshHandsItsOptionsToXterm) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"-bg black -fg cyan -geom 80x20+1+1 -cursorfg red -cursorbg blue -title 'a \"b\" ' "
         "-icontitle '' -e sh -c 'echo  \"$1\"' -- '*' ''",
         5,
         "[-bg][black][-fg][cyan][-geometry][80x20+1+1][-cr][blue][-title][a \"b\" ][-n][]"
         "[-e][XWSH][-run][sh][-c][echo  \"$1\"][--][*][]"},
        {"-e -title x", 5, "[-e][XWSH][-run][-title][x]"},
        {"-title", 2, "usage: xwsh"},
    };
    for (const auto& [words, status, output] : cases) {
        const Outcome outcome = run("xwsh", words);
        EXPECT_EQ(status, outcome.status) << words;
        std::string expected = output;
        if (const auto at = expected.find("XWSH"); at != std::string::npos)
            expected.replace(at, 4, toolsDir + "/xwsh");
        EXPECT_EQ(0U, outcome.output.find(expected)) << words << outcome.output;
    }
    fs::remove("xterm");
    EXPECT_EQ(127, run("xwsh", "-fg red").status);
}

TEST_F(ToolsTest, XwshLeavesTheInstallersButtonsFree) {
    writeProgram("xwininfo",
                 "w=607 h=542; [ \"$1\" = -name ] || { w=$width h=$height; }\n"
                 "[ $w -gt 0 ] && printf '  Absolute upper-left %s\\n' \"X:  $left\" 'Y:  74' && "
                 "printf '  %s\\n' \"Width: $w\" \"Height: $h\"");
    const std::tuple<const char*, const char*> cases[] = {
        {"left=87 width=1280 height=1024", "80x20+100-0"},
        {"left=87 width=1024 height=768", "80x20-0+0"},
        {"left=700 width=1400 height=1024", "80x20+100+500"},
        {"left=700 width=1400 height=600", "80x20+100-0"},
        {"left=0 width=0 height=0", "80x20+100+500"},
    };
    for (const auto& [screen, place] : cases)
        EXPECT_TRUE(holds(run("PATH=$PATH:/usr/bin:/bin; export " + std::string(screen) + "; xwsh",
                              "-geom 80x20+100+500")
                              .output,
                          "[-geometry][" + std::string(place) + "]"))
            << screen;
}

TEST_F(ToolsTest, TheTerminalStaysAfterAFailure) {
    writeProgram("xterm", "shift\nPATH=$PATH:/usr/bin:/bin exec \"$@\" </dev/null");
    writeProgram("su", "exit 1");
    writeProgram("sudo", "");
    // A program that needs a library which does not exist.
    outcomeOf("sed s/libc.so.6/libq.so.6/ /bin/true >lacking; chmod +x lacking");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"true", 0, ""},
        {"/bin/sh -c 'kill -INT $PPID; exit 1'", 1, ""},
        {"/bin/sh -c 'exit 3'", 3, "status 3"},
        {R"(/bin/sh -c "echo; echo; su root -c '././Zarn -noShell -icons '\\''a \\!b'\\'' '")", 1,
         "\n        ./Zarn -noShell -icons 'a !b' \n"},
        {"/bin/sh -c './lacking -noShell -ftp'", 127, "needs: libq.so.6\n"},
        {"/bin/no-csh -c x", 127, "no program /bin/no-csh"},
    };
    for (const auto& [program, status, says] : cases) {
        const Outcome outcome = run("xwsh", std::string("-e ") + program);
        EXPECT_EQ(status, outcome.status) << program;
        EXPECT_TRUE(*says != '\0' ? holds(outcome.output, says) &&
                                        outcome.output.ends_with("close this window. ")
                                  : outcome.output.empty())
            << outcome.output;
    }
}

TEST_F(ToolsTest, JotOpensTheUsersEditorInAWindow) {
    EXPECT_EQ(run("export DISPLAY=:0 VISUAL='xterm -n'; jot", "'a b' -c").output,
              "[-title][a b -c][-e][xterm][-n][a b][./-c]");
    const std::pair<const char*, const char*> cases[] = {
        {"unset VISUAL EDITOR; jot file", "1|jot: there is no editor on this system; set EDITOR to yours.\n|"},
        {"jot", "2|usage: jot file...\n|"},
        {"unset DISPLAY VISUAL; EDITOR='printf %s.' jot -a b </dev/null", "1|jot: there is neither a display with an xterm nor a terminal.\n|"}};
    for (const auto& [command, result] : cases) {
        const Outcome outcome = run(command, "");
        EXPECT_EQ((Row{outcome.status, outcome.output}), result);
    }
}

TEST_F(ToolsTest, XconfirmRefusesWrongWords) {
    const char* const usage =
        "2|usage: xconfirm [-useslider] [-icon info|error|question] [-header title]\n"
        "                [-t line]... [-b label]... [-B default-label]\n"
        "       KvConfirm -num count -b1 label [-b2 label] [-b3 label] -text text\n"
        "                [-header title]\n"
        "At least one button must be given.\n|";
    const char* const words[] = {"", "-t a", "-num 0 -b1 Yes", "-b", "-b Yes -x y", "-b Yes -useslider -t"};
    for (const char* wrong : words) {
        const Outcome outcome = run("unset DISPLAY; xconfirm", wrong);
        EXPECT_EQ((Row{outcome.status, outcome.output}), usage) << wrong;
    }
    const Outcome outcome = run("unset DISPLAY; xconfirm", "-useslider -b Yes");
    EXPECT_EQ((Row{outcome.status, outcome.output}), "1|xconfirm: can't open the display\n|");
}

}  // namespace

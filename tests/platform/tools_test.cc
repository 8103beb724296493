#include <tuple>

#include "tests/fixtures/scratch.h"

namespace {

class ToolsTest : public ScratchTest {
protected:
    ToolsTest() {
        writeFile("xterm", "#!/bin/sh\nprintf '[%s]' ${XFILESEARCHPATH-} \"$@\"\nexit 5\n", 0755);
    }

    // `program` of this build, with nothing but the false xterm behind it.
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
         "[-e][sh][-c][echo  \"$1\"][--][*][]"},
        {"-e -title x", 5, "[-e][-title][x]"},
        {"-title", 2, "usage: xwsh"},
    };
    for (const auto& [words, status, output] : cases) {
        const Outcome outcome = run("xwsh", words);
        EXPECT_EQ(status, outcome.status) << words;
        EXPECT_EQ(0U, outcome.output.find(output)) << words << outcome.output;
    }
    fs::remove("xterm");
    EXPECT_EQ(127, run("xwsh", "-fg red").status);
}

TEST_F(ToolsTest, JotOpensTheUsersEditorInAWindow) {
    EXPECT_EQ("[-title][xterm][-e][xterm][-n][a b][./-c]",
              run("export DISPLAY=:0 VISUAL='xterm -n'; jot", "'a b' -c").output);
    EXPECT_EQ(1, run("unset VISUAL EDITOR; jot", "file").status);
    EXPECT_EQ(2, run("jot", "").status);
}

}  // namespace

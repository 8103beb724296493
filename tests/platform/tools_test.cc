#include <gtest/gtest.h>

#include <string>

#include "tests/platform/platform_test.h"

namespace {

class ToolsTest : public testing::Test {
protected:
    ToolsTest() {
        folder.write("xterm", "#!/bin/sh\nprintf '[%s]' \"$@\"\nexit 5\n");
        std::filesystem::permissions(folder / "xterm", std::filesystem::perms::owner_all);
    }

    // `program` of this build, with nothing but the false xterm behind it.
    Outcome run(const std::string& program, const std::string& words) const {
        return outcomeOf("export PATH=" + toolsDir + ":" + (folder / "") + "; " + program + " " +
                         words);
    }

    ScratchFolder folder;
};

TEST_F(ToolsTest, XwshHandsItsOptionsToXterm) {
    const struct {
        const char* words;
        int status;
        const char* output;
    } cases[] = {
        {"-bg black -fg cyan -geom 80x20+1+1 -cursorfg red -cursorbg blue -title 'a \"b\" ' "
         "-icontitle '' -e sh -c 'echo  \"$1\"' -- '*' ''",
         5,
         "[-bg][black][-fg][cyan][-geometry][80x20+1+1][-cr][blue][-title][a \"b\" ][-n][]"
         "[-e][sh][-c][echo  \"$1\"][--][*][]"},
        {"-cursorfg '$(id)'", 5, "[-cr][$(id)]"},
        {"-e -title x", 5, "[-e][-title][x]"},
        {"-title", 2, "usage: xwsh"},
        {"-e", 2, "usage: xwsh"},
        {"-hold", 2, "usage: xwsh"},
        {"program", 2, "usage: xwsh"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.words);
        const Outcome outcome = run("xwsh", c.words);
        EXPECT_EQ(c.status, outcome.status);
        EXPECT_EQ(0U, outcome.output.find(c.output)) << outcome.output;
    }
    std::filesystem::remove(folder / "xterm");
    EXPECT_EQ(127, run("xwsh", "-fg red").status);
}

TEST_F(ToolsTest, JotOpensTheUsersEditorInAWindow) {
    EXPECT_EQ("[-title][xterm][-e][xterm][-n][a b][./-c]",
              run("export DISPLAY=:0 VISUAL='xterm -n'; jot", "'a b' -c").output);
    EXPECT_EQ(1, run("unset VISUAL EDITOR; jot", "file").status);
    EXPECT_EQ(2, run("jot", "").status);
}

TEST_F(ToolsTest, XconfirmRefusesWhatItCannotShow) {
    for (const char* words : {"", "-t text", "-B", "-icon wrong -B OK", "-B OK -unknown x"})
        EXPECT_EQ(2, run("xconfirm", words).status) << words;
    EXPECT_EQ(1, run("unset DISPLAY; xconfirm", "-useslider -icon error -t text -B OK").status);
}

}  // namespace

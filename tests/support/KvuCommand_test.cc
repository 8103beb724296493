#include "support/KvuCommand.h"

#include "platform/Platform.h"
#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

using Shell = KvuShellText;

Shell inSh(const Shell& inner) {
    return KvuCommand("sh -c '%s'", KvuInSingleQuotes(inner));
}

Shell inCsh(const Shell& inner) {
    return KvuCommand("/bin/csh -c \"%s\"", KvuInDoubleQuotes(KvuForCsh(inner)));
}

const char* const words[] = {
    "plain",  "two words", "it's",          "say \"so\"",   "`id -u`", "$(id -u)", "$HOME ${x}",
    "a\\b\\", "a\\!b",     "wow!! !x",      "line\nline",   "",        "~root",    "*?[a-z]{a,b}",
    "#none",  "\t tab ",   "a;b|c&d>e<f\n", "'' \"\" ' \"", "-n",      "100%s",    "\\n\n!'\"$`\\",
};

using KvuCommandTest = ScratchTest;

}  // namespace

TEST_F(KvuCommandTest, ShellSeesTheTextItself) {
    writeFile("script", "printf '%s\\0' \"$@\" >out\n");
    Shell plain{"sh script"};
    std::string expected;
    std::vector<std::string> list(std::begin(words), std::end(words));
    for (RandomTexts random{40, {"!!", "''"}}; random.next();) list.push_back(random.draw(40));
    for (const std::string& word : list) {
        plain = KvuCommand("%s %s", plain, KvuShellArgument(word));
        expected.append(word).push_back('\0');
    }
    const Shell doubled = KvuCommand("sh -c \"%s\"", KvuInDoubleQuotes(plain));
    for (const Shell& command : {plain, inSh(plain), doubled, inCsh(plain), inCsh(inSh(plain))}) {
        writeFile("out", "nothing came");
        EXPECT_EQ(0, platform::system(command.text.c_str())) << command.text;
        EXPECT_EQ(expected, contentsOf("out")) << command.text;
    }
}

TEST(KvuCommand, OrdinaryTextGivesTheTemplateItself) {
    const std::string path = "/usr/local/Zarn_2.0@a%b+c=d:e,f-g" + std::string(5000, 'x');
    EXPECT_EQ("rm -rf " + path + "/b", KvuCommand("rm -rf %s/%s", path, "b").text);
    EXPECT_EQ("ls './-r f'", KvuCommand("ls %s", "-r f").text) << "a file is no option";
    EXPECT_EQ("ls '=1'", KvuCommand("ls %s", "=1").text) << "tcsh has names for folders";
}

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
    "#none",  "\t tab ",   "a;b|c&d>e<f\n", "'' \"\" ' \"", "-n",      "100%s",    "\\n\n!'\"$`\\"};

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
        EXPECT_EQ(platform::system(command.text.c_str()), 0) << command.text;
        EXPECT_EQ(contentsOf("out"), expected) << command.text;
    }
}

TEST(KvuCommand, OrdinaryTextGivesTheTemplateItself) {
    const std::string path = "/usr/local/Zarn_2.0@a%b+c=d:e,f-azAZ09g" + std::string(5000, 'x');
    EXPECT_EQ(KvuCommand("rm -rf %s/%s", path, "b").text, "rm -rf " + path + "/b");
    EXPECT_EQ(KvuCommand("ls %s", "-r f").text, "ls './-r f'") << "a file is no option";
    EXPECT_EQ(KvuCommand("ls %s", "=1").text, "ls '=1'") << "tcsh has names for folders";
    for (const std::string text : {"", "x", "two words"})
        EXPECT_EQ(KvuFormat("%s", text.c_str()), text);
}

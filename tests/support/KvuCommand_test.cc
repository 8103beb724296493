#include "support/KvuCommand.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/Platform.h"
#include "tests/support/support_test.h"

namespace {

// Each way runs a script that writes its only argument to the file $OUT.
struct Way {
    const char* name;
    std::function<KvuShellText(const KvuShellText&)> wrap;
};

const Way ways[] = {
    {"plain", [](const KvuShellText& command) { return command; }},
    {"in single quotes",
     [](const KvuShellText& command) {
         return KvuCommand("sh -c '%s'", KvuInSingleQuotes(command));
     }},
    {"in double quotes",
     [](const KvuShellText& command) {
         return KvuCommand("sh -c \"%s\"", KvuInDoubleQuotes(command));
     }},
    {"through csh",
     [](const KvuShellText& command) {
         return KvuCommand("/bin/csh -c \"echo; echo; %s\" >/dev/null",
                           KvuInDoubleQuotes(KvuForCsh(command)));
     }},
    {"through su's shell in csh",
     [](const KvuShellText& command) {
         const KvuShellText su = KvuCommand("sh -c '%s'", KvuInSingleQuotes(command));
         return KvuCommand("/bin/csh -c \"%s\"", KvuInDoubleQuotes(KvuForCsh(su)));
     }},
};

const char* const words[] = {
    "plain",
    "two words",
    "it's",
    "say \"so\"",
    "`id -u`",
    "$(id -u)",
    "$HOME ${x}",
    "back\\slash",
    "end\\",
    "a\\!b",
    "wow!! !x",
    "line\nline",
    "",
    "*?[a-z]{a,b}",
    "a;b|c&d>e<f",
    "~root",
    "#none",
    "\t tab ",
    "'",
    "''\"\"'",
    "-n",
    "\\n\n!'\"$`\\",
    "gr\xc3\xbc\xc3\x9f",
    "100%s",
};

}  // namespace

TEST(KvuCommand, ShellSeesTheTextItself) {
    const TestFolder folder;
    const std::string out = folder / "out";
    const std::string script = folder.write("script", "printf %s \"$1\" >\"$OUT\"\n");
    setenv("OUT", out.c_str(), 1);
    for (const Way& way : ways) {
        for (const char* word : words) {
            SCOPED_TRACE(std::string(way.name) + ": [" + word + "]");
            folder.write("out", "nothing came");
            const KvuShellText inner = KvuCommand("sh %s %s", script, KvuShellArgument(word));
            EXPECT_EQ(0, platform::system(way.wrap(inner).text.c_str()));
            EXPECT_EQ(word, contentsOf(out));
        }
    }
}

TEST(KvuCommand, OrdinaryWordsComeBackUnchanged) {
    const char* const ordinary = "/usr/local/Zarn_2.0@a%b+c=d:e,f-g";
    EXPECT_EQ(ordinary, KvuShellWord(ordinary).text);
    EXPECT_EQ("rm -rf /a/b",
              KvuCommand("rm -rf %s/%s", std::string_view("/a"), std::string_view("b")).text);
}

TEST(KvuCommand, FileIsNoOption) {
    EXPECT_EQ("./-rf", KvuShellWord("-rf").text);
    EXPECT_EQ("'./-r f'", KvuShellWord("-r f").text);
    EXPECT_EQ("-rf", KvuShellArgument("-rf").text);
}

TEST(KvuCommand, LongCommandIsNotCut) {
    const std::string path(5000, 'x');
    EXPECT_EQ("ls " + path, KvuCommand("ls %s", std::string_view(path)).text);
    EXPECT_EQ(path + "5", KvuPrint("%s%d", path.c_str(), 5));
}

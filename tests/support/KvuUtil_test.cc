#include "support/KvuUtil.h"

#include <tuple>

#include "tests/fixtures/random.h"
#include "tests/fixtures/scratch.h"

namespace {

const char* const labels[] = {"Yes", "No", "May\"be $x", "Later"};

// Records its name and its arguments, each in brackets, and answers with the button $ANSWER.
const char* const KvProgram =
    "printf '[%s]' \"${0##*/}\" \"$@\" >notes\nprintf '%s' \"$ANSWER\"; eval \"$THEN\"";

class KvuUtilTest : public ScratchTest {
protected:
    KvuUtilTest() {
        writeProgram("bin/xconfirm", KvProgram);
        writeProgram("suite/bin/KvConfirm", KvProgram);
        setenv("PATH", (folder + "/bin:/usr/bin:/bin").c_str(), 1);
        unsetenv("ZARNHOME");
    }

    // The arguments that the program gets for `message`, in brackets.
    static std::string shown(const std::string& message) {
        EXPECT_EQ(KvuUtil::userInfo(message.c_str()), 1);
        const std::string notes = contentsOf("notes");
        const std::size_t start = notes.find("[-t]") + 4;
        return notes.substr(start, notes.find("[-B]") - start);
    }

    static int answer(const char* line, int n) {
        setenv("ANSWER", line, 1);
        return KvuUtil::userConfirm(n, labels, "a \"b\" `c` $d \\", nullptr);
    }
};

}  // namespace

TEST_F(KvuUtilTest, ProgramsGetTextAndButtons) {
    const char* const strange = "[Please confirm...][-t][a \"b\" `c` $d \\]";
    const std::string slider = "[xconfirm][-useslider][-icon]";
    const std::string question = slider + "[question][-header]";
    const std::string confirm = "[KvConfirm][-num]", text = "[-text][a \"b\" `c` $d \\][-header]";
    // With ZARNHOME or not: buttons, answer, result, what the program got.
    const std::tuple<const char*, int, const char*, int, std::string> cases[] = {
        {"", 1, "x", 1, question + strange + "[-B][Yes]"},
        {"", 2, "Yes", 0, question + strange + "[-b][No][-B][Yes]"},
        {"", 3, "No, thanks\n", 1, question + strange + "[-b][May\"be $x][-b][No][-B][Yes]"},
        {"", 2, "Neither", 2, question + strange + "[-b][No][-B][Yes]"},
        {"", 2, "", 2, question + strange + "[-b][No][-B][Yes]"},
        {"", 0, "Yes", 0, question + strange},
        {"none", 2, "No", 1, question + strange + "[-b][No][-B][Yes]"},
        {"suite", 0, "Yes", 0, question + strange},
        {"suite", 1, "No", 1, confirm + "[1][-b1][Continue]" + text + "[Please confirm...]"},
        {"suite", 2, "No\n", 1, confirm + "[2][-b1][Yes][-b2][No]" + text + "[Please confirm...]"},
        {"suite", 3, "?", 3,
         confirm + "[3][-b1][Yes][-b2][No][-b3][May\"be $x]" + text + "[Please confirm...]"},
        {"suite", 4, "Later", 3,
         question + strange + "[-b][Later][-b][May\"be $x][-b][No][-B][Yes]"}};
    runInPrivateUsr([&] {
        for (const auto& [home, n, line, result, notes] : cases) {
            SCOPED_TRACE(notes);
            setenv("ZARNHOME", home, 1);
            EXPECT_EQ(answer(line, n), result);
            EXPECT_EQ(contentsOf("notes"), notes);
        }
    });
}

TEST_F(KvuUtilTest, MessagesHaveTheirTitlesAndFit) {
    const std::string slider = "[xconfirm][-useslider][-icon]";
    runInPrivateUsr([&] {
        setenv("ZARNHOME", "suite", 1);
        KvuUtil::userConfirm(2, labels, nullptr, "The title");
        EXPECT_EQ(contentsOf("notes"),
                  "[KvConfirm][-num][2][-b1][Yes][-b2][No][-text][][-header][The title]");
        unsetenv("ZARNHOME");
        EXPECT_EQ(KvuUtil::userInfo("sure?"), 1);
        EXPECT_EQ(contentsOf("notes"),
                  slider + "[info][-header][For your information...][-t][sure?][-B][Continue]");
        EXPECT_EQ(KvuUtil::userError("sure?"), 0);
        EXPECT_EQ(contentsOf("notes"),
                  slider + "[error][-header][Oooops... Sorry!][-t][sure?][-B][Continue]");
        KvuUtil::userConfirm(2, labels, "sure?", "It's");
        EXPECT_EQ(contentsOf("notes"),
                  slider + "[error][-header][It's][-t][sure?][-b][No][-B][Yes]");
        EXPECT_EQ(shown("it's\n\n\"$x\" `id`"), "[it's][-t][][-t][\"$x\" `id`]");
        // The option and the quotes take 5 of the 1023 characters; no character is cut in half.
        const std::string fitting(1018, 'x');
        EXPECT_EQ(shown(fitting), "[" + fitting + "]");
        EXPECT_EQ(shown(fitting + "x"), "[" + fitting.substr(3) + "...]");
        EXPECT_EQ(shown(fitting.substr(4) + "\xc3\xbc ..."), "[" + fitting.substr(4) + "...]");
        for (RandomTexts random{20, {"\nYes"}}; random.next();)
            EXPECT_EQ(answer((labels[2] + random.text).c_str(), 4), 2);
        EXPECT_EQ(fs::status("/usr/tmp").permissions(), fs::perms(01777));
        EXPECT_TRUE(fs::is_empty("/usr/tmp")) << "the answer file stayed";
        ASSERT_EQ(outcomeOf("rmdir /usr/tmp && mount -o remount,ro /usr").status, 0);
        EXPECT_EQ(answer("No\n", 2), 1) << "without /usr/tmp";
        EXPECT_NE(outcomeOf("ls -d /tmp/.zarnUserConfirm.*").status, 0);
    });
}

TEST_F(KvuUtilTest, AnswerFileThatIsPlantedOrLostIsNotUsed) {
    writeFile("victim", "precious");
    runInPrivateUsr([&] {
        testing::internal::CaptureStderr();
        setenv("THEN", "rm /usr/tmp/.zarnUserConfirm", 1);
        EXPECT_EQ(answer("No\n", 2), 0);
        fs::create_symlink(folder + "/victim", "/usr/tmp/.zarnUserConfirm");
        EXPECT_EQ(answer("No\n", 2), 0);
        EXPECT_EQ(KvuUtil::userError("disk full"), 0);
        EXPECT_EQ(KvuUtil::userInfo("done"), 1);
        const std::string error =
            "Internal Error: Could not open temporary file /usr/tmp/.zarnUserConfirm.";
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  error + error + error + "\nOooops... Sorry!\ndisk full\n" + error +
                      "\nFor your information...\ndone\n");
    });
    EXPECT_EQ(contentsOf("victim"), "precious");
}

TEST(KvuUtil, NamesTheProduct) {
    const auto all = [] {
        std::string text;
        for (const char* member :
             {KvuUtil::_productName, KvuUtil::_productDescription, KvuUtil::_productVersion,
              KvuUtil::_productMajorVersion, KvuUtil::_productMinorVersion,
              KvuUtil::_productCopyright, KvuUtil::_productResourceName})
            text.append(member).append("|");
        return text;
    };
    KvuUtil::initClass("name", "described", "2", ".0", "(c)", "resource");
    EXPECT_EQ(all(), "name|described|2.0|2|.0|(c)|resource|");
    const std::string most(1023, 'x');
    KvuUtil::initClass((most + "y").c_str(), nullptr, "3", nullptr, nullptr, nullptr);
    EXPECT_EQ(all(), most + "||3|3|||" + most + "|");
}

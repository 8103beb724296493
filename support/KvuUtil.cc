#include "support/KvuUtil.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/Platform.h"
#include "support/KvuCommand.h"
#include "support/KvuOwners.h"
#include "support/KvuSystem.h"

KvText KvuUtil::_productName;
KvText KvuUtil::_productDescription;
KvText KvuUtil::_productVersion;
KvText KvuUtil::_productMajorVersion;
KvText KvuUtil::_productMinorVersion;
KvText KvuUtil::_productCopyright;
KvText KvuUtil::_productResourceName;

namespace {

constexpr const char* usualAnswerFile = "/usr/tmp/.zarnUserConfirm";
constexpr const char* confirmName = "KvConfirm";
constexpr int mostButtons = 3;

KvText KvMesgIcon = "question";
const char* const KvConfirmMesg[] = {"Continue"};

// What one userConfirm call asks.
struct Question {
    int n;
    const char* const* labels;
    const char* message;
    const char* title;
    std::string answerFile;
};

// The file for the answer. If "/usr/tmp" is missing and we are not root, we can't create it, so we
// use a file in a private folder.
class AnswerFile {
public:
    AnswerFile() {
        if (platform::prepareTemporary(usualAnswerFile)) {
            path_ = usualAnswerFile;
            return;
        }
        std::string folder = "/tmp/.zarnUserConfirm.XXXXXX";
        if (access("/usr/tmp", F_OK) == 0 || mkdtemp(folder.data()) == nullptr) return;
        folder_ = folder;
        if (platform::prepareTemporary((folder + "/answer").c_str())) path_ = folder + "/answer";
    }
    ~AnswerFile() {
        std::error_code error;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, error);
    }
    AnswerFile(const AnswerFile&) = delete;
    AnswerFile& operator=(const AnswerFile&) = delete;

    /// Empty when no safe file could be made.
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
    std::string folder_;
};

void setMember(KvText& member, const char* text) {
    static_cast<void>(KvCopyText(member, KvOrEmpty(text)));
}

KvuShellText inDoubleQuotes(const char* text) {
    return KvuInDoubleQuotes({text});
}

KvuShellText buttonList(const Question& question) {
    KvuShellText list;
    for (int i = question.n - 1; i >= 0; --i) {
        list.text += i == 0 ? " -B " : " -b ";
        list = KvuCommand("%s\"%s\"", list, inDoubleQuotes(question.labels[i]));
    }
    return list;
}

std::string inConfirmString(char c) {
    if (c == '\n') return "' -t '";
    return KvuInSingleQuotes({std::string(1, c)}).text;
}

int getConfirmString(const char* message, KvText& out) {
    const std::string_view mark = "...";
    const std::size_t room = KvTextSize - sizeof("'");
    std::string arguments = "-t '";
    std::size_t markedLength = arguments.size();
    for (const char c : std::string_view(message)) {
        // Never cut in the middle of a multibyte character.
        const bool starts = (c & 0xC0) != 0x80;
        if (starts && arguments.size() + mark.size() <= room) markedLength = arguments.size();
        arguments += inConfirmString(c);
    }
    if (arguments.size() > room) arguments = arguments.substr(0, markedLength).append(mark);
    const int end = static_cast<int>(arguments.size());
    static_cast<void>(KvCopyText(out, arguments + "'"));
    return end;
}

std::string confirmProgram() {
    const char* const home = std::getenv("ZARNHOME");
    if (home == nullptr) return {};
    const std::string path = KvuFormat("%s/bin/%s", home, confirmName);
    return KvuSystem::fileExists(nullptr, path.c_str(), 0) ? path : std::string();
}

// The tab and the blanks before an option are part of KvConfirm's established command line; the
// shell drops them.
KvuShellText confirmCommand(std::string_view program, const Question& question) {
    const std::string_view answer = question.answerFile;
    const KvuShellText message = inDoubleQuotes(question.message);
    const KvuShellText title = inDoubleQuotes(question.title);
    if (question.n == 1) {
        return KvuCommand("%s -num 1 -b1 \"Continue\" -text \"%s\" -header \"%s\" > %s", program,
                          message, title, answer);
    }
    const KvuShellText first = inDoubleQuotes(question.labels[0]);
    const KvuShellText second = inDoubleQuotes(question.labels[1]);
    if (question.n == 2) {
        return KvuCommand(
            "%s -num 2 -b1 \"%s\" -b2 \"%s\" -text \"%s\" \t         -header \"%s\" > %s", program,
            first, second, message, title, answer);
    }
    return KvuCommand(
        "%s -num 3 -b1 \"%s\" -b2 \"%s\" -b3 \"%s\" \t         -text \"%s\" -header \"%s\" > %s",
        program, first, second, inDoubleQuotes(question.labels[2]), message, title, answer);
}

KvuShellText xconfirmCommand(const Question& question) {
    KvText arguments;
    getConfirmString(question.message, arguments);
    return KvuCommand("xconfirm -useslider -icon %s -header '%s' %s %s > %s",
                      std::string_view(KvMesgIcon), KvuInSingleQuotes({question.title}),
                      KvuShellText{arguments}, buttonList(question),
                      std::string_view(question.answerFile));
}

KvuShellText questionCommand(const Question& question) {
    const std::string program = confirmProgram();
    const bool fits = question.n >= 1 && question.n <= mostButtons;
    if (program.empty() || !fits) return xconfirmCommand(question);
    return confirmCommand(program, question);
}

int reportNoAnswerFile() {
    std::fprintf(stderr, "Internal Error: Could not open temporary file %s.", usualAnswerFile);
    std::fflush(stderr);
    return 0;
}

void removeAnswer(const Question& question) {
    if (question.answerFile == usualAnswerFile)
        KvuSystem::system("rm -f /usr/tmp/.zarnUserConfirm", 1);
}

int answerIn(const char* line, const Question& question) {
    for (int i = 0; i < question.n; ++i) {
        if (std::string_view(line).starts_with(question.labels[i])) return i;
    }
    return question.n;
}

int readAnswer(const Question& question) {
    char line[256] = "";
    {
        const KvuFile file(std::fopen(question.answerFile.c_str(), "r"));
        if (file == nullptr) return reportNoAnswerFile();
        if (std::fgets(line, sizeof line, file.get()) == nullptr) line[0] = '\0';
    }
    removeAnswer(question);
    return question.n < 1 ? 0 : answerIn(line, question);
}

// The user must get the message even if the confirmation program can't be used.
int tellWithoutProgram(const Question& question) {
    reportNoAnswerFile();
    if (question.n != 1) return 0;
    std::fprintf(stderr, "\n%s\n%s\n", question.title, question.message);
    return 1;
}

int ask(Question question) {
    const AnswerFile file;
    question.answerFile = file.path();
    if (question.answerFile.empty()) return tellWithoutProgram(question);
    KvuSystem::system(questionCommand(question).text.c_str(), 1);
    if (question.n != 1) return readAnswer(question);
    removeAnswer(question);
    return 1;
}

}  // namespace

void KvuUtil::initClass(const char* name, const char* description, const char* majorVersion,
                        const char* minorVersion, const char* copyright, const char* resourceName) {
    setMember(_productName, name);
    setMember(_productDescription, description);
    setMember(_productMajorVersion, majorVersion);
    setMember(_productMinorVersion, minorVersion);
    setMember(_productVersion,
              KvuFormat("%s%s", _productMajorVersion, _productMinorVersion).c_str());
    setMember(_productCopyright, copyright);
    setMember(_productResourceName, resourceName != nullptr ? resourceName : name);
}

int KvuUtil::userInfo(const char* message) {
    setMember(KvMesgIcon, "info");
    return userConfirm(1, KvConfirmMesg, message, "For your information...");
}

int KvuUtil::userError(const char* message) {
    setMember(KvMesgIcon, "error");
    userConfirm(1, KvConfirmMesg, message, "Oooops... Sorry!");
    return 0;
}

int KvuUtil::userConfirm(int n, const char* const* labels, const char* message, const char* title) {
    if (title == nullptr) setMember(KvMesgIcon, "question");
    return ask({n, labels, message != nullptr ? message : "",
                title != nullptr ? title : "Please confirm...", ""});
}

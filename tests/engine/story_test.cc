#include <gtest/gtest.h>  // before X.h, whose macros break it

#include <algorithm>

#include "engine/session.h"
#include "engine/window.h"
#include "tests/fixtures/installing.h"

namespace {

const fs::path stories = ZARN_SOURCE_DIR "/tests/engine/stories";

std::vector<std::string> titles() {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(stories)) all.push_back(entry.path().stem());
    std::ranges::sort(all);
    return all;
}

/// Each story is a file: lines with ">" say what the user does, the others what comes of it. The
/// first column of the three tables below is what can follow ">".
class Story : public Installing, public testing::WithParamInterface<std::string> {
protected:
    void follow(const std::string& line) {
        const std::size_t end = std::min(line.find(' '), line.size());
        const std::string verb = line.substr(0, end);
        const std::string rest = line.substr(std::min(end + 1, line.size()));
        if (const auto act = acts.find(verb); act != acts.end()) return act->second(rest);
        if (const auto one = withText.find(verb); one != withText.end()) {
            const std::size_t bar = std::min(rest.find(" | "), rest.size());
            const std::string text = full(rest.substr(0, bar));
            answers.prepare(stepsOf(rest.substr(std::min(bar + 3, rest.size()))));
            tell([&] { return one->second(text.c_str()); });
            return;
        }
        ASSERT_TRUE(operations.contains(verb)) << verb;
        answers.prepare(stepsOf(rest));
        tell(operations.at(verb));
    }

private:
    using Text = const std::string&;

    // A text in which "@" stands for the test's folder.
    std::string full(std::string text) {
        for (std::size_t at = 0; (at = text.find('@')) != text.npos;) text.replace(at, 1, folder);
        return text;
    }

    // The buttons, 0 the first, that answer the questions; "x" closes one.
    std::deque<Step> stepsOf(const std::string& buttons) {
        std::deque<Step> steps;
        for (const char button : buttons) {
            if (button == ' ') continue;
            const Step step = button == 'x' ? Step(closeBox) : answer(button - '0');
            steps.emplace_back([=, this, first = std::exchange(meanwhile, "")] {
                if (!first.empty()) inFolder(first);
                const Widget third = XmMessageBoxGetChild(kvcMessageWidget, XmDIALOG_HELP_BUTTON);
                return XtIsManaged(third) ? "has a third button" : step();
            });
        }
        return steps;
    }

    Outcome inFolder(const std::string& command) {
        return outcomeOf("cd " + folder + "; PATH=/usr/bin:/bin; " + command);
    }

    void sh(const std::string& command) {
        const Outcome outcome = inFolder(command);
        story += neutral(outcome.output);
        EXPECT_EQ(outcome.status, 0) << command;
    }

    void makeTool(const std::string& text) {
        const std::size_t end = std::min(text.find(' '), text.size());
        std::string lines = text.substr(end);
        const std::size_t at = lines.find("BUILD");
        if (at != lines.npos) lines.replace(at, 5, ZARN_BINARY_DIR);
        script(text.substr(0, end), lines);
    }

    static int turn(const char* name, bool on) {
        mark(XtNameToWidget(kviInstallWidget, (std::string("*kvi") + name).c_str()), on);
        const KvmInstallInfo& info = KvmInstallMgr::_info;
        return info.productChanged * 100 + info.subsystemsAdded * 10 + info.subsystemsRemoved;
    }

    // Everything is ready for a first installation from an archive.
    void fresh() {
        fs::remove_all(here / "suite");
        forget();
        ASSERT_EQ(chdir(here.c_str()), 0);
        pack();
        fs::remove("Zarn_install");
        writeProgram("Zarn_install", "");
        keepOnly("models");
        start("suite", {});
    }

    // A suite with three subsystems is installed.
    void haveSuite() {
        const fs::path tree = here / "suite/Zarn_system";
        for (const char* name : {"textures", "models", "render"})
            writeFile(tree / "subsystems" / name / "content", name);
        writeProgram(tree / "bin/Zarn.install", "[ \"$1\" = -r ] && rm -rf \"$2\"");
        fs::create_directory(tree / "resources");
        KvText host;
        getHostName(host);
        writeFile(record,
                  "# PROGRAM: Zarn-Ambrel\n# VERSION: 2.0\n# DATE:    long ago\n# PATH:    " +
                      folder + "/suite\n# HOST:    " + host + "\n");
        writeFile(tree / "resources/.Zarn_inst", contentsOf(record));
        ASSERT_TRUE(KvmInstallMgr::getInstallInfo());
        KvmInstallMgr::init();
    }

    void begin() {
        ASSERT_EQ(chdir(here.c_str()), 0);
        KvmInstallMgr::_info = {};
        KvmInstallMgr::checkIfRoot();
        KvmInstallMgr::initInfo();
    }

    // Makes the window look like nothing that the engine shows.
    static void spoil() {
        for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
            KvcLabelSetString(row.getWidget(), "?");
            KvmShowMark(row.getWidget(), KvmMark::removed);
        }
        for (const Widget w : {kviInstallDiskReq, kviInstallSystemMsg}) KvcLabelSetString(w, "?");
        for (const Widget w : {kviInstallReadText, kviInstallLocationText}) type(w, "?");
        KvmAllowChanges(true);
        KvmAllowInstall(false);
        KvmSetToggle(kviInstallToggleCD, true);
        KvmShowAvailable("?", false);
    }

    void listCatalogue() {
        for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
            story += KvuFormat("%s, %s, %s, %.1f, %d%d%d\n", XtName(row.getWidget()), row.label,
                               row.directory, row.sizeMB, row.installed, row.selected,
                               row.offForProduct);
        for (const KvmInstallProductRow& row : KvmInstallProduct)
            story += KvuFormat("%s, %s, %s, %d\n", XtName(row.getWidget()),
                               KvmInstallMgr::getProductCode(row.program),
                               KvmInstallMgr::getProductName(row.code), row.mask);
        for (const KvmInstallMediumRow& row : KvmInstallMedium)
            story += KvuFormat("%s, %s\n", XtName(row.getWidget()),
                               row.option != nullptr ? row.option : "-");
        story += KvuFormat("%s, %s\n", KvmInstallMgr::getProductCode("Zarn"),
                           KvmInstallMgr::getProductName("PNX"));
    }

    void whereAreWe() {
        story += KvuFormat(
            "%s, %s, %s, %s, version %s%s%s%s\n", neutral(KvmInstallMgr::_infoFile).c_str(),
            neutral(KvmInstallMgr::getPath()).c_str(), KvmInstallMgr::getProductCode(),
            KvmInstallMgr::getProductName(), KvmInstallMgr::_info.version,
            KvmInstallMgr::isInstalled(nullptr) ? ", installed" : "",
            KvmInstallMgr::isRunningOnServer() ? ", here" : "",
            KvmInstallMgr::installedInThisSession() ? ", now" : "");
    }

    static int mediumOf(const std::string& name) {
        const std::string names[] = {"tape", "remote", "tar", "cd"};
        return static_cast<int>(std::ranges::find(names, name) - names);
    }

    std::string meanwhile;  // a command to be run while the next question is open
    const std::map<std::string, std::function<void(Text)>> acts{
        {"sh", [this](Text command) { sh(command); }},
        {"meanwhile", [this](Text command) { meanwhile = command; }},
        {"tool", [this](Text text) { makeTool(text); }},
        {"fresh", [this](Text) { fresh(); }},
        {"bare", [this](Text) { installBare(); }},
        {"suite", [this](Text) { haveSuite(); }},
        {"begin", [this](Text) { begin(); }},
        {"spoil", [](Text) { spoil(); }},
        {"root", [](Text) { KvmInstallMgr::_isRoot = 1; }},
        {"forget", [this](Text) { forget(); }},
        {"brief", [this](Text) { brief = true; }},
        {"full", [this](Text) { brief = false; }},
        {"cd", [this](Text place) { EXPECT_EQ(chdir((here / place).c_str()), 0); }},
        {"keep", [this](Text directories) { keepOnly(directories); }},
        {"read", [this](Text text) { type(kviInstallReadText, full(text)); }},
        {"place", [this](Text text) { type(kviInstallLocationText, full(text)); }},
        {"path", [this](Text text) { type(kviInstallIconPath, full(text)); }},
        {"catalogue", [this](Text) { listCatalogue(); }},
        {"where", [this](Text) { whereAreWe(); }},
        {"start",
         [this](Text text) {
             start(text.substr(0, text.find(' ')), {}, mediumOf(text.substr(text.find(' ') + 1)));
         }},
    };
    const std::map<std::string, std::function<int(const char*)>> withText{
        {"go", KvmInstallMgr::setInstallInfo},
        {"move", KvmInstallMgr::setLocation},
        {"on", [](const char* name) { return turn(name, true); }},
        {"off", [](const char* name) { return turn(name, false); }},
        {"medium", [](Text name) { return KvmInstallMgr::setReadFrom(mediumOf(name)), 0; }},
        {"copy", [](const char* source) { return KvmInstallMgr::copyInstall(source, 1); }},
        {"copy-part", [](const char* source) { return KvmInstallMgr::copyInstall(source, 0); }},
    };
    const std::map<std::string, std::function<int()>> operations{
        {"launch",
         [] {
             char name[] = "Zarn_install";
             char* argv[] = {name, nullptr};
             const int started = KvmInstallMgr::start(1, argv);
             EXPECT_STREQ(KvmInstallMgr::_progName, name);
             return started;
         }},
        {"init", [] { return KvmInstallMgr::init(), 0; }},
        {"install", KvmInstallMgr::install},
        {"remove", KvmInstallMgr::remove},
        {"record", [] { return KvmInstallMgr::getInstallInfo() * 10 + KvmRecordIsAsSeen(); }},
        {"unfinished", [] { return KvmTellOfUnfinished(), !KvmUnfinishedPlace().empty(); }},
        {"desktop", KvmInstallMgr::installDesktop},
        {"translators", KvmInstallMgr::installTranslators},
        {"icon", KvmInstallMgr::installIcon_icon},
        {"run", KvmInstallMgr::runApp},
    };
};

// With ZARN_UPDATE in the environment, what came of the stories is written in place of what should.
TEST_P(Story, HappensAsWritten) {
    const std::string written = contentsOf(stories / (GetParam() + ".txt"));
    if (written.starts_with("## Only the super-user") && geteuid() != 0) GTEST_SKIP();
    std::istringstream lines(written);
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '>' || line.starts_with("##")) story += line + "\n";
        if (line[0] == '>') follow(line.substr(2));
    }
    if (std::getenv("ZARN_UPDATE") != nullptr) writeFile(stories / (GetParam() + ".txt"), story);
    EXPECT_EQ(story, written);
}

INSTANTIATE_TEST_SUITE_P(Engine, Story, testing::ValuesIn(titles()),
                         [](const auto& title) { return title.param; });

}  // namespace

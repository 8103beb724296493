#include <gtest/gtest.h>  // before X.h, whose macros break it

#include <algorithm>

#include "tests/fixtures/installing.h"

namespace {

// Only the first installation of a process shows the brochure.
class Brochure : public Installing {
protected:
    std::string shown() {
        script("xwsh", "printf '%s|' \"$@\" >new; mv new " + (here / "said").string());
        installBare();
        for (int i = 0; i < 200 && !fs::exists(here / "said"); ++i) usleep(10000);
        return contentsOf(here / "said");
    }
};

TEST_F(Brochure, IsShown) {
    EXPECT_EQ(shown(),
              "-bg|black|-fg|cyan|-cursorfg|cyan|-cursorbg|cyan|-geom|80x20+100+500|-title|"
              "Installation will take a few minutes... use the space bar to scroll up and down|"
              "-icontitle|Zarn install|-e|/bin/csh|-c|more /tmp/.kvcInstallMsg; cat|");
    EXPECT_EQ(outcomeOf("cksum </tmp/.kvcInstallMsg").output, "3098238277 7433\n");
}

TEST_F(Brochure, IsNotWrittenThroughALink) {
    const std::string victim = writeFile(here / "victim", "precious");
    fs::create_symlink(victim, "/tmp/.kvcInstallMsg");
    EXPECT_EQ(shown(), "");
    EXPECT_EQ(contentsOf(victim), "precious");
}

TEST_F(Installing, WorksInLocationsThatAShellWouldMisread) {
    pack();
    // If a shell expanded it, ${IFS} would become the blank that a location may not contain.
    for (const char* name : {"plain", "it's", "a\"b", "$(touch${IFS}oops)", "`touch${IFS}oops`",
                             "a;b&c", "*", "~", "#x", "\\n", "\xe4\xf6"}) {
        SCOPED_TRACE(name);
        start(std::string("in/") + name, {1});
        EXPECT_TRUE(KvmInstallMgr::install()) << message();
        EXPECT_EQ(subsystems(), allSubsystems);
        EXPECT_EQ(contentsOf(suite / "script-said"), suite.string() + "\nPNT\nZarn-Pinnet\n");
        EXPECT_EQ(contentsOf(record), contentsOf(suite / "Zarn_system/resources/.Zarn_inst"));
        EXPECT_EQ(listing(suite), "Zarn_system script-said ");
        EXPECT_TRUE(KvmInstallMgr::installedInThisSession());
    }
    EXPECT_FALSE(fs::exists(here / "oops"));
}

TEST_F(Installing, RaisesItsTerminalForARemoteTape) {
    pack();
    Display* display = XtDisplay(topLevel);
    const Window root = DefaultRootWindow(display);
    XSetWindowAttributes free = {};
    free.override_redirect = True;
    std::vector<Window> windows;
    for (int i = 0; i < 2; ++i) {
        windows.push_back(XCreateWindow(display, root, 0, 0, 9, 9, 0, CopyFromParent, InputOutput,
                                        CopyFromParent, CWOverrideRedirect, &free));
        XMapWindow(display, windows[i]);
    }
    const auto raised = [&](int medium, const std::string& id) {
        XRaiseWindow(display, windows[1]);
        setenv("WINDOWID", id.c_str(), 1);
        start("suite", {}, medium);
        type(kviInstallReadText, here / "make");
        EXPECT_FALSE(KvmInstallMgr::install()) << "a folder is no tape";
        KvmInstallMgr::_info.readFrom = medium;
        type(kviInstallReadText, here / "no tape");
        EXPECT_FALSE(KvmInstallMgr::install());
        Window up = 0, above = 0, *all = nullptr;
        unsigned count = 0;
        XQueryTree(display, root, &up, &above, &all, &count);
        const auto at = [&](Window w) { return std::find(all, all + count, w); };
        const bool is = at(windows[0]) > at(windows[1]);
        XFree(all);
        return is;
    };
    EXPECT_FALSE(raised(KvmLocalTape, std::to_string(windows[0])));
    EXPECT_TRUE(raised(KvmRemoteTape, std::to_string(windows[0])));
    EXPECT_FALSE(raised(KvmRemoteTape, "12345678")) << "there is none";
    for (const Window w : windows) XDestroyWindow(display, w);
}

}  // namespace

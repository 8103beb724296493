#include "support/KvuSystem.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <ctime>

#include "support/KvuOwners.h"
#include "support/KvuUtil.h"
#include "tests/fixtures/session.h"

// The program's clock, which the tests set.
static std::time_t today = 0;
extern "C" std::time_t time(std::time_t*) noexcept {
    return today;
}

namespace {

using KvuSystemTest = ScratchTest;
using KvS = KvuSystem;

int all(struct dirent*) {
    return 1;
}

std::string entries(const char* dir, int count, dirent** list) {
    const KvuListing owner(list, count);
    std::string text = std::to_string(count) + (count < 0 && list != nullptr ? " with a list" : "");
    for (int i = 0; i < count; ++i) text.append(" ").append(list[i]->d_name);
    return text.append(KvS::isADirectory(KvOrEmpty(dir)) ? "" : " of nothing");
}

std::string ls(const char* dir, const char* extension) {
    dirent** list = nullptr;
    const int count = KvS::ls(dir, &list, extension);
    return entries(dir, count, list);
}

std::string scan(const char* dir, const char* select) {
    dirent** list = nullptr;
    const int count = KvS::scandir(dir, &list, select != nullptr ? all : nullptr);
    return entries(dir, count, list);
}

int workingDirectory(KvText& out) {
    return KvS::getwd(out);
}

int setVariable(const char* name, const char* value) {
    return value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

int enter(const char* folder) {
    return chdir(folder);
}

// A directory; exists; exists and is not empty; readable; writable; a writable directory; is empty.
std::string look(const char* path) {
    std::string answers;
    for (const int answer :
         {KvS::isADirectory(path), KvS::fileExists(nullptr, path, 0),
          KvS::fileExists(nullptr, path, 1), KvS::fileIsReadable(path), KvS::fileIsWritable(path),
          KvS::isADirectoryRW(path), KvS::fileIsEmpty(path)})
        answers += std::to_string(answer);
    return answers;
}

void setToday(int year, int month, int day) {
    setenv("TZ", "UTC", 1);
    std::tm date = {};
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day;
    today = timegm(&date);
}

std::map<std::string, Operation> operations() {
    const auto on = [](auto operation) { return callable(std::function(operation)); };
    return {{"look", on(look)},
            {"exists", on(KvS::fileExists)},
            {"isCompressed", on(KvS::isCompressed)},
            {"rm", on(KvS::rm)},
            {"mkdir", on(KvS::mkdir)},
            {"cp", on(KvS::cp)},
            {"cat", on(KvS::cat)},
            {"mv", on(KvS::mv)},
            {"ln", on(KvS::ln)},
            {"ls", on(ls)},
            {"scan", on(scan)},
            {"number", on(KvS::numFiles)},
            {"dirname", on(KvS::dirname)},
            {"absolute", on(KvS::getAbsolutePath)},
            {"relative", on(KvS::getRelativePath)},
            {"working", on(workingDirectory)},
            {"enter", on(enter)},
            {"compress", on(KvS::compress)},
            {"uncompress", on(KvS::uncompress)},
            {"mail", on(KvS::mail)},
            {"edit", on(KvS::editFile)},
            {"isRoot", on(KvS::runningAsRoot)},
            {"isLocal", on(KvS::runningLocally)},
            {"set", on(setVariable)},
            {"freeSpace", on(KvS::getFreeSpace)},
            {"isLoggedIn", on(KvS::isLoggedIn)}};
}

}  // namespace

TEST_F(KvuSystemTest, FilesSession) {
    umask(022);
    fs::create_directory("bin");
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    expectSession(ZARN_SOURCE_DIR "/tests/support/files.txt", operations());
    fs::permissions("rm/tree/b", fs::perms(0755));
}

TEST_F(KvuSystemTest, MachineSession) {
    KvText host, name;
    ASSERT_EQ(gethostname(host, sizeof host), 0);
    EXPECT_EQ(KvS::gethostname(name), 1);
    EXPECT_STREQ(name, host);
    for (const auto& [display, local] : {std::pair(":0", 1), {"x:0", 0}}) {
        setenv("DISPLAY", (std::string(host) + display).c_str(), 1);
        EXPECT_EQ(KvS::runningLocally(), local);
    }
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    runInPrivateUsr(
        [] { expectSession(ZARN_SOURCE_DIR "/tests/support/machine.txt", operations()); });
}

TEST_F(KvuSystemTest, SaysWhenNoProcessCanBeMade) {
    fs::permissions(".", fs::perms(0777));
    runInChild([] {
        using KvS = KvuSystem;
        KvuUtil::initClass("Product", nullptr, nullptr, nullptr, nullptr, nullptr);
        rlimit before = {};
        ASSERT_TRUE(becomeOrdinary() && getrlimit(RLIMIT_NPROC, &before) == 0);
        ASSERT_NE(std::freopen("said", "w", stderr), nullptr);
        const auto limit = [&](rlim_t most) {
            const rlimit changed = {most, before.rlim_max};
            return setrlimit(RLIMIT_NPROC, &changed);
        };
        EXPECT_EQ((Row{KvS::system(std::string(1048576, 'x').c_str(), 0), limit(0),
                       KvS::system("true", 0), KvS::system("true", 0), KvS::system("true", 1),
                       KvS::editFile("a", "ed"), KvS::editFile("a", nullptr),
                       limit(before.rlim_cur), KvS::system("true", 0), KvS::system("exit 2", 1)}),
                  "-1|0|0|-1|-1|0|0|0|-1|512|");
    });
    const std::string warning =
        "You are running out of swap space on your system. Some Product operations may fail. "
        "Please save your project and restart the program.\n\n"
        "Refer to the cuecard on \"SwapSpace\" for your operating system (using \"Cue Cards - On "
        "Topic\") to find out how to increase the size of swap "
        "space on your system drive.";
    EXPECT_EQ(contentsOf("said"), warning + warning + warning + warning + warning);
}

TEST_F(KvuSystemTest, DatesComeFromTheClock) {
    const std::tuple<int, int, int, int> dates[] = {
        {1997, 6, 5, 0},  {1997, 6, 6, -1}, {1997, 6, 4, 1},  {1997, 7, 1, -1},
        {1997, 5, 31, 1}, {1998, 1, 1, -1}, {1996, 12, 31, 1}};
    KvText date;
    setToday(1997, 6, 5);
    for (const auto& [year, month, day, order] : dates)
        EXPECT_EQ(KvuSystem::compareDate(year, month, day), order) << year << month << day;
    std::string year;
    for (int month = 1; month <= 12; ++month) {
        setToday(1999, month, 20 + month % 2);
        KvuSystem::getDate(date);
        year.append(date).append(" ");
        EXPECT_EQ(KvuSystem::compareDate(1999, month, 20 + month % 2), 0) << month;
    }
    EXPECT_EQ(year,
              "Jan-21-1999 Feb-20-1999 Mar-21-1999 Apr-20-1999 May-21-1999 Jun-20-1999 Jul-21-1999 "
              "Aug-20-1999 Sep-21-1999 Oct-20-1999 Nov-21-1999 Dec-20-1999 ");
    today = std::time_t{1} << 62;
    KvuSystem::getDate(date);
    EXPECT_STREQ(date, "11-1-95") << "beyond the calendar";
    EXPECT_EQ(KvuSystem::compareDate(1999, 1, 1), 1);
}

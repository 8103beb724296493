#include "support/KvuSystem.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <ctime>
#include <tuple>

#include "support/KvuOwners.h"
#include "support/KvuUtil.h"
#include "tests/fixtures/scratch.h"

// The program's clock, which the tests set.
static std::time_t today = 0;
extern "C" std::time_t time(std::time_t*) noexcept {
    return today;
}

namespace {

using KvuSystemTest = ScratchTest;

std::string listed(const std::string& directory) {
    return outcomeOf("ls -A " + directory).output;
}

// Everything below the working directory: mode, name, and where a link leads.
std::string tree() {
    return outcomeOf("find . -mindepth 1 -printf '%M %P %l\\n' | LC_ALL=C sort -k2").output;
}

// What the operation returns, and the text that it stores.
template <typename Operation>
std::string told(Operation operation) {
    KvText out = "old";
    const int result = operation(out);
    return std::to_string(result) + " " + out;
}

int all(struct dirent*) {
    return 1;
}

// The number of entries, and their names.
std::string entries(const char* dir, const char* extension, int (*select)(struct dirent*)) {
    KvuListing list;
    list.count = select != nullptr ? KvuSystem::scandir(dir, &list.entries, select)
                                   : KvuSystem::ls(dir, &list.entries, extension);
    std::string text = std::to_string(list.count);
    for (int i = 0; i < list.count; ++i) text.append(" ").append(list.entries[i]->d_name);
    return list.count < 0 && list.entries != nullptr ? "a list" : text;
}

void setToday(int year, int month, int day) {
    setenv("TZ", "UTC", 1);
    std::tm date = {};
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day;
    today = timegm(&date);
}

}  // namespace

TEST_F(KvuSystemTest, FilesAreLookedAt) {
    writeFile("full", "# comment\n \nword\n", 0666);
    writeFile("blank", "# comment\n\n", 0666);
    writeFile("fixed", "x", 0444);
    writeFile("hidden", "x", 0);
    writeFile("dir/__TEST__", "precious", 0666);
    for (const char* path : {"shut", "fixed dir"}) fs::create_directory(path);
    fs::create_symlink("nowhere", "dangling");
    fs::create_symlink("dir", "link");
    umask(0);
    ASSERT_EQ(mkfifo("pipe", 0666), 0);
    fs::permissions("dir", fs::perms(0777));
    fs::permissions("shut", fs::perms::none);
    fs::permissions("fixed dir", fs::perms(0555));
    fs::permissions(".", fs::perms(0777));
    const std::string before = tree();
    // A directory; exists; exists and is not empty; readable; writable; a writable directory; is
    // empty.
    const char* const cases[][2] = {
        {"full", "0111100"},       {"blank", "0101101"},     {"fixed", "0111000"},
        {"hidden", "010000-1"},    {"dangling", "010000-1"}, {"pipe", "0101001"},
        {"dir", "110101-1"},       {"link", "110101-1"},     {"shut", "110000-1"},
        {"fixed dir", "110100-1"}, {"missing", "000010-1"},  {"x/full", "000000-1"},
        {"full/x", "000000-1"},    {"/etc", "110100-1"},     {"dir/__TEST__", "0111100"}};
    runInChild([&] {
        ASSERT_TRUE(becomeOrdinary());
        using KvS = KvuSystem;
        for (const auto& [path, seen] : cases) {
            std::string answers;
            for (const int answer :
                 {KvS::isADirectory(path), KvS::fileExists(nullptr, path, 0),
                  KvS::fileExists(nullptr, path, 1), KvS::fileIsReadable(path),
                  KvS::fileIsWritable(path), KvS::isADirectoryRW(path), KvS::fileIsEmpty(path)})
                answers += std::to_string(answer);
            EXPECT_EQ(answers, seen) << path;
        }
    });
    const std::tuple<const char*, const char*, int, int> named[] = {
        {".", "full", 1, 1},       {".", "ful", 0, 0},         {"x", "full", 0, 0},
        {"dir", "__TEST__", 1, 1}, {".", "blank", 1, 0},       {"/", "etc", 0, 1},
        {nullptr, nullptr, 0, 0},  {".", "dir/__TEST__", 0, 0}};
    for (const auto& [directory, name, nonEmpty, exists] : named)
        EXPECT_EQ(KvuSystem::fileExists(directory, name, nonEmpty), exists) << name << nonEmpty;
    EXPECT_EQ(tree(), before);
    EXPECT_EQ(contentsOf("dir/__TEST__"), "precious");
    EXPECT_EQ((Row{KvuSystem::isCompressed("x.gz"), KvuSystem::isCompressed("x.Z"),
                   KvuSystem::isCompressed("x.z"), KvuSystem::isCompressed(nullptr)}),
              "1|1|0|0|");
}

TEST_F(KvuSystemTest, RmRemovesTreesButFollowsNoLink) {
    for (const char* path : {"tree/a/b", "kept"}) fs::create_directories(path);
    for (const char* path : {"kept/file", "tree/a/two words"}) writeFile(path, "precious");
    fs::create_directory_symlink("../kept", "tree/link");
    fs::create_directory_symlink("kept", "link");
    EXPECT_EQ(KvuSystem::rm("tree", 0), 0);
    for (const char* refused : {"missing", "/", ".", "tree/..", "", "//"})
        EXPECT_EQ(KvuSystem::rm(refused, 1), 0) << refused;
    EXPECT_TRUE(fs::exists("tree/a/b"));
    EXPECT_EQ(KvuSystem::rm("link/", 1), 1) << "the slash must not lead beyond the link";
    EXPECT_EQ(KvuSystem::rm("tree//", 1), 1);
    EXPECT_EQ(listed("."), "kept\n");
    EXPECT_EQ(KvuSystem::rm("kept/file", 0), 1);
    EXPECT_EQ(listed("kept"), "");
    EXPECT_EQ(KvuSystem::rm(nullptr, 1), 0);
}

TEST_F(KvuSystemTest, RmStopsAtWhatCannotBeRemoved) {
    fs::create_directories("tree/b");
    for (const char* file : {"tree/a", "tree/b/stays", "tree/c"}) writeFile(file, "");
    for (const char* path : {"none", "none/shut"}) fs::create_directory(path);
    for (const auto& [path, mode] :
         {std::pair(".", 0755), {"tree", 0777}, {"tree/b", 0555}, {"none", 0777}, {"none/shut", 0}})
        fs::permissions(path, fs::perms(mode));
    runInChild([] {
        ASSERT_TRUE(becomeOrdinary());
        EXPECT_EQ(KvuSystem::rm("tree", 1), 0);
        EXPECT_EQ(KvuSystem::rm("none/shut", 1), 1) << "it is empty, though nobody can see it";
    });
    EXPECT_EQ(listed("tree none"), "none:\n\ntree:\nb\nc\n");
    fs::permissions("tree/b", fs::perms(0755));
}

TEST_F(KvuSystemTest, MkdirMakesEveryParent) {
    umask(0);
    writeFile("file", "");
    fs::create_directories("blind/inside");
    for (const auto& [path, mode] : {std::pair(".", 0777), {"blind", 0711}, {"blind/inside", 0777}})
        fs::permissions(path, fs::perms(mode));
    const std::pair<std::string, int> cases[] = {{"a/two words/../b/c/", 1},
                                                 {"a/b/c", 1},
                                                 {"file", 0},
                                                 {"file/x", 0},
                                                 {"blind/inside/new", 1},
                                                 {"blind/new", 0},
                                                 {std::string(1024, 'x'), 0}};
    runInChild([&] {
        ASSERT_TRUE(becomeOrdinary());
        for (const auto& [path, made] : cases)
            EXPECT_EQ(KvuSystem::mkdir(path.c_str()), made) << path;
    });
    EXPECT_EQ(tree(),
              "drwxr-xr-x a \ndrwxr-xr-x a/b \ndrwxr-xr-x a/b/c \ndrwx--x--x blind \ndrwxrwxrwx "
              "blind/inside \n"
              "drwxr-xr-x blind/inside/new \n-rw-r--r-- file \n");
}

TEST_F(KvuSystemTest, FilesAreCopiedMovedAndLinked) {
    umask(022);
    using KvS = KvuSystem;
    for (const char* path : {"from dir", "dir", "other"}) fs::create_directory(path);
    for (const char* path : {"-f;x", "moved", "other/x"}) writeFile(path, "text");
    const std::string longText(3000, 'y');
    writeFile("long", longText);
    EXPECT_EQ((Row{KvS::cp("-f;x", "from dir", 0), KvS::cp("from dir", "copy", 1),
                   KvS::cp("from dir", "none", 0), KvS::cp("missing", "none", 0),
                   KvS::cp("-f;x", "-g", 1)}),
              "1|1|0|0|1|");
    EXPECT_EQ((Row{KvS::cat("copy/-f;x", "copy/-f;x"), KvS::cat("long", "-g"),
                   KvS::cat("long", "-g"), KvS::cat("missing", "none"), KvS::cat("dir", "read"),
                   KvS::cat("-g", "dir"), KvS::cat("-g", "/dev/full")}),
              "0|1|1|0|0|0|0|");
    EXPECT_EQ((Row{KvS::mv("moved", "dir"), KvS::mv("missing", "none"), KvS::mv("dir", "other"),
                   KvS::mv("from dir", "renamed"), KvS::ln("-f;x", "link"), KvS::ln("-f;x", "link"),
                   KvS::ln("a/target", "dir")}),
              "1|0|0|1|1|0|1|");
    EXPECT_EQ(tree(),
              "-rw-r--r-- -f;x \n-rw-r--r-- -g \ndrwxr-xr-x copy \n-rw-r--r-- copy/-f;x "
              "\ndrwxr-xr-x dir \n-rw-r--r-- dir/moved \n"
              "lrwxrwxrwx dir/target a/target\nlrwxrwxrwx link -f;x\n-rw-r--r-- long \ndrwxr-xr-x "
              "other \n-rw-r--r-- other/x \n-rw-r--r-- read \n"
              "drwxr-xr-x renamed \n-rw-r--r-- renamed/-f;x \n");
    EXPECT_EQ(contentsOf("copy/-f;x"), "text");
    EXPECT_EQ(contentsOf("-g"), "text" + longText + longText);
}

TEST_F(KvuSystemTest, ListingsAreSorted) {
    for (const char* name : {"d/b.x", "d/a.x", "d/.x", "d/c"}) writeFile(name, "");
    fs::create_directory("empty");
    EXPECT_EQ((Row{entries("d", ".x", nullptr), entries("d", nullptr, nullptr),
                   entries("none", ".x", nullptr), entries("d", nullptr, all),
                   entries(nullptr, nullptr, all), entries("empty", nullptr, nullptr)}),
              "2 a.x b.x|4 .x a.x b.x c|-1|6 . .. .x a.x b.x c|-1|0|");
    struct dirent** list = nullptr;
    EXPECT_EQ(KvuSystem::scandir("empty", &list, nullptr), 2);
    KvuListing(list, 2).release();
    EXPECT_EQ(
        (Row{KvuSystem::numFiles("d"), KvuSystem::numFiles("empty"), KvuSystem::numFiles("none")}),
        "4|0|0|");
}

TEST_F(KvuSystemTest, Paths) {
    const char* const parents[][2] = {{"a/b/", "a"}, {"/a/b", "/a"}, {"/a", ""},
                                      {"/", ""},     {"a", "."},     {nullptr, "."}};
    for (const auto& [path, parent] : parents) EXPECT_STREQ(KvuSystem::dirname(path), parent);
    const auto absolute = [](const char* path, const char* base) {
        return told([&](KvText& out) { return KvuSystem::getAbsolutePath(path, out, base); });
    };
    const auto relative = [](const char* from, const char* to) {
        return told([&](KvText& out) { return KvuSystem::getRelativePath(from, to, out); });
    };
    const auto working = [] { return told([&](KvText& out) { return KvuSystem::getwd(out); }); };
    const std::string here = fs::canonical("."), last = here + "/last";
    EXPECT_EQ(
        (Row{absolute("/none/../b", nullptr), absolute("c", "/none/b"), absolute(nullptr, "/none"),
             absolute("/c", "/none"), absolute("x", ""), absolute("x", nullptr),
             absolute(nullptr, nullptr), working(),
             absolute(std::string(1024, 'x').c_str(), nullptr)}),
        "1 /b|1 /none/b/c|1 /none|1 /c|1 /x|1 " + here + "/x|1 " + here + "|1 " + here + "|0 |");
    EXPECT_EQ(
        (Row{relative("/a/b", "/a/c"), relative("/a/b/", "/a/c"), relative("/a", "/a/b"),
             relative("/", "/x"), relative("a/b", "a/c"), relative("a", "/a"), relative("/a", "a"),
             relative("/a/b/c/d", "/e"), relative("/ab", "/ac"), relative("/a/b", "/a/b")}),
        "1 ../c|1 ../c|1 ../a/b|1 ../x|1 ../c|0 |0 |1 ../../../../e|1 ../ac|1 ../b|");
    fs::create_directory("last");
    fs::current_path("last");
    fs::remove(last);
    EXPECT_EQ(working() + absolute("x", nullptr) + absolute("x", "/"), "0 0 1 /x") << "nowhere";
}

TEST_F(KvuSystemTest, CommandsGetEachTextAsOneWord) {
    for (const char* name : {"gzip", "compress", "gunzip", "uncompress", "Mail"})
        writeProgram(fs::path("bin") / name,
                     "printf '[%s]' \"${0##*/}\" \"$@\" >>called; exit ${STATUS:-0}");
    for (const char* name : {"jot", "ed"})
        writeProgram(fs::path("bin") / name, "printf '[%s]' \"${0##*/}\" \"$@\" >>edited");
    writeProgram("bin/id", "echo $WHO");
    fs::create_directory("out dir");
    writeFile("letter", "");
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    using KvS = KvuSystem;
    const auto unpack = [](const std::string& path, const char* outDir) {
        return told([&](KvText& out) { return KvS::uncompress(path.c_str(), outDir, out); });
    };
    const std::string deep = "out dir" + std::string(1016, '/');
    EXPECT_EQ(
        (Row{KvS::compress("a b", 1), KvS::compress("-a", 0), unpack("a b.gz", nullptr),
             unpack("x.y.Z", "out dir"), unpack("d/x.gz", "none"), unpack("x.zip", "out dir"),
             unpack("x.gz", deep.c_str()), unpack(std::string(1024, 'x') + ".gz", "out dir")}),
        "1|1|1 ./a b|1 out dir/x.y|0 none/x|1 |0 |0 |");
    EXPECT_EQ((Row{KvS::mail("two words", "ann", "letter"), KvS::mail("-x", "ann", "letter"),
                   KvS::mail("hello", "-x", "letter"), setenv("STATUS", "3", 1),
                   KvS::mail("", "a", "letter"), KvS::compress("a", 0), unpack("x.gz", "out dir")}),
              "0|0|0|0|768|0|0 out dir/x|");
    EXPECT_EQ(contentsOf("called"),
              "[gzip][a b][compress][./-a][gunzip][-c][a "
              "b.gz][uncompress][-c][x.y.Z][Mail][-s][two words][ann][Mail][-s][-x][ann]"
              "[Mail][-s][hello][--][-x][Mail][-s][][a][compress][a][gunzip][-c][x.gz]");
    EXPECT_EQ(listed("'out dir'"), "x\nx.y\n");
    EXPECT_EQ((Row{setenv("WHO", "root", 1), KvS::runningAsRoot(), setenv("WHO", "ann", 1),
                   KvS::runningAsRoot()}),
              "0|1|0|0|");
    for (const auto& [editor, edited] :
         {std::pair<const char*, const char*>(nullptr, "[jot][./-a b]"),
          {"ed", "[jot][./-a b][ed][./-a b]"}}) {
        EXPECT_EQ(KvS::editFile("-a b", editor), 1);
        for (int i = 0; i < 500 && contentsOf("edited") != edited; ++i) usleep(10000);
        EXPECT_EQ(contentsOf("edited"), edited);
    }
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

TEST_F(KvuSystemTest, TheMachineAndItsUsers) {
    std::string host = contentsOf("/proc/sys/kernel/hostname");
    host.pop_back();
    EXPECT_EQ(told([](KvText& out) { return KvuSystem::gethostname(out); }), "1 " + host);
    unsetenv("DISPLAY");
    EXPECT_EQ(KvuSystem::runningLocally(), 0);
    for (const auto& [display, local] : {std::pair(host + ":0", 1),
                                         {":0.0", 1},
                                         {"localhost:10.0", 1},
                                         {"other:0", 0},
                                         {host + "x:0", 0}}) {
        setenv("DISPLAY", display.c_str(), 1);
        EXPECT_EQ(KvuSystem::runningLocally(), local) << display;
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(KvuSystem::getFreeSpace("/none") + KvuSystem::getFreeSpace(nullptr), 0);
    const std::string error = "Internal error determining disk space in directory ";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              error + "/none.\n" + error + "<null directory>.\n");
    writeProgram("bin/who", "echo ann pts/0; echo bea; echo '#eve'");
    setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
    runInPrivateUsr([] {
        ASSERT_EQ(outcomeOf("mkdir new && mount -t tmpfs -o size=4m none new").status, 0);
        EXPECT_FLOAT_EQ(KvuSystem::getFreeSpace("new"), 4.194304F);
        for (const auto& [user, loggedIn] : {std::pair("ann", 1),
                                             {"bea", 1},
                                             {"eve", 0},
                                             {"cid", 0},
                                             {"", 0},
                                             {nullptr, 0},
                                             {"ann/", 0}})
            EXPECT_EQ(KvuSystem::isLoggedIn(user), loggedIn) << KvOrEmpty(user);
        EXPECT_TRUE(fs::is_empty("/usr/tmp"));
        ASSERT_EQ(outcomeOf("mkdir /usr/tmp/.loginInfo_ann").status, 0);
        EXPECT_EQ(KvuSystem::isLoggedIn("ann"), 0) << "somebody took the name";
    });
}

// The tar that the installer's commands run. When a distribution has several archives, a first
// installation asks each of them for every wanted subsystem. System V's tar skips members that an
// archive does not have; GNU tar treats them as an error. For "tar xvof ARCHIVE MEMBER..." this
// program makes the system's GNU tar behave like System V's; everything else it passes straight on.
// It succeeds when GNU tar does, or when the only problem was that some named members are missing.
// An intact archive that has none of them gives status 1, an unreadable one status 2. So does an
// archive that is cut off between two members, which GNU tar accepts. The same holds for listings,
// "tar tf ARCHIVE". And an extraction writes only to the named members: no link in the archive can
// lead it elsewhere. It creates no devices and, without "p", no set-user-ID files. For a missing
// /dev/tape it reads $TAPE or /dev/st0, and it reaches other machines through ssh.

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

constexpr int fatalStatus = 2;  // GNU tar's exit status for errors
constexpr int nothingFoundStatus = 1;
constexpr int notFoundStatus = 127;

void print(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR) return;
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
}

struct Extraction {
    std::string key;
    std::string archive;
    Words members;

    [[nodiscard]] bool asksFor(char letter) const { return key.find(letter) != std::string::npos; }
};

// We handle only plain extractions; a key with other letters goes to GNU tar as it is.
std::optional<Extraction> extractionOf(const Words& words) {
    if (words.size() < 3) return std::nullopt;
    const std::string& key = words[1];
    const bool plain = key.find_first_not_of("xtvofpmk") == std::string::npos &&
                       key.find_first_of("xt") != std::string::npos &&
                       std::ranges::count(key, 'f') == 1;
    if (!plain) return std::nullopt;
    return Extraction{key, words[2], {words.begin() + 3, words.end()}};
}

// The folders in PATH after the last occurrence of our own, so that two copies of this program in
// PATH never call each other forever. Relative folders are left out: root runs this in any folder.
Words searchFolders(const fs::path& own) {
    std::error_code error;
    Words folders;
    const char* path = std::getenv("PATH");
    std::istringstream list(path != nullptr ? path : "");
    for (std::string folder; std::getline(list, folder, ':');) {
        if (fs::equivalent(folder, own, error)) {
            folders.clear();
        } else if (folder.starts_with('/')) {
            folders.push_back(folder);
        }
    }
    folders.insert(folders.end(), {"/usr/bin", "/bin"});
    return folders;
}

std::string systemTar() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    // If it does not know where it is, the program could mistake itself for the system's tar.
    const Words folders = error ? Words{"/usr/bin", "/bin"} : searchFolders(self.parent_path());
    for (const std::string& folder : folders) {
        std::string tar = folder + "/tar";
        const bool usable = fs::is_regular_file(tar, error) && access(tar.c_str(), X_OK) == 0;
        if (usable && !fs::equivalent(tar, self, error)) return tar;
    }
    return {};
}

[[noreturn]] void become(const std::string& program, const Words& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    print("tar: can't run " + program + ": " + std::strerror(errno) + "\n");
    _exit(notFoundStatus);
}

std::string deviceOf(const std::string& archive) {
    std::error_code error;
    if (archive != "/dev/tape" || fs::exists(archive, error)) return archive;
    const char* tape = std::getenv("TAPE");
    return tape != nullptr && *tape != '\0' ? tape : "/dev/st0";
}

// The machine's name in "user@machine:device"; empty for an archive on this machine.
std::string remoteHost(const std::string& archive) {
    std::error_code error;
    if (fs::exists(archive, error)) return {};
    const std::size_t colon = archive.find(':');
    if (colon == std::string::npos || archive.find('/') < colon) return {};
    const std::string login = archive.substr(0, colon);
    return login.substr(login.find('@') + 1);
}

// A member's name, escaped for use in a GNU tar --transform expression.
std::string patternOf(const std::string& member) {
    std::string pattern;
    for (const char c : member) {
        if (std::string_view("\\.[*^$,").find(c) != std::string_view::npos) pattern += '\\';
        pattern += c;
    }
    return pattern;
}

// GNU tar keeps an archive from writing outside the working directory, but not from touching other
// files in it. So a hard link may lead only to a wanted member; any other target is renamed to a
// name that does not exist. And an existing folder is never replaced by a link to another.
Words limitsFor(const Words& members) {
    const std::string nowhere = "what is not wanted: ";
    Words limits{"--transform=s,^," + nowhere + ",RS"};
    std::error_code error;
    for (const std::string& member : members) {
        const std::string name = patternOf(member);
        limits.push_back("--transform=s,^" + nowhere);
        limits.back().append("\\(").append(name).append("\\(/\\|$\\)\\),\\1,RS");
        if (fs::is_directory(fs::symlink_status(member, error)))
            limits.push_back("--transform=s,^" + name + "$,&/,SH");
    }
    limits.push_back("--transform=s,\\.\\./," + nowhere + "/,gRS");
    return limits;
}

// As with GNU tar, the user may choose another remote shell.
std::string remoteShell() {
    const char* shell = std::getenv("TAR_RSH");
    return shell != nullptr && *shell != '\0' ? shell : "/usr/bin/ssh";
}

Words gnuWords(const Extraction& extraction, bool remote) {
    Words words{"tar", extraction.key, extraction.archive, "--no-wildcards", "--no-unquote"};
    words.emplace_back(remote ? "--rsh-command=" + remoteShell() : "--force-local");
    // Otherwise GNU tar, run as root, would restore set-user-ID bits and so create root programs.
    if (!extraction.asksFor('p')) words.emplace_back("--no-same-permissions");
    if (extraction.asksFor('x') && !extraction.members.empty()) {
        const Words limits = limitsFor(extraction.members);
        words.insert(words.end(), limits.begin(), limits.end());
    }
    words.emplace_back("--");
    words.insert(words.end(), extraction.members.begin(), extraction.members.end());
    return words;
}

// Whether this is a link to a folder outside the tree that it is in.
bool leadsOut(const fs::directory_entry& entry) {
    std::error_code error;
    if (!entry.is_symlink(error) || !entry.is_directory(error)) return false;
    const fs::path tree = fs::current_path(error) / *entry.path().begin() / "";
    return !(fs::canonical(entry, error) / "").string().starts_with(tree.string());
}

// GNU tar does not follow links from the archive that it is extracting, but it would follow one
// that an earlier archive has left.
std::string wayOut(const Words& members) {
    std::error_code error;
    for (const std::string& member : members) {
        const fs::directory_entry folder(fs::path(member).relative_path(), error);
        if (leadsOut(folder)) return folder.path();
        const auto readable = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator at(folder, readable, error), end; at != end;
             at.increment(error))
            if (leadsOut(*at)) return at->path();
    }
    return {};
}

// Why the extraction must not start; empty when it may.
std::string refusal(const Extraction& extraction, const std::string& host) {
    if (host.starts_with('-')) return host + " is not the name of a machine";
    // A relative path would be looked up in whatever folder root happens to be in.
    if (!host.empty() && !remoteShell().starts_with('/'))
        return "TAR_RSH has to be the full path of a program";
    const std::string way = extraction.asksFor('x') ? wayOut(extraction.members) : "";
    return way.empty() ? ""
                       : way + " is a link to a folder elsewhere: an archive could write there";
}

// English messages, which we parse, but file names in the user's character set.
void setLanguage() {
    if (const char* all = std::getenv("LC_ALL"); all != nullptr && *all != '\0')
        setenv("LC_CTYPE", all, 1);
    unsetenv("LC_ALL");
    unsetenv("LANGUAGE");
    setenv("LC_MESSAGES", "C", 1);
    unsetenv("TAR_OPTIONS");
}

constexpr std::size_t blockSize = 512;
using Block = std::array<char, blockSize>;
constexpr std::size_t typeAt = 156, moreInHeader = 482, moreInMap = 504;

// How many bytes follow a member's header; nullopt when this is not a header that we know.
std::optional<std::uint64_t> sizeOf(const Block& header) {
    constexpr std::size_t sumAt = 148, sumLength = 8, sizeAt = 124, sizeLength = 12;
    unsigned long sum = 0;
    for (std::size_t i = 0; i < header.size(); ++i)
        sum += i >= sumAt && i < sumAt + sumLength ? ' ' : static_cast<unsigned char>(header[i]);
    if (std::strtoul(std::string(&header[sumAt], sumLength).c_str(), nullptr, 8) != sum)
        return std::nullopt;
    // Links, devices and folders have no data, even if their size field says otherwise.
    if (header[typeAt] >= '1' && header[typeAt] <= '6') return 0;
    const std::string octal(&header[sizeAt], sizeLength);
    if ((octal[0] & 0x80) != 0) return std::nullopt;
    return std::strtoull(octal.c_str(), nullptr, 8);
}

// The blocks of an archive. Small members are close together, so one system call reads the headers
// of many.
class Blocks {
public:
    explicit Blocks(const std::string& archive)
        : file_(open(archive.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~Blocks() { close(file_); }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    // False when there is no complete block at that offset.
    bool read(std::uint64_t at, Block& block) {
        if (at < start_ || at + blockSize > start_ + length_) {
            const ssize_t size =
                pread(file_, buffer_.data(), buffer_.size(), static_cast<off_t>(at));
            start_ = at;
            length_ = size > 0 ? static_cast<std::uint64_t>(size) : 0;
            if (length_ < blockSize) return false;
        }
        std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(at - start_), blockSize,
                    block.begin());
        return true;
    }

private:
    int file_;
    std::array<char, 16 * blockSize> buffer_;
    std::uint64_t start_ = 0;
    std::uint64_t length_ = 0;
};

// A sparse member's map may continue in further blocks; skips them. False when one is missing.
bool passMap(Blocks& blocks, Block& block, std::uint64_t& at) {
    char more = block[typeAt] == 'S' ? block[moreInHeader] : '\0';
    while (more != '\0') {
        at += blockSize;
        if (!blocks.read(at, block)) return false;
        more = block[moreInMap];
    }
    return true;
}

// GNU tar accepts an archive that is cut off between two members as complete. We report it as cut
// off only if we can follow it from header to header up to the cut.
bool isCutOff(const std::string& archive) {
    std::error_code error;
    const std::uint64_t length =
        fs::is_regular_file(archive, error) ? fs::file_size(archive, error) : 0;
    if (error || length == 0) return false;
    Blocks blocks(archive);
    for (std::uint64_t at = 0; at + blockSize <= length;) {
        Block block{};
        if (!blocks.read(at, block) || block == Block{}) return false;
        const std::optional<std::uint64_t> size = sizeOf(block);
        if (!size || *size > length || !passMap(blocks, block, at)) return false;
        at += blockSize * (1 + (*size + blockSize - 1) / blockSize);
    }
    return true;
}

// Passes GNU tar's standard error on as it arrives, and works out what went wrong. Complaints about
// missing members are held back until we know whether they were the only ones.
class Messages {
public:
    void take(std::string_view chunk) {
        for (const char c : chunk) {
            line_ += c;
            if (c == '\n') endLine();
        }
        if (line_.compare(0, own.size(), own.substr(0, line_.size())) != 0) show();
    }

    void finish() {
        if (!line_.empty()) endLine();
    }

    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] bool needsSuperUser() const { return needsSuperUser_; }
    [[nodiscard]] bool onlyMissed() const { return !failed_ && missing_ > 0; }
    [[nodiscard]] std::size_t missing() const { return missing_; }
    [[nodiscard]] const std::string& missingNames() const { return names_; }
    [[nodiscard]] const std::string& held() const { return held_; }

private:
    static constexpr std::string_view own = "tar: ";
    static constexpr std::string_view notFound = ": Not found in archive";
    // Before it starts the remote shell, GNU tar 1.34 sets its groups, which only root may do.
    static constexpr std::string_view noGroups = "initgroups: ";

    // GNU tar's closing line, which does not say what went wrong.
    static bool isFarewell(std::string_view text) {
        return text == "Exiting with failure status due to previous errors" ||
               text == "Error is not recoverable: exiting now";
    }

    // Warnings that do not make GNU tar fail.
    static bool isRemark(std::string_view text) {
        constexpr std::array<std::string_view, 8> remarks{
            "Removing leading `",   "Substituting `.' for empty member name",
            "Record size = ",       "Ignoring unknown extended header keyword",
            "A lone zero block at", ": implausibly old time stamp",
            " s in the future",     ": Unknown file type; file ignored"};
        return std::ranges::any_of(remarks, [&](std::string_view remark) {
            return text.find(remark) != std::string_view::npos;
        });
    }

    void show() {
        print(std::string_view(line_).substr(shown_));
        shown_ = line_.size();
    }

    void endLine() {
        std::string_view text = line_;
        if (text.ends_with('\n')) text.remove_suffix(1);
        const bool isOwn = text.starts_with(own);
        if (isOwn) text.remove_prefix(own.size());
        if (isOwn && text.ends_with(notFound)) {
            ++missing_;
            names_.append(" ").append(text.substr(0, text.size() - notFound.size()));
            held_ += line_;
        } else if (isOwn && isFarewell(text)) {
            held_ += line_;
        } else {
            failed_ = failed_ || (isOwn && !isRemark(text));
            needsSuperUser_ = needsSuperUser_ || (isOwn && text.starts_with(noGroups));
            show();
        }
        line_.clear();
        shown_ = 0;
    }

    std::string line_;
    std::size_t shown_ = 0;
    std::string held_;
    std::string names_;
    std::size_t missing_ = 0;
    bool failed_ = false;
    bool needsSuperUser_ = false;
};

// Stops when the program ends, not at the end of the pipe: a connection that ssh keeps open for
// later use holds the pipe's other end.
void readUntilEnd(int pipe, pid_t program, Messages& messages) {
    const int end = static_cast<int>(syscall(SYS_pidfd_open, program, 0));
    std::array<pollfd, 2> watched{pollfd{pipe, POLLIN, 0}, pollfd{end, POLLIN, 0}};
    std::array<char, 4096> buffer;
    while (true) {
        if (poll(watched.data(), watched.size(), -1) < 0) continue;
        if (watched[0].revents != 0) {
            const ssize_t size = read(pipe, buffer.data(), buffer.size());
            if (size == 0 || (size < 0 && errno != EINTR)) break;
            if (size > 0) messages.take({buffer.data(), static_cast<std::size_t>(size)});
        } else if (watched[1].revents != 0) {
            break;
        }
    }
    messages.finish();
    if (end >= 0) close(end);
}

[[noreturn]] void runAsChild(const std::string& tar, const Words& words, int errors, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(fatalStatus);
    dup2(errors, STDERR_FILENO);
    // No archive may create devices. Only root can drop this capability, and only root has it.
    prctl(PR_CAPBSET_DROP, CAP_MKNOD);
    become(tar, words);
}

int statusOf(pid_t program) {
    int status = 0;
    while (waitpid(program, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        std::signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : fatalStatus;
}

int judge(int status, const Messages& messages, const Extraction& extraction) {
    const bool passedOver = status == fatalStatus && messages.onlyMissed();
    if ((status == 0 || passedOver) && isCutOff(extraction.archive)) {
        print(messages.held() + "tar: " + extraction.archive + " is cut off: it has no end\n");
        return fatalStatus;
    }
    if (passedOver) {
        print("tar: not in this archive, passed over:" + messages.missingNames() + "\n");
        return messages.missing() < extraction.members.size() ? 0 : nothingFoundStatus;
    }
    // The real error must come last. After it, missing members are only a consequence.
    if (!messages.failed()) print(messages.held());
    if (messages.needsSuperUser())
        print("tar: this system's tar reads remote tapes for the super-user only\n");
    return status;
}

int extract(const std::string& tar, const Words& words, const Extraction& extraction) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) return fatalStatus;
    const pid_t parent = getpid();
    const pid_t program = fork();
    if (program == 0) runAsChild(tar, words, pipe[1], parent);
    close(pipe[1]);
    Messages messages;
    if (program > 0) readUntilEnd(pipe[0], program, messages);
    close(pipe[0]);
    if (program < 0) {
        print(std::string("tar: can't start: ") + std::strerror(errno) + "\n");
        return fatalStatus;
    }
    return judge(statusOf(program), messages, extraction);
}

}  // namespace

int main(int argc, char** argv) {
    Words words(argv, argv + argc);
    if (words.empty()) words.emplace_back("tar");
    const std::string tar = systemTar();
    if (tar.empty()) {
        print("tar: this system has no tar of its own\n");
        return notFoundStatus;
    }
    std::optional<Extraction> extraction = extractionOf(words);
    words.front() = "tar";
    if (!extraction) become(tar, words);
    extraction->archive = deviceOf(extraction->archive);
    const std::string host = remoteHost(extraction->archive);
    if (const std::string reason = refusal(*extraction, host); !reason.empty()) {
        print("tar: " + reason + "\n");
        return fatalStatus;
    }
    setLanguage();
    return extract(tar, gnuWords(*extraction, !host.empty()), *extraction);
}

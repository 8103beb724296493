#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/Platform.h"
#include "support/KvuCommand.h"
#include "support/KvuString.h"
#include "support/KvuSystem.h"
#include "support/KvuUtil.h"

namespace {

constexpr const char* defaultEditor = "jot";

int outOfSwapSpace = 0;

KvBool succeeds(const KvuShellText& command) {
    return KvuSystem::system(command.text.c_str(), 1) == 0;
}

void warnOfSwapSpace() {
    std::fprintf(stderr,
                 "You are running out of swap space on your system. Some %s operations may fail. "
                 "Please save your project and restart the program.\n\n"
                 "Refer to the cuecard on \"SwapSpace\" for your operating system (using \"Cue "
                 "Cards - On Topic\") to find out how to increase the size of swap space on your "
                 "system drive.",
                 KvuUtil::_productName);
    std::fflush(stderr);
}

bool edit(std::string_view editor, std::string_view file) {
    return succeeds(KvuCommand("%s %s &", editor, file));
}

}  // namespace

int KvuSystem::system(const char* command, int force) {
    if (outOfSwapSpace && !force) return -1;
    const int status = platform::system(command);
    if (status != -1 || errno != EAGAIN) return status;
    warnOfSwapSpace();
    outOfSwapSpace = 1;
    return force ? -1 : 0;
}

KvBool KvuSystem::compress(const char* path, int useGzip) {
    const std::string_view file = path;
    return succeeds(useGzip ? KvuCommand("gzip     %s", file) : KvuCommand("compress %s", file));
}

KvBool KvuSystem::uncompress(const char* path, const char* outDir, KvText& outPath) {
    outPath[0] = '\0';
    if (!isCompressed(path)) return 1;
    KvText name;
    if (!KvuString::basename(path, name)) return 0;
    const std::string folder = outDir != nullptr ? outDir : dirname(path);
    const std::string_view archive = path;
    std::string result = folder + "/" + name;
    result.erase(result.rfind('.'));
    if (!KvStoreText(outPath, result)) return 0;
    const std::string_view out = result;
    return succeeds(archive.ends_with(".gz") ? KvuCommand("gunzip -c %s > %s", archive, out)
                                             : KvuCommand("uncompress -c %s > %s", archive, out));
}

KvBool KvuSystem::editFile(const char* file, const char* editorName) {
    const std::string_view chosen = editorName != nullptr ? editorName : editor();
    if (edit(chosen, file)) return 1;
    return chosen != defaultEditor && edit(defaultEditor, file);
}

const char* KvuSystem::editor() {
    return defaultEditor;
}

int KvuSystem::mail(const char* subject, const char* address, const char* file) {
    // mail takes any word after -s as the subject, but would take an address that begins with "-"
    // for an option.
    KvuShellText to = KvuShellArgument(address);
    if (*address == '-') to.text.insert(0, "-- ");
    const KvuShellText command = KvuCommand(" %s %s %s < %s", KvuShellText{"Mail -s"},
                                            KvuShellArgument(subject), to, std::string_view(file));
    return system(command.text.c_str(), 1);
}

#include "support/KvuString.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "support/KvuUtil.h"

KvText KvuString::pline;
KvText KvuString::nice;
KvText KvuString::cstring;

namespace {

constexpr std::size_t helpSize = 65536;

struct Freer {
    void operator()(char* memory) const { std::free(memory); }
};

bool endsLine(char c) {
    return c == '\0' || c == '\n';
}
bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// skipQuoted and skipPlain return the end of the word.
char* skipQuoted(char* scan) {
    while (!endsLine(*scan) && *scan != '"') ++scan;
    if (*scan == '"') *scan++ = '\0';
    return scan;
}

char* skipPlain(char* scan) {
    while (!endsLine(*scan) && !isBlank(*scan)) ++scan;
    return scan;
}

int tokenise(char* scan, char** argv, int room) {
    int count = 0;
    for (;;) {
        while (isBlank(*scan)) ++scan;
        if (endsLine(*scan) || count == room) break;
        const bool quoted = *scan == '"';
        if (quoted) ++scan;
        argv[count++] = scan;
        scan = quoted ? skipQuoted(scan) : skipPlain(scan);
        if (endsLine(*scan)) break;
        *scan++ = '\0';
    }
    *scan = '\0';
    return count;
}

}  // namespace

KvBool KvuIsANiceChar(char c, const char* set) {
    const std::string_view refused = set != nullptr ? set : KvUnniceChar;
    return refused.find(c) == std::string_view::npos;
}

int KvuString::parseLine(const char* line, char** argv, char comment, int capacity) {
    if (capacity < 1) return 0;
    // An overlong line is cut, as if it had been read into a buffer of this size.
    static_cast<void>(KvCopyText(pline, KvOrEmpty(line)));
    const int count = tokenise(pline, argv, capacity - 1);
    argv[count] = &pline[KvTextSize - 1];
    *argv[count] = '\0';
    return comment != '\0' && *argv[0] == comment ? 0 : count;
}

int KvuString::getTextFromFile(std::FILE* fp, char** text) {
    std::unique_ptr<char, Freer> buffer(static_cast<char*>(std::malloc(helpSize)));
    if (buffer == nullptr) {
        KvuUtil::userError("can't allocate memory for help message");
        *text = nullptr;
        return 0;
    }
    const std::size_t count = std::fread(buffer.get(), 1, helpSize - 1, fp);
    buffer.get()[count] = '\0';
    *text = buffer.release();
    return static_cast<int>(count);
}

KvBool KvuString::basename(const char* path, KvText& out) {
    std::string_view name = KvOrEmpty(path);
    if (name.ends_with('/') && name.find('/') != name.size() - 1) name.remove_suffix(1);
    return KvStoreText(out, name.substr(name.rfind('/') + 1));
}

const char* KvuString::extension(const char* name) {
    const char* const dot = std::strrchr(name, '.');
    return dot != nullptr ? dot + 1 : nullptr;
}

KvBool KvuString::hasExtension(const char* name, const char* ext) {
    return std::string_view(KvOrEmpty(name)).ends_with(KvOrEmpty(ext));
}

KvBool KvuString::isANiceFilename(const char* name) {
    return std::string_view(KvOrEmpty(name)).find_first_of(KvUnniceFileChar) ==
           std::string_view::npos;
}

const char* KvuString::makeNiceFilename(const char* name) {
    return makeNiceName(name, KvUnniceChar);
}

const char* KvuString::makeNiceName(const char* name, const char* set) {
    static_cast<void>(KvCopyText(nice, KvOrEmpty(name)));
    for (char* c = nice; *c != '\0'; ++c) {
        if (!KvuIsANiceChar(*c, set)) *c = '_';
    }
    return nice;
}

int KvuString::strncasecmp(const char* a, const char* b, int n) {
    return n < 0 ? ::strcasecmp(a, b) : ::strncasecmp(a, b, static_cast<std::size_t>(n));
}

KvBool KvuString::containsString(const char* s, const char* sub, int caseSensitive) {
    if (caseSensitive) return std::strstr(s, sub) != nullptr;
    const int length = static_cast<int>(std::strlen(sub));
    for (; *s != '\0'; ++s) {
        if (strncasecmp(s, sub, length) == 0) return 1;
    }
    return 0;
}

KvBool KvuString::containsSpaces(const char* s) {
    return std::string_view(KvOrEmpty(s)).find(' ') != std::string_view::npos;
}

int KvuString::characterCt(const char* s, char c) {
    const std::string_view text = KvOrEmpty(s);
    return static_cast<int>(std::count(text.begin(), text.end(), c));
}

KvBool KvuString::truncateAtChar(char* s, char c, int first) {
    const std::string_view text = KvOrEmpty(s);
    const std::size_t place = first ? text.find(c) : text.rfind(c);
    if (place == std::string_view::npos) return 0;
    s[place] = '\0';
    return 1;
}

int KvuString::split(const char* s, char c, int n, KvText& before, KvText& after) {
    const std::string_view text = KvOrEmpty(s);
    std::size_t place = n > 0 ? text.find(c) : std::string_view::npos;
    for (int i = 1; i < n && place != std::string_view::npos; ++i) place = text.find(c, place + 1);
    const bool found = place != std::string_view::npos;
    // Storing `before` first allows `s` to be either of the two buffers.
    const bool fits = KvStoreText(before, text.substr(0, place));
    if (!KvStoreText(after, found ? text.substr(place + 1) : std::string_view()) || !fits) {
        before[0] = after[0] = '\0';
        return 0;
    }
    return static_cast<int>(text.size());
}

const char* KvuString::concatStrings(const char* a, const char* b, const char* c, const char* d) {
    std::string joined;
    for (const char* piece : {a, b, c, d}) joined += KvOrEmpty(piece);
    static_cast<void>(
        KvCopyText(cstring, joined.size() < KvTextSize ? joined : std::string(KvOrEmpty(a))));
    return cstring;
}

#include <X11/StringDefs.h>
#include <Xm/Primitive.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "builder/KviBxUtil.h"

namespace {

// Special characters, as wide characters of the locale

enum Special {
    End,
    Tab,
    Newline,
    Return,
    FormFeed,
    VerticalTab,
    Backslash,
    Quote,
    Hash,
    Colon,
    LowerF,
    LowerL,
    LowerN,
    LowerR,
    LowerT,
    LowerV,
    UpperF,
    UpperL,
    UpperR,
    UpperT,
    Zero,
    One
};

// In the order of `Special`; the first one is the terminator.
constexpr std::string_view characters{"\0\t\n\r\f\v\\\"#:flnrtvFLRT01", One + 1};

using SpecialCharacters = std::array<wchar_t, characters.size()>;

// A byte that is not valid in the locale is carried as a lone surrogate, which valid text never
// contains, and converted back to the same byte.
constexpr wchar_t rawByte = 0xDC00;

int wideCharacter(const char* text, wchar_t& wide) {
    const int length = std::mbtowc(&wide, text, MB_CUR_MAX);
    if (length >= 0) return std::max(length, 1);
    std::mbtowc(nullptr, nullptr, 0);
    wide = static_cast<wchar_t>(rawByte | static_cast<unsigned char>(*text));
    return 1;
}

std::wstring wideText(const char* text) {
    std::wstring wide;
    wide.reserve(std::strlen(text));
    for (wchar_t character = 0; *text != '\0'; wide += character)
        text += wideCharacter(text, character);
    return wide;
}

SpecialCharacters inThisLocale() {
    SpecialCharacters wide = {};
    for (std::size_t i = 0; i < characters.size(); ++i) {
        const char text[] = {characters[i], '\0'};
        wideCharacter(text, wide[i]);
    }
    return wide;
}

const SpecialCharacters& CStrCommonWideCharsGet() {
    static const SpecialCharacters CommonWideChars = inThisLocale();
    return CommonWideChars;
}

bool is(wchar_t character, Special special) {
    return character == CStrCommonWideCharsGet()[special];
}

template <typename... Specials>
bool isOneOf(wchar_t character, Specials... specials) {
    return (is(character, specials) || ...);
}

// Scratch buffers, kept for the process

wchar_t* tbuf = nullptr;
std::size_t tbufSize = 0;
char* textBuf = nullptr;
std::size_t textBufLen = 0;
char* tagBuf = nullptr;
std::size_t tagBufLen = 0;

template <typename Char>
void fit(Char*& buffer, std::size_t& size, std::size_t wanted) {
    if (wanted <= size) return;
    buffer = reinterpret_cast<Char*>(
        XtRealloc(reinterpret_cast<char*>(buffer), static_cast<Cardinal>(wanted * sizeof(Char))));
    size = wanted;
}

wchar_t escaped(wchar_t letter) {
    const auto& special = CStrCommonWideCharsGet();
    if (is(letter, LowerN)) return special[Newline];
    if (is(letter, LowerT)) return special[Tab];
    if (is(letter, LowerR)) return special[Return];
    if (is(letter, LowerF)) return special[FormFeed];
    if (is(letter, LowerV)) return special[VerticalTab];
    return letter;
}

// Copies `text` to tbuf and returns its length there.
std::size_t copyToScratch(std::wstring_view text, bool escapes) {
    fit(tbuf, tbufSize, text.size() + 1);
    std::size_t length = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = escapes && is(text[i], Backslash) && i + 1 < text.size();
        tbuf[length++] = escape ? escaped(text[++i]) : text[i];
    }
    tbuf[length] = L'\0';
    return length;
}

// Copies `text` to `buffer` as multibyte text. Returns its length in bytes; 0 when the locale can't
// represent it.
std::size_t copyWcsToMbs(std::wstring_view text, bool escapes, char*& buffer, std::size_t& size) {
    const std::size_t count = copyToScratch(text, escapes);
    fit(buffer, size, count * MB_CUR_MAX + 1);
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if ((tbuf[i] & ~0xFF) == rawByte) {
            buffer[length++] = static_cast<char>(tbuf[i] & 0xFF);
            continue;
        }
        const int bytes = std::wctomb(buffer + length, tbuf[i]);
        if (bytes < 0) {
            length = 0;
            break;
        }
        length += static_cast<std::size_t>(bytes);
    }
    buffer[length] = '\0';
    return length;
}

// Segments

struct Segment {
    std::wstring_view tag;
    std::wstring_view text;
    bool hasText = false;
    XmStringDirection direction = XmSTRING_DIRECTION_L_TO_R;
    bool separator = false;
};

// Index in `text`, from `at` on, of the next unescaped character that `wanted` accepts, or the end.
template <typename Wanted>
std::size_t nextUnescaped(std::wstring_view text, std::size_t at, Wanted wanted) {
    for (; at < text.size() && !wanted(text[at]); ++at)
        if (is(text[at], Backslash)) ++at;
    return std::min(at, text.size());
}

std::size_t getNextSeparator(std::wstring_view text, std::size_t at) {
    return nextUnescaped(text, at, [](wchar_t c) { return isOneOf(c, Hash, Quote, Colon); });
}

bool readDirection(std::wstring_view text, std::size_t at, Segment& segment) {
    if (at >= text.size()) return false;
    if (isOneOf(text[at], LowerR, UpperR))
        segment.direction = XmSTRING_DIRECTION_R_TO_L;
    else if (isOneOf(text[at], LowerL, UpperL))
        segment.direction = XmSTRING_DIRECTION_L_TO_R;
    else
        return false;
    return true;
}

// Reads the options after a colon and returns where they end.
std::size_t readOptions(std::wstring_view text, std::size_t at, Segment& segment) {
    if (readDirection(text, at, segment)) return at + 1;
    if (at >= text.size()) return at;
    const bool on = isOneOf(text[at], LowerT, UpperT, One);
    if (!on && !isOneOf(text[at], LowerF, UpperF, Zero)) return at;
    segment.separator = on;
    ++at;
    const bool more = at < text.size() && is(text[at], Colon);
    return more && readDirection(text, at + 1, segment) ? at + 2 : at;
}

std::size_t readText(std::wstring_view text, std::size_t at, Segment& segment) {
    const auto end = nextUnescaped(text, at, [](wchar_t c) { return is(c, Quote); });
    segment.text = text.substr(at, end - at);
    segment.hasText = true;
    return std::min(end + 1, text.size());
}

// Removes the next segment from `input`; false when nothing is left after it.
bool extractSegment(std::wstring_view& input, Segment& segment) {
    if (input.empty()) return false;
    if (getNextSeparator(input, 0)) {
        segment.text = input;
        segment.hasText = true;
        return false;
    }
    bool tagged = false;
    bool optioned = false;
    std::size_t at = 0;
    while (at < input.size() && !segment.hasText) {
        if (is(input[at], Hash)) {
            if (std::exchange(tagged, true)) break;
            const std::size_t end = getNextSeparator(input, at + 1);
            segment.tag = input.substr(at + 1, end - at - 1);
            at = end;
        } else if (is(input[at], Colon)) {
            if (std::exchange(optioned, true)) break;
            at = readOptions(input, at + 1, segment);
        } else if (is(input[at], Quote)) {
            at = readText(input, at + 1, segment);
        } else {
            ++at;
        }
    }
    input.remove_prefix(at);
    return !input.empty();
}

XmString segmentText(const Segment& segment) {
    copyWcsToMbs(segment.text, true, textBuf, textBufLen);
    if (segment.tag.empty())
        return XmStringCreate(textBuf, const_cast<char*>(XmFONTLIST_DEFAULT_TAG));
    copyWcsToMbs(segment.tag, false, tagBuf, tagBufLen);
    return XmStringCreate(textBuf, tagBuf);
}

// Tables

const char* getNextCStrDelim(const char* text) {
    bool quoted = false;
    for (wchar_t ignored = 0; *text != '\0'; text += wideCharacter(text, ignored)) {
        if (*text == '\\' && text[1] != '\0')
            ++text;
        else if (*text == '"')
            quoted = !quoted;
        else if (!quoted && (*text == ',' || *text == '\n'))
            break;
    }
    return text;
}

std::size_t getCStrCount(const char* text) {
    if (*text == '\0') return 0;
    std::size_t count = 1;
    while (*(text = getNextCStrDelim(text)) != '\0') {
        ++text;
        ++count;
    }
    return count;
}

void freeTable(XmStringTable table) {
    for (XmString* entry = table; *entry != nullptr; ++entry) XmStringFree(*entry);
    XtFree(reinterpret_cast<char*>(table));
}

// Converters

XmString resStr = nullptr;
XmStringTable CStrTable = nullptr;

// Passes the value in `result` to the caller of the converter. False when `to` is too small for it;
// the converter then still owns `result`.
template <typename Value>
bool deliver(Display* display, const char* text, const char* type, Value& result, XrmValue* to) {
    const auto bytes = std::as_bytes(std::span<Value, 1>(&result, 1));
    const bool fits = to->addr == nullptr || to->size >= bytes.size();
    if (!fits)
        XtDisplayStringConversionWarning(display, text, type);
    else if (to->addr == nullptr)
        to->addr = reinterpret_cast<XPointer>(&result);
    else
        std::memcpy(to->addr, bytes.data(), bytes.size());
    to->size = bytes.size();
    return fits;
}

void warnOfArguments(Display* display, Cardinal count, const char* name, const char* message) {
    if (count == 0) return;
    XtAppWarningMsg(XtDisplayToApplicationContext(display), name, "wrongParameters",
                    "XtToolkitError", message, nullptr, nullptr);
}

const char* sourceText(const XrmValue* from) {
    return from->addr != nullptr ? from->addr : "";
}

Boolean CvtStringToXmString(Display* display, XrmValue*, Cardinal* count, XrmValue* from,
                            XrmValue* to, XtPointer*) {
    warnOfArguments(display, count != nullptr ? *count : 0, "cvtStringToXmString",
                    "String to XmString converter needs no extra arguments");
    const char* text = sourceText(from);
    resStr = std::string_view(text).starts_with("::")
                 ? StringToXmString(text + 2)
                 : XmStringCreateLtoR(const_cast<char*>(text),
                                      const_cast<char*>(XmFONTLIST_DEFAULT_TAG));
    if (deliver(display, text, "XmString", resStr, to)) return True;
    XmStringFree(std::exchange(resStr, nullptr));
    return False;
}

void XmStringCvtDestroy(XtAppContext, XrmValue* value, XtPointer, XrmValue*, Cardinal*) {
    XmStringFree(*reinterpret_cast<XmString*>(value->addr));
}

XmStringTable tableOf(Display* display, const char* text) {
    const std::size_t count = getCStrCount(text);
    auto* table = reinterpret_cast<XmStringTable>(
        XtMalloc(static_cast<Cardinal>((count + 1) * sizeof(XmString))));
    Cardinal noArguments = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const char* end = getNextCStrDelim(text);
        std::string entry(text, end);
        XrmValue from = {static_cast<unsigned>(entry.size() + 1), entry.data()};
        XrmValue to = {sizeof(XmString), reinterpret_cast<XPointer>(&table[i])};
        CvtStringToXmString(display, nullptr, &noArguments, &from, &to, nullptr);
        text = end + 1;
    }
    table[count] = nullptr;
    return table;
}

Boolean CvtStringToXmStringTable(Display* display, XrmValue*, Cardinal* count, XrmValue* from,
                                 XrmValue* to, XtPointer*) {
    warnOfArguments(display, count != nullptr ? *count : 0, "cvtStringToXmStringTable",
                    "String to XmStringTable converter needs no extra arguments");
    const char* text = sourceText(from);
    CStrTable = tableOf(display, text);
    if (deliver(display, text, "XmStringTable", CStrTable, to)) return True;
    freeTable(std::exchange(CStrTable, nullptr));
    return False;
}

void XmStringTableCvtDestroy(XtAppContext, XrmValue* value, XtPointer, XrmValue*, Cardinal*) {
    freeTable(*reinterpret_cast<XmStringTable*>(value->addr));
}

// CONVERT

// Xt caches every conversion whose converter has a destructor, whatever the cache type: every
// message would stay in memory. So these converters are called directly.
XtTypeConverter ownConverter(std::string_view type) {
    if (type == XmRXmString) return CvtStringToXmString;
    if (type == XmRXmStringTable) return CvtStringToXmStringTable;
    return nullptr;
}

bool convert(Widget w, XrmValue& from, const char* toType, XrmValue& to) {
    Cardinal noArguments = 0;
    const XtTypeConverter own = ownConverter(toType);
    return own != nullptr ? own(XtDisplayOfObject(w), nullptr, &noArguments, &from, &to, nullptr)
                          : XtConvertAndStore(w, XtRString, &from, toType, &to);
}

template <typename Value>
XtArgVal valueAt(XPointer address) {
    Value value;
    std::memcpy(&value, address, sizeof value);
    return static_cast<XtArgVal>(value);
}

XtArgVal argumentOf(const XrmValue& value, std::string_view type) {
    const bool byAddress = type == XtRString || type == "Double" || type == XtRFloat;
    if (!byAddress) {
        if (value.size == 1) return valueAt<std::uint8_t>(value.addr);
        if (value.size == 2) return valueAt<std::int16_t>(value.addr);
        if (value.size == 4) return valueAt<std::int32_t>(value.addr);
        if (value.size == sizeof(XtArgVal)) return valueAt<XtArgVal>(value.addr);
    }
    return reinterpret_cast<XtArgVal>(value.addr);
}

bool isFontPattern(std::string_view text) {
    return !text.empty() && text.find_first_of(",=:;\"") == text.npos;
}

// Field number `wanted` of a font's name, counted from 1.
std::string_view fontField(std::string_view name, int wanted) {
    for (; wanted > 0; --wanted) {
        const std::size_t dash = name.find('-');
        if (dash == name.npos) return {};
        name.remove_prefix(dash + 1);
    }
    return name.substr(0, name.find('-'));
}

bool suitsLayout(std::string_view name) {
    return fontField(name, 5) == "normal" && fontField(name, 9) == "75" &&
           fontField(name, 10) == "75";
}

}  // namespace

XmString StringToXmString(const char* text) {
    if (text == nullptr) return nullptr;
    const std::wstring wide = wideText(text);
    std::wstring_view input = wide;
    XmStringDirection direction = XmSTRING_DIRECTION_L_TO_R;
    XmString result = XmStringDirectionCreate(direction);
    for (bool more = true; more;) {
        Segment segment;
        more = extractSegment(input, segment);
        if (segment.direction != direction) {
            direction = segment.direction;
            result = XmStringConcatAndFree(result, XmStringDirectionCreate(direction));
        }
        if (segment.hasText) result = XmStringConcatAndFree(result, segmentText(segment));
        if (segment.separator) result = XmStringConcatAndFree(result, XmStringSeparatorCreate());
    }
    return result;
}

void RegisterBxConverters(XtAppContext app) {
    // Motif registers its own converters when its first class is initialised; ours must come later.
    XtInitializeWidgetClass(xmPrimitiveWidgetClass);
    XtAppSetTypeConverter(app, XtRString, XmRXmString, CvtStringToXmString, nullptr, 0, XtCacheNone,
                          XmStringCvtDestroy);
    XtAppSetTypeConverter(app, XtRString, XmRXmStringTable, CvtStringToXmStringTable, nullptr, 0,
                          XtCacheNone, XmStringTableCvtDestroy);
}

XtArgVal CONVERT(Widget w, const char* text, const char* toType, int, Boolean* ok) {
    *ok = False;
    if (text == nullptr) return 0;
    std::string font;
    if (std::string_view(toType) == XmRFontList && isFontPattern(text))
        text = (font = BxFontFor(XtDisplay(w), BxScaledFont(XtDisplay(w), text).c_str())).c_str();
    XrmValue from = {static_cast<unsigned>(std::strlen(text) + 1), const_cast<char*>(text)};
    XrmValue to = {0, nullptr};
    if (!convert(w, from, toType, to)) return 0;
    *ok = True;
    return argumentOf(to, toType);
}

std::string BxFontFor(Display* display, const char* pattern) {
    constexpr int enough = 1000;
    int count = 0;
    char** names = XListFonts(display, pattern, enough, &count);
    char** const found = std::find_if(names, names + count, suitsLayout);
    std::string font = found != names + count ? *found : count > 0 ? pattern : "fixed";
    XFreeFontNames(names);
    return font;
}

int BxScale(Display* display) {
    const char* wanted = XGetDefault(display, "Zarn_install", "scale");
    const int scale = wanted != nullptr ? std::atoi(wanted) : 1;
    return scale >= 1 && scale <= 4 ? scale : 1;
}

std::string BxScaledFont(Display* display, std::string pattern) {
    constexpr int pixels = 7;
    constexpr int points = 8;
    const int scale = BxScale(display);
    std::size_t start = 0;
    for (int field = 1; field <= points; ++field) {
        start = pattern.find('-', start);
        if (start == pattern.npos) break;
        const std::size_t end = pattern.find('-', ++start);
        const int size = std::atoi(&pattern[start]);
        if (field >= pixels && size > 0)
            pattern.replace(start, end - start, std::to_string(scale * size));
    }
    return pattern;
}

#include "support/KvuCommand.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

bool isHarmless(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_@%+=:,./-").find(c) != std::string_view::npos;
}

std::string singleQuoted(std::string_view text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted;
}

std::string escaped(std::string_view text, std::string_view special) {
    std::string result;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) result += '\\';
        result += c;
    }
    return result;
}

}  // namespace

KvuShellText KvuShellArgument(std::string_view text) {
    // tcsh takes a leading "=" for a reference to its directory stack.
    bool harmless = !text.empty() && !text.starts_with('=');
    for (const char c : text) harmless = harmless && isHarmless(c);
    return {harmless ? std::string(text) : "'" + singleQuoted(text) + "'"};
}

KvuShellText KvuShellPath(std::string_view text) {
    return KvuShellArgument(text.starts_with('-') ? "./" + std::string(text) : std::string(text));
}

KvuShellText KvuInSingleQuotes(const KvuShellText& command) {
    return {singleQuoted(command.text)};
}

KvuShellText KvuInDoubleQuotes(const KvuShellText& command) {
    return {escaped(command.text, "\"\\$`")};
}

KvuShellText KvuForCsh(const KvuShellText& command) {
    return {escaped(command.text, "!\n")};
}

std::string KvuFillTemplate(std::string_view commandTemplate,
                            std::initializer_list<KvuShellText> words) {
    std::string command;
    auto word = words.begin();
    for (std::size_t i = 0; i < commandTemplate.size(); ++i) {
        if (commandTemplate[i] == '%' && word != words.end()) {
            command += (word++)->text;
            ++i;
        } else {
            command += commandTemplate[i];
        }
    }
    return command;
}

std::string KvuFormat(const char* format, ...) {
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    std::string text;
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    if (length > 0) {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    va_end(arguments);
    return text;
}

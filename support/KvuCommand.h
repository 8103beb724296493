#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

/// Shell command lines are composed here and nowhere else. A template such as "rm -rf %s/%s" is
/// filled with one piece per %s; the compiler refuses a template whose number of %s differs from
/// the number of pieces, or that holds any other conversion. Plain text among the pieces is quoted
/// so that the shell sees exactly that text; only a KvuShellText enters a command as it stands.
/// A command has no length limit and is never cut.

/// Text that is in the shell's own language already: quoted words, lists of them, whole commands.
struct KvuShellText {
    std::string text;
};

/// Returns `text` as one word for the shell. Text made of letters, digits and _@%+=:,./- only
/// comes back unchanged unless it begins with "="; any other text (the empty one too) comes in
/// single quotes. A leading "-" gets
/// "./" in front, so that no program takes a file's name for an option.
[[nodiscard]] KvuShellText KvuShellPath(std::string_view text);

/// The same for an argument, in which a leading "-" stays what it is.
[[nodiscard]] KvuShellText KvuShellArgument(std::string_view text);

/// Returns `command` in the form that it must have between the single quotes of another command:
/// the quoting shell hands `command` on unchanged.
[[nodiscard]] KvuShellText KvuInSingleQuotes(const KvuShellText& command);

/// The same for a command between the double quotes of another command.
[[nodiscard]] KvuShellText KvuInDoubleQuotes(const KvuShellText& command);

/// The same for a command that csh is to run: unlike other shells it looks for "!" and for the end
/// of the line within single quotes, too.
[[nodiscard]] KvuShellText KvuForCsh(const KvuShellText& command);

/// A command template, checked at compile time. REQUIRES: a string literal.
template <typename... Pieces>
class KvuTemplate {
public:
    template <std::size_t N>
    consteval KvuTemplate(const char (&text)[N]) : text_(text, N - 1) {
        std::size_t slots = 0;
        for (std::size_t i = 0; i + 1 < N; ++i) {
            if (text[i] != '%') continue;
            if (text[++i] != 's') throw "a command template knows only %s";
            ++slots;
        }
        if (slots != sizeof...(Pieces)) throw "a command template takes one piece per %s";
    }

    [[nodiscard]] std::string_view text() const { return text_; }

private:
    std::string_view text_;
};

/// Returns `commandTemplate` with each %s replaced by the next of `words`, unquoted.
[[nodiscard]] std::string KvuFillTemplate(std::string_view commandTemplate,
                                          std::initializer_list<KvuShellText> words);

[[nodiscard]] inline KvuShellText KvuShellPiece(const KvuShellText& piece) {
    return piece;
}
[[nodiscard]] inline KvuShellText KvuShellPiece(std::string_view piece) {
    return KvuShellPath(piece);
}

/// Composes a command: `commandTemplate` with one piece per %s, text pieces quoted.
template <typename... Pieces>
[[nodiscard]] KvuShellText KvuCommand(std::type_identity_t<KvuTemplate<Pieces...>> commandTemplate,
                                      const Pieces&... pieces) {
    return {KvuFillTemplate(commandTemplate.text(), {KvuShellPiece(pieces)...})};
}

/// Composes a text that is not a command, printf-style and of any length.
[[nodiscard]] [[gnu::format(printf, 1, 2)]] std::string KvuFormat(const char* format, ...);

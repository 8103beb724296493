#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

/// Shell command lines are composed here and nowhere else. A template such as "rm -rf %s/%s" is
/// filled with one piece per %s; a template whose number of %s differs from the number of pieces,
/// or that has any other conversion, does not compile. Plain text among the pieces is quoted so
/// that the shell sees exactly that text; only a KvuShellText enters a command unchanged.
/// A command has no length limit and is never cut.

/// Text that is in the shell's own language already: quoted words, lists of them, whole commands.
struct KvuShellText {
    std::string text;
};

/// Returns `text` as one word for the shell. Text of only letters, digits and _@%+=:,./- comes back
/// unchanged unless it begins with "="; any other text, the empty one included, is put in single
/// quotes. Text that begins with "-" gets "./" in front, so that no program takes a file name for
/// an option.
[[nodiscard]] KvuShellText KvuShellPath(std::string_view text);

/// The same for an argument that is not a file name: a leading "-" is kept.
[[nodiscard]] KvuShellText KvuShellArgument(std::string_view text);

/// Returns `command` escaped for use between the single quotes of another command: the outer shell
/// then passes exactly `command` on.
[[nodiscard]] KvuShellText KvuInSingleQuotes(const KvuShellText& command);

/// The same for a command between the double quotes of another command.
[[nodiscard]] KvuShellText KvuInDoubleQuotes(const KvuShellText& command);

/// Escapes a command that csh is to run: unlike other shells, csh treats "!" and the end of a line
/// as special even within single quotes.
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

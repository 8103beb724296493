#pragma once

#include <cstddef>
#include <cstdio>

#include "support/KvTypes.h"

/// Characters that should not be used in file names.
inline constexpr char KvUnniceFileChar[] = " ()[]{}@!$%^&*~`";

/// Characters that `KvuString::makeNiceFilename` replaces; the default set of `KvuIsANiceChar`.
inline constexpr char KvUnniceChar[] = ".:~ \t";

/// Returns 1 when `c` is not in `set`, else 0. A null `set` means `KvUnniceChar`; with an empty set
/// every character is nice.
KvBool KvuIsANiceChar(char c, const char* set);

/// Small operations on zero-terminated byte strings. Pointers passed in are not kept. Of the input
/// strings, only those declared `char*` are changed. A result in a buffer of the class is valid
/// until the next call of the same operation. Unless stated otherwise, if a result does not fit a
/// `KvText`, the buffer is left empty and the operation returns 0. Some operations serve the
/// suite's other programs, which handle documents and file lists: the installer itself does not
/// call all of them.
class KvuString {
public:
    KvuString() = delete;

    // --- Lines and files

    /// Splits `line` into words at blanks and tabs, up to its first newline; only the first 1023
    /// characters are used. A word that starts with a double quote runs to the next double quote
    /// and may contain blanks; the quotes are dropped, and so is the character after the closing
    /// one. If the closing quote is missing, the word ends with the line.
    ///
    /// `argv` has `capacity` entries. At most `capacity` - 1 words are stored, further ones are
    /// left out; the entry after the last word points to "". The words are in a buffer of the
    /// class. Returns the number of words stored; 0 when the first word begins with `comment`
    /// ('\0': there are no comments), or when `capacity` is below 1.
    static int parseLine(const char* line, char** argv, char comment, int capacity);

    template <std::size_t N>
    static int parseLine(const char* line, char* (&argv)[N], char comment) {
        return parseLine(line, argv, comment, static_cast<int>(N));
    }

    /// Reads at most 65,535 bytes of `fp` into a new, terminated buffer and stores it in `*text`;
    /// the caller releases it with `free`. Returns the number of bytes. When memory runs out, it
    /// tells the user, stores null and returns 0.
    static int getTextFromFile(std::FILE* fp, char** text);

    // --- Paths and file names

    /// Stores in `out` the part of `path` after its last "/". A single trailing "/" is ignored if
    /// there is another "/" before it ("/a/b/" gives "b", "a/" gives ""). Returns 1; 0 when the
    /// result does not fit.
    static KvBool basename(const char* path, KvText& out);

    /// Returns a pointer into `name`, to the text after its last "."; null if there is no ".".
    static const char* extension(const char* name);

    /// Returns 1 when `name` ends with `ext` or equals it; case matters.
    static KvBool hasExtension(const char* name, const char* ext);

    /// Returns 1 when `name` holds no character of `KvUnniceFileChar`.
    static KvBool isANiceFilename(const char* name);

    /// `makeNiceName` with `KvUnniceChar`.
    static const char* makeNiceFilename(const char* name);

    /// Returns `name` with "_" in place of every character for which `KvuIsANiceChar` returns 0, in
    /// a buffer of the class. Only the first 1023 characters of `name` are used.
    static const char* makeNiceName(const char* name, const char* set);

    // --- Searching and cutting

    /// Compares the first `n` characters of `a` and `b`, or all of them when `n` is negative,
    /// ignoring case. Returns a number less than, equal to or greater than 0.
    static int strncasecmp(const char* a, const char* b, int n);

    /// Returns 1 when `sub` occurs in `s`. With `caseSensitive` 0 case is ignored, and an empty `s`
    /// contains nothing, not even an empty `sub`.
    static KvBool containsString(const char* s, const char* sub, int caseSensitive);

    /// Returns 1 when `s` contains a blank; a tab does not count.
    static KvBool containsSpaces(const char* s);

    /// Returns how often `c` occurs in `s`.
    static int characterCt(const char* s, char c);

    /// Cuts `s` off at the first (`first` nonzero) or last occurrence of `c`. Returns 1; returns 0
    /// and leaves `s` alone when `c` does not occur.
    static KvBool truncateAtChar(char* s, char c, int first);

    /// Splits `s` at the `n`-th `c`, counted from 1, into `before` and `after`. When there are
    /// fewer than `n`, `before` is all of `s` and `after` is empty. Returns the length of `s`; when
    /// a part does not fit, returns 0 and leaves both empty.
    static int split(const char* s, char c, int n, KvText& before, KvText& after);

    /// Joins the arguments that are not null, in a buffer of the class. If the result would be
    /// longer than 1023 characters, it is `a` alone (null: ""), cut to 1023.
    static const char* concatStrings(const char* a, const char* b, const char* c, const char* d);

private:
    static KvText pline;    ///< the line that the words of the last parseLine lie in
    static KvText nice;     ///< the last name made nice
    static KvText cstring;  ///< the last concatenation
};

#pragma once

#include <cstddef>
#include <cstdio>

#include "support/KvTypes.h"

/// Characters that a file name had better not hold.
inline constexpr char KvUnniceFileChar[] = " ()[]{}@!$%^&*~`";

/// Characters that `KvuString::makeNiceFilename` replaces; the default set of `KvuIsANiceChar`.
inline constexpr char KvUnniceChar[] = ".:~ \t";

/// Returns 1 when `c` is not in `set`, else 0. Null means `KvUnniceChar`; with an empty set every
/// character is nice.
KvBool KvuIsANiceChar(char c, const char* set);

/// Small operations on zero-terminated byte strings. Arguments are never kept and only those
/// declared `char*` are written to. A result in a buffer of the class is valid until the next call
/// of the same operation. A result that does not fit a `KvText` leaves it empty and gives 0.
class KvuString {
public:
    KvuString() = delete;

    // --- Lines and files

    /// Splits `line` into words at blanks and tabs, as far as its first newline; of a longer line
    /// only the first 1023 characters count. A word that starts with a double quote runs to the
    /// next one and may hold blanks; the quotes are dropped, and so is the character that follows
    /// the closing one. A missing closing quote ends with the line.
    ///
    /// `argv` has `capacity` entries. At most `capacity` - 1 words are stored, further ones are
    /// left out; the entry after the last word points to "". The words lie in a buffer of the
    /// class. Returns the number of words stored, or 0 when the first of them begins with
    /// `comment` ('\0': there are no comments) and when `capacity` is below 1.
    static int parseLine(const char* line, char** argv, char comment, int capacity);

    template <std::size_t N>
    static int parseLine(const char* line, char* (&argv)[N], char comment) {
        return parseLine(line, argv, comment, static_cast<int>(N));
    }

    /// Reads at most 65,535 bytes of `fp` into a new, terminated buffer and stores it in `*text`;
    /// the caller releases it with `free`. Returns the number of bytes. Without memory it tells
    /// the user so, stores null and returns 0.
    static int getTextFromFile(std::FILE* fp, char** text);

    // --- Paths and file names

    /// Stores in `out` what follows the last "/" of `path`; one trailing "/" does not count when
    /// there is another before it ("/a/b/" gives "b", "a/" gives ""). Returns 1, or 0 as above.
    static KvBool basename(const char* path, KvText& out);

    /// Returns the text after the last "." of `name` (a pointer into it), null without a ".".
    static const char* extension(const char* name);

    /// Returns 1 when `name` ends with `ext`, which is compared exactly and may be all of `name`.
    static KvBool hasExtension(const char* name, const char* ext);

    /// Returns 1 when `name` holds no character of `KvUnniceFileChar`.
    static KvBool isANiceFilename(const char* name);

    /// `makeNiceName` with `KvUnniceChar`.
    static const char* makeNiceFilename(const char* name);

    /// Returns `name` with "_" for every character that `KvuIsANiceChar` refuses, in a buffer of
    /// the class. Only the first 1023 characters of `name` are used.
    static const char* makeNiceName(const char* name, const char* set);

    // --- Searching and cutting

    /// Compares the first `n` characters of `a` and `b` without regard to case, all of them when
    /// `n` is negative. Returns less than, equal to or greater than 0.
    static int strncasecmp(const char* a, const char* b, int n);

    /// Returns 1 when `sub` occurs in `s`. Without regard to case (`caseSensitive` 0) nothing
    /// occurs in an empty `s`, not even an empty `sub`.
    static KvBool containsString(const char* s, const char* sub, int caseSensitive);

    /// Returns 1 when `s` holds a blank; a tab is none.
    static KvBool containsSpaces(const char* s);

    /// Returns how often `c` occurs in `s`.
    static int characterCt(const char* s, char c);

    /// Ends `s` at its first (`first` nonzero) or last occurrence of `c`. Returns 1; 0 when `c`
    /// does not occur, and `s` is left alone.
    static KvBool truncateAtChar(char* s, char c, int first);

    /// Splits `s` at the `n`-th `c` (counted from 1): what precedes it goes to `before`, what
    /// follows to `after`. Without an `n`-th one, `before` is all of `s` and `after` empty.
    /// Returns the length of `s`; 0 with both empty when a part does not fit.
    static int split(const char* s, char c, int n, KvText& before, KvText& after);

    /// Joins the arguments, leaving out null ones, in a buffer of the class. When they come to
    /// more than 1023 characters the result is `a` alone (null: ""), cut to 1023.
    static const char* concatStrings(const char* a, const char* b, const char* c, const char* d);

private:
    static KvText pline;    ///< the line that the words of the last parseLine lie in
    static KvText nice;     ///< the last name made nice
    static KvText cstring;  ///< the last concatenation
};

#pragma once

#include <cstddef>
#include <string_view>

/// The suite's names for the simple types that cross its boundaries.
using KvBool = int;  ///< truth value: 1 true, 0 false
using KvInt = int;
using KvChar = char;
using KvFloat = float;

/// Size of every text and path buffer at a boundary, the terminating zero included.
inline constexpr std::size_t KvTextSize = 1024;

/// A text buffer at a boundary: zero-terminated, at most 1023 characters of text.
using KvText = char[KvTextSize];

/// Copies `text` into `out` and terminates it; anything beyond 1023 bytes is left out.
/// Returns true when all of `text` is in `out`, false when it was cut; the caller must check this
/// before it uses the copy. `text` may be part of `out` itself.
[[nodiscard]] bool KvCopyText(KvText& out, std::string_view text);

/// The same for text that would mean something else if it were cut, such as a path: text that does
/// not fit leaves `out` empty.
[[nodiscard]] bool KvStoreText(KvText& out, std::string_view text);

/// `text`, or an empty one for null.
[[nodiscard]] inline const char* KvOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

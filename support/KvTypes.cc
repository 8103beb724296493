#include "support/KvTypes.h"

#include <cstring>

bool KvCopyText(KvText& out, std::string_view text) {
    const std::size_t kept = text.size() < KvTextSize ? text.size() : KvTextSize - 1;
    // An empty string_view may hold a null pointer, which memmove must not get.
    if (kept > 0) std::memmove(out, text.data(), kept);
    out[kept] = '\0';
    return kept == text.size();
}

bool KvStoreText(KvText& out, std::string_view text) {
    const bool fits = KvCopyText(out, text);
    if (!fits) out[0] = '\0';
    return fits;
}

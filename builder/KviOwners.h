#pragma once

#include <X11/Intrinsic.h>
#include <Xm/Xm.h>

#include <memory>
#include <type_traits>

#include "support/KvTypes.h"

/// Owners of objects that Xt and Motif return. Motif copies an XmString when it is set as a
/// resource, so our own can be freed at the end of the block.

struct KviXmStringFreer {
    void operator()(XmString string) const { XmStringFree(string); }
};
using KviXmString = std::unique_ptr<std::remove_pointer_t<XmString>, KviXmStringFreer>;

/// `text` for a widget; a newline is a line break. Null counts as an empty text.
[[nodiscard]] inline KviXmString KviStringOf(const char* text) {
    return KviXmString(XmStringCreateLtoR(const_cast<char*>(KvOrEmpty(text)),
                                          const_cast<char*>(XmSTRING_DEFAULT_CHARSET)));
}

/// Text from the toolkit, released with XtFree.
struct KviTextFreer {
    void operator()(char* text) const { XtFree(text); }
};
using KviText = std::unique_ptr<char, KviTextFreer>;

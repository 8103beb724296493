#pragma once

#include <X11/Intrinsic.h>
#include <Xm/Xm.h>

#include <memory>
#include <type_traits>

/// Owners of what Xt and Motif hand out. Motif copies what it is given, so an XmString made for a
/// resource lives for one block.

struct KviXmStringFreer {
    void operator()(XmString string) const { XmStringFree(string); }
};
using KviXmString = std::unique_ptr<std::remove_pointer_t<XmString>, KviXmStringFreer>;

/// Text from the toolkit, released with XtFree.
struct KviTextFreer {
    void operator()(char* text) const { XtFree(text); }
};
using KviText = std::unique_ptr<char, KviTextFreer>;

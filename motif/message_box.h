#pragma once

#include <X11/Intrinsic.h>

#include <array>
#include <string>
#include <vector>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"

/// The one box of all messages, kvcMessageWidget, as a window: its text, size and place, and that
/// the user has it before him. For this folder's sources only.

struct KvcSize {
    int width;
    int height;
};

/// Resources of the box, set in one go.
class KvcBoxArguments {
public:
    void add(const char* resource, XtArgVal value) {
        XtSetArg(arguments_[count_], const_cast<char*>(resource), value);
        ++count_;
    }

    /// Nothing is added if the text can't be converted.
    void addText(const char* resource, const char* text) {
        Boolean ok = False;
        const XtArgVal value = CONVERT(kvcTopLevelWidget, text, XmRXmString, 0, &ok);
        if (!ok) return;
        texts_.emplace_back(reinterpret_cast<XmString>(value));
        add(resource, value);
    }

    void apply() { XtSetValues(kvcMessageWidget, arguments_.data(), count_); }

private:
    std::array<Arg, 6> arguments_ = {};
    Cardinal count_ = 0;
    std::vector<KviXmString> texts_;
};

[[nodiscard]] Widget KvcMessageShell();

/// While it lives, the box alone gets input. Motif leaves that to its own window manager, and when
/// it brings up a shell it admits older ones again: so this starts once the box is up.
class KvcInputHold {
public:
    KvcInputHold() { XtAddGrab(KvcMessageShell(), True, False); }
    ~KvcInputHold() { XtRemoveGrab(KvcMessageShell()); }
    KvcInputHold(const KvcInputHold&) = delete;
    KvcInputHold& operator=(const KvcInputHold&) = delete;
};

/// False before the first message, too.
[[nodiscard]] bool KvcMessageIsShown();

/// Shows the texts, one below the other, in a box of that size at least; of what is too much for
/// the screen some are left out. REQUIRES: the box is not shown.
void KvcShowMessageBox(const std::vector<std::string>& texts, KvcSize smallest);

/// Puts the box that is shown before the user again, with the window that it belongs to.
void KvcBringUpMessageBox();

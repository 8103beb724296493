#pragma once

#include <X11/Intrinsic.h>

#include <array>
#include <string>
#include <vector>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"

/// The window of the one message box, kvcMessageWidget: its text, size and place, and bringing it
/// in front of the user. For this folder's sources only.

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

/// While it lives, only the box gets input. Motif leaves modality to its own window manager, and
/// gives older shells input again when it maps a shell: so don't have it map the box meanwhile.
class KvcInputHold {
public:
    KvcInputHold() { XtAddGrab(KvcMessageShell(), True, False); }
    ~KvcInputHold() { XtRemoveGrab(KvcMessageShell()); }
    KvcInputHold(const KvcInputHold&) = delete;
    KvcInputHold& operator=(const KvcInputHold&) = delete;
};

/// Also false before the first message.
[[nodiscard]] bool KvcMessageIsShown();

/// Shows the texts, one below the other, in a box of at least the size `smallest`. If they don't
/// all fit on the screen, some are left out. REQUIRES: the box is not shown.
void KvcShowMessageBox(const std::vector<std::string>& texts, KvcSize smallest);

/// Brings the box, which is shown already, in front again, together with its parent window.
void KvcBringUpMessageBox();

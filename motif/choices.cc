#include <Xm/RowColumn.h>
#include <Xm/ToggleB.h>

#include <array>

#include "motif/KvcUtil.h"

void KvcSetRadio(int which, Widget t0, Widget t1, Widget t2, Widget t3, Widget t4, Widget t5,
                 Widget t6, Widget t7, Widget t8, Widget t9) {
    int index = 0;
    for (Widget toggle : {t0, t1, t2, t3, t4, t5, t6, t7, t8, t9}) {
        if (toggle != nullptr) XmToggleButtonSetState(toggle, index == which ? True : False, False);
        ++index;
    }
}

void KvcSetOption(int which, Widget optionMenu, Widget b0, Widget b1, Widget b2, Widget b3,
                  Widget b4, Widget b5, Widget b6, Widget b7, Widget b8, Widget b9) {
    const std::array<Widget, 10> buttons = {b0, b1, b2, b3, b4, b5, b6, b7, b8, b9};
    if (which < 0 || which >= static_cast<int>(buttons.size())) return;
    Widget button = buttons[static_cast<std::size_t>(which)];
    if (button != nullptr) XtVaSetValues(optionMenu, XmNmenuHistory, button, nullptr);
}

void KvcSetSensitive(Widget w, int sensitive) {
    const bool wanted = sensitive;
    if (static_cast<bool>(XtIsSensitive(w)) != wanted) XtSetSensitive(w, wanted ? True : False);
}

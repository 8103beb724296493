// The smallest Motif program: a window with one button. It is the baseline for the cost of the
// installer's window.

#include <Xm/PushB.h>
#include <Xm/Xm.h>

int main(int argc, char** argv) {
    XtAppContext app = nullptr;
    const Widget shell =
        XtVaAppInitialize(&app, "Button", nullptr, 0, &argc, argv, nullptr, nullptr);
    XtManageChild(XmCreatePushButton(shell, const_cast<char*>("button"), nullptr, 0));
    XtRealizeWidget(shell);
    XtAppMainLoop(app);
    return 0;
}

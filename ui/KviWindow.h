#pragma once

#include <X11/Intrinsic.h>

/// Builds the main dialog and the icon dialog under `parent`, the application's top-level shell,
/// and stores every widget in its variable (ui/KviInstall.h). Returns the main bulletin board,
/// still unmanaged: managing it shows the window. A resource whose text can't be converted on this
/// display keeps its default. The widgets live as long as the application.
Widget CreatekviInstallWidget(Widget parent);

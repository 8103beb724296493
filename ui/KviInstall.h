#pragma once

#include <X11/Intrinsic.h>

/// The widgets of the installer's window, by name. CreatekviInstallWidget (ui/KviWindow.h) creates
/// them; none of them is ever destroyed.

/// Null until CreatekviInstallWidget has run.
extern Widget kviInstallWidget;  ///< main bulletin board

extern Widget kviInstallSubsystemRemovedLabel;  ///< "- Marked for removal", shown by the engine
extern Widget kviInstallSubsystemAddedLabel;    ///< "+ Marked for installation", likewise

extern Widget kviInstallPinnet;
extern Widget kviInstallCorvan;
extern Widget kviInstallLustrel;
extern Widget kviInstallAmbrel;

extern Widget kviSubsystemPictureGallery;
extern Widget kviSubsystemMiscSource;
extern Widget kviSubsystemTranslatorsDev;
extern Widget kviSubsystemPhotorealRenderer;
extern Widget kviSubsystemExportXlators;
extern Widget kviSubsystemImportXlators;
extern Widget kviSubsystemProjects;
extern Widget kviSubsystemMaterials;
extern Widget kviSubsystemModels;
extern Widget kviSubsystemTextures;

extern Widget kviInstallDiskAvail;
extern Widget kviInstallDiskReq;

extern Widget kviInstallToggleTape;
extern Widget kviInstallToggleRemoteTape;
extern Widget kviInstallToggleTarFile;
extern Widget kviInstallToggleCD;

extern Widget kviInstallButtonUsers;  ///< "Install Icon..."
extern Widget kviInstallSystemMsg;    ///< status line
extern Widget kviInstallReadTextOk;
extern Widget kviInstallReadText;
extern Widget kviInstallButtonInstall;
extern Widget kviInstallButtonRemove;
extern Widget kviInstallLocationTextOk;
extern Widget kviInstallLocationText;

extern Widget kviInstallIconShell;
extern Widget kviIInstallIcon;  ///< icon dialog's bulletin board
extern Widget kviInstallIconInstall;
extern Widget kviInstallIconPath;
extern Widget kviInstallIconProductLabel;
extern Widget kviInstallUserList;

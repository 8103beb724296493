#pragma once

/// Keeps what the installer and its commands print in ".Zarn_install.log" in the user's home too,
/// behind a line with the date and the command line. In the home that the system knows when HOME
/// is somebody else's, as it can be under sudo. Standard error tells when and why there is no log.
void ZarnLogStart(int argc, char** argv);

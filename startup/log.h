#pragma once

/// Copies what the installer and its commands print to ".Zarn_install.log" in the user's home,
/// after a line with the date and the command line. If HOME belongs to somebody else, as it can
/// under sudo, the home in the password file is used. If there is no log, standard error says why.
void ZarnLogStart(int argc, char** argv);

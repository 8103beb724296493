#pragma once

/// The suite's brochure, which the information window shows with `more` while the first archive is
/// extracted. It is plain ASCII, about 7,400 characters long; no line is longer than 76 characters,
/// so that none wraps in a terminal of 80 columns, and the last one ends with a newline.
///
/// Write it out verbatim (fputs, fwrite), never as a format: it contains percent signs.
extern const char* const kvcInstallMsg;

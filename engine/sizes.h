#pragma once

#include <string>

/// The sizes that a distribution says it has.

/// Takes them from the file "Zarn_sizes" in `directory`: into the table of subsystems, and for the
/// product tree. What the file does not name, or names with no number of bytes that a disk could
/// hold, keeps its size.
void KvmReadSizes(const std::string& directory);

/// Of the product tree without subsystems, in millions of bytes.
float KvmSystemMB();

#pragma once

#include <string>

/// The sizes that a distribution states for its parts.

/// Reads the sizes of the subsystems, into their table, and of the product tree from the file
/// "Zarn_sizes" in `directory`. A part that is not listed, or whose size is not a plausible number
/// of bytes, keeps the size that it had.
void KvmReadSizes(const std::string& directory);

/// The size of the product tree without subsystems, in millions of bytes.
float KvmSystemMB();

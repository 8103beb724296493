#pragma once

#include "engine/extract.h"

/// Whether the files that `plan` will read match the SHA256SUMS in the installer's folder. If not,
/// an error names the first file that differs. Files that are not listed there are not checked, and
/// neither is a distribution without SHA256SUMS.
bool KvmAgreesWithSums(const KvmPlan& plan);

#pragma once

#include "engine/extract.h"

/// Whether what `plan` is about to read agrees with the SHA256SUMS beside the installer; an error
/// names the first file that does not. What has no line there, and a distribution without the file,
/// is taken as it is.
bool KvmAgreesWithSums(const KvmPlan& plan);

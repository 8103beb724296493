#pragma once

#include <string>

/// Install locations.

/// The place that `location` names, as the installation goes there and the record keeps it: "." as
/// it is, any other relative name made absolute. Empty, after an error that says why, when the
/// record could not hold it.
std::string KvmCheckedLocation(const std::string& location);

/// `place` itself, or the nearest directory above it that exists.
std::string KvmNearestDirectory(const std::string& place);

/// Tells the user of an installation that ended early, if there is one, and what Install does.
void KvmTellOfUnfinished();

#pragma once

#include <string>

/// Install locations.

/// The place named by `location`, as the session stores it: "." stays, any other relative path
/// becomes absolute. Empty, after an error that says why, when the record could not store it.
std::string KvmCheckedLocation(const std::string& location);

/// `place` itself, or the nearest directory above it that exists.
std::string KvmNearestDirectory(const std::string& place);

/// If there is an interrupted installation, tells the user about it and what Install will do.
void KvmTellOfUnfinished();

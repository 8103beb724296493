#pragma once

#include <array>
#include <ostream>
#include <vector>

/// What a translator hands to Zarn: points and the faces between them.
struct IvModel {
    std::vector<std::array<double, 3>> points;
    std::vector<std::vector<int>> faces;  ///< indices into `points`, counter-clockwise
};

/// Writes `model` to `out` as an ASCII OpenInventor file. Check the stream's state for success.
void writeIv(std::ostream& out, const IvModel& model);

#include "IvWriter.h"

void writeIv(std::ostream& out, const IvModel& model) {
    out << "#Inventor V2.1 ascii\n\nSeparator {\n    Coordinate3 {\n        point [\n";
    for (const auto& point : model.points)
        out << "            " << point[0] << ' ' << point[1] << ' ' << point[2] << ",\n";
    out << "        ]\n    }\n    IndexedFaceSet {\n        coordIndex [\n";
    for (const auto& face : model.faces) {
        out << "            ";
        for (const int index : face) out << index << ", ";
        out << "-1,\n";
    }
    out << "        ]\n    }\n}\n";
}

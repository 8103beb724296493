// A translator to start from: a grid of heights (columns, rows, then the heights) becomes a
// surface.   XyzToIv <heights.txt >surface.iv
#include <iostream>

#include "IvWriter.h"

int main() {
    int columns = 0;
    int rows = 0;
    if (!(std::cin >> columns >> rows) || columns < 2 || rows < 2) {
        std::cerr << "XyzToIv: columns and rows expected\n";
        return 1;
    }
    IvModel model;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            double height = 0;
            if (!(std::cin >> height)) {
                std::cerr << "XyzToIv: too few heights\n";
                return 1;
            }
            model.points.push_back({double(column), height, double(row)});
            const int here = row * columns + column;
            if (row > 0 && column > 0)
                model.faces.push_back({here, here - columns, here - columns - 1, here - 1});
        }
    }
    writeIv(std::cout, model);
    return std::cout.flush() ? 0 : 1;
}

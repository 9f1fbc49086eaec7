// Where a grid run's lattice lies, from its receivers.
//
// A grid run's receiver at lattice column i and row j stands at x = X1 + DXL (i - 1),
// y = Y1 + DYL (j - 1), in single precision: x depends on the column alone, y on the row alone. The
// fit takes the position of each column and row from the first receiver met in it, checks every
// further receiver against it, and at the end lays a straight line through the positions of the
// columns (rows) present by least squares. Memory: one number per column and per row.
#pragma once

#include <string>
#include <vector>

#include "results/writer.h"

namespace tn {

// The lattice's placement: the position of the block's first column and row, and the spacings,
// metres (negative where the positions fall as the index rises).
struct LatticePlacement {
    double x_first = 0.0;   // x of column Iifirst
    double dx = 0.0;
    double y_first = 0.0;   // y of row Jjfirst
    double dy = 0.0;
};

class LatticeFit {
public:
    // Positions within this distance of their column's or row's, metres, belong to it: the text
    // files give positions to the centimetre, or to the metre where latitude and longitude are
    // missing.
    static constexpr double kTolerance = 1.0;

    void start(const GridBlock& block);
    // A receiver at (i, j) of the block standing at (x, y). Returns an empty text, or what is wrong
    // (the receiver stands away from its column or row).
    std::string add(int i, int j, double x, double y);
    // The direction of the columns (rows) as soon as two of them have been met: +1 where x (y)
    // rises with the index, -1 where it falls, 0 not yet known.
    int x_direction() const { return xdir_; }
    int y_direction() const { return ydir_; }

    // The placement. An axis with one column (row) takes the spacing of the other axis, in its own
    // direction (positive where unknown). Returns an empty text, or why the lattice cannot be
    // placed: no receiver, one receiver alone, positions that are not evenly spaced.
    std::string place(LatticePlacement& p) const;

private:
    GridBlock block_;
    std::vector<double> colx_, rowy_;   // NaN: none met yet
    int firsti_ = 0, firstj_ = 0;       // first column (row) met, 0: none
    int xdir_ = 0, ydir_ = 0;
};

}  // namespace tn

// Ground values from a land cover raster: each cell's class is looked up in a table of classes, and
// the ground value found there (an effective flow resistivity, kPa s / m^2) goes to the node.
//
// Class table, <Exedir>/rnd/GroundImpedance.csv: line 1 is a heading and is passed over; each
// following line is a class number (1 to 200) and its ground value, separated by commas or blanks.
// Later lines overwrite earlier ones; classes that no line names keep 200.0.
//
// Beside the raster (names formed as sibling_name does):
//   hdr, seven lines read by order only (keywords up to 12 characters, not looked at): columns,
//        rows, x and y of the lower left corner (Albers metres), cell size (metres, both
//        directions), no-data value (an integer), byte order ("LSB" or "MSB", first three letters);
//   prj, twelve lines in the layout of a text projection file: lines 1 to 8 are passed over (the
//        projection and datum named there are not looked at: the conversion is always Albers on
//        WGS 84), lines 9 to 12 hold the first and second standard parallels, the central meridian
//        and the latitude of origin, each as degrees, minutes and seconds in free format (a
//        negative angle carries its sign on all three numbers).
// Raster: NX * NY floats holding class numbers, the northern row first.
#pragma once

#include <string_view>

#include "geo/grid.h"
#include "io/fixed_text.h"

namespace tn {

// Reads the class table, the land cover raster Gndfile and its hdr and prj files, and fills
// Flowhead, Flowz, Flowx and Flowy (released and allocated here).
//   - Flowhead: NX and NY of the raster (independent of the terrain's), DX = DY = the cell size,
//     X0, Y0 the UTM position of the lower left corner.
//   - Flowz(i, j): the table's value for the class of the cell of node (i, j), i the column from the
//     west, j the row from the south. A cell equal to the no-data value is taken as class 11; a cell
//     value is truncated to its class (42.7 is class 42).
//   - Flowx, Flowy: UTM position of node (i, j), at (corner x + cell * (i - 1), corner y + cell *
//     (j - 1)) Albers metres, the products in floats, the sums in double precision, converted by
//     ALBTOUTM in Utmzone (the zone that the terrain fixed; 0 would choose it node by node).
// Ends the run with a RunError naming the file and the line or byte for: a missing table, hdr, prj
// or raster; a header or prj line missing or not of its kind; counts that are not positive; a byte
// order other than "LSB" or "MSB"; a raster shorter than NX * NY floats; a class outside 1 to 200,
// in the table or in the raster.
void READCOVER(const Name255& Gndfile, std::string_view Exedir, int Utmzone, GRIDHEAD& Flowhead, FloatGrid& Flowz,
               FloatGrid& Flowx, FloatGrid& Flowy);

}  // namespace tn

// Terrain from a float raster in geographic coordinates: a ".flt" file of 32-bit IEEE heights with
// a seven-line text header beside it, turned into the terrain grid of the case (the same header,
// heights and node positions that the tagged grid reader fills).
//
// Header, seven lines, read by order only (the keywords, up to 14 characters, are not looked at);
// each line is a keyword and a free-format value:
//   1 columns (NX)          2 rows (NY)
//   3 longitude of the lower left corner, degrees    4 its latitude, degrees
//   5 cell size, degrees    6 no-data value (counted, not applied)
//   7 byte order: the first three letters of the value, "MSB" for big-endian; anything else,
//     "msb" included, is little-endian.
// Raster: NX * NY floats, the northern row first, each row from west to east, no head or marks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "geo/grid.h"
#include "io/binary_file.h"
#include "io/fixed_text.h"

namespace tn {

// The name of a file beside a raster: `name` without trailing blanks, its last three characters
// replaced by `ext` (three letters). Deliberate: the replacement goes by position, not by looking
// for an extension, and a name of three characters or less gives `ext` alone.
std::string sibling_name(std::string_view name, std::string_view ext);

// A count of columns or rows on line `line` of the header `hdr` must be positive; a count of zero
// or less would leave a grid that no lookup can use. Ends the run otherwise.
void require_positive_count(const std::string& hdr, long line, int n, const char* what);

// The raster file must hold the nx by ny floats that its header declares: measured before anything
// is allocated for them. Ends the run otherwise, naming both files.
void require_raster_cells(const BinaryFile& raster, int nx, int ny, const std::string& hdr);

// Reads the raster Terrfile and its header and fills Terrhead, Elev, Elev2, Xnode and Ynode.
//   - Utmzone is set to 0 and then chosen from the lower left corner by LLTOUTM; every node of the
//     raster is converted in that zone, however far the raster reaches into the next one.
//   - Elev(i, j): height of node (i, j), i the column from the west, j the row from the south; node
//     (i, j) stands at (corner longitude + cell * (i - 1), corner latitude + cell * (j - 1)), the
//     sums in double precision, one LLTOUTM call per node, the result rounded to floats in Xnode
//     and Ynode.
//   - X0, Y0: UTM position of the corner; DX, DY: the UTM extent of the first cell alone
//     (|x1 - x0|, |y1 - y0| for the corner and the point one cell north-east of it). Xnode and
//     Ynode hold the true positions; lookups correct for the difference.
//   - Elev2 holds the raster as the file stands, northern row first; nothing reads it.
//   - No-data cells keep their value as heights. Nnodata is the count of cells equal to the
//     header's no-data value, for the caller's warning (nodata_warning).
//   - Siteerr is set to "none".
// The four grids are released and allocated here. A missing header or raster, a header line that
// is missing or not of its kind, counts that are not positive, or a raster shorter than NX * NY
// floats end the run with a RunError naming the file and the line or byte; nothing is allocated
// for counts the raster cannot hold.
void READFLT(const Name255& Terrfile, Name255& Siteerr, int& Utmzone, GRIDHEAD& Terrhead, FloatGrid& Elev,
             FloatGrid& Elev2, FloatGrid& Xnode, FloatGrid& Ynode, std::size_t& Nnodata);

// The console line that warns of no-data cells taken as heights; empty when Nnodata is 0.
std::string nodata_warning(const Name255& Terrfile, std::size_t Nnodata);

}  // namespace tn

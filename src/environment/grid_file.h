// The tagged binary grid file: terrain heights (data set "ZALT") and, in a ".imp" file, ground
// values (data set "FLOW").
//
// A file is a stream of records with no record marks: a four-character tag, a 32-bit integer N
// (payload length in words), the payload. Integers are 32-bit signed, reals 32-bit IEEE floats,
// both little-endian. GRIDSCAN reads the head of the file as far as the dimensions so that the
// caller can allocate; READGRID reads the whole file from its start and fills the grids.
//
// Every failure of the file (an end before the record that ends the reading, a count that the
// file cannot hold) ends the run with a RunError naming the file and the byte offset.
#pragma once

#include <string>
#include <string_view>

#include "geo/grid.h"
#include "io/binary_file.h"

namespace tn {

// Largest grid that GRIDSCAN lets the caller allocate, in nodes (three such float grids are held).
inline constexpr long long kMaxGridNodes = 400000000LL;

// Fills head.NX and head.NY from the first dimension record ("NJNI"/"NYNX": count in y first;
// "NINJ"/"NXNY": count in x first) and sets Gridok from the version records met before it:
// a "TITL" record with N = 4 holding "GridVers", 1, 0 sets it, any other N = 4 "TITL" record clears
// it. A "WEAT" record before the dimensions gives counts of -2. Other records are passed over by N.
// A "ZALT" record before the dimensions stops the run with an empty console text. Positive counts
// with more nodes than the whole file has 4-byte words, or more than kMaxGridNodes, stop the run,
// so that the caller's allocation is always of a sane size.
void GRIDSCAN(GRIDHEAD& head, bool& Gridok, BinaryFile& unit);

// Reads the file from its start to "ENDF" and fills Z (the data set named by `tag`, or "GRID"),
// X and Y (node coordinates), head.DX, DY, X0, Y0, ref (all but Userunit, which only a "USER"
// record changes), Utmzone, the title, and the corners of a "GEO4" record.
//   Title, Ntitle  the words of a "CASE" record, four characters each, and N - 1 (deliberate:
//                  N - 1 even for N = 0; nothing reads it)
//   Corners        8 floats of "GEO4"; Cornermark := true when one was read
//   DX, DY         as read, times the length factor in force ("METR" 1.0, "FEET" 0.30480063,
//                  1.0 before either); nothing else is converted
//   X0, Y0         Xuser - DX * (Iref - 1), Yuser - DY * (Jref - 1), with (Iref, Jref) the reference
//                  node of "IRJR" (1, 1 without it); X(i, j) = X0 + DX (i - 1), Y(i, j) = Y0 + DY (j - 1)
// Z, X and Y must be allocated at head.NX by head.NY as GRIDSCAN left them; a dimension record
// whose counts differ from those stops the run. Values are stored with i fastest whatever the
// file's order ("NINJ", and any file without "NJNI": j fastest in the file; "NJNI": i fastest).
void READGRID(std::string& Title, int& Ntitle, int& Utmzone, FloatGrid& Z, FloatGrid& X, FloatGrid& Y,
              std::string_view tag, float Corners[8], bool& Cornermark, BinaryFile& unit, GRIDHEAD& head,
              GRIDREF& ref);

}  // namespace tn

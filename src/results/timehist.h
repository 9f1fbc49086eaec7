// Time-history files (".tis" for sites, ".tig" for grids): a file header, then for each computed
// receiver a section of fixed-column lines, one per trajectory point, in tenths of a dB with -999
// for a missing value.
#pragma once

#include <string>
#include <string_view>

#include "results/history.h"
#include "results/writer.h"

namespace tn {

// Ruler and rule of a section: F, A, bands 10 to 41 and the metric 42. 191 characters each.
inline constexpr std::string_view kRuler =
    "SP#    TIME       F     A    10   11   12   13   14   15   16   17   18   19   20   21   22   23"
    "   24   25   26   27   28   29   30   31   32   33   34   35   36   37   38   39   40   41   42";
inline constexpr std::string_view kRule =
    "*** ************ **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** ****"
    " **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** ****";
inline constexpr std::string_view kEndOfSection = "---End of This Data Section---";
inline constexpr std::string_view kEndOfFileHeader = "---End File Header---";
// Width of a data line, trailing blank included.
inline constexpr int kDataLineWidth = 192;

// Appends the file header, each line with its line end: "Filename: " and the result name, the
// terrain, ground, receiver, info and ambient names, for a grid the block ("ii:" and "jj:" lines),
// the trajectory and source names, and "---End File Header---".
void append_file_header(std::string& out, const RunHeader& run);

// Appends the nine header lines of a receiver's section, each with its line end: the name, the
// point count, latitude and longitude with the user's X and Y, zone and position, the date, "Echo",
// ruler, rule and the AMBIENT line of the ambient row.
void append_section_header(std::string& out, const ReceiverHead& head, int Npts);

// Appends one data line in the layout (i4,f12.3,35(1x,i4)) padded to 192 characters, and its line
// end: point number, arrival time, the 34 columns of Outrow and the metric M.
void append_data_line(std::string& out, int n, float t, const int Outrow[kRowColumns], int M);

// Appends a computed receiver's whole section: header, one line per point, the end line (the lines
// and end line only when `lines`).
void append_section(std::string& out, const ReceiverHistory& h, bool lines);

}  // namespace tn

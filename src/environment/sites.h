// Receivers: the site record, the two kinds of receiver file, and the ambient class of a receiver.
#pragma once

#include <vector>

#include "io/fixed_text.h"

namespace tn {

// One receiver: UTM x, y in metres, z the height above the ground in metres. A receiver whose z
// is not above 0.0 is passed over by the runs.
struct SITEREC {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    SiteName Name;
    int Ambclass = 1;
};

// Places in the list of receivers read from a file, and in the bounds of a ".sit" file.
inline constexpr int kMaxSites = 1000;
inline constexpr int kMaxBounds = 12;

// The text READSITES leaves in Siteerr when it gives a file up (the caller then takes the
// reference receiver).
inline constexpr const char* kSiteFileProblem =
    "Problem with the receiver file -  The reference point will be the default receiver location";

// Reads a receiver file into Sites[0 .. Nsites-1] (Sites is given 1000 records; it is grown to that
// if shorter). On entry Nsites and Nbound are set to 0. Siteerr must hold "none" and is only
// written on failure, with kSiteFileProblem.
//
// A name holding ".sit" anywhere is a ".sit" file, free-format: Nbound, Nbound pairs (Boundx,
// Boundy; pairs past the 12th are read and dropped, and Nbound is then 12), the site count, and
// one line per site: x, y (metres, kept as they are), z (feet), Name. A height below 0.001 feet is
// raised to it, and then the z of all 1000 records, also those behind the count, is divided by
// 3.2808. An end of file is no failure here (the items keep what they held); a value that is not a
// number gives Siteerr and Nsites = Nbound = 0. A negative count reads none and is 0. More than
// 1000 sites stop the run.
//
// Any other name is a list: line 1 passed over, then x, y (double), z (metres, as read), Name per
// line to the end of the file. A pair with |x| below 1000 is geographic (longitude, latitude in
// degrees) and is converted to UTM with LLTOUTM; a Utmzone of 0 is set from that point. A bad
// line ends the list: with sites read they stand, with none Siteerr is set. An empty file gives no
// sites and no message. More than 1000 sites stop the run.
void READSITES(std::vector<SITEREC>& Sites, const Name255& Sitefile, int& Nsites, float Boundx[12],
               float Boundy[12], int& Nbound, int& Utmzone, Name255& Siteerr);

// The raster of ambient classes, loaded by the first AMBLOOK of the process and kept: a later
// lookup that names another raster gets this one. Row 1 is the southern row.
struct AmbientRaster {
    bool loaded = false;
    int columns = 0;
    int rows = 0;
    double xcorner = 0.0;   // longitude of the lower left corner, degrees
    double ycorner = 0.0;   // latitude of the lower left corner, degrees
    double cell = 0.0;      // cell size, degrees
    std::vector<int> cls;   // class of (column c, row r) at (r - 1) * columns + (c - 1)

    int at(int c, int r) const { return cls[static_cast<std::size_t>(r - 1) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(c - 1)]; }
};

// The ambient class of the receiver at UTM (x, y) in Utmzone: the raster cell that holds its
// longitude and latitude (UTMTOLL, double precision), cells centred on their grid positions, a
// receiver outside the raster taking the nearest edge cell. The class is not checked against the
// number of classes. Loads `raster` from Classfile on the first call; a raster that cannot be read
// stops the run with a message naming the file and the line, as does a head of more cells than the
// file has characters (repeat counts "r*v" cannot make a few bytes stand for more).
int AMBLOOK(float x, float y, int Utmzone, const Name255& Classfile, AmbientRaster& raster);

}  // namespace tn

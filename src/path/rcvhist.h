// Receiver time history: one receiver against the whole trajectory.
//
// For each trajectory point: terrain heights, the working source point (never below Minagl above
// the ground), the range test against Maxdist, the source spectrum at its reference distance (table
// or hemisphere), the ground term of each band, spreading and absorption, the band levels and the
// four energy sums, the arrival time, the integer row in tenths of a dB and the detectability
// metric. All in single precision, in the order of operations stated beside the code; the overall
// levels are sums of single-precision powers.
#pragma once

#include <string>
#include <vector>

#include "environment/grid.h"
#include "environment/sites.h"
#include "io/fixed_text.h"
#include "path/dispatch.h"
#include "source/hemisphere.h"
#include "source/srctable.h"
#include "source/trajectory.h"

namespace tn {

// The 32 nominal one-third-octave centre frequencies, 10 Hz to 12500 Hz. Position p is band number
// p + 9 on the rulers of the result files.
inline constexpr float BANDTAB[32] = {10.0f,   12.5f,   16.0f,   20.0f,   25.0f,   31.5f,   40.0f,   50.0f,
                                      63.0f,   80.0f,   100.0f,  125.0f,  160.0f,  200.0f,  250.0f,  315.0f,
                                      400.0f,  500.0f,  630.0f,  800.0f,  1000.0f, 1250.0f, 1600.0f, 2000.0f,
                                      2500.0f, 3150.0f, 4000.0f, 5000.0f, 6300.0f, 8000.0f, 10000.0f, 12500.0f};

// Read-only data of the case that a receiver's history needs.
struct RcvCase {
    int Nband = 0;
    const float* Freq = nullptr;
    const float* Wgt = nullptr;
    const float* Absdb = nullptr;
    GridView terrain;
    GridView ground;
    const GRIDREF* ref = nullptr;
    const TRAJPOINT* Traj = nullptr;
    int Npts = 0;
    const float* AMBLEVEL = nullptr;   // per class
    const float* AMBSPEC = nullptr;    // 24 per class
    int Utmzone = 0;
    float Minagl = 0.0f;
    float Tfahr = 0.0f;
    float Maxdist = 0.0f;
    PathModel model;
    const HEMIREC* setup_hemi = nullptr;   // the hemisphere of the set-up
};

// State shared from receiver to receiver (and kept for the whole process where it says so).
struct RcvShared {
    Name255* Srcfile = nullptr;            // changes with sources named per point
    bool* Reload = nullptr;                // the tables must be read again
    float* kept_height = nullptr;          // last good terrain height of the lookups
    SrcTableState* srctable = nullptr;
    HemisphereCache* hemispheres = nullptr;
    const HEMIREC** current_hemi = nullptr; // the hemisphere loaded last
};

// Per-thread working storage, sized once and reused: nothing is allocated per point.
struct RcvWork {
    std::vector<float> Srcspec, Levtot, Gterm, Levfree;
    PathWork path;
    void size_for(int Nband) {
        const auto n = static_cast<std::size_t>(Nband > 0 ? Nband : 0);
        if (Srcspec.size() != n) {
            Srcspec.assign(n, 0.0f);
            Levtot.assign(n, 0.0f);
            Gterm.assign(n, 0.0f);
            Levfree.assign(n, 0.0f);
        }
    }
};

// Where a receiver's results go. The whole section (header, one line per point, end line) of a
// time-history file is appended to `section`; the records of a table to `records`. The caller
// writes each to its file in one operation.
struct RcvOutput {
    std::string section;
    std::string records;
};

// Computes one receiver. Outname decides what is written: a name beginning with "-" writes
// nothing; one containing ".dbf" writes table records; otherwise the section header, and the lines
// and end line only for ".tig" or ".tis".
void RCVHIST(const RcvCase& cs, const SITEREC& site, int Siteidx, float Tstart, const Name255& Outname,
             RcvShared& shared, RcvWork& work, RcvOutput& out);

// The truncation of a level in dB to tenths: towards zero, anything under -999 made -999, no upper
// limit. A value beyond the integer range, or not a number, converts as the machine's conversion
// gives it (the most negative integer) and so reads -999.
int tenths(float level);

}  // namespace tn

// Receiver time history: one receiver against the whole trajectory.
//
// For each trajectory point: terrain heights, the working source point (never below Minagl above
// the ground), the range test against Maxdist, the source spectrum at its reference distance (table
// or hemisphere), the ground term of each band, spreading and absorption, the band levels and the
// energy sums with ground (flat and A-weighted), the arrival time, the integer row in tenths of a
// dB and the detectability metric. All in single precision, in the order of operations stated
// beside the code; the overall levels are sums of single-precision powers.
#pragma once

#include <vector>

#include "environment/sites.h"
#include "geo/grid.h"
#include "io/fixed_text.h"
#include "path/dispatch.h"
#include "results/history.h"
#include "source/hemisphere.h"
#include "source/srctable.h"
#include "source/trajectory.h"

namespace tn {

// Read-only data of the case that a receiver's history needs.
struct RcvCase {
    int Nband = 0;
    const float* Freq = nullptr;
    int Bandoff = 1;                   // BANDTAB position of Freq[0]
    const float* Wgt = nullptr;
    const float* Absdb = nullptr;
    PathCase path;                     // grids and model of the ground term
    const GRIDREF* ref = nullptr;      // the user's frame, for the section header
    const TRAJPOINT* Traj = nullptr;
    int Npts = 0;
    const float* AMBLEVEL = nullptr;   // per class
    const float* AMBSPEC = nullptr;    // 24 per class
    int Utmzone = 0;
    float Minagl = 0.0f;
    float Tfahr = 0.0f;
    float Maxdist = 0.0f;
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

// The receiver as the result files describe it: name, position, the run's zone, latitude and
// longitude (UTMTOLL), the user's X and Y (UTMTOUSER), today's date and the ambient row of its
// class. Filled for every receiver of a run, those passed over too.
void describe_receiver(const RcvCase& cs, const SITEREC& site, int Siteidx, ReceiverHead& head);

// Computes one receiver above the ground into `out`: its head, and a point for every trajectory
// point (`out` is reused from receiver to receiver without allocating once it has its size).
void RCVHIST(const RcvCase& cs, const SITEREC& site, int Siteidx, float Tstart, RcvShared& shared, RcvWork& work,
             ReceiverHistory& out);

// A receiver of a run: RCVHIST when it stands above the ground (z above 0), otherwise passed over:
// its head alone, with `computed` false and no points.
void receiver_history(const RcvCase& cs, const SITEREC& site, int Siteidx, float Tstart, RcvShared& shared,
                      RcvWork& work, ReceiverHistory& out);

// The truncation of a level in dB to tenths: towards zero, anything under -999 made -999, no upper
// limit. A value beyond the integer range, or not a number, converts as the machine's conversion
// gives it (the most negative integer) and so reads -999.
int tenths(float level);

}  // namespace tn

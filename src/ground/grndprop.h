// Entry of the ground and terrain model: one source-receiver path, a level relative to free field
// per band.
//
// GRNDPROP is given the source and receiver, the vertical terrain section between them and the
// ground (flow resistivity) along it, and gives per band the effect in dB of ground and terrain
// shape alone (positive: louder than free field; spreading and absorption are not in it). In order:
//   1. ground statistics: a point is hard if its resistivity is above 1000 (exactly 1000 is soft);
//      the mean of each kind, an empty mean replaced by 200 (soft) or 1e6 (hard);
//   2. five key points of the section: source foot, low point on the source side, crest, low point
//      on the receiver side, receiver foot (PROFEXT against the line of sight and its two halves);
//   3. the class: 1 flat (fewer than three distinct key indices; every section shorter than 10 m),
//      2 hill (more than three, or three with the middle one on or above the chord of the other
//      two), 3 valley (three with the middle one below the chord);
//   4. per band, the class's sub-model once with the hard mean (if any point is hard) and once with
//      the soft mean (if any is soft); on mixed ground MIXGND blends the two. Mode 'P' runs the
//      closed-form fits once (LEVEL, HILLPAR, UPVAL; ground type 1 then 0) into Single and leaves
//      Gterm alone; any other Mode runs FLATFULL, HILLFULL or VALLFULL per band.
//
// Arguments (all 32-bit; distances and heights in metres, frequencies in Hz, levels in dB): the path
// (GroundSection), Mode ('P' parametric, any other letter rigorous; runs pass 'R'), the bands
// (Nband, Freq), the results (GroundLevels) and `work`, the working storage of the call, owned by
// the calling thread; no state lives from one call to the next, and GRNDPROP allocates nothing.
// With no ground points (NGsec <= 0) no sub-model runs: Single and Gterm keep what the caller put
// there (the caller zeroes Gterm), while PathClass is still found.
// NTerr outside 1..kProfileSamples, or NGsec above kProfileSamples, is a tn::RunError (no console
// text) rather than an overrun of the working storage.
//
// Deliberately kept: MIXGND tests a point's hardness on the integer word of its float flag, which
// never equals 1, so every central point counts as soft and mixed ground gives the soft level to
// rounding. Since no walked point then takes the hard level, the hard pass of a mixed path could
// not reach any result and is not run in the rigorous band loop; should the test ever mark a point
// hard, the pass runs again by itself. Division by a zero distance isn't guarded; the NaN passes on.
//
// Geometry, key points, image points and the per-point weights of the blend are worked once per
// call; a band repeats only what depends on its frequency, with the same operations in the same
// order and precision as the sub-models called one by one (the results are bit for bit theirs).
#pragma once

#include "ground/flat.h"
#include "ground/hill.h"
#include "ground/imptable.h"
#include "ground/valley.h"
#include "ground/xzpt.h"
#include "ground/profpt.h"

namespace tn {

// The per-point weights of the blend along the ground section, fixed by geometry and flags.
struct MIXWT {
    int N = 0;                          // points walked (the central zone)
    float wt[kProfileSamples] = {};     // distance weight times weight, per walked point
    bool hard[kProfileSamples] = {};    // takes the hard level (never, see MIXGND)
    bool anyHard = false;               // some walked point takes the hard level
    float den = 0.0f;                   // sum of wt in walk order
};

// Key points and class of a terrain section. Indices count from 0 (section point 1 is index 0).
struct GRNDKEYS {
    int Kc = 0, Ka = 0, Kb = 0;         // crest, low point on the source side, on the receiver side
    int KeyIdx[5] = {};                 // ascending distinct section indices among the key points
    int NKey = 0;
    XZPT KeyPt[5];                      // after the copies and moves of the short-plane rules
    int PathClass = 0;
};

struct GrndWork {
    float HardFlag[kProfileSamples];    // 1.0 hard, 0.0 soft, per ground point
    float GndX[kProfileSamples];        // distances of the ground points
    MIXWT mix;                          // blend weights
    GRNDKEYS keys;
    XZPT SrcPt[2], RcvPt[2];            // source and receiver with their images (hill)
    FLATGEOM flat;
    HILLGEOM hill;
    VALLGEOM valley;
    IMPTAB imp;                         // impedances of the resistivities met lately
};

// The path as the ground model sees it.
struct GroundSection {
    const float* Src = nullptr;   // x, y, z of the source; x and y give the horizontal distance of a flat path
    const float* Rcv = nullptr;   // x, y, z of the receiver
    const PROFPT* Terr = nullptr; // terrain section: d from 0 at the source in equal steps, v elevation
    int NTerr = 0;
    const PROFPT* Gsec = nullptr; // ground section: d, v flow resistivity (kPa s/m^2)
    int NGsec = 0;
    float Hs = 0.0f;              // source and receiver heights above the ground at their feet
    float Hr = 0.0f;
};

// What the ground model gives.
struct GroundLevels {
    float Single = 0.0f;          // parametric mode: the result of the path; rigorous: that of the last band
    float* Gterm = nullptr;       // rigorous mode: one level per band (Nband floats, owned by the caller)
    int PathClass = 0;            // 1 flat, 2 hill, 3 valley; 0 if the class test meets a NaN (then
                                  // Single and every Gterm are NaN, if there is ground)
    int NHard = 0;                // number of hard ground points
};

void GRNDPROP(const GroundSection& path, char Mode, int Nband, const float* Freq, GroundLevels& out,
              GrndWork& work);

// Deviations of a section of N points from the straight line from H1 above its first point to H2
// above its last. Ext[0], Idx[0]: the largest signed deviation of terrain above the line and its
// index; Ext[1], Idx[1]: the smallest and its index (indices from 0; of equal deviations the first
// counts). N < 2: indices 0, Ext = -H1, -H2. First and last distances less than 10 m apart: Ext =
// H1, H2, indices 0 and N - 1.
void PROFEXT(const PROFPT* Terr, int N, float H1, float H2, float Ext[2], int Idx[2]);

// Key points and class of a section with source height Hs and receiver height Hr.
void KEYPOINTS(const PROFPT* Terr, int NTerr, float Hs, float Hr, GRNDKEYS& keys);

// Blend of the soft and hard levels along the ground: N points at distances GndX with flags
// HardFlag (1.0 hard, 0.0 soft). End zones of length a (source) and b (receiver) around the feet
// are left out: 10 Hs for soft ground under a source up to 3 m, (20 Hs/3 - 10) Hs above, 30 Hs for
// hard, limited to 0.7 of the distance to the specular point xs = Hs x_N/(Hs + Hr); the same for b
// with Hr. Each central point weighs Hs on the receiver's side of xs and Hr on the source's (as
// the blend has it), times 0.5 with the hard level or 1.0 with the soft level. AMix is the weighted
// mean; with every point in the end zones it is 0/0, NaN.
// The hardness test reads the flag's 32-bit integer word and compares it with 1, which no stored
// flag (1.0f or 0.0f) equals: deliberate, AMix is the soft level to rounding.
void MIXGND(const float* GndX, const float* HardFlag, int N, float Hs, float Hr, float ASoft, float AHard,
            float& AMix);
// MIXGND split: the weights once per path, the blend per band (bit for bit MIXGND's AMix).
void MIXPREP(const float* GndX, const float* HardFlag, int N, float Hs, float Hr, MIXWT& m);
void MIXAPPLY(const MIXWT& m, float ASoft, float AHard, float& AMix);
// MIXAPPLY for n bands at once: AMix[j] is bit for bit MIXAPPLY(m, ASoft[j], AHard[j]). Each band's
// sum runs over the points in walk order as there; the bands' sums advance side by side, so that
// one band's additions need not wait for the one before.
void MIXAPPLYN(const MIXWT& m, const float* ASoft, const float* AHard, int n, float* AMix);

}  // namespace tn

// Impedances of a case's bands for the flow resistivities met lately.
//
// On every path the ground model needs, for each band, the impedance of the path's mean
// resistivity (IMPED for the hill and valley models, IMPEDD for the flat one: two powers each) and,
// from it, the part of the reflection coefficient that depends on the impedance alone (SPHZPREP,
// SPHZDPREP: a hypotenuse and two divisions). The means repeat from path to path, since
// neighbouring paths cross the same ground, so each thread keeps those of the last few
// resistivities it met. An entry holds exactly what IMPED, IMPEDD and the PREP routines give for
// its band and resistivity, worked out by those routines: a value taken from the table is bit for
// bit a fresh evaluation.
//
// The table holds up to kMaxBands consecutive bands of one case; IMPTABBANDS empties it when it is
// given other bands (a longer band list is worked in slices of kMaxBands). Owned by one thread (it
// lives in the ground model's working storage).
#pragma once

#include <cstdint>

#include "ground/sphref.h"

namespace tn {

struct IMPTAB {
    static constexpr int kSlots = 8;       // resistivities held
    static constexpr int kMaxBands = 32;   // all of the band table
    struct Slot {
        std::uint32_t sigma_bits = 0;      // the resistivity, by its bits
        std::uint64_t used = 0;            // last use, for replacing the least recently used
        bool single = false, dbl = false;  // which family is filled
        SPHZ z[kMaxBands];                 // SPHZPREP(IMPED(Freq[j], sigma))
        SPHZD zd[kMaxBands];               // SPHZDPREP(IMPEDD(Freq[j], sigma))
    };
    int Nband = -1;
    float Freq[kMaxBands] = {};
    std::uint64_t clock = 0;
    Slot slot[kSlots];
};

// Makes the table hold the bands Freq[0 .. Nband-1] (Nband at most kMaxBands), emptying it if it
// held others.
void IMPTABBANDS(IMPTAB& t, int Nband, const float* Freq);

// The single family's values of resistivity sigma for every band of the table, and the double
// family's. The array stays valid until the table is next asked for a resistivity it does not
// hold twice over (the two last used are never replaced by each other).
const SPHZ* IMPTABSINGLE(IMPTAB& t, float sigma);
const SPHZD* IMPTABDOUBLE(IMPTAB& t, float sigma);

}  // namespace tn

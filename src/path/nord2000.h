// The Nord2000 branch of the path dispatch: the atmosphere values of a path and the call of the
// library entry CALLNORD.
#pragma once

#include "path/dispatch.h"

namespace tn {

// Most bands a case has (the band table's length), and so the size of the band arrays of a call.
inline constexpr int kNordMaxBands = 32;

// Fills Gterm[0 .. Nband-1] (dB relative to free field) for one path through CALLNORD of
// model.nord, as the library writes it, with no conversion afterwards.
//
// src, rcv: the working points (x, y in metres, z the height above ground). Terr, Gsec: the
// terrain and ground sections of the path, n samples each (n <= 100, Nband <= 32).
//
// Atmosphere values: with a single parameter weather the gradient Grad, the ground temperature
// Tempc and the wind Wspeed * cos(b - t0), b the direction from receiver to source and
// t0 = (90 - Wdir) in radians (with the "A_Param" line also Aparam times the same cosine); with a
// profile, WXFIT between the ends at heights src z + Terr[1].v and rcv z + Terr[n].v above the
// datum: its Tgrad and Wsrc, and the temperature of level 1.
//
// The 22 arguments, all by address, in this order: n; X, Z, G (double[100]: distance along the
// path, absolute terrain height, ground value of each sample, 0.0 behind the n-th); the source and
// the receiver (double[3], x, y, height above ground); Nband; the frequencies (double[Nband]); the
// wind; the ground temperature; Wextra4; the gradient; Wextra1; Wextra2; a value no weather file
// sets (0.0); Wextra3; Nordpar2, Nordpar3, Nordpar1 (that order); Gterm; then, with "A_Param", a
// scratch address and the second wind, else two nulls. Wextra1 .. 4 are 0.0 with a profile.
//
// Nothing is allocated: the arrays of the call are fixed-size locals.
void nord_path_effect(int n, const float src[3], const float rcv[3], int Nband, const float* Freq, float* Gterm,
                      const PROFPT* Terr, const PROFPT* Gsec, const PathModel& model);

}  // namespace tn

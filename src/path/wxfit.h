// Reduction of a weather profile to the atmosphere values of one source-receiver path.
#pragma once

#include "environment/weather.h"

namespace tn {

// Fits the effective sound speed of the profile wx (levels 1 .. wx.Wxcount, filled by READWX and
// WXTABLES) along the path from src to rcv (x, y in metres; only their plane positions are used),
// with the ends at heights zs and zr in metres above the profile's datum. Single precision
// throughout but for Wsrc.
//
// Hdg: the path's compass heading, round-half-away-from-zero(90 - a * 180 / 3.1415296) with
//      a = atan2(rcv y - src y, rcv x - src x), plus 360 when below 1, so 1 .. 360. The constant
//      3.1415296 is deliberate: the heading of the tables is found with it.
// ks, kr: the first level above zs and above zr (strictly); an end above every level takes the
//      topmost level, so the interpolation below extrapolates from the top two levels.
// Values at an end (cs, ts, Wsrc at the source; cr, tr at the receiver): those of level 1 when the
//      end's level is 1, else upper - slope * (Alt(k) - z) between levels k - 1 and k.
// Ca, Cb, Cc: least-squares fit (LAPACK SGELS) of c(z) = Ca ln(z / Alt(1) + 1) + Cb z + Cc to the
//      Ceff[Hdg] of the levels from min(ks, kr) to max(ks, kr) - 1 (max made min + 1 when equal)
//      and to the two ends; Cc is then replaced by cs. A second fit, of the temperatures to a
//      straight line, is made and not read. The status of either fit is not looked at.
// Tgrad := (ts - tr) / (zs - zr): equal heights give an infinity or a NaN, which is passed on.
// Wsrc: the wind component Windc[Hdg] at the source height.
//
// Nothing is allocated: at most 41 rows, in fixed arrays. Alt(1) of 0 makes the logarithms
// infinite. Reentrant: no state outlives the call.
void WXFIT(const WeatherState& wx, const float src[2], float zs, const float rcv[2], float zr, float& Ca, float& Cb,
           float& Cc, int& Hdg, float& Tgrad, double& Wsrc);

}  // namespace tn

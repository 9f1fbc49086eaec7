// Level relative to free field in a valley (a path over one concave fold).
//
// Two straight ground planes meet in the valley bottom; the fold is a wedge of interior angle
// Beta > pi. The field is the four WEDGEV terms at the fold with the plane coefficients, plus the
// direct ray and the rays reflected once in either plane or in both, each counted where the
// geometry lets it through (strict tests: at equality the ray is left out and the wedge terms carry
// the field). Result:
//     out = 4.34 ln((D |PT|)^2),
// dB, D the direct distance by the cosine rule whether or not the direct ray counted, |PT| in
// 64-bit arithmetic and narrowed, no clamp.
//
// 32-bit throughout (complex<float>, pi = 3.1415927), phase exp(+i k r), k = 2 pi f / 340.
// Arguments: L1, L2 the sloping lengths of the source-side and receiver-side planes, from the
// source foot to the fold and from the fold to the receiver foot, metres; Hs, Hr the heights over
// the plane ends, taken perpendicular to their planes, metres; Beta the interior angle, radians
// (pi plus the difference of the slope angles); Sigma1, Sigma2 the flow resistivities of the two
// planes; f in Hz; out in dB. Both legs zero gives NaN, which passes on.
//
// On a rigid ground (Re Z >= 1000, every SPHREF exactly 1) Beta = pi reduces to the direct ray and
// one image, and Beta = 3 pi/2 (a right-angled corner) to the four images of the method of images:
// the wedge terms cancel in pairs there.
#pragma once

#include <complex>

#include "ground/sphref.h"
#include "ground/wedge.h"

namespace tn {

void VALLFULL(float L1, float L2, float Hs, float Hr, float Beta, float Sigma1, float Sigma2, float f,
              float& out);

// VALLFULL split into its geometry, worked once per path, and its per-band part. VALLPREP followed
// by VALLBAND with zi from SPHZPREP(IMPED(f, Sigmai)) gives bit for bit the out of VALLFULL.
struct VALLRAY {
    bool lit = false;
    float D = 0.0f;                 // ray length
    float dz1 = 0.0f, dz2 = 0.0f;   // heights of its coefficients (single: dz1; double: both)
};
struct VALLGEOM {
    float Rt = 0.0f, L = 0.0f;      // r1 + r2, r1 r2 / Rt
    float dzQ1 = 0.0f, dzQ2 = 0.0f; // heights passed with Rt to the plane coefficients
    WEDGEPRE V[4];
    float D = 0.0f;                 // direct distance, the reference
    bool directLit = false;
    VALLRAY src, rcv, both;         // reflected in the source plane, the receiver plane, both
};
void VALLPREP(float L1, float L2, float Hs, float Hr, float Beta, VALLGEOM& g);
void VALLBAND(const VALLGEOM& g, const SPHZ& z1, const SPHZ& z2, float f, float& out);

}  // namespace tn

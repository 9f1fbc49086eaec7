// Level relative to free field over a hill (a path with a crest).
//
// The terrain is a wedge with apex at the crest K3 and flanks K2-K3 and K3-K4, with a ground plane
// K1-K2 under the source and one K4-K5 under the receiver. Four source-receiver pairs (real or image
// at each end: S1 R1, S2 R1, S1 R2, S2 R2, weighted 1, Qs, Qr, Qs Qr) are each diffracted at the
// crest by four WEDGEV terms with the flank reflection coefficients; the direct ray and the rays from
// the source image and to the receiver image are added where the receiver is lit. Result:
//     out = 4.34 ln((RR |PT|)^2),  RR = |R1 - S1|,
// dB, with the two-decimal 4.34 of this model (coarser than the flat model's 4.3429), |PT| taken in
// 64-bit arithmetic and narrowed. No clamp and no floor: PT = 0 gives -infinity.
//
// 32-bit throughout (complex<float>, pi = 3.1415927), phase exp(+i k r), k = 2 pi f / 340.
// Arguments: Hs, Hr heights (carried, not read: the geometry is in the points); KeyPt K1..K5 as
// (x, z) in metres; SrcPt S1 source and S2 its image in K1-K2; RcvPt R1 receiver and R2 its image
// in K4-K5; Sigma1 the plane under the source (also used for both image coefficients and the ray
// from the source image), Sigma2 the flanks, Sigma3 the plane under the receiver (the ray to the
// receiver image only); f in Hz; out in dB.
//
// Deliberately kept as the model has them:
//   - the receiver image coefficient Qr uses Sigma1's impedance, not Sigma3's;
//   - the image coefficients are SPHREF(r, delz) with r along the plane and delz off it, so their c
//     is a tangent of the angle, not the sine the other callers pass;
//   - the angles of pair 4 steer the ray tests whether or not pair 4 itself counts.
// Limits measured (tests/ground/hill_test.cpp): a thin rigid screen in deep shadow is within 0.31 dB
// of Keller's half-plane diffraction (250 Hz to 8 kHz); a crest far below the line of sight tends to
// the flat model within 1 dB (0.86 measured) when the flat path's specular point lies on an outer
// ground plane. Reflections off the flanks are not rays of this model, so with the specular point
// on a flank or the crest it does not reduce to flat ground.
// Diagnostic lines (free list form, standard error) exist behind a switch in hill.cpp that is off.
#pragma once

#include <complex>

#include "ground/sphref.h"
#include "ground/wedge.h"
#include "ground/xzpt.h"

namespace tn {

void HILLFULL(float Hs, float Hr, const XZPT KeyPt[5], const XZPT SrcPt[2], const XZPT RcvPt[2],
              float Sigma1, float Sigma2, float Sigma3, float f, float& out);

// HILLFULL split into its geometry, worked once per path, and its per-band part. HILLPREP followed
// by HILLBAND with zi from SPHZPREP(IMPED(f, Sigmai)) gives bit for bit the out of HILLFULL.
struct HILLPAIR {
    float F0 = 0.0f, F1 = 0.0f;          // source and receiver angles at the crest
    bool counts = false;                 // F0 > 0 and F1 + T3 < 2 pi
    float Rt = 0.0f, L = 0.0f;           // r1 + r2, r1 r2 / Rt
    float dz1 = 0.0f, dz2 = 0.0f;        // heights passed with Rt to the flank coefficients
    WEDGEPRE V[4];                       // the four wedge terms
};
struct HILLRAY {
    float AL1 = 0.0f;                    // lit if AL1 > 0
    float D = 0.0f, dz = 0.0f;           // ray length, height difference for its coefficient
};
struct HILLGEOM {
    bool hasQs = false, hasQr = false;   // image sees the crest from below its flank
    float rQs = 0.0f, dzQs = 0.0f;       // SPHREF arguments of Qs
    float rQr = 0.0f, dzQr = 0.0f;       // and of Qr
    float T1 = 0.0f, T2 = 0.0f, T3 = 0.0f;
    HILLPAIR pair[4];
    HILLRAY direct, srcimage, rcvimage;  // the three rays of the lit zone
    float RR = 0.0f;                     // |R1 - S1|, the reference distance
};
void HILLPREP(const XZPT KeyPt[5], const XZPT SrcPt[2], const XZPT RcvPt[2], HILLGEOM& g);
void HILLBAND(const HILLGEOM& g, const SPHZ& z1, const SPHZ& z2, const SPHZ& z3, float f, float& out);

}  // namespace tn

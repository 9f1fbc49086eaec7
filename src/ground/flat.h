// Level relative to free field over flat homogeneous ground (the flat path model).
//
// FLATFULL adds the direct wave and the ground-reflected spherical wave (SPHREFD) and gives the
// level of the sum relative to the direct wave alone at the direct distance Rd:
//     P      = (Q exp(-i k Rr)/Rr + exp(-i k Rd)/Rd) / (4 pi)
//     ALevel = 4.3429 ln(|P|^2 Rd^2 16 pi^2)          [dB; 16 pi^2 = 157.91367041742973]
// with d = D1 + D2, Rd = sqrt(d^2 + (Hs - Hr)^2), Rr = sqrt(d^2 + (Hs + Hr)^2), k = 2 pi F / 340.
// The four-decimal 4.3429 (10/ln 10 is 4.342945) is the model's constant and is kept.
// Q uses the receiver-side impedance Z2 = IMPEDD(F, Sigma2).
//
// Precision: the whole routine is 64-bit (IMPEDD, SPHREFD, WOFZD), phase exp(-i k r); the 32-bit
// arguments are widened on entry and the two results narrowed on return. No clamp: a rigid ground
// gives close to +6 dB at grazing incidence, an interference minimum a strongly negative level.
// Hs = Hr = 0 with d = 0 divides by zero and gives NaN.
//
// Grad != 0 selects a refracting-atmosphere variant that sums the field over a vertical plane at D1
// in steps of a sixth of a wavelength up to PlaneTop, for three gradients (Grad +/- GradSpread/10
// and Grad), and gives AMean, the level of the mean of the three, and ALevel, that of the third.
// The ground model always passes Grad = 0, so AMean is 0 on its calls. In that variant the
// modulation of the gradient spread, cos(2 z pi / T), is defined with the period switched off as
// u = 1.0 (a decision of this team; the period had been set to zero).
//
// Units: distances and heights in metres, F in Hz, Sigma in kPa s/m^2, Grad in m/s per m, levels
// in dB.
#pragma once

#include <complex>

#include "ground/sphref.h"

namespace tn {

void FLATFULL(float D1, float D2, float Hs, float Hr, float Sigma1, float Sigma2, float Grad,
              float PlaneTop, float GradSpread, float F, float& AMean, float& ALevel);

// The plain sum split into its geometry, worked once per path, and its per-band part, so that a
// band loop repeats only what depends on the frequency. FLATPREP followed by FLATBAND with z2 from
// SPHZDPREP(IMPEDD(F, Sigma2)) gives bit for bit the ALevel of FLATFULL with Grad = 0.
struct FLATGEOM {
    double Hs = 0.0, Hr = 0.0;   // heights, widened
    double d = 0.0;              // D1 + D2
    double Rd = 0.0, Rr = 0.0;   // direct and reflected path lengths
    double N = 0.0;              // Rd^2 16 pi^2
    SPHGEOMD sph;                // the reflection coefficient's geometry (d, Hs, Hr)
};
void FLATPREP(float D1, float D2, float Hs, float Hr, FLATGEOM& g);
void FLATBAND(const FLATGEOM& g, const SPHZD& z2, double F, float& ALevel);

}  // namespace tn

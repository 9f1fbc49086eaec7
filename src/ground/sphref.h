// Spherical-wave reflection coefficient over a locally reacting ground.
//
// The Weyl-Van der Pol form Q = Rp + (1 - Rp) F(w), with the plane-wave coefficient
// Rp = (Z c - 1)/(Z c + 1), c the cosine of the angle from the normal, the numerical distance
// w = sqrt(k r / 4) (1 + i) (c + 1/Z), and the ground-wave function F(w) = 1 + i sqrt(pi) w w(w),
// w(.) the Faddeeva function of wofz.h. Speed of sound 340 m/s throughout: k = 2 pi f / 340.
//
// SPHREF   32-bit, phase exp(+i k r), Z from IMPED. The caller chooses r and delz and so what
//          c = |delz|/r means (a sine of the grazing angle for most callers, a tangent for the image
//          coefficients of the hill model). If Re Z >= 1000 the computed Q is replaced by exactly
//          1 + 0i (rigid ground); with IMPED that happens from sigma/f of about 527 upward. No guard
//          against r = 0. sqrt(pi) is taken in 32 bits from the 32-bit pi 3.1415927.
// SPHREFD  64-bit, phase exp(-i k r), Z from IMPEDD, for the flat geometry: horizontal distance d,
//          heights h1 and h2, frequency f in Hz; r = sqrt(d^2 + (h1 + h2)^2), c = (h1 + h2)/r.
//          There is no rigid-ground substitution in this variant; large Z gives Q close to 1 by
//          computation.
// For the same flat geometry and Re Z < 1000, SPHREFD is the complex conjugate of SPHREF up to the
// width of the arithmetic.
#pragma once

#include <complex>

namespace tn {

// r, delz in metres, k in rad/m, Z normalised impedance (IMPED).
void SPHREF(float r, float delz, float k, std::complex<float> Z, std::complex<float>& Q);

// The part of SPHREF fixed by the impedance alone, for callers that use one Z many times in a band:
// SPHZPREP then SPHREFZ gives bit for bit the Q of SPHREF.
struct SPHZ {
    std::complex<float> Z;
    float absZ = 0.0f;             // |Z|
    float bre = 0.0f, bim = 0.0f;  // 1/Z
};
void SPHZPREP(std::complex<float> Z, SPHZ& z);
void SPHREFZ(float r, float delz, float k, const SPHZ& z, std::complex<float>& Q);
// d, h1, h2 in metres, f in Hz, Z normalised impedance (IMPEDD).
void SPHREFD(double d, double h1, double h2, double f, std::complex<double> Z, std::complex<double>& Q);

// SPHREFD split three ways for a band loop: the part fixed by the impedance (SPHZD), the part fixed
// by the flat geometry (SPHGEOMD: r2 and c), and the rest, per band, with k = 2 pi f / 340 worked
// out by the caller as SPHREFD works it. SPHZDPREP, SPHGEOMDPREP then SPHREFDK give bit for bit the
// Q of SPHREFD.
struct SPHZD {
    std::complex<double> Z;
    double absZ = 0.0;             // |Z|
    double bre = 0.0, bim = 0.0;   // 1/Z
};
void SPHZDPREP(std::complex<double> Z, SPHZD& z);
struct SPHGEOMD {
    double r2 = 0.0;   // sqrt(d^2 + (h1 + h2)^2)
    double c = 0.0;    // (h1 + h2)/r2
};
void SPHGEOMDPREP(double d, double h1, double h2, SPHGEOMD& g);
void SPHREFDK(const SPHGEOMD& g, double k, const SPHZD& z, std::complex<double>& Q);

}  // namespace tn

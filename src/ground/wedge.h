// One term of uniform wedge diffraction, and its Fresnel integral.
//
// WEDGEV is one of the four terms of the uniform theory of diffraction (Kouyoumjian and Pathak,
// Proc. IEEE 62 (1974) 1448): a cotangent coefficient times the transition function
// F(X) = -2 i sqrt(X) exp(-i X) FRESTAIL(sqrt(X)), in the convention of phase exp(+i k r) and in
// 32-bit arithmetic (pi = 3.1415927):
//     V = -exp(i (k R + pi/4)) / R * cot((pi + sign phi)/(2 nu)) / (2 nu sqrt(2 pi k L)) * F(X),
//     X = 2 k L cos^2((2 N nu pi - phi)/2),
// N the integer of the transition chosen by strict comparisons of phi with nu pi - pi (sign +1) or
// with pi - nu pi and pi + nu pi (sign -1).
//   R     the sum of the two legs source-edge and edge-receiver, metres;
//   L     the distance parameter r1 r2/(r1 + r2), metres;
//   phi   the receiver angle minus or plus the source angle at the wedge, radians;
//   sign  -1 or +1: which of the two cotangents of phi the term is;
//   nu    the wedge number 2 - (interior angle)/pi;
//   k     the wavenumber, rad/m.
// Where the cotangent's tangent is exactly 0 (phi = pi with sign -1, or -pi with sign +1, to the last
// bit) the coefficient is taken as 0 and the term vanishes (a decision of this team). L = 0 or nu = 0
// gives NaN, which passes on.
//
// FRESTAIL(x) = integral from x to infinity of exp(i s^2) ds, for real x >= 0, from the rational
// approximations of the Fresnel auxiliary functions f and g of Abramowitz and Stegun 7.3.32 and
// 7.3.33 (|error| <= 2e-3 each), rescaled from exp(i pi t^2/2) to exp(i s^2) with t = 0.797885 x.
// The factor sqrt(2/pi) is held as the six-digit 0.797885, as the model has it. FRESTAIL(0) is
// (0.5/0.797885)(1 + i), about 0.6267 (1 + i). Measured against long-double Fresnel integrals
// (tests/ground/wedge_test.cpp) for 0 <= x <= 10: |error| below 2.8e-3 (2.73e-3 at x = 2.54).
// The error is absolute: for large x the rational f falls as 0.926/(3.104 t) against the exact
// 1/(pi t), so far from the shadow boundaries the transition function tends to 0.937 instead of 1
// and a deep-shadow term is 0.56 dB below Keller's.
#pragma once

#include <complex>

namespace tn {

void WEDGEV(float R, float L, float phi, float sign, float nu, float k, std::complex<float>& V);
void FRESTAIL(float x, std::complex<float>& T);

// WEDGEV split into the part fixed by the angles, worked once per path, and the per-band part.
// WEDGEPREP followed by WEDGEBAND gives bit for bit the V of WEDGEV.
struct WEDGEPRE {
    float cot = 0.0f;   // (1/t)/(2 nu), or 0 where t is exactly 0
    float a2 = 0.0f;    // cos^2((2 N nu pi - phi)/2)
};
void WEDGEPREP(float phi, float sign, float nu, WEDGEPRE& p);
void WEDGEBAND(const WEDGEPRE& p, float R, float L, float k, std::complex<float>& V);
// The four terms of one wedge share R, L and k: their common factors are worked once, and each V[j]
// is bit for bit WEDGEBAND(p[j], R, L, k).
void WEDGEBAND4(const WEDGEPRE p[4], float R, float L, float k, std::complex<float> V[4]);

}  // namespace tn

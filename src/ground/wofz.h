// The Faddeeva function w(z) = exp(-z^2) erfc(-i z), at fixed cost.
//
// One algorithm at two widths: WOFZ in 32-bit (std::complex<float>) for the hill and valley models,
// WOFZD in 64-bit for the flat model. Both compute the same function; the conjugate conventions of
// the two model families are made by their callers. Cost is fixed: no iteration to a tolerance.
//
// With x = |Re z| and y = |Im z|:
//   far region, x > 3.9 or y > 3.0 (a NaN argument also lands here): the three-point Gauss-Hermite
//     rational form of Abramowitz and Stegun 7.1.29,
//         w(z) ~ i z sum_k a_k / (z^2 - b_k),
//     a = 0.4613135, 0.09999216, 0.002883894; b = 0.1901635, 1.7844927, 5.5253437 (5.525344 in
//     the 32-bit routine), one WPOLE term each.
//   near region, otherwise: the trapezoidal-rule sum of step h = 0.8 with five terms and the pole
//     correction of the integrand (Matta and Reichel, Math. Comp. 25 (1971) 339; Hunter and Regan,
//     Math. Comp. 26 (1972) 539), exp(-2 pi y / h) etc. The correction is applied when y is below
//     pi/h = 3.9269908169872414 (3.926991 in 32 bits), at half weight when equal. The near region
//     ends at y = 3.0, so the first branch always holds; the comparison is kept as written.
//   Re z < 0 by w(-conj z) = conj w(z); Im z < 0 by w(z) = 2 exp(-z^2) - w(-z), in this order.
//
// Accuracy, measured once against an independent long-double evaluation on a grid of step 0.025
// over 0 <= Re z, Im z <= 8 and of step 0.375 over the four quadrants (tests/ground/wofz_test.cpp
// keeps the quadrant table and the region limits):
//   far region:  |w - w_exact| below 9.5e-7 in both widths (A&S give < 2e-6 for the rational
//                form); relative to |w| below 6.4e-6, the largest just outside x = 3.9 near the
//                real axis, where |w| is small.
//   near region: relative error below 4.2e-7 in WOFZD and below 2.2e-6 in WOFZ, at least 0.05 away
//                from the points z = +/-0.8 n (n = 1..4) of the real axis. There the five-term sum
//                and the pole correction have opposite poles that cancel only in exact arithmetic:
//                WOFZD keeps 1.5e-7 down to a distance of 1e-4, WOFZ loses digits as about
//                1e-9/distance^2 (1.7e-4 at 0.01, 1e-2 at 0.001 from z = 0.8).
//   The value is continuous across x = 3.9 and y = 3.0 to the far region's accuracy. Below the
//   real axis the error relative to the size of 2 exp(-z^2) and w(-z) stays below 6.6e-6.
// At z = 0 the near region divides by x^2 + y^2 and gives NaN; callers only reach it with r = 0.
#pragma once

#include <complex>

namespace tn {

void WOFZ(std::complex<float> z, std::complex<float>& w);
void WOFZD(std::complex<double> z, std::complex<double>& w);

// Adds one rational term a i u / (u^2 - b), u = x + i y, to w, in real arithmetic:
// with D = (x^2 - y^2 - b)^2 + (2xy)^2, Re w += a y (x^2 + y^2 + b)/D, Im w += a x (x^2 + y^2 - b)/D.
void WPOLE(float x, float y, float a, float b, std::complex<float>& w);
void WPOLED(double x, double y, double a, double b, std::complex<double>& w);

}  // namespace tn

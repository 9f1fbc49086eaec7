// Independent long-double references for the ground model's tests.
//
// Nothing here shares a formula with the code under test: the Faddeeva function comes from its
// differential equation and from the Laplace continued fraction, the Fresnel tail from the Faddeeva
// function by a change of variable (the code approximates it by rational functions of its own).
#pragma once

#include <cmath>
#include <complex>
#include <utility>

namespace tnref {

using ld = long double;
using cld = std::complex<long double>;

inline constexpr ld kPiL = 3.14159265358979323846264338327950288L;
inline const ld kSqrtPiL = std::sqrt(kPiL);

// Laplace continued fraction of w(z) = (i/pi) int exp(-t^2)/(z - t) dt, Im z > 0. Converges fast
// away from the real axis; used for Im z > 2.
inline cld faddeeva_cf(cld z) {
    cld t = z;
    for (int n = 1000; n >= 1; --n) t = z - (ld(n) / 2.0L) / t;
    return cld(0, 1) / (kSqrtPiL * t);
}

// One Taylor step of the differential equation w' = -2 z w + 2i/sqrt(pi) from z0 by h, 60 terms;
// the coefficients follow from w^(n+1) = -2 z w^(n) - 2 n w^(n-1).
inline cld faddeeva_step(cld z0, cld w0, cld h) {
    cld cprev = w0, c = -2.0L * z0 * w0 + cld(0, 2) / kSqrtPiL;   // w'(z0)
    cld sum = w0 + c * h, hp = h;
    for (int n = 1; n < 60; ++n) {
        cprev = std::exchange(c, (-2.0L * z0 * c - 2.0L * cprev) / ld(n + 1));   // c = w^(n+1)/(n+1)!
        sum += c * (hp *= h);
    }
    return sum;
}

// w(z) from w(0) = 1 by steps of at most 1/8, first along the real axis (where the equation damps
// errors), then upward. Used for 0 <= Im z <= 2, where the growth e^{y^2} of errors stays below 55.
inline cld faddeeva_ode(cld z) {
    cld zc(0, 0), w(1, 0);
    for (const cld leg : {cld(z.real(), 0), cld(0, z.imag())}) {
        const int n = int(std::ceil(std::abs(leg) * 8.0L)) + 1;
        for (int i = 0; i < n; ++i, zc += leg / ld(n)) w = faddeeva_step(zc, w, leg / ld(n));
    }
    return w;
}

// The Faddeeva function anywhere: w(z) = 2 exp(-z^2) - w(-z) below the real axis.
// The two methods agree to 1e-14 where they overlap (1.5 <= Im z <= 3, |Re z| <= 8).
inline cld faddeeva(cld z) {
    if (z.imag() < 0) return 2.0L * std::exp(-z * z) - faddeeva(-z);
    return z.imag() > 2.0L ? faddeeva_cf(z) : faddeeva_ode(z);
}

// integral from x to infinity of exp(i s^2) ds, x >= 0, through the Faddeeva function above: with
// s = e^{i pi/4} u the integral from 0 becomes e^{i pi/4} (sqrt(pi)/2) erf(e^{-i pi/4} x), so the tail
// is e^{i pi/4} (sqrt(pi)/2) erfc(e^{-i pi/4} x), and erfc(z) = exp(-z^2) w(iz) (A&S 7.1.3, 7.3.22).
inline cld fresnel_tail(ld x) {
    const cld e(std::sqrt(0.5L), std::sqrt(0.5L));   // e^{i pi/4}
    return e * (kSqrtPiL / 2.0L) * std::exp(cld(0, x * x)) * faddeeva(e * x);
}

}  // namespace tnref

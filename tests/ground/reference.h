// Independent long-double references for the ground model's tests.
//
// Nothing here shares a formula with the code under test: the Faddeeva function comes from its
// differential equation and from the Laplace continued fraction, the Fresnel tail from the power
// series and the asymptotic expansion of the Fresnel integrals.
#pragma once

#include <cmath>
#include <complex>

namespace tnref {

using ld = long double;
using cld = std::complex<long double>;

inline constexpr ld kPiL = 3.14159265358979323846264338327950288L;
inline const ld kSqrtPiL = std::sqrt(kPiL);

// Laplace continued fraction of w(z) = (i/pi) int exp(-t^2)/(z - t) dt, Im z > 0, from the tail
//. Converges fast away from the real
// axis; used for Im z > 2.
inline cld faddeeva_cf(cld z, int terms = 1000) {
    cld t = z;
    for (int n = terms; n >= 1; --n) t = z - (ld(n) / 2.0L) / t;
    return cld(0, 1) / (kSqrtPiL * t);
}

// One Taylor step of the differential equation w' = -2 z w + 2i/sqrt(pi) from z0 by h, 60 terms;
// the coefficients follow from w^(n+1) = -2 z w^(n) - 2 n w^(n-1).
inline cld faddeeva_step(cld z0, cld w0, cld h) {
    cld cprev = w0;
    cld c = -2.0L * z0 * w0 + cld(0, 2) / kSqrtPiL;   // w'(z0)
    cld sum = w0 + c * h, hp = h;
    for (int n = 1; n < 60; ++n) {
        const cld cn = (-2.0L * z0 * c - 2.0L * cprev) / ld(n + 1);   // w^(n+1)/(n+1)!
        hp *= h;
        sum += cn * hp;
        cprev = c;
        c = cn;
    }
    return sum;
}

// w(z) from w(0) = 1 by steps of at most 1/8, first along the real axis (where the equation damps
// errors), then upward. Used for 0 <= Im z <= 2, where the growth e^{y^2} of errors stays below 55.
inline cld faddeeva_ode(cld z) {
    cld zc(0, 0), w(1, 0);
    const int nx = int(std::ceil(std::abs(z.real()) * 8.0L)) + 1;
    for (int i = 0; i < nx; ++i) {
        const cld h((z.real() - zc.real()) / ld(nx - i), 0);
        w = faddeeva_step(zc, w, h);
        zc += h;
    }
    const int ny = int(std::ceil(std::abs(z.imag()) * 8.0L)) + 1;
    for (int i = 0; i < ny; ++i) {
        const cld h(0, (z.imag() - zc.imag()) / ld(ny - i));
        w = faddeeva_step(zc, w, h);
        zc += h;
    }
    return w;
}

// The Faddeeva function anywhere: w(z) = 2 exp(-z^2) - w(-z) below the real axis.
// The two methods agree to 1e-14 where they overlap (1.5 <= Im z <= 3, |Re z| <= 8).
inline cld faddeeva(cld z) {
    if (z.imag() < 0) return 2.0L * std::exp(-z * z) - faddeeva(-z);
    if (z.imag() > 2.0L) return faddeeva_cf(z);
    return faddeeva_ode(z);
}

// integral from x to infinity of exp(i s^2) ds, x >= 0: sqrt(pi/8)(1 + i) minus the power series of
// int_0^x cos s^2 and sin s^2 up to x = 5, the asymptotic expansion
// (i/2x) e^{i x^2} sum (-i)^n (1/2)_n / x^{2n}, cut at its smallest term, above.
inline cld fresnel_tail(ld x) {
    const ld x2 = x * x;
    if (x <= 5.0L) {
        ld C = 0, S = 0;
        ld tc = x, ts = x * x2;   // x^{4n+1}/(2n)!, x^{4n+3}/(2n+1)!
        for (int n = 0; n < 200; ++n) {
            const ld sg = (n % 2) ? -1.0L : 1.0L;
            C += sg * tc / ld(4 * n + 1);
            S += sg * ts / ld(4 * n + 3);
            tc *= x2 * x2 / ld((2 * n + 1) * (2 * n + 2));
            ts *= x2 * x2 / ld((2 * n + 2) * (2 * n + 3));
        }
        const ld h = std::sqrt(kPiL / 8.0L);
        return {h - C, h - S};
    }
    cld sum = 0, term = 1;
    for (int n = 0; n < int(x2) && n < 60; ++n) {
        sum += term;
        term *= cld(0, -1) * ((ld(n) + 0.5L) / x2);
    }
    return 0.5L * cld(0, 1) * std::exp(cld(0, x2)) / x * sum;
}

}  // namespace tnref

// The Faddeeva function at fixed cost (WOFZ, WOFZD) against an independent long-double evaluation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

#include "ground/reference.h"
#include "ground/wofz.h"

namespace {

using tnref::cld;
using tnref::ld;

cld wd(ld x, ld y) {
    std::complex<double> w;
    tn::WOFZD({double(x), double(y)}, w);
    return {w.real(), w.imag()};
}
cld wf(ld x, ld y) {
    std::complex<float> w;
    tn::WOFZ({float(x), float(y)}, w);
    return {w.real(), w.imag()};
}

// Error of w at z, relative to the size of the function there. Below the real axis w is
// 2 exp(-z^2) - w(-z) and has zeros, so the scale there is the size of those two terms.
ld rel_error(cld got, cld z) {
    const cld ref = tnref::faddeeva(z);
    ld scale = std::abs(ref);
    if (z.imag() < 0) scale = std::abs(2.0L * std::exp(-z * z)) + std::abs(tnref::faddeeva(-z));
    return std::abs(got - ref) / scale;
}

bool far_region(ld x, ld y) { return std::fabs(x) > 3.9L || std::fabs(y) > 3.0L; }

// The reference itself against published values and against functions of the C library.
TEST(FaddeevaReference, AgreesWithPublishedValuesAndErfc) {
    struct Case { ld x, y, re, im; const char* source; };
    const Case cases[] = {
        {1, 1, 0.3047442052569126L, 0.2082189382028316L, "A&S table 7.9 (6 digits), Faddeeva package self-test (16)"},
        {1, 0, 0.3678794411714423L, 0.6071577058413937L, "exp(-1) and 2/sqrt(pi) Dawson(1), Dawson(1) = 0.5380795069127684"},
        {0, 1, 0.4275835761558070L, 0.0L, "e erfc(1)"},
    };
    for (const Case& c : cases) {
        const cld w = tnref::faddeeva({c.x, c.y});
        EXPECT_NEAR(double(w.real()), double(c.re), 1e-15) << c.source;
        EXPECT_NEAR(double(w.imag()), double(c.im), 1e-15) << c.source;
    }
    for (ld y = 0; y <= 8; y += 0.25L) {   // w(iy) = exp(y^2) erfc(y)
        const ld e = std::exp(y * y) * std::erfc(y);
        EXPECT_NEAR(double(std::abs(tnref::faddeeva({0, y}) - e) / e), 0.0, 1e-14) << "y = " << double(y);
    }
    for (ld x = 0; x <= 8; x += 0.25L)     // Re w(x) = exp(-x^2) on the real axis
        EXPECT_NEAR(double(tnref::faddeeva({x, 0}).real()), double(std::exp(-x * x)), 1e-15) << "x = " << double(x);
}

// Accuracy over the four quadrants, |Re z| <= 7.875, -5.25 <= Im z <= 7.875, on a grid of steps of
// 3/8 (exact in both widths, and never nearer than 0.05 to the points 0.8 n of the real axis where
// the near region cancels, see below). Measured maxima: far region 6.4e-6 (both widths, largest
// just outside x = 3.9 on the real axis where |w| is small); near region 4.1e-7 (64-bit) and
// 2.2e-6 (32-bit). The tolerances leave a quarter to a half of that as margin.
TEST(Wofz, AccuracyByRegionAndWidthOverAllQuadrants) {
    struct Worst { ld err = 0; ld x = 0, y = 0; };
    Worst far64, near64, far32, near32;
    for (int i = -21; i <= 21; ++i) {
        for (int j = -14; j <= 21; ++j) {
            const ld x = 0.375L * i, y = 0.375L * j;
            if (x == 0 && y == 0) continue;   // the near region divides by |z|^2 there
            const cld z{x, y};
            const ld e64 = rel_error(wd(x, y), z);
            const ld e32 = rel_error(wf(x, y), z);
            Worst& w64 = far_region(x, y) ? far64 : near64;
            Worst& w32 = far_region(x, y) ? far32 : near32;
            if (e64 > w64.err) w64 = {e64, x, y};
            if (e32 > w32.err) w32 = {e32, x, y};
        }
    }
    EXPECT_LT(double(far64.err), 8e-6) << "at " << double(far64.x) << ", " << double(far64.y);
    EXPECT_LT(double(far32.err), 8e-6) << "at " << double(far32.x) << ", " << double(far32.y);
    EXPECT_LT(double(near64.err), 6e-7) << "at " << double(near64.x) << ", " << double(near64.y);
    EXPECT_LT(double(near32.err), 3e-6) << "at " << double(near32.x) << ", " << double(near32.y);
}

// Either side of x = 3.9 and y = 3.0, to the last bit of each width (the far region starts strictly
// above the limits), in all four quadrants. In the upper half plane, where |w| <= 1, both sides agree
// with the reference to 1.2e-6 absolute (A&S give < 2e-6 for the rational form; measured 9.5e-7) and
// so with one another; below the real axis the relative error of the grid test applies.
TEST(Wofz, ContinuousAcrossRegionLimits) {
    const float f[2][2] = {{3.9f, std::nextafter(3.9f, 4.0f)}, {3.0f, std::nextafter(3.0f, 4.0f)}};
    const double d[2][2] = {{3.9, std::nextafter(3.9, 4.0)}, {3.0, std::nextafter(3.0, 4.0)}};
    for (ld o : {0.0L, 0.5L, 1.25L, 2.0L, 2.875L}) {   // the other coordinate, exact in both widths
        for (int axis = 0; axis < 2; ++axis) {
            for (int q = 0; q < 4; ++q) {
                const int sx = q & 1 ? -1 : 1, sy = q & 2 ? -1 : 1;
                for (int side = 0; side < 2; ++side) {
                    for (int width : {32, 64}) {
                        const ld lim = width == 32 ? ld(f[axis][side]) : ld(d[axis][side]);
                        const ld x = sx * (axis == 0 ? lim : o), y = sy * (axis == 0 ? o : lim);
                        const cld got = width == 32 ? wf(x, y) : wd(x, y);
                        const ld err = y >= 0 ? std::abs(got - tnref::faddeeva({x, y})) : rel_error(got, {x, y});
                        EXPECT_LT(double(err), y >= 0 ? 1.2e-6 : 8e-6) << width << "-bit at " << double(x) << ", " << double(y);
                    }
                }
            }
            const ld x0 = axis == 0 ? ld(f[0][0]) : o, y0 = axis == 0 ? o : ld(f[1][0]);
            const ld x1 = axis == 0 ? ld(f[0][1]) : o, y1 = axis == 0 ? o : ld(f[1][1]);
            EXPECT_LT(double(std::abs(wf(x0, y0) - wf(x1, y1))), 2.4e-6) << "jump at " << double(x0) << ", " << double(y0);
        }
    }
}

// Near z = 0.8 n (n = 1..4) on the real axis the five-term sum and the pole correction have opposite
// poles that cancel only in exact arithmetic. The 64-bit routine keeps its accuracy to within 1e-4
// of them; the 32-bit one loses digits as about 1e-9/distance^2 (1.7e-4 measured at 0.01, n = 1).
TEST(Wofz, CancellationNearTheRealAxisPoles) {
    for (int n = 1; n <= 4; ++n) {
        for (int k = 0; k < 8; ++k) {
            const ld c = std::cos(tnref::kPiL * k / 7), s = std::sin(tnref::kPiL * k / 7);
            const double x = double(0.8L * n + 1e-4L * c), y = double(1e-4L * s);
            EXPECT_LT(double(rel_error(wd(x, y), {x, y})), 6e-7) << "n = " << n;
            const float xf = float(0.8L * n + 1e-2L * c), yf = float(1e-2L * s);
            EXPECT_LT(double(rel_error(wf(xf, yf), {xf, yf})), 5e-4) << "n = " << n;
        }
    }
}

}  // namespace

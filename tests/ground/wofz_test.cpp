// The Faddeeva function at fixed cost (WOFZ, WOFZD) against an independent long-double evaluation.
#include <gtest/gtest.h>

#include "ground/reference.h"
#include "ground/wofz.h"

namespace {

using namespace tnref;

// WOFZ (width 32) or WOFZD (width 64) at x + iy, widened.
cld w(int width, ld x, ld y) {
    std::complex<float> f;
    std::complex<double> d;
    if (width == 32) tn::WOFZ({float(x), float(y)}, f);
    else tn::WOFZD({double(x), double(y)}, d);
    return width == 32 ? cld(f.real(), f.imag()) : cld(d.real(), d.imag());
}

// Error of WOFZ or WOFZD at x + iy, relative to the size of the function there. Below the real axis
// w is 2 exp(-z^2) - w(-z) and has zeros, so the scale there is the size of those two terms; in the
// upper half plane, where |w| <= 1, `absolute` gives the plain difference.
double error(int width, ld x, ld y, bool absolute = false) {
    const cld z{x, y}, ref = faddeeva(z);
    const ld scale = absolute ? 1.0L : y < 0 ? std::abs(2.0L * std::exp(-z * z)) + std::abs(faddeeva(-z)) : std::abs(ref);
    return double(std::abs(w(width, x, y) - ref) / scale);
}

// The reference itself against published values: w(1 + i) from A&S table 7.9 (6 digits) and the
// Faddeeva package's self-test (16); w(1) = exp(-1) + i 2/sqrt(pi) Dawson(1), Dawson(1) =
// 0.5380795069127684; w(i) = e erfc(1); and against the C library along both axes:
// w(iy) = exp(y^2) erfc(y), Re w(x) = exp(-x^2).
TEST(FaddeevaReference, AgreesWithPublishedValuesAndErfc) {
    EXPECT_LT(double(std::abs(faddeeva({1, 1}) - cld(0.3047442052569126L, 0.2082189382028316L))), 1e-15);
    EXPECT_LT(double(std::abs(faddeeva({1, 0}) - cld(0.3678794411714423L, 0.6071577058413937L))), 1e-15);
    EXPECT_LT(double(std::abs(faddeeva({0, 1}) - cld(0.4275835761558070L, 0.0L))), 1e-15);
    for (ld t = 0; t <= 8; t += 0.25L) {
        const ld e = std::exp(t * t) * std::erfc(t);
        EXPECT_LE(double(std::abs(faddeeva({0, t}) - e) / e), 1e-14) << "y = " << double(t);
        EXPECT_NEAR(double(faddeeva({t, 0}).real()), double(std::exp(-t * t)), 1e-15) << "x = " << double(t);
    }
}

// Accuracy over the four quadrants, |Re z| <= 7.875, -5.25 <= Im z <= 7.875, on a grid of steps of
// 3/8 (exact in both widths, and never nearer than 0.05 to the points 0.8 n of the real axis where
// the five-term sum and the pole correction of the near region have opposite poles that cancel only
// in exact arithmetic: the 32-bit routine loses digits there). Measured maxima: far region 6.4e-6 (both widths, largest
// just outside x = 3.9 on the real axis where |w| is small); near region 4.1e-7 (64-bit) and
// 2.2e-6 (32-bit). The tolerances leave a quarter to a half of that as margin. z = 0 is left out:
// the near region divides by |z|^2 there.
TEST(Wofz, AccuracyByRegionAndWidthOverAllQuadrants) {
    for (int i = -21; i <= 21; ++i)
        for (int j = -14; j <= 21; ++j) {
            const ld x = 0.375L * i, y = 0.375L * j;
            const bool near = std::fabs(x) <= 3.9L && std::fabs(y) <= 3.0L;
            if (i == 0 && j == 0) continue;
            EXPECT_LT(error(64, x, y), near ? 6e-7 : 8e-6) << "64-bit at " << double(x) << ", " << double(y);
            EXPECT_LT(error(32, x, y), near ? 3e-6 : 8e-6) << "32-bit at " << double(x) << ", " << double(y);
        }
}

// Either side of x = 3.9 and y = 3.0, to the last bit of each width (the far region starts strictly
// above the limits), in all four quadrants. In the upper half plane, where |w| <= 1, both sides agree
// with the reference to 1.2e-6 absolute (A&S give < 2e-6 for the rational form; measured 9.5e-7) and
// so with one another to 2.4e-6: no jump at the limit; below the real axis the relative error of
// the grid test applies.
TEST(Wofz, ContinuousAcrossRegionLimits) {
    const ld lim[2][2][2] = {{{3.9f, std::nextafter(3.9f, 4.0f)}, {3.0f, std::nextafter(3.0f, 4.0f)}},
                             {{3.9, std::nextafter(3.9, 4.0)}, {3.0, std::nextafter(3.0, 4.0)}}};   // [width][axis][side]
    for (ld o : {0.0L, 0.5L, 1.25L, 2.0L, 2.875L})   // the other coordinate, exact in both widths
        for (int axis = 0; axis < 2; ++axis)
            for (int q = 0; q < 16; ++q) {   // quadrant (bits 0 and 1), side of the limit (bit 2), width (bit 3)
                const ld l = lim[q >> 3][axis][(q >> 2) & 1];
                const ld x = (q & 1 ? -1 : 1) * (axis ? o : l), y = (q & 2 ? -1 : 1) * (axis ? l : o);
                EXPECT_LT(error(q & 8 ? 64 : 32, x, y, y >= 0), y >= 0 ? 1.2e-6 : 8e-6)
                    << (q & 8 ? 64 : 32) << "-bit at " << double(x) << ", " << double(y);
            }
}

}  // namespace

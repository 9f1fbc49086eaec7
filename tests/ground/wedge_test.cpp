// The Fresnel tail of the wedge diffraction terms.
#include <gtest/gtest.h>

#include "ground/reference.h"
#include "ground/wedge.h"

namespace {

tnref::cld frestail(float x) {
    std::complex<float> T;
    tn::FRESTAIL(x, T);
    return {T.real(), T.imag()};
}

// Against the Fresnel integrals by series and asymptotic expansion in long double, 0 <= x <= 10.
// The rational f and g of A&S 7.3.32/7.3.33 each err by up to 2e-3 and the tail is their
// combination over sqrt(2/pi): measured largest error 2.73e-3 (at x = 2.54). The error is absolute:
// for large x the tail itself falls as 1/(2x). At 0 the exact value is sqrt(pi/8)(1 + i) =
// 0.62666(1 + i); the six-digit scale factor and f(0) = g(0) = 1/2 give 0.5/0.797885 = 0.626657
// exactly.
TEST(Frestail, MatchesFresnelIntegrals) {
    double worst = 0, at = 0;
    for (int i = 0; i <= 1000; ++i) {
        const float x = 0.01f * float(i);
        if (const double err = double(std::abs(frestail(x) - tnref::fresnel_tail(x))); err > worst) worst = err, at = x;
    }
    EXPECT_LT(worst, 2.8e-3) << "at x = " << at;
    EXPECT_GT(worst, 2.0e-3) << "the approximation is coarser than this: has a better one crept in?";
    EXPECT_LT(double(std::abs(frestail(0) - tnref::cld(0.5L / 0.797885L, 0.5L / 0.797885L))), 1e-7);
    EXPECT_NEAR(double(frestail(0).real()), double(tnref::fresnel_tail(0).real()), 1e-5);
}

}  // namespace

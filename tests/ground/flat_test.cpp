// Level over flat homogeneous ground (FLATFULL).
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "ground/flat.h"

namespace {

float flat(float d, float Hs, float Hr, float sigma, float f) {
    float amean = -1.0f, level = 0.0f;
    tn::FLATFULL(d / 2, d / 2, Hs, Hr, sigma, sigma, 0.0f, 0.0f, 0.0f, f, amean, level);
    EXPECT_EQ(amean, 0.0f);
    return level;
}

// Over a rigid plane the field is exactly that of the source and its mirror image:
// 10 log10(|exp(-ik Rd)/Rd + exp(-ik Rr)/Rr|^2 Rd^2). A resistivity of 1e12 makes Q differ from 1
// by about 1e-6 at these angles. Tolerance 0.01 dB covers that and the model's 4.3429 for
// 10/ln 10 (1e-5 of the level); at the interference minimum, where the level is most sensitive,
// measured 0.003 dB.
TEST(Flatfull, RigidGroundIsTheImageSourceField) {
    struct Case { float d, Hs, Hr, f; const char* what; };
    const double dmin = std::sqrt(100.0 * 100.0 + 10.0 * 10.0) - 100.0;   // path difference, Hs = Hr = 5
    const Case cases[] = {
        {100, 1, 1, 50, "grazing, low frequency: +6 dB"},
        {100, 5, 5, float(340.0 / (2.0 * dmin)), "first interference minimum"},
        {100, 5, 5, float(340.0 / dmin), "first maximum above it"},
        {300, 10, 1.5f, 400, "unequal heights"},
        {1000, 100, 2, 1000, "steep"},
        {20, 0.5f, 0.5f, 8000, "short and high"},
    };
    for (const Case& c : cases) {
        const double k = 2.0 * 3.141592653589793 * double(c.f) / 340.0;
        const double Rd = std::hypot(double(c.d), double(c.Hs) - c.Hr);
        const double Rr = std::hypot(double(c.d), double(c.Hs) + c.Hr);
        const std::complex<double> p = std::polar(1.0 / Rd, -k * Rd) + std::polar(1.0 / Rr, -k * Rr);
        const double expect = 10.0 * std::log10(std::norm(p) * Rd * Rd);
        EXPECT_NEAR(flat(c.d, c.Hs, c.Hr, 1e12f, c.f), expect, 0.01) << c.what;
    }
    EXPECT_NEAR(flat(100, 1, 1, 1e12f, 50), 6.02, 0.01) << "grazing: pressure doubling";
    EXPECT_LT(flat(100, 5, 5, 1e12f, float(340.0 / (2.0 * dmin))), -40.0f) << "deep minimum, not clamped";
}

// Over soft ground at grazing incidence the reflected wave cancels the direct one more and more
// with distance: the level falls well below 0 dB, unlike over rigid ground.
TEST(Flatfull, SoftGroundAtGrazingFallsBelowFreeField) {
    EXPECT_LT(flat(1000, 1.5f, 1.5f, 200, 500), -10.0f);
    EXPECT_GT(flat(1000, 1.5f, 1.5f, 1e12f, 500), 5.0f);
}

// The refracting-atmosphere variant, which the ground model never selects: as the gradient goes to
// 0 the plane sum vanishes (every k_j tends to k) and both results tend to the plain level.
TEST(Flatfull, GradientVariantTendsToThePlainSum) {
    const float d = 200, Hs = 2, Hr = 1.5f, sigma = 200, f = 250;
    const float plain = flat(d, Hs, Hr, sigma, f);
    float amean = 0, level = 0;
    tn::FLATFULL(d / 2, d / 2, Hs, Hr, sigma, sigma, 1e-7f, 20.0f, 1e-7f, f, amean, level);
    EXPECT_NEAR(level, plain, 1e-3);
    EXPECT_NEAR(amean, plain, 1e-3);
    tn::FLATFULL(d / 2, d / 2, Hs, Hr, sigma, sigma, 0.1f, 20.0f, 0.05f, f, amean, level);
    EXPECT_TRUE(std::isfinite(amean) && std::isfinite(level));
}

}  // namespace

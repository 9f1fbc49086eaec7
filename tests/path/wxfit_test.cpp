// Profile fit of a path: heading, levels of the two ends, values interpolated there, the two fits.
// Profiles are filled by hand (not through WXTABLES), with values that differ from heading to
// heading, so that a wrong heading or level shows; expected values are worked out below by hand.
#include "path/wxfit.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr int kEast = 90;   // heading of a path along +x

// Three levels at 10, 100 and 300 m: temperatures 20, 18, 14 degrees Celsius; at the heading
// `hdg` sound speeds 340, 338, 335 m/s and wind components 2, 5, 9 m/s. Every other heading holds
// values far off (1000 m/s and 500 m/s), so that reading the wrong one is plain.
tn::WeatherState three_levels(int hdg) {
    tn::WeatherState wx;
    wx.Wxsingle = false;
    wx.Wxcount = 3;
    const float alt[3] = {10.0f, 100.0f, 300.0f};
    const float temp[3] = {20.0f, 18.0f, 14.0f};
    const float ceff[3] = {340.0f, 338.0f, 335.0f};
    const float wind[3] = {2.0f, 5.0f, 9.0f};
    for (int k = 0; k < 3; ++k) {
        tn::WXLEVEL& l = wx.levels[static_cast<std::size_t>(k)];
        l.Alt = alt[k];
        l.Temp = temp[k];
        l.Ceff.fill(1000.0f);
        l.Windc.fill(500.0f);
        l.Ceff[static_cast<std::size_t>(hdg - 1)] = ceff[k];
        l.Windc[static_cast<std::size_t>(hdg - 1)] = wind[k];
    }
    return wx;
}

struct Fit {
    float Ca = 0, Cb = 0, Cc = 0, Tgrad = 0;
    int Hdg = 0;
    double Wsrc = 0;
};

Fit fit(const tn::WeatherState& wx, float sx, float sy, float zs, float rx, float ry, float zr) {
    const float src[2] = {sx, sy};
    const float rcv[2] = {rx, ry};
    Fit f;
    tn::WXFIT(wx, src, zs, rcv, zr, f.Ca, f.Cb, f.Cc, f.Hdg, f.Tgrad, f.Wsrc);
    return f;
}

// Heading of the path from the plane positions. Tolerance: none, whole degrees.
TEST(Wxfit, HeadingOfThePath) {
    const tn::WeatherState wx = three_levels(kEast);
    // Bearing of (dx, dy) measured clockwise from +y.
    const double deg = M_PI / 180.0;
    const struct { double dx, dy; int hdg; const char* why; } kCases[] = {
        {1000, 0, 90, "east"},
        {0, 1000, 360, "north: 90 - 90.0019 rounds to 0, which becomes 360"},
        {-1000, 0, 270, "west: 90 - 180.0052 rounds to -90, plus 360"},
        {0, -1000, 180, "south"},
        // True bearing 180.4985 degrees. The factor 180 / 3.1415296 is 2.01e-5 larger than
        // 180 / pi, which moves the bearing to 180.5003 and so rounds it up; pi would give 180.
        {1000 * std::cos(-90.4985 * deg), 1000 * std::sin(-90.4985 * deg), 181, "the constant 3.1415296"},
    };
    for (const auto& c : kCases) {
        const Fit f = fit(wx, 500.0f, 700.0f, 50.0f, static_cast<float>(500.0 + c.dx), static_cast<float>(700.0 + c.dy),
                          20.0f);
        EXPECT_EQ(f.Hdg, c.hdg) << c.why;
    }
}

// The source at 200 m (between levels 2 and 3), the receiver at 50 m (between levels 1 and 2).
// By hand: ts = 14 - ((14 - 18) / 200) * (300 - 200) = 16; tr = 18 - ((18 - 20) / 90) * (100 - 50)
// = 19.1111; Tgrad = (16 - 19.1111) / 150 = -0.0207407. Wsrc = 9 - (4 / 200) * 100 = 7.
// cs = 335 - (-3 / 200) * 100 = 336.5 replaces the fitted constant. Tolerance: a few units of the
// last place of single precision.
TEST(Wxfit, HandWorkedThreeLevels) {
    const Fit f = fit(three_levels(kEast), 0.0f, 0.0f, 200.0f, 1000.0f, 0.0f, 50.0f);
    EXPECT_EQ(f.Hdg, kEast);
    EXPECT_NEAR(f.Tgrad, -(3.0 + 1.0 / 9.0) / 150.0, 1e-7);
    EXPECT_NEAR(f.Wsrc, 7.0, 2e-6);
    EXPECT_NEAR(f.Cc, 336.5f, 3e-5f);
}

// Both ends below the first level: each takes level 1's values as they are, so the gradient is 0
// and the wind is level 1's. The fit has three rows (level 1 and the two ends) that all hold
// 340 m/s: the fitted curve is flat. Drawn on to 100 m it stays within 0.05 m/s of 340 (single
// precision on these nearly collinear columns leaves some 1e-3); a fit that took in level 2 as
// well would have to come near its 338 m/s there.
TEST(Wxfit, BothEndsBelowTheFirstLevel) {
    const Fit f = fit(three_levels(kEast), 0.0f, 0.0f, 5.0f, 1000.0f, 0.0f, 2.0f);
    EXPECT_EQ(f.Tgrad, 0.0f);
    EXPECT_EQ(f.Wsrc, 2.0);
    EXPECT_EQ(f.Cc, 340.0f);
    auto bend = [&f](double z) { return f.Ca * std::log(z / 10.0 + 1.0) + f.Cb * z; };
    EXPECT_NEAR(bend(100.0) - bend(2.0), 0.0, 0.05) << "Ca " << f.Ca << " Cb " << f.Cb;
}

// Ends above every level take the topmost one and extrapolate along the top two levels' slopes:
// temperature -0.02 per metre, wind 0.02, sound speed -0.015.
TEST(Wxfit, AboveEveryLevelExtrapolatesFromTheTop) {
    const tn::WeatherState wx = three_levels(kEast);
    // Source at 500 m: ts = 14 - 0.02 * 200 = 10, Wsrc = 9 + 0.02 * 200 = 13; receiver at 50 m:
    // tr = 19.1111 as above; Tgrad = (10 - 19.1111) / 450.
    const Fit one = fit(wx, 0.0f, 0.0f, 500.0f, 1000.0f, 0.0f, 50.0f);
    EXPECT_NEAR(one.Wsrc, 13.0, 4e-6);
    EXPECT_NEAR(one.Tgrad, (10.0 - (19.0 + 1.0 / 9.0)) / 450.0, 1e-7);
    // Both above: the rows are level 3 and the two ends, points on the line 335 - 0.015 (z - 300),
    // so the fit is exact with Ca = 0 and Cb = -0.015. Tgrad = (10 - 12) / 100.
    const Fit both = fit(wx, 0.0f, 0.0f, 500.0f, 1000.0f, 0.0f, 400.0f);
    EXPECT_NEAR(both.Tgrad, -0.02, 1e-7);
    EXPECT_NEAR(both.Cc, 332.0f, 3e-5f);
    // Single precision QR on columns of size 3.5, 400 and 1: a tolerance of 1e-2 m/s on the
    // fitted values over the span 300 to 500 m.
    EXPECT_NEAR(both.Ca, 0.0f, 5e-3f);
    EXPECT_NEAR(both.Cb, -0.015f, 5e-5f);
}

// Ends at the same height have the same values: the gradient is 0 / 0, not a number, passed on.
TEST(Wxfit, EqualHeightsGiveNotANumber) {
    const Fit f = fit(three_levels(kEast), 0.0f, 0.0f, 150.0f, 1000.0f, 0.0f, 150.0f);
    EXPECT_TRUE(std::isnan(f.Tgrad));
    EXPECT_NEAR(f.Wsrc, 5.0 + 0.02 * 50.0, 2e-6);
}

}  // namespace

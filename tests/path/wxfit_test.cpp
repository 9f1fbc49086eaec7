// Profile fit of a path: heading, levels of the two ends, values interpolated there, the two fits.
// Profiles are filled by hand (not through WXTABLES), with values that differ from heading to
// heading, so that a wrong heading or level shows; expected values are worked out below by hand.
#include "path/wxfit.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Three levels at 10, 100 and 300 m: temperatures 20, 18, 14 degrees Celsius; at heading 90 (a
// path along +x) sound speeds 340, 338, 335 m/s and wind components 2, 5, 9 m/s. Every other
// heading holds values far off (1000 m/s and 500 m/s), so that reading the wrong one is plain.
tn::WeatherState three_levels() {
    tn::WeatherState wx;
    wx.Wxcount = 3;
    for (std::size_t k = 0; k < 3; ++k) {
        tn::WXLEVEL& l = wx.levels[k];
        l = {{}, {}, std::array{10.0f, 100.0f, 300.0f}[k], 0.0f, std::array{20.0f, 18.0f, 14.0f}[k]};
        l.Ceff.fill(1000.0f);
        l.Windc.fill(500.0f);
        l.Ceff[89] = std::array{340.0f, 338.0f, 335.0f}[k];
        l.Windc[89] = std::array{2.0f, 5.0f, 9.0f}[k];
    }
    return wx;
}
const tn::WeatherState kWx = three_levels();

struct Fit { float Ca = 0, Cb = 0, Cc = 0, Tgrad = 0; int Hdg = 0; double Wsrc = 0; };

// The source at (sx, sy) and height zs, the receiver at (rx, ry) and height zr.
Fit fit(float sx, float sy, float zs, float rx, float ry, float zr) {
    const float src[2] = {sx, sy}, rcv[2] = {rx, ry};
    Fit f;
    tn::WXFIT(kWx, src, zs, rcv, zr, f.Ca, f.Cb, f.Cc, f.Hdg, f.Tgrad, f.Wsrc);
    return f;
}

// Heading of the path from the plane positions: the bearing of (dx, dy) measured clockwise from +y,
// in whole degrees.
TEST(Wxfit, HeadingOfThePath) {
    const struct { double dx, dy; int hdg; const char* why; } cases[] = {
        {1000, 0, 90, "east"},
        {0, 1000, 360, "north: 90 - 90.0019 rounds to 0, which becomes 360"},
        {-1000, 0, 270, "west: 90 - 180.0052 rounds to -90, plus 360"},
        {0, -1000, 180, "south"},
        // True bearing 180.4985 degrees. The factor 180 / 3.1415296 is 2.01e-5 larger than
        // 180 / pi, which moves the bearing to 180.5003 and so rounds it up; pi would give 180.
        {1000 * std::cos(-90.4985 * M_PI / 180), 1000 * std::sin(-90.4985 * M_PI / 180), 181, "the constant 3.1415296"},
    };
    for (const auto& c : cases) EXPECT_EQ(fit(500, 700, 50, float(500 + c.dx), float(700 + c.dy), 20).Hdg, c.hdg) << c.why;
}

// The ends of a path along +x at heights zs and zr; kAny: not checked. Tolerances: a few units of
// the last place of single precision; 0: exact.
//  - source at 200 m (between levels 2 and 3), receiver at 50 m (between levels 1 and 2):
//    ts = 14 - ((14 - 18) / 200) * (300 - 200) = 16; tr = 18 - ((18 - 20) / 90) * (100 - 50) =
//    19.1111; Tgrad = (16 - 19.1111) / 150 = -0.0207407; Wsrc = 9 - (4 / 200) * 100 = 7;
//    cs = 335 - (-3 / 200) * 100 = 336.5 replaces the fitted constant.
//  - both ends below the first level: each takes level 1's values as they are: gradient 0, level
//    1's wind and sound speed.
//  - ends at the same height have the same values: the gradient is 0 / 0, not a number, passed on;
//    Wsrc = 5 + ((9 - 5) / 200) * (150 - 100) = 6.
constexpr double kAny = 1e30;
TEST(Wxfit, HandWorkedEnds) {
    const struct { float zs, zr; double tgrad, ttol, wsrc, wtol, cc, ctol; const char* why; } cases[] = {
        {200, 50, -(3.0 + 1.0 / 9.0) / 150.0, 1e-7, 7.0, 2e-6, 336.5, 3e-5, "between levels"},
        {5, 2, 0.0, 0, 2.0, 0, 340.0, 0, "both below the first level"},
        {150, 150, NAN, 0, 5.0 + 0.02 * 50.0, 2e-6, kAny, 0, "equal heights"},
    };
    for (const auto& c : cases) {
        const Fit f = fit(0, 0, c.zs, 1000, 0, c.zr);
        EXPECT_EQ(f.Hdg, 90) << c.why;
        EXPECT_TRUE(std::isnan(c.tgrad) ? std::isnan(f.Tgrad) : std::abs(f.Tgrad - c.tgrad) <= c.ttol)
            << c.why << ": " << f.Tgrad;
        EXPECT_TRUE(c.wsrc == kAny || std::abs(f.Wsrc - c.wsrc) <= c.wtol) << c.why << ": " << f.Wsrc;
        EXPECT_TRUE(c.cc == kAny || std::abs(f.Cc - c.cc) <= c.ctol) << c.why << ": " << f.Cc;
    }
}

}  // namespace

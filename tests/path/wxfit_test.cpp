// Profile fit of a path: its heading, and ends below the profile. Profiles are filled by hand (not
// through WXTABLES), with values that differ from heading to heading, so that a wrong heading or
// level shows; expected values are worked out below by hand.
#include "path/wxfit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

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

// Both ends below the first level take level 1's values as they are: gradient 0, level 1's wind.
// (Ends between levels and at one height are worked by hand in nord2000_test.cpp, through the
// arguments the library gets; the fitted sound speeds Ca, Cb, Cc are not passed on.)
TEST(Wxfit, EndsBelowTheFirstLevel) {
    const Fit f = fit(0, 0, 5, 1000, 0, 2);
    EXPECT_EQ(std::tie(f.Hdg, f.Tgrad, f.Wsrc), std::make_tuple(90, 0.0f, 2.0));
}

}  // namespace

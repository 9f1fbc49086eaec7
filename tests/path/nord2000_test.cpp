// The weather path's call of the library: the 22 arguments as the test stand-in of the library
// records them (tests/support/nord2000_stub.cpp), for the single parameter, the "A_Param" and the
// profile kinds of weather. (The messages of a library that cannot be found or loaded are asserted
// by the whole-run tests.)
#include "path/nord2000.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <unistd.h>

#include "path/nord_library.h"
#include "support/nord_stub_log.h"

namespace {

namespace fs = std::filesystem;

// One path through the stand-in, loaded as the program loads the library, with Nordpar1, 2, 3 = 11,
// 22, 33: 100 samples from the source at (1000, 2000), 3.5 m above ground, to the receiver at
// (1300, 2400), zr above ground, 500 m long, so sample k stands at 500 / 99 * k. The terrain rises
// from `base` at the source by `rise` a sample; the ground value of sample k is 200 + k. Three bands
// from 1000 Hz; the fourth Gterm is no band and must stay 7. Gives the calls logged and Gterm.
std::pair<std::vector<tntest::StubCall>, std::vector<float>> run(const tn::WeatherState& wx, float base, float rise,
                                                                  float zr) {
    tn::PROFPT Terr[100], Gsec[100];
    for (int k = 0; k < 100; ++k) {
        Terr[k] = {500.0f / 99.0f * float(k), base + rise * float(k)};
        Gsec[k] = {Terr[k].d, 200.0f + float(k)};
    }
    const float src[3] = {1000.0f, 2000.0f, 3.5f}, rcv[3] = {1300.0f, 2400.0f, zr}, Freq[3] = {1000.0f, 1250.0f, 1600.0f};
    std::vector<float> Gterm = {0.0f, 0.0f, 0.0f, 7.0f};
    const fs::path log = fs::temp_directory_path() / ("tn_nord_" + std::to_string(::getpid()) + ".log");
    fs::remove(log);
    ::setenv("TN_NORD_STUB_LOG", log.c_str(), 1);
    ::setenv("TRACKNOISE_NORD2000", TN_NORD_STUB, 1);
    const auto lib = tn::load_nord_library("/nowhere", "wx.txt");
    ::unsetenv("TRACKNOISE_NORD2000");
    tn::nord_path_effect(100, src, rcv, 3, Freq, Gterm.data(), Terr, Gsec, {true, &wx, 11.0, 22.0, 33.0, lib.get()});
    std::pair result{tntest::read_stub_log(log.string()), Gterm};
    fs::remove(log);
    return result;
}

tn::WeatherState single(bool dual) {
    tn::WeatherState wx;
    wx.Wxsingle = true;
    wx.Wxdual = dual;
    wx.param = {15.0f, 55.0f, -0.005f, 4.0f, 30.0f, 1.25, 2.5, 3.75, 5.0, 2.0};   // Tempc .. Wextra4, Aparam
    return wx;
}

// Three levels at 10, 100 and 300 m (20, 18, 14 degrees Celsius; wind components 2, 5, 9 m/s at the
// path's heading, compass 36.87 degrees, which rounds to 37), and the values a single parameter file
// would bring, which a profile passes none of.
tn::WeatherState profile() {
    tn::WeatherState wx = single(true);
    wx.Wxsingle = wx.Wxdual = false;
    wx.Wxcount = 3;
    for (std::size_t k = 0; k < 3; ++k) {
        wx.levels[k] = {{}, {}, std::array{10.0f, 100.0f, 300.0f}[k], 0.0f, std::array{20.0f, 18.0f, 14.0f}[k]};
        wx.levels[k].Windc.fill(-50.0f);
        wx.levels[k].Windc[36] = std::array{2.0f, 5.0f, 9.0f}[k];
        wx.levels[k].Ceff.fill(340.0f - float(k));
    }
    return wx;
}

// Arguments 9 to 19, 21 and 22 for each kind of weather and path (a22 NaN: null); the wind (9), the
// gradient (12) and the second wind (22) to single precision, all others exact.
// Single parameter: the direction from receiver to source is that of (-300, -400), 233.1301 degrees
// counter-clockwise from +x (a 3-4-5 triangle); a wind from compass 30 degrees stands at
// 90 - 30 = 60 degrees; the cosine of the difference, 173.1301 degrees, is -0.992827. The terrain of
// the path does not enter the atmosphere of this kind.
// Profile, by hand: the source end stands at 3.5 + 40 = 43.5 m above the datum, the receiver end at
// 1.5 + 238 = 239.5 m; ts = 18 - (-2 / 90) * (100 - 43.5) = 19.25556, tr = 14 - (-4 / 200) *
// (300 - 239.5) = 15.21, gradient (ts - tr) / (43.5 - 239.5) = -0.0206406; wind at the source
// 5 - (3 / 90) * 56.5 = 3.116667; ground temperature that of level 1. With both ends at one height
// above the datum (level terrain, the receiver raised to the source's 3.5 m) the gradient is 0 / 0,
// and the library gets it so.
TEST(NordPath, TheTwentyTwoArgumentsOfEachKindOfWeather) {
    const double cosine = std::cos((180.0 + std::atan2(4.0, 3.0) * 180.0 / M_PI - 60.0) * M_PI / 180.0);
    const double ts = 18.0 + 2.0 / 90.0 * 56.5, wsrc = 5 - 3.0 / 90 * 56.5, nan = std::nan("");
    using A = std::array<double, 11>;
    //                 wind       Tg Wx4  gradient        Wx1   Wx2 -  Wx3   p2  p3  p1
    const A one = {4 * cosine, 15, 5, double(-0.005f), 1.25, 2.5, 0, 3.75, 22, 33, 11};
    const A fit = {wsrc, 20, 0, (ts - 15.21) / (43.5 - 239.5), 0, 0, 0, 0, 22, 33, 11};
    const A fit_level = {wsrc, 20, 0, nan, 0, 0, 0, 0, 22, 33, 11};
    const struct { const char* what; tn::WeatherState wx; float base, rise, zr; A a; double tol9, tol12; const char* a21;
                   double a22; } kinds[] = {
        {"single", single(false), 40, 2, 1.5f, one, 4e-6, 0, "null", nan},
        {"single, level", single(false), 300, 0, 1.5f, one, 4e-6, 0, "null", nan},
        {"A_Param", single(true), 40, 2, 1.5f, one, 4e-6, 0, "set", 2 * cosine},
        {"profile", profile(), 40, 2, 1.5f, fit, 2e-6, 1e-7, "null", nan},
        {"profile, ends at one height", profile(), 40, 0, 3.5f, fit_level, 2e-6, 0, "null", nan},
    };
    for (const auto& k : kinds) {
        const auto [calls, gterm] = run(k.wx, k.base, k.rise, k.zr);
        ASSERT_EQ(calls.size(), 1u) << k.what;
        const tntest::StubCall& c = calls[0];
        // Arguments 1 to 8: the sections whole (absolute heights), the ends with heights above
        // ground, the bands; 20: Gterm as handed in.
        const std::vector<double> X = c.v(2), Z = c.v(3), G = c.v(4);
        ASSERT_TRUE(X.size() == 100 && Z.size() == 100 && G.size() == 100) << k.what;
        for (int s = 0; s < 100; ++s)
            EXPECT_TRUE(X[s] == 500.0f / 99.0f * float(s) && Z[s] == k.base + k.rise * float(s) && G[s] == 200 + s) << s;
        const std::vector<double> ends[] = {{100}, {1000, 2000, 3.5}, {1300, 2400, k.zr}, {3}, {1000, 1250, 1600}};
        for (int a : {1, 5, 6, 7, 8}) EXPECT_EQ(c.v(a), ends[a < 5 ? 0 : a - 4]) << k.what << ", argument " << a;
        EXPECT_EQ(c.v(20), std::vector<double>(3, 0.0)) << k.what;
        for (int a = 9; a <= 19; ++a) {
            const double want = k.a[a - 9], tol = a == 9 ? k.tol9 : a == 12 ? k.tol12 : 0.0;
            EXPECT_TRUE(std::isnan(want) ? std::isnan(c.d(a)) : std::abs(c.d(a) - want) <= tol)
                << k.what << ", argument " << a << ": " << c.raw(a)[0];
        }
        EXPECT_EQ(c.raw(21), std::vector<std::string>{k.a21}) << k.what;
        EXPECT_TRUE(std::isnan(k.a22) ? c.null(22) : std::abs(c.d(22) - k.a22) <= 2e-6) << k.what << ": " << c.raw(22)[0];
        // Gterm as the library wrote it, band b at -0.5 b dB, and nothing behind the last band.
        EXPECT_EQ(gterm, std::vector<float>({-0.5f, -1.0f, -1.5f, 7.0f})) << k.what;
    }
}

}  // namespace

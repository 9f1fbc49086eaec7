// The weather path's call of the library: the 22 arguments as the test stand-in of the library
// records them (tests/support/nord2000_stub.cpp), for the single parameter, the "A_Param" and the
// profile kinds of weather, and the loading of the library with its messages.
#include "path/nord2000.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "io/errors.h"
#include "path/nord_library.h"
#include "support/nord_stub_log.h"

namespace {

namespace fs = std::filesystem;

// The stand-in loaded as the program loads the library, its log in a fresh file.
struct StubRun {
    fs::path log;
    std::unique_ptr<tn::NordLibrary> lib;

    StubRun() {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        log = fs::temp_directory_path() /
              ("tn_nord_" + std::string(info->name()) + "_" + std::to_string(::getpid()) + ".log");
        fs::remove(log);
        ::setenv("TN_NORD_STUB_LOG", log.c_str(), 1);
        ::setenv("TRACKNOISE_NORD2000", TN_NORD_STUB, 1);
        lib = tn::load_nord_library("/nowhere", "wx.txt");
        ::unsetenv("TRACKNOISE_NORD2000");
    }
    ~StubRun() {
        ::unsetenv("TN_NORD_STUB_LOG");
        fs::remove(log);
    }
    std::vector<tntest::StubCall> calls() const { return tntest::read_stub_log(log.string()); }
};

// A path of 100 samples from the source at (1000, 2000), 3.5 m above ground, to the receiver at
// (1300, 2400), 1.5 m above ground: 500 m long, so sample k stands at 500 / 99 * k. The terrain
// rises from 40 m at the source by 2 m a sample to 238 m at the receiver; the ground value of
// sample k is 200 + k. Three bands from 1000 Hz.
struct Path {
    tn::PROFPT Terr[100];
    tn::PROFPT Gsec[100];
    float src[3] = {1000.0f, 2000.0f, 3.5f};
    float rcv[3] = {1300.0f, 2400.0f, 1.5f};
    float Freq[3] = {1000.0f, 1250.0f, 1600.0f};
    float Gterm[4] = {0.0f, 0.0f, 0.0f, 7.0f};   // the fourth is no band: it must stay 7

    explicit Path(float base = 40.0f, float rise = 2.0f) {
        for (int k = 0; k < 100; ++k) {
            Terr[k] = {500.0f / 99.0f * static_cast<float>(k), base + rise * static_cast<float>(k)};
            Gsec[k] = {Terr[k].d, 200.0f + static_cast<float>(k)};
        }
    }
    void run(const tn::PathModel& model) { tn::nord_path_effect(100, src, rcv, 3, Freq, Gterm, Terr, Gsec, model); }
};

tn::WeatherState single(bool dual) {
    tn::WeatherState wx;
    wx.Wxsingle = true;
    wx.Wxdual = dual;
    tn::WXPARAM& p = wx.param;
    p.Tempc = 15.0f;
    p.Relh = 55.0f;
    p.Grad = -0.005f;
    p.Wspeed = 4.0f;
    p.Wdir = 30.0f;
    p.Wextra1 = 1.25;
    p.Wextra2 = 2.5;
    p.Wextra3 = 3.75;
    p.Wextra4 = 5.0;
    p.Aparam = 2.0;
    return wx;
}

tn::PathModel model_of(const tn::WeatherState& wx, const tn::NordLibrary* lib) {
    tn::PathModel m;
    m.Usenord = true;
    m.wx = &wx;
    m.Nordpar1 = 11.0;
    m.Nordpar2 = 22.0;
    m.Nordpar3 = 33.0;
    m.nord = lib;
    return m;
}

// Arguments 1 to 8 and 20 of a call over Path: the sections whole, the ends, the bands.
void expect_geometry(const tntest::StubCall& c, const Path& p) {
    EXPECT_EQ(c.d(1), 100.0);
    const std::vector<double> X = c.v(2), Z = c.v(3), G = c.v(4);
    ASSERT_EQ(X.size(), 100u);
    ASSERT_EQ(Z.size(), 100u);
    ASSERT_EQ(G.size(), 100u);
    for (std::size_t k = 0; k < 100; ++k) {
        EXPECT_EQ(X[k], static_cast<double>(p.Terr[k].d)) << "sample " << k;
        EXPECT_EQ(Z[k], static_cast<double>(p.Terr[k].v)) << "sample " << k;   // absolute heights
        EXPECT_EQ(G[k], 200.0 + static_cast<double>(k)) << "sample " << k;
    }
    // The ends with heights above ground, 3.5 and 1.5 m, where the terrain stands at 40 and 238 m.
    EXPECT_EQ(c.v(5), (std::vector<double>{1000.0, 2000.0, 3.5}));
    EXPECT_EQ(c.v(6), (std::vector<double>{1300.0, 2400.0, 1.5}));
    EXPECT_EQ(c.d(7), 3.0);
    EXPECT_EQ(c.v(8), (std::vector<double>{1000.0, 1250.0, 1600.0}));
    EXPECT_EQ(c.v(20), (std::vector<double>{0.0, 0.0, 0.0})) << "Gterm as handed in";
}

// The wind from the single parameter file: the direction from receiver to source is that of
// (-300, -400), 233.1301 degrees counter-clockwise from +x (a 3-4-5 triangle); a wind from
// compass 30 degrees stands at 90 - 30 = 60 degrees; the cosine of the difference, 173.1301
// degrees, is -0.992827. Tolerance: single precision.
const double kCos = std::cos((180.0 + std::atan2(4.0, 3.0) * 180.0 / M_PI - 60.0) * M_PI / 180.0);

TEST(NordPath, SingleParameterArgumentsInOrder) {
    StubRun stub;
    const tn::WeatherState wx = single(false);
    Path p;
    p.run(model_of(wx, stub.lib.get()));
    const auto calls = stub.calls();
    ASSERT_EQ(calls.size(), 1u);
    const tntest::StubCall& c = calls[0];
    expect_geometry(c, p);
    EXPECT_NEAR(c.d(9), 4.0 * kCos, 4e-6) << "wind";
    EXPECT_EQ(c.d(10), 15.0) << "ground temperature";
    EXPECT_EQ(c.d(11), 5.0) << "Wextra4";
    EXPECT_EQ(c.d(12), static_cast<double>(-0.005f)) << "gradient";
    EXPECT_EQ(c.d(13), 1.25) << "Wextra1";
    EXPECT_EQ(c.d(14), 2.5) << "Wextra2";
    EXPECT_EQ(c.d(15), 0.0) << "the parameter no file sets";
    EXPECT_EQ(c.d(16), 3.75) << "Wextra3";
    EXPECT_EQ(c.d(17), 22.0) << "Nordpar2";
    EXPECT_EQ(c.d(18), 33.0) << "Nordpar3";
    EXPECT_EQ(c.d(19), 11.0) << "Nordpar1";
    EXPECT_TRUE(c.null(21));
    EXPECT_TRUE(c.null(22));
    // Gterm as the library wrote it, band b at -0.5 b dB, and nothing behind the last band.
    EXPECT_EQ(p.Gterm[0], -0.5f);
    EXPECT_EQ(p.Gterm[1], -1.0f);
    EXPECT_EQ(p.Gterm[2], -1.5f);
    EXPECT_EQ(p.Gterm[3], 7.0f);

    // The terrain of the path does not enter the atmosphere of a single parameter weather.
    Path flat(300.0f, 0.0f);
    flat.run(model_of(wx, stub.lib.get()));
    const auto again = stub.calls();
    ASSERT_EQ(again.size(), 2u);
    for (int arg = 9; arg <= 19; ++arg) EXPECT_EQ(again[1].raw(arg), c.raw(arg)) << "argument " << arg;
}

TEST(NordPath, AParamAddsTheSecondWindAndTheScratchAddress) {
    StubRun stub;
    const tn::WeatherState wx = single(true);
    Path p;
    p.run(model_of(wx, stub.lib.get()));
    const auto calls = stub.calls();
    ASSERT_EQ(calls.size(), 1u);
    const tntest::StubCall& c = calls[0];
    expect_geometry(c, p);
    EXPECT_NEAR(c.d(9), 4.0 * kCos, 4e-6);
    EXPECT_EQ(c.raw(21), std::vector<std::string>{"set"});
    EXPECT_NEAR(c.d(22), 2.0 * kCos, 2e-6) << "A_Param times the same cosine";
    EXPECT_EQ(c.d(19), 11.0);
}

// The profile of three levels at 10, 100 and 300 m (20, 18, 14 degrees Celsius; wind components
// 2, 5, 9 m/s at the path's heading, compass 36.87 degrees, which rounds to 37). The source end is
// at 3.5 + 40 = 43.5 m above the datum, the receiver end at 1.5 + 238 = 239.5 m. By hand:
// ts = 18 - (-2 / 90) * (100 - 43.5) = 19.25556, tr = 14 - (-4 / 200) * (300 - 239.5) = 15.21,
// gradient (ts - tr) / (43.5 - 239.5) = -0.0206406; wind at the source 5 - (3 / 90) * 56.5
// = 3.116667; ground temperature that of level 1.
TEST(NordPath, ProfileGradientWindAndGroundTemperature) {
    StubRun stub;
    tn::WeatherState wx;
    wx.Wxsingle = false;
    wx.Wxcount = 3;
    const float alt[3] = {10.0f, 100.0f, 300.0f}, temp[3] = {20.0f, 18.0f, 14.0f}, wind[3] = {2.0f, 5.0f, 9.0f};
    for (std::size_t k = 0; k < 3; ++k) {
        wx.levels[k].Alt = alt[k];
        wx.levels[k].Temp = temp[k];
        wx.levels[k].Windc.fill(-50.0f);
        wx.levels[k].Windc[36] = wind[k];
        wx.levels[k].Ceff.fill(340.0f - static_cast<float>(k));
    }
    // Values a single parameter file would bring: a profile passes none of them.
    wx.param = single(true).param;
    Path p;
    p.run(model_of(wx, stub.lib.get()));
    const auto calls = stub.calls();
    ASSERT_EQ(calls.size(), 1u);
    const tntest::StubCall& c = calls[0];
    expect_geometry(c, p);
    EXPECT_NEAR(c.d(9), 5.0 - 3.0 / 90.0 * 56.5, 2e-6) << "wind at the source";
    EXPECT_EQ(c.d(10), 20.0) << "temperature of level 1";
    EXPECT_NEAR(c.d(12), (18.0 + 2.0 / 90.0 * 56.5 - 15.21) / (43.5 - 239.5), 1e-7) << "gradient";
    for (int arg : {11, 13, 14, 15, 16}) EXPECT_EQ(c.d(arg), 0.0) << "argument " << arg;
    EXPECT_EQ(c.d(17), 22.0);
    EXPECT_EQ(c.d(18), 33.0);
    EXPECT_EQ(c.d(19), 11.0);
    EXPECT_TRUE(c.null(21));
    EXPECT_TRUE(c.null(22));
    EXPECT_EQ(p.Gterm[2], -1.5f);

    // Ends at one height above the datum (flat terrain, the receiver raised to the source's 3.5 m):
    // the gradient is 0 / 0, and the library gets it so.
    Path level(40.0f, 0.0f);
    level.rcv[2] = 3.5f;
    level.run(model_of(wx, stub.lib.get()));
    const auto again = stub.calls();
    ASSERT_EQ(again.size(), 2u);
    EXPECT_TRUE(std::isnan(again[1].d(12)));
}

TEST(NordLibrary, MessagesNameTheWeatherFileAndThePlace) {
    const fs::path dir = fs::temp_directory_path() / ("tn_nordlib_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    auto failure = [](const std::string& exedir) {
        try {
            tn::load_nord_library(exedir, "/data/case/wx.txt");
        } catch (const tn::RunError& e) {
            return std::string(e.what());
        }
        return std::string("no failure");
    };
    // (The program's folder is the default place; the whole-run tests look for the library there.)
    // Named by the variable: only that place is tried, even with a library beside the program.
    fs::copy_file(TN_NORD_STUB, dir / "libnord2000.so", fs::copy_options::overwrite_existing);
    ::setenv("TRACKNOISE_NORD2000", (dir / "missing.so").c_str(), 1);
    std::string why = failure(dir.string());
    EXPECT_EQ(why, "/data/case/wx.txt: this weather file selects the Nord2000 propagation model, but its library " +
                       (dir / "missing.so").string() + " (named by TRACKNOISE_NORD2000) does not exist");

    // A file that is no library.
    std::ofstream(dir / "text.so") << "not a library\n";
    ::setenv("TRACKNOISE_NORD2000", (dir / "text.so").c_str(), 1);
    why = failure(dir.string());
    EXPECT_NE(why.find("/data/case/wx.txt: this weather file selects the Nord2000 propagation model, but its library " +
                       (dir / "text.so").string() + " (named by TRACKNOISE_NORD2000) cannot be loaded: "),
              std::string::npos)
        << why;
    ::unsetenv("TRACKNOISE_NORD2000");
    fs::remove_all(dir);
}

}  // namespace

// Whole time-history files of small cases, against lines worked out here by an independent
// calculation (not a snapshot of the program's output).
//
// The cases are built so that every term of a level is known in closed form: flat terrain at 0 m,
// no humidity (so no absorption), a source table that is the same at every angle with one
// condition, and the ground term of the test stand-in for the weather-path library, which is
// -0.5 dB times the band's position. The expected lines are then computed below in double
// precision from the definitions (spherical spreading from 304.8037 m, the A-weighting of IEC
// 61672-1, energy sums, truncation to tenths, arrival time at the speed of sound from degrees
// Fahrenheit); the detectability metric is taken from DETECT, which has tests of its own.
// Values closer than 0.002 dB to a truncation boundary would make the comparison depend on the
// last bits of single precision; the test refuses such cases rather than compare them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "case_builder.h"
#include "io/format.h"
#include "results/detect.h"

using namespace tntest;

namespace {

constexpr double kBandTab[32] = {10, 12.5, 16, 20, 25, 31.5, 40, 50, 63, 80, 100, 125, 160, 200, 250, 315,
                                 400, 500, 630, 800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000,
                                 10000, 12500};

// A-weighting, IEC 61672-1 (E.6), in double precision.
double a_weight(double f) {
    const double f2 = f * f;
    const double ra = (12194.0 * 12194.0 * f2 * f2) /
                      ((f2 + 20.6 * 20.6) * std::sqrt((f2 + 107.7 * 107.7) * (f2 + 737.9 * 737.9)) * (f2 + 12194.0 * 12194.0));
    return 20.0 * std::log10(ra) + 2.0;
}

struct Source {
    std::vector<float> freqs;
    std::function<float(int)> level;   // band b from 1
};

struct Pt {
    double time, x, y, z;
};

// A level as the table file holds it: one decimal.
double as_written(float v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%5.1f", v);
    return std::strtod(buf, nullptr);
}

// Tenths of a level, truncated towards zero, -999 at the least; the guard keeps clear of boundaries.
int tenths_checked(double level) {
    const double v = level * 10.0;
    const double frac = std::fabs(v - std::trunc(v));
    EXPECT_TRUE(frac > 0.02 && frac < 0.98) << "level " << level << " lies too close to a tenth";
    const int t = static_cast<int>(std::trunc(v));
    return t < -999 ? -999 : t;
}

// The expected data line of one point for a receiver at (rx, ry, rz) above flat ground at 0 m.
std::string expected_line(int n, const Pt& p, double rx, double ry, double rz, const Source& src, double maxdist,
                          double tstart, double tfahr) {
    const int nband = static_cast<int>(src.freqs.size());
    int bandoff = 1;
    for (int k = 0; k < 32; ++k) {
        if (kBandTab[k] == src.freqs[0]) {
            bandoff = k + 1;
            break;
        }
    }
    const double d = std::sqrt((p.x - rx) * (p.x - rx) + (p.y - ry) * (p.y - ry) + (p.z - rz) * (p.z - rz));
    const double cspeed = std::sqrt(tfahr + 459.0) * 49.1 / 3.2808;
    int row[34];
    for (int& v : row) v = -999;
    if (d < maxdist) {
        const double spread = 20.0 * std::log10(304.8037 / d);
        double e_flat = 0.0, e_a = 0.0;
        for (int b = 1; b <= nband; ++b) {
            const double level = as_written(src.level(b)) + spread - 0.5 * b;
            e_flat += std::pow(10.0, level / 10.0);
            e_a += std::pow(10.0, (level + a_weight(src.freqs[static_cast<std::size_t>(b - 1)])) / 10.0);
            row[b + bandoff] = tenths_checked(level);
        }
        row[0] = tenths_checked(10.0 * std::log10(e_flat));
        row[1] = tenths_checked(10.0 * std::log10(e_a));
    }
    // The arrival time is a single-precision sum: its last printed decimal depends on that width.
    const float t = static_cast<float>(p.time) + static_cast<float>(d) / static_cast<float>(cspeed) +
                    static_cast<float>(tstart);
    // Metric over bands 17 to 40 against an ambient of -99.9 dB in every band.
    float signal[24], ambient[24];
    for (int k = 0; k < 24; ++k) {
        signal[k] = static_cast<float>(row[9 + k]) / 10.0f;
        ambient[k] = -99.9f;
    }
    int kbest = 0;
    float dbest = 0.0f, dtotal = 0.0f;
    tn::DETECT(signal, ambient, kbest, dbest, dtotal);
    long m = std::lround(10.0 * std::log10(static_cast<double>(dtotal)));
    if (m >= 9999) m = 9999;
    if (m <= -999) m = -999;
    std::string line;
    tn::append_i(line, n, 4);
    tn::append_f(line, t, 12, 3);
    for (int v : row) {
        line += ' ';
        tn::append_i(line, v, 4);
    }
    line += ' ';
    tn::append_i(line, m, 4);
    return line + " ";
}

struct GoldenCase {
    CaseDir dir{"golden"};
    Source src;
    std::vector<Pt> pts;
    double rx = 500000.0, ry = 4000000.0, rz = 1.5;

    GoldenCase(Source s, std::vector<Pt> p) : src(std::move(s)), pts(std::move(p)) {
        dir.write_grid("flat.grd", "ZALT", 5, 5, 1000.0f, 498000.0f, 3998000.0f, 11, [](int, int) { return 0.0f; });
        std::vector<CaseDir::Point> traj;
        for (const Pt& q : pts) traj.push_back({q.time, q.x, q.y, q.z, 90, 0, 100, 80, 0});
        dir.write_trajectory("track.trj", 59.0, 70.0, traj);
        dir.write_source("src.lst", "t.tab", src.freqs, [this](int b, int) { return src.level(b); });
        // Single-parameter weather of 20 degrees Celsius (68 F) and no humidity: the weather path, no
        // absorption, and the air of the weather file, not the trajectory's 59 F and 70 %.
        dir.write("wx.txt", "Single Parameter Weather\nvalues\n20.0 0.0 0.0 0.0 0.0 0 0 0 0 0\n");
        dir.write("sites.txt", "x y z name\n500000.0 4000000.0 1.5 'Centre'\n");
        dir.write_control("case.ctl", {dir.path("flat.grd"), "-", dir.path("sites.txt"), dir.path("track.trj"),
                                       dir.path("wx.txt"), "-", dir.path("src.lst")});
    }

    std::vector<std::string> run_sites(double tstart_h, double tstart_m, const std::string& sec) {
        char hm[64];
        std::snprintf(hm, sizeof hm, "hrs: %4d\nmin: %4d\n", static_cast<int>(tstart_h), static_cast<int>(tstart_m));
        dir.write("run.txt", "open\n" + dir.path("case.ctl") + "\nsite\n" + dir.path("out") + "\nopt: no\n" + hm +
                                 "sec: " + sec + "\n");
        ::setenv("TRACKNOISE_NORD2000", TN_NORD_STUB, 1);
        ::setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
        const RunResult r = run({kProgram, dir.path("run.txt")});
        ::unsetenv("TRACKNOISE_NORD2000");
        ::unsetenv("SOURCE_DATE_EPOCH");
        EXPECT_EQ(r.code, 0) << r.err;
        return lines_of(dir.read("out.tis"));
    }
};

}  // namespace

TEST(TimeHistory, TwentyFourBandsFrom50HzOverheadObliqueAndOutOfRange) {
    Source src{{50, 63, 80, 100, 125, 160, 200, 250, 315, 400, 500, 630, 800, 1000, 1250, 1600, 2000, 2500, 3150,
                4000, 5000, 6300, 8000, 10000},
               [](int b) { return 71.23f + 0.37f * static_cast<float>(b); }};
    const std::vector<Pt> pts = {
        {0.0, 500000.0, 4000000.0, 290.0},      // straight overhead
        {1.5, 500400.0, 4000300.0, 450.7},      // oblique
        {3.0, 520000.0, 4000000.0, 300.0},      // 20 km away: beyond the 18288 m limit
    };
    GoldenCase c(src, pts);
    const std::vector<std::string> got = c.run_sites(1, 30, "15500");   // 1 h 30 min 15.5 s
    ASSERT_EQ(got.size(), 9u + 9u + 3u + 1u);   // the section's head is the weather run test's, line by line
    const double tstart = 5415.5;
    for (int n = 1; n <= 3; ++n) {
        EXPECT_EQ(got[17 + static_cast<std::size_t>(n)],
                  expected_line(n, pts[static_cast<std::size_t>(n - 1)], c.rx, c.ry, c.rz, src, 18288.0, tstart, 68.0))
            << "point " << n;
    }
    EXPECT_EQ(got[21], "---End of This Data Section---");
}

TEST(TimeHistory, FirstFrequencyNotInTheBandTableStartsAtBand10) {
    Source src{{55.0f, 70.0f, 90.0f}, [](int b) { return 88.11f - 1.3f * static_cast<float>(b); }};
    const std::vector<Pt> pts = {{2.0, 500150.0, 4000050.0, 212.4}};
    GoldenCase c(src, pts);
    const std::vector<std::string> got = c.run_sites(0, 0, "  2.5");
    ASSERT_EQ(got.size(), 9u + 9u + 1u + 1u);
    EXPECT_EQ(got[18], expected_line(1, pts[0], c.rx, c.ry, c.rz, src, 18288.0, 2.5, 68.0));
    // The three bands stand under 10, 11 and 12 whatever their true frequencies.
    EXPECT_NE(got[18].substr(26, 15), " -999 -999 -999");
    EXPECT_EQ(got[18].substr(41, 5), " -999");
}

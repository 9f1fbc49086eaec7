// Whole runs of the program on the weather path: a profile case against the test stand-in of the
// Nord2000 library, compared whole with a time-history file worked out by hand below (an independent
// calculation, not a snapshot of the program's output), and the run that cannot find the library.
#include <gtest/gtest.h>

#include <filesystem>

#include "case_builder.h"
#include "support/nord_stub_log.h"

using namespace tntest;

namespace {

// The case: flat terrain at 250 m (5 by 5 nodes, 1000 m apart, node (1, 1) at (498000, 3998000),
// zone 11); default ground; one receiver 1.5 m above ground at (500000, 4000000); a source of two
// bands, 1000 Hz at 84.3 dB and 1250 Hz at 81.7 dB at every angle; a trajectory of three points
// in range and one beyond the 18288 m limit; a weather profile of three levels.
//
// Profile: levels at 328.08, 984.24 and 3280.80 feet (100, 300 and 1000 m), temperatures 15.00,
// 13.00 and 8.50 degrees Celsius, wind 2, 4 and 6 m/s from 270 degrees, and a dew point of -200
// degrees Celsius, whose vapour pressure is 0 in single precision: relative humidity 0, so the run
// computes no absorption.
struct WeatherCase {
    CaseDir dir{"wxrun"};

    WeatherCase() {
        dir.write_grid("terrain.grd", "ZALT", 5, 5, 1000.0f, 498000.0f, 3998000.0f, 11,
                       [](int, int) { return 250.0f; });
        dir.write_trajectory("track.trj", 59.0, 70.0,
                             {{0.0, 499000, 4000300, 650, 90, 0, 100, 80, 0},
                              {2.0, 499600, 4000300, 640, 90, 0, 100, 80, 0},
                              {4.0, 500200, 4000300, 630, 90, 0, 100, 80, 0},
                              {20.0, 520000, 4000300, 600, 90, 0, 100, 80, 0}});
        dir.write_source("src.lst", "tone.tab", {1000.0f, 1250.0f},
                         [](int b, int) { return b == 1 ? 84.3f : 81.7f; });
        dir.write("sites.txt", "x y z name\n500000.0 4000000.0 1.5 'Farm'\n");
        dir.write("wx.txt",
                  "Weather profile\nline 2\nline 3\nline 4\nline 5\nline 6\nline 7\n"
                  //       temp    dew     wind    dir     -       -          -       height ft
                  "LEVEL1    15.00 -200.00    2.00  270.00    0.00       0.00     0.0     328.08\n"
                  "LEVEL2    13.00 -200.00    4.00  270.00    0.00       0.00     0.0     984.24\n"
                  "LEVEL3     8.50 -200.00    6.00  270.00    0.00       0.00     0.0    3280.80\n"
                  "          0.00    0.00    0.00    0.00    0.00       0.00     0.0       0.00\n");
        dir.write_control("case.ctl", {"terrain.grd", "-", "sites.txt", "track.trj", "wx.txt", "-", "src.lst"});
        dir.write("run.txt", "open\ncase.ctl\nsite\nout\nopt: no\nhrs:    0\nmin:    1\nsec:  0.000\nstop\n");
    }

    // Runs the program in the case's folder with the environment given (and no library named
    // unless it says so); returns the exit code.
    int run(const std::string& env, const std::string& program = kProgram) const {
        return shell(dir, "env -u TRACKNOISE_NORD2000 " + env + " '" + program + "' run.txt > console.txt 2> errors.txt");
    }
};

// The expected file, worked out by hand (the arithmetic of single precision emulated where a
// printed digit depends on it: the slant range and the arrival time).
//
// Heights: terrain 250 m everywhere, so the source stands at z - 250 above ground and the receiver
// at 251.5 m above the datum. Slant ranges from (x, y, z) to (500000, 4000000, 251.5): 1117.4982,
// 633.1921, 522.7449 m, and 20005.29 m for point 4, beyond 18288 m.
// Spreading 20 log10(304.8037 / R): -11.28453, -6.35031, -4.68539 dB.
// Ground term of the stand-in: -0.5 dB in band 1, -1.0 dB in band 2. No absorption (humidity 0).
// Band levels 84.3 + S - 0.5 and 81.7 + S - 1.0: 72.515 and 69.415; 77.449 and 74.349; 79.115 and
// 76.015 dB, in tenths truncated 725 694, 774 743, 791 760.
// F: 10 log10 of the energy sum: 74.25, 79.18, 80.85; A: the same with A-weights of -0.0000011 dB
// at 1000 Hz and +0.5761 dB at 1250 Hz (IEC 61672-1 with the constants of the program): 74.44,
// 79.38, 81.04. No level lies within 0.002 dB of a tenth.
// Metric: an ambient of -99.9 dB in every band; the gain of a band is then the same in the index
// and in its internal noise, so a band's index is 1.75 * 10^((signal - threshold) / 10), with the
// thresholds 0.5 dB at 1000 Hz and 0.0 dB at 1250 Hz; the bands at -99.9 add nothing that shows.
// 10 log10 of the root-sum-square: 75.003, 79.903, 81.603, rounded 75, 80, 82. Point 4: every band
// at -99.9, 1.75 * 10^-9.99 * sqrt(sum of 10^(-threshold / 5)) over the 24 thresholds, -89.77,
// rounded -90.
// Arrival times: the profile's level-1 temperature, 15 degrees Celsius, goes on as 15 degrees
// Fahrenheit (deliberately unconverted): speed of sound sqrt(15 + 459) * 49.1 / 3.2808 =
// 325.82986 m/s. Time + R / c + 60 s in single precision: 63.430, 63.943, 65.604, 141.398.
// Header: latitude of (500000, 4000000) in zone 11 by the Krueger series of the transverse
// Mercator (Karney 2011) on WGS 84, 36.14471810 degrees; longitude that of the central meridian.
std::vector<std::string> expected_file() {
    const std::string no20 = " -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999 -999";
    const std::string no10 = " -999 -999 -999 -999 -999 -999 -999 -999 -999 -999";
    std::vector<std::string> v = {
        "Filename: out.tis",
        "terrain.grd",
        "-",
        "sites.txt",
        "-",
        "-",
        "track.trj",
        "src.lst",
        "---End File Header---",
        "Site: Farm" + std::string(60, ' '),
        "Integ:                   Spec:   4",
        "Lat:   36.1447181    Long: -117.0000000          User X:        2000.    User Y:        2000.",
        "UTM Zone:  11    Easting:  500000.    Northing: 4000000.",
        " 1 Jan 1970",
        "Echo",
        "SP#    TIME       F     A    10   11   12   13   14   15   16   17   18   19   20   21   22   23   24   25   26   "
        "27   28   29   30   31   32   33   34   35   36   37   38   39   40   41   42",
        "*** ************ **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** ****"
        " **** **** **** **** **** **** **** **** **** **** **** **** **** **** **** ****",
        "   0 AMBIENT    " + no10 + no10 + no10 + " -999 -999 -999 -999",
        // SP#, time, F, A, bands 10 to 29, bands 30 and 31, bands 32 to 41, metric
        "   1      63.430  742  744" + no20 + "  725  694" + no10 + "   75 ",
        "   2      63.943  791  793" + no20 + "  774  743" + no10 + "   80 ",
        "   3      65.604  808  810" + no20 + "  791  760" + no10 + "   82 ",
        "   4     141.398 -999 -999" + no20 + " -999 -999" + no10 + "  -90 ",
        "---End of This Data Section---",
    };
    return v;
}

TEST(WeatherRun, ProfileCaseAgainstTheStandIn) {
    WeatherCase c;
    const int code = c.run("SOURCE_DATE_EPOCH=0 TRACKNOISE_NORD2000='" + std::string(TN_NORD_STUB) +
                           "' TN_NORD_STUB_LOG='" + c.dir.path("calls.log") + "'");
    ASSERT_EQ(code, 0) << c.dir.read("errors.txt");
    const std::vector<std::string> got = lines_of(c.dir.read("out.tis"));
    const std::vector<std::string> want = expected_file();
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t k = 0; k < want.size(); ++k) EXPECT_EQ(got[k], want[k]) << "line " << k + 1;

    // What the library was given: one call per point in range, none for point 4.
    const std::vector<StubCall> calls = read_stub_log(c.dir.path("calls.log"));
    ASSERT_EQ(calls.size(), 3u);
    const double above[3] = {400.0, 390.0, 380.0};
    for (std::size_t n = 0; n < 3; ++n) {
        const StubCall& call = calls[n];
        EXPECT_EQ(call.v(3), std::vector<double>(100, 250.0)) << "absolute terrain heights";
        EXPECT_EQ(call.v(5)[2], above[n]) << "source height above ground";
        EXPECT_EQ(call.v(6), (std::vector<double>{500000.0, 4000000.0, 1.5}));
        EXPECT_EQ(call.v(4), std::vector<double>(100, 200.0)) << "default ground above 5 m";
    }
}

// Without the library the run stops at the set-up, before any result file, and says which weather
// file asked for it and where it was looked for. The program is reached through a link in the
// case's folder, which is then its folder; put the library there and the same run goes through.
TEST(WeatherRun, NoLibraryStopsBeforeAnyResult) {
    WeatherCase c;
    std::filesystem::create_symlink(kProgram, c.dir.dir() / "tracknoise");
    const std::string linked = c.dir.path("tracknoise");
    EXPECT_NE(c.run("SOURCE_DATE_EPOCH=0", linked), 0);
    EXPECT_EQ(c.dir.read("errors.txt"),
              "tracknoise: wx.txt: this weather file selects the Nord2000 propagation model, but its library " +
                  c.dir.path("libnord2000.so") +
                  " (in the program's folder) does not exist; put libnord2000.so there, or name the library in the "
                  "environment variable TRACKNOISE_NORD2000\n");
    EXPECT_FALSE(c.dir.exists("out.tis"));

    std::filesystem::copy_file(TN_NORD_STUB, c.dir.dir() / "libnord2000.so");
    EXPECT_EQ(c.run("SOURCE_DATE_EPOCH=0", linked), 0) << c.dir.read("errors.txt");
    EXPECT_TRUE(c.dir.exists("out.tis"));
}

}  // namespace

// tracknoise-metrics as a whole: a grid run of a small case read into a table, a GeoTIFF with the
// lattice's georeferencing, contours and a map; cumulative metrics of two grid results against a hand calculation; and input
// that is not right (not a result, cut, receivers that do not match), which stops with the file,
// the line and a non-zero exit, and leaves no output.
#include <gdal.h>
#include <ogr_srs_api.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "batch/case_builder.h"
#include "io/test_files.h"
#include "metrics/run.h"
#include "results/timehist.h"

using namespace tntest;

namespace {

RunResult metrics(std::vector<std::string> args) {
    args.insert(args.begin(), kBin + "/tracknoise-metrics");
    return run(args, tn::run_metrics);
}

struct Receiver {
    const char* name;
    float x, y;
    int tenths;   // a constant A level over 11 points 1 s apart (flat 3 dB above)
};

// A time-history file written with the result writer's own layout routines.
std::string result_text(bool grid, tn::GridBlock block, const std::vector<Receiver>& receivers) {
    tn::RunHeader run;
    run.Runout = grid ? "r.tig" : "r.tis";
    run.grid = grid;
    run.block = block;
    std::string text;
    tn::append_file_header(text, run);
    for (const Receiver& r : receivers) {
        tn::ReceiverHistory h;
        h.head.Name = r.name;
        h.head.x = r.x;
        h.head.y = r.y;
        h.head.Utmzone = 11;
        h.head.lat = h.head.lon = NAN;   // no latitude and longitude: the whole-metre position serves
        for (int& v : h.head.Ambrow) v = tn::kMissingTenths;
        for (int n = 0; n <= 10; ++n) {
            tn::HistoryPoint p;
            p.t = static_cast<float>(n);
            for (int& v : p.Outrow) v = tn::kMissingTenths;
            p.Outrow[0] = r.tenths + 30;
            p.Outrow[1] = r.tenths;
            h.points.push_back(p);
        }
        tn::append_section(text, h, true);
    }
    return text;
}

}  // namespace

TEST(MetricsProgram, GridRunGivesATableAGeoTiffAndAMap) {
    // Terrain of 5 by 5 nodes 100 m apart from (500000, 4000000) in zone 11. The grid run divides
    // it into 4 columns (400 / 3 m apart) and 5 rows (100 m apart) and computes columns 1 to 4,
    // rows 2 to 5: 16 receivers, j fastest.
    CaseDir dir{"metrics"};
    dir.write_grid("terrain.grd", "ZALT", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11, [](int, int) { return 10.0f; });
    dir.write_trajectory("track.trj", 59.0, 70.0,
                         {{0, 499000, 4000200, 300, 90, 0, 100, 80, 0}, {10, 501000, 4000200, 300, 90, 0, 100, 80, 0}});
    dir.write_source("src.lst", "t.tab", {500.0f, 630.0f, 800.0f, 1000.0f}, [](int b, int) { return 90.0f + b; });
    dir.write_control("case.ctl", {dir.path("terrain.grd"), "-", "-", dir.path("track.trj"), "-", "-", dir.path("src.lst")});
    dir.write("run.txt", "open\n" + dir.path("case.ctl") + "\ngrid\n" + dir.path("g") +
                             "\nii:    4\nii:    1   4\njj:    5\njj:    2   5\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n");
    const RunResult run = tntest::run({kProgram, dir.path("run.txt")});
    ASSERT_EQ(run.code, 0) << run.err;

    const RunResult r = metrics({dir.path("g.tig"), "--map", dir.path("g.svg")});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.err, "");   // the map found the case's terrain and trajectory
    EXPECT_TRUE(dir.exists("g.contours.gpkg"));
    EXPECT_TRUE(holds(dir.read("g.svg"), "<svg"));
    const std::vector<std::string> csv = lines_of(dir.read("g.metrics.csv"));
    ASSERT_EQ(csv.size(), 1u + 16u);
    EXPECT_EQ(csv[0], "site,x,y,lat,lon,LAMAX,TLAMAX,LFMAX,SEL,SEL10,SELF,LAEQ,TA65,TA85,TAUD,PTAUD");
    EXPECT_EQ(csv[1].substr(0, 35), "00010002,500000.00,4000100.00,36.14");
    // Column 2, row 2, by hand; 0.05 m for the run's positions in floats.
    EXPECT_EQ(csv[5].substr(0, 9), "00020002,");
    EXPECT_NEAR(std::stod(csv[5].substr(9, 9)), 500000.0 + 400.0 / 3.0, 0.05) << csv[5];

    // The GeoTIFF read back with GDAL, by hand: the left edge lies half a column west of 500000,
    // the top edge half a row north of row 5 at 4000400. Tolerance 0.05 m: positions are floats.
    GDALAllRegister();
    GDALDatasetH ds = GDALOpen(dir.path("g.metrics.tif").c_str(), GA_ReadOnly);
    ASSERT_NE(ds, nullptr);
    EXPECT_EQ(GDALGetRasterXSize(ds), 4);
    EXPECT_EQ(GDALGetRasterYSize(ds), 4);
    double gt[6];
    GDALGetGeoTransform(ds, gt);
    const double want[6] = {500000.0 - 200.0 / 3.0, 400.0 / 3.0, 0.0, 4000450.0, 0.0, -100.0};
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(gt[k], want[k], 0.05) << k;
    EXPECT_STREQ(OSRGetAuthorityCode(GDALGetSpatialRef(ds), nullptr), "32611");
    GDALClose(ds);
    for (const char* left : {"g.metrics.csv.partial", "g.metrics.tif.partial", "g.contours.gpkg.partial", "g.metrics.csv.lock"}) {
        EXPECT_FALSE(dir.exists(left)) << left;
    }
}

TEST(MetricsProgram, CumulativeMetricsOfTwoGridResults) {
    // Receiver 2 of the block is in range of both results, receiver 1 of the first only (the
    // second run passed it over). Event A: 80 dB(A) for 10 s, SEL 90, 10 by day, 2 by evening, 1
    // by night; event B: 70 dB(A) for 10 s, SEL 80, 20, 5 and 3. With E = 10^(SEL/10):
    //   receiver 2: Ed = 10e9 + 20e8 = 1.2e10, Ee = 2e9 + 5e8 = 2.5e9, En = 1e9 + 3e8 = 1.3e9
    //     DNL   = 10 log10((Ed + Ee + 10 En) / 86400)       = 10 log10(2.75e10 / 86400)    = 55.028
    //     CNEL  = 10 log10((Ed + 3 Ee + 10 En) / 86400)     = 10 log10(3.25e10 / 86400)    = 55.754
    //     LDEN  = 10 log10((Ed + 10^0.5 Ee + 10 En) / 86400) = 10 log10(3.2906e10 / 86400) = 55.808
    //     LEQ24 = 10 log10((Ed + Ee + En) / 86400)          = 10 log10(1.58e10 / 86400)    = 52.621
    //     NA70 = 13 + 28 = 41, NA75 = 13
    //   receiver 1: Ed = 1e10, Ee = 2e9, En = 1e9: DNL 54.059, CNEL 54.785, LDEN 54.839, LEQ24 51.774,
    //     NA70 = NA75 = 13
    CaseDir dir{"metrics"};
    const tn::GridBlock block{2, 1, 2, 1, 1, 1};
    dir.write("a.tig", result_text(true, block, {{"00010001", 500000, 4000000, 800}, {"00020001", 500100, 4000000, 800}}));
    dir.write("b.tig", result_text(true, block, {{"00020001", 500100, 4000000, 700}}));
    dir.write("day.csv", "file,day,evening,night\na.tig,10,2,1\n\"b.tig\", 20, 5, 3\n");
    const RunResult r = metrics({"--ops", dir.path("day.csv"), "--na", "70,75"});
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<std::string> csv = lines_of(dir.read("day.metrics.csv"));
    ASSERT_EQ(csv.size(), 3u);
    EXPECT_EQ(csv[0], "site,x,y,lat,lon,DNL,CNEL,LDEN,LEQ24,NA70,NA75");
    EXPECT_EQ(csv[1], "00010001,500000.00,4000000.00,,,54.1,54.8,54.8,51.8,13,13");
    EXPECT_EQ(csv[2], "00020001,500100.00,4000000.00,,,55.0,55.8,55.8,52.6,41,13");
    EXPECT_TRUE(dir.exists("day.metrics.tif"));
}

TEST(MetricsProgram, BadInputStopsWithFileLineAndNoOutput) {
    CaseDir dir{"metrics"};
    const std::string site = result_text(false, {}, {{"North", 500000, 4000000, 600}});
    dir.write("a.tis", site);
    dir.write("c.tis", result_text(false, {}, {{"South", 500000, 4000000, 600}}));
    dir.write("cut.tis", site.substr(0, site.find("   5 ")));   // cut before point 5
    dir.write("g1.tig", result_text(true, {2, 1, 2, 1, 1, 1}, {{"00010001", 500000, 4000000, 800}}));
    dir.write("g2.tig", result_text(true, {3, 1, 3, 1, 1, 1}, {{"00010001", 500000, 4000000, 800}}));
    dir.write("track.trj", "Flight track\nline 2\n");
    dir.write("mismatch.csv", "file,day,evening,night\na.tis,1,0,0\nc.tis,1,0,0\n");
    dir.write("blocks.csv", "file,day,evening,night\ng1.tig,1,0,0\ng2.tig,1,0,0\n");
    dir.write("counts.csv", "file,day,evening,night\na.tis,1,-2,0\n");
    dir.write("cut.metrics.csv", "an earlier table\n");
    const struct {
        const char* what;
        std::vector<std::string> args;
        int code;
        std::string message;
        const char* output;   // must not exist afterwards
    } cases[] = {
        {"not a result file", {dir.path("track.trj")}, 1, dir.path("track.trj") + ":1: expected 'Filename: ' and a result's name", "track.metrics.csv"},
        {"a cut file", {dir.path("cut.tis")}, 1, dir.path("cut.tis") + ":23: expected data line 5 of 11 of receiver 'North', found the end of the file (the file is cut short)", nullptr},
        {"receivers that do not match", {"--ops", dir.path("mismatch.csv")}, 1,
         dir.path("c.tis") + ":10: expected the receiver 'North' of " + dir.path("a.tis") + ":10, found 'South'", "mismatch.metrics.csv"},
        {"grid blocks that do not match", {"--ops", dir.path("blocks.csv")}, 1,
         dir.path("g2.tig") + ":7: expected the grid block of " + dir.path("g1.tig") + " (columns 1 to 2, rows 1 to 1), found columns 1 to 3", "blocks.metrics.csv"},
        {"a count below 0", {"--ops", dir.path("counts.csv")}, 1, dir.path("counts.csv") + ":2: field 3: expected the number of events by evening", "counts.metrics.csv"},
        {"an unknown option", {"--sel", dir.path("a.tis")}, 2, "unknown option '--sel'", "a.metrics.csv"},
        {"a map of a site run", {dir.path("a.tis"), "--map", dir.path("a.png")}, 1, "a site run has no map", "a.png"},
        {"plots of a grid run", {dir.path("g1.tig"), "--plot", dir.path("g1.png")}, 1, "--plot draws the time histories of one site run", "g1.png"},
        {"a picture of another kind", {dir.path("g1.tig"), "--map", dir.path("g1.jpg")}, 2, "--map: expected a picture's name ending in .png or .svg", "g1.metrics.csv"},
        {"a map of a metric in seconds", {dir.path("g1.tig"), "--map", dir.path("g1.png"), "--map-metric", "TAUD"}, 2,
         "--map-metric: expected a metric in dB of this run (LAMAX, LFMAX, SEL, SEL10, SELF, LAEQ), found 'TAUD'", "g1.png"},
    };
    for (const auto& c : cases) {
        const RunResult r = metrics(c.args);
        EXPECT_EQ(r.code, c.code) << c.what;
        EXPECT_EQ(r.err.rfind("tracknoise-metrics: ", 0), 0u) << c.what;
        EXPECT_TRUE(holds(r.err, c.message)) << c.what;
        if (c.output) {
            EXPECT_FALSE(dir.exists(c.output)) << c.what;
        }
    }
    EXPECT_EQ(dir.read("cut.metrics.csv"), "an earlier table\n");
    for (const auto& e : std::filesystem::directory_iterator(dir.dir())) {
        const std::string n = e.path().filename().string();
        EXPECT_TRUE(n.find(".partial") == std::string::npos && n.find(".lock") == std::string::npos) << n;
    }
}

TEST(MetricsProgram, PlotsOfFiveSitesMakeTwoFigures) {
    CaseDir dir{"metrics"};
    dir.write("s.tis", result_text(false, {}, {{"A", 500000, 4000000, 600}, {"B", 500100, 4000000, 610}, {"C", 500200, 4000000, 620},
                                               {"D", 500300, 4000000, 630}, {"E", 500400, 4000000, 640}}));
    const RunResult r = metrics({dir.path("s.tis"), "--plot", dir.path("s.png"), "--no-csv"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "Wrote " + dir.path("s.png") + " (A, B, C, D)\nWrote " + dir.path("s-2.png") + " (E)\n");
    EXPECT_EQ(dir.read("s-2.png").substr(1, 3), "PNG");
}

// Whole time-history files of single paths over the example terrain, one for each kind of path the
// ground model tells apart: flat over hard ground (the lake), flat over soft ground, over a hill,
// and across a valley. The source stands at the lowest source height above the ground (a trajectory
// altitude of 0 is raised to it). Each geometry was of its kind by the path dispatch when the files
// were written; the dispatch's classes are the ground tests' (grndprop_test.cpp).
//
// The expected files in tests/batch/golden are a snapshot of the program's own output (written with
// TN_UPDATE_GOLDEN=1), checked by hand for plausibility: a hard flat path stays a few dB above free
// field at low frequencies with interference dips higher up; soft ground takes 10 dB or more out of
// the mid bands; the hill's shadow takes 15 to 30 dB out of the high bands. They guard the model against
// unintended change; the numerics behind them are tested against independent references in
// tests/ground.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "case_builder.h"

using namespace tntest;

namespace {

const fs::path kGolden = fs::path(TN_SOURCE_DIR) / "tests" / "batch" / "golden";

struct PathCase {
    const char* name;
    float rx, ry;   // receiver, metres east and north of the terrain's south-west node
    float sx, sy;   // source
};

const PathCase kCases[] = {
    {"flat_hard", 350.0f, 2300.0f, 750.0f, 2300.0f},
    {"flat_soft", 0.0f, 0.0f, 300.0f, 1200.0f},
    {"hill", 0.0f, 0.0f, 2100.0f, 1500.0f},
    {"valley", 0.0f, 0.0f, 900.0f, 900.0f},
};

constexpr float kX0 = 500000.0f;
constexpr float kY0 = 4000000.0f;

void write_case(const CaseDir& dir, const PathCase& c) {
    char line[256];
    std::snprintf(line, sizeof line, "x y z name\n%.1f %.1f 1.5 '%s'\n", kX0 + c.rx, kY0 + c.ry, c.name);
    dir.write("sites.txt", line);
    const double x = kX0 + c.sx, y = kY0 + c.sy;
    dir.write_trajectory("track.trj", 59.0, 70.0, {{0, x, y, 0, 90, 0, 100, 85, 0}, {1, x, y, 0, 90, 0, 100, 85, 0}});
    dir.write_control("path.ctl", {"terrain.grd", "ground.imp", "sites.txt", "track.trj", "-", "-", "jet.lst"});
    dir.write("path.run", "open\npath.ctl\nsite\npath\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n");
}

}  // namespace

TEST(GroundGolden, FlatHardFlatSoftHillAndValleyPaths) {
    CaseDir dir("ground_golden");
    const fs::path ex = fs::path(TN_SOURCE_DIR) / "examples" / "flyover";
    for (const char* f : {"terrain.asc", "ground.asc", "jet.lst", "jet60.tab", "jet85.tab", "jet100.tab"}) {
        fs::copy_file(ex / f, dir.dir() / f);
    }
    ASSERT_EQ(example_grids(dir), 0);
    const bool update = std::getenv("TN_UPDATE_GOLDEN") != nullptr;
    for (const PathCase& c : kCases) {
        write_case(dir, c);
        fs::remove(dir.path("path.tis"));
        ASSERT_EQ(shell(dir, "SOURCE_DATE_EPOCH=1700000000 '" + kProgram + "' path.run > console.txt 2>&1"), 0)
            << dir.read("console.txt");
        const std::string got = dir.read("path.tis");
        const fs::path want_file = kGolden / (std::string(c.name) + ".tis");
        if (update) {
            fs::create_directories(kGolden);
            std::ofstream(want_file, std::ios::binary) << got;
            continue;
        }
        std::ifstream in(want_file, std::ios::binary);
        ASSERT_TRUE(in) << "missing " << want_file << " (write it with TN_UPDATE_GOLDEN=1)";
        std::ostringstream want;
        want << in.rdbuf();
        const std::vector<std::string> a = lines_of(got), b = lines_of(want.str());
        ASSERT_EQ(a.size(), b.size()) << c.name;
        for (std::size_t k = 0; k < a.size(); ++k) EXPECT_EQ(a[k], b[k]) << c.name << " line " << k + 1;
    }
}

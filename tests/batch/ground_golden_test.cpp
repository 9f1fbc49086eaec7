// Whole time-history files of single paths over the example terrain, one for each kind of path the
// ground model tells apart: flat over hard ground (the lake), flat over soft ground, over a hill,
// and across a valley. The source stands at the lowest source height above the ground (a trajectory
// altitude of 0 is raised to it). Before comparing, the test checks with the path dispatch itself
// that each geometry is of the kind it stands for.
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

#include "batch/setup.h"
#include "case_builder.h"
#include "path/dispatch.h"
#include "path/profile.h"

using namespace tntest;

namespace {

const std::string kBin = std::string(TN_BINARY_DIR);
const fs::path kGolden = fs::path(TN_SOURCE_DIR) / "tests" / "batch" / "golden";

struct PathCase {
    const char* name;
    float rx, ry;   // receiver, metres east and north of the terrain's south-west node
    float sx, sy;   // source
    int path_class; // 1 flat, 2 hill, 3 valley
    bool hard;      // every ground sample hard
};

const PathCase kCases[] = {
    {"flat_hard", 350.0f, 2300.0f, 750.0f, 2300.0f, 1, true},
    {"flat_soft", 0.0f, 0.0f, 300.0f, 1200.0f, 1, false},
    {"hill", 0.0f, 0.0f, 2100.0f, 1500.0f, 2, false},
    {"valley", 0.0f, 0.0f, 900.0f, 900.0f, 3, false},
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

// The class and the hard count that the path dispatch gives this geometry.
void path_kind(const CaseDir& dir, const PathCase& c, int& cls, int& nhard) {
    std::ostringstream console;
    tn::Session s(console);
    s.Exedir = kBin;
    s.Dirfile = kBin + "/rnd/directories.ini";
    s.Ctlfile = dir.path("path.ctl");
    const fs::path old = fs::current_path();
    fs::current_path(dir.dir());
    tn::CASESETUP(s);
    fs::current_path(old);
    const tn::CaseState& cs = s.cs;
    float kept = 0.0f;
    const float rcv[3] = {kX0 + c.rx, kY0 + c.ry, 1.5f};
    (void)tn::TERRZ(cs.terrain(), rcv[0], rcv[1], kept);
    const float hs = tn::TERRZ(cs.terrain(), kX0 + c.sx, kY0 + c.sy, kept);
    const float src[3] = {kX0 + c.sx, kY0 + c.sy, std::max(0.0f - hs, cs.Minagl)};
    std::vector<float> gterm(static_cast<std::size_t>(cs.Nband), 0.0f);
    tn::PathWork work;
    tn::TERRPROF(cs.terrain(), src, rcv, work.Terr, tn::kProfileSamples, 0, kept);
    tn::TERRPROF(cs.ground(), src, rcv, work.Gsec, tn::kProfileSamples, 1, kept);
    tn::GroundLevels out;
    out.Gterm = gterm.data();
    tn::GRNDPROP({src, rcv, work.Terr, tn::kProfileSamples, work.Gsec, tn::kProfileSamples, src[2], rcv[2]}, 'R',
                 cs.Nband, cs.Freq.data(), out, work.grnd);
    cls = out.PathClass;
    nhard = out.NHard;
}

}  // namespace

TEST(GroundGolden, FlatHardFlatSoftHillAndValleyPaths) {
    CaseDir dir("ground_golden");
    const fs::path ex = fs::path(TN_SOURCE_DIR) / "examples" / "flyover";
    for (const char* f : {"terrain.asc", "ground.asc", "jet.lst", "jet60.tab", "jet85.tab", "jet100.tab"}) {
        fs::copy_file(ex / f, dir.dir() / f);
    }
    const std::string cd = "cd '" + dir.dir().string() + "' && ";
    ASSERT_EQ(std::system((cd + "'" + kBin + "/tracknoise-asc2grid' terrain.asc terrain.grd ZALT 11 && '" + kBin +
                           "/tracknoise-asc2grid' ground.asc ground.imp FLOW 11")
                              .c_str()),
              0);
    const bool update = std::getenv("TN_UPDATE_GOLDEN") != nullptr;
    for (const PathCase& c : kCases) {
        write_case(dir, c);
        int cls = 0, nhard = 0;
        path_kind(dir, c, cls, nhard);
        EXPECT_EQ(cls, c.path_class) << c.name;
        EXPECT_EQ(nhard == 100, c.hard) << c.name << ": " << nhard << " hard ground samples";
        if (!c.hard) {
            EXPECT_EQ(nhard, 0) << c.name;
        }

        fs::remove(dir.path("path.tis"));
        ASSERT_EQ(std::system((cd + "SOURCE_DATE_EPOCH=1700000000 '" + kBin + "/tracknoise' path.run > console.txt 2>&1").c_str()), 0)
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

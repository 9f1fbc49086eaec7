// Grid and site runs: the receiver lattice, the range test, names of receivers, the file headers,
// the time offset and what a run writes for receivers that are passed over.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>

#include "batch/runs.h"
#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kProgram = std::string(TN_BINARY_DIR) + "/tracknoise";

tn::TRAJPOINT point(float x, float y) {
    tn::TRAJPOINT p;
    p.x = x;
    p.y = y;
    return p;
}

struct RunCase {
    CaseDir dir{"runs"};
    RunCase() {
        dir.write_grid("terrain.grd", "ZALT", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11,
                       [](int, int) { return 10.0f; });
        dir.write_trajectory("track.trj", 59.0, 70.0,
                             {{0, 500000, 4000200, 310, 90, 0, 100, 80, 0},
                              {1, 500100, 4000200, 310, 90, 0, 100, 80, 0}});
        dir.write_source("src.lst", "t.tab", {1000.0f, 1250.0f}, [](int b, int) { return 70.0f + b; });
    }
    void control(const std::string& sitefile) const {
        dir.write_control("case.ctl", {dir.path("terrain.grd"), "-", sitefile, dir.path("track.trj"), "-", "-",
                                       dir.path("src.lst"), "30.48", "notes.txt", "-"});
    }
    std::string site_block(const std::string& base, const std::string& opt, const std::string& time) const {
        return "site\n" + dir.path(base) + "\nopt: " + opt + "\n" + time;
    }
    RunResult run_script(const std::string& text) const {
        dir.write("run.txt", "open\n" + dir.path("case.ctl") + "\n" + text);
        return run({kProgram, dir.path("run.txt")});
    }
};

const std::string kNoOffset = "hrs:    0\nmin:    0\nsec:  0.000\n";

}  // namespace

TEST(Faraway, TheLimitItselfIsInRangeAndNotANumberIsNot) {
    const tn::TRAJPOINT traj[2] = {point(1000.0f, 0.0f), point(300.0f, 400.0f)};
    EXPECT_FALSE(tn::FARAWAY(traj, 2, 500.0f, 0.0f, 0.0f));   // the second point is exactly 500 away
    EXPECT_TRUE(tn::FARAWAY(traj, 2, 499.99f, 0.0f, 0.0f));
    EXPECT_TRUE(tn::FARAWAY(traj, 0, 500.0f, 0.0f, 0.0f));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const tn::TRAJPOINT bad[1] = {point(nan, 0.0f)};
    EXPECT_TRUE(tn::FARAWAY(bad, 1, 1e30f, 0.0f, 0.0f));
}

TEST(Gridrecv, LatticeSpansTheGridFromFirstToLastNode) {
    tn::CaseState cs;
    cs.Terrhead = {101, 51, 10.0f, 20.0f, 500000.0f, 4000000.0f};
    cs.Traj = {point(500500.0f, 4000500.0f)};
    cs.Npts = 1;
    cs.Maxdist = 600.0f;
    cs.Utmzone = 11;
    tn::AmbientRaster amb;
    std::vector<tn::SITEREC> recv(11 * 2);
    const long n = tn::GRIDRECV({11, 1, 11, 3, 2, 3}, cs, amb, recv);
    EXPECT_EQ(n, 22);
    // j runs fastest: record 0 is (1, 2), record 1 is (1, 3), record 20 is (11, 2).
    EXPECT_EQ(recv[0].Name, "00010002");
    EXPECT_EQ(recv[1].Name, "00010003");
    EXPECT_EQ(recv[20].Name, "00110002");
    EXPECT_EQ(recv[0].x, 500000.0f);
    EXPECT_EQ(recv[20].x, 501000.0f);   // position 11 of 11 lies on the last node column
    EXPECT_EQ(recv[0].y, 4000500.0f);   // row 2 of 3 over 50 spacings of 20 m
    EXPECT_EQ(recv[1].y, 4001000.0f);
    // Within 600 m of the point in the plane: the middle; beyond: the far corners.
    EXPECT_EQ(recv[10].z, 1.219215f);   // (6, 2): 500500, 4000500, on the point
    EXPECT_EQ(recv[1].z, -1.0e34f);     // (1, 3): 707 m away
    EXPECT_EQ(recv[0].Ambclass, 1);

    std::vector<tn::SITEREC> one(1);
    EXPECT_EQ(tn::GRIDRECV({11, 5, 5, 3, 3, 3}, cs, amb, one), 1);
    EXPECT_EQ(one[0].Name, "00050003");
    EXPECT_EQ(one[0].x, 500400.0f);     // its position in the whole lattice
    EXPECT_EQ(one[0].y, 4001000.0f);
}

TEST(SiteRun, HeaderNamesTimeOffsetAndReceiversPassedOver) {
    RunCase c;
    // Second-kind site file: a named site, a blank name (quoted empty), one on the ground.
    c.dir.write("sites.txt", "x y z name\n500100 4000100 1.5 'North Gate'\n500200 4000100 1.5 ''\n"
                             "500300 4000100 0.0 Ground\n");
    c.control(c.dir.path("sites.txt"));
    const RunResult r = c.run_script(c.site_block("a", "no", "hrs:    1\nmin:   30\nsec: 15500\n") +
                                     c.site_block("b", "no", kNoOffset));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("North Gate\rSite002   \rGround"), std::string::npos) << r.out;

    const std::vector<std::string> a = lines_of(c.dir.read("a.tis"));
    const std::vector<std::string> header = {
        "Filename: " + c.dir.path("a.tis"), c.dir.path("terrain.grd"), "-", c.dir.path("sites.txt"), "notes.txt", "-",
        c.dir.path("track.trj"), c.dir.path("src.lst"), "---End File Header---"};
    ASSERT_GT(a.size(), header.size());
    for (std::size_t k = 0; k < header.size(); ++k) EXPECT_EQ(a[k], header[k]);
    // Two sections: the site on the ground has none.
    int sections = 0;
    for (const std::string& l : a) sections += l == "---End of This Data Section---";
    EXPECT_EQ(sections, 2);
    EXPECT_EQ(a[9], "Site: North Gate" + std::string(54, ' '));
    EXPECT_EQ(a[21].substr(0, 6), "Site: ");
    EXPECT_EQ(a[21].substr(6, 7), "Site002");
    // 1 h 30 min 15.5 s is a start of 5415.5 s; the first point, emitted at 0 s about 300 m away,
    // arrives a little under one second later.
    const double t = std::stod(a[18].substr(4, 12));
    EXPECT_GT(t, 5415.5);
    EXPECT_LT(t, 5416.5);

    // The second run writes a file of its own, header and all.
    const std::vector<std::string> b = lines_of(c.dir.read("b.tis"));
    EXPECT_EQ(b[0], "Filename: " + c.dir.path("b.tis"));
    EXPECT_EQ(b.size(), a.size());
}

TEST(SiteRun, ThousandthBlankNameHasNoRoom) {
    RunCase c;
    std::string sites = "x y z name\n";
    for (int k = 1; k <= 1000; ++k) sites += "500100 4000100 0.0 ''\n";
    c.dir.write("sites.txt", sites);
    c.control(c.dir.path("sites.txt"));
    const RunResult r = c.run_script(c.site_block("a", "no", kNoOffset));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("\rSite999\rSite***\n"), std::string::npos);
}

TEST(GridRun, HeaderAndTableRecordCountOfReceiversPassedOver) {
    RunCase c;
    c.control("-");
    const std::string grid = "grid\n" + c.dir.path("g") + "\nii:    5\nii:    2   3\njj:    5\njj:    4   4\nopt: ";
    const RunResult r = c.run_script(grid + "no\n" + kNoOffset + grid + "yes\n" + kNoOffset);
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<std::string> g = lines_of(c.dir.read("g.tig"));
    EXPECT_EQ(g[6], "ii:    2     3     5");
    EXPECT_EQ(g[7], "jj:    4     4     5");
    EXPECT_EQ(g[8], c.dir.path("track.trj"));
    EXPECT_EQ(g[9], c.dir.path("src.lst"));
    EXPECT_EQ(g[10], "---End File Header---");
    EXPECT_EQ(g[11], "Site: 00020004" + std::string(56, ' '));
    // The table run shows the heading but the eight-digit names as progress lines.
    EXPECT_NE(r.out.find("      0002    0004\r      0003    0004\n"), std::string::npos);
    EXPECT_NE(r.out.find("00020004\r00030004\n"), std::string::npos);
    // Record count in the table's header: points times receivers.
    const std::string dbf = c.dir.read("g.dbf");
    std::int32_t count = 0;
    std::memcpy(&count, dbf.data() + 4, 4);
    EXPECT_EQ(count, 2 * 2);
}

TEST(GridRun, ReceiversOutOfRangeCostOnlyTheirConsoleLine) {
    RunCase c;
    c.control("-");
    c.dir.write("rnd_dummy", "");
    // With a limit of 18288 m every receiver of this small grid is in range; a block far outside the
    // grid (positions beyond the counts) lies 100 km away and is passed over.
    const RunResult r = c.run_script("grid\n" + c.dir.path("g") +
                                     "\nii:    2\nii: 10001000\njj:    2\njj:    1   1\nopt: no\n" + kNoOffset);
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<std::string> g = lines_of(c.dir.read("g.tig"));
    EXPECT_EQ(g.size(), 11u);   // the header alone
    EXPECT_NE(r.out.find("      1000    0001"), std::string::npos);
}

// A source list named relatively with a folder in its name: the first load moves the working
// folder to the list's, and every later run reloads the same list (not "sources/sources/...").
// The second run's relative result name is written in the list's folder.
TEST(SiteRun, EveryRunReloadsTheListThatTheSetUpRead) {
    RunCase c;
    std::filesystem::create_directories(c.dir.dir() / "sources");
    c.dir.write_source("sources/src.lst", "t.tab", {1000.0f, 1250.0f}, [](int b, int) { return 60.0f + b; });
    std::filesystem::rename(c.dir.dir() / "t.tab", c.dir.dir() / "sources" / "t.tab");
    c.dir.write_control("case.ctl", {"terrain.grd", "-", "-", "track.trj", "-", "-", "sources/src.lst"});
    c.dir.write("run.txt", "open\ncase.ctl\nsite\none\nopt: no\n" + kNoOffset + "site\ntwo\nopt: no\n" + kNoOffset);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(c.dir.dir());
    const RunResult r = run({kProgram, "run.txt"});
    std::filesystem::current_path(before);
    ASSERT_EQ(r.code, 0) << r.err;

    auto sections = [](const std::string& text) {
        const std::string body = text.substr(text.find("Site: "));
        return body.substr(body.find("Echo"));   // after the date line
    };
    const std::string one = c.dir.read("one.tis"), two = c.dir.read("sources/two.tis");
    ASSERT_NE(one.find("Site: "), std::string::npos);
    ASSERT_NE(two.find("Site: "), std::string::npos);
    EXPECT_EQ(sections(two), sections(one));
}

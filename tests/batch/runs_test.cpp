// Whole runs of the program, one table: the small case (case_builder.h), changed by each row where
// it says so, is run in a folder of its own, which is the working folder. The rows cover the
// script's commands and spellings, the console, the stops of a wrong script, what site and grid runs
// write (file headers, receiver names, the time offset, receivers passed over), the directories
// file beside the program, a table read by GDAL, and sources named on the trajectory's points.
// Expected values are the layouts of the files and of the console, and levels that differ by what
// the rows' sources differ by. Then the range test and the receiver lattice, called directly.
#include <gtest/gtest.h>

#include <cmath>

#include "batch/runs.h"
#include "case_builder.h"
#include "io/test_files.h"

using namespace tntest;

namespace {

// The program's path as the console shows it: the whole 255-character field, trailing blanks too.
const std::string kProgramField = kProgram + std::string(255 - kProgram.size(), ' ');
const std::string kOpen = "open\ncase.ctl\n";
const std::string kBlock = "ii:    3\nii:    1   3\njj:    2\njj:    1   2\n";
const std::string kBlock2 = "ii:    5\nii:    2   3\njj:    7\njj:    4   4\n";

std::string grid_run(const std::string& out, const std::string& block, const char* opt = "no") {
    return "grid\n" + out + "\n" + block + "opt: " + opt + "\nhrs:    0\nmin:    0\nsec:  0.000\n";
}

int count_of(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
}

// Sources named on points a second apart at one position 300 m up; control line 7 names `first`.
void named_points(const CaseDir& dir, const std::string& first, const std::vector<std::string>& names) {
    std::vector<std::pair<double, std::string>> points;
    for (const std::string& n : names) points.push_back({500000.0, n});
    write_named_track(dir, points, 1.0);
    dir.write_control("case.ctl", {"terrain.grd", "-", "-", "track.trj", "-", "-", first});
}

// Band 28 (630 Hz, columns 117-121) of each data line of a result file.
std::vector<int> band28(const CaseDir& dir, const std::string& file) {
    std::vector<int> v;
    for (const std::string& l : lines_of(dir.read(file)))
        if (l.size() == 192 && l.substr(0, 4) != "   0") v.push_back(std::stoi(l.substr(116, 5)));
    return v;
}

// The sections of a time-history file from the first line behind a section's date.
std::string sections(const std::string& text) {
    const std::string body = text.substr(std::min(text.find("Site: "), text.size()));
    return body.substr(std::min(body.find("Echo"), body.size()));
}

struct Row {
    const char* what;
    std::string script = "";
    void (*prepare)(const CaseDir&) = nullptr;   // files beyond the small case, or in place of its own
    std::string err = "";                       // a stop: the message that standard error holds
    std::vector<std::string> out = {};          // parts of the console
    void (*check)(const CaseDir&, const std::string& console) = nullptr;
    std::vector<std::string> args = {};         // in place of the program and "run.txt"
    std::string warning = "";                   // a normal end with this warning on standard error
};

const Row kRows[] = {
    // The command loop: lines that are no command are skipped, commands are told by columns 1 to 4
    // (case-sensitive, "Grid" aside), nothing after "end" is read, and a script may end without "stop".
    {.what = "comments, unknown words, longer words and end",
     .script = "* a comment\n\nhello there\nopening the case\ncase.ctl\nOPEN is no command\nStop is no command\n"
               "endx either\nsites please\na\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n" + grid_run("g", kBlock) +
               "Grid\nh\nii:    3\nii:    2   2\njj:    2\njj:    2   2\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n"
               "end\n" + site_run("b"),
     .check = [](const CaseDir& d, const std::string&) {
         EXPECT_TRUE(d.exists("a.tis") && d.exists("g.tig") && d.exists("h.tig"));
         EXPECT_FALSE(d.exists("b.tis")) << "nothing after \"end\" is read";
     }},
    {.what = "stop first reads nothing", .script = "stop\n" + kOpen + site_run("a"),
     .check = [](const CaseDir& d, const std::string& out) {
         EXPECT_EQ(out, kProgramField + "\n");
         EXPECT_FALSE(d.exists("a.tis"));
     }},
    {.what = "the console of a site and a grid run",
     .script = kOpen + site_run("a") + grid_run("g", "ii:    2\nii:    1   2\njj:    2\njj:    2   2\n") + "stop\n",
     .check = [](const CaseDir&, const std::string& out) {
         EXPECT_EQ(out, kProgramField + "\nOpening control file case.ctl" + std::string(247, ' ') +
                            "\n Generating site files\n\nReference_Point\n\nCalculating Grid Location\n"
                            "       II      JJ\n      ----    ----\n      0001    0002\r      0002    0002\n\n");
     }},
    {.what = "no script named", .err = "no run script given",
     .check = [](const CaseDir&, const std::string& out) {
         EXPECT_EQ(out, kProgramField + "\nError!!!  No Script File Detected\n");
     },
     .args = {kProgram}},

    // Stops of a wrong script, each before any result file is opened.
    {.what = "site before open", .script = "site\nx\n",
     .err = "run.txt:1: \"site\" before any \"open\": no case is set up to run"},
    {.what = "a second open", .script = kOpen + kOpen, .err = "run.txt:3: a run script holds one case"},
    {.what = "open at the end", .script = "open\n",
     .err = "run.txt:2: unexpected end of file, expected the control file's name"},
    {.what = "a column count with a letter", .script = kOpen + "grid\ng\nii:  1x3\n",
     .err = "run.txt:5: columns 5-8: expected an integer (Iicount, the receiver columns across the grid), found ' 1x3'"},
    {.what = "seconds with two points", .script = kOpen + "site\na\nopt: no\nhrs:    0\nmin:    0\nsec: 1.2.3\n",
     .err = "run.txt:8: columns 6-11: expected a real number (the seconds of the time offset), found '1.2.3 '"},

    // Site runs. A blank name is "SiteNNN" by position; a site on the ground has no section; 1 h 30
    // min 15.5 s is a start of 5415.5 s, and the first point, about 330 m from the first site,
    // arrives a little under a second later; each run writes a file of its own, header and all.
    {.what = "site run: header, names, sections and time offset",
     .script = kOpen + "site\na\nopt: no\nhrs:    1\nmin:   30\nsec: 15500\n" + site_run("b"),
     .prepare = [](const CaseDir& d) {
         d.write("sites.txt", "x y z name\n500100 4000100 1.5 'North Gate'\n500200 4000100 1.5 ''\n"
                              "500300 4000100 0.0 Ground\n");
         d.write_control("case.ctl", {"terrain.grd", "-", "sites.txt", "track.trj", "-", "-", "src.lst", "30.48",
                                      "notes.txt", "-"});
     },
     .out = {"North Gate\rSite002   \rGround"},
     .check = [](const CaseDir& d, const std::string&) {
         const std::vector<std::string> a = lines_of(d.read("a.tis")), b = lines_of(d.read("b.tis"));
         ASSERT_EQ(a.size(), 9u + 2 * 13);
         EXPECT_EQ(std::vector<std::string>(a.begin(), a.begin() + 10),
                   (std::vector<std::string>{"Filename: a.tis", "terrain.grd", "-", "sites.txt", "notes.txt", "-",
                                             "track.trj", "src.lst", "---End File Header---",
                                             "Site: North Gate" + std::string(54, ' ')}));
         EXPECT_EQ(a[22], "Site: Site002" + std::string(57, ' '));
         EXPECT_EQ(count_of(d.read("a.tis"), "---End of This Data Section---"), 2);
         const double t = std::stod(a[18].substr(4, 12));
         EXPECT_TRUE(t > 5415.5 && t < 5416.5) << t;
         EXPECT_EQ(b[0], "Filename: b.tis");
         EXPECT_EQ(b.size(), a.size());
     }},
    {.what = "the thousandth blank name has no room", .script = kOpen + site_run("a"),
     .prepare = [](const CaseDir& d) {
         std::string sites = "x y z name\n";
         for (int k = 1; k <= 1000; ++k) sites += "500100 4000100 0.0 ''\n";
         d.write("sites.txt", sites);
         d.write_control("case.ctl", {"terrain.grd", "-", "sites.txt", "track.trj", "-", "-", "src.lst"});
     },
     .out = {"\rSite999\rSite***\n"}, .warning = "no site stands above the ground"},
    // A source list named with its folder: the first load moves the working folder to the list's, and
    // every later run reloads the same list (not "sources/sources/src.lst"); the second run's relative
    // result name then lands in that folder.
    {.what = "every run reloads the list that the set-up read", .script = kOpen + site_run("one") + site_run("two"),
     .prepare = [](const CaseDir& d) {
         fs::create_directories(d.dir() / "sources");
         for (const char* f : {"src.lst", "t.tab"}) fs::rename(d.path(f), d.path("sources/" + std::string(f)));
         d.write_control("case.ctl", {"terrain.grd", "-", "-", "track.trj", "-", "-", "sources/src.lst"});
     },
     .check = [](const CaseDir& d, const std::string&) {
         ASSERT_TRUE(d.exists("sources/two.tis"));
         EXPECT_EQ(sections(d.read("sources/two.tis")), sections(d.read("one.tis")));
     }},
    // A program path in another folder finds that folder's rnd/directories.ini: a limit of 150 m
    // leaves the reference receiver out of range of a flight 300 m above it (-999 in F and A).
    {.what = "the directories file beside the program", .script = kOpen + site_run("a"),
     .prepare = [](const CaseDir& d) {
         fs::create_directories(d.dir() / "bin/rnd");
         d.write("bin/rnd/directories.ini", "Max\n150\n");
     },
     .check = [](const CaseDir& d, const std::string&) {
         EXPECT_EQ(lines_of(d.read("a.tis")).at(18).substr(16, 10), " -999 -999");
     },
     .args = {"bin/tracknoise", "run.txt"}},

    // Grid runs: the block in the header (7 rows, 5 columns: counts that a swap would show); the
    // heading on the console, but eight-digit names for a table; a block far outside the grid, 100 km away, costs only its console line.
    {.what = "grid run: the block in the header and the names on the console",
     .script = kOpen + grid_run("g", kBlock2) + grid_run("g", kBlock2, "yes"),
     .out = {"      0002    0004\r      0003    0004\n", "00020004\r00030004\n"},
     .check = [](const CaseDir& d, const std::string&) {
         const std::vector<std::string> g = lines_of(d.read("g.tig"));
         EXPECT_EQ(std::vector<std::string>(g.begin() + 6, g.begin() + 12),
                   (std::vector<std::string>{"ii:    2     3     5", "jj:    4     4     7", "track.trj", "src.lst",
                                             "---End File Header---", "Site: 00020004" + std::string(56, ' ')}));
     }},
    {.what = "a grid block out of range", .script = kOpen + grid_run("g", "ii:    2\nii: 10001000\njj:    2\njj:    1   1\n"),
     .out = {"      1000    0001"},
     .check = [](const CaseDir& d, const std::string&) { EXPECT_EQ(lines_of(d.read("g.tig")).size(), 11u); },
     .warning = "no receiver lies within the distance limit"},

    // GDAL's ogrinfo as a real client of a table: 37 fields, and a header that counts the receiver
    // passed over too (3 points times 2 receivers).
    {.what = "a table read by GDAL", .script = kOpen + site_run("table", "yes"),
     .prepare = [](const CaseDir& d) {
         d.write("sites.txt", "x y z name\n500000 4000000 1.2 One\n500100 4000000 0.0 Ground\n");
         d.write_control("case.ctl", {"terrain.grd", "-", "sites.txt", "track.trj", "-", "-", "src.lst"});
     },
     .check = [](const CaseDir& d, const std::string&) {
         ASSERT_EQ(std::system("ogrinfo -ro -al -so table.dbf > info.txt 2>&1"), 0);
         const std::string info = d.read("info.txt");
         EXPECT_TRUE(holds(info, "Feature Count: 6"));
         EXPECT_EQ(count_of(info, ": Integer") + count_of(info, ": Real") + count_of(info, ": String"), 37) << info;
         for (const char* name : {"DATA_POINT", "SITE_ID", "TIME", "FLAT", "A_WEIGHT", "HZ_12.5", "1H_Z250", "HZ_20000"})
             EXPECT_TRUE(holds(info, name));
         EXPECT_TRUE(d.exists("table.dbt"));
     }},

    // Sources named on the points (the first name absolute, or the trajectory names none). Hemispheres
    // change from point to point (".nc" and ".NC" alike), and a header shows the source name as it
    // stands when its file is opened: for a second run, the name the last point of the first left.
    {.what = "hemispheres change along the trajectory", .script = kOpen + site_run("out") + site_run("again"),
     .prepare = [](const CaseDir& d) {
         flat_hemisphere(d, "a.nc", 70), flat_hemisphere(d, "b.nc", 80), flat_hemisphere(d, "b.NC", 80);
         named_points(d, d.path("a.nc"), {d.path("a.nc"), "b.nc", "a.nc", "b.NC"});
     },
     .check = [](const CaseDir& d, const std::string&) {
         const std::vector<int> b = band28(d, "out.tis");
         ASSERT_EQ(b.size(), 4u);
         EXPECT_TRUE(b[1] - b[0] == 100 && b[2] == b[0] && b[3] == b[1]) << b[0] << " " << b[1] << " " << b[2] << " " << b[3];
         EXPECT_EQ(lines_of(d.read("out.tis"))[7], d.path("a.nc"));
         EXPECT_EQ(lines_of(d.read("again.tis"))[7], "b.NC");
     }},
    // A table source keeps the tables of its first load; mixed-case ".Nc" is a list, never loaded.
    {.what = "tables keep their first load", .script = kOpen + site_run("out"),
     .prepare = [](const CaseDir& d) {
         d.write_source("a.lst", "a.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 70.0f; });
         d.write_source("b.lst", "b.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 80.0f; });
         named_points(d, d.path("a.lst"), {d.path("a.lst"), d.path("b.lst"), d.path("a.Nc.lst")});
     },
     .check = [](const CaseDir& d, const std::string&) {
         const std::vector<int> b = band28(d, "out.tis");
         EXPECT_EQ(b, std::vector<int>(3, b.at(0)));
     }},
    // A relative hemisphere name is read from the working folder as it stands at the point: after a
    // table list named with its folder has moved the working folder there, "a.nc" is another file.
    {.what = "relative hemisphere names follow the working folder", .script = kOpen + site_run("out"),
     .prepare = [](const CaseDir& d) {
         fs::create_directories(d.dir() / "sources");
         flat_hemisphere(d, "a.nc", 70), flat_hemisphere(d, "sources/a.nc", 80);
         d.write_source("sources/t.lst", "t.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 60.0f; });
         fs::rename(d.path("t.tab"), d.path("sources/t.tab"));
         named_points(d, d.path("a.nc"), {d.path("a.nc"), "a.nc", d.path("sources/t.lst"), "a.nc"});
     },
     .check = [](const CaseDir& d, const std::string&) {
         const std::vector<int> b = band28(d, "out.tis");
         ASSERT_EQ(b.size(), 4u);
         EXPECT_TRUE(b[1] == b[0] && b[3] - b[1] == 100) << b[0] << " " << b[1] << " " << b[3];
     }},
};

}  // namespace

TEST(Runs, SmallCaseTable) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        CaseDir dir("runs");
        write_small_case(dir);
        fs::current_path(dir.dir());
        if (row.prepare) row.prepare(dir);
        dir.write("run.txt", row.script);
        const RunResult r = run(row.args.empty() ? std::vector<std::string>{kProgram, "run.txt"} : row.args);
        if (row.err.empty()) {
            EXPECT_EQ(r.code, 0);
            if (row.warning.empty()) EXPECT_EQ(r.err, "");
            else EXPECT_TRUE(holds(r.err, "tracknoise: warning: ") && holds(r.err, row.warning));
            if (r.code != 0) continue;
        } else {
            EXPECT_NE(r.code, 0);
            EXPECT_EQ(r.err.rfind("tracknoise: ", 0), 0u) << r.err;
            EXPECT_TRUE(holds(r.err, row.err));
            for (const auto& f : fs::directory_iterator(dir.dir()))   // the whole block is read first
                for (const char* e : {".tis", ".tig", ".dbf", ".dbt", ".partial"}) EXPECT_NE(f.path().extension(), e);
        }
        for (const std::string& part : row.out) EXPECT_TRUE(holds(r.out, part));
        if (row.check) row.check(dir, r.out);
    }
}

namespace {

tn::TRAJPOINT point(float x, float y) {
    tn::TRAJPOINT p;
    p.x = x, p.y = y;
    return p;
}

}  // namespace

// The limit itself is in range; a position that is not a number never is.
TEST(Faraway, TheLimitItselfIsInRangeAndNotANumberIsNot) {
    const tn::TRAJPOINT traj[2] = {point(1000.0f, 0.0f), point(300.0f, 400.0f)}, bad[1] = {point(NAN, 0.0f)};
    EXPECT_FALSE(tn::FARAWAY(traj, 2, 500.0f, 0.0f, 0.0f));   // the second point is exactly 500 away
    EXPECT_TRUE(tn::FARAWAY(traj, 2, 499.99f, 0.0f, 0.0f));
    EXPECT_TRUE(tn::FARAWAY(traj, 0, 500.0f, 0.0f, 0.0f));
    EXPECT_TRUE(tn::FARAWAY(bad, 1, 1e30f, 0.0f, 0.0f));
}

// A lattice of 11 by 3 positions over a grid of 101 by 51 nodes, 10 by 20 m: j runs fastest, the
// positions span the grid from its first node to its last, and those beyond 600 m of the point in
// the plane get the height -1e34, the others 4 feet (4 / 3.2808 = 1.219215 m). A block of one keeps its
// place in the whole lattice.
TEST(Gridrecv, LatticeSpansTheGridFromFirstToLastNode) {
    tn::CaseState cs;
    cs.Terrhead = {101, 51, 10.0f, 20.0f, 500000.0f, 4000000.0f};
    cs.Traj = {point(500500.0f, 4000500.0f)};
    cs.Npts = 1, cs.Maxdist = 600.0f, cs.Utmzone = 11;
    tn::AmbientRaster amb;
    std::vector<tn::SITEREC> r(11 * 2);
    ASSERT_EQ(tn::GRIDRECV({11, 1, 11, 3, 2, 3}, cs, amb, r), 22);
    const struct { int k; const char* name; float x, y, z; } cases[] = {
        {0, "00010002", 500000.0f, 4000500.0f, 1.219215f},   // row 2 of 3 over 50 spacings of 20 m
        {1, "00010003", 500000.0f, 4001000.0f, -1.0e34f},    // 707 m away
        {10, "00060002", 500500.0f, 4000500.0f, 1.219215f},   // on the point
        {20, "00110002", 501000.0f, 4000500.0f, 1.219215f},   // position 11 of 11 on the last node column
    };
    for (const auto& c : cases)
        EXPECT_EQ(std::tie(r[c.k].Name, r[c.k].x, r[c.k].y, r[c.k].z),
                  std::make_tuple(std::string_view(c.name), c.x, c.y, c.z)) << c.k;
    EXPECT_EQ(r[0].Ambclass, 1);
    std::vector<tn::SITEREC> one(1);
    ASSERT_EQ(tn::GRIDRECV({11, 5, 5, 3, 3, 3}, cs, amb, one), 1);
    EXPECT_EQ(std::tie(one[0].Name, one[0].x, one[0].y),
              std::make_tuple(std::string_view("00050003"), 500400.0f, 4001000.0f));
}

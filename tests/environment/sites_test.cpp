// Receiver files of both kinds and the ambient class raster. Files are written here; expected values
// are the numbers put into them, converted by hand (feet / 3.2808), or the UTM position of a
// published point.
#include "environment/sites.h"

#include "io/test_files.h"
#include "geo/coordinates.h"

using namespace tn;
using namespace tntest;

namespace {

const ScratchDir scratch;

struct Result {
    std::vector<SITEREC> sites = std::vector<SITEREC>(kMaxSites);
    int Nsites = -1, Nbound = -1, Utmzone = 0;
    float Boundx[12] = {}, Boundy[12] = {};
    Name255 Siteerr{"none"};
};

Result read(const std::string& name, const std::string& text, int zone = 0) {
    Result r{.Utmzone = zone};
    r.sites[3].z = 3.2808f;   // a record behind the count of the .sit files below
    READSITES(r.sites, Name255(scratch.file(name, text)), r.Nsites, r.Boundx, r.Boundy, r.Nbound, r.Utmzone, r.Siteerr);
    return r;
}

const std::string kSit = "2\n100.0 200.0\n300.0 400.0\n3\n1000.0 2000.0 10.0 \"Site A\"\n1001.0, 2001.0, 0.0, B\n"
                         "1002.0 2002.0 -5.0 C\n";

// 3 columns by 2 rows from 13.0 E, 52.0 N, cells of 0.01 degree; the northern row first in the file.
const std::string kHead = "ncols 3\nnrows 2\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value -9999\n";

// Class at the UTM zone 33 position of a point given in cells from the raster's corner.
int class_at(double cx, double cy, const std::string& file, AmbientRaster& raster) {
    double x = 0.0, y = 0.0;
    int zone = 33;
    LLTOUTM(13.0 + cx * 0.01, 52.0 + cy * 0.01, x, y, zone);
    return AMBLOOK(static_cast<float>(x), static_cast<float>(y), 33, Name255(file), raster);
}

}  // namespace

// Counts and messages of both kinds: .sit files (bounds, count, sites; an end of file counts as
// read, a bad number anywhere gives the whole file up) and lists (line 1 passed over, a later bad
// line ends the list; no bounds). Negative counts and a bad first line of a list are the
// broken-input table's.
TEST(READSITES, CountsAndTheFilesGivenUp) {
    auto repeated = [](const std::string& item, int n) { std::string s; while (n-- > 0) s += item; return s; };
    const struct { const char* name; std::string text; bool ok; int nbound, nsites; const char* last; } cases[] = {
        {"recv.sit", kSit, true, 2, 3, "C"},
        // A thousand million pairs by repeat counts, 261 bytes: those past the 12th read and dropped
        // at once (one by one they took minutes; met with the fuzz target of the site files).
        {"big.sit", "1000000000\n" + repeated("100000000*1 ", 20) + "\n1\n5 6 7 after\n", true, 12, 1, "after"},
        {"bad.sit", "1\n100 200\n2\n1 2 3 a\n1 2 3.x b\n", false, 0, 0, ""},   // in the second site
        {"later.txt", "head\n1000 2000 1 A\n1000 y 1 B\n1000 2000 1 C\n", true, 0, 1, "A"},
    };
    for (const auto& c : cases) {
        const Result r = read(c.name, c.text);
        EXPECT_EQ(r.Siteerr, c.ok ? "none" : kSiteFileProblem) << c.name;
        EXPECT_EQ(std::tie(r.Nsites, r.Nbound), std::tie(c.nsites, c.nbound)) << c.name;
        if (c.nsites > 0) { EXPECT_EQ(r.sites[c.nsites - 1].Name, c.last) << c.name; }
    }
    const std::string many = "0\n1001\n" + repeated("1 2 3 s\n", 1001);
    EXPECT_TRUE(holds(error_of([&] { read("many.sit", many); }), "many.sit:2: more than 1000 receivers"));
}

TEST(READSITES, SitFileBoundsAndHeightsInFeetOfTheWholeArray) {
    const Result r = read("recv.sit", kSit);
    // Positions are never converted.
    EXPECT_EQ(std::tie(r.Boundx[1], r.Boundy[1], r.sites[0].x, r.sites[0].Name),
              std::make_tuple(300.0f, 400.0f, 1000.0f, std::string_view("Site A")));
    // 10 ft / 3.2808 = 3.04803706 m; 0 and -5 ft raised to 0.001 ft: computed, not skipped; the record
    // behind the count (3.2808) divided all the same. The nearest floats, as one division gives them.
    EXPECT_EQ((std::vector<float>{r.sites[0].z, r.sites[1].z, r.sites[2].z, r.sites[3].z}),
              (std::vector<float>{3.0480371f, 3.0480371e-4f, 3.0480371e-4f, 1.0f}));
    // Named .sit inside: a .sit file (as a list, line 1 would be passed over), 7 ft.
    EXPECT_FLOAT_EQ(read("recv.sit.txt", "0\n1\n5 6 7 a\n").sites[0].z, 2.1336259f);
}

TEST(READSITES, ListFileGeographicAndUtmPairs) {
    // 13.405 E, 52.52 N is 391779.2593, 5820072.1592 in zone 33 (GeographicLib's GeoConvert, as
    // quoted by the coordinate tests); floats hold it to 0.5 m.
    const Result r = read("recv.txt", "x y z name\n13.405 52.52 1.5 Berlin\n391779.0, 5820072.0, -2.0, Low\n"
                                      "1000.0 10.0 1.0 Edge\n");
    ASSERT_EQ(std::tie(r.Utmzone, r.Nsites), std::make_tuple(33, 3));   // zone 0 set from the first geographic point
    EXPECT_NEAR(r.sites[0].x, 391779.2593, 0.05);
    EXPECT_NEAR(r.sites[0].y, 5820072.1592, 0.5);
    // Heights in metres as read, not limited; 1000.0 is UTM.
    EXPECT_EQ(std::tie(r.sites[0].z, r.sites[1].z, r.sites[2].x), std::make_tuple(1.5f, -2.0f, 1000.0f));
    EXPECT_NE(read("odd.txt", "head\n999.9 10.0 1.0 Far\n", 33).sites[0].x, 999.9f);   // geographic, though impossible
}

TEST(AMBLOOK, CellsCentredOnGridPositionsEdgesLimitedAndLoadedOnce) {
    const std::string file = scratch.file("classes.asc", kHead + "1 2 3\n4 5 6\n");
    AmbientRaster raster;
    const struct { double cx, cy; int cls; const char* what; } cases[] = {
        {0.49, 0.2, 4, "column 1 of the southern row"},
        {0.51, 0.2, 5, "0.51 cell is past the centre line of cells 1 and 2"},
        {1.6, 0.6, 3, "column 3 of the northern row"},
        {9.0, 0.2, 6, "far east: the last column"},
        {-7.0, 9.0, 1, "far north-west: the first column, the northern row"},
    };
    for (const auto& c : cases) EXPECT_EQ(class_at(c.cx, c.cy, file, raster), c.cls) << c.what;
    // A later lookup naming another raster gets the first one; the other name is never opened.
    EXPECT_EQ(class_at(0.51, 0.2, scratch.file("other.asc", "junk\n"), raster), 5);
    AmbientRaster repeats;   // repeat counts within the file's size are read as any values
    class_at(0, 0, scratch.file("repeated.asc", kHead + "3*4 2*5 6\n"), repeats);
    EXPECT_EQ(repeats.cls, (std::vector<int>{5, 5, 6, 4, 4, 4}));   // the southern row first
}

TEST(AMBLOOK, ARasterThatCannotBeReadEndsTheRun) {
    const struct { std::string text; const char* message; } cases[] = {
        {"ncols                         3\n", "bad.asc:1: item 1: end of file"},   // value past 20 columns
        {"ncols 3\n", "bad.asc:2: unexpected end of file"},
        // Met with the fuzz target of the ambient files: 135 bytes whose repeat counts stand for 400
        // million cells took 3.2 GB.
        {"ncols 20000\nnrows 20000\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value -9999\n"
             "100000000*1 100000000*1 100000000*1 100000000*1\n",
         "bad.asc:2: a class raster of 20000 by 20000 cells cannot stand in a file of 135 bytes"},
    };
    for (const auto& c : cases) {
        AmbientRaster raster;
        EXPECT_TRUE(holds(error_of([&] { class_at(0, 0, scratch.file("bad.asc", c.text), raster); }), c.message));
        EXPECT_FALSE(raster.loaded);
    }
}

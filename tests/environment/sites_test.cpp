// Receiver files of both kinds and the ambient class raster. Files are written here; expected values
// are the numbers put into them, converted by hand (feet / 3.2808), or the UTM position of a
// published point.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "environment/sites.h"
#include "io/errors.h"
#include "path/coordinates.h"

using namespace tn;
namespace fs = std::filesystem;

namespace {

struct Scratch {
    fs::path dir;
    Scratch() {
        std::string t = (fs::temp_directory_path() / "tn_sites_XXXXXX").string();
        dir = mkdtemp(t.data());
    }
    ~Scratch() { std::error_code ec; fs::remove_all(dir, ec); }
    std::string file(const std::string& name, const std::string& text) const {
        const fs::path p = dir / name;
        std::ofstream(p, std::ios::binary) << text;
        return p.string();
    }
};

struct Result {
    std::vector<SITEREC> sites = std::vector<SITEREC>(kMaxSites);
    int Nsites = -1;
    float Boundx[12] = {};
    float Boundy[12] = {};
    int Nbound = -1;
    int Utmzone = 0;
    Name255 Siteerr{"none"};
};

Result read(const Scratch& s, const std::string& name, const std::string& text, int zone = 0) {
    Result r;
    r.Utmzone = zone;
    r.sites[3].z = 3.2808f;   // a record behind the count of the .sit files below
    READSITES(r.sites, Name255(s.file(name, text)), r.Nsites, r.Boundx, r.Boundy, r.Nbound, r.Utmzone, r.Siteerr);
    return r;
}

}  // namespace

TEST(READSITES, SitFileBoundsHeightsInFeetAndTheWholeArrayDivided) {
    Scratch s;
    const Result r = read(s, "recv.sit",
        "2\n100.0 200.0\n300.0 400.0\n3\n"
        "1000.0 2000.0 10.0 \"Site A\"\n"
        "1001.0, 2001.0, 0.0, B\n"
        "1002.0 2002.0 -5.0 C\n");
    EXPECT_EQ(r.Siteerr, "none");
    EXPECT_EQ(r.Nbound, 2);
    EXPECT_EQ(r.Boundx[1], 300.0f);
    EXPECT_EQ(r.Boundy[1], 400.0f);
    ASSERT_EQ(r.Nsites, 3);
    EXPECT_EQ(r.sites[0].x, 1000.0f);   // positions are never converted
    EXPECT_EQ(r.sites[0].Name, "Site A");
    EXPECT_FLOAT_EQ(r.sites[0].z, 3.0480371f);       // 10 ft / 3.2808 = 3.04803706 m
    EXPECT_FLOAT_EQ(r.sites[1].z, 3.0480371e-4f);    // 0 ft raised to 0.001 ft: computed, not skipped
    EXPECT_FLOAT_EQ(r.sites[2].z, 3.0480371e-4f);
    EXPECT_FLOAT_EQ(r.sites[3].z, 1.0f);             // behind the count, divided all the same
    EXPECT_EQ(r.sites[2].Name, "C");
}

TEST(READSITES, SitFileMoreThan12PairsNoBoundsAndEndOfFile) {
    Scratch s;
    std::string pairs;
    for (int k = 1; k <= 14; ++k) pairs += std::to_string(k) + " " + std::to_string(-k) + (k % 5 == 0 ? "\n" : " ");
    const Result r = read(s, "many.sit", "14\n" + pairs + "\n1\n5 6 7 last\n");
    EXPECT_EQ(r.Nbound, 12);
    EXPECT_EQ(r.Boundx[11], 12.0f);
    EXPECT_EQ(r.Boundy[11], -12.0f);
    ASSERT_EQ(r.Nsites, 1);   // the pairs past the 12th were read, so the count follows them
    EXPECT_EQ(r.sites[0].Name, "last");

    // A thousand million pairs by repeat counts, 261 bytes: read and dropped at once (one by one
    // they took minutes; met with the fuzz target of the site files).
    std::string repeated = "1000000000\n";
    for (int k = 0; k < 20; ++k) repeated += "100000000*1 ";
    const Result thousand_million = read(s, "repeated.sit", repeated + "\n1\n5 6 7 after\n");
    EXPECT_EQ(thousand_million.Nbound, 12);
    EXPECT_EQ(thousand_million.Boundy[11], 1.0f);
    ASSERT_EQ(thousand_million.Nsites, 1);
    EXPECT_EQ(thousand_million.sites[0].Name, "after");

    const Result none = read(s, "zero.sit", "0\n1\n5 6 7 only\n");
    EXPECT_EQ(none.Nbound, 0);
    EXPECT_EQ(none.Nsites, 1);

    // Found by fuzzing: a negative count stayed negative and went on into the count of a table's
    // records. It reads none, and is 0.
    const Result negative = read(s, "negative.sit", "-3\n-7\n5 6 7 unread\n");
    EXPECT_EQ(negative.Siteerr, "none");
    EXPECT_EQ(negative.Nbound, 0);
    EXPECT_EQ(negative.Nsites, 0);

    const Result empty = read(s, "empty.sit", "");
    EXPECT_EQ(empty.Siteerr, "none");   // an end of file counts as read: no sites, no message
    EXPECT_EQ(empty.Nsites, 0);
}

TEST(READSITES, SitFileWithABadNumberAnywhereIsGivenUp) {
    Scratch s;
    const std::string cases[] = {
        "x\n1\n1 2 3 a\n",                 // Nbound
        "1\n100 abc\n1\n1 2 3 a\n",        // a pair
        "0\nthree\n1 2 3 a\n",             // the count
        "0\n2\n1 2 3 a\n1 2 3.x b\n",      // the second site
    };
    for (const std::string& text : cases) {
        const Result r = read(s, "bad.sit", text);
        EXPECT_EQ(r.Siteerr, kSiteFileProblem) << text;
        EXPECT_EQ(r.Nsites, 0);
        EXPECT_EQ(r.Nbound, 0);
    }
}

TEST(READSITES, SitBeforeAnotherExtensionAndTooManySites) {
    Scratch s;
    const Result r = read(s, "recv.sit.txt", "0\n1\n5 6 7 a\n");   // as a list, line 1 would be passed over
    EXPECT_EQ(r.Nsites, 1);
    EXPECT_FLOAT_EQ(r.sites[0].z, 2.1336259f);   // 7 ft / 3.2808: a .sit file

    std::string many = "0\n1001\n";
    for (int k = 0; k < 1001; ++k) many += "1 2 3 s\n";
    try {
        read(s, "many.sit", many);
        ADD_FAILURE() << "no stop";
    } catch (const RunError& e) {
        EXPECT_NE(std::string(e.what()).find("many.sit:2: more than 1000 receivers"), std::string::npos) << e.what();
    }
}

TEST(READSITES, ListFileGeographicAndUtmPairs) {
    Scratch s;
    // 13.405 E, 52.52 N is 391779.2593, 5820072.1592 in zone 33 (GeographicLib's GeoConvert, as
    // quoted by the coordinate tests); floats hold it to 0.5 m.
    const Result r = read(s, "recv.txt",
        "x y z name\n"
        "13.405 52.52 1.5 Berlin\n"
        "391779.0, 5820072.0, -2.0, Low\n"
        "1000.0 10.0 1.0 Edge\n");
    EXPECT_EQ(r.Siteerr, "none");
    EXPECT_EQ(r.Utmzone, 33);   // zone 0 is set from the first geographic point
    ASSERT_EQ(r.Nsites, 3);
    EXPECT_NEAR(r.sites[0].x, 391779.2593, 0.05);
    EXPECT_NEAR(r.sites[0].y, 5820072.1592, 0.5);
    EXPECT_EQ(r.sites[0].z, 1.5f);    // metres, as read
    EXPECT_EQ(r.sites[1].z, -2.0f);   // kept, not limited
    EXPECT_EQ(r.sites[1].Name, "Low");
    EXPECT_EQ(r.sites[2].x, 1000.0f);  // 1000.0 is UTM

    const Result west = read(s, "west.txt", "head\n-122.5 37.8 1.2 SF\n");
    EXPECT_EQ(west.Utmzone, 10);
    EXPECT_GT(west.sites[0].x, 540000.0f);   // 0.5 degree east of the central meridian -123
    EXPECT_LT(west.sites[0].x, 548000.0f);

    const Result odd = read(s, "odd.txt", "head\n999.9 10.0 1.0 Far\n", 33);
    EXPECT_EQ(odd.Nsites, 1);
    EXPECT_NE(odd.sites[0].x, 999.9f);   // taken as geographic: an impossible longitude
}

TEST(READSITES, ListFileFailuresAndEmptyFiles) {
    Scratch s;
    const Result first = read(s, "a.txt", "head\n1000 2000 x A\n1000 2000 1 B\n");
    EXPECT_EQ(first.Siteerr, kSiteFileProblem);
    EXPECT_EQ(first.Nsites, 0);

    const Result later = read(s, "b.txt", "head\n1000 2000 1 A\n1000 y 1 B\n1000 2000 1 C\n");
    EXPECT_EQ(later.Siteerr, "none");
    EXPECT_EQ(later.Nsites, 1);   // the sites read so far stand, and the rest is not read

    for (const char* text : {"", "head only\n"}) {
        const Result r = read(s, "empty.txt", text);
        EXPECT_EQ(r.Siteerr, "none");   // no sites, and no reference receiver either
        EXPECT_EQ(r.Nsites, 0);
    }
}

namespace {

// 3 columns by 2 rows from 13.0 E, 52.0 N, cells of 0.01 degree; the northern row first in the file.
const char* kRaster =
    "ncols 3\nnrows 2\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value -9999\n"
    "1 2 3\n4 5 6\n";

// UTM zone 33 position of a point given in cells from the raster's corner.
void utm_of_cell(double cx, double cy, float& x, float& y) {
    double xd = 0.0;
    double yd = 0.0;
    int zone = 33;
    LLTOUTM(13.0 + cx * 0.01, 52.0 + cy * 0.01, xd, yd, zone);
    x = static_cast<float>(xd);
    y = static_cast<float>(yd);
}

}  // namespace

TEST(AMBLOOK, CellsCentredOnGridPositionsEdgesLimitedAndLoadedOnce) {
    Scratch s;
    const Name255 name(s.file("classes.asc", kRaster));
    AmbientRaster raster;
    // Offsets in cells from the corner; the expected class follows from the rows as written.
    struct Case { double cx, cy; int cls; const char* what; };
    const Case cases[] = {
        {0.49, 0.2, 4, "column 1 of the southern row"},
        {0.51, 0.2, 5, "0.51 cell is past the centre line of cells 1 and 2"},
        {1.6, 0.6, 3, "column 3 of the northern row"},
        {9.0, 0.2, 6, "far east: the last column"},
        {-7.0, 9.0, 1, "far north-west: the first column, the northern row"},
    };
    for (const Case& c : cases) {
        float x = 0.0f;
        float y = 0.0f;
        utm_of_cell(c.cx, c.cy, x, y);
        EXPECT_EQ(AMBLOOK(x, y, 33, name, raster), c.cls) << c.what;
    }
    EXPECT_TRUE(raster.loaded);
    // A later lookup naming another raster gets the first one; the other name is never opened.
    float x = 0.0f;
    float y = 0.0f;
    utm_of_cell(0.51, 0.2, x, y);
    EXPECT_EQ(AMBLOOK(x, y, 33, Name255(s.file("other.asc", "junk\n")), raster), 5);
}

TEST(AMBLOOK, ARasterThatCannotBeReadEndsTheRun) {
    Scratch s;
    {
        AmbientRaster repeated;   // repeat counts within the file's size are read as any values
        const std::string text = "ncols 3\nnrows 2\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value 0\n3*4 2*5 6\n";
        AMBLOOK(400000.0f, 5800000.0f, 33, Name255(s.file("repeated.asc", text)), repeated);
        EXPECT_EQ(repeated.cls, (std::vector<int>{5, 5, 6, 4, 4, 4}));   // the southern row first
    }
    struct Case { std::string text; const char* message; };
    const std::string head = "ncols 3\nnrows 2\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value -9999\n";
    const Case cases[] = {
        {head + "1 2 3\n4 x 6\n", "classes.asc:8: item 5: expected an integer, found 'x'"},
        {head + "1 2 3\n4 5\n", "classes.asc:8: item 6: end of file"},
        {"ncols                         3\n", "classes.asc:1: item 1: end of file"},   // value past 20 columns
        {"ncols 0\nnrows 2\n", "classes.asc:2: expected positive column and row counts"},
        {"ncols 3\n", "classes.asc:2: unexpected end of file"},
        // Met with the fuzz target of the ambient files: 135 bytes whose repeat counts stand for 400
        // million cells took 3.2 GB.
        {"ncols 20000\nnrows 20000\nxllcorner 13.0\nyllcorner 52.0\ncellsize 0.01\nNODATA_value -9999\n" +
             std::string("100000000*1 100000000*1 100000000*1 100000000*1\n"),
         "classes.asc:2: a class raster of 20000 by 20000 cells cannot stand in a file of 135 bytes"},
    };
    for (const Case& c : cases) {
        AmbientRaster raster;
        try {
            AMBLOOK(400000.0f, 5800000.0f, 33, Name255(s.file("classes.asc", c.text)), raster);
            ADD_FAILURE() << "no error for " << c.message;
        } catch (const RunError& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
        }
        EXPECT_FALSE(raster.loaded);
    }
}

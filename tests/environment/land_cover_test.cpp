// Land cover to ground values: node positions against GDAL's reading of an Albers raster, the class
// table's rules, and the stops for a bad class or projection.
#include "environment/land_cover.h"

#include "environment/gdal_tools.h"

using namespace tn;
using namespace tntest;

namespace {

// The projection of the rasters below, in PROJ's terms and in the twelve lines of a text
// projection file (GDAL writes a WKT .prj instead). The central meridian -96.5 carries its sign on
// degrees and minutes.
const char* const kAlbers = "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96.5 +x_0=0 +y_0=0 +datum=WGS84 +units=m";
const std::string kPrj =
    "Projection    ALBERS\nDatum         WGS84\nSpheroid      WGS84\nUnits         METERS\nZunits        NO\n"
    "Xshift        0.0\nYshift        0.0\nParameters\n"
    "  29  30  0.0 /* 1st standard parallel\n  45  30  0.0 /* 2nd standard parallel\n"
    " -96 -30  0.0 /* central meridian\n  23   0  0.0 /* latitude of projection's origin\n";

// c.prj and the class table rnd/GroundImpedance.csv in d, then READCOVER of c.flt with the table
// looked for under `exedir` (by default d, given with trailing blanks, which the reader drops).
struct Cover {
    GRIDHEAD head;
    FloatGrid z, x, y;
    Cover(const ScratchDir& d, const std::string& table, const std::string& prj = kPrj, std::string exedir = "") {
        d.file("c.prj", prj);
        std::filesystem::create_directories(d.path / "rnd");
        d.file("rnd/GroundImpedance.csv", table);
        READCOVER(Name255(d / "c.flt"), exedir.empty() ? d.path.string() + "  " : exedir, 15, head, z, x, y);
    }
};

}  // namespace

// 3 by 2 cells of 30 m made by gdal_translate from an ASCII grid, near 95.4 W, 36.5 N, in UTM zone
// 15. Reference positions: gdaltransform of each node's cell corner to EPSG:32615. Tolerance:
// expect_nodes_at's. Measured: every node equals GDAL's position rounded to a float (before
// rounding, within 5e-7 m).
TEST(Readcover, NodesWhereGdalPutsThemAndClassesLookedUp) {
    TN_REQUIRE_GDAL_TOOLS();
    const ScratchDir d;
    const Positions utm = gdal_raster(d, d / "c.flt", 3, 2, 1e5, 1.5e6, 30, "41 42.7 -9999\n11 82 95\n", kAlbers,
                                      "EPSG:32615");
    const Cover c(d, "class,value\n11, 1000000\n41 50\n42,77\n82, 80\n95,500\n");
    EXPECT_TRUE(c.head.NX == 3 && c.head.NY == 2 && c.head.DX == 30.0f && c.head.DY == 30.0f);
    EXPECT_TRUE(c.head.X0 == c.x(1, 1) && c.head.Y0 == c.y(1, 1));
    expect_nodes_at(c.x, c.y, utm);
    // Southern row 11 82 95; northern row 41, 42.7 (class 42), no-data (class 11).
    EXPECT_EQ(c.z.v, (std::vector<float>{1000000, 80, 500, 50, 77, 1000000}));
}

// The class table: line 1 passed over, later lines overwrite, unnamed classes 200.0, and a bad line
// sets the class with what the work variables hold (class 12 takes the 7.0 of the line before); the
// shipped table (data/rnd) read with 71 in place of the 12. Raster cells, northern row first: 42.7
// (class 42), 11, no-data (class 11), 12. A bad class number in the table stops, where a bad value
// did not. The other broken inputs are the whole-program test's.
TEST(Readcover, ClassTableAndTheStops) {
    auto parallel = [](const char* deg) { return std::string(kPrj).replace(kPrj.find("  45  30"), 4, deg); };
    const struct { const char *table, *order; float last; std::string prj; std::vector<float> z; const char* stop; }
        kCases[] = {
        {"42,9\n", "LSBFIRST", 12, kPrj, {200, 200, 200, 200}, nullptr},       // only the heading
        {"h\n11,3.5\n", "LSBFIRST", 12, kPrj, {200, 3.5f, 3.5f, 200}, nullptr},   // no-data: class 11's value
        {"h\n42 9\n42 10\n12, 1\n", "MSBFIRST", 12, kPrj, {10, 200, 200, 1}, nullptr},
        {"h\n5, 7.0\n12, abc\n", "LSBFIRST", 12, kPrj, {200, 200, 200, 7}, nullptr},
        {nullptr, "LSBFIRST", 71, kPrj, {50, 1000000, 1000000, 200}, nullptr},
        {"h\n0, 5\n", "LSB", 1, kPrj, {}, "GroundImpedance.csv:2: class 0 is outside 1 to 200"},
        {"h\n11 1\n201, 5\n", "LSB", 1, kPrj, {}, "GroundImpedance.csv:3: class 201 is outside 1 to 200"},
        {"h\n", "msbfirst", 1, kPrj, {}, "c.hdr:7: expected the byte order LSB or MSB, found 'msbfirst'"},
        // Found by reading what fuzzing reached: a NaN angle set up a projection for every node,
        // each looked for among all before it (minutes for a raster of 300 by 300 cells).
        {"h\n", "LSB", 1, parallel(" nan"), {}, "c.prj:10: expected finite degrees, minutes and seconds of the second "
                                                "standard parallel, found nan 30 0"},
        {"h\n", "LSB", 1, parallel(" inf"), {}, "c.prj:10: expected finite degrees"},
    };
    for (const auto& c : kCases) {
        const ScratchDir d;
        d.file("c.hdr", hdr_text(2, 2, 100000.0, 1500000.0, 30.0, c.order));
        write_floats(d / "c.flt", {42.7f, 11.0f, -9999.0f, c.last}, c.order[0] == 'M');
        if (c.stop) {
            EXPECT_TRUE(holds(error_of([&] { Cover(d, c.table, c.prj); }), c.stop));
            continue;
        }
        const Cover cv(d, c.table ? c.table : "", c.prj, c.table ? "" : TN_SOURCE_DIR "/data");
        EXPECT_EQ((std::vector<float>{cv.z(1, 2), cv.z(2, 2), cv.z(1, 1), cv.z(2, 1)}), c.z) << c.table;
    }
}

// Land cover to ground values: node positions against GDAL's reading of an Albers raster, the class
// table's rules, and the failures of broken inputs.
#include "environment/land_cover.h"

#include <cstdio>

#include "environment/gdal_tools.h"

using namespace tn;
using namespace tntest;

namespace {

// The projection of the rasters below, in PROJ's terms and in the twelve lines of a text
// projection file (GDAL writes a WKT .prj instead). The central meridian -96.5 carries its sign on
// degrees and minutes.
const char* const kAlbers = "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96.5 +x_0=0 +y_0=0 +datum=WGS84 +units=m";
const char* const kPrj =
    "Projection    ALBERS\nDatum         WGS84\nSpheroid      WGS84\nUnits         METERS\nZunits        NO\n"
    "Xshift        0.0\nYshift        0.0\nParameters\n"
    "  29  30  0.0 /* 1st standard parallel\n  45  30  0.0 /* 2nd standard parallel\n"
    " -96 -30  0.0 /* central meridian\n  23   0  0.0 /* latitude of projection's origin\n";

// c.hdr, c.prj and the class table in d.
void write_sidecars(const ScratchDir& d, int nx, int ny, double x, double y, double cell, const char* order,
                    const std::string& table, const std::string& prj = kPrj) {
    d.file("c.hdr", hdr_text(nx, ny, x, y, cell, order));
    d.file("c.prj", prj);
    std::filesystem::create_directories(d.path / "rnd");
    d.file("rnd/GroundImpedance.csv", table);
}

struct Cover {
    GRIDHEAD head;
    FloatGrid z, x, y;
    void read(const std::string& name, const std::string& exedir) { READCOVER(Name255(name), exedir, 15, head, z, x, y); }
};

}  // namespace

// 3 by 2 cells of 30 m made by gdal_translate from an ASCII grid, near 95.4 W, 36.5 N, in UTM zone
// 15. Reference positions: gdaltransform of each node's cell corner to EPSG:32615. Tolerance:
// float_cm. Measured: every node equals GDAL's position rounded to a float (before rounding, within
// 5e-7 m).
TEST(Readcover, NodesWhereGdalPutsThemAndClassesLookedUp) {
    TN_REQUIRE_GDAL_TOOL("gdal_translate");
    TN_REQUIRE_GDAL_TOOL("gdaltransform");
    const ScratchDir d;
    const GdalRaster r = gdal_raster(d, "c", "ncols 3\nnrows 2\nxllcorner 100000\nyllcorner 1500000\ncellsize 30\n"
                                     "NODATA_value -9999\n41 42.7 -9999\n11 82 95\n", kAlbers, "EPSG:32615");
    const GeoTransform& g = r.g;
    write_sidecars(d, g.nx, g.ny, g.ox, g.oy + g.ny * g.py, g.px, "LSBFIRST",
                   "class,value\n11, 1000000\n41 50\n42,77\n82, 80\n95,500\n");
    Cover c;
    c.read(r.flt, d.path.string() + "  ");
    EXPECT_TRUE(c.head.NX == 3 && c.head.NY == 2 && c.head.DX == 30.0f && c.head.DY == 30.0f);
    EXPECT_TRUE(c.head.X0 == c.x(1, 1) && c.head.Y0 == c.y(1, 1));
    expect_nodes_at(c.x, c.y, r);
    // Southern row 11 82 95; northern row 41, 42.7 (class 42), no-data (class 11).
    EXPECT_EQ(c.z.v, (std::vector<float>{1000000, 80, 500, 50, 77, 1000000}));
}

// The class table: line 1 passed over, later lines overwrite, unnamed classes 200.0, and a bad line
// sets the class with what the work variables hold (class 12 takes the 7.0 of the line before). The
// last case reads the table shipped in data/rnd. Raster, northern row first: 42.7, 11, no-data, 12
// (71 in the last case).
TEST(Readcover, ClassTable) {
    const struct { const char* table; const char* order; std::vector<float> z; const char* what; } kCases[] = {
        {"42,9\n", "LSBFIRST", {200, 200, 200, 200}, "only the heading"},
        {"h\n11,3.5\n", "LSBFIRST", {200, 3.5f, 3.5f, 200}, "class 11 gives no-data cells their value"},
        {"h\n42 9\n42 10\n12, 1\n", "MSBFIRST", {10, 200, 200, 1}, "later lines overwrite; big-endian"},
        {"h\n5, 7.0\n12, abc\n", "LSBFIRST", {200, 200, 200, 7}, "a bad line"},
        {nullptr, "LSBFIRST", {50, 1000000, 1000000, 200}, "the shipped table"},
    };
    for (const auto& c : kCases) {
        const ScratchDir d;
        write_sidecars(d, 2, 2, 100000.0, 1500000.0, 30.0, c.order, c.table ? c.table : "");
        write_floats(d / "c.flt", {42.7f, 11.0f, -9999.0f, c.table ? 12.0f : 71.0f}, c.order[0] == 'M');
        Cover cv;
        cv.read(d / "c.flt", c.table ? d.path.string() : TN_SOURCE_DIR "/data");
        EXPECT_EQ((std::vector<float>{cv.z(1, 2), cv.z(2, 2), cv.z(1, 1), cv.z(2, 1)}), c.z) << c.what;
    }
}

// A bad class number in the table stops, where a bad value did not (above); a raster cell below
// class 1 stops, where 42.7 was class 42. The other broken inputs are the whole-program test's.
TEST(Readcover, BrokenInputsStopWithTheFileAndValue) {
    std::string nan_prj = kPrj, inf_prj = kPrj;   // in place of the second parallel's degrees
    nan_prj.replace(nan_prj.find("  45  30"), 4, " nan");
    inf_prj.replace(inf_prj.find("  45  30"), 4, " inf");
    const struct { const char* table; float cell; const char* order; std::string prj; const char* expect; } kCases[] = {
        {"h\n0, 5\n", 1, "LSB", kPrj, "GroundImpedance.csv:2: class 0 is outside 1 to 200"},
        {"h\n11 1\n201, 5\n", 1, "LSB", kPrj, "GroundImpedance.csv:3: class 201 is outside 1 to 200"},
        {"h\nx, 5\n", 1, "LSB", kPrj, "GroundImpedance.csv:2: item 1: expected"},
        {"h\n", 0.5f, "LSB", kPrj, "c.flt: byte 8: cell of column 1, row 2 from the north holds 0.5"},
        {"h\n", 1, "msbfirst", kPrj, "c.hdr:7: expected the byte order LSB or MSB, found 'msbfirst'"},
        // Found by reading what fuzzing reached: a NaN angle set up a projection for every node,
        // each looked for among all before it (minutes for a raster of 300 by 300 cells).
        {"h\n", 1, "LSB", nan_prj, "c.prj:10: expected finite degrees, minutes and seconds of the second standard "
                                  "parallel, found nan 30 0"},
        {"h\n", 1, "LSB", inf_prj, "c.prj:10: expected finite degrees"},
    };
    for (const auto& c : kCases) {
        const ScratchDir d;
        write_sidecars(d, 2, 2, 100000.0, 1500000.0, 30.0, c.order, c.table, c.prj);
        write_floats(d / "c.flt", {1, 1, c.cell, 1}, false);
        EXPECT_TRUE(holds(error_of([&d] { Cover().read(d / "c.flt", d.path.string()); }), c.expect));
    }
}

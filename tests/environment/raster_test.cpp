// Terrain rasters: node positions and heights against GDAL's reading of the same raster, the byte
// order word, the header's name, and the failures of broken pairs.
#include "environment/raster.h"

#include <cstdio>

#include "environment/gdal_tools.h"

using namespace tn;
using namespace tntest;

namespace {

struct Terrain {
    Name255 siteerr = "unset";
    int zone = -7;
    GRIDHEAD head;
    FloatGrid elev, elev2, xnode, ynode;
    std::size_t nodata = 99;
    void read(const std::string& name) { READFLT(Name255(name), siteerr, zone, head, elev, elev2, xnode, ynode, nodata); }
};

}  // namespace

// 4 by 3 cells of 0.05 degrees from 11.9 E, 52.4 N, made by gdal_translate from an ASCII grid. The
// corner lies in UTM zone 32, the two eastern columns in zone 33: every node must stay in zone 32.
// Reference positions: gdaltransform of the node's cell corner to EPSG:32632; reference heights:
// gdallocationinfo of the node's cell. Tolerance: float_cm. Measured: every node equals GDAL's
// position rounded to a float (before rounding, within 5e-7 m).
TEST(Readflt, NodesAndHeightsWhereGdalPutsThem) {
    TN_REQUIRE_GDAL_TOOL("gdal_translate");
    TN_REQUIRE_GDAL_TOOL("gdaltransform");
    TN_REQUIRE_GDAL_TOOL("gdallocationinfo");
    const ScratchDir d;
    const GdalRaster r = gdal_raster(d, "t", "ncols 4\nnrows 3\nxllcorner 11.9\nyllcorner 52.4\ncellsize 0.05\n"
                                     "NODATA_value -9999\n1 2 3 4\n5 6 -9999 8\n9 10 11 12.5\n", "EPSG:4326", "EPSG:32632");
    const GeoTransform& g = r.g;
    ASSERT_EQ(g.nx * g.ny, 12);
    std::string cells;   // the cell whose lower left corner is the node
    for (int j = 1; j <= g.ny; ++j)
        for (int i = 1; i <= g.nx; ++i) cells += std::to_string(i - 1) + " " + std::to_string(g.ny - j) + "\n";
    std::vector<float> heights;
    for (const auto& v : gdal_lines("gdallocationinfo -valonly '" + r.flt + "'", cells, d))
        heights.push_back(static_cast<float>(v.at(0)));

    d.file("t.hdr", hdr_text(g.nx, g.ny, g.ox, g.oy + g.ny * g.py, g.px, "LSBFIRST"));
    Terrain t;
    t.read(r.flt);
    EXPECT_EQ(t.zone, 32);
    EXPECT_EQ(t.siteerr, "none");
    expect_nodes_at(t.xnode, t.ynode, r);
    EXPECT_EQ(t.elev.v, heights);   // no-data (node (3, 2)) stays a height, and is counted
    EXPECT_EQ(t.nodata, 1u);
    EXPECT_EQ(t.elev2(1, 1), 1.0f);   // the file's rows as they stand, northern row first
    EXPECT_TRUE(t.head.X0 == t.xnode(1, 1) && t.head.Y0 == t.ynode(1, 1));
    EXPECT_NEAR(t.head.DX, std::fabs(r.utm[5][0] - r.utm[0][0]), 0.01);   // node (2, 2) against (1, 1)
    EXPECT_NEAR(t.head.DY, std::fabs(r.utm[5][1] - r.utm[0][1]), 0.01);
    EXPECT_EQ(nodata_warning(Name255(r.flt), 0), "");
    EXPECT_TRUE(holds(nodata_warning(Name255(r.flt), t.nodata), "1 cell of " + r.flt + " holds the no-data value"));

    const GeoTransform back = gdal_geotransform(r.flt);   // GDAL reads our header as the same grid
    EXPECT_NEAR(back.ox, g.ox, 1e-12);
    EXPECT_NEAR(back.oy, g.oy, 1e-12);
    EXPECT_NEAR(back.px, g.px, 1e-15);
}

// Big-endian floats on file; only the three capitals "MSB" at the start of the word select them.
TEST(Readflt, ByteOrderWord) {
    const ScratchDir d;
    const std::vector<float> h = {1.5f, -2.25f, 1000.0f, -9999.0f};
    write_floats(d / "t.flt", h, true);
    const struct { const char* word; bool big; } kCases[] = {
        {"MSBFIRST", true}, {"MSB", true}, {"MSBx", true}, {"msbfirst", false}, {"LSBFIRST", false}, {"M", false},
    };
    for (const auto& c : kCases) {
        d.file("t.hdr", hdr_text(2, 2, 10.0, 50.0, 0.001, c.word));
        Terrain t;
        t.read(d / "t.flt");
        for (std::size_t k = 0; k < h.size(); ++k) {
            const std::uint32_t bits = std::bit_cast<std::uint32_t>(h[k]);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(t.elev2.v[k]), c.big ? bits : byteswap32(bits)) << c.word;
        }
    }
}

TEST(SiblingName, ByPositionNotByExtension) {
    const struct { const char* name; const char* hdr; } kCases[] = {
        {"terrain.flt", "terrain.hdr"}, {"a.flt   ", "a.hdr"}, {"d.v2/t.flt", "d.v2/t.hdr"},
        {"x.FLTZ", "x.Fhdr"},           {"flt", "hdr"},         {"ab", "hdr"},
    };
    for (const auto& c : kCases) EXPECT_EQ(sibling_name(c.name, "hdr"), c.hdr) << c.name;
}

// The other broken pairs are the whole-program test's: a header missing, empty, cut or with text
// in it, a float file missing, cut short or a folder.
TEST(Readflt, AHeaderOfMoreCellsThanTheFileHoldsStops) {
    const ScratchDir d;
    d.file("t.hdr", hdr_text(100000, 100000, 10, 50, 0.1, "LSB"));
    write_floats(d / "t.flt", {1, 2, 3}, false);
    EXPECT_TRUE(holds(error_of([&d] { Terrain().read(d / "t.flt"); }),
                      "expected 100000 by 100000 floats (40000000000 bytes)"));
}

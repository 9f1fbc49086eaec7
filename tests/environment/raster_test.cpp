// Terrain rasters: node positions against GDAL's reading of the same raster, the heights row by
// row, the byte order word and the header's name. Broken pairs are the whole-program test's.
#include "environment/raster.h"

#include <cstring>

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
    explicit Terrain(const std::string& flt) { READFLT(Name255(flt), siteerr, zone, head, elev, elev2, xnode, ynode, nodata); }
};

}  // namespace

// 4 by 3 cells of 0.05 degrees from 11.9 E, 52.4 N, made by gdal_translate from an ASCII grid. The
// corner lies in UTM zone 32, the two eastern columns in zone 33: every node must stay in zone 32.
// Reference positions: gdaltransform of the node's cell corner to EPSG:32632. Tolerance:
// expect_nodes_at's. Measured: every node equals GDAL's position rounded to a float (before
// rounding, within 5e-7 m).
TEST(Readflt, NodesAndHeightsWhereGdalPutsThem) {
    TN_REQUIRE_GDAL_TOOLS();
    const ScratchDir d;
    const std::string flt = d / "t.flt";
    const Positions utm = gdal_raster(d, flt, 4, 3, 11.9, 52.4, 0.05, "1 2 3 4\n5 6 -9999 8\n9 10 11 12.5\n",
                                      "EPSG:4326", "EPSG:32632");
    const Terrain t(flt);
    EXPECT_EQ(std::tie(t.zone, t.siteerr), std::make_tuple(32, std::string_view("none")));
    expect_nodes_at(t.xnode, t.ynode, utm);
    // The rows put in, from the south; no-data (node (3, 2)) stays a height, and is counted.
    EXPECT_EQ(t.elev.v, (std::vector<float>{9, 10, 11, 12.5f, 5, 6, -9999, 8, 1, 2, 3, 4}));
    EXPECT_EQ(std::make_tuple(t.nodata, t.elev2(1, 1)), std::make_tuple(std::size_t{1}, 1.0f));   // elev2: north first
    EXPECT_TRUE(t.head.X0 == t.xnode(1, 1) && t.head.Y0 == t.ynode(1, 1));
    EXPECT_NEAR(t.head.DX, std::fabs(utm[5][0] - utm[0][0]), 0.01);   // node (2, 2) against (1, 1)
    EXPECT_NEAR(t.head.DY, std::fabs(utm[5][1] - utm[0][1]), 0.01);
    EXPECT_TRUE(holds(nodata_warning(Name255(flt), t.nodata), "1 cell of " + flt + " holds the no-data value"));
    EXPECT_EQ(nodata_warning(Name255(flt), 0), "");
}

// Big-endian floats on file; only the three capitals "MSB" at the start of the word select them.
// Compared bit for bit.
TEST(Readflt, ByteOrderWord) {
    const ScratchDir d;
    const std::vector<float> h = {1.5f, -2.25f, 1000.0f, -9999.0f};
    write_floats(d / "t.flt", h, true);
    std::vector<float> swapped;
    for (float f : h) swapped.push_back(std::bit_cast<float>(byteswap32(std::bit_cast<std::uint32_t>(f))));
    const struct { const char* word; bool big; } kCases[] = {
        {"MSBFIRST", true}, {"MSB", true}, {"MSBx", true}, {"msbfirst", false}, {"LSBFIRST", false}, {"M", false},
    };
    for (const auto& c : kCases) {
        d.file("t.hdr", hdr_text(2, 2, 10.0, 50.0, 0.001, c.word));
        EXPECT_EQ(std::memcmp(Terrain(d / "t.flt").elev2.v.data(), (c.big ? h : swapped).data(), 16), 0) << c.word;
    }
}

TEST(SiblingName, ByPositionNotByExtension) {
    for (const auto& [name, hdr] : {std::pair{"terrain.flt", "terrain.hdr"}, {"a.flt   ", "a.hdr"},
                                    {"d.v2/t.flt", "d.v2/t.hdr"}, {"x.FLTZ", "x.Fhdr"}, {"flt", "hdr"}, {"ab", "hdr"}})
        EXPECT_EQ(sibling_name(name, "hdr"), std::string(hdr)) << name;
}

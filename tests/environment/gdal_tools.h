// Test helpers: small files, and GDAL's command-line tools as the independent reference for what a
// GIS makes of a raster.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "io/binary_file.h"
#include "io/test_files.h"

namespace tntest {

inline std::string read_bytes(const std::string& name) {
    std::ostringstream s;
    s << std::ifstream(name, std::ios::binary).rdbuf();
    return s.str();
}

inline void write_floats(const std::string& name, const std::vector<float>& v, bool big_endian) {
    std::ofstream out(name, std::ios::binary);
    for (float f : v) {
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(f), u = big_endian ? tn::byteswap32(bits) : bits;
        out.write(reinterpret_cast<const char*>(&u), 4);
    }
}

// The seven header lines of a float raster in our order; GDAL's own EHdr header has another layout
// (BYTEORDER, LAYOUT, NROWS, NCOLS, ..., ULXMAP, ULYMAP, XDIM, YDIM, NODATA).
inline std::string hdr_text(int nx, int ny, double x, double y, double cell, const char* order) {
    char buf[512];
    std::snprintf(buf, sizeof buf, "ncols %d\nnrows %d\nxllcorner %.17g\nyllcorner %.17g\ncellsize %.17g\n"
                  "NODATA_value -9999\nbyteorder %s\n", nx, ny, x, y, cell, order);
    return buf;
}

#define TN_REQUIRE_GDAL_TOOLS()                                                                              \
    if (std::system("{ command -v gdal_translate && command -v gdaltransform; } >/dev/null 2>&1") != 0) \
    GTEST_SKIP() << "GDAL's command-line tools are not installed"

// Writes `flt` of nx by ny cells from the lower left corner (x, y) with gdal_translate from an
// ASCII grid of `rows` in the projection `srs`, with our header (same name, .hdr) in place of
// GDAL's. Returns GDAL's position in `utm` of each node's cell corner (pixel i - 1, line ny - j + 1
// for node (i, j), j counted from the south, i fastest): where a reader that puts node (1, 1) at the
// raster's corner puts them.
using Positions = std::vector<std::vector<double>>;
inline Positions gdal_raster(const ScratchDir& d, const std::string& flt, int nx, int ny, double x, double y,
                             double cell, const std::string& rows, const std::string& srs, const std::string& utm) {
    std::string asc = hdr_text(nx, ny, x, y, cell, "");
    asc.erase(asc.rfind("byteorder"));   // the rest is an ASCII grid's head
    EXPECT_EQ(std::system(("gdal_translate -q -of EHdr -ot Float32 -a_srs '" + srs + "' '" + d.file("g.asc", asc + rows) +
                           "' '" + flt + "'").c_str()), 0);
    d.file(flt.substr(0, flt.size() - 3) + "hdr", hdr_text(nx, ny, x, y, cell, "LSBFIRST"));
    std::string corners;
    for (int j = 1; j <= ny; ++j)
        for (int i = 1; i <= nx; ++i) corners += std::to_string(i - 1) + " " + std::to_string(ny - j + 1) + "\n";
    Positions utm_of_nodes;
    FILE* p = popen(("gdaltransform '" + flt + "' -t_srs " + utm + " < '" + d.file("q.txt", corners) + "'").c_str(), "r");
    char line[4096];
    while (p && std::fgets(line, sizeof line, p)) {
        std::istringstream ls(line);
        utm_of_nodes.emplace_back(std::istream_iterator<double>(ls), std::istream_iterator<double>());
    }
    EXPECT_TRUE(p && pclose(p) == 0);
    return utm_of_nodes;
}

// Node positions of a reader's grids against GDAL's. Tolerance: 1 cm beyond half a unit in the
// last place of the float that holds the position (0.25 m at northings of 4 to 8 million metres).
template <class Grid>
void expect_nodes_at(const Grid& x, const Grid& y, const Positions& utm) {
    auto tol = [](double v) {
        const float f = std::fabs(static_cast<float>(v));
        return 0.01 + 0.5 * (static_cast<double>(std::nextafter(f, INFINITY)) - f);
    };
    ASSERT_EQ(utm.size(), x.v.size());
    for (std::size_t k = 0; k < utm.size(); ++k) {
        EXPECT_NEAR(x.v[k], utm[k][0], tol(utm[k][0])) << "node " << k;
        EXPECT_NEAR(y.v[k], utm[k][1], tol(utm[k][1])) << "node " << k;
    }
}

}  // namespace tntest

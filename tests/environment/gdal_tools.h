// Test helpers: small files, and GDAL's command-line tools as the independent reference for what a
// GIS makes of a raster or a table.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

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

// Standard output of a shell command; `ok` tells whether it exited with 0.
inline std::string run(const std::string& cmd, bool* ok = nullptr) {
    std::string out;
    FILE* p = popen(cmd.c_str(), "r");
    char buf[4096];
    for (std::size_t n; p && (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
    const int st = p ? pclose(p) : -1;
    if (ok) *ok = st == 0;
    return out;
}

#define TN_REQUIRE_GDAL_TOOL(tool)                                                   \
    if (std::system("command -v " tool " >/dev/null 2>&1") != 0)                     \
    GTEST_SKIP() << tool " (GDAL) is not installed"

// Size, origin (upper left corner) and pixel size of a raster, as gdalinfo reports them.
struct GeoTransform {
    int nx = 0, ny = 0;
    double ox = 0, oy = 0, px = 0, py = 0;
};

inline GeoTransform gdal_geotransform(const std::string& raster) {
    GeoTransform g;
    std::istringstream in(run("gdalinfo '" + raster + "'"));
    for (std::string l; std::getline(in, l);) {
        std::sscanf(l.c_str(), "Size is %d, %d", &g.nx, &g.ny);
        std::sscanf(l.c_str(), "Origin = (%lf,%lf)", &g.ox, &g.oy);
        std::sscanf(l.c_str(), "Pixel Size = (%lf,%lf)", &g.px, &g.py);
    }
    return g;
}

// The numbers of each output line of a GDAL tool fed `input` (one query per line) on stdin.
inline std::vector<std::vector<double>> gdal_lines(const std::string& cmd, const std::string& input,
                                                   const ScratchDir& d) {
    std::istringstream out(run(cmd + " < '" + d.file("query.txt", input) + "'"));
    std::vector<std::vector<double>> rows;
    for (std::string l; std::getline(out, l);) {
        std::istringstream ls(l);
        rows.emplace_back(std::istream_iterator<double>(ls), std::istream_iterator<double>());
    }
    return rows;
}

// A float raster NAME.flt made by gdal_translate from an ASCII grid in the projection `srs`, and
// GDAL's position in `utm` of the lower left corner of the cell of each node (i, j), j counted from
// the south, i fastest: where a reader that puts node (1, 1) at the raster's corner puts them.
struct GdalRaster {
    std::string flt;
    GeoTransform g;
    std::vector<std::vector<double>> utm;
};

inline GdalRaster gdal_raster(const ScratchDir& d, const std::string& name, const std::string& asc,
                              const std::string& srs, const std::string& utm) {
    GdalRaster r{d / (name + ".flt"), {}, {}};
    bool ok = false;
    run("gdal_translate -q -of EHdr -ot Float32 -a_srs '" + srs + "' '" + d.file(name + ".asc", asc) + "' '" + r.flt + "'",
        &ok);
    EXPECT_TRUE(ok);
    r.g = gdal_geotransform(r.flt);
    std::string corners;
    for (int j = 1; j <= r.g.ny; ++j)
        for (int i = 1; i <= r.g.nx; ++i) corners += std::to_string(i - 1) + " " + std::to_string(r.g.ny - j + 1) + "\n";
    r.utm = gdal_lines("gdaltransform '" + r.flt + "' -t_srs " + utm, corners, d);
    return r;
}

// Tolerance of a position held as a float against a double reference: 1 cm beyond half a unit in
// the last place of the float (0.25 m at northings of 4 to 8 million metres).
inline double float_cm(double v) {
    const float f = std::fabs(static_cast<float>(v));
    return 0.01 + 0.5 * (static_cast<double>(std::nextafter(f, INFINITY)) - f);
}

// Node positions of a reader's grids against GDAL's, within float_cm.
template <class Grid>
void expect_nodes_at(const Grid& x, const Grid& y, const GdalRaster& r) {
    ASSERT_EQ(r.utm.size(), x.v.size());
    for (std::size_t k = 0; k < r.utm.size(); ++k) {
        EXPECT_NEAR(x.v[k], r.utm[k][0], float_cm(r.utm[k][0])) << "node " << k;
        EXPECT_NEAR(y.v[k], r.utm[k][1], float_cm(r.utm[k][1])) << "node " << k;
    }
}

}  // namespace tntest

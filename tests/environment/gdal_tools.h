// Test helpers: a scratch folder, small files, and GDAL's command-line tools as the independent
// reference for what a GIS makes of a raster or a table.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "io/binary_file.h"

namespace tntest {

// A fresh folder, removed with what it holds at the end of the test.
struct ScratchDir {
    std::filesystem::path path;
    ScratchDir() {
        std::string t = (std::filesystem::temp_directory_path() / "tn_gis_XXXXXX").string();
        path = mkdtemp(t.data());
    }
    ~ScratchDir() { std::error_code ec; std::filesystem::remove_all(path, ec); }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
};

inline void write_text(const std::string& name, const std::string& text) { std::ofstream(name, std::ios::binary) << text; }

inline std::string read_bytes(const std::string& name) {
    std::ostringstream s;
    s << std::ifstream(name, std::ios::binary).rdbuf();
    return s.str();
}

inline void write_floats(const std::string& name, const std::vector<float>& v, bool big_endian) {
    std::ofstream out(name, std::ios::binary);
    for (float f : v) {
        const std::uint32_t u = big_endian ? tn::byteswap32(std::bit_cast<std::uint32_t>(f)) : std::bit_cast<std::uint32_t>(f);
        out.write(reinterpret_cast<const char*>(&u), 4);
    }
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
    write_text(d / "query.txt", input);
    std::istringstream out(run(cmd + " < '" + (d / "query.txt") + "'"));
    std::vector<std::vector<double>> rows;
    for (std::string l; std::getline(out, l);) {
        std::istringstream ls(l);
        rows.emplace_back(std::istream_iterator<double>(ls), std::istream_iterator<double>());
    }
    return rows;
}

// Pixel/line of the lower left corner of the cell of node (i, j), j counted from the south, for
// every node, j outermost: where a reader that puts node (1, 1) at the raster's corner puts them.
inline std::string node_corners(int nx, int ny) {
    std::string s;
    for (int j = 1; j <= ny; ++j)
        for (int i = 1; i <= nx; ++i) s += std::to_string(i - 1) + " " + std::to_string(ny - j + 1) + "\n";
    return s;
}

// Tolerance of a position held as a float against a double reference: 1 cm beyond half a unit in
// the last place of the float (0.25 m at northings of 4 to 8 million metres).
inline double float_cm(double v) {
    const float f = std::fabs(static_cast<float>(v));
    return 0.01 + 0.5 * (static_cast<double>(std::nextafter(f, INFINITY)) - f);
}

}  // namespace tntest

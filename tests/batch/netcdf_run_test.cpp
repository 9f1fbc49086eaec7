// Runs with the option "CDF": a grid run and a site run of one small case (netcdf_case in
// case_builder.h) write .nc beside .tig and .tis, and every value of the .nc is read back against
// the text; GDAL and xarray, as real clients, place the lattice and decode the coordinates.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "case_builder.h"
#include "results/nc_read.h"

using namespace tntest;

namespace {

// The data lines of each section of a time-history file, by receiver name: the arrival time, then
// the 34 columns of Outrow and the metric.
using Sections = std::map<std::string, std::vector<std::vector<double>>>;
Sections sections(const std::string& text) {
    Sections out;
    std::vector<std::vector<double>>* cur = nullptr;
    for (const std::string& l : lines_of(text)) {
        if (l.rfind("Site: ", 0) == 0) cur = &out[l.substr(6, l.find_last_not_of(' ') - 5)];
        if (!cur || l.size() != 192) continue;
        std::vector<double> row{std::stod(l.substr(4, 12))};
        for (size_t c = 0; c < 35; ++c) row.push_back(std::stoi(l.substr(16 + 5 * c, 5)));
        cur->push_back(row);
    }
    return out;
}

// What a reader makes of the text's tenths written as a decimal ("-65.2"); NaN for -999.
float decimal(double tenths) {
    if (tenths == -999) return NAN;
    const int v = static_cast<int>(tenths);
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s%d.%d", v < 0 ? "-" : "", std::abs(v) / 10, std::abs(v) % 10);
    return std::strtof(buf, nullptr);
}

bool same(float got, float want) { return std::isnan(want) ? std::isnan(got) : got == want; }

// Where a receiver's values stand in the variables (C order): point p at off + p * ps, band b of
// point p at boff + p * bps + b * bs.
struct Place {
    size_t off, ps, boff, bps, bs;
};

constexpr int kPoints = 4, kBands = 3, kBandoff = 18;   // 500 Hz is BANDTAB position 18

// Every value of the receiver `name` against its section; all NaN without one. Returns whether it
// had a section.
bool matches(const NcRead& nc, const Sections& text, const std::string& name, const Place& at) {
    const std::vector<float> time = nc.floats("time"), flat = nc.floats("level_flat"), a = nc.floats("level_a"),
                             det = nc.floats("detectability"), level = nc.floats("level");
    const auto it = text.find(name);
    for (size_t p = 0; p < kPoints; ++p) {
        const size_t i = at.off + p * at.ps;
        if (it == text.end()) {
            EXPECT_TRUE(std::isnan(time[i]) && std::isnan(a[i]) && std::isnan(level[at.boff + p * at.bps])) << name;
            continue;
        }
        const std::vector<double>& r = it->second.at(p);
        EXPECT_NEAR(time[i], r[0], 0.0005) << name;   // the text rounds to three decimals
        EXPECT_TRUE(same(flat[i], decimal(r[1])) && same(a[i], decimal(r[2]))) << name << " point " << p;
        for (size_t b = 0; b < kBands; ++b)
            EXPECT_TRUE(same(level[at.boff + p * at.bps + b * at.bs], decimal(r[1 + kBandoff + 1 + b]))) << name;
        EXPECT_TRUE(same(det[i], r[35] == -999 ? NAN : static_cast<float>(r[35]))) << name;
    }
    return it != text.end();
}

class NetcdfRun : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new CaseDir("netcdf_run");
        netcdf_case(*dir);
        ASSERT_EQ(shell("'" + kProgram + "' --threads 2 run.txt > out.txt 2>&1"), 0) << dir->read("out.txt");
    }
    static void TearDownTestSuite() { delete dir; }
    static int shell(const std::string& cmd) { return tntest::shell(*dir, cmd); }
    static CaseDir* dir;
};
CaseDir* NetcdfRun::dir = nullptr;

}  // namespace

TEST_F(NetcdfRun, GridAndSiteValuesEqualTheText) {
    const Sections tig = sections(dir->read("g.tig")), tis = sections(dir->read("s.tis"));
    const NcRead g(dir->path("g.nc"));
    ASSERT_EQ(g.dim("x") * g.dim("y") * g.dim("point") * g.dim("band"), 4u * 3u * kPoints * kBands);
    EXPECT_EQ(g.doubles("x"), (std::vector<double>{490000, 500000, 510000, 520000}));
    EXPECT_EQ(g.doubles("y"), (std::vector<double>{3980000, 3990000, 4000000}));
    EXPECT_EQ(g.ints("band_number"), (std::vector<int>{27, 28, 29}));
    EXPECT_EQ(g.floats("frequency"), (std::vector<float>{500, 630, 800}));
    EXPECT_EQ(g.chunks("level"), (std::vector<size_t>{4, 1, 3, 1}));   // all points, one column's rows
    int computed = 0, passed = 0;
    for (int i = 2; i <= 5; ++i) {
        for (int j = 1; j <= 3; ++j) {
            char name[16];
            std::snprintf(name, sizeof name, "%04d%04d", i, j);
            const size_t yx = static_cast<size_t>(j - 1) * 4 + static_cast<size_t>(i - 2);
            (matches(g, tig, name, {yx, 12, yx, 36, 12}) ? computed : passed)++;
        }
    }
    EXPECT_GT(computed, 0);
    EXPECT_GT(passed, 0);

    const NcRead s(dir->path("s.nc"));
    const std::vector<std::string> names = s.strings("site_name");
    ASSERT_EQ(names, (std::vector<std::string>{"One", "Ground", "Far"}));
    for (size_t k = 0; k < 3; ++k) EXPECT_EQ(matches(s, tis, names[k], {4 * k, 1, 12 * k, 3, 1}), k != 1) << k;
}

TEST_F(NetcdfRun, GdalPlacesTheLatticeAndXarrayDecodesIt) {
    if (shell("command -v gdalinfo > /dev/null") != 0) GTEST_SKIP() << "gdalinfo is not installed";
    ASSERT_EQ(shell("gdalinfo 'NETCDF:\"g.nc\":level_a' > gdal.txt 2>&1"), 0);
    const std::string info = dir->read("gdal.txt");
    // Zone 11 north; the first column at 490000 and the last row at 4000000, spacing 10000: the
    // raster's corner lies half a cell beyond both.
    EXPECT_NE(info.find("ID[\"EPSG\",32611]"), std::string::npos) << info;
    EXPECT_NE(info.find("Size is 4, 3"), std::string::npos) << info;
    EXPECT_NE(info.find("Origin = (485000.000000000000000,4005000.000000000000000)"), std::string::npos) << info;
    EXPECT_NE(info.find("Pixel Size = (10000.000000000000000,-10000.000000000000000)"), std::string::npos) << info;
    EXPECT_EQ(info.find("Warning"), std::string::npos) << info;

    if (shell("/usr/bin/python3 -c 'import xarray, netCDF4' 2> /dev/null") != 0)
        GTEST_SKIP() << "python3-xarray or python3-netcdf4 is not installed";
    // Latitude and longitude against the section header's (7 decimals) of receiver (2, 1).
    const std::string head = dir->read("g.tig").substr(dir->read("g.tig").find("Site: 00020001"));
    const std::string lat = head.substr(head.find("Lat: ") + 5, 12), lon = head.substr(head.find("Long: ") + 6, 12);
    dir->write("read.py", "import xarray as xr\ng = xr.open_dataset('g.nc')\n"
                          "assert list(g.x.values) == [490000, 500000, 510000, 520000]\n"
                          "assert g.level_a.dims == ('point', 'y', 'x') and g.level.dims == ('point', 'band', 'y', 'x')\n"
                          "assert all(c in g.level_a.coords for c in ('time', 'lat', 'lon'))\n"
                          "assert abs(g.lat.values[0, 0] - " + lat + ") < 5.1e-8 and abs(g.lon.values[0, 0] - " + lon +
                          ") < 5.1e-8\n"
                          "assert g.crs.attrs['grid_mapping_name'] == 'transverse_mercator'\n"
                          "assert g.time.attrs['time_offset'] == 3600.5 and g.attrs['Conventions'] == 'CF-1.8'\n"
                          "s = xr.open_dataset('s.nc')\n"
                          "assert list(s.site_name.values) == ['One', 'Ground', 'Far'] and s.level_a.dims == ('site', 'point')\n"
                          "assert s.attrs['featureType'] == 'timeSeries' and s.site_name.attrs['cf_role'] == 'timeseries_id'\n"
                          "print('ok')\n");
    ASSERT_EQ(shell("/usr/bin/python3 read.py > py.txt 2>&1"), 0) << dir->read("py.txt");
    EXPECT_EQ(dir->read("py.txt"), "ok\n");
}

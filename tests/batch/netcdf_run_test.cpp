// Runs with the option "CDF": a grid run and a site run of one small case write .nc beside .tig and
// .tis, and every value of the .nc is read back against the text; GDAL and xarray, as real clients,
// place the lattice and decode the coordinates.
//
// The case: a 5 x 5 terrain of 10 km spacing from (480000, 3980000) in zone 11, a flight east along
// y = 3975000 at t = 0, 10, 20, 30 s, a source of three bands from 500 Hz (band numbers 27 to 29),
// a time offset of 1 h 0 min 0.5 s. The grid block is columns 2..5 and rows 1..3 of 5 x 5 positions:
// x = 490000 .. 520000 and y = 3980000 .. 4000000 by hand, spacing 10000. Receivers farther than
// the distance limit (18288 m) from every point are passed over, (520000, 4000000) among them; near
// ones have points beyond the limit too. Sites: one computed, one on the ground (passed over), one
// whose points are all beyond the limit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "case_builder.h"
#include "results/nc_read.h"

using namespace tntest;

namespace {

const std::string kBin = std::string(TN_BINARY_DIR);

struct Row {
    float t = 0.0f;
    std::string t_text;
    int v[35] = {};   // Outrow's 34 columns, then M
};
struct Section {
    std::string lat, lon;
    std::vector<Row> rows;
};

// Sections of a time-history file by receiver name.
std::map<std::string, Section> sections(const std::string& text) {
    std::map<std::string, Section> out;
    Section* cur = nullptr;
    bool data = false;
    for (const std::string& l : lines_of(text)) {
        if (l.rfind("Site: ", 0) == 0) {
            std::string name = l.substr(6);
            name.erase(name.find_last_not_of(' ') + 1);
            cur = &out[name];
            data = false;
        } else if (cur && l.rfind("Lat: ", 0) == 0) {
            cur->lat = l.substr(5, 12);
            cur->lon = l.substr(27, 12);
        } else if (cur && l.find(" AMBIENT ") != std::string::npos) {
            data = true;
        } else if (cur && data && l.size() == 192) {
            Row r;
            r.t_text = l.substr(4, 12);
            r.t = std::stof(r.t_text);
            for (int c = 0; c < 35; ++c) r.v[c] = std::stoi(l.substr(16 + 5 * static_cast<size_t>(c), 5));
            cur->rows.push_back(r);
        }
    }
    return out;
}

// The float a reader makes of the text's tenths written as a decimal ("-65.2"); the fill for -999.
float decimal(int tenths) {
    if (tenths == -999) return NAN;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s%d.%d", tenths < 0 ? "-" : "", std::abs(tenths) / 10, std::abs(tenths) % 10);
    return std::strtof(buf, nullptr);
}

bool same(float nc, float want) { return std::isnan(want) ? std::isnan(nc) : nc == want; }

struct CdfCase {
    CaseDir dir{"netcdf_run"};
    CdfCase() {
        dir.write_grid("t.grd", "ZALT", 5, 5, 10000.0f, 480000.0f, 3980000.0f, 11,
                       [](int i, int j) { return 20.0f + static_cast<float>(i + j); });
        dir.write_trajectory("t.trj", 59.0, 70.0,
                             {{0, 470000, 3975000, 300, 90, 0, 100, 80, 0}, {10, 480000, 3975000, 300, 90, 0, 100, 80, 0},
                              {20, 490000, 3975000, 300, 90, 0, 100, 80, 0}, {30, 500000, 3975000, 300, 90, 0, 100, 80, 0}});
        dir.write_source("s.lst", "s.tab", {500.0f, 630.0f, 800.0f},
                         [](int b, int a) { return 90.0f + 2.0f * static_cast<float>(b) + 0.1f * static_cast<float>(a); });
        dir.write("sites.txt", "x y z name\n490000 3980000 1.2 One\n500000 3980000 0.0 Ground\n"
                               "520000 4000000 1.2 Far\n");
        dir.write_control("c.ctl", {"t.grd", "-", "sites.txt", "t.trj", "-", "-", "s.lst"});
        std::string script = "open\nc.ctl\n";
        for (const char* opt : {"no", "CDF"}) {
            script += std::string("grid\ng\nii:    5\nii:    2   5\njj:    5\njj:    1   3\nopt: ") + opt +
                      "\nhrs:    1\nmin:    0\nsec:  0.500\n";
            script += std::string("site\ns\nopt: ") + opt + "\nhrs:    1\nmin:    0\nsec:  0.500\n";
        }
        dir.write("run.txt", script);
        const int code = std::system(("cd '" + dir.dir().string() + "' && '" + kBin +
                                      "/tracknoise' --threads 2 run.txt > out.txt 2> err.txt").c_str());
        EXPECT_EQ(code, 0) << dir.read("err.txt");
    }
    int shell(const std::string& cmd) const { return std::system(("cd '" + dir.dir().string() + "' && " + cmd).c_str()); }
};

const int kPoints = 4, kBands = 3, kBandoff = 18;   // 500 Hz is BANDTAB position 18

// Every value of a receiver in the .nc against its section (or fill values without one); `at(p)`
// and `at_band(p, b)` index the receiver's values in C order. Returns whether it had a section.
template <class At, class AtBand>
bool matches(const NcRead& nc, const std::map<std::string, Section>& text, const std::string& name, At at,
             AtBand at_band) {
    const std::vector<float> time = nc.floats("time"), flat = nc.floats("level_flat"), a = nc.floats("level_a"),
                             det = nc.floats("detectability"), level = nc.floats("level");
    const auto it = text.find(name);
    for (int p = 0; p < kPoints; ++p) {
        if (it == text.end()) {   // passed over
            EXPECT_TRUE(std::isnan(time[at(p)]) && std::isnan(a[at(p)]) && std::isnan(level[at_band(p, 0)])) << name;
            continue;
        }
        const Row& r = it->second.rows.at(static_cast<size_t>(p));
        // The text rounds the float to three decimals.
        EXPECT_NEAR(time[at(p)], r.t, 0.0005) << name << " " << r.t_text;
        EXPECT_TRUE(same(flat[at(p)], decimal(r.v[0]))) << name << " point " << p << ": " << flat[at(p)] << " " << r.v[0];
        EXPECT_TRUE(same(a[at(p)], decimal(r.v[1]))) << name << " point " << p;
        for (int b = 0; b < kBands; ++b)
            EXPECT_TRUE(same(level[at_band(p, b)], decimal(r.v[kBandoff + 1 + b]))) << name << " band " << b;
        EXPECT_TRUE(same(det[at(p)], r.v[34] == -999 ? NAN : static_cast<float>(r.v[34]))) << name;
    }
    return it != text.end();
}

}  // namespace

TEST(NetcdfRun, GridAndSiteValuesEqualTheText) {
    const CdfCase c;
    const std::map<std::string, Section> tig = sections(c.dir.read("g.tig")), tis = sections(c.dir.read("s.tis"));

    const NcRead g(c.dir.path("g.nc"));
    ASSERT_EQ(g.dim("x"), 4u);
    ASSERT_EQ(g.dim("y"), 3u);
    ASSERT_EQ(g.dim("point"), 4u);
    ASSERT_EQ(g.dim("band"), 3u);
    EXPECT_EQ(g.doubles("x"), (std::vector<double>{490000, 500000, 510000, 520000}));
    EXPECT_EQ(g.doubles("y"), (std::vector<double>{3980000, 3990000, 4000000}));
    EXPECT_EQ(g.ints("band_number"), (std::vector<int>{27, 28, 29}));
    const std::vector<double> lat = g.doubles("lat"), lon = g.doubles("lon");
    int computed = 0, passed = 0;
    for (int i = 2; i <= 5; ++i) {
        for (int j = 1; j <= 3; ++j) {
            char name[16];
            std::snprintf(name, sizeof name, "%04d%04d", i, j);
            const size_t yx = static_cast<size_t>(j - 1) * 4 + static_cast<size_t>(i - 2);   // (y, x), x fastest
            const bool has = matches(
                g, tig, name, [yx](int p) { return static_cast<size_t>(p) * 12 + yx; },
                [yx](int p, int b) { return (static_cast<size_t>(p) * kBands + static_cast<size_t>(b)) * 12 + yx; });
            (has ? computed : passed)++;
            if (has) {   // the section header's 7 decimals
                EXPECT_NEAR(lat[yx], std::stod(tig.at(name).lat), 5.1e-8) << name;
                EXPECT_NEAR(lon[yx], std::stod(tig.at(name).lon), 5.1e-8) << name;
            }
        }
    }
    EXPECT_GT(computed, 0);
    EXPECT_GT(passed, 0);
    EXPECT_EQ(g.chunks("level_a"), (std::vector<size_t>{4, 3, 1}));
    EXPECT_EQ(g.chunks("level"), (std::vector<size_t>{4, 1, 3, 1}));

    const NcRead s(c.dir.path("s.nc"));
    ASSERT_EQ(s.dim("site"), 3u);
    EXPECT_EQ(s.strings("site_name"), (std::vector<std::string>{"One", "Ground", "Far"}));
    for (size_t k = 0; k < 3; ++k) {
        matches(
            s, tis, s.strings("site_name")[k], [k](int p) { return k * kPoints + static_cast<size_t>(p); },
            [k](int p, int b) { return (k * kPoints + static_cast<size_t>(p)) * kBands + static_cast<size_t>(b); });
    }
    EXPECT_EQ(tis.count("Ground"), 0u);
    EXPECT_EQ(tis.count("Far"), 1u);
}

TEST(NetcdfRun, GdalPlacesTheLatticeAndXarrayDecodesIt) {
    const CdfCase c;
    if (c.shell("command -v gdalinfo > /dev/null") != 0) GTEST_SKIP() << "gdalinfo is not installed";
    ASSERT_EQ(c.shell("gdalinfo 'NETCDF:\"g.nc\":level_a' > gdal.txt 2>&1"), 0);
    const std::string info = c.dir.read("gdal.txt");
    // Zone 11 north; the lattice's first column at 490000 and last row at 4000000, spacing 10000:
    // the raster's corner lies half a cell beyond both.
    EXPECT_NE(info.find("ID[\"EPSG\",32611]"), std::string::npos) << info;
    EXPECT_NE(info.find("Size is 4, 3"), std::string::npos) << info;
    EXPECT_NE(info.find("Origin = (485000.000000000000000,4005000.000000000000000)"), std::string::npos) << info;
    EXPECT_NE(info.find("Pixel Size = (10000.000000000000000,-10000.000000000000000)"), std::string::npos) << info;
    EXPECT_EQ(info.find("Warning"), std::string::npos) << info;

    if (c.shell("/usr/bin/python3 -c 'import xarray, netCDF4' 2> /dev/null") != 0)
        GTEST_SKIP() << "python3-xarray or python3-netcdf4 is not installed";
    c.dir.write("read.py", R"(import xarray as xr
g = xr.open_dataset("g.nc")
assert list(g.x.values) == [490000, 500000, 510000, 520000], g.x.values
assert list(g.y.values) == [3980000, 3990000, 4000000], g.y.values
assert g.level_a.dims == ("point", "y", "x") and g.level.dims == ("point", "band", "y", "x")
for name in ("time", "lat", "lon"):
    assert name in g.level_a.coords, name
assert list(g.level.band_number.values) == [27, 28, 29]
assert g.x.attrs["standard_name"] == "projection_x_coordinate" and g.crs.attrs["grid_mapping_name"] == "transverse_mercator"
assert abs(float(g.time.attrs["time_offset"]) - 3600.5) < 1e-9
s = xr.open_dataset("s.nc")
assert list(s.site_name.values) == ["One", "Ground", "Far"], s.site_name.values
assert s.level_a.dims == ("site", "point") and "site_name" in s.level_a.coords
assert s.attrs["featureType"] == "timeSeries"
print("ok")
)");
    ASSERT_EQ(c.shell("/usr/bin/python3 read.py > py.txt 2>&1"), 0) << c.dir.read("py.txt");
    EXPECT_EQ(c.dir.read("py.txt"), "ok\n");
}

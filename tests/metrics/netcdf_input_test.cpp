// tracknoise-metrics on NetCDF results: one case run as text (.tig, .tis) and as NetCDF (.nc) gives
// byte-identical tables and GeoTIFF, alone and mixed in an operations file; netCDF files that are
// not results stop with the file and what was expected.
//
// The case (as in the NetCDF run test): a 5 x 5 terrain of 10 km spacing, a flight east along
// y = 3975000 at t = 0, 10, 20, 30 s, three bands from 500 Hz. The grid block, columns 2..5 and rows
// 1..3, holds receivers passed over (farther than the distance limit from every point) and near
// ones with points beyond the limit; the sites are one computed, one on the ground (passed over)
// and one whose points are all beyond the limit (a row with empty metrics).
#include <gtest/gtest.h>

#include <netcdf.h>

#include <filesystem>

#include "batch/case_builder.h"
#include "metrics/run.h"

using namespace tntest;

namespace {

RunResult metrics(const std::vector<std::string>& args) {
    std::vector<std::string> a = {std::string(TN_BINARY_DIR) + "/tracknoise-metrics"};
    a.insert(a.end(), args.begin(), args.end());
    std::ostringstream out, err;
    RunResult r;
    r.code = tn::run_metrics(a, out, err);
    r.out = out.str();
    r.err = err.str();
    return r;
}

class NetcdfInput : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new CaseDir("nc_input");
        dir->write_grid("t.grd", "ZALT", 5, 5, 10000.0f, 480000.0f, 3980000.0f, 11,
                        [](int i, int j) { return 20.0f + static_cast<float>(i + j); });
        dir->write_trajectory("t.trj", 59.0, 70.0,
                              {{0, 470000, 3975000, 300, 90, 0, 100, 80, 0}, {10, 480000, 3975000, 300, 90, 0, 100, 80, 0},
                               {20, 490000, 3975000, 300, 90, 0, 100, 80, 0}, {30, 500000, 3975000, 300, 90, 0, 100, 80, 0}});
        dir->write_source("s.lst", "s.tab", {500.0f, 630.0f, 800.0f},
                          [](int b, int a) { return 90.0f + 2.0f * static_cast<float>(b) + 0.1f * static_cast<float>(a); });
        dir->write("sites.txt", "x y z name\n490000 3980000 1.2 One\n500000 3980000 0.0 Ground\n520000 4000000 1.2 Far\n");
        dir->write_control("c.ctl", {dir->path("t.grd"), "-", dir->path("sites.txt"), dir->path("t.trj"), "-", "-", dir->path("s.lst")});
        std::string script = "open\n" + dir->path("c.ctl") + "\n";
        for (const std::string opt : {"no", "CDF"}) {
            const std::string time = "\nhrs:    1\nmin:    0\nsec:  0.500\n";
            script += "grid\n" + dir->path("g") + "\nii:    5\nii:    2   5\njj:    5\njj:    1   3\nopt: " + opt + time;
            script += "site\n" + dir->path("s") + "\nopt: " + opt + time;
        }
        dir->write("run.txt", script);
        const RunResult r = run({std::string(TN_BINARY_DIR) + "/tracknoise", dir->path("run.txt")});
        ASSERT_EQ(r.code, 0) << r.err;
    }
    static void TearDownTestSuite() { delete dir; }
    static CaseDir* dir;
};
CaseDir* NetcdfInput::dir = nullptr;

}  // namespace

TEST_F(NetcdfInput, TablesAndGeoTiffEqualThoseOfTheText) {
    for (const std::string text : {"g.tig", "s.tis"}) {
        const std::string nc = text.substr(0, 1) + ".nc";
        for (const std::string& in : {text, nc}) {
            const RunResult r = metrics({dir->path(in), "-o", dir->path(in), "--bands", "all", "--no-contours"});
            ASSERT_EQ(r.code, 0) << r.err;
        }
        const std::string csv = dir->read(text + ".metrics.csv");
        EXPECT_EQ(dir->read(nc + ".metrics.csv"), csv) << nc;
        // A row for each section of the text file: the receivers computed, and no other.
        size_t sections = 0;
        for (const std::string& l : lines_of(dir->read(text))) sections += l.rfind("Site: ", 0) == 0;
        EXPECT_EQ(lines_of(csv).size(), 1 + sections) << csv;
        EXPECT_GT(sections, 1u);
    }
    EXPECT_TRUE(dir->read("g.nc.metrics.tif") == dir->read("g.tig.metrics.tif"));

    // An operations file may mix the forms: the same receivers, the same sums.
    dir->write("text.csv", "file,day,evening,night\ng.tig,10,2,1\ng.tig,3,0,1\n");
    dir->write("mixed.csv", "file,day,evening,night\ng.nc,10,2,1\ng.tig,3,0,1\n");
    for (const char* ops : {"text.csv", "mixed.csv"}) {
        const RunResult r = metrics({"--ops", dir->path(ops), "--no-grid"});
        ASSERT_EQ(r.code, 0) << r.err;
    }
    EXPECT_EQ(dir->read("mixed.metrics.csv"), dir->read("text.metrics.csv"));
}

TEST_F(NetcdfInput, OtherNetcdfFilesStopWithWhatWasExpected) {
    // A netCDF file of another kind (a hemisphere's dimensions), a site result without its `time`,
    // one whose levels lie along the wrong dimensions, and a result cut in half.
    const auto make = [&](const std::string& name, const std::function<void(int)>& define) {
        int id = -1;
        ASSERT_EQ(nc_create(dir->path(name).c_str(), NC_CLOBBER, &id), NC_NOERR);
        define(id);
        ASSERT_EQ(nc_close(id), NC_NOERR);
    };
    const auto site_result = [](int id, bool time, bool wrong_shape) {
        int point = -1, band = -1, site = -1, v = -1;
        nc_def_dim(id, "point", 2, &point);
        nc_def_dim(id, "band", 0, &band);
        nc_def_dim(id, "site", 1, &site);
        const int sp[2] = {site, point}, ps[2] = {point, site};
        if (time) nc_def_var(id, "time", NC_FLOAT, 2, sp, &v);
        nc_def_var(id, "level_flat", NC_FLOAT, 2, sp, &v);
        nc_def_var(id, "level_a", NC_FLOAT, 2, wrong_shape ? ps : sp, &v);
    };
    make("hemi.nc", [](int id) {
        int d = -1, v = -1;
        nc_def_dim(id, "frequency", 3, &d);
        nc_def_var(id, "frequency", NC_FLOAT, 1, &d, &v);
    });
    make("notime.nc", [&](int id) { site_result(id, false, false); });
    make("shape.nc", [&](int id) { site_result(id, true, true); });
    const std::string whole = dir->read("g.nc");
    dir->write("cut.nc", whole.substr(0, whole.size() / 2));

    const struct {
        const char* file;
        std::string message;
    } cases[] = {
        {"hemi.nc", ": expected a tracknoise result (a netCDF file of the run option CDF) with the dimensions point and band, found no dimension 'point'"},
        {"notime.nc", ": expected the variable 'time' of a tracknoise result (a netCDF file of the run option CDF), found none"},
        {"shape.nc", ": expected variable 'level_a' along (site, point), found it along (point, site)"},
        {"cut.nc", ": expected a tracknoise result (a netCDF file of the run option CDF), found a file the netCDF library cannot read"},
    };
    for (const auto& c : cases) {
        const RunResult r = metrics({dir->path(c.file)});
        EXPECT_EQ(r.code, 1) << c.file;
        EXPECT_EQ(r.err.rfind("tracknoise-metrics: " + dir->path(c.file) + c.message, 0), 0u) << r.err;
        EXPECT_FALSE(dir->exists(std::string(c.file).substr(0, std::string(c.file).size() - 3) + ".metrics.csv")) << c.file;
    }
}

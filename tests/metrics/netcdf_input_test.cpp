// tracknoise-metrics on NetCDF results: one case run as text (.tig, .tis) and as NetCDF (.nc) gives
// byte-identical tables and GeoTIFF, alone and mixed in an operations file; netCDF files that are
// not results stop with the file and what was expected.
// The case is the NetCDF run test's (netcdf_case in case_builder.h): the grid block holds receivers
// passed over and near ones with points beyond the limit; one site has all its points beyond it (a
// row with empty metrics).
#include <gtest/gtest.h>

#include <netcdf.h>

#include <filesystem>

#include "batch/case_builder.h"
#include "metrics/run.h"

using namespace tntest;

namespace {

RunResult metrics(std::vector<std::string> args) {
    args.insert(args.begin(), kBin + "/tracknoise-metrics");
    return run(args, tn::run_metrics);
}

class NetcdfInput : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new CaseDir("nc_input");
        netcdf_case(*dir);
        const fs::path here = fs::current_path();
        fs::current_path(dir->dir());   // the case names its files relative to its folder
        const RunResult r = run({kProgram, "run.txt"});
        fs::current_path(here);
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

// A netCDF file of another kind (a hemisphere's dimensions) and a result cut in half. (The reader's
// checks of each variable's presence and shape meet only files made by hand; the fuzz target of
// NetCDF results reaches them.)
TEST_F(NetcdfInput, OtherNetcdfFilesStopWithWhatWasExpected) {
    int id = -1, d = -1, v = -1;
    ASSERT_EQ(nc_create(dir->path("hemi.nc").c_str(), NC_CLOBBER, &id), NC_NOERR);
    nc_def_dim(id, "frequency", 3, &d);
    nc_def_var(id, "frequency", NC_FLOAT, 1, &d, &v);
    ASSERT_EQ(nc_close(id), NC_NOERR);
    const std::string whole = dir->read("g.nc");
    dir->write("cut.nc", whole.substr(0, whole.size() / 2));
    const struct {
        const char* file;
        std::string message;
    } cases[] = {
        {"hemi.nc", ": expected a tracknoise result (a netCDF file of the run option CDF) with the dimensions point and band, found no dimension 'point'"},
        {"cut.nc", ": expected a tracknoise result (a netCDF file of the run option CDF), found a file the netCDF library cannot read"},
    };
    for (const auto& c : cases) {
        const RunResult r = metrics({dir->path(c.file)});
        EXPECT_EQ(r.code, 1) << c.file;
        EXPECT_EQ(r.err.rfind("tracknoise-metrics: " + dir->path(c.file) + c.message, 0), 0u) << r.err;
        EXPECT_FALSE(dir->exists(std::string(c.file).substr(0, std::string(c.file).size() - 3) + ".metrics.csv")) << c.file;
    }
}

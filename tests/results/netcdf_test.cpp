// The NetCDF writer on the hand-built sample run (a site run), read back through the netCDF library;
// a run that stops part-way; an empty grid block; the chunk shapes.
#include "results/netcdf.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "nc_read.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

struct Netcdf : ::testing::Test {
    ScratchDir dir;
    const std::filesystem::path here = std::filesystem::current_path();
    Netcdf() { std::filesystem::current_path(dir.path); }
    ~Netcdf() override { std::filesystem::current_path(here); }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(dir.path)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

// Equal, or both NaN.
bool same(const std::vector<float>& got, const std::vector<float>& want) {
    return std::equal(got.begin(), got.end(), want.begin(), want.end(),
                      [](float a, float b) { return std::isnan(b) ? std::isnan(a) : a == b; });
}

}  // namespace

// Expected values from sample_run.h's construction, by hand: tenths over 10 as the float nearest
// the decimal; NaN for -999 (the out-of-range point) and for all of the site passed over; the
// metric of the out-of-range point (-42) kept. Band k of the run is Outrow column Bandoff + 1 + k.
TEST_F(Netcdf, SampleSiteRunReadsBack) {
    const SampleRun s = sample_run("run.nc");
    write_sample(*make_netcdf_writer(), s);
    const NcRead nc("run.nc");
    const float nan = NAN;
    EXPECT_TRUE(same(nc.floats("level_a"), {nan, nan, nan, 59.8f, 59.7f, nan}));
    EXPECT_TRUE(same(nc.floats("detectability"), {nan, nan, nan, 17.0f, 16.0f, -42.0f}));
    EXPECT_TRUE(same(nc.floats("time"), {nan, nan, nan, 10.25f, 20.25f, 30.25f}));
    const std::vector<float> level = nc.floats("level");   // (site, point, band), 14 bands from 50 Hz
    ASSERT_EQ(level.size(), 2u * 3u * 14u);
    EXPECT_EQ(level[(1 * 3 + 0) * 14 + 0], 49.0f);
    EXPECT_EQ(level[(1 * 3 + 1) * 14 + 13], 62.1f);
    EXPECT_TRUE(std::isnan(level[(1 * 3 + 2) * 14 + 5]) && std::isnan(level[(0 * 3 + 1) * 14 + 5]));
    EXPECT_EQ(nc.ints("band_number").front(), 17);
    EXPECT_EQ(nc.floats("frequency").back(), 1000.0f);
    EXPECT_EQ(nc.strings("site_name"), (std::vector<std::string>{"Ground_Level", "Airport_North"}));
}

// A run that stops part-way (the writer is dropped without finish) leaves the earlier file as it
// was and nothing else: no partial file, no lock. A name in a missing folder stops with the message
// every writer gives, and leaves nothing either.
TEST_F(Netcdf, StopPartWayLeavesTheEarlierFile) {
    dir.file("run.nc", "earlier");
    SampleRun s = sample_run("run.nc");
    {
        const auto w = make_netcdf_writer();
        w->open(s.header);
        w->receiver(s.ground);
        EXPECT_EQ(files(), (std::vector<std::string>{"run.nc", "run.nc.lock", "run.nc.partial"}));
    }
    EXPECT_EQ(files(), std::vector<std::string>{"run.nc"});
    std::string text;
    std::getline(std::ifstream("run.nc"), text);
    EXPECT_EQ(text, "earlier");

    s.header.Runout = "missing/run.nc";
    EXPECT_TRUE(holds(error_of([&] { make_netcdf_writer()->open(s.header); }),
                      "missing/run.nc: cannot create the result file: "));
    EXPECT_EQ(files(), std::vector<std::string>{"run.nc"});
}

// A grid block that runs backwards has no positions: lattice dimensions of length 0, and the
// receivers handed over (zero-filled, passed over) have no place.
TEST_F(Netcdf, EmptyGridBlock) {
    SampleRun s = sample_run("empty.nc");
    s.header.grid = true;
    s.header.block = {21, 5, 4, 21, 3, 1};
    write_sample(*make_netcdf_writer(), s);
    const NcRead nc("empty.nc");
    EXPECT_EQ(nc.dim("x") + nc.dim("y"), 0u);
    EXPECT_TRUE(nc.floats("level_a").empty());
}

// Chunk shapes: at most 64 receivers and 128 points, spread evenly; a stripe of all variables within
// 32 MiB (one row at the least). By hand: 100 rows in two stripes of 50; 300 points in three chunks
// of 100; 1000 rows in 16 stripes of 62.5, rounded up to 63; 10000 points of 28 values of 4 bytes
// are 1.12 MB a row, 29 rows fit, so 40 rows make two stripes of 20, and 10000 points 79 chunks of
// 127; a million points are 112 MB a row, so one row.
TEST(NetcdfChunks, ShapesByHand) {
    struct Case {
        long receivers;
        int Npts, Nband, rows, points;
    };
    for (const Case& c : {Case{100, 300, 24, 50, 100}, Case{1000, 1000, 24, 63, 125}, Case{5, 1, 1, 5, 1},
                          Case{64, 128, 32, 64, 128}, Case{65, 129, 32, 33, 65}, Case{21, 1000000, 24, 1, 128},
                          Case{40, 10000, 24, 20, 127}}) {
        const NcChunking k = netcdf_chunking(c.receivers, c.Npts, c.Nband);
        EXPECT_EQ(k.rows, c.rows) << c.receivers << " " << c.Npts;
        EXPECT_EQ(k.points, c.points) << c.receivers << " " << c.Npts;
    }
}

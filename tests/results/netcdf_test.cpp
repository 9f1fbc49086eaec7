// The NetCDF writer on the hand-built sample run (a site run), read back through the netCDF library;
// a run that stops part-way; the chunk shapes.
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
};

std::vector<std::string> files_in(const std::filesystem::path& d) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(d)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

// Expected values from sample_run.h's construction, written out by hand: tenths over 10 as the
// nearest float to the decimal, NaN for -999 and for the site passed over. Exact comparison.
TEST_F(Netcdf, SampleSiteRunReadsBack) {
    SampleRun s = sample_run("run.nc");
    s.header.program = "tracknoise 9.9";
    s.header.date = {2015, 5, 15};
    s.header.Tstart = 5415.5f;
    const auto w = make_netcdf_writer();
    write_sample(*w, s);

    const NcRead nc("run.nc");
    EXPECT_EQ(nc.dim("site"), 2u);
    EXPECT_EQ(nc.dim("point"), 3u);
    EXPECT_EQ(nc.dim("band"), 14u);
    const float nan = NAN;
    const std::vector<float> level_a = nc.floats("level_a"), flat = nc.floats("level_flat"),
                             det = nc.floats("detectability"), time = nc.floats("time"), level = nc.floats("level");
    const std::vector<float> want_a = {nan, nan, nan, 59.8f, 59.7f, nan};
    const std::vector<float> want_flat = {nan, nan, nan, 65.2f, 65.1f, nan};
    const std::vector<float> want_det = {nan, nan, nan, 17.0f, 16.0f, -42.0f};
    const std::vector<float> want_time = {nan, nan, nan, 10.25f, 20.25f, 30.25f};
    for (size_t k = 0; k < 6; ++k) {
        EXPECT_TRUE(std::isnan(want_a[k]) ? std::isnan(level_a[k]) : level_a[k] == want_a[k]) << k << " " << level_a[k];
        EXPECT_TRUE(std::isnan(want_flat[k]) ? std::isnan(flat[k]) : flat[k] == want_flat[k]) << k << " " << flat[k];
        EXPECT_TRUE(std::isnan(want_det[k]) ? std::isnan(det[k]) : det[k] == want_det[k]) << k << " " << det[k];
        EXPECT_TRUE(std::isnan(want_time[k]) ? std::isnan(time[k]) : time[k] == want_time[k]) << k << " " << time[k];
    }
    // level(site, point, band): the run's first band (50 Hz, Outrow column 10) and its last (1000 Hz,
    // column 23); the out-of-range point and the site passed over are NaN throughout.
    ASSERT_EQ(level.size(), 2u * 3u * 14u);
    auto at = [&level](size_t site, size_t point, size_t band) { return level[(site * 3 + point) * 14 + band]; };
    EXPECT_EQ(at(1, 0, 0), 49.0f);
    EXPECT_EQ(at(1, 1, 13), 62.1f);
    EXPECT_TRUE(std::isnan(at(1, 2, 5)));
    for (size_t p = 0; p < 3; ++p) EXPECT_TRUE(std::isnan(at(0, p, 7)));

    EXPECT_EQ(nc.floats("frequency").front(), 50.0f);
    EXPECT_EQ(nc.floats("frequency").back(), 1000.0f);
    EXPECT_EQ(nc.ints("band_number"), (std::vector<int>{17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30}));
    EXPECT_EQ(nc.ints("point_number"), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(nc.strings("site_name"), (std::vector<std::string>{"Ground_Level", "Airport_North"}));
    EXPECT_EQ(nc.floats("height"), (std::vector<float>{0.0f, 1.2f}));
    EXPECT_EQ(nc.doubles("lat")[1], 52.519998518);
    EXPECT_EQ(nc.doubles("x")[1], 391779.0);

    EXPECT_EQ(nc.text(nullptr, "Conventions"), "CF-1.8");
    EXPECT_EQ(nc.text(nullptr, "featureType"), "timeSeries");
    EXPECT_EQ(nc.text(nullptr, "source"), "tracknoise 9.9");
    EXPECT_EQ(nc.text(nullptr, "history").substr(0, 12), "2015-05-15: ");
    EXPECT_EQ(nc.text(nullptr, "trajectory_file"), "track.trj");
    EXPECT_EQ(nc.text("site_name", "cf_role"), "timeseries_id");
    EXPECT_EQ(nc.text("crs", "grid_mapping_name"), "transverse_mercator");
    EXPECT_TRUE(holds(nc.text("crs", "crs_wkt"), "AUTHORITY[\"EPSG\",\"32633\"]"));
    EXPECT_EQ(nc.text("level_a", "grid_mapping"), "crs");
    EXPECT_EQ(nc.text("level_a", "units"), "dB");
}

// A run that stops part-way (the writer is dropped without finish) leaves the earlier file as it
// was and nothing else: no partial file, no lock. A name in a missing folder stops with the message
// every writer gives and leaves nothing either.
TEST_F(Netcdf, StopPartWayLeavesTheEarlierFile) {
    dir.file("run.nc", "earlier");
    SampleRun s = sample_run("run.nc");
    {
        const auto w = make_netcdf_writer();
        w->open(s.header);
        w->receiver(s.ground);
        EXPECT_EQ(files_in(dir.path), (std::vector<std::string>{"run.nc", "run.nc.lock", "run.nc.partial"}));
    }
    EXPECT_EQ(files_in(dir.path), std::vector<std::string>{"run.nc"});
    std::ifstream earlier("run.nc");
    std::string text;
    std::getline(earlier, text);
    EXPECT_EQ(text, "earlier");

    s.header.Runout = "missing/run.nc";
    const auto w = make_netcdf_writer();
    EXPECT_TRUE(holds(error_of([&] { w->open(s.header); }), "missing/run.nc: cannot create the result file: "));
    EXPECT_EQ(files_in(dir.path), std::vector<std::string>{"run.nc"});
}

// Chunk shapes: at most 64 receivers and 128 points, spread evenly; a stripe of all variables within
// 32 MiB (one row at the least). Hand-worked: 100 rows in two stripes of 50; 300 points in three of
// 100; 1000 rows in 16 stripes of 62.5, rounded up to 63; 10000 points of 28 values of 4 bytes are
// 1.12 MB a row, 29 rows fit, so 40 rows make two stripes of 20, and 10000 points 79 chunks of 127;
// a million points are 112 MB a row, over the limit, so one row.
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

// The NetCDF writer: a run that stops part-way, an empty grid block, the chunk shapes. Its values are
// the NetCDF run test's, against the text files of the same run.
#include "results/netcdf.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "nc_read.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

struct Netcdf : InScratch {
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(dir.path)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

}  // namespace

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

// The time-history writer on the hand-built sample run: the expected lines are written out here
// from the file layout, not with the writer's code.
#include "results/timehist.h"

#include "environment/gdal_tools.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

using Timehist = InScratch;

// Columns F, A and bands 10 to 41 of a data line, four wide each after a blank; bands 17 to 30 hold
// 400 + 10 (b - 8) + n in range, -999 beyond.
std::string columns(int flat, int a, int n, bool in_range = true) {
    char buf[8];
    std::string s;
    auto col = [&](int v) { std::snprintf(buf, sizeof buf, " %4d", v); s += buf; };
    col(flat);
    col(a);
    for (int b = 10; b <= 41; ++b) col(in_range && b >= 17 && b <= 30 ? 400 + 10 * (b - 8) + n : -999);
    return s;
}

}  // namespace

// File header, one section (the receiver on the ground has none), its out-of-range line with -999
// in every level and its metric as computed.
TEST_F(Timehist, WriterOnTheSampleRun) {
    write_sample(*make_time_history_writer(true, true), sample_run("run.tis"));
    const std::vector<std::string> got = split_lines(read_bytes("run.tis"));
    std::string ambient = "   0 AMBIENT     -999  452";
    for (int b = 10; b <= 41; ++b) {
        char buf[8];
        std::snprintf(buf, sizeof buf, " %4d", b >= 17 && b <= 40 ? 300 - 5 * (b - 16) : -999);
        ambient += buf;
    }
    const std::vector<std::string> want = {
        "Filename: run.tis", "terrain.grd", "-", "sites.txt", "notes", "-", "track.trj", "jet.lst",
        "---End File Header---",
        "Site: Airport_North" + std::string(51, ' '),
        "Integ:                   Spec:   3",
        "Lat:   52.5199985    Long:   13.4049962          User X:      391779.    User Y:     5820072.",
        "UTM Zone:  33    Easting:  391779.    Northing: 5820072.",
        "15 May 2015",
        "Echo",
        std::string(kRuler),
        std::string(kRule),
        ambient,
        "   1      10.250" + columns(652, 598, 0) + "   17 ",
        "   2      20.250" + columns(651, 597, 1) + "   16 ",
        "   3      30.250" + columns(-999, -999, 0, false) + "  -42 ",
        "---End of This Data Section---",
    };
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t k = 0; k < want.size(); ++k) EXPECT_EQ(got[k], want[k]) << "line " << k + 1;
    EXPECT_EQ(got[18].size(), 192u);
}

// A name beginning with "-" keeps the header alone, and one with neither ".tig" nor ".tis" gets
// section headers without lines. (A grid run's block in the header is the run table's.)
TEST_F(Timehist, NamesWithoutRows) {
    write_sample(*make_time_history_writer(false, true), sample_run("-a.tis"));
    EXPECT_EQ(split_lines(read_bytes("-a.tis")).size(), 9u);
    write_sample(*make_time_history_writer(true, false), sample_run("a.ti"));
    EXPECT_EQ(split_lines(read_bytes("a.ti")).size(), 9u + 9u);
}

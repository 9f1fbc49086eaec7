// The time-history writer on the hand-built sample run: the expected lines are written out here
// from the file layout, not with the writer's code.
#include "results/timehist.h"

#include "environment/gdal_tools.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

struct Timehist : ::testing::Test {
    ScratchDir dir;
    const std::filesystem::path here = std::filesystem::current_path();
    Timehist() { std::filesystem::current_path(dir.path); }
    ~Timehist() override { std::filesystem::current_path(here); }
};

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> v;
    std::size_t at = 0;
    for (std::size_t nl; (nl = text.find('\n', at)) != std::string::npos; at = nl + 1) v.push_back(text.substr(at, nl - at));
    EXPECT_EQ(at, text.size()) << "the file ends inside a line";
    return v;
}

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
    const std::vector<std::string> got = lines(read_bytes("run.tis"));
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

// A grid run's header adds the block; a name beginning with "-" keeps the header alone, and one with
// neither ".tig" nor ".tis" gets section headers without lines.
TEST_F(Timehist, GridBlockAndNamesWithoutRows) {
    SampleRun run = sample_run("g.tig");
    run.header.grid = true;
    run.header.block = {5, 2, 3, 7, 4, 4};
    write_sample(*make_time_history_writer(true, true), run);
    const std::vector<std::string> g = lines(read_bytes("g.tig"));
    EXPECT_EQ(g[6], "ii:    2     3     5");
    EXPECT_EQ(g[7], "jj:    4     4     7");

    write_sample(*make_time_history_writer(false, true), sample_run("-a.tis"));
    EXPECT_EQ(lines(read_bytes("-a.tis")).size(), 9u);
    write_sample(*make_time_history_writer(true, false), sample_run("a.ti"));
    EXPECT_EQ(lines(read_bytes("a.ti")).size(), 9u + 9u);
}

// The time-history reader: the writer's file of the sample run read back whole, and files broken
// in each way a reader meets (foreign, cut, out of layout, a grid's receivers out of their block
// or order), each with the line it names. Random breakage is the fuzz target's.
#include "results/timehist_reader.h"

#include "results/timehist.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

std::string sample_text(bool grid) {
    SampleRun s = sample_run(grid ? "g.tig" : "s.tis");
    std::string text;
    if (grid) {
        s.header.grid = true;
        s.header.block = {5, 2, 3, 5, 4, 4};
        s.north.head.Name = "00020004";
        append_file_header(text, s.header);
        append_section(text, s.north, true);
        s.north.head.Name = "00030004";
        append_section(text, s.north, true);
    } else {
        append_file_header(text, s.header);
        append_section(text, s.north, true);
    }
    return text;
}

std::string join(const std::vector<std::string>& lines) {
    std::string s;
    for (const std::string& l : lines) s += l + "\n";
    return s;
}

}  // namespace

TEST(TimeHistoryReader, ReadsBackWhatTheWriterWrote) {
    ScratchDir dir;
    const SampleRun s = sample_run("s.tis");
    TimeHistoryReader r(dir.file("s.tis", sample_text(false)));
    EXPECT_FALSE(r.header().grid);
    EXPECT_EQ(r.header().Runout, "s.tis");
    EXPECT_EQ(r.header().Trackfile, "track.trj");
    EXPECT_EQ(r.header().Srcfile, "jet.lst");
    ReceiverHistory h;
    ASSERT_TRUE(r.next(h));
    EXPECT_EQ(r.where(), dir / "s.tis:10");
    EXPECT_EQ(h.head.Name, "Airport_North");
    // The position from latitude and longitude comes back to the float that was written.
    EXPECT_EQ(h.head.x, s.north.head.x);
    EXPECT_EQ(h.head.y, s.north.head.y);
    EXPECT_EQ(h.head.Utmzone, 33);
    EXPECT_NEAR(h.head.lat, s.north.head.lat, 5e-8);
    for (int c = 0; c < kRowColumns; ++c) EXPECT_EQ(h.head.Ambrow[c], s.north.head.Ambrow[c]) << c;
    ASSERT_EQ(h.points.size(), 3u);
    for (std::size_t n = 0; n < 3; ++n) {
        const HistoryPoint &got = h.points[n], &want = s.north.points[n];
        EXPECT_EQ(got.t, want.t);
        EXPECT_EQ(got.M, want.M);
        EXPECT_EQ(got.in_range, want.in_range);
        for (int c = 0; c < kRowColumns; ++c) EXPECT_EQ(got.Outrow[c], want.Outrow[c]) << n << " " << c;
    }
    EXPECT_FALSE(r.next(h));
}

TEST(TimeHistoryReader, BrokenFilesStopAtTheirLine) {
    // Lines of the site file: header 1-9, "Site:" 10, count 11, position 12-13, date 14, "Echo" 15,
    // ruler 16-17, ambient 18, points 19-21, end 22. The grid file: header 1-11, sections from 12
    // and 25.
    const std::vector<std::string> site = split_lines(sample_text(false)), grid = split_lines(sample_text(true));
    const auto edit = [](std::vector<std::string> v, std::size_t line, const std::string& text) {
        v[line - 1] = text;
        return join(v);
    };
    const auto first = [](const std::vector<std::string>& v, std::size_t n) {
        return join(std::vector<std::string>(v.begin(), v.begin() + static_cast<long>(n)));
    };
    std::string letter = site[18];
    letter[23] = 'x';
    std::string point = site[19];
    point[3] = '7';
    std::vector<std::string> early = site;
    early.erase(early.begin() + 20);
    std::vector<std::string> order = grid;
    order[11] = "Site: 00030004";
    order[24] = "Site: 00020004";
    const struct {
        const char* what;
        std::string text;
        std::string message;
    } cases[] = {
        {"foreign", "Flight track\nline 2\n", ":1: expected 'Filename: ' and a result's name"},
        {"cut in the header", first(site, 5), ":6: expected the file header's '---End File Header---', found the end of the file"},
        {"cut between points", first(site, 20), ":21: expected data line 3 of 3 of receiver 'Airport_North', found the end of the file (the file is cut short)"},
        {"cut inside a line", first(site, 19) + site[19].substr(0, 50), ":20: expected data line 2, found the end of the file inside the line"},
        {"cut before the end line", first(site, 21), ":22: expected '---End of This Data Section---' after 3 data lines"},
        {"the unbroken site file", join(site), "no error"},
        {"the unbroken grid file", join(grid), "no error"},
        {"letter in the A column", edit(site, 19, letter), ":19: columns 22-26 (A, the A-weighted level in tenths of a dB): expected an integer"},
        {"point number", edit(site, 20, point), ":20: columns 1-4: expected the point number 2, found '   7'"},
        {"end line early", join(early), ":21: expected data line 3 of 3 of receiver 'Airport_North', found the section's end line"},
        {"no Echo", edit(site, 15, "Echo?"), ":15: expected 'Echo', found 'Echo?'"},
        {"month", edit(site, 14, "15 Mai 2015"), ":14: columns 4-6: expected a month"},
        {"grid receiver outside the block", edit(grid, 12, "Site: 00090004"), ":12: expected a receiver of the block of the file header (columns 2 to 3, rows 4 to 4), found '00090004'"},
        {"grid receivers out of order", join(order), ":25: expected the receivers in lattice order (column by column, rows rising), found '00020004' after '00030004'"},
        {"grid name", edit(grid, 12, "Site: Hilltop"), ":12: expected a grid receiver's name of four digits"},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        const std::string path = dir.file("f.tis", c.text);
        const std::string got = error_of([&] {
            TimeHistoryReader r(path);
            ReceiverHistory h;
            while (r.next(h)) {
            }
        });
        EXPECT_TRUE(holds(got, c.message)) << c.what;
        if (c.message != "no error") {
            EXPECT_EQ(got.rfind(path + ":", 0), 0u) << c.what << ": " << got;
        }
    }
}

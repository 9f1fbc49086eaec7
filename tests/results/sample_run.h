// A hand-built run for the writers' tests: two receivers of three points, the first passed over
// (on the ground), the second with its third point out of range. A new writer is tested on the
// same run: hand it `sample_run()` and read its file back.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "io/test_files.h"
#include "results/bands.h"
#include "results/writer.h"

namespace tntest {

struct SampleRun {
    tn::RunHeader header;
    tn::ReceiverHistory ground;   // passed over
    tn::ReceiverHistory north;    // computed
};

// Levels of the computed points in tenths: flat, A, then 32 bands (only 50 Hz to 1000 Hz, positions
// 8 to 21, computed); the out-of-range point holds -999 in all of them.
inline SampleRun sample_run(const std::string& Runout) {
    SampleRun s;
    tn::RunHeader& h = s.header;
    h.Runout = Runout;
    h.Terrfile = "terrain.grd";
    h.Gndfile = "-";
    h.Sitefile = "sites.txt";
    h.Infofile = "notes";
    h.Ambfile = "-";
    h.Trackfile = "track.trj";
    h.Srcfile = "jet.lst";
    h.Npts = 3;
    h.Nrecv = 2;
    h.Utmzone = 33;
    for (int p = 8; p <= 21; ++p) h.Freq.push_back(tn::BANDTAB[p - 1]);
    h.Bandoff = 8;

    // 33N 391779 5820072: latitude and longitude from GeoConvert (GeographicLib 2.1.2).
    auto head = [](tn::ReceiverHead& r, int idx, const char* name, float z) {
        r.Siteidx = idx;
        r.Name = name;
        r.x = 391779.0f;
        r.y = 5820072.0f;
        r.z = z;
        r.Utmzone = 33;
        r.lat = 52.519998518;
        r.lon = 13.404996232;
        r.user_x = 391779.0f;
        r.user_y = 5820072.0f;
        r.date = {2015, 5, 15};
        for (int& v : r.Ambrow) v = tn::kMissingTenths;
        r.Ambrow[1] = 452;
        for (int k = 1; k <= 24; ++k) r.Ambrow[8 + k] = 300 - 5 * k;
    };
    head(s.ground.head, 1, "Ground_Level", 0.0f);
    s.ground.computed = false;
    head(s.north.head, 2, "Airport_North", 1.2f);
    s.north.computed = true;
    s.north.points.resize(3);
    for (int n = 0; n < 3; ++n) {
        tn::HistoryPoint& p = s.north.points[static_cast<std::size_t>(n)];
        p.t = 10.25f + 10.0f * static_cast<float>(n);
        p.in_range = n < 2;
        for (int& v : p.Outrow) v = tn::kMissingTenths;
        if (p.in_range) {
            p.Outrow[0] = 652 - n;
            p.Outrow[1] = 598 - n;
            for (int c = 9; c <= 22; ++c) p.Outrow[c] = 400 + 10 * c + n;
            p.M = 17 - n;
        } else {
            p.M = -42;
        }
    }
    return s;
}

// A test in a scratch folder, the working folder while the test lasts.
struct InScratch : ::testing::Test {
    ScratchDir dir;
    const std::filesystem::path here = std::filesystem::current_path();
    InScratch() { std::filesystem::current_path(dir.path); }
    ~InScratch() override { std::filesystem::current_path(here); }
};

// The lines of a text, which must end with a line end.
inline std::vector<std::string> split_lines(const std::string& text) {
    std::vector<std::string> v;
    std::size_t at = 0;
    for (std::size_t nl; (nl = text.find('\n', at)) != std::string::npos; at = nl + 1) v.push_back(text.substr(at, nl - at));
    EXPECT_EQ(at, text.size()) << "the text ends inside a line";
    return v;
}

// Writes the sample run with `w` in a scratch folder (the current folder during the test), at a
// fixed date for the headers that take today's.
inline void write_sample(tn::ResultWriter& w, const SampleRun& s) {
    w.open(s.header);
    w.receiver(s.ground);
    w.receiver(s.north);
    w.finish();
}

}  // namespace tntest

// Trajectory file: the probe of the first point line and its step back, the free-format points.
// Files are built here line by line; expected values are the numbers written into them.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "io/test_files.h"
#include "io/text_file.h"
#include "io/errors.h"
#include "source/trajectory.h"

using namespace tn;

namespace {

// Lines 1 to 16: the title, free text, temperature 59.0 F, humidity 70.0 %, two headings.
std::string head(const char* line13 = "Temp: 59.0", const char* line14 = "Humid: 70.0") {
    std::string s = "Flight track of a test\n";
    for (int k = 2; k <= 12; ++k) s += "free text " + std::to_string(k) + "\n";
    s += std::string(line13) + "\n" + line14 + "\n";
    return s + "           Time              X              Y              Z\n"
               "            (s)            (m)            (m)            (m)\n";
}

// A point line in the written layout (9f15.3,1x,...): Time, x, y, z, Heading, Climb, Speed, Power,
// Bank, derived from k; `tail` from column 136 on.
std::string point(int k, const std::string& tail = "") {
    char buf[200];
    std::snprintf(buf, sizeof buf, "%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f", 10.0 * k, 1000.0 + k,
                  2000.0 + k, 300.0 + k, 90.0, 2.5, 160.0, 85.0, -1.0);
    return std::string(buf) + tail + "\n";
}
std::string points(const std::string& tail) { return point(1, tail) + point(2, tail) + point(3, tail); }

// A record as one text: the nine numbers and the source name.
std::string show(const TRAJPOINT& p) {
    char buf[200];
    std::snprintf(buf, sizeof buf, "%g %g %g %g %g %g %g %g %g %s", p.Time, p.x, p.y, p.z, p.Heading, p.Climb, p.Speed,
                  p.Power, p.Bank, p.Srcname.str().c_str());
    return buf;
}
// The record of point(k) with the name `src`; k = 0: a record left as it was given.
std::string written(int k, const char* src = "none") {
    TRAJPOINT p;
    if (k > 0) p = {.x = 1000.0f + k, .y = 2000.0f + k, .z = 300.0f + k, .Time = 10.0f * k, .Heading = 90, .Climb = 2.5f,
                    .Speed = 160, .Power = 85, .Bank = -1};
    p.Srcname = src;
    return show(p);
}

struct Read {
    float Tfahr = -1.0f, Rh = -1.0f;
    bool Ptsrc = false;
    std::vector<std::string> records;
};

// The caller's part: count the lines behind the 16 of head, give that many default records.
Read run(const std::string& text) {
    TextFile f = TextFile::from_text("traj.txt", text);
    const int npts = static_cast<int>(f.count()) - 16;
    std::vector<TRAJPOINT> traj(static_cast<std::size_t>(npts > 0 ? npts : 0));
    Read r;
    READTRAJ(r.Tfahr, r.Rh, npts, traj, 5.0f, 6.0f, f);
    r.Ptsrc = !traj.empty() && traj[0].Ptsrc;
    for (const TRAJPOINT& p : traj) r.records.push_back(show(p));
    return r;
}

}  // namespace

// Column 136 is the format's blank; the tag is columns 137-138. Only a quoted name on drive C or an
// absolute path names a source; blanks or "" name none; any other tag starts the reading at line
// 16, a heading (nothing read, the name set), so the last point line is never read. (A
// blank-separated first line usually passes the probe: its digits run together in a field.)
TEST(READTRAJ, TheProbeOfTheFirstPointLine) {
    const char* const c_name = "C:\\sources\\jet.src";
    const char* const path = "/data/sources/jet.src";
    const std::vector<std::string> plain = {written(1), written(2), written(3)}, back = {written(0), written(1), written(2)};
    const struct { const char* what; std::string text; bool ptsrc; std::vector<std::string> records; } cases[] = {
        {"line ends at column 135", points(""), false, plain},
        {"blanks up to column 140", points("     "), false, plain},
        {"empty quoted name, left unread", points(" \"\""), false, plain},
        {"quoted name on C:", points(std::string(" \"") + c_name + "\""), true,
         {written(1, c_name), written(2, c_name), written(3, c_name)}},
        {"absolute path", points(std::string(" \"") + path + "\""), true,
         {written(1, path), written(2, path), written(3, path)}},
        {"quoted name on D:", points(" \"D:\\src\\a\""), false, back},
        {"unquoted text", points(" xy"), false, back},
        // the failed probe leaves two zero bytes in the tag
        {"comma-separated first line", "10,1001,2001,301,90,2.5,160,85,-1\n" + point(2) + point(3), false, back},
        {"a single blank line: the probe passes with a blank tag", "\n", false, {written(0)}},
        {"no point line", "", false, {}},
    };
    for (const auto& c : cases) {
        const Read r = run(head() + c.text);
        EXPECT_EQ(std::tie(r.Tfahr, r.Rh, r.Ptsrc), std::make_tuple(59.0f, 70.0f, c.ptsrc)) << c.what;
        EXPECT_EQ(r.records, c.records) << c.what;
    }
}

TEST(READTRAJ, ContinuationBadNumbersAndTheEndOfTheFile) {
    const Read r = run(head() + point(1) +
                       "20 1002 2002\n 302 90 2.5 160 85 -1\n"   // point 2 goes on into the next line
                       "30 1003 abc 303 90 2.5 160 85 -1\n"      // point 3: Time and x stand, the rest keep the defaults
                       + point(4) + "\n");                       // a trailing blank line counts as a point
    // 6 lines behind the head: 4 records are read from 5 of them, records 5 and 6 meet the end.
    EXPECT_EQ(r.records, (std::vector<std::string>{written(1), written(2), "30 1003 0 0 0 0 0 0 0 none", written(4),
                                                   written(0), written(0)}));
}

// Line 13's stop is the broken-input table's; line 14 is read in columns of its own.
TEST(READTRAJ, UnreadableHumidityEndsTheRun) {
    EXPECT_TRUE(tntest::holds(tntest::error_of([] { run(head("Temp: 59.0", "Humid: 7O.0") + point(1)); }),
                              "traj.txt:14: columns 8-12"));
}

TEST(READTRAJ, ASourceNameThatDoesNotFitStops) {
    EXPECT_EQ(tntest::error_of([] { run(head() + points(" \"/" + std::string(299, 's') + "\"")); }),
              "traj.txt:17: point 1: the source name does not fit in 255 characters (it has 300)");
}

// Trajectory file: the probe of the first point line and its step back, the free-format points.
// Files are built here line by line; expected values are the numbers written into them.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "io/errors.h"
#include "io/text_file.h"
#include "source/trajectory.h"

using namespace tn;

namespace {

// Lines 1 to 16: the title, free text, temperature 59.0 F, humidity 70.0 %, two headings.
std::string head(const char* line13 = "Temp: 59.0", const char* line14 = "Humid: 70.0") {
    std::string s = "Flight track of a test\n";
    for (int k = 2; k <= 12; ++k) s += "free text " + std::to_string(k) + "\n";
    s += std::string(line13) + "\n" + line14 + "\n";
    s += "           Time              X              Y              Z\n";
    s += "            (s)            (m)            (m)            (m)\n";
    return s;
}

// A point line in the written layout (9f15.3,1x,...): Time, x, y, z, Heading, Climb, Speed, Power,
// Bank, derived from k; `tail` from column 136 on.
std::string point(int k, const std::string& tail = "") {
    char buf[200];
    std::snprintf(buf, sizeof buf, "%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f", 10.0 * k, 1000.0 + k,
                  2000.0 + k, 300.0 + k, 90.0, 2.5, 160.0, 85.0, -1.0);
    return std::string(buf) + tail + "\n";
}

struct Read {
    float Tfahr = -1.0f;
    float Rh = -1.0f;
    std::vector<TRAJPOINT> Traj;
};

// The caller's part: count the lines behind the 16 of head, give that many default records.
Read run(const std::string& text) {
    TextFile f = TextFile::from_text("traj.txt", text);
    const int npts = static_cast<int>(f.count()) - 16;
    Read r;
    r.Traj.assign(static_cast<std::size_t>(npts > 0 ? npts : 0), TRAJPOINT{});
    READTRAJ(r.Tfahr, r.Rh, npts, r.Traj, 5.0f, 6.0f, f);
    return r;
}

void expect_point(const TRAJPOINT& p, int k, const char* src) {
    EXPECT_EQ(p.Time, 10.0f * k);
    EXPECT_EQ(p.x, 1000.0f + k);
    EXPECT_EQ(p.y, 2000.0f + k);
    EXPECT_EQ(p.z, 300.0f + k);
    EXPECT_EQ(p.Heading, 90.0f);
    EXPECT_EQ(p.Climb, 2.5f);
    EXPECT_EQ(p.Speed, 160.0f);
    EXPECT_EQ(p.Power, 85.0f);
    EXPECT_EQ(p.Bank, -1.0f);
    EXPECT_EQ(p.Srcname, src);
}

}  // namespace

TEST(READTRAJ, NineColumnPointsWhateverStandsInColumns137And138IfBlankOrEmptyQuotes) {
    // Column 136 is the format's blank; the tag is columns 137-138.
    struct Case { const char* what; std::string tail; };
    const Case cases[] = {
        {"line ends at column 135", ""},
        {"blanks up to column 140", "     "},
        {"empty quoted name, left unread", " \"\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Read r = run(head() + point(1, c.tail) + point(2, c.tail) + point(3, c.tail));
        EXPECT_EQ(r.Tfahr, 59.0f);
        EXPECT_EQ(r.Rh, 70.0f);
        ASSERT_EQ(r.Traj.size(), 3u);
        EXPECT_FALSE(r.Traj[0].Ptsrc);
        for (int k = 1; k <= 3; ++k) expect_point(r.Traj[k - 1], k, "none");
    }
}

TEST(READTRAJ, QuotedNameOnDriveCOrAnAbsolutePathIsKeptOnEveryPoint) {
    const std::string names[] = {"C:\\sources\\jet.src", "/data/sources/jet.src"};
    for (const std::string& n : names) {
        SCOPED_TRACE(n);
        const std::string q = " \"" + n + "\"";
        const Read r = run(head() + point(1, q) + point(2, q) + point(3, q));
        ASSERT_EQ(r.Traj.size(), 3u);
        EXPECT_TRUE(r.Traj[0].Ptsrc);
        for (int k = 1; k <= 3; ++k) expect_point(r.Traj[k - 1], k, n.c_str());
    }
}

TEST(READTRAJ, AnyOtherTagStepsBackToLine16AndDropsTheLastLine) {
    // A quoted name on drive D, an unquoted word, and a first line that is no fixed layout (the
    // failed probe leaves two zero bytes in the tag): each starts the reading at the heading line.
    // (A blank-separated first line usually passes the probe: its digits run together in a field.)
    struct Case { const char* what; std::string first; std::string rest; };
    const Case cases[] = {
        {"quoted name on D:", point(1, " \"D:\\src\\a\""), point(2, " \"D:\\src\\a\"") + point(3, " \"D:\\src\\a\"")},
        {"unquoted text", point(1, " xy"), point(2, " xy") + point(3, " xy")},
        {"comma-separated first line", "10,1001,2001,301,90,2.5,160,85,-1\n", point(2) + point(3)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Read r = run(head() + c.first + c.rest);
        ASSERT_EQ(r.Traj.size(), 3u);
        EXPECT_FALSE(r.Traj[0].Ptsrc);
        // Record 1 is line 16, a heading: nothing read, but the name is set.
        EXPECT_EQ(r.Traj[0].Time, 0.0f);
        EXPECT_EQ(r.Traj[0].x, 0.0f);
        EXPECT_EQ(r.Traj[0].Srcname, "none");
        expect_point(r.Traj[1], 1, "none");
        expect_point(r.Traj[2], 2, "none");   // point 3, the last line, is never read
    }
}

TEST(READTRAJ, ContinuationBadNumbersAndTheEndOfTheFile) {
    const std::string text = head() + point(1) +
        "20 1002 2002\n 302 90 2.5 160 85 -1\n"   // point 2 goes on into the next line
        "30 1003 abc 303 90 2.5 160 85 -1\n"      // point 3: Time and x stand, the rest keep the defaults
        + point(4) + "\n";                        // a trailing blank line counts as a point
    const Read r = run(text);
    // 6 lines behind the head: 4 records are read from 5 of them, records 5 and 6 meet the end.
    ASSERT_EQ(r.Traj.size(), 6u);
    expect_point(r.Traj[0], 1, "none");
    expect_point(r.Traj[1], 2, "none");
    EXPECT_EQ(r.Traj[2].Time, 30.0f);
    EXPECT_EQ(r.Traj[2].x, 1003.0f);
    EXPECT_EQ(r.Traj[2].y, 0.0f);
    EXPECT_EQ(r.Traj[2].Bank, 0.0f);
    EXPECT_EQ(r.Traj[2].Srcname, "none");
    expect_point(r.Traj[3], 4, "none");
    for (std::size_t k = 4; k < 6; ++k) {
        EXPECT_EQ(r.Traj[k].Time, 0.0f) << k;
        EXPECT_EQ(r.Traj[k].Srcname, "none") << k;
    }
}

TEST(READTRAJ, NoPointLineKeepsPtsrcAndAirValues) {
    const Read r = run(head("Temp: 41.5", "Humid: 12.3"));
    EXPECT_TRUE(r.Traj.empty());
    EXPECT_EQ(r.Tfahr, 41.5f);
    EXPECT_EQ(r.Rh, 12.3f);

    // A single trailing line that is blank: probe in fixed layout succeeds with a blank tag.
    const Read one = run(head() + "\n");
    ASSERT_EQ(one.Traj.size(), 1u);
    EXPECT_FALSE(one.Traj[0].Ptsrc);
    EXPECT_EQ(one.Traj[0].Time, 0.0f);
}

TEST(READTRAJ, UnreadableLine13Or14OrShortHeadEndsTheRun) {
    struct Case { std::string text; const char* where; };
    const Case cases[] = {
        {head("Temp: 5x.0") + point(1), "traj.txt:13: columns 7-11"},
        {head("Temp: 59.0", "Humid: 7O.0") + point(1), "traj.txt:14: columns 8-12"},
        {"Flight track\n1\n2\n3\n", "traj.txt:5: unexpected end of file"},
    };
    for (const Case& c : cases) {
        TextFile f = TextFile::from_text("traj.txt", c.text);
        std::vector<TRAJPOINT> traj(1);
        float t = 0.0f;
        float rh = 0.0f;
        try {
            READTRAJ(t, rh, 1, traj, 0.0f, 0.0f, f);
            ADD_FAILURE() << "no error for " << c.where;
        } catch (const RunError& e) {
            EXPECT_NE(std::string(e.what()).find(c.where), std::string::npos) << e.what();
            EXPECT_NE(e.exit_code(), 0);
        }
    }
}

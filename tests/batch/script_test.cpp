// The command level: script commands and their spellings, the directories file, the console
// texts, and the clear stops of a script that is wrong.
#include <gtest/gtest.h>

#include "batch/setup.h"
#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kProgram = std::string(TN_BINARY_DIR) + "/tracknoise";
// The program's path as the console shows it: the whole 255-character field, trailing blanks too.
const std::string kProgramField = kProgram + std::string(255 - kProgram.size(), ' ');

// A case that runs: flat terrain at 10 m, three points of a level flight along +x, a source of three
// bands, the reference receiver; the script is appended by each test.
struct MinimalCase {
    CaseDir dir{"script"};
    MinimalCase() {
        dir.write_grid("terrain.grd", "ZALT", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11,
                       [](int, int) { return 10.0f; });
        dir.write_trajectory("track.trj", 59.0, 70.0,
                             {{0, 500000, 4000200, 310, 90, 0, 100, 80, 0},
                              {1, 500100, 4000200, 310, 90, 0, 100, 80, 0},
                              {2, 500200, 4000200, 310, 90, 0, 100, 80, 0}});
        dir.write_source("src.lst", "t.tab", {1000.0f, 1250.0f, 1600.0f}, [](int b, int) { return 70.0f + b; });
        dir.write_control("case.ctl", {dir.path("terrain.grd"), "-", "-", dir.path("track.trj"), "-", "-",
                                       dir.path("src.lst")});
    }
    std::string open_lines() const { return "open\n" + dir.path("case.ctl") + "\n"; }
    std::string site_block(const std::string& base, const std::string& opt = "no") const {
        return "site\n" + dir.path(base) + "\nopt: " + opt + "\nhrs:    0\nmin:    0\nsec:  0.000\n";
    }
    RunResult run_script(const std::string& text) const {
        dir.write("run.txt", text);
        return run({kProgram, dir.path("run.txt")});
    }
};

int count_of(const std::string& text, const std::string& what) {
    int n = 0;
    for (std::size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
}

}  // namespace

TEST(Script, CommentsBlankLinesAndUnknownWordsAreSkipped) {
    MinimalCase c;
    const RunResult r = c.run_script("* a comment\n\nhello there\n" + c.open_lines() + "OPEN is no command\n\n" +
                                     "Stop with a capital is no command\nendx is none either\n" +
                                     c.site_block("a") + "end\n" + c.site_block("b"));
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(c.dir.exists("a.tis"));
    EXPECT_FALSE(c.dir.exists("b.tis")) << "nothing after \"end\" is read";
    EXPECT_EQ(count_of(r.out, "Opening control file"), 1);
}

TEST(Script, EndOfScriptWithoutStopAndLongerWords) {
    MinimalCase c;
    // "opening" is "open"; "sites" is "site"; columns 5 on of a command line are ignored.
    const std::string site = c.site_block("a");
    const RunResult r = c.run_script("opening the case\n" + c.dir.path("case.ctl") + "\nsites please" +
                                     site.substr(4) + "grid\n" + c.dir.path("g") +
                                     "\nii:    3\nii:    1   3\njj:    2\njj:    1   2\nopt: no\nhrs:    0\n"
                                     "min:    0\nsec:  0.000\nGrid\n" + c.dir.path("h") +
                                     "\nii:    3\nii:    2   2\njj:    2\njj:    2   2\nopt: no\nhrs:    0\n"
                                     "min:    0\nsec:  0.000\n");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(c.dir.exists("a.tis"));
    EXPECT_TRUE(c.dir.exists("g.tig"));
    EXPECT_TRUE(c.dir.exists("h.tig")) << "two grid runs of one case";
}

TEST(Script, StopFirstReadsNothing) {
    MinimalCase c;
    const RunResult r = c.run_script("stop\n" + c.open_lines() + c.site_block("a"));
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, kProgramField + "\n");   // only the program's path, from the progress console
    EXPECT_FALSE(c.dir.exists("a.tis"));
}

TEST(Script, ConsoleOfASiteAndAGridRun) {
    MinimalCase c;
    const RunResult r = c.run_script(c.open_lines() + c.site_block("a") + "grid\n" + c.dir.path("g") +
                                     "\nii:    2\nii:    1   2\njj:    2\njj:    2   2\nopt: no\nhrs:    0\n"
                                     "min:    0\nsec:  0.000\nstop\n");
    ASSERT_EQ(r.code, 0) << r.err;
    std::string ctl = c.dir.path("case.ctl");
    ctl.resize(255, ' ');
    EXPECT_EQ(r.out, kProgramField + "\n" +
                         "Opening control file " + ctl + "\n" +
                         " Generating site files\n"
                         "\n"
                         "Reference_Point\n"
                         "\n"
                         "Calculating Grid Location\n"
                         "       II      JJ\n"
                         "      ----    ----\n"
                         "      0001    0002\r      0002    0002\n"
                         "\n");
}

TEST(Script, ClearStopsOfAWrongScript) {
    MinimalCase c;
    struct Case {
        std::string script;
        std::string message;
    };
    const std::string ctl = c.dir.path("case.ctl");
    const std::string run = c.dir.path("run.txt");
    const Case cases[] = {
        {"site\nx\n", run + ":1: \"site\" before any \"open\": no case is set up to run"},
        {"grid\nx\n", run + ":1: \"grid\" before any \"open\": no case is set up to run"},
        {"open\n" + ctl + "\nopen\n" + ctl + "\n", run + ":3: a run script holds one case"},
        {"open\n", run + ":2: unexpected end of file, expected the control file's name"},
        {"open\n" + ctl + "\nsite\n" + c.dir.path("a") + "\nopt: no\nhrs:    0\n",
         run + ":7: unexpected end of file, expected the minutes of the time offset"},
        {"open\n" + ctl + "\ngrid\n" + c.dir.path("g") + "\nii:  1x3\n",
         run + ":5: columns 5-8: expected an integer (Iicount, the receiver columns across the grid), found ' 1x3'"},
        {"open\n" + ctl + "\nsite\n" + c.dir.path("a") + "\nopt: cdf\n",
         run + ":5: the output option of \"site\" is 'cdf ' in columns 6-9; valid options are \"yes\""},
        {"open\n" + ctl + "\nsite\n" + c.dir.path("a") + "\nopt: No\n",
         "valid options are \"yes\" (a .dbf table), \"no\" (a .tis time-history file) and \"CDF\""},
        {"open\n" + ctl + "\nsite\n" + c.dir.path("a") + "\nopt: no\nhrs:    0\nmin:    0\nsec: 1.2.3\n",
         run + ":8: columns 6-11: expected a real number (the seconds of the time offset), found '1.2.3 '"},
    };
    for (const Case& k : cases) {
        fs::remove(c.dir.path("a.tis"));
        const RunResult r = c.run_script(k.script);
        EXPECT_NE(r.code, 0) << k.script;
        EXPECT_NE(r.err.find(k.message), std::string::npos) << r.err;
        EXPECT_EQ(r.err.rfind("tracknoise: ", 0), 0u) << r.err;
        // The whole block of a run is read before its result file is opened.
        EXPECT_FALSE(c.dir.exists("a.tis")) << k.script;
    }
}

TEST(Script, NoScriptArgumentAndAScriptThatIsMissing) {
    RunResult r = run({kProgram});
    EXPECT_NE(r.code, 0);
    EXPECT_EQ(r.out, kProgramField + "\nError!!!  No Script File Detected\n");
    r = run({kProgram, "/nonexistent/run.txt"});
    EXPECT_NE(r.code, 0);
    EXPECT_NE(r.err.find("/nonexistent/run.txt: cannot open the file"), std::string::npos);
}

TEST(Readmax, PairsOfLinesAndTheDefault) {
    CaseDir d("readmax");
    struct Case {
        const char* text;
        float expect;
    };
    const Case cases[] = {
        {"Max\n25000\n", 25000.0f},
        {"\n\nMax\n25000\n", 25000.0f},                     // blank lines before a key are passed over
        {"Path\n/opt/data\nMax\n12000.5\n", 12000.5f},      // another key and its value line
        {"Maximum\n9000\n", 9000.0f},                        // a word beginning with "Max"
        {"Path\nMax\n9000\n", 18288.0f},                     // the pairing slips by one line
        {"Max\nfar\n", 18288.0f},                            // unreadable value: the default
        {"Max\n", 18288.0f},
        {"", 18288.0f},
        {"max\n100\n", 18288.0f},                            // case-sensitive
        {"Max\n1000\nMax\n2000\n", 1000.0f},                 // the first pair wins
    };
    for (const Case& c : cases) {
        d.write("directories.ini", c.text);
        float m = -1.0f;
        tn::READMAX(tn::Name255(d.path("directories.ini")), m);
        EXPECT_EQ(m, c.expect) << c.text;
    }
    float m = -1.0f;
    tn::READMAX(tn::Name255(d.path("missing.ini")), m);
    EXPECT_EQ(m, 18288.0f);
}

TEST(Readmax, TheProgramFindsRndBesideItself) {
    // A program path in another folder finds that folder's rnd/directories.ini: a limit of 150 m
    // leaves the reference receiver out of range of a flight 300 m above it.
    MinimalCase c;
    fs::create_directories(c.dir.dir() / "bin" / "rnd");
    c.dir.write("bin/rnd/directories.ini", "Max\n150\n");
    c.dir.write("run.txt", c.open_lines() + c.site_block("a"));
    const RunResult r = run({c.dir.path("bin/tracknoise"), c.dir.path("run.txt")});
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<std::string> lines = lines_of(c.dir.read("a.tis"));
    ASSERT_GE(lines.size(), 19u);
    // out of range: -999 in F and A
    EXPECT_EQ(lines[18].substr(16, 10), " -999 -999");
}

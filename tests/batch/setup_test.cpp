// Case set-up: the control file, the order of the steps and their fall-backs, and the clear stops
// of a case that cannot be built.
#include <gtest/gtest.h>

#include <sstream>

#include "batch/setup.h"
#include "case_builder.h"
#include "io/errors.h"

using namespace tntest;

namespace {

// A session over a case folder: terrain 4 x 4 nodes at 100 m from (500000, 4000000) with the
// heights given, a two-point trajectory, a three-band source; control lines adjustable.
struct SetupCase {
    CaseDir dir{"setup"};
    std::ostringstream console;
    tn::Session s{console};
    std::vector<std::string> ctl;
    const tn::CaseState& cs = s.cs;

    explicit SetupCase(const std::function<float(int, int)>& z = [](int, int) { return 10.0f; }) {
        dir.write_grid("terrain.grd", "ZALT", 4, 4, 100.0f, 500000.0f, 4000000.0f, 11, z);
        dir.write_trajectory("track.trj", 50.0, 40.0,
                             {{0, 500000, 4000100, 300, 90, 0, 100, 80, 0}, {1, 500100, 4000100, 300, 90, 0, 100, 80, 0}});
        dir.write_source("src.lst", "t.tab", {1000.0f, 1250.0f, 1600.0f}, [](int b, int) { return 70.0f + b; });
        ctl = {dir.path("terrain.grd"), "-", "-", dir.path("track.trj"), "-", "-", dir.path("src.lst")};
        s.Exedir = TN_BINARY_DIR;
        s.Dirfile = std::string(TN_BINARY_DIR) + "/rnd/directories.ini";
    }
    void setup() {
        dir.write_control("case.ctl", ctl);
        s.Ctlfile = dir.path("case.ctl");
        tn::CASESETUP(s);
    }
    std::string failure() {
        try {
            setup();
        } catch (const tn::RunError& e) {
            return e.what();
        }
        return "(no failure)";
    }
};

}  // namespace

TEST(Setup, SevenLinesDefaultGroundAndTheReferenceReceiver) {
    // Heights 5.0 and 5.1 at two nodes: the first is water (1,000,000), the second soft ground (200).
    SetupCase c([](int i, int j) { return i == 2 && j == 3 ? 5.0f : (i == 3 && j == 3 ? 5.1f : 100.0f); });
    c.setup();
    const tn::CaseState& cs = c.cs;
    EXPECT_EQ(cs.Flowz(2, 3), 1000000.0f);
    EXPECT_EQ(cs.Flowz(3, 3), 200.0f);
    EXPECT_EQ(cs.Flowy(1, 4), 4000300.0f);
    // Lines 8 to 10 missing: their defaults, no ambient classes.
    EXPECT_EQ(cs.read_and_kept.Ctlvalue, 30.4804f);
    EXPECT_EQ(cs.Infofile, "-");
    EXPECT_EQ(cs.Nclass, 1);
    EXPECT_EQ(cs.AMBLEVEL, std::vector<float>(1, -99.9f));
    EXPECT_EQ(cs.AMBSPEC, std::vector<float>(24, -99.9f));
    // A source list ending with its last frequency keeps 10 feet, divided in single precision.
    EXPECT_EQ(cs.Minagl, 10.0f / 3.2808f);
    EXPECT_EQ(cs.Freq, (std::vector<float>{1000.0f, 1250.0f, 1600.0f}));
    EXPECT_EQ(cs.Maxdist, 18288.0f);
    EXPECT_FALSE(cs.Usenord);
    EXPECT_EQ(cs.Tfahr, 50.0f);
    EXPECT_EQ(cs.Rh, 40.0f);
    EXPECT_NEAR(cs.Wgt[0], 0.0f, 1e-4f);   // A-weighting of 1000 Hz
    // No site file: the reference receiver at the user origin, 1.2192 m.
    EXPECT_EQ(cs.Nsites, 1);
    EXPECT_EQ(cs.Sites[0].Name, "Reference_Point");
    EXPECT_EQ(cs.Sites[0].x, 500000.0f);
    EXPECT_EQ(cs.Sites[0].y, 4000000.0f);
    EXPECT_EQ(cs.Sites[0].z, 1.2192f);
}

TEST(Setup, LinesEightToTenAmbientClassesNordParametersAndNoHumidity) {
    SetupCase c;
    std::string bands;
    for (int k = 0; k < 24; ++k) bands += " " + std::to_string(20 + k);
    // One class never opens its raster, which does not exist.
    c.dir.write("amb.txt", "no_such_raster.txt\n1\n'Quiet, rural' 33.5" + bands + "\n");
    // Nord2000 values begin in column 23, behind 22 columns of label.
    c.dir.write("nord.txt", "Nord2000 parameters\nparameter one:        1.5\nparameter two:       9-2.25d0\n"
                            "parameter three:      3e2 remark\n");
    c.dir.write_trajectory("dry.trj", 59.0, 0.0, {{0, 500000, 4000100, 300, 90, 0, 100, 80, 0}});
    c.ctl[3] = c.dir.path("dry.trj");
    c.ctl[5] = c.dir.path("nord.txt");
    c.ctl.insert(c.ctl.end(), {"  152.4, other words", "survey notes", c.dir.path("amb.txt")});
    c.setup();
    const tn::CaseState& cs = c.cs;
    EXPECT_EQ(cs.read_and_kept.Ctlvalue, 152.4f);
    EXPECT_EQ(cs.Infofile, "survey notes");
    EXPECT_EQ(cs.AMBLEVEL[0], 33.5f);
    EXPECT_EQ(cs.ambspec(24, 1), 43.0f);
    EXPECT_EQ(cs.Classfile.str(), c.dir.path("no_such_raster.txt"));   // the definition's folder in front
    EXPECT_EQ(cs.Sites[0].Ambclass, 1);
    EXPECT_EQ(cs.Nordpar1, 1.5);
    EXPECT_EQ(cs.Nordpar2, -2.25);
    EXPECT_EQ(cs.Nordpar3, 300.0);
    EXPECT_EQ(cs.Absdb, std::vector<float>(3, 0.0f));   // no absorption without humidity
}

TEST(Setup, KindsOfSourceAndTerrainAreToldBySubstring) {
    // ".nc" anywhere is a hemisphere, so a source list so named is refused as one; ".Nc" is a list;
    // ".hem" has no evaluator. ".FLT" in capitals goes to the tagged reader, ".flt" to the raster's.
    SetupCase a;
    a.dir.write_source("jet.nc.lst", "t.tab", {1000.0f}, [](int, int) { return 80.0f; });
    a.ctl[6] = a.dir.path("jet.nc.lst");
    EXPECT_NE(a.failure().find("jet.nc.lst"), std::string::npos);
    SetupCase b;
    b.dir.write_source("jet.Nc.lst", "t.tab", {1000.0f, 1250.0f}, [](int, int) { return 80.0f; });
    b.ctl[6] = b.dir.path("jet.Nc.lst");
    std::filesystem::copy_file(b.dir.path("terrain.grd"), b.dir.path("terrain.FLT.grd"));
    b.ctl[0] = b.dir.path("terrain.FLT.grd");
    b.setup();
    EXPECT_EQ(b.cs.Nband, 2);
    EXPECT_EQ(b.cs.Terrhead.NX, 4);
    SetupCase c;
    c.ctl[6] = c.dir.path("jet.hem");
    EXPECT_NE(c.failure().find("a \".hem\" hemisphere cannot be evaluated"), std::string::npos);
    SetupCase d;
    d.ctl[0] = d.dir.path("terrain.flt");   // a raster, whose header is missing
    EXPECT_NE(d.failure().find("terrain.hdr"), std::string::npos);
}

TEST(Setup, WeatherFileTurnsTheModelAndTheAirStateOver) {
    SetupCase c;
    c.dir.write("wx.txt", "Single Parameter Weather\nheadings\n20.0 55.0 -5.0 3.0 270.0 0 0 0 0 0\n");
    c.ctl[4] = c.dir.path("wx.txt");
    // The library is looked for and not found: the model is on, the run cannot proceed.
    ::setenv("TRACKNOISE_NORD2000", c.dir.path("libmissing.so").c_str(), 1);
    const std::string why = c.failure();
    ::unsetenv("TRACKNOISE_NORD2000");
    EXPECT_TRUE(c.cs.Usenord);
    EXPECT_EQ(c.cs.Tfahr, 20.0f * 1.8f + 32.0f);
    EXPECT_EQ(c.cs.Rh, 55.0f);
    EXPECT_NE(why.find(c.dir.path("wx.txt")), std::string::npos) << why;
}

TEST(Setup, ClearStopsOfACaseThatCannotBeBuilt) {
    const std::string no_version = std::string("NINJ\x02\0\0\0\x04\0\0\0\x04\0\0\0", 16) + std::string(64, '\0') +
                                   std::string("ENDF\0\0\0\0", 8);
    struct Case {
        int line;                 // control line to change (from 0); -1 cuts the file to six lines, 7 adds `text`
        const char* file;         // written with `text`, then named on that line
        std::string text;
        const char* message;
    } cases[] = {
        {-1, "", "", ":7: unexpected end of file, expected the noise source on line 7"},
        {0, "none.grd", "", "none.grd: cannot open the file"},
        {6, "none.lst", "", "none.lst: cannot open the file"},
        {3, "-", "", "the trajectory file does not exist; a case needs a trajectory"},
        {3, "bad.trj", "Flight path\n", "does not begin with \"Flight track\""},
        {4, "wx.txt", "profile\n\n\n\n\n\n\n        10.00\n", "the weather profile has no levels"},
        {1, "g.txt", "x", "neither a \".imp\" ground grid nor a \".flt\" land cover raster"},
        {0, "v.grd", no_version, "no accepted version record"},
        {7, "", "oops", "line 8 of the control file"},
    };
    for (const Case& k : cases) {
        SetupCase c;
        if (k.line < 0) {
            c.ctl.resize(6);
        } else if (k.line == 7) {
            c.ctl.push_back(k.text);
        } else {
            if (!k.text.empty()) c.dir.write(k.file, k.text);
            c.ctl[static_cast<std::size_t>(k.line)] = std::string(k.file) == "-" ? "-" : c.dir.path(k.file);
        }
        const std::string why = c.failure();
        EXPECT_NE(why.find(k.message), std::string::npos) << why;
    }
    SetupCase c;
    c.s.Ctlfile = c.dir.path("missing.ctl");
    EXPECT_THROW(tn::CASESETUP(c.s), tn::RunError);
}

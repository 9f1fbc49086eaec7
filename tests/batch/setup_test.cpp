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

TEST(Setup, DefaultGroundFromTheTerrainCountsFiveMetresAsLow) {
    // Heights 5.0 and 5.1 at two nodes: the first is water (1,000,000), the second soft ground (200).
    SetupCase c([](int i, int j) { return i == 2 && j == 3 ? 5.0f : (i == 3 && j == 3 ? 5.1f : 100.0f); });
    c.setup();
    const tn::CaseState& cs = c.s.cs;
    EXPECT_EQ(cs.Flowz(2, 3), 1000000.0f);
    EXPECT_EQ(cs.Flowz(3, 3), 200.0f);
    EXPECT_EQ(cs.Flowz(1, 1), 200.0f);
    EXPECT_EQ(cs.Flowhead.NX, 4);
    EXPECT_EQ(cs.Flowx(4, 1), cs.Xnode(4, 1));
    EXPECT_EQ(cs.Flowy(1, 4), 4000300.0f);
}

TEST(Setup, SevenLineControlFileKeepsTheDefaultsOfLinesEightToTen) {
    SetupCase c;
    c.setup();
    const tn::CaseState& cs = c.s.cs;
    EXPECT_EQ(cs.Ctlvalue, 30.4804f);
    EXPECT_EQ(cs.Infofile, "-");
    EXPECT_EQ(cs.Ambfile, "-");
    EXPECT_EQ(cs.Nclass, 1);
    ASSERT_EQ(cs.AMBLEVEL.size(), 1u);
    EXPECT_EQ(cs.AMBLEVEL[0], -99.9f);
    ASSERT_EQ(cs.AMBSPEC.size(), 24u);
    for (float v : cs.AMBSPEC) EXPECT_EQ(v, -99.9f);
    // The source list ends with its last frequency: 10 feet, divided in single precision.
    EXPECT_EQ(cs.Minagl, 10.0f / 3.2808f);
    EXPECT_EQ(cs.Nband, 3);
    EXPECT_EQ(cs.Freq[2], 1600.0f);
    EXPECT_EQ(cs.Maxdist, 18288.0f);
    EXPECT_FALSE(cs.Usenord);
    EXPECT_EQ(cs.Npts, 2);
    EXPECT_EQ(cs.Tfahr, 50.0f);
    EXPECT_EQ(cs.Rh, 40.0f);
    EXPECT_GT(cs.Absdb[0], 0.0f);
    EXPECT_NEAR(cs.Wgt[0], 0.0f, 1e-4f);   // A-weighting of 1000 Hz
    // The reference receiver at the user origin, 1.2192 m.
    EXPECT_EQ(cs.Nsites, 1);
    EXPECT_EQ(cs.Sites[0].Name, "Reference_Point");
    EXPECT_EQ(cs.Sites[0].x, 500000.0f);
    EXPECT_EQ(cs.Sites[0].y, 4000000.0f);
    EXPECT_EQ(cs.Sites[0].z, 1.2192f);
    EXPECT_EQ(cs.Sites[0].Ambclass, 1);
}

TEST(Setup, LinesEightToTenAsFarAsTheFileGoes) {
    SetupCase c;
    c.ctl.push_back("  152.4, other words");
    c.ctl.push_back("survey notes");
    c.setup();
    EXPECT_EQ(c.s.cs.Ctlvalue, 152.4f);
    EXPECT_EQ(c.s.cs.Infofile, "survey notes");
    EXPECT_EQ(c.s.cs.Ambfile, "-");

    SetupCase d;
    d.ctl.push_back("oops");
    EXPECT_NE(d.failure().find("line 8 of the control file"), std::string::npos);
}

TEST(Setup, AmbientClassesFromTheirFileAndAOneClassFileNeverOpensItsRaster) {
    SetupCase c;
    std::string spec;
    for (int k = 0; k < 24; ++k) spec += " " + std::to_string(20 + k);
    c.dir.write("amb.txt", "no_such_raster.txt\n1\n'Quiet, rural' 33.5" + spec + "\n");
    c.ctl.insert(c.ctl.end(), {"30.48", "-", c.dir.path("amb.txt")});
    c.setup();
    const tn::CaseState& cs = c.s.cs;
    EXPECT_EQ(cs.Nclass, 1);
    EXPECT_EQ(cs.AMBLEVEL[0], 33.5f);
    EXPECT_EQ(cs.ambspec(24, 1), 43.0f);
    EXPECT_EQ(cs.Classfile.str(), c.dir.path("no_such_raster.txt"));   // the definition's folder in front
    EXPECT_EQ(cs.Sites[0].Ambclass, 1);
}

TEST(Setup, SourceKindIsToldBySubstring) {
    // ".nc" anywhere makes a hemisphere: a source list so named is read as a hemisphere and refused
    // as such; the letters in mixed case are a source list.
    SetupCase c;
    c.dir.write_source("jet.nc.lst", "t.tab", {1000.0f}, [](int, int) { return 80.0f; });
    c.ctl[6] = c.dir.path("jet.nc.lst");
    EXPECT_NE(c.failure().find("jet.nc.lst"), std::string::npos);

    SetupCase d;
    d.dir.write_source("jet.Nc.lst", "t.tab", {1000.0f, 1250.0f}, [](int, int) { return 80.0f; });
    d.ctl[6] = d.dir.path("jet.Nc.lst");
    d.setup();
    EXPECT_EQ(d.s.cs.Nband, 2);

    SetupCase e;
    e.ctl[6] = e.dir.path("jet.hem");
    EXPECT_NE(e.failure().find("a \".hem\" hemisphere cannot be evaluated"), std::string::npos);
}

TEST(Setup, TerrainKindIsToldBySubstringAndCase) {
    // ".FLT" in capitals is no raster: the name goes to the tagged reader.
    SetupCase c;
    std::filesystem::copy_file(c.dir.path("terrain.grd"), c.dir.path("terrain.FLT.grd"));
    c.ctl[0] = c.dir.path("terrain.FLT.grd");
    c.setup();
    EXPECT_EQ(c.s.cs.Terrhead.NX, 4);

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
    EXPECT_TRUE(c.s.cs.Usenord);
    EXPECT_EQ(c.s.cs.Tfahr, 20.0f * 1.8f + 32.0f);
    EXPECT_EQ(c.s.cs.Rh, 55.0f);
    EXPECT_NE(why.find(c.dir.path("wx.txt")), std::string::npos) << why;
}

TEST(Setup, NordParametersFromColumn23AndHumidityZero) {
    SetupCase c;
    // The values begin in column 23, behind 22 columns of label.
    c.dir.write("nord.txt", "Nord2000 parameters\nparameter one:        1.5\nparameter two:       9-2.25d0\n"
                            "parameter three:      3e2 remark\n");
    c.ctl[5] = c.dir.path("nord.txt");
    c.dir.write_trajectory("dry.trj", 59.0, 0.0, {{0, 500000, 4000100, 300, 90, 0, 100, 80, 0}});
    c.ctl[3] = c.dir.path("dry.trj");
    c.setup();
    EXPECT_EQ(c.s.cs.Nordpar1, 1.5);
    EXPECT_EQ(c.s.cs.Nordpar2, -2.25);
    EXPECT_EQ(c.s.cs.Nordpar3, 300.0);
    for (float a : c.s.cs.Absdb) EXPECT_EQ(a, 0.0f);   // no absorption is computed without humidity
}

TEST(Setup, ClearStopsOfACaseThatCannotBeBuilt) {
    struct Case {
        std::function<void(SetupCase&)> change;
        std::string message;
    };
    const Case cases[] = {
        {[](SetupCase& c) { c.ctl.resize(6); }, ":7: unexpected end of file, expected the noise source on line 7"},
        {[](SetupCase& c) { c.ctl[0] = c.dir.path("none.grd"); }, "none.grd: cannot open the file"},
        {[](SetupCase& c) { c.ctl[6] = c.dir.path("none.lst"); }, "none.lst: cannot open the file"},
        {[](SetupCase& c) { c.ctl[3] = "-"; }, "the trajectory file does not exist; a case needs a trajectory"},
        {[](SetupCase& c) {
             c.dir.write("bad.trj", "Flight path\n");
             c.ctl[3] = c.dir.path("bad.trj");
         },
         "does not begin with \"Flight track\""},
        {[](SetupCase& c) {
             c.dir.write("wx.txt", "profile\n\n\n\n\n\n\n        10.00\n");
             c.ctl[4] = c.dir.path("wx.txt");
         },
         "the weather profile has no levels"},
        {[](SetupCase& c) {
             c.dir.write("g.txt", "x");
             c.ctl[1] = c.dir.path("g.txt");
         },
         "neither a \".imp\" ground grid nor a \".flt\" land cover raster"},
        {[](SetupCase& c) {
             c.dir.write("v.grd", std::string("NINJ\x02\0\0\0\x04\0\0\0\x04\0\0\0", 16) + std::string(64, '\0') +
                                      std::string("ENDF\0\0\0\0", 8));
             c.ctl[0] = c.dir.path("v.grd");
         },
         "no accepted version record"},
    };
    for (const Case& k : cases) {
        SetupCase c;
        k.change(c);
        const std::string why = c.failure();
        EXPECT_NE(why.find(k.message), std::string::npos) << why;
    }
    // A control file that is not there.
    SetupCase c;
    c.s.Ctlfile = c.dir.path("missing.ctl");
    EXPECT_THROW(tn::CASESETUP(c.s), tn::RunError);
}

// Case set-up in this process, on the small case (case_builder.h): what the control file's lines set,
// their defaults and deliberate oddities, the stops that the broken-input table does not meet, and
// the directories file. Expected values are the numbers written into the files, or the defaults and
// conversions the comments give.
#include <gtest/gtest.h>

#include <sstream>

#include "batch/setup.h"
#include "case_builder.h"
#include "io/test_files.h"

using namespace tntest;

namespace {

// A session in the case's folder, which is the working folder; control lines adjustable.
struct SetupCase {
    CaseDir dir{"setup"};
    std::ostringstream console;
    tn::Session s{console};
    std::vector<std::string> ctl{"terrain.grd", "-", "-", "track.trj", "-", "-", "src.lst"};

    explicit SetupCase(const std::function<float(int, int)>& z = [](int, int) { return 10.0f; }) {
        write_small_case(dir, z);
        fs::current_path(dir.dir());
        s.Exedir = TN_BINARY_DIR;
        s.Dirfile = std::string(TN_BINARY_DIR) + "/rnd/directories.ini";
    }
    const tn::CaseState& setup() {
        dir.write_control("case.ctl", ctl);
        s.Ctlfile = "case.ctl";
        tn::CASESETUP(s);
        return s.cs;
    }
    std::string failure() { return error_of([this] { setup(); }); }
};

}  // namespace

// Seven lines. With no ground file a node at 5.0 m exactly is water (1 000 000), at 5.1 m soft
// ground (200); a source list that ends with its last frequency keeps a lowest source height of 10
// feet, divided in single precision; no site file gives the reference receiver at the user origin,
// 1.2192 m up. (The defaults of lines 8 to 10 show in the time histories of the weather run test.)
TEST(Setup, SevenLinesDefaultGroundAndTheReferenceReceiver) {
    SetupCase c([](int i, int j) { return i == 2 && j == 3 ? 5.0f : (i == 3 && j == 3 ? 5.1f : 100.0f); });
    const tn::CaseState& cs = c.setup();
    EXPECT_EQ(std::make_tuple(cs.Flowz(2, 3), cs.Flowz(3, 3), cs.Minagl), std::make_tuple(1000000.0f, 200.0f, 10.0f / 3.2808f));
    ASSERT_EQ(cs.Nsites, 1);
    EXPECT_EQ(std::tie(cs.Sites[0].Name, cs.Sites[0].x, cs.Sites[0].y, cs.Sites[0].z),
              std::make_tuple(std::string_view("Reference_Point"), 500000.0f, 4000000.0f, 1.2192f));
}

// Lines 8 to 10: a number with words behind it (read, and used nowhere), a free text, an ambient
// definition whose raster is named relative to the definition's folder (and never opened, here: it
// does not exist). Nord2000 values begin in column 23, behind 22 columns of label.
TEST(Setup, LinesEightToTenAmbientClassesAndNordParameters) {
    SetupCase c;
    std::string bands;
    for (int k = 0; k < 24; ++k) bands += " " + std::to_string(20 + k);
    fs::create_directories(c.dir.dir() / "amb");
    c.dir.write("amb/amb.txt", "no_such_raster.txt\n1\n'Quiet, rural' 33.5" + bands + "\n");
    c.dir.write("nord.txt", "Nord2000 parameters\nparameter one:        1.5\nparameter two:       9-2.25d0\n"
                            "parameter three:      3e2 remark\n");
    c.ctl[5] = "nord.txt";
    c.ctl.insert(c.ctl.end(), {"  152.4, other words", "survey notes", "amb/amb.txt"});
    const tn::CaseState& cs = c.setup();
    EXPECT_EQ(cs.Infofile, "survey notes");
    EXPECT_EQ(std::make_tuple(cs.AMBLEVEL[0], cs.ambspec(24, 1), cs.Sites[0].Ambclass), std::make_tuple(33.5f, 43.0f, 1));
    EXPECT_EQ(cs.Classfile.str(), "amb/no_such_raster.txt");
    EXPECT_EQ(std::tie(cs.Nordpar1, cs.Nordpar2, cs.Nordpar3), std::make_tuple(1.5, -2.25, 300.0));
}

// The kinds of source and terrain are told by substrings: ".nc" anywhere is a hemisphere (so a
// source list so named is refused as one), ".Nc" is a list, ".hem" has no evaluator; ".FLT" in
// capitals goes to the tagged reader, ".flt" to the raster's (whose header is missing here).
TEST(Setup, KindsOfSourceAndTerrainAreToldBySubstring) {
    const struct { const char *src, *terrain, *stop; } cases[] = {
        {"jet.nc.lst", "terrain.grd", "jet.nc.lst: not a readable netCDF file"},
        {"jet.Nc.lst", "terrain.FLT.grd", nullptr},
        {"jet.hem", "terrain.grd", "a \".hem\" hemisphere cannot be evaluated"},
        {"src.lst", "terrain.flt", "terrain.hdr: cannot open the file"},
    };
    for (const auto& k : cases) {
        SetupCase c;
        for (const char* list : {"jet.nc.lst", "jet.Nc.lst"})
            c.dir.write_source(list, "t2.tab", {1000.0f, 1250.0f}, [](int, int) { return 80.0f; });
        fs::copy_file("terrain.grd", "terrain.FLT.grd");
        c.ctl[6] = k.src, c.ctl[0] = k.terrain;
        if (k.stop) EXPECT_TRUE(holds(c.failure(), k.stop));
        else EXPECT_EQ(std::make_tuple(c.setup().Nband, c.s.cs.Terrhead.NX), std::make_tuple(2, 5));
    }
}

// Stops of a case that cannot be built, beyond those of the broken-input table.
TEST(Setup, ClearStopsOfACaseThatCannotBeBuilt) {
    const std::string no_version = std::string("NINJ\x02\0\0\0\x04\0\0\0\x04\0\0\0", 16) + std::string(64, '\0') +
                                   std::string("ENDF\0\0\0\0", 8);
    const struct { int line; const char* file; std::string text; const char* message; } cases[] = {
        {0, "v.grd", no_version, "v.grd: the terrain grid has no accepted version record"},
        {3, "-", "", "the trajectory file does not exist; a case needs a trajectory"},
        {4, "wx.txt", "profile\n\n\n\n\n\n\n        10.00\n", "the weather profile has no levels"},
    };
    for (const auto& k : cases) {
        SetupCase c;
        if (!k.text.empty()) c.dir.write(k.file, k.text);
        c.ctl[static_cast<std::size_t>(k.line)] = k.file;
        EXPECT_TRUE(holds(c.failure(), k.message));
    }
    SetupCase c;
    c.s.Ctlfile = "missing.ctl";
    EXPECT_TRUE(holds(error_of([&c] { tn::CASESETUP(c.s); }), "missing.ctl: cannot open the file"));
}

// The directories file: pairs of a key line and a value line; deliberate oddities noted.
TEST(Readmax, PairsOfLinesAndTheDefault) {
    CaseDir d("readmax");
    const struct { const char* text; float expect; } cases[] = {
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
        {nullptr, 18288.0f},                                 // no file
    };
    for (const auto& c : cases) {
        if (c.text) d.write("directories.ini", c.text);
        float m = -1.0f;
        tn::READMAX(tn::Name255(d.path(c.text ? "directories.ini" : "missing.ini")), m);
        EXPECT_EQ(m, c.expect) << (c.text ? c.text : "no file");
    }
}

// Tagged binary grid file: GRIDSCAN and READGRID. Files are written here record by record, so the
// expected values are the numbers put into them; the lengths in metres are hand calculations.
// Random and cut files are the grid fuzz target's (fuzz/), which runs in CI.
#include "environment/grid_file.h"

#include <bit>
#include <chrono>
#include <cstring>

#include "io/test_files.h"

using namespace tn;
using namespace tntest;

namespace {

// Emits the words of a grid file.
struct Bytes {
    std::string b;
    Bytes& tag(const char* t, std::int32_t n) { b.append(t, 4); return i(n); }
    Bytes& i(std::int32_t v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
    Bytes& f(float v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
    Bytes& f(std::initializer_list<float> vs) { for (float v : vs) f(v); return *this; }
    Bytes& text(const char* s) { b.append(s, std::strlen(s)); return *this; }
    Bytes& version(std::int32_t major, std::int32_t minor) { return tag("TITL", 4).text("GridVers").i(major).i(minor); }
    Bytes& dims(int nx, int ny) { return version(1, 0).tag("NINJ", 2).i(nx).i(ny); }
    Bytes& didj(float dx, float dy) { return tag("DIDJ", 2).f({dx, dy}); }
    Bytes& end() { return tag("ENDF", 0); }
};

const ScratchDir scratch;

// A file read in the caller's order: scan, allocate, rewind, read.
struct Loaded {
    GRIDHEAD head;
    GRIDREF ref;
    FloatGrid Z, X, Y;
    std::string title;
    int Ntitle = -99, Utmzone = -99;
    float corners[8] = {};
    bool Gridok = false, cornermark = false;
    explicit Loaded(const Bytes& bytes, const char* tag = "ZALT") {
        BinaryFile unit(scratch.file("case.bin", bytes.b));
        GRIDSCAN(head, Gridok, unit);
        for (FloatGrid* grid : {&Z, &X, &Y}) grid->allocate(head.NX, head.NY);
        unit.rewind();
        READGRID(title, Ntitle, Utmzone, Z, X, Y, tag, corners, cornermark, unit, head, ref);
    }
};

constexpr float kFoot = 0.30480063f;

}  // namespace

// ZALT: j fastest in the file, i fastest in the grid. FEET (its words passed over) converts a DIDJ
// behind it. USER coordinates are not converted; with no IRJR node (1, 1) is the reference node.
TEST(GRIDFILE, WholeFileRowFastInFeet) {
    const Loaded g(Bytes().version(1, 0).tag("CASE", 3).i(7).text("Ridge 01").tag("NINJ", 2).i(3).i(2).tag("FEET", 2)
        .i(0).i(0).didj(100, 50).tag("USER", 4).f({500000, 4100000, 0.25f}).i(1).tag("XRYR", 2).f({11, 12}).tag("UTMZ", 1)
        .i(17).tag("GEO4", 8).f({1, 2, 3, 4, 5, 6, 7, 8}).tag("ZALT", 6).f({11, 12, 21, 22, 31, 32}).end());
    EXPECT_EQ(std::tie(g.Gridok, g.cornermark, g.ref.Hasuser, g.head.NX, g.head.NY, g.title, g.Ntitle, g.Utmzone),
              std::make_tuple(true, true, true, 3, 2, "Ridge 01", 2, 17));
    EXPECT_EQ(std::tie(g.head.DX, g.head.DY, g.corners[7]), std::make_tuple(100.0f * kFoot, 50.0f * kFoot, 8.0f));
    EXPECT_EQ(std::tie(g.ref.Xuser, g.ref.Rotate, g.ref.Userunit, g.ref.Xr, g.ref.Yr, g.head.X0, g.head.Y0),
              std::make_tuple(500000.0f, 0.25f, 1, 11.0f, 12.0f, 500000.0f, 4100000.0f));
    EXPECT_EQ(g.Z.v, (std::vector<float>{11, 21, 31, 12, 22, 32}));
    EXPECT_EQ(std::make_tuple(g.X(3, 2), g.Y(3, 2)), std::make_tuple(500060.96f, 4100015.24f));   // + 2 DX, + 1 DY
}

// NJNI: i fastest in the file. N = 2 passes over two words behind NJ and NI (here an ENDF that
// would end the reading early); N = 0 makes a plain record. A FEET behind the DIDJ leaves DX and DY
// as they stand.
TEST(GRIDFILE, ColumnFastAfterNJNIWhoseCountCoversTheWordsBehindIt) {
    for (int extra : {2, 0}) {
        Bytes b = Bytes().version(1, 0).tag("NJNI", extra).i(2).i(3);
        if (extra == 2) b.end();
        const Loaded g(b.didj(10.0f, 20.0f).tag("FEET", 0).tag("ZALT", 6).f({11, 21, 31, 12, 22, 32}).end());
        EXPECT_EQ(std::tie(g.head.NX, g.head.NY, g.head.DX, g.head.DY), std::make_tuple(3, 2, 10.0f, 20.0f)) << extra;
        EXPECT_EQ(g.Z.v, (std::vector<float>{11, 21, 31, 12, 22, 32})) << extra;
    }
}

TEST(GRIDFILE, ReferenceNodeWordsAsIntegerOrFloat) {
    // Xuser 1000, DX 10: X0 = 1000 - 10 (Iref - 1).
    const struct { const char* what; std::int32_t word; float x0; } cases[] = {
        {"integer 1", 1, 1000.0f},
        {"integer 16000, the last index", 16000, 1000.0f - 10.0f * 15999.0f},
        {"integer 16001: a tiny float", 16001, 1010.0f},   // Iref = 2.2e-41, so X0 = Xuser + DX
        {"float 2.5: a fractional node", std::bit_cast<std::int32_t>(2.5f), 985.0f},
    };
    for (const auto& c : cases) {
        const GRIDHEAD h = Loaded(Bytes().dims(2, 2).didj(10, 10).tag("USER", 4).f({1000, 2000, 0}).i(0)
                                      .tag("IRJR", 2).i(c.word).i(1).end()).head;
        EXPECT_EQ(std::tie(h.X0, h.Y0), std::make_tuple(c.x0, 2000.0f)) << c.what;
    }
    // With no USER record node (Iref, Jref) lies at (0, 0).
    const Loaded g(Bytes().dims(3, 4).didj(10, 20).tag("IRJR", 2).i(2).i(3).end());
    EXPECT_FALSE(g.ref.Hasuser);
    EXPECT_EQ(std::make_tuple(g.X(2, 3), g.Y(2, 3), g.X(1, 1), g.Y(1, 1)), std::make_tuple(0.0f, 0.0f, -10.0f, -40.0f));
}

// GRID and ZALT: the later wins; in a ground file (FLOW) ZALT is passed over.
TEST(GRIDFILE, DataSetsTheLaterWinsAndOthersArePassedOver) {
    auto file = [](const char* a, const char* b) { return Bytes().dims(2, 1).tag(a, 2).f({1, 1}).tag(b, 2).f({2, 2}).end(); };
    EXPECT_EQ(std::make_tuple(Loaded(file("GRID", "ZALT")).Z(2, 1), Loaded(file("ZALT", "GRID")).Z(2, 1),
                              Loaded(file("GRID", "ZALT"), "FLOW").Z(2, 1), Loaded(file("FLOW", "ZALT"), "FLOW").Z(1, 1)),
              std::make_tuple(2.0f, 2.0f, 1.0f, 1.0f));
}

TEST(GRIDSCAN, VersionRecordsWeatherAndOtherDimensionTags) {
    const struct { const char* what; Bytes b; bool ok; int nx; int ny; } cases[] = {
        {"good version", Bytes().version(1, 0).tag("NXNY", 2).i(4).i(5), true, 4, 5},
        {"major 2", Bytes().version(2, 0).tag("NINJ", 2).i(4).i(5), false, 4, 5},
        {"good, then another N = 4 TITL", Bytes().version(1, 0).tag("TITL", 4).text("Terrain ").i(1).i(0)
            .tag("NINJ", 2).i(4).i(5), false, 4, 5},
        {"bad, then good", Bytes().version(0, 9).version(1, 0).tag("NYNX", 2).i(5).i(4), true, 4, 5},
        {"weather ahead of dimensions", Bytes().version(1, 0).tag("WEAT", 0).tag("NINJ", 2).i(4).i(5), true, -2, -2},
    };
    for (const auto& c : cases) {
        BinaryFile unit(scratch.file("scan.bin", c.b.b + std::string(4 * 20, '\0')));   // room for the nodes
        GRIDHEAD h;
        bool ok = !c.ok;
        GRIDSCAN(h, ok, unit);
        EXPECT_EQ(std::tie(ok, h.NX, h.NY), std::make_tuple(c.ok, c.nx, c.ny)) << c.what;
    }
}

TEST(GRIDFILE, FailuresEndTheRunWithFileAndOffset) {
    const Bytes head = Bytes().dims(2, 2);   // 40 bytes
    const struct { Bytes bytes; const char* message; } cases[] = {
        {Bytes().version(1, 0).tag("ZALT", 1).f(0).tag("NINJ", 2).i(1).i(1),
         "case.bin: byte 24: the data set 'ZALT' stands ahead"},
        {Bytes().tag("NINJ", 2).i(100000).i(100000), "case.bin: byte 0: grid dimensions 100000 by 100000"},
        {Bytes(head).tag("ZALT", 4).f({1, 2, 3}),
         "case.bin: byte 48: unexpected end of file: the data set 'ZALT' needs 4 words, 12 bytes are left"},
        {Bytes(head).tag("NINJ", 2).i(4).i(1).end(),
         "case.bin: byte 40: the 'NINJ' record gives 4 by 1 nodes, but the grid was scanned and allocated at 2 by 2"},
    };
    for (const auto& c : cases) EXPECT_TRUE(holds(error_of([&c] { Loaded{c.bytes}; }), c.message));
    // The stop of a ZALT before the dimensions has no console text.
    try { Loaded{cases[0].bytes}; } catch (const RunError& e) { EXPECT_TRUE(e.console().empty()); }
}

// Found by fuzzing: counts of 0 by two thousand million (GRIDSCAN lets counts below 1 through, as
// empty grids) made READGRID walk the long direction node by node although no node exists.
TEST(READGRID, NoNodeInOneDirectionIsAnEmptyGridAtOnce) {
    const auto start = std::chrono::steady_clock::now();
    const Loaded g(Bytes().dims(0, 2000000000).end());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(std::tie(g.head.NX, g.head.NY), std::make_tuple(0, 2000000000));
    EXPECT_TRUE(g.X.v.empty() && g.Y.v.empty() && g.Z.v.empty());
}

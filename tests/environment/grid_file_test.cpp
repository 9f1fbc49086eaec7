// Tagged binary grid file: GRIDSCAN and READGRID. Files are written here record by record, so the
// expected values are the numbers put into them; the lengths in metres are hand calculations.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <tuple>

#include "environment/grid_file.h"
#include "io/test_files.h"

using namespace tn;
using tntest::error_of;
using tntest::holds;

namespace {

// Emits the words of a grid file.
struct Bytes {
    std::string b;
    Bytes& tag(const char* t, std::int32_t n) { b.append(t, 4); return i(n); }
    Bytes& i(std::int32_t v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
    Bytes& f(float v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
    Bytes& text(const char* s) { b.append(s, std::strlen(s)); return *this; }
    Bytes& version(std::int32_t major, std::int32_t minor) { return tag("TITL", 4).text("GridVers").i(major).i(minor); }
    Bytes& dims(int nx, int ny) { return version(1, 0).tag("NINJ", 2).i(nx).i(ny); }
};

const tntest::ScratchDir scratch;

struct Loaded {
    GRIDHEAD head;
    GRIDREF ref;
    bool Gridok = false;
    FloatGrid Z, X, Y;
    std::string title;
    int Ntitle = -99, Utmzone = -99;
    float corners[8] = {};
    bool cornermark = false;
};

// The caller's order: scan, allocate, rewind, read.
Loaded load(const std::string& bytes, const char* tag = "ZALT") {
    Loaded g;
    BinaryFile unit(scratch.file("case.bin", bytes));
    GRIDSCAN(g.head, g.Gridok, unit);
    for (FloatGrid* grid : {&g.Z, &g.X, &g.Y}) grid->allocate(g.head.NX, g.head.NY);
    unit.rewind();
    READGRID(g.title, g.Ntitle, g.Utmzone, g.Z, g.X, g.Y, tag, g.corners, g.cornermark, unit, g.head, g.ref);
    return g;
}

constexpr float kFoot = 0.30480063f;

}  // namespace

TEST(GRIDFILE, WholeFileRowFastInFeet) {
    // ZALT: j fastest in the file.
    const Loaded g = load(Bytes().version(1, 0).tag("CASE", 3).i(7).text("Ridge 01").tag("NINJ", 2).i(3).i(2)
        .tag("FEET", 1).i(0).tag("DIDJ", 2).f(100.0f).f(50.0f).tag("USER", 4).f(500000.0f).f(4100000.0f).f(0.25f).i(1)
        .tag("XRYR", 2).f(11).f(12).tag("UTMZ", 1).i(17).tag("GEO4", 8).f(1).f(2).f(3).f(4).f(5).f(6).f(7).f(8)
        .tag("ZALT", 6).f(11).f(12).f(21).f(22).f(31).f(32).tag("ENDF", 0).b);
    EXPECT_TRUE(g.Gridok && g.cornermark && g.ref.Hasuser);
    EXPECT_EQ(std::tie(g.head.NX, g.head.NY, g.title, g.Ntitle, g.Utmzone), std::make_tuple(3, 2, "Ridge 01", 2, 17));
    EXPECT_EQ(g.corners[7], 8.0f);
    EXPECT_EQ(g.head.DX, 100.0f * kFoot);   // 30.480063 m
    EXPECT_EQ(g.head.DY, 50.0f * kFoot);
    // USER coordinates are not converted; with no IRJR node (1, 1) is the reference node.
    EXPECT_EQ(std::tie(g.ref.Xuser, g.ref.Rotate, g.ref.Userunit, g.ref.Xr, g.ref.Yr),
              std::make_tuple(500000.0f, 0.25f, 1, 11.0f, 12.0f));
    EXPECT_EQ(std::tie(g.head.X0, g.head.Y0), std::make_tuple(500000.0f, 4100000.0f));
    EXPECT_EQ(g.Z.v, (std::vector<float>{11, 21, 31, 12, 22, 32}));   // i fastest
    EXPECT_EQ(g.X(3, 2), 500000.0f + 2.0f * (100.0f * kFoot));
    EXPECT_EQ(g.Y(3, 2), 4100000.0f + 50.0f * kFoot);
}

TEST(GRIDFILE, ColumnFastAfterNJNIWhoseCountCoversTheWordsBehindIt) {
    // N = 2 passes over two words behind NJ and NI (here an ENDF that would end the reading early);
    // N = 0 makes a plain record.
    for (int extra : {2, 0}) {
        Bytes b;
        b.version(1, 0).tag("NJNI", extra).i(2).i(3);
        if (extra == 2) b.tag("ENDF", 0);
        b.tag("DIDJ", 2).f(10.0f).f(20.0f).tag("ZALT", 6).f(11).f(21).f(31).f(12).f(22).f(32).tag("ENDF", 0);
        const Loaded g = load(b.b);
        EXPECT_EQ(std::tie(g.head.NX, g.head.NY, g.head.DX), std::make_tuple(3, 2, 10.0f)) << extra;
        EXPECT_EQ(g.Z.v, (std::vector<float>{11, 21, 31, 12, 22, 32})) << extra;
    }
}

TEST(GRIDFILE, LengthFactorOnlyForADIDJBehindIt) {
    EXPECT_EQ(load(Bytes().dims(1, 1).tag("DIDJ", 2).f(100).f(100).tag("FEET", 0).tag("ENDF", 0).b).head.DX, 100.0f);
    EXPECT_FLOAT_EQ(load(Bytes().dims(1, 1).tag("FEET", 2).i(0).i(0).tag("DIDJ", 2).f(100).f(100).tag("ENDF", 0).b).head.DX,
                    30.480063f);
}

TEST(GRIDFILE, ReferenceNodeWordsAsIntegerOrFloat) {
    // Xuser 1000, DX 10: X0 = 1000 - 10 (Iref - 1).
    auto bits = [](float v) { std::int32_t w; std::memcpy(&w, &v, 4); return w; };
    const struct { const char* what; std::int32_t word; float x0; } cases[] = {
        {"integer 1", 1, 1000.0f},
        {"integer 16000, the last index", 16000, 1000.0f - 10.0f * 15999.0f},
        {"integer 16001: a tiny float", 16001, 1010.0f},   // Iref = 2.2e-41, so X0 = Xuser + DX
        {"float 2.5: a fractional node", bits(2.5f), 985.0f},
    };
    for (const auto& c : cases) {
        const GRIDHEAD h = load(Bytes().dims(2, 2).tag("DIDJ", 2).f(10).f(10).tag("USER", 4).f(1000).f(2000).f(0).i(0)
                                    .tag("IRJR", 2).i(c.word).i(1).tag("ENDF", 0).b).head;
        EXPECT_EQ(std::tie(h.X0, h.Y0), std::make_tuple(c.x0, 2000.0f)) << c.what;
    }
    // With no USER record node (Iref, Jref) lies at (0, 0).
    const Loaded g = load(Bytes().dims(3, 4).tag("DIDJ", 2).f(10).f(20).tag("IRJR", 2).i(2).i(3).tag("ENDF", 0).b);
    EXPECT_FALSE(g.ref.Hasuser);
    EXPECT_EQ(std::make_tuple(g.X(2, 3), g.Y(2, 3), g.X(1, 1), g.Y(1, 1)), std::make_tuple(0.0f, 0.0f, -10.0f, -40.0f));
}

TEST(GRIDFILE, DataSetsTheLaterWinsAndOthersArePassedOver) {
    auto file = [](const char* first, const char* second) {
        return Bytes().dims(2, 1).tag(first, 2).f(1).f(1).tag(second, 2).f(2).f(2).tag("ENDF", 0).b;
    };
    EXPECT_EQ(load(file("GRID", "ZALT")).Z(2, 1), 2.0f);
    EXPECT_EQ(load(file("ZALT", "GRID")).Z(2, 1), 2.0f);
    EXPECT_EQ(load(file("GRID", "ZALT"), "FLOW").Z(2, 1), 1.0f);   // ZALT passed over in a ground file
    EXPECT_EQ(load(file("FLOW", "ZALT"), "FLOW").Z(1, 1), 1.0f);
}

TEST(GRIDSCAN, VersionRecordsWeatherAndOtherDimensionTags) {
    const struct { const char* what; Bytes b; bool ok; int nx; int ny; } cases[] = {
        {"good version", Bytes().version(1, 0).tag("NXNY", 2).i(4).i(5), true, 4, 5},
        {"major 2", Bytes().version(2, 0).tag("NINJ", 2).i(4).i(5), false, 4, 5},
        {"good, then another N = 4 TITL", Bytes().version(1, 0).tag("TITL", 4).text("Terrain ").i(1).i(0)
            .tag("NINJ", 2).i(4).i(5), false, 4, 5},
        {"bad, then good", Bytes().version(0, 9).version(1, 0).tag("NYNX", 2).i(5).i(4), true, 4, 5},
        {"TITL with N = 2 is passed over", Bytes().version(1, 0).tag("TITL", 2).i(0).i(0).tag("NJNI", 2).i(5).i(4),
         true, 4, 5},
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
    const std::string head = Bytes().dims(2, 2).b;   // 40 bytes
    const struct { std::string bytes; const char* message; } cases[] = {
        {Bytes().version(1, 0).tag("ZALT", 1).f(0).tag("NINJ", 2).i(1).i(1).b,
         "case.bin: byte 24: the data set 'ZALT' stands ahead"},
        {Bytes().version(1, 0).tag("JUNK", 1).i(0).b,
         "case.bin: byte 36: unexpected end of file, expected a record tag; the file ends before its dimension record"},
        {Bytes().tag("JUNK", 1000).i(0).b, "case.bin: byte 12: unexpected end of file"},   // N beyond the end
        {Bytes().tag("NINJ", 2).i(100000).i(100000).b, "case.bin: byte 0: grid dimensions 100000 by 100000"},
        {Bytes().tag("NINJ", 2).i(3).i(2).b, "not possible for a file of 16 bytes"},   // more nodes than words
        {head + Bytes().tag("DIDJ", 2).f(1).f(1).b,
         "case.bin: byte 56: unexpected end of file, expected a record tag; the file ends before its ENDF record"},
        {head + Bytes().tag("ZALT", 4).f(1).f(2).f(3).b,
         "case.bin: byte 48: unexpected end of file: the data set 'ZALT' needs 4 words, 12 bytes are left"},
        {head + Bytes().tag("NINJ", 2).i(4).i(1).tag("ENDF", 0).b,
         "case.bin: byte 40: the 'NINJ' record gives 4 by 1 nodes, but the grid was scanned and allocated at 2 by 2"},
    };
    for (const auto& c : cases) EXPECT_TRUE(holds(error_of([&c] { load(c.bytes); }), c.message));
    try {   // the stop of a ZALT before the dimensions has no console text
        load(cases[0].bytes);
    } catch (const RunError& e) {
        EXPECT_TRUE(e.console().empty());
    }
}

// Found by fuzzing: counts of 0 by two thousand million (GRIDSCAN lets counts below 1 through, as
// empty grids) made READGRID walk the long direction node by node although no node exists.
TEST(READGRID, NoNodeInOneDirectionIsAnEmptyGridAtOnce) {
    const auto start = std::chrono::steady_clock::now();
    const Loaded g = load(Bytes().dims(0, 2000000000).tag("ENDF", 0).b);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(std::tie(g.head.NX, g.head.NY), std::make_tuple(0, 2000000000));
    EXPECT_TRUE(g.X.v.empty() && g.Y.v.empty() && g.Z.v.empty());
}

// Truncated and randomly altered files must end in success or a RunError, never in a crash, a hang
// or an absurd allocation (run also under the sanitizers: -DTN_SANITIZE=ON).
TEST(GRIDFILE, TruncatedAndRandomBytesNeverCrash) {
    const std::string good = Bytes().version(1, 0).tag("CASE", 3).i(0).text("abcdefgh").tag("NJNI", 0).i(3).i(2)
        .tag("FEET", 0).tag("DIDJ", 2).f(10).f(10).tag("IRJR", 2).i(2).i(2).tag("USER", 4).f(1).f(2).f(0).i(0)
        .tag("GEO4", 8).f(0).f(0).f(0).f(0).f(0).f(0).f(0).f(0).tag("ZALT", 6).f(1).f(2).f(3).f(4).f(5).f(6)
        .tag("ENDF", 0).b;
    int read = 0, refused = 0;
    auto attempt = [&](const std::string& bytes) {
        const bool ok = error_of([&bytes] { load(bytes); load(bytes, "FLOW"); }) == "no error";
        ++(ok ? read : refused);
    };
    attempt(good);
    EXPECT_EQ(read, 1);
    for (std::size_t n = 0; n < good.size(); ++n) attempt(good.substr(0, n));
    std::mt19937 rng(20240611);
    for (int trial = 0; trial < 3000; ++trial) {   // one to four bytes altered
        std::string bytes = good;
        const int flips = 1 + static_cast<int>(rng() % 4);
        for (int k = 0; k < flips; ++k) bytes[rng() % bytes.size()] = static_cast<char>(rng());
        attempt(bytes);
    }
    for (int trial = 0; trial < 300; ++trial) {    // wholly random files
        std::string bytes(rng() % 200, '\0');
        for (char& ch : bytes) ch = static_cast<char>(rng());
        attempt(bytes);
    }
    EXPECT_GT(read, 100);      // the mutations reach the reading of whole files,
    EXPECT_GT(refused, 100);   // and the refusals
}

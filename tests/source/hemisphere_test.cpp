// Noise hemispheres: loading netCDF files (written here with the netCDF C API), bilinear
// interpolation with the azimuth wrapped or held, the cache, and the messages for broken files.
#include "source/hemisphere.h"

#include <gtest/gtest.h>
#include <netcdf.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "io/test_files.h"

using tn::HEMIREC;
using tntest::ScratchDir;

namespace {

struct HemiFile {
    std::vector<float> freq{250.0f, 1000.0f}, azimuth{}, polar{}, level{};   // level [azimuth][polar][band]
    double refdist = 304.8;
    bool has_level = true, level_written = true, level_transposed = false, has_refdist = true;
    int format = 0;                   // NC_64BIT_OFFSET, NC_64BIT_DATA: the later classic forms
    bool azimuth_unlimited = false;   // azimuth as the record dimension
};

std::string write_hemi(const std::string& path, const HemiFile& h) {
    int id = 0, df = 0, da = 0, dp = 0, vf = 0, va = 0, vp = 0, vl = 0;
    EXPECT_EQ(nc_create(path.c_str(), NC_CLOBBER | h.format, &id), NC_NOERR);
    nc_def_dim(id, "frequency", h.freq.size(), &df);
    nc_def_dim(id, "azimuth", h.azimuth_unlimited ? NC_UNLIMITED : h.azimuth.size(), &da);
    nc_def_dim(id, "polar", h.polar.size(), &dp);
    nc_def_var(id, "frequency", NC_FLOAT, 1, &df, &vf);
    nc_def_var(id, "azimuth", NC_FLOAT, 1, &da, &va);
    nc_def_var(id, "polar", NC_FLOAT, 1, &dp, &vp);
    const int dims[3] = {h.level_transposed ? dp : da, h.level_transposed ? da : dp, df};
    if (h.has_level) nc_def_var(id, "level", NC_FLOAT, 3, dims, &vl);
    if (h.has_refdist) nc_put_att_double(id, NC_GLOBAL, "reference_distance", NC_DOUBLE, 1, &h.refdist);
    nc_enddef(id);
    nc_put_var_float(id, vf, h.freq.data());
    nc_put_var_float(id, vp, h.polar.data());
    // With their counts, as records must be written.
    const std::size_t start[3] = {0, 0, 0}, na = h.azimuth.size(), np = h.polar.size();
    const std::size_t count[3] = {h.level_transposed ? np : na, h.level_transposed ? na : np, h.freq.size()};
    nc_put_vara_float(id, va, start, &na, h.azimuth.data());
    if (h.has_level && h.level_written) nc_put_vara_float(id, vl, start, count, h.level.data());
    EXPECT_EQ(nc_close(id), NC_NOERR);
    return path;
}

// Four columns round the whole turn, three rows, then `change`. Band 1 by hand; band 2 is
// 100 - band 1, so that an interpolated band 2 must be 100 - band 1 (linear interpolation keeps
// affine maps).
HemiFile turn_grid(void (*change)(HemiFile&) = [](HemiFile&) {}) {
    HemiFile h{.azimuth = {0, 90, 180, 270}, .polar = {0, 90, 180}};
    const float band1[4][3] = {{60, 70, 80}, {64, 66, 90}, {50, 50, 50}, {40, 80, 60}};
    for (const auto& column : band1)
        for (float l : column) h.level.insert(h.level.end(), {l, 100.0f - l});
    change(h);
    return h;
}

HEMIREC load(const std::string& path) {
    HEMIREC rec;
    tn::LOADONEHEMI(tn::Name255(path), rec);
    return rec;
}

// Nodes must come back exactly; elsewhere a few single-precision roundings of levels near 60 dB.
constexpr float kNode = 0.0f, kTol = 1e-4f;
constexpr float kInf = std::numeric_limits<float>::infinity(), kNaN = std::numeric_limits<float>::quiet_NaN();

struct Case {
    float azimuth, polar, expected, tolerance;
    const char* why;
};

}  // namespace

TEST(Interponehemi, BilinearWrappedAndHeld) {
    const ScratchDir dir;
    const HEMIREC turn = load(write_hemi(dir / "turn.nc", turn_grid()));
    EXPECT_TRUE(turn.Nfreq == 2 && turn.Hfreq_held && turn.Hrefdist == 304.8f && turn.Wraps);
    EXPECT_EQ(turn.Hfreq, (std::vector<float>{250.0f, 1000.0f}));
    const Case on_turn[] = {
        {90, 90, 66, kNode, "inner node"},
        {270, 180, 60, kNode, "last node"},
        {45, 45, 65, kTol, "cell centre: mean of 60, 70, 64, 66"},
        {30, 135, 76, kTol, "polar halves 75 and 78, a third of the way in azimuth"},
        {315, 0, 50, kTol, "across the wrap, halfway from 270 (40) to 360 (60)"},
        {-45, 0, 50, kTol, "-45 is 315"},
        {400, 0, 556.0f / 9, kTol, "bank-shifted 400 is 40: 60 + 4 * 4/9"},
        {-405, 0, 50, kTol, "bank-shifted -405 is 315"},
        {0, kInf, 80, kNode, "infinite polar angle held at 180"},
    };
    for (const Case& c : on_turn) {
        float s[2];
        tn::INTERPONEHEMI(c.azimuth, c.polar, s, 2, turn);
        EXPECT_NEAR(s[0], c.expected, c.tolerance) << c.why;
        EXPECT_NEAR(s[1], 100.0f - c.expected, c.tolerance) << c.why << ", band 2";
    }

    // Three columns over 120 degrees, two rows within 30 .. 150: held in both angles.
    HemiFile h{.freq = {1000}, .azimuth = {-60, 0, 60}, .polar = {30, 150}, .level = {10, 20, 30, 40, 50, 70}};
    const HEMIREC part = load(write_hemi(dir / "part.nc", h));
    EXPECT_FALSE(part.Wraps);
    const Case on_part[] = {
        {0, 0, 30, kNode, "polar below the grid held at the 30 row"},
        {0, 180, 40, kNode, "polar above the grid held at the 150 row"},
        {90, 90, 60, kTol, "beyond the last column, nearer to it"},
        {180, 90, 60, kTol, "middle of the gap 60 .. 300 goes to the last column"},
        {181, 90, 15, kTol, "past the middle: the first column (-60 is 300)"},
        {-400, 30, 50.0f / 3, kTol, "-400 is -40: 10 + 20/3"},
    };
    for (const Case& c : on_part) {
        float s = 0.0f;
        tn::INTERPONEHEMI(c.azimuth, c.polar, &s, 1, part);
        EXPECT_NEAR(s, c.expected, c.tolerance) << c.why;
    }
}

TEST(Interponehemi, NonFiniteAnglesBandsBeyondTheFileAndAnEmptyRecord) {
    const ScratchDir dir;
    const HEMIREC rec = load(write_hemi(dir / "turn.nc", turn_grid()));
    const float nan_cases[][2] = {{kNaN, 90}, {kInf, 90}, {-kInf, 90}, {45, kNaN}};
    for (const auto& a : nan_cases) {
        float s[2] = {0.0f, 0.0f};
        tn::INTERPONEHEMI(a[0], a[1], s, 2, rec);
        EXPECT_TRUE(std::isnan(s[0]) && std::isnan(s[1])) << a[0] << " " << a[1];
    }
    for (float az : {1e30f, -3.4e38f}) {   // huge but finite: somewhere within the levels of the 60 row
        float s[2];
        tn::INTERPONEHEMI(az, 60.0f, s, 2, rec);
        EXPECT_TRUE(s[0] >= 40.0f && s[0] <= 90.0f) << az;
    }
    const float no = tn::HEMI_NO_BAND;
    float s[6] = {1, 1, 1, 1, 1, 1};   // what lies beyond Nband must stay untouched
    tn::INTERPONEHEMI(0.0f, 0.0f, s, 4, rec);
    EXPECT_EQ(std::vector<float>(s, s + 6), (std::vector<float>{60, 40, no, no, 1, 1}));
    std::fill(s, s + 6, 1.0f);
    tn::INTERPONEHEMI(0.0f, 0.0f, s, 3, HEMIREC{});
    EXPECT_EQ(std::vector<float>(s, s + 4), (std::vector<float>{no, no, no, 1}));
}

TEST(Loadonehemi, WholeTurnRule) {
    const struct { std::vector<float> azimuth; bool wraps; const char* why; } cases[] = {
        {{0, 30, 60, 90, 120, 150, 180, 210, 240, 270, 300, 330}, true, "gap 30 = spacing"},
        {{0, 30, 60, 90, 120, 150, 180, 210, 240, 270, 300, 330, 360}, true, "seam column repeated, gap 0"},
        {{0, 30, 60, 90, 120, 150, 180, 210, 240, 270, 300}, false, "gap 60, a column missing"},
        {{0, 10, 20, 45, 90, 180, 270, 350}, true, "uneven: gap 10, widest spacing 90"},
        {{0, 120, 239.9995f}, true, "gap within 0.001 of the widest spacing"},
        {{0, 120, 239.99f}, false, "gap 0.01 beyond it"},
    };
    const ScratchDir dir;
    for (const auto& c : cases) {
        HemiFile h{.freq = {1000}, .azimuth = c.azimuth, .polar = {90}, .level = std::vector<float>(c.azimuth.size(), 70)};
        EXPECT_EQ(load(write_hemi(dir / "grid.nc", h)).Wraps, c.wraps) << c.why;
    }
}

// A failed load names the file and the fault, and leaves the record as it was. The later classic
// forms and a record dimension, whose data lie otherwise, load whole but are refused when cut. A
// missing file and a classic file cut in its levels are the broken-input table's.
TEST(Loadonehemi, BrokenFilesNameTheFileAndTheFault) {
    const ScratchDir dir;
    // Found by fuzzing. The netCDF library takes the counts of a classic header on trust: these 293
    // bytes claim 1 526 726 656 dimensions, and the library's way out of the failed allocation ended
    // the program with a segmentation fault. And a file cut inside its data read as zeros where the
    // levels were missing. Both are refused by name now.
    const char* const crash_hex =
        "43444601000000000000000a5b00000003000000096672657175656e6379000000000000030000000743444601000000"
        "00000a0000000000000000000000000000000000003f0000000000000000000000000000000000000000000000000000"
        "00a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2"
        "a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2"
        "a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2a2000000000000000000000000000000000000000000000000000000000000"
        "00000003000000717a696d757468000000000400000005706f6c617200000000096672657175656e6379007900000000"
        "0000000003";
    std::string crash;
    for (const char* p = crash_hex; *p; p += 2)
        crash.push_back(static_cast<char>(std::stoi(std::string(p, 2), nullptr, 16)));
    auto cut = [&dir](const char* name, const HemiFile& h) {   // the last 8 bytes of the levels gone
        const std::string p = write_hemi(dir / name, h);
        std::filesystem::resize_file(p, std::filesystem::file_size(p) - 8);
        return p;
    };
    const HemiFile cdf2 = turn_grid([](HemiFile& h) { h.format = NC_64BIT_OFFSET; });
    const HemiFile cdf5 = turn_grid([](HemiFile& h) { h.format = NC_64BIT_DATA; });
    const HemiFile records = turn_grid([](HemiFile& h) { h.azimuth_unlimited = true; });
    for (const HemiFile& h : {cdf2, cdf5, records})
        EXPECT_EQ(load(write_hemi(dir / "whole.nc", h)).Level, turn_grid().level);
    auto broken = [&dir](const char* name, void (*change)(HemiFile&)) {
        return write_hemi(dir / name, turn_grid(change));
    };
    const struct { std::string path; const char* message; } cases[] = {
        {dir.file("text.nc", "frequency 50 63 80\n"), "not a readable netCDF file"},
        {broken("nolevel.nc", [](HemiFile& h) { h.has_level = false; }), "no variable 'level'"},
        {broken("noref.nc", [](HemiFile& h) { h.has_refdist = false; }), "no global attribute 'reference_distance'"},
        {broken("ascend.nc", [](HemiFile& h) { h.azimuth = {0, 90, 90, 270}; }),
         "azimuth values must be strictly ascending: 90 at position 3 follows 90"},
        {broken("polar.nc", [](HemiFile& h) { h.polar = {0, 90, 190}; }),
         "polar value 190 at position 3 is outside 0 .. 180 degrees"},
        {broken("shape.nc", [](HemiFile& h) { h.level_transposed = true; }),
         "'level' must have the dimensions (azimuth, polar, frequency), has (polar, azimuth, frequency)"},
        {broken("fill.nc", [](HemiFile& h) { h.level_written = false; }),
         "'level' has a missing or non-finite value at azimuth 1, polar 1, frequency 1"},
        {dir.file("crash.nc", crash), "not a readable netCDF file (its header ends inside a dimension's name at byte 20"},
        {cut("cut2.nc", cdf2), "the data of variable 'level' reach byte"},
        {cut("cut5.nc", cdf5), "the data of variable 'level' reach byte"},
        {cut("cutrec.nc", records), "the data of variable"},
    };
    for (const auto& c : cases) {
        HEMIREC rec;
        rec.Nfreq = 7;
        const std::string m = tntest::error_of([&] { tn::LOADONEHEMI(tn::Name255(c.path), rec); });
        EXPECT_EQ(m.rfind(c.path + ": ", 0), 0u) << m;
        EXPECT_TRUE(tntest::holds(m, c.message));
        EXPECT_EQ(rec.Nfreq, 7) << c.path;
    }
}

TEST(HemisphereCache, LoadsEachNameOnce) {
    const ScratchDir dir;
    const HemiFile other = turn_grid([](HemiFile& h) { h.refdist = 100.0; });
    const tn::Name255 a(write_hemi(dir / "a.nc", turn_grid())), b(write_hemi(dir / "b.nc", other));
    tn::HemisphereCache cache;
    const HEMIREC& first = cache.load(a);
    EXPECT_EQ(&cache.load(a), &first);
    EXPECT_EQ(cache.load(b).Hrefdist, 100.0f);
    write_hemi(dir / "a.nc", other);   // a rewritten file is not read again
    EXPECT_EQ(cache.load(a).Hrefdist, 304.8f);
    EXPECT_THROW(cache.load(tn::Name255(dir / "absent.nc")), tn::RunError);
    EXPECT_EQ(cache.size(), 2u);   // and a failed load is not kept
}

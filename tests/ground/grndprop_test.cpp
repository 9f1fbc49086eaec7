// The ground model's entry: classification of a section, ground statistics, dispatch and blend.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "ground/flat.h"
#include "ground/grndprop.h"
#include "ground/hill.h"
#include "ground/parametric.h"
#include "ground/valley.h"
#include "io/errors.h"

namespace {

using tn::PROFPT;
using tn::XZPT;
using Fn = std::function<float(float)>;

// A path along x from the source foot at 0; n samples over `length` metres.
struct Path {
    std::vector<PROFPT> terr, gnd;
    float src[3] = {0, 0, 0}, rcv[3] = {0, 0, 0};
};
Path make_path(int n, float length, const Fn& z, const Fn& sigma) {
    Path p;
    for (int i = 0; i < n; ++i) {
        const float x = n > 1 ? length / float(n - 1) * float(i) : 0.0f;
        p.terr.push_back({x, z(x)});
        p.gnd.push_back({x, sigma(x)});
    }
    p.rcv[0] = length;
    return p;
}

const std::vector<float> kFreq = {63, 250, 1000, 4000};

struct Result {
    std::vector<float> gterm;
    float single = 7.0f;
    int cls = -1, nhard = -1;
};
Result run(const Path& p, float Hs, float Hr, char mode = 'R', int ngsec = -1, const std::vector<float>& freq = kFreq) {
    static auto work = std::make_unique<tn::GrndWork>();   // reused on purpose: no state between calls
    Result r;
    r.gterm.assign(freq.size(), 12.5f);
    tn::GRNDPROP(p.src, p.rcv, p.terr.data(), int(p.terr.size()), p.gnd.data(), ngsec < 0 ? int(p.gnd.size()) : ngsec,
                 Hs, Hr, mode, r.single, r.gterm.data(), int(freq.size()), freq.data(), r.cls, r.nhard, *work);
    return r;
}

const Fn flat0 = [](float) { return 0.0f; };
const Fn soft = [](float) { return 200.0f; };
const Fn ridge = [](float x) { return std::max(0.0f, 10.0f - std::abs(x - 50.0f)); };
const Fn low_ridge = [](float x) { return std::max(0.0f, 1.0f - std::abs(x - 50.0f) / 10.0f); };
const Fn bowl = [](float x) { const float u = (x - 49.5f) / 49.5f; return 20.0f * u * u; };

// Key indices count from 0 here (section point 1 is index 0); -1: not checked.
TEST(Grndprop, ClassificationEdgeCases) {
    struct Case { const char* what; int n; float length; Fn z; float Hs, Hr; int Kc, Ka, Kb, NKey, cls; };
    const Case cases[] = {
        {"one point", 1, 0, flat0, 2, 2, 0, 0, 0, 1, 1},
        {"shorter than 10 m, any terrain", 100, 9.9f, [](float x) { return 50.0f * std::sin(x); }, 2, 2, 0, -1, 99, 2, 1},
        {"level, Hs > Hr: crest at the end", 100, 99, flat0, 10, 2, 99, 0, 99, 2, 1},
        {"level, Hs = Hr: the first of equal deviations", 100, 99, flat0, 2, 2, 0, 0, 99, 2, 1},
        {"bowl: crest at an end, chord above the bottom", 100, 99, bowl, 2, 2, 0, 0, -1, 3, 3},
        {"ridge across the line of sight", 100, 99, ridge, 2, 2, 50, 40, 60, 5, 2},
        {"ridge far below the line of sight", 100, 99, low_ridge, 5, 5, 50, 0, -1, -1, 2},
    };
    for (const Case& c : cases) {
        const Path p = make_path(c.n, c.length, c.z, soft);
        tn::GRNDKEYS k;
        tn::KEYPOINTS(p.terr.data(), c.n, c.Hs, c.Hr, k);
        const int got[4] = {k.Kc, k.Ka, k.Kb, k.NKey}, want[4] = {c.Kc, c.Ka, c.Kb, c.NKey};
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(want[i] < 0 || got[i] == want[i]) << c.what << ": Kc Ka Kb NKey [" << i << "] is " << got[i];
        EXPECT_EQ(run(p, c.Hs, c.Hr).cls, c.cls) << c.what;
    }
    // A low point at the source foot is moved a tenth of the way to the crest, so that the source's
    // ground plane keeps a length.
    tn::GRNDKEYS k;
    tn::KEYPOINTS(make_path(100, 99, low_ridge, soft).terr.data(), 100, 5, 5, k);
    EXPECT_FLOAT_EQ(k.KeyPt[1].x, 0.1f * 50.0f);
    EXPECT_FLOAT_EQ(k.KeyPt[1].z, 0.1f * 1.0f);
}

// Each class runs its sub-model with the arguments the entry promises, and gives its result bit for
// bit although the geometry is worked once per path; a band worked alone gives what it gives among
// others. The working storage is shared by all calls.
TEST(Grndprop, DispatchToTheSubModels) {
    Path pf = make_path(100, 50, flat0, soft);
    pf.rcv[0] = 30;   // horizontal distance from x and y: 50 m, in two halves
    pf.rcv[1] = 40;
    const Result rf = run(pf, 2, 1.5f), rh = run(make_path(100, 99, ridge, soft), 2, 2);
    ASSERT_EQ(rf.cls, 1);
    ASSERT_EQ(rh.cls, 2);
    const XZPT K[5] = {{0, 0}, {40, 0}, {50, 10}, {60, 0}, {99, 0}};   // horizontal planes: images below
    const XZPT S[2] = {{0, 2}, {0, -2}}, R[2] = {{99, 2}, {99, -2}};
    for (size_t j = 0; j < kFreq.size(); ++j) {
        float amean, flat, hill;
        tn::FLATFULL(25, 25, 2, 1.5f, 200, 200, 0, 0, 0, kFreq[j], amean, flat);
        tn::HILLFULL(2, 2, K, S, R, 200, 200, 200, kFreq[j], hill);
        EXPECT_EQ(rf.gterm[j], flat) << kFreq[j];
        EXPECT_EQ(rh.gterm[j], hill) << kFreq[j];
    }
    EXPECT_EQ(rf.single, rf.gterm.back()) << "Single holds the last band";

    const Path pv = make_path(100, 99, bowl, soft);   // valley: key points 0, 49 or 50, 99
    const Result rv = run(pv, 2, 2);
    tn::GRNDKEYS k;
    tn::KEYPOINTS(pv.terr.data(), 100, 2, 2, k);
    const PROFPT v1 = pv.terr[0], v2 = pv.terr[k.KeyIdx[1]], v3 = pv.terr[99];
    const float beta = std::atan2(v3.v - v2.v, v3.d - v2.d) - std::atan2(v2.v - v1.v, v2.d - v1.d) + 3.1415927f;
    for (size_t j = 0; j < kFreq.size(); ++j) {
        float out;
        tn::VALLFULL(std::hypot(v2.d - v1.d, v2.v - v1.v), std::hypot(v3.d - v2.d, v3.v - v2.v), 2, 2, beta, 200, 200,
                     kFreq[j], out);
        EXPECT_FLOAT_EQ(rv.gterm[j], out) << kFreq[j];
    }

    const Fn mixed = [](float x) { return x < 50.0f ? 200.0f : 1e6f; };
    for (const Fn& z : {flat0, ridge, bowl}) {
        const Path p = make_path(100, 99, z, mixed);
        const Result all = run(p, 2, 2);
        for (size_t j = 0; j < kFreq.size(); ++j)
            EXPECT_EQ(run(p, 2, 2, 'R', -1, {kFreq[j]}).gterm[0], all.gterm[j]) << "class " << all.cls;
    }
}

TEST(Grndprop, GroundStatistics) {
    auto uniform = [](float s) { return make_path(100, 99, ridge, [s](float) { return s; }); };
    // Exactly 1000 is soft; the next float above is hard.
    EXPECT_EQ(run(uniform(1000.0f), 2, 2).nhard, 0);
    EXPECT_EQ(run(uniform(std::nextafter(1000.0f, 2000.0f)), 2, 2).nhard, 100);
    // Each pass uses the mean of its kind: 50 hard points of 2e4 and 50 of 4e4 act as 3e4.
    EXPECT_EQ(run(make_path(100, 99, ridge, [](float x) { return x < 49.5f ? 2e4f : 4e4f; }), 2, 2).gterm,
              run(uniform(3e4f), 2, 2).gterm);
    // A soft mean of exactly 0 is replaced by 200.
    EXPECT_EQ(run(uniform(0.0f), 2, 2).gterm, run(uniform(200.0f), 2, 2).gterm);
}

// Mixed ground: the hardness test of the blend never sees a hard point (the deliberate integer-word
// test), so the result is the soft level to rounding whatever the hard share; with every point in
// the end zones the blend is 0/0.
TEST(Grndprop, MixedGround) {
    for (const Fn& z : {flat0, ridge, bowl}) {
        const Result s = run(make_path(100, 99, z, soft), 2, 2);
        for (float share : {0.2f, 0.5f, 0.9f}) {
            const Result m = run(make_path(100, 99, z, [&](float x) { return x < share * 99.0f ? 1e6f : 200.0f; }), 2, 2);
            EXPECT_GT(m.nhard, 0);
            for (size_t j = 0; j < kFreq.size(); ++j)
                EXPECT_NEAR(m.gterm[j], s.gterm[j], 1e-5f * std::max(1.0f, std::abs(s.gterm[j])))
                    << "class " << s.cls << ", hard share " << share << ", f " << kFreq[j];
        }
    }
    Path p = make_path(100, 99, flat0, soft);
    p.gnd = {{0, 200}, {99, 1e6f}};   // one ground point at each foot
    for (float g : run(p, 2, 2).gterm) EXPECT_TRUE(std::isnan(g));
}

// No ground points: no sub-model runs and Gterm and Single stay as the caller left them, while the
// class is still found. Sections beyond the working storage are refused, not overrun. Parametric
// mode gives one result in Single and leaves Gterm alone.
TEST(Grndprop, NoGroundCapacityAndParametricMode) {
    const Result none = run(make_path(100, 99, ridge, soft), 2, 2, 'R', 0);
    EXPECT_EQ(none.gterm, std::vector<float>(kFreq.size(), 12.5f));
    EXPECT_EQ(none.single, 7.0f);
    EXPECT_EQ(none.cls, 2);
    EXPECT_EQ(none.nhard, 0);

    EXPECT_THROW(run(make_path(101, 100, flat0, soft), 2, 2, 'R', 100), tn::RunError);
    EXPECT_THROW(run(make_path(100, 99, flat0, soft), 2, 2, 'R', 101), tn::RunError);
    EXPECT_THROW(run(make_path(0, 99, flat0, soft), 2, 2, 'R', 0), tn::RunError);

    const Result par = run(make_path(100, 99, flat0, soft), 10, 10, 'P');
    EXPECT_EQ(par.gterm, std::vector<float>(kFreq.size(), 12.5f));
    float lev;
    tn::LEVEL(10, 10, 99, 0, lev);
    EXPECT_EQ(par.single, lev);
}

}  // namespace

// The ground model's entry: classification of a section, ground statistics and the blend.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "ground/grndprop.h"
#include "io/errors.h"

namespace {

using Fn = std::function<float(float)>;

// A path along x from the source foot at 0; n samples of terrain z(x) and ground sigma(x) over
// `length` metres.
struct Path {
    std::vector<tn::PROFPT> terr, gnd;
    float src[3] = {0, 0, 0}, rcv[3] = {0, 0, 0};
    Path(int n, float length, const Fn& z, const Fn& sigma) : rcv{length, 0, 0} {
        for (int i = 0; i < n; ++i) {
            const float x = n > 1 ? length / float(n - 1) * float(i) : 0.0f;
            terr.push_back({x, z(x)});
            gnd.push_back({x, sigma(x)});
        }
    }
};

const std::vector<float> kFreq = {63, 250, 1000, 4000};

struct Result { std::vector<float> gterm; float single = 7.0f; int cls = -1, nhard = -1; };
Result run(const Path& p, float Hs, float Hr, int ngsec = -1) {
    static tn::GrndWork work;   // reused on purpose: no state between calls
    Result r{std::vector<float>(kFreq.size(), 12.5f)};
    const tn::GroundSection path{p.src, p.rcv, p.terr.data(), int(p.terr.size()), p.gnd.data(),
                                 ngsec < 0 ? int(p.gnd.size()) : ngsec, Hs, Hr};
    tn::GroundLevels out{r.single, r.gterm.data(), r.cls, r.nhard};
    tn::GRNDPROP(path, 'R', int(kFreq.size()), kFreq.data(), out, work);
    r.single = out.Single;
    r.cls = out.PathClass;
    r.nhard = out.NHard;
    return r;
}

const Fn flat0 = [](float) { return 0.0f; };
const Fn soft = [](float) { return 200.0f; };
const Fn ridge = [](float x) { return std::max(0.0f, 10.0f - std::abs(x - 50.0f)); };
const Fn low_ridge = [](float x) { return std::max(0.0f, 1.0f - std::abs(x - 50.0f) / 10.0f); };
const Fn bowl = [](float x) { const float u = (x - 49.5f) / 49.5f; return 20.0f * u * u; };

// Key indices count from 0 here (section point 1 is index 0); -1: not checked.
TEST(Grndprop, ClassificationEdgeCases) {
    const struct { const char* what; int n; float length; Fn z; float Hs, Hr; int Kc, Ka, Kb, NKey, cls; } cases[] = {
        {"one point", 1, 0, flat0, 2, 2, 0, 0, 0, 1, 1},
        {"shorter than 10 m, any terrain", 100, 9.9f, [](float x) { return 50.0f * std::sin(x); }, 2, 2, 0, -1, 99, 2, 1},
        {"level, Hs > Hr: crest at the end", 100, 99, flat0, 10, 2, 99, 0, 99, 2, 1},
        {"level, Hs = Hr: the first of equal deviations", 100, 99, flat0, 2, 2, 0, 0, 99, 2, 1},
        {"bowl: crest at an end, chord above the bottom", 100, 99, bowl, 2, 2, 0, 0, -1, 3, 3},
        {"ridge across the line of sight", 100, 99, ridge, 2, 2, 50, 40, 60, 5, 2},
        {"ridge far below the line of sight", 100, 99, low_ridge, 5, 5, 50, 0, -1, -1, 2},
    };
    for (const auto& c : cases) {
        const Path p(c.n, c.length, c.z, soft);
        tn::GRNDKEYS k;
        tn::KEYPOINTS(p.terr.data(), c.n, c.Hs, c.Hr, k);
        const int got[4] = {k.Kc, k.Ka, k.Kb, k.NKey}, want[4] = {c.Kc, c.Ka, c.Kb, c.NKey};
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(want[i] < 0 || got[i] == want[i]) << c.what << ": Kc Ka Kb NKey " << i;
        EXPECT_EQ(run(p, c.Hs, c.Hr).cls, c.cls) << c.what;
    }
    // The low ridge: a low point at the source foot is moved a tenth of the way to the crest, so
    // that the source's ground plane keeps a length.
    tn::GRNDKEYS k;
    tn::KEYPOINTS(Path(100, 99, low_ridge, soft).terr.data(), 100, 5, 5, k);
    EXPECT_TRUE(k.KeyPt[1].x == 0.1f * 50.0f && k.KeyPt[1].z == 0.1f * 1.0f) << k.KeyPt[1].x << ", " << k.KeyPt[1].z;
}

// Exactly 1000 is soft, the next float above hard.
TEST(Grndprop, HardFromAbove1000) {
    for (const auto& [sigma, nhard] : {std::pair{1000.0f, 0}, {std::nextafter(1000.0f, 2000.0f), 100}})
        EXPECT_EQ(run(Path(100, 99, ridge, [s = sigma](float) { return s; }), 2, 2).nhard, nhard) << sigma;
}

// Mixed ground: the hardness test of the blend never sees a hard point (the deliberate integer-word
// test), so the result is the soft level to rounding whatever the hard share; with every point in
// the end zones the blend is 0/0.
TEST(Grndprop, MixedGround) {
    for (const Fn& z : {flat0, ridge, bowl}) {   // one of each class
        const Result s = run(Path(100, 99, z, soft), 2, 2);
        for (float share : {0.2f, 0.5f, 0.9f}) {
            const Result m = run(Path(100, 99, z, [&](float x) { return x < share * 99.0f ? 1e6f : 200.0f; }), 2, 2);
            EXPECT_GT(m.nhard, 0);
            for (size_t j = 0; j < kFreq.size(); ++j)
                EXPECT_NEAR(m.gterm[j], s.gterm[j], 1e-5f * std::max(1.0f, std::abs(s.gterm[j])))
                    << "class " << s.cls << ", hard share " << share << ", f " << kFreq[j];
        }
    }
    Path p(100, 99, flat0, soft);
    p.gnd = {{0, 200}, {99, 1e6f}};   // one ground point at each foot
    for (float g : run(p, 2, 2).gterm) EXPECT_TRUE(std::isnan(g));

    // The blend of all bands at once gives each band's blend bit for bit, hard points included.
    tn::MIXWT w;
    w.N = 90;
    for (int i = 0; i < w.N; ++i) {
        w.hard[i] = i % 7 == 3;
        w.wt[i] = (w.hard[i] ? 0.5f : 1.0f) * (i < 40 ? 2.0f : 1.5f);
        w.den = w.den + w.wt[i];
    }
    const float soft[5] = {-3.7f, 0.1f, 5.9f, -20.3f, 1e-3f}, hard[5] = {4.2f, -1.1f, 0.0f, 6.6f, -0.7f};
    float all[5];
    tn::MIXAPPLYN(w, soft, hard, 5, all);
    for (int j = 0; j < 5; ++j) {
        float one;
        tn::MIXAPPLY(w, soft[j], hard[j], one);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(all[j]), std::bit_cast<std::uint32_t>(one)) << j;
    }
}

// No ground points: no sub-model runs and Gterm and Single stay as the caller left them, while the
// class is still found. Sections beyond the working storage are refused, not overrun.
TEST(Grndprop, NoGroundAndCapacity) {
    const Result none = run(Path(100, 99, ridge, soft), 2, 2, 0);
    EXPECT_EQ(none.gterm, std::vector<float>(kFreq.size(), 12.5f));
    EXPECT_TRUE(none.single == 7.0f && none.cls == 2 && !none.nhard) << none.single << " " << none.cls << " " << none.nhard;
    EXPECT_THROW(run(Path(101, 100, flat0, soft), 2, 2, 100), tn::RunError);
    EXPECT_THROW(run(Path(100, 99, flat0, soft), 2, 2, 101), tn::RunError);
    EXPECT_THROW(run(Path(0, 99, flat0, soft), 2, 2, 0), tn::RunError);
}

}  // namespace

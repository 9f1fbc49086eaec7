// Detectability index: table lookup, band gain and the index, with values worked out by hand.
#include "results/detect.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Band 17's width row, with its first unused pair (0, 0) behind it, as the program stores it.
const tn::XYPAIR kRow1[3] = {{40.0f, 12.1f}, {100.0f, 21.1f}, {0.0f, 0.0f}};

TEST(Tablook, NodesInsideBelowAndBeyond) {
    EXPECT_EQ(tn::TABLOOK(100.0f, kRow1, 2), 21.1f);   // exactly at a node
    EXPECT_EQ(tn::TABLOOK(40.0f, kRow1, 2), 12.1f);    // the first node
    EXPECT_EQ(tn::TABLOOK(-50.0f, kRow1, 2), 12.1f);   // below: the first y, no extrapolation
    // Halfway: 12.1 + 9.0 * 30 / 60 = 16.6.
    EXPECT_FLOAT_EQ(tn::TABLOOK(70.0f, kRow1, 2), 16.6f);
    // Beyond the last x in use: the y of the pair after it (here 0.0), not 21.1.
    EXPECT_EQ(tn::TABLOOK(100.5f, kRow1, 2), 0.0f);
    const tn::XYPAIR marked[3] = {{1.0f, 10.0f}, {2.0f, 20.0f}, {3.0f, 99.0f}};
    EXPECT_EQ(tn::TABLOOK(2.5f, marked, 2), 99.0f);
    // One pair: its y everywhere; no pairs: 0.
    EXPECT_EQ(tn::TABLOOK(500.0f, kRow1, 1), 12.1f);
    EXPECT_EQ(tn::TABLOOK(50.0f, kRow1, 0), 0.0f);
}

// BANDGAIN(k, level) = 10^((Eff + 0.5 y) / 10) with y held within lo = b - 6.368253 and
// hi = b - 1.520624, b = k + 16, y looked up at level - lo. Expected values by hand:
//   band 1 (b 17, lo 10.631747, hi 15.479376, Eff -6.96):
//     ambient -99.9: x far below 40, y = 12.1, inside the limits: 10^(-0.091)          = 0.810961
//     ambient 110:   x = 99.37, y = 21.0 > hi, y = hi:         10^((-6.96 + 7.739688)/10)  = 1.196655
//     ambient 111:   x = 100.37 beyond the row, y = 0 -> lo:    10^((-6.96 + 5.315874)/10)  = 0.684837
//   band 10 (b 26, lo 19.631747, hi 24.479376, Eff -3.56), row ends at 120:
//     ambient 139: x = 119.37, y = 27.3 -> hi: 10^((-3.56 + 12.239688)/10) = 7.378512
//     ambient 150: x = 130.37, y = 0 -> lo:    10^((-3.56 + 9.815874)/10)  = 4.222672
//   band 13 (b 29, lo 22.631747, Eff -3.56): ambient 112.631747, x = 90, y = 21.2 + 9 * 30 / 60
//     = 25.7 inside the limits: 10^((-3.56 + 12.85)/10) = 8.491805
// Tolerance 2e-6 relative: single precision through a power of ten.
TEST(Bandgain, LimitsAndTheDropBeyondTheRow) {
    const struct { int k; float level; double gain; } kCases[] = {
        {1, -99.9f, 0.810961}, {1, 110.0f, 1.196655}, {1, 111.0f, 0.684837},
        {10, 139.0f, 7.378512}, {10, 150.0f, 4.222672}, {13, 112.631747f, 8.491805},
    };
    for (const auto& c : kCases)
        EXPECT_NEAR(tn::BANDGAIN(c.k, c.level), c.gain, 2e-6 * c.gain) << "band " << c.k << " at " << c.level;
}

// With a quiet ambient (at or below 0 dB) the gain equals the one that set the floor, so a band's
// index is S / (N / g + T / 1.75) = 1.75 * 10^((signal - Thresh) / 10) while N is negligible.
constexpr float kThresh[24] = {43.5f, 37.5f, 31.5f, 26.5f, 22.0f, 18.0f, 14.5f, 11.0f,
                               8.5f,  5.5f,  3.5f,  1.5f,  1.0f,  0.5f,  0.0f,  -1.0f,
                               -1.5f, -3.0f, -4.5f, -5.0f, -3.5f, 0.5f,  5.3f,  9.5f};

TEST(Detect, SignalAtThresholdGivesIndex1_75InEveryBand) {
    float ambient[24];
    for (float& a : ambient) a = -99.9f;
    int kbest = -1;
    float dbest = 0.0f, dtotal = 0.0f;
    tn::DETECT(kThresh, ambient, kbest, dbest, dtotal);
    EXPECT_NEAR(dbest, 1.75f, 1e-5f);
    EXPECT_NEAR(dtotal, 1.75 * std::sqrt(24.0), 1e-4);   // 8.573214
    EXPECT_GE(kbest, 1);
}

// A signal of -99.9 dB in every band with no ambient: d = 1.75 * 10^(-9.99 - Thresh/10).
// The root-sum-square is 1.75 * 10^-9.99 * sqrt(sum of 10^(-Thresh/5)) = 1.75 * 1.02329e-10 *
// sqrt(34.64365) = 1.054022e-9 (10 log10 = -89.77 dB); the largest index is that of the lowest
// threshold, -5.0 dB in band 20 (band number 36): 1.75 * 1.02329e-10 * 10^0.5 = 5.662889e-10.
TEST(Detect, QuietSignalGivesSmallPositiveTotal) {
    float signal[24], ambient[24];
    for (int k = 0; k < 24; ++k) signal[k] = ambient[k] = -99.9f;
    int kbest = -1;
    float dbest = 0.0f, dtotal = 0.0f;
    tn::DETECT(signal, ambient, kbest, dbest, dtotal);
    EXPECT_EQ(kbest, 20);
    EXPECT_NEAR(dbest, 5.662889e-10, 1e-5 * 5.662889e-10);
    EXPECT_NEAR(dtotal, 1.054022e-9, 1e-5 * 1.054022e-9);
}

// Energies that underflow give every index 0: Kbest stays 0.
TEST(Detect, NoIndexLeavesKbestZero) {
    float signal[24], ambient[24];
    for (int k = 0; k < 24; ++k) {
        signal[k] = -1000.0f;
        ambient[k] = 40.0f;
    }
    int kbest = -1;
    float dbest = 1.0f, dtotal = 1.0f;
    tn::DETECT(signal, ambient, kbest, dbest, dtotal);
    EXPECT_EQ(kbest, 0);
    EXPECT_EQ(dbest, 0.0f);
    EXPECT_EQ(dtotal, 0.0f);
}

}  // namespace

// Detectability index: table lookup, band gain and the index, with values worked out by hand.
#include "results/detect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

// Band 17's width row, with its first unused pair (0, 0) behind it, as the program stores it; a row
// whose pair behind the last in use is marked.
const tn::XYPAIR kRow1[3] = {{40.0f, 12.1f}, {100.0f, 21.1f}, {0.0f, 0.0f}};
const tn::XYPAIR kMarked[3] = {{1.0f, 10.0f}, {2.0f, 20.0f}, {3.0f, 99.0f}};

TEST(Tablook, NodesInsideBelowAndBeyond) {
    const struct { float x; const tn::XYPAIR* row; int n; float y; const char* why; } cases[] = {
        {100.0f, kRow1, 2, 21.1f, "exactly at a node"},
        {40.0f, kRow1, 2, 12.1f, "the first node"},
        {-50.0f, kRow1, 2, 12.1f, "below: the first y, no extrapolation"},
        {70.0f, kRow1, 2, 16.6f, "halfway: 12.1 + 9.0 * 30 / 60"},
        {100.5f, kRow1, 2, 0.0f, "beyond the last x in use: the y of the pair after it, not 21.1"},
        {2.5f, kMarked, 2, 99.0f, "beyond: the marked pair after the last"},
        {500.0f, kRow1, 1, 12.1f, "one pair: its y everywhere"},
        {50.0f, kRow1, 0, 0.0f, "no pairs: 0"},
    };
    for (const auto& c : cases) EXPECT_EQ(tn::TABLOOK(c.x, c.row, c.n), c.y) << c.why;
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
    const struct { int k; float level; double gain; } cases[] = {
        {1, -99.9f, 0.810961}, {1, 110.0f, 1.196655}, {1, 111.0f, 0.684837},
        {10, 139.0f, 7.378512}, {10, 150.0f, 4.222672}, {13, 112.631747f, 8.491805},
    };
    for (const auto& c : cases) EXPECT_NEAR(tn::BANDGAIN(c.k, c.level), c.gain, 2e-6 * c.gain) << c.k << " at " << c.level;
}

// Energies that underflow (-1000 dB against an ambient of 40 dB) give every band's index 0: no band
// is the best, Kbest stays 0, and both indices are 0.
TEST(Detect, NoIndexLeavesKbestZero) {
    const std::vector<float> signal(24, -1000.0f), ambient(24, 40.0f);
    int kbest = -1;
    float dbest = 1.0f, dtotal = 1.0f;
    tn::DETECT(signal.data(), ambient.data(), kbest, dbest, dtotal);
    EXPECT_TRUE(kbest == 0 && dbest == 0.0f && dtotal == 0.0f) << kbest << " " << dbest << " " << dtotal;
}

// The split for a receiver's history gives DETECT's results bit for bit: rows of tenths across the
// table of signal energies and beyond its ends (-999, 2000, 2001, far above), over ambients quiet,
// loud and missing (-99.9).
TEST(Detect, RowOfTenthsAsDetectGivesIt) {
    const int tenths[] = {-999, -998, -1, 0, 1, 123, 655, 1999, 2000, 2001, 35000, 2000000000};
    for (const float amb : {-99.9f, 20.0f, 45.5f, 110.0f}) {
        std::vector<float> ambient(24);
        for (int k = 0; k < 24; ++k) ambient[k] = amb + 0.7f * float(k);
        tn::DETECTAMB a;
        tn::DETECTPREP(ambient.data(), a);
        for (int shift = 0; shift < 12; ++shift) {
            int row[24];
            std::vector<float> signal(24);
            for (int k = 0; k < 24; ++k) {
                row[k] = tenths[(k + shift) % 12];
                signal[k] = static_cast<float>(row[k]) / 10.0f;
            }
            int k1 = -1, k2 = -2;
            float b1, b2, t1, t2;
            tn::DETECT(signal.data(), ambient.data(), k1, b1, t1);
            tn::DETECTROW(row, a, k2, b2, t2);
            EXPECT_TRUE(k1 == k2 && std::memcmp(&b1, &b2, 4) == 0 && std::memcmp(&t1, &t2, 4) == 0) << amb << " " << shift;
        }
    }
}

#include "results/detect.h"

#include <array>
#include <cmath>

namespace tn {

namespace {

constexpr int kBands = 24;
constexpr int kWidthPairs = 6;

// Hearing threshold, dB, bands 17 .. 40.
constexpr float kThresh[kBands] = {43.5f, 37.5f, 31.5f, 26.5f, 22.0f, 18.0f, 14.5f, 11.0f,
                                   8.5f,  5.5f,  3.5f,  1.5f,  1.0f,  0.5f,  0.0f,  -1.0f,
                                   -1.5f, -3.0f, -4.5f, -5.0f, -3.5f, 0.5f,  5.3f,  9.5f};

// Band efficiency of the ear, dB.
constexpr float kEff[kBands] = {-6.96f, -6.26f, -5.56f, -5.06f, -4.66f, -4.36f, -4.16f, -3.96f,
                                -3.76f, -3.56f, -3.56f, -3.56f, -3.56f, -3.56f, -3.76f, -3.96f,
                                -4.16f, -4.36f, -4.56f, -4.96f, -5.36f, -5.76f, -6.26f, -6.86f};

// Effective bandwidth: x the ambient's level per hertz (dB), y 10 log10 of a bandwidth. Six pairs
// per band, the unused ones (0, 0), and the count in use.
struct WIDROW {
    int count;
    XYPAIR pairs[kWidthPairs];
};
constexpr WIDROW kWid[kBands] = {
    {2, {{40, 12.1f}, {100, 21.1f}}},
    {2, {{40, 12.3f}, {100, 21.3f}}},
    {2, {{40, 12.6f}, {100, 21.6f}}},
    {4, {{40, 13.1f}, {50, 14.4f}, {60, 15.8f}, {120, 24.8f}}},
    {4, {{40, 13.5f}, {50, 14.6f}, {60, 16.1f}, {120, 25.1f}}},
    {4, {{40, 14.1f}, {50, 15.1f}, {60, 16.4f}, {120, 25.4f}}},
    {4, {{40, 14.7f}, {50, 15.5f}, {60, 16.8f}, {120, 25.8f}}},
    {4, {{40, 15.4f}, {50, 16.2f}, {60, 17.2f}, {120, 26.2f}}},
    {4, {{40, 16.1f}, {50, 16.8f}, {60, 17.8f}, {120, 26.8f}}},
    {4, {{40, 16.9f}, {50, 17.6f}, {60, 18.4f}, {120, 27.4f}}},
    {4, {{40, 17.6f}, {50, 18.3f}, {60, 19.1f}, {120, 28.1f}}},
    {4, {{40, 18.4f}, {50, 19.2f}, {60, 20.1f}, {120, 29.1f}}},
    {5, {{30, 19.1f}, {40, 19.3f}, {50, 20.2f}, {60, 21.2f}, {120, 30.2f}}},
    {5, {{30, 19.8f}, {40, 20.2f}, {50, 21.2f}, {60, 22.3f}, {120, 31.3f}}},
    {5, {{30, 20.5f}, {40, 21.3f}, {50, 22.3f}, {60, 23.6f}, {120, 32.6f}}},
    {3, {{30, 21.4f}, {40, 22.1f}, {120, 34.1f}}},
    {3, {{30, 22.1f}, {40, 23.5f}, {120, 35.5f}}},
    {4, {{20, 22.9f}, {30, 23.4f}, {40, 24.8f}, {120, 36.8f}}},
    {4, {{20, 24.0f}, {30, 24.7f}, {40, 26.2f}, {120, 38.2f}}},
    {4, {{20, 25.1f}, {30, 26.2f}, {40, 27.6f}, {120, 39.6f}}},
    {4, {{20, 26.2f}, {30, 27.5f}, {40, 29.0f}, {120, 41.0f}}},
    {4, {{20, 27.5f}, {30, 28.9f}, {40, 30.4f}, {120, 42.4f}}},
    {3, {{20, 28.8f}, {40, 31.8f}, {120, 43.8f}}},
    {3, {{20, 30.1f}, {40, 33.1f}, {120, 45.1f}}},
};

// The index of a signal at the threshold of hearing.
constexpr float kThresholdIndex = 1.75f;

// Internal noise energy of each band, fixed on first use.
const std::array<float, kBands>& floor_energy() {
    static const std::array<float, kBands> floor = [] {
        std::array<float, kBands> f{};
        for (int k = 1; k <= kBands; ++k)
            f[k - 1] = BANDGAIN(k, 0.0f) * std::pow(10.0f, kThresh[k - 1] * 0.1f) / kThresholdIndex;
        return f;
    }();
    return floor;
}

}  // namespace

float TABLOOK(float x, const XYPAIR* pairs, int n) {
    if (n < 1) return 0.0f;
    if (n == 1 || x <= pairs[0].x) return pairs[0].y;
    for (int i = 1; i < n; ++i) {
        if (x == pairs[i].x) return pairs[i].y;
        if (x < pairs[i].x)
            return ((pairs[i].y - pairs[i - 1].y) * (x - pairs[i - 1].x)) / (pairs[i].x - pairs[i - 1].x)
                   + pairs[i - 1].y;
    }
    return pairs[n].y;   // deliberate: the first unused pair, not the last value
}

float BANDGAIN(int k, float level) {
    const float b = static_cast<float>(k + 16);
    const float lo = b - 6.368253f;   // 10 log10 of the band's one-third-octave width
    const float hi = b - 1.520624f;   // 10 log10 of a wider limit
    const float x = level - lo;       // the ambient's level per hertz
    const WIDROW& row = kWid[k - 1];
    float y = TABLOOK(x, row.pairs, row.count);
    if (y < lo) y = lo;
    if (y > hi) y = hi;
    return std::pow(10.0f, (kEff[k - 1] + 0.5f * y) / 10.0f);
}

namespace {

// 10^((t / 10) / 10) of a level of t tenths of a dB, as DETECT works it from the signal t / 10.
float signal_energy(int t) {
    const float signal = static_cast<float>(t) / 10.0f;
    return std::pow(10.0f, signal * 0.1f);
}

// The same for the tenths a row holds, from the -999 mark up to 200 dB, worked out once.
constexpr int kLowTenths = -999, kHighTenths = 2000;
float row_energy(int t) {
    static const std::array<float, kHighTenths - kLowTenths + 1> table = [] {
        std::array<float, kHighTenths - kLowTenths + 1> e{};
        for (int k = kLowTenths; k <= kHighTenths; ++k) e[k - kLowTenths] = signal_energy(k);
        return e;
    }();
    return t >= kLowTenths && t <= kHighTenths ? table[t - kLowTenths] : signal_energy(t);
}

}  // namespace

void DETECTPREP(const float* ambient, DETECTAMB& a) {
    const std::array<float, kBands>& floor = floor_energy();
    for (int k = 1; k <= kBands; ++k) {
        a.gain[k - 1] = BANDGAIN(k, ambient[k - 1]);
        a.noise[k - 1] = std::pow(10.0f, ambient[k - 1] * 0.1f) + floor[k - 1];
    }
}

void DETECTROW(const int* tenths, const DETECTAMB& a, int& Kbest, float& Dbest, float& Dtotal) {
    Kbest = 0;
    Dbest = 0.0f;
    Dtotal = 0.0f;
    for (int k = 1; k <= kBands; ++k) {
        const float s = row_energy(tenths[k - 1]);
        const float d = (a.gain[k - 1] * s) / a.noise[k - 1];
        Dtotal += d * d;
        if (Dbest < d) {   // strict: a tie goes to the lowest band
            Kbest = k;
            Dbest = d;
        }
    }
    Dtotal = std::sqrt(Dtotal);
}

void DETECT(const float* signal, const float* ambient, int& Kbest, float& Dbest, float& Dtotal) {
    const std::array<float, kBands>& floor = floor_energy();
    Kbest = 0;
    Dbest = 0.0f;
    Dtotal = 0.0f;
    for (int k = 1; k <= kBands; ++k) {
        const float s = std::pow(10.0f, signal[k - 1] * 0.1f);
        const float n = std::pow(10.0f, ambient[k - 1] * 0.1f);
        const float d = (BANDGAIN(k, ambient[k - 1]) * s) / (n + floor[k - 1]);
        Dtotal += d * d;
        if (Dbest < d) {   // strict: a tie goes to the lowest band
            Kbest = k;
            Dbest = d;
        }
    }
    Dtotal = std::sqrt(Dtotal);
}

}  // namespace tn

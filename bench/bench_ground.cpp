// GRNDPROP per class and kind of ground, 24 bands (50 Hz to 10 kHz): time per band.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "ground/grndprop.h"

namespace {

const std::vector<float> kBands = {50,   63,   80,   100,  125,  160,  200,  250,  315,  400,  500,  630,
                                   800,  1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000};

struct Case {
    std::vector<tn::PROFPT> terr, gnd;
    float src[3] = {0, 0, 10}, rcv[3] = {990, 0, 1.5f};
};

Case make_case(const std::function<float(float)>& z, const std::function<float(float)>& sigma) {
    Case c;
    for (int i = 0; i < tn::kProfileSamples; ++i) {
        const float x = 10.0f * float(i);
        c.terr.push_back({x, z(x)});
        c.gnd.push_back({x, sigma(x)});
    }
    return c;
}

float flat(float) { return 0.0f; }
float ridge(float x) { return std::max(0.0f, 40.0f - std::abs(x - 500.0f) / 5.0f); }
float bowl(float x) { const float u = (x - 495.0f) / 495.0f; return 60.0f * u * u; }
float soft(float) { return 200.0f; }
float hard(float) { return 1e6f; }
float mixed(float x) { return x < 400.0f ? 1e6f : 200.0f; }

void run(benchmark::State& state, float (*z)(float), float (*sigma)(float), int expect_class) {
    const Case c = make_case(z, sigma);
    auto work = std::make_unique<tn::GrndWork>();
    std::vector<float> gterm(kBands.size());
    const tn::GroundSection path{c.src, c.rcv, c.terr.data(), tn::kProfileSamples, c.gnd.data(), tn::kProfileSamples,
                                 c.src[2], c.rcv[2]};
    tn::GroundLevels out;
    out.Gterm = gterm.data();
    int cls = 0;
    for (auto _ : state) {
        tn::GRNDPROP(path, 'R', int(kBands.size()), kBands.data(), out, *work);
        cls = out.PathClass;
        benchmark::DoNotOptimize(gterm.data());
        benchmark::ClobberMemory();
    }
    if (cls != expect_class) state.SkipWithError("unexpected path class");
    const double bands = double(state.iterations()) * double(kBands.size());
    // Seconds per band, printed with its SI prefix (n for nanoseconds).
    state.counters["per_band"] = benchmark::Counter(bands, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.SetItemsProcessed(int64_t(bands));
}

}  // namespace

BENCHMARK_CAPTURE(run, flat_soft, flat, soft, 1);
BENCHMARK_CAPTURE(run, flat_hard, flat, hard, 1);
BENCHMARK_CAPTURE(run, flat_mixed, flat, mixed, 1);
BENCHMARK_CAPTURE(run, hill_soft, ridge, soft, 2);
BENCHMARK_CAPTURE(run, hill_hard, ridge, hard, 2);
BENCHMARK_CAPTURE(run, hill_mixed, ridge, mixed, 2);
BENCHMARK_CAPTURE(run, valley_soft, bowl, soft, 3);
BENCHMARK_CAPTURE(run, valley_hard, bowl, hard, 3);
BENCHMARK_CAPTURE(run, valley_mixed, bowl, mixed, 3);

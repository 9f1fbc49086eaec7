// Path sections over grids the size of the benchmark case's: terrain of 500 x 500 nodes at 20 m and
// ground of 250 x 250 nodes at 40 m (10 km square), with node positions on their lattice (as a
// tagged grid file gives them) or read from the grids (as a projected raster gives them, here the
// same positions marked as not a lattice). The paths join 4096 fixed pseudo-random pairs of points
// over the square, 0 to 14 km long. Reported: time per sample (a section is 100 samples).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "path/profile.h"

namespace {

struct Grid {
    tn::GRIDHEAD head;
    tn::FloatGrid z, x, y;
    Grid(int n, float d, float (*value)(float, float)) : head{n, n, d, d, 500000.0f, 4000000.0f} {
        for (tn::FloatGrid* g : {&z, &x, &y}) g->allocate(n, n);
        for (int j = 1; j <= n; ++j) {
            for (int i = 1; i <= n; ++i) {
                x(i, j) = head.X0 + head.DX * static_cast<float>(i - 1);
                y(i, j) = head.Y0 + head.DY * static_cast<float>(j - 1);
                z(i, j) = value(float(i - 1) * d, float(j - 1) * d);
            }
        }
    }
    tn::GridView view(bool lattice) const { return {&head, &z, &x, &y, lattice}; }
};

float hills(float x, float y) { return 200.0f + 60.0f * std::sin(x / 1300.0f) * std::cos(y / 1700.0f); }
float cover(float x, float y) { return std::sin(x / 900.0f) + std::cos(y / 1100.0f) > 1.1f ? 80.0f : 200.0f; }

const Grid& terrain() {
    static const Grid g(500, 10000.0f / 499.0f, hills);
    return g;
}
const Grid& ground() {
    static const Grid g(250, 10000.0f / 249.0f, cover);
    return g;
}

struct Path {
    float src[2], rcv[2];
};

const std::vector<Path>& paths() {
    static const std::vector<Path> p = [] {
        std::vector<Path> v;
        std::uint32_t s = 12345u;
        auto next = [&s] {
            s = s * 1664525u + 1013904223u;
            return static_cast<float>(s >> 8) / 16777216.0f;
        };
        for (int k = 0; k < 4096; ++k) {
            Path q;
            q.src[0] = 500000.0f + 10000.0f * next();
            q.src[1] = 4000000.0f + 10000.0f * next();
            q.rcv[0] = 500000.0f + 10000.0f * next();
            q.rcv[1] = 4000000.0f + 10000.0f * next();
            v.push_back(q);
        }
        return v;
    }();
    return p;
}

void section(benchmark::State& state, const Grid& (*grid)(), int kind, bool lattice) {
    const tn::GridView g = grid().view(lattice);
    const std::vector<Path>& p = paths();
    tn::PROFPT out[tn::kProfileSamples];
    float kept = 0.0f;
    std::size_t k = 0;
    for (auto _ : state) {
        const Path& q = p[k++ % p.size()];
        tn::TERRPROF(g, q.src, q.rcv, out, tn::kProfileSamples, kind, kept);
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    const double samples = double(state.iterations()) * tn::kProfileSamples;
    state.counters["per_sample"] = benchmark::Counter(samples, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace

BENCHMARK_CAPTURE(section, terrain_lattice, terrain, 0, true);
BENCHMARK_CAPTURE(section, ground_lattice, ground, 1, true);
BENCHMARK_CAPTURE(section, terrain_stored_nodes, terrain, 0, false);
BENCHMARK_CAPTURE(section, ground_stored_nodes, ground, 1, false);

#include "path/profile.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cmath>
#include <cstring>

namespace tn {

namespace {

constexpr float kRefusedHeight = 1e20f;

// t + 1 limited to lo .. hi, for t a whole number held as a float (a truncated or rounded
// position). A NaN position takes lo.
int limited_index(float t, int lo, int hi) {
    const float i = t + 1.0f;
    if (!(i >= static_cast<float>(lo))) return lo;
    if (i > static_cast<float>(hi)) return hi;
    return static_cast<int>(i);
}

// trunc(q) as an integer, saturated far beyond any grid, NaN as 0.
int truncated(float q) {
    constexpr float kFar = 1.0e9f;
    if (std::isnan(q)) return 0;
    if (q > kFar) return static_cast<int>(kFar);
    if (q < -kFar) return -static_cast<int>(kFar);
    return static_cast<int>(q);
}

// Nearest index as GNDVAL takes it: limited_index(std::round(u), lo, hi), with the rounding (half
// away from zero) done here for |u| < 2^23, where trunc, the fraction u - trunc(u) and n + 1 are all
// exact; the library call stays for larger values, infinities and NaN.
int nearest_index(float u, int lo, int hi) {
    if (!(std::abs(u) < 0x1p23f)) return limited_index(std::round(u), lo, hi);
    const int t = static_cast<int>(u);             // towards zero
    const float r = u - static_cast<float>(t);     // the fraction, exact
    int i = t + 1;
    if (r >= 0.5f) i = i + 1;
    else if (r <= -0.5f) i = i - 1;
    if (i < lo) return lo;
    if (i > hi) return hi;
    return i;
}

// The shift a of GRIDSEEK along one axis: trunc((node - x) / step), plus 1 when not negative.
// Nearly always the position lies within a step of the node and the quotient within (-1, 1), so a
// is 1; that case is recognised without the division: for floats, |fl(p / step)| < 1 exactly when
// |p| < step. (If |p| < step, then |p| is at most the float below step, whose quotient by step is
// at most 1 - 2^-24, a float, so the rounded quotient stays below 1; if |p| >= step, the quotient
// is at least 1.) Anything else (a step that is not positive, NaN, infinities) divides as before.
inline int seek_shift(float node, float step, float x) {
    const float p = node - x;
    if (std::abs(p) < step) return 1;
    int a = truncated(p / step);
    if (a >= 0) a = a + 1;   // deliberate: within a step of the node, the cell moves one node down
    return a;
}

// GRIDSEEK against node positions read from the grids.
void seek_stored(int& i, int& j, const FloatGrid& X, const FloatGrid& Y, int NX, int NY, float x, float y) {
    const float xij = X(i, j);
    const float yij = Y(i, j);
    const float step_x = i < NX ? X(i + 1, j) - xij : xij - X(i - 1, j);
    const float step_y = j < NY ? Y(i, j + 1) - yij : yij - Y(i, j - 1);
    const int a = seek_shift(xij, step_x, x);
    const int b = seek_shift(yij, step_y, y);
    i = std::min(NX - 1, i - a);
    j = std::min(NY - 1, j - b);
    i = std::max(i, 1);
    j = std::max(j, 1);
}

// One axis of a lattice: node k at X0 + D (k - 1), worked out as the grid reader stores it. On a
// lattice the correction of x depends on x and i alone (and that of y on y and j), so GRIDSEEK
// splits into two independent axes.
struct Axis {
    float X0, D;
    int N;
    float node(int k) const { return X0 + D * static_cast<float>(k - 1); }
};

int seek_axis(int i, const Axis& a, float x) {
    const float xi = a.node(i);
    const float step = i < a.N ? a.node(i + 1) - xi : xi - a.node(i - 1);
    i = std::min(a.N - 1, i - seek_shift(xi, step, x));
    return std::max(i, 1);
}

void seek(int& i, int& j, const GridView& g, float x, float y) {
    const GRIDHEAD& h = *g.head;
    if (g.lattice) {
        i = seek_axis(i, Axis{h.X0, h.DX, h.NX}, x);
        j = seek_axis(j, Axis{h.Y0, h.DY, h.NY}, y);
    } else {
        seek_stored(i, j, *g.X, *g.Y, h.NX, h.NY, x, y);
    }
}

// The cell of a terrain lookup after GRIDSEEK, and the fractions of its starting cell.
struct TerrainCell {
    int i, j;
    float fu, fv;
};

TerrainCell terrain_cell(const GridView& terrain, float x, float y) {
    const GRIDHEAD& h = *terrain.head;
    const float u = (x - h.X0) / h.DX;
    const float v = (y - h.Y0) / h.DY;
    TerrainCell c;
    // Fractions of the starting cell, kept after GRIDSEEK moves the cell (deliberate).
    c.fu = u - std::trunc(u);
    c.fv = v - std::trunc(v);
    c.i = limited_index(std::trunc(u), 1, h.NX - 1);
    c.j = limited_index(std::trunc(v), 1, h.NY - 1);
    seek(c.i, c.j, terrain, x, y);
    return c;
}

// Bilinear height over the cell, refused at 1e20 or more and for NaN (then the kept height).
float terrain_value(const FloatGrid& elev, const TerrainCell& c, float& kept) {
    const float* z = elev.v.data() + elev.index(c.i, c.j);
    const std::size_t ld = static_cast<std::size_t>(elev.ld);
    const float z11 = z[0];
    const float z21 = z[1];
    const float z12 = z[ld];
    const float z22 = z[ld + 1];
    const float fu = c.fu, fv = c.fv;
    const float h = z11 + fu * (z21 - z11) + fv * (z12 - z11) + fu * fv * ((z11 + z22) - z21 - z12);
    if (h < kRefusedHeight) kept = h;   // a NaN is not below either
    return kept;
}

// Position in the value grid of GNDVAL's node.
std::size_t ground_index(const GridView& ground, float x, float y) {
    const GRIDHEAD& h = *ground.head;
    const float u = (x - h.X0) / h.DX;
    const float v = (y - h.Y0) / h.DY;
    int i = nearest_index(u, 1, h.NX);
    int j = nearest_index(v, 1, h.NY);
    seek(i, j, ground, x, y);
    return ground.Z->index(i, j);
}

// --- Sections on a lattice, many samples at a time ---------------------------------------------
//
// On a lattice each axis of a lookup depends on its own coordinate alone, so a section is worked
// axis by axis over all its samples, in loops without branches that the compiler can run several
// samples at once (the same IEEE operations, so the same values). Each loop settles the usual
// cases: |u| below 2^23, where the truncation is exact through an int, and a position within a step
// of its node or off the grid beyond its first or last node, where GRIDSEEK's cell follows without
// dividing (seek_settled). Any other sample is marked `slow` and worked by the point lookup itself. The tests are made on the floats' bit patterns,
// whose integer order is the order of the magnitudes of floats that are not NaN: an integer test
// lets the compiler evaluate both sides of a choice, which a floating-point comparison, that might
// raise an exception flag, does not.

// |v| as its bit pattern.
inline std::int32_t abs_bits(float v) { return std::bit_cast<std::int32_t>(v) & 0x7fffffff; }
constexpr std::int32_t kBits2p23 = 0x4b000000;   // 2^23
constexpr std::int32_t kBitsInf = 0x7f800000;

// 1 if a < b, else 0, for ints whose difference does not overflow: the sign of a - b. (Written so,
// the comparison stays an int in the vector loops, where a boolean of another width stops them.)
inline int less(int a, int b) { return static_cast<int>(static_cast<std::uint32_t>(a - b) >> 31); }

// a if c is 1, b if c is 0, both worked out beforehand.
inline int choose(int c, int a, int b) { return (a & -c) | (b & (c - 1)); }
inline float choose(int c, float a, float b) {
    return std::bit_cast<float>(choose(c, std::bit_cast<std::int32_t>(a), std::bit_cast<std::int32_t>(b)));
}

// GRIDSEEK along one axis from the starting index i0 (1 .. N) at node `node` with local step `step`,
// p = node - x, where the outcome follows without dividing (seek_shift): within a step of the node
// the cell is i0 - 1; a position a step or more below the node (p >= step) moves the cell down by
// at least 2, so from an i0 of at most 2 to 1, as i0 - 1 limited to 1 gives it too; one a step or
// more above it (p <= -step) moves the cell up, so from an i0 of at least N - 1 to N - 1 (positions
// off the grid). Each limited to 1 .. N - 1. Returns 0 where none of these holds, or the step is not
// positive and finite: the lookup itself decides there.
inline int seek_settled(float p, float step, int i0, int N, int& cell) {
    const std::int32_t sb = std::bit_cast<std::int32_t>(step);
    const std::int32_t pa = abs_bits(p);
    const int valid = (sb > 0) & (sb < kBitsInf);
    const int within = pa < sb;                          // |p| < step
    const int beyond = (pa >= sb) & (pa <= kBitsInf);    // |p| >= step, p not NaN
    const int above = std::bit_cast<std::int32_t>(p) < 0;
    const int to_first = beyond & (above ^ 1) & less(i0, 3);   // i0 <= 2
    const int to_last = beyond & above & less(N - 2, i0);      // i0 >= N - 1
    const int c = i0 - 1 < 1 ? 1 : i0 - 1;               // i0 is at most N
    cell = choose(to_last, N - 1, c);
    return valid & (within | to_first | to_last);
}

// v with every bit cleared unless keep is 1: u itself where it is small, +0.0 elsewhere.
inline float kept_if(float v, int keep) { return std::bit_cast<float>(std::bit_cast<std::int32_t>(v) & -keep); }


// The axis loops are built twice with GCC on x86-64, for the baseline's four floats at a time and
// for AVX2's eight, and the processor's own picks one when the program starts. Only the width of
// the registers differs: the same IEEE operations, never contracted (no FMA), so the same values.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define TN_AXIS_CLONES [[gnu::target_clones("avx2", "default")]]
#else
#define TN_AXIS_CLONES
#endif

struct AxisSamples {
    float frac[kProfileSamples];   // terrain: u - trunc(u)
    int cell[kProfileSamples];     // the index after GRIDSEEK
    int slow[kProfileSamples];     // 1: not settled here
};

// One axis of TERRZ for positions x[0 .. n-1]: u = (x - X0)/D, the fraction and the cell
// trunc(u) + 1 limited to 1 .. N - 1, moved one node down by GRIDSEEK (node i0 is below N, so the
// local step is node(i0 + 1) - node(i0)).
TN_AXIS_CLONES void terrain_axis(const float* x, int n, const Axis& a, AxisSamples& o) {
    for (int k = 0; k < n; ++k) {
        const float u = (x[k] - a.X0) / a.D;
        const int small = abs_bits(u) < kBits2p23;
        const int t = static_cast<int>(kept_if(u, small));
        o.frac[k] = u - std::copysign(static_cast<float>(t), u);   // std::trunc(u) where small
        int i0 = t + 1;
        i0 = i0 < 1 ? 1 : i0;
        i0 = i0 > a.N - 1 ? a.N - 1 : i0;
        const float node = a.node(i0);
        const float step = a.node(i0 + 1) - node;
        o.slow[k] = (small & seek_settled(node - x[k], step, i0, a.N, o.cell[k])) ^ 1;
    }
}

// One axis of GNDVAL: the nearest node round(u) + 1 (half away from zero) limited to 1 .. N, moved
// one node down by GRIDSEEK (the local step taken backward from node N).
TN_AXIS_CLONES void ground_axis(const float* x, int n, const Axis& a, AxisSamples& o) {
    constexpr std::int32_t kBitsHalf = 0x3f000000;   // 0.5
    for (int k = 0; k < n; ++k) {
        const float u = (x[k] - a.X0) / a.D;
        const int small = abs_bits(u) < kBits2p23;
        const int t = static_cast<int>(kept_if(u, small));
        const std::int32_t rb = std::bit_cast<std::int32_t>(u - static_cast<float>(t));   // the fraction
        const int up = rb >= kBitsHalf;                              // fraction >= 0.5
        const int down = (rb < 0) & ((rb & 0x7fffffff) >= kBitsHalf);   // fraction <= -0.5
        int i0 = t + 1 + up - down;
        i0 = i0 < 1 ? 1 : i0;
        i0 = i0 > a.N ? a.N : i0;
        const float node = a.node(i0);
        const float step = choose(i0 < a.N, a.node(i0 + 1) - node, node - a.node(i0 - 1));
        o.slow[k] = (small & seek_settled(node - x[k], step, i0, a.N, o.cell[k])) ^ 1;
    }
}

// Sample positions of a section: src + (rcv - src)/(n - 1) * k, in the order of operations of the
// point lookups' callers.
void sample_positions(float src, float step, int n, float* x) {
    for (int k = 0; k < n; ++k) x[k] = src + step * static_cast<float>(k);
}

}  // namespace

void GRIDSEEK(int& i, int& j, const FloatGrid& X, const FloatGrid& Y, int NX, int NY, float x, float y) {
    seek_stored(i, j, X, Y, NX, NY, x, y);
}

bool nodes_on_lattice(const GRIDHEAD& head, const FloatGrid& X, const FloatGrid& Y) {
    if (X.ld != head.NX || Y.ld != head.NX || X.nj != head.NY || Y.nj != head.NY) return false;
    const Axis ax{head.X0, head.DX, head.NX}, ay{head.Y0, head.DY, head.NY};
    for (int j = 1; j <= head.NY; ++j) {
        for (int i = 1; i <= head.NX; ++i) {
            const float xi = ax.node(i), yj = ay.node(j);
            const float xs = X(i, j), ys = Y(i, j);
            if (std::memcmp(&xi, &xs, sizeof xi) != 0 || std::memcmp(&yj, &ys, sizeof yj) != 0) return false;
        }
    }
    return true;
}

float TERRZ(const GridView& terrain, float x, float y, float& kept) {
    return terrain_value(*terrain.Z, terrain_cell(terrain, x, y), kept);
}

float GNDVAL(const GridView& ground, float x, float y) { return ground.Z->v[ground_index(ground, x, y)]; }

void TERRPROF(const GridView& grid, const float src[2], const float rcv[2], PROFPT* out, int n, int kind,
              float& kept) {
    for (int k = 0; k < kProfileSamples; ++k) out[k].v = kSampleNotTaken;
    const float dx = rcv[0] - src[0];
    const float dy = rcv[1] - src[1];
    const float length = std::sqrt(dx * dx + dy * dy);
    const float s = static_cast<float>(n - 1);
    const int taken = n < kProfileSamples ? n : kProfileSamples;   // never past the section's end
    const float step_d = length / s;
    float xs[kProfileSamples], ys[kProfileSamples];
    sample_positions(src[0], dx / s, taken, xs);
    sample_positions(src[1], dy / s, taken, ys);
    for (int k = 0; k < taken; ++k) out[k].d = step_d * static_cast<float>(k);

    const GRIDHEAD& h = *grid.head;
    // The axis loops hold indices as ints and node numbers as floats: grids of fewer than 2^23
    // nodes a side (any that fits in memory).
    const bool by_axis = grid.lattice && h.NX < (1 << 23) && h.NY < (1 << 23);
    AxisSamples ax, ay;
    if (kind == 0) {
        // All the cells first, then the heights: the grid reads of many samples are then under way
        // at once instead of one after another.
        if (by_axis) {
            terrain_axis(xs, taken, Axis{h.X0, h.DX, h.NX}, ax);
            terrain_axis(ys, taken, Axis{h.Y0, h.DY, h.NY}, ay);
        }
        for (int k = 0; k < taken; ++k) {
            if (by_axis && !(ax.slow[k] | ay.slow[k])) continue;
            const TerrainCell c = terrain_cell(grid, xs[k], ys[k]);
            ax.cell[k] = c.i;
            ay.cell[k] = c.j;
            ax.frac[k] = c.fu;
            ay.frac[k] = c.fv;
        }
        for (int k = 0; k < taken; ++k)
            out[k].v = terrain_value(*grid.Z, TerrainCell{ax.cell[k], ay.cell[k], ax.frac[k], ay.frac[k]}, kept);
    } else {
        const FloatGrid& values = *grid.Z;
        if (by_axis) {
            ground_axis(xs, taken, Axis{h.X0, h.DX, h.NX}, ax);
            ground_axis(ys, taken, Axis{h.Y0, h.DY, h.NY}, ay);
            for (int k = 0; k < taken; ++k) {
                const std::size_t at = (ax.slow[k] | ay.slow[k]) ? ground_index(grid, xs[k], ys[k])
                                                                 : values.index(ax.cell[k], ay.cell[k]);
                out[k].v = values.v[at];
            }
        } else {
            for (int k = 0; k < taken; ++k) out[k].v = values.v[ground_index(grid, xs[k], ys[k])];
        }
    }
}

}  // namespace tn

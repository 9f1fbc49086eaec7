#include "path/profile.h"

#include <algorithm>
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
// is 1; that case is recognised without the division. For step > 0 (and not NaN), fl(p / step) lies
// in (-1, 1) exactly when |p| < (1 - 2^-25) step: 1 - 2^-25 is the midpoint between the largest float
// below 1 and 1, and at the midpoint itself the quotient rounds to 1 (ties to even). The product has
// at most 49 significant bits, so double holds it exactly and the comparison decides as the
// division would. Anything else (a negative, zero or NaN step, a NaN position) divides as before.
int seek_shift(float node, float step, float x) {
    constexpr double kBelowOne = 1.0 - 0x1p-25;
    const float p = node - x;
    if (step > 0.0f && std::abs(static_cast<double>(p)) < kBelowOne * static_cast<double>(step)) return 1;
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
    const float step_x = dx / s, step_y = dy / s, step_d = length / s;
    if (kind == 0) {
        // All the cells first, then the heights: the grid reads of many samples are then under way
        // at once instead of one after another.
        TerrainCell cells[kProfileSamples];
        for (int k = 0; k < taken; ++k) {
            const float m = static_cast<float>(k);
            cells[k] = terrain_cell(grid, src[0] + step_x * m, src[1] + step_y * m);
            out[k].d = step_d * m;
        }
        for (int k = 0; k < taken; ++k) out[k].v = terrain_value(*grid.Z, cells[k], kept);
    } else {
        const float* values = grid.Z->v.data();
        for (int k = 0; k < taken; ++k) {
            const float m = static_cast<float>(k);
            out[k].d = step_d * m;
            out[k].v = values[ground_index(grid, src[0] + step_x * m, src[1] + step_y * m)];
        }
    }
}

}  // namespace tn

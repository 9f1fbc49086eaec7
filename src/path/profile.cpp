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

// Node positions read from the grids.
struct StoredNodes {
    const FloatGrid& X;
    const FloatGrid& Y;
    float x(int i, int j) const { return X(i, j); }
    float y(int i, int j) const { return Y(i, j); }
};

// Node positions worked out from the lattice; the same values as stored when nodes_on_lattice holds.
struct LatticeNodes {
    const GRIDHEAD& h;
    float x(int i, int) const { return h.X0 + h.DX * static_cast<float>(i - 1); }
    float y(int, int j) const { return h.Y0 + h.DY * static_cast<float>(j - 1); }
};

template <class Nodes>
void seek(int& i, int& j, const Nodes& n, int NX, int NY, float x, float y) {
    const float step_x = i < NX ? n.x(i + 1, j) - n.x(i, j) : n.x(i, j) - n.x(i - 1, j);
    const float step_y = j < NY ? n.y(i, j + 1) - n.y(i, j) : n.y(i, j) - n.y(i, j - 1);
    int a = truncated((n.x(i, j) - x) / step_x);
    if (a >= 0) a = a + 1;   // deliberate: within a step of the node, the cell moves one node down
    int b = truncated((n.y(i, j) - y) / step_y);
    if (b >= 0) b = b + 1;
    i = std::min(NX - 1, i - a);
    j = std::min(NY - 1, j - b);
    i = std::max(i, 1);
    j = std::max(j, 1);
}

void seek(int& i, int& j, const GridView& g, float x, float y) {
    if (g.lattice) seek(i, j, LatticeNodes{*g.head}, g.head->NX, g.head->NY, x, y);
    else seek(i, j, StoredNodes{*g.X, *g.Y}, g.head->NX, g.head->NY, x, y);
}

}  // namespace

void GRIDSEEK(int& i, int& j, const FloatGrid& X, const FloatGrid& Y, int NX, int NY, float x, float y) {
    seek(i, j, StoredNodes{X, Y}, NX, NY, x, y);
}

bool nodes_on_lattice(const GRIDHEAD& head, const FloatGrid& X, const FloatGrid& Y) {
    if (X.ld != head.NX || Y.ld != head.NX || X.nj != head.NY || Y.nj != head.NY) return false;
    const LatticeNodes n{head};
    for (int j = 1; j <= head.NY; ++j) {
        for (int i = 1; i <= head.NX; ++i) {
            const float xi = n.x(i, j), yj = n.y(i, j);
            const float xs = X(i, j), ys = Y(i, j);
            if (std::memcmp(&xi, &xs, sizeof xi) != 0 || std::memcmp(&yj, &ys, sizeof yj) != 0) return false;
        }
    }
    return true;
}

float TERRZ(const GridView& terrain, float x, float y, float& kept) {
    const GRIDHEAD& h = *terrain.head;
    const FloatGrid& elev = *terrain.Z;
    const float u = (x - h.X0) / h.DX;
    const float v = (y - h.Y0) / h.DY;
    // Fractions of the starting cell, kept after GRIDSEEK moves the cell (deliberate).
    const float fu = u - std::trunc(u);
    const float fv = v - std::trunc(v);
    int i = limited_index(std::trunc(u), 1, h.NX - 1);
    int j = limited_index(std::trunc(v), 1, h.NY - 1);
    seek(i, j, terrain, x, y);
    const float z11 = elev(i, j);
    const float z21 = elev(i + 1, j);
    const float z12 = elev(i, j + 1);
    const float z22 = elev(i + 1, j + 1);
    const float z = z11 + fu * (z21 - z11) + fv * (z12 - z11) + fu * fv * ((z11 + z22) - z21 - z12);
    if (z < kRefusedHeight) kept = z;   // a NaN is not below either
    return kept;
}

float GNDVAL(const GridView& ground, float x, float y) {
    const GRIDHEAD& h = *ground.head;
    const float u = (x - h.X0) / h.DX;
    const float v = (y - h.Y0) / h.DY;
    int i = limited_index(std::round(u), 1, h.NX);   // std::round: half away from zero
    int j = limited_index(std::round(v), 1, h.NY);
    seek(i, j, ground, x, y);
    return (*ground.Z)(i, j);
}

void TERRPROF(const GridView& grid, const float src[2], const float rcv[2], PROFPT* out, int n, int kind,
              float& kept) {
    for (int k = 0; k < kProfileSamples; ++k) out[k].v = kSampleNotTaken;
    const float dx = rcv[0] - src[0];
    const float dy = rcv[1] - src[1];
    const float length = std::sqrt(dx * dx + dy * dy);
    const float s = static_cast<float>(n - 1);
    const int taken = n < kProfileSamples ? n : kProfileSamples;   // never past the section's end
    for (int k = 0; k < taken; ++k) {
        const float m = static_cast<float>(k);
        const float sx = src[0] + (dx / s) * m;
        const float sy = src[1] + (dy / s) * m;
        out[k].d = (length / s) * m;
        out[k].v = kind == 0 ? TERRZ(grid, sx, sy, kept) : GNDVAL(grid, sx, sy);
    }
}

}  // namespace tn

// Regular grids held in memory: the header of a grid, the user frame of the terrain, and a grid of
// floats indexed (i, j) from 1 with i running fastest.
#pragma once

#include <cstddef>
#include <vector>

namespace tn {

// Description of a grid: counts, spacing and the position of node (1, 1), metres.
struct GRIDHEAD {
    int NX = 0;
    int NY = 0;
    float DX = 0.0f;
    float DY = 0.0f;
    float X0 = 0.0f;
    float Y0 = 0.0f;
};

// The terrain grid's reference data, which is also the user's local frame: rotate by Rotate
// (radians) about (Xuser, Yuser), scale to feet when Userunit is 1, and add (Xr, Yr).
struct GRIDREF {
    float Xuser = 0.0f;
    float Yuser = 0.0f;
    float Rotate = 0.0f;
    float Xr = 0.0f;
    float Yr = 0.0f;
    int Userunit = 0;
    bool Hasuser = false;
};

// NX by NY floats, i running fastest, both indices from 1. The leading dimension is fixed when the
// grid is allocated and does not follow later changes of a header's counts. `held` tells an
// allocated grid (possibly of zero size) from a released one.
struct FloatGrid {
    std::vector<float> v;
    int ld = 0;     // leading dimension: count in i
    int nj = 0;     // count in j
    bool held = false;

    void allocate(int nx, int ny) {
        ld = nx > 0 ? nx : 0;
        nj = ny > 0 ? ny : 0;
        v.assign(static_cast<std::size_t>(ld) * static_cast<std::size_t>(nj), 0.0f);
        held = true;
    }
    void release() { v.clear(); v.shrink_to_fit(); ld = 0; nj = 0; held = false; }

    std::size_t index(int i, int j) const {
        return static_cast<std::size_t>(i - 1) + static_cast<std::size_t>(j - 1) * static_cast<std::size_t>(ld);
    }
    float& operator()(int i, int j) { return v[index(i, j)]; }
    float operator()(int i, int j) const { return v[index(i, j)]; }
};

// Read-only view of a grid with its node positions, as the point lookups use it.
struct GridView {
    const GRIDHEAD* head = nullptr;
    const FloatGrid* Z = nullptr;   // heights or ground values
    const FloatGrid* X = nullptr;   // x of each node
    const FloatGrid* Y = nullptr;   // y of each node
    // Every node stands exactly (to the bit) at X0 + DX * (i - 1), Y0 + DY * (j - 1): the lookups
    // may then work the positions out instead of reading them, with the same results.
    bool lattice = false;
};

}  // namespace tn

// Point lookups and path sections over small regular grids, with values worked out by hand.
#include "path/profile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

namespace {

// A regular grid with node (1, 1) at (x0, y0), spacing dx, dy, and node values from `value`.
struct TestGrid {
    tn::GRIDHEAD head;
    tn::FloatGrid z, x, y;

    TestGrid(int nx, int ny, float x0, float y0, float dx, float dy, const std::function<float(int, int)>& value) {
        head = {nx, ny, dx, dy, x0, y0};
        z.allocate(nx, ny);
        x.allocate(nx, ny);
        y.allocate(nx, ny);
        for (int j = 1; j <= ny; ++j)
            for (int i = 1; i <= nx; ++i) {
                z(i, j) = value(i, j);
                x(i, j) = x0 + dx * static_cast<float>(i - 1);
                y(i, j) = y0 + dy * static_cast<float>(j - 1);
            }
    }
    tn::GridView view() const { return {&head, &z, &x, &y}; }
};

// 4 by 3 nodes from (100, 200), 10 m by 20 m, E(i, j) = 10 i + 100 j + i j. E is bilinear, so a
// cell's interpolation reproduces it exactly and every expected height below is E at some
// (fractional) node index.
float bilinear(int i, int j) { return static_cast<float>(10 * i + 100 * j + i * j); }

TEST(Gridseek, OneCorrectionStep) {
    const TestGrid g(6, 2, 0.0f, 0.0f, 10.0f, 10.0f, bilinear);
    const struct { int i; float x; int expect; const char* what; } kCases[] = {
        {3, 20.0f, 2, "on node 3: a = 0 + 1, one node down"},
        {3, 16.0f, 2, "less than a step below node 3: one node down"},
        {2, 35.0f, 4, "2.5 steps above node 2: a = -2, cell 4 [30, 40]"},
        {6, 5.0f, 1, "from the last node, backward step: a = 4 + 1, cell 1"},
        {2, 500.0f, 5, "far above: limited to NX - 1"},
    };
    for (const auto& c : kCases) {
        int i = c.i, j = 1;
        tn::GRIDSEEK(i, j, g.x, g.y, 6, 2, c.x, 0.0f);
        EXPECT_EQ(i, c.expect) << c.what;
        EXPECT_EQ(j, 1) << "a grid two nodes high keeps j at 1";
    }
}

TEST(Terrz, CellOneNodeDownWithTheStartingFractions) {
    const TestGrid g(4, 3, 100.0f, 200.0f, 10.0f, 20.0f, bilinear);
    float kept = 0.0f;
    // Exactly on node (3, 2): the fractions are 0 and the cell moves to (2, 1), so the height is
    // that of node (2, 1), E = 122, not the node's own 236.
    EXPECT_EQ(tn::TERRZ(g.view(), 120.0f, 220.0f, kept), 122.0f);
    EXPECT_EQ(kept, 122.0f);
    // Inside cell (3, 2) at fractions 0.5, 0.5, evaluated on cell (2, 1): E(2.5, 1.5) = 178.75.
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 125.0f, 230.0f, kept), 178.75f);
    // Fraction -0.5 left of the grid: cell (1, 1), E(0.5, 1) = 5 + 100 + 0.5 = 105.5.
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 95.0f, 220.0f, kept), 105.5f);
    // Far right, u = 10.5: edge cell (3, 1) with fu = 0.5, E(3.5, 1) = 35 + 100 + 3.5 = 138.5.
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 205.0f, 220.0f, kept), 138.5f);
}

// Two nodes wide: every position uses cell (1, 1) with its own fractions, so (15, 5), off the
// grid, gives the same height as (5, 5): 0 + 0.5 * 10 + 0.5 * 20 + 0.25 * (0 + 40 - 10 - 20) = 17.5.
TEST(Terrz, GridTwoNodesWide) {
    const float nodes[2][2] = {{0.0f, 20.0f}, {10.0f, 40.0f}};   // [i][j]
    const TestGrid g(2, 2, 0.0f, 0.0f, 10.0f, 10.0f, [&](int i, int j) { return nodes[i - 1][j - 1]; });
    float kept = 0.0f;
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 5.0f, 5.0f, kept), 17.5f);
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 15.0f, 5.0f, kept), 17.5f);
}

// 4 by 4 nodes, 10 m apart from (0, 0), E = 10 i + j but for node (1, 1) at 1e20 and node (4, 4)
// not a number.
TEST(Terrz, KeptHeightThroughRefusedNodes) {
    const TestGrid g(4, 4, 0.0f, 0.0f, 10.0f, 10.0f, [](int i, int j) {
        if (i == 1 && j == 1) return 1e20f;
        if (i == 4 && j == 4) return std::nanf("");
        return static_cast<float>(10 * i + j);
    });
    float kept = 0.0f;
    // On node (2, 2): cell (1, 1) with fractions 0 gives exactly 1e20: refused, 0.0 before any good.
    EXPECT_EQ(tn::TERRZ(g.view(), 10.0f, 10.0f, kept), 0.0f);
    // (15, 25): cell (1, 2) at 0.5, 0.5: E(1.5, 2.5) = 17.5, good and kept.
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 15.0f, 25.0f, kept), 17.5f);
    EXPECT_FLOAT_EQ(kept, 17.5f);
    // The 1e20 node again, then (35, 35): cell (3, 3), whose corner (4, 4) is NaN: both give 17.5.
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 10.0f, 10.0f, kept), 17.5f);
    EXPECT_FLOAT_EQ(tn::TERRZ(g.view(), 35.0f, 35.0f, kept), 17.5f);
    EXPECT_FLOAT_EQ(kept, 17.5f);
}

// Ground grid 4 by 3 from (0, 0), 10 m, G = 10 i + j.
TEST(Gndval, NearestNodeOneDownAndNeverTheLastColumnOrRow) {
    const TestGrid g(4, 3, 0.0f, 0.0f, 10.0f, 10.0f, [](int i, int j) { return static_cast<float>(10 * i + j); });
    // On node (3, 2): one node down in each direction, (2, 1).
    EXPECT_EQ(tn::GNDVAL(g.view(), 20.0f, 10.0f), 21.0f);
    // u = 2.6 rounds to node 4 (i = NX), the backward step moves it to 3.
    EXPECT_EQ(tn::GNDVAL(g.view(), 26.0f, 10.0f), 31.0f);
    // u = 2.5 rounds half away from zero to 3 (i = 4), giving 3; half to even would give 2.
    EXPECT_EQ(tn::GNDVAL(g.view(), 25.0f, 10.0f), 31.0f);
    // Anywhere, on or off the grid: never column 4 (40 + j) nor row 3 (10 i + 3).
    for (float x = -25.0f; x <= 75.0f; x += 2.5f)
        for (float y = -25.0f; y <= 55.0f; y += 2.5f) {
            const float v = tn::GNDVAL(g.view(), x, y);
            EXPECT_LT(v, 40.0f) << x << ", " << y;
            EXPECT_NE(std::fmod(v, 10.0f), 3.0f) << x << ", " << y;
        }
}

// A 10-sample section from (101, 205) to (128, 241) over the 4 by 3 grid of bilinear(): steps of
// (3, 4) m, 5 m along the line. With u = (x - 100) / 10 and v = (y - 200) / 20, TERRZ gives E at
// node index max(trunc(u), 1) + fu and max(trunc(v), 1) + fv: u + 1 below u = 1, u above
// (and likewise v), hence the jumps at u = 1 (sample 4) and v = 1 (sample 5).
//   m    u    v    index i, j     E = 10 i + 100 j + i j
//   0   0.1  0.25  1.1,  1.25     137.375
//   1   0.4  0.45  1.4,  1.45     161.03
//   2   0.7  0.65  1.7,  1.65     184.805
//   3   1.0  0.85  1.0,  1.85     196.85
//   4   1.3  1.05  1.3,  1.05     119.365
//   5   1.6  1.25  1.6,  1.25     143.0
//   6   1.9  1.45  1.9,  1.45     166.755
//   7   2.2  1.65  2.2,  1.65     190.63
//   8   2.5  1.85  2.5,  1.85     214.625
//   9   2.8  2.05  2.8,  2.05     238.74
// Samples 10 to 99 are not taken. Tolerance 1e-4 m: the fractions are floats.
TEST(Terrprof, TerrainSectionFromSourceToReceiver) {
    const TestGrid g(4, 3, 100.0f, 200.0f, 10.0f, 20.0f, bilinear);
    const float src[2] = {101.0f, 205.0f}, rcv[2] = {128.0f, 241.0f};
    const float expect[10] = {137.375f, 161.03f, 184.805f, 196.85f, 119.365f,
                              143.0f,   166.755f, 190.63f, 214.625f, 238.74f};
    tn::PROFPT out[100];
    float kept = 0.0f;
    tn::TERRPROF(g.view(), src, rcv, out, 10, 0, kept);
    for (int k = 0; k < 10; ++k) {
        EXPECT_EQ(out[k].d, 5.0f * static_cast<float>(k)) << k;
        EXPECT_NEAR(out[k].v, expect[k], 1e-4f) << k;
    }
    for (int k = 10; k < 100; ++k) EXPECT_EQ(out[k].v, -1000.0f) << k;
    EXPECT_NEAR(kept, 238.74f, 1e-4f);   // the last lookup's height is the kept one

    // Kind 1 samples the nearest-node values instead, and leaves the kept height alone:
    // first sample node (1, 1) = 111; last u 2.8, v 2.05 -> node (4, 3) -> (3, 2) = 236.
    kept = -5.0f;
    tn::TERRPROF(g.view(), src, rcv, out, 10, 1, kept);
    EXPECT_EQ(out[0].v, 111.0f);
    EXPECT_EQ(out[9].v, 236.0f);
    EXPECT_EQ(kept, -5.0f);
}

TEST(Terrprof, SourceAndReceiverAtOnePosition) {
    const TestGrid g(4, 3, 100.0f, 200.0f, 10.0f, 20.0f, bilinear);
    const float here[2] = {125.0f, 230.0f};
    tn::PROFPT out[100];
    float kept = 0.0f;
    tn::TERRPROF(g.view(), here, here, out, 100, 0, kept);
    for (int k = 0; k < 100; ++k) {
        EXPECT_EQ(out[k].d, 0.0f) << k;
        EXPECT_FLOAT_EQ(out[k].v, 178.75f) << k;   // E(2.5, 1.5), as in the TERRZ test
    }
}

}  // namespace

// Lookups that work the node positions out from the lattice give what reading them gives, on and
// off the grid, and a grid whose nodes were moved (as a projected raster's are) is no lattice.
TEST(Lattice, WorkedOutNodesGiveTheStoredResults) {
    TestGrid g(37, 23, 500123.5f, 4000321.25f, 27.3f, 19.7f,
               [](int i, int j) { return 100.0f + 7.0f * std::sin(0.3f * i) + 3.0f * std::cos(0.2f * j); });
    ASSERT_TRUE(tn::nodes_on_lattice(g.head, g.x, g.y));
    tn::GridView stored = g.view();
    tn::GridView worked = g.view();
    worked.lattice = true;
    float kept_a = 0.0f, kept_b = 0.0f;
    for (int k = 0; k < 5000; ++k) {
        // A spread of points from well outside the grid to well inside, on nodes and between them.
        const float x = 500123.5f - 300.0f + 1.37f * static_cast<float>(k % 997);
        const float y = 4000321.25f - 200.0f + 0.91f * static_cast<float>((k * 7) % 991);
        const float a = tn::TERRZ(stored, x, y, kept_a);
        const float b = tn::TERRZ(worked, x, y, kept_b);
        ASSERT_EQ(std::memcmp(&a, &b, sizeof a), 0) << x << " " << y;
        const float c = tn::GNDVAL(stored, x, y);
        const float d = tn::GNDVAL(worked, x, y);
        ASSERT_EQ(std::memcmp(&c, &d, sizeof c), 0) << x << " " << y;
    }
    g.x(5, 7) = std::nextafter(g.x(5, 7), 1e9f);
    EXPECT_FALSE(tn::nodes_on_lattice(g.head, g.x, g.y));
}

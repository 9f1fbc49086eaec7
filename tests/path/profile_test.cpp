// Point lookups over small regular grids, with values worked out by hand, and the lattice shortcut.
#include "path/profile.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <tuple>

namespace {

// A regular grid with node (1, 1) at (x0, y0), spacing dx, dy, and node values from `value`.
struct TestGrid {
    tn::GRIDHEAD head;
    tn::FloatGrid z, x, y;
    TestGrid(int nx, int ny, float x0, float y0, float dx, float dy, const std::function<float(int, int)>& value)
        : head{nx, ny, dx, dy, x0, y0} {
        for (tn::FloatGrid* g : {&z, &x, &y}) g->allocate(nx, ny);
        for (int j = 1; j <= ny; ++j)
            for (int i = 1; i <= nx; ++i)
                std::tie(z(i, j), x(i, j), y(i, j)) = std::tuple(value(i, j), x0 + dx * (i - 1.0f), y0 + dy * (j - 1.0f));
    }
    tn::GridView view() const { return {&head, &z, &x, &y}; }
};

// E(i, j) = 10 i + 100 j + i j is bilinear, so a cell's interpolation reproduces it exactly and
// every expected height below is E at some (fractional) node index.
float bilinear(int i, int j) { return float(10 * i + 100 * j + i * j); }

TEST(Gridseek, OneCorrectionStep) {
    const TestGrid g(6, 2, 0.0f, 0.0f, 10.0f, 10.0f, bilinear);
    const struct { int i; float x; int expect; const char* what; } cases[] = {
        {3, 20.0f, 2, "on node 3: a = 0 + 1, one node down"},
        {3, 16.0f, 2, "less than a step below node 3: one node down"},
        {2, 35.0f, 4, "2.5 steps above node 2: a = -2, cell 4 [30, 40]"},
        {6, 5.0f, 1, "from the last node, backward step: a = 4 + 1, cell 1"},
        {2, 500.0f, 5, "far above: limited to NX - 1"},
    };
    for (const auto& c : cases) {
        int i = c.i, j = 1;
        tn::GRIDSEEK(i, j, g.x, g.y, 6, 2, c.x, 0.0f);
        EXPECT_TRUE(i == c.expect && j == 1) << c.what << ": " << i << ", " << j << " (two nodes high keeps j at 1)";
    }
}

// Heights in order, each with the kept height it leaves (a refused result returns the kept one).
// Grid E: 4 by 3 nodes from (100, 200), 10 m by 20 m, heights E. Grid R: 4 by 4 nodes, 10 m apart
// from (0, 0), 10 i + j but for node (1, 1) at 1e20 and node (4, 4) not a number. Grid W: two nodes
// wide, every position uses cell (1, 1) with its own fractions.
TEST(Terrz, CellOneNodeDownWithTheStartingFractionsAndTheKeptHeight) {
    const TestGrid E(4, 3, 100.0f, 200.0f, 10.0f, 20.0f, bilinear);
    const TestGrid R(4, 4, 0.0f, 0.0f, 10.0f, 10.0f, [](int i, int j) {
        return i == 1 && j == 1 ? 1e20f : i == 4 && j == 4 ? std::nanf("") : float(10 * i + j);
    });
    const TestGrid W(2, 2, 0, 0, 10, 10, [](int i, int j) { return std::array{0.0f, 20.0f, 10.0f, 40.0f}[2 * i + j - 3]; });
    const struct { const TestGrid& g; float x, y, z; const char* why; } cases[] = {
        {R, 10, 10, 0.0f, "on node (2, 2): cell (1, 1) with fractions 0 gives exactly 1e20: refused, 0 before any good"},
        {R, 15, 25, 17.5f, "cell (1, 2) at 0.5, 0.5: 10 * 1.5 + 2.5, good and kept"},
        {R, 10, 10, 17.5f, "the 1e20 node again: the kept height"},
        {R, 35, 35, 17.5f, "cell (3, 3), whose corner (4, 4) is NaN: the kept height"},
        {E, 120, 220, 122.0f, "on node (3, 2): fractions 0, the cell moves to (2, 1): E(2, 1), not the node's own 236"},
        {E, 125, 230, 178.75f, "inside cell (3, 2) at 0.5, 0.5, evaluated on cell (2, 1): E(2.5, 1.5)"},
        {E, 95, 220, 105.5f, "fraction -0.5 left of the grid: cell (1, 1), E(0.5, 1)"},
        {E, 205, 220, 138.5f, "far right, u = 10.5: edge cell (3, 1) with fu = 0.5, E(3.5, 1)"},
        {W, 5, 5, 17.5f, "nodes 0, 10 (i = 2), 20 (j = 2), 40: 0 + 0.5 * 10 + 0.5 * 20 + 0.25 * (0 + 40 - 10 - 20)"},
        {W, 15, 5, 17.5f, "off the grid: the same as (5, 5)"},
    };
    float kept = 0.0f;
    for (const auto& c : cases) {
        EXPECT_EQ(tn::TERRZ(c.g.view(), c.x, c.y, kept), c.z) << c.why;
        EXPECT_EQ(kept, c.z) << c.why;
    }
}

// Ground grid 4 by 3 from (0, 0), 10 m, G = 10 i + j: the nearest node, then one node down.
TEST(Gndval, NearestNodeOneDownAndNeverTheLastColumnOrRow) {
    const TestGrid g(4, 3, 0.0f, 0.0f, 10.0f, 10.0f, [](int i, int j) { return float(10 * i + j); });
    EXPECT_EQ(tn::GNDVAL(g.view(), 20.0f, 10.0f), 21.0f) << "on node (3, 2): one node down in each direction";
    EXPECT_EQ(tn::GNDVAL(g.view(), 26.0f, 10.0f), 31.0f) << "u = 2.6 rounds to node 4 (i = NX), moved back to 3";
    EXPECT_EQ(tn::GNDVAL(g.view(), 25.0f, 10.0f), 31.0f) << "u = 2.5 rounds half away from zero; half to even gives 21";
    for (float x = -25.0f; x <= 75.0f; x += 2.5f)   // on or off the grid: never column 4 (40 + j) nor row 3 (10 i + 3)
        for (float y = -25.0f; y <= 55.0f; y += 2.5f) {
            const float v = tn::GNDVAL(g.view(), x, y);
            EXPECT_TRUE(v < 40.0f && std::fmod(v, 10.0f) != 3.0f) << v << " at " << x << ", " << y;
        }
}

// Lookups that work the node positions out from the lattice give what reading them gives, bit for
// bit, on and off the grid (a spread of points from well outside the grid to well inside, on nodes
// and between them), and so do whole sections; a grid whose nodes were moved (as a projected
// raster's are) is no lattice.
TEST(Lattice, WorkedOutNodesGiveTheStoredResults) {
    TestGrid g(37, 23, 500123.5f, 4000321.25f, 27.3f, 19.7f,
               [](int i, int j) { return 100.0f + 7.0f * std::sin(0.3f * i) + 3.0f * std::cos(0.2f * j); });
    ASSERT_TRUE(tn::nodes_on_lattice(g.head, g.x, g.y));
    const tn::GridView stored = g.view(), worked{&g.head, &g.z, &g.x, &g.y, true};
    float kept_a = 0.0f, kept_b = 0.0f;
    for (int k = 0; k < 5000; ++k) {
        const float x = 500123.5f - 300.0f + 1.37f * float(k % 997), y = 4000321.25f - 200.0f + 0.91f * float((k * 7) % 991);
        const float r[4] = {tn::TERRZ(stored, x, y, kept_a), tn::TERRZ(worked, x, y, kept_b), tn::GNDVAL(stored, x, y),
                            tn::GNDVAL(worked, x, y)};
        ASSERT_TRUE(!std::memcmp(r, r + 1, sizeof(float)) && !std::memcmp(r + 2, r + 3, sizeof(float))) << x << " " << y;
    }
    // Sections on the lattice are worked axis by axis over all samples at once; read from the
    // stored nodes, sample by sample through the point lookups. Paths from well outside the grid
    // to well inside, along node rows, through nodes, and of zero length, over this grid and grids
    // two and three nodes wide, where the first and last cells meet.
    const TestGrid narrow[2] = {{2, 3, 500123.5f, 4000321.25f, 500.0f, 300.0f, bilinear},
                                {3, 2, 500123.5f, 4000321.25f, 400.0f, 600.0f, bilinear}};
    for (const TestGrid* t : {static_cast<const TestGrid*>(&g), &narrow[0], &narrow[1]}) {
        const tn::GridView by_node = t->view(), by_axis{&t->head, &t->z, &t->x, &t->y, true};
        tn::PROFPT a[tn::kProfileSamples], b[tn::kProfileSamples];
        for (int k = 0; k < 3000; ++k) {
            const float src[2] = {500123.5f - 400.0f + 0.73f * float(k % 601), 4000321.25f - 300.0f + 19.7f * float(k % 37)};
            const float rcv[2] = {k % 5 == 0 ? src[0] : 500123.5f + 27.3f * float(k % 41),
                                  k % 7 == 0 ? src[1] : 4000321.25f + 0.37f * float((k * 13) % 1500)};
            for (int kind = 0; kind < 2; ++kind) {
                tn::TERRPROF(by_node, src, rcv, a, tn::kProfileSamples, kind, kept_a);
                tn::TERRPROF(by_axis, src, rcv, b, tn::kProfileSamples, kind, kept_b);
                ASSERT_TRUE(!std::memcmp(a, b, sizeof a)) << t->head.NX << " nodes, path " << k << ", kind " << kind;
            }
        }
    }
    g.x(5, 7) = std::nextafter(g.x(5, 7), 1e9f);
    EXPECT_FALSE(tn::nodes_on_lattice(g.head, g.x, g.y));
}

}  // namespace

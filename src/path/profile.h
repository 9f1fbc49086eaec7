// Terrain and ground values along a path, and the two point lookups behind them.
//
// The lookups are constant-time index arithmetic: a starting cell from the grid head's lattice
// (X0, Y0, DX, DY), one correction step against the nodes' own positions (GRIDSEEK), and the
// node values. Single precision throughout.
//
// Precondition of every routine here: the grid has at least 2 by 2 nodes, and the value grid and
// both node-position grids hold exactly head->NX by head->NY nodes.
#pragma once

#include "geo/grid.h"
#include "ground/profpt.h"

namespace tn {

// Corrects the cell (i, j), 1 <= i <= NX, 1 <= j <= NY, in place against the node positions X and
// Y for the point (x, y), in one step: a = trunc((X(i, j) - x) / local step), plus 1 when not
// negative, and likewise b; then i := i - a, j := j - b, limited to 1 .. NX - 1 and 1 .. NY - 1.
// Deliberate: a point less than one step to either side of node (i, j) moves the cell one node
// down, so on a regular lattice the cell ends one below the exact one; TERRZ and GNDVAL depend on it.
// A quotient that is not a number counts as 0.
void GRIDSEEK(int& i, int& j, const FloatGrid& X, const FloatGrid& Y, int NX, int NY, float x, float y);

// Whether every node of X and Y stands exactly at X0 + DX * (i - 1), Y0 + DY * (j - 1) of head, as
// the tagged grid reader places them (a raster's projected nodes do not). Checked once per grid.
bool nodes_on_lattice(const GRIDHEAD& head, const FloatGrid& X, const FloatGrid& Y);

// Terrain height at (x, y), metres: bilinear over the cell that GRIDSEEK gives, with the fractions
// of the starting cell, trunc((x - X0) / DX) + 1, taken before the cell moves (deliberate: they may
// be negative, and positions off the grid take the edge cell with their own fractions). A result of
// 1e20 or more, or a NaN, is refused: the routine returns `kept`, the last good height (0.0 before
// any); a good result is stored in `kept` and returned. One `kept` per sequence of lookups: the
// caller owns it (a later parallel run gives each thread its own).
float TERRZ(const GridView& terrain, float x, float y, float& kept);

// Ground value at (x, y): the node round((x - X0) / DX) + 1 (half away from zero), limited to the
// grid, then corrected by GRIDSEEK. No interpolation. Because of GRIDSEEK, the last node column and
// the last node row are never returned.
float GNDVAL(const GridView& ground, float x, float y);

// Samples the straight line from src to rcv (x, y, metres) at n equal steps into out[0 .. n-1]:
// sample k (from 0) stands at src + (rcv - src) / (n - 1) * k, with d = |rcv - src| / (n - 1) * k
// metres from the source, so the first is at the source with d = 0 and the last at the receiver.
// kind 0 samples TERRZ (with `kept`), any other kind GNDVAL. All 100 entries of `out` get
// v = -1000.0 first, so samples not taken (n < 100) keep that mark; their d is left as it was.
// n of 1 divides by zero (NaN samples); n above 100 samples only the first 100 positions.
// Each sample's value is bit for bit that of the point lookup at its position; on a lattice the
// section is worked axis by axis over all its samples at once, which gives the same values.
void TERRPROF(const GridView& grid, const float src[2], const float rcv[2], PROFPT* out, int n, int kind,
              float& kept);

}  // namespace tn

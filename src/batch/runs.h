// Grid and site runs: the receivers, the result writer and the case runner.
//
// grid block (lines after the command): output base name (columns 1-255); receiver columns that
// span the grid (5-8); first and last column to compute (5-8, 9-12); receiver rows that span the
// grid (5-8); first and last row (5-8, 9-12); the output option (6-9): "no" writes a ".tig"
// time-history file, "yes" a ".dbf" table, "CDF" a ".nc" NetCDF file; then the time offset: hours
// (6-9), minutes (6-9) and seconds (6-11, three decimals implied when no point is written).
// site block: output base name; the output option ("no": ".tis", "yes": ".dbf", "CDF": ".nc"); the
// time offset.
#pragma once

#include <memory>
#include <vector>

#include "batch/session.h"
#include "path/rcvhist.h"
#include "results/writer.h"

namespace tn {

// Height of a grid receiver in range, metres, and the mark of one out of range (passed over).
inline constexpr float kGridReceiverHeight = 1.219215f;
inline constexpr float kOutOfRange = -1.0e34f;

// True when no trajectory point lies within Maxdist of (x, y) in the plane; a distance that is not a
// number does not count as within.
bool FARAWAY(const TRAJPOINT* Traj, int Npts, float Maxdist, float x, float y);

// x of each lattice column Iifirst..Iilast and y of each row Jjfirst..Jjlast, UTM metres in single
// precision: position (i, j) of Iicount by Jjcount spans the terrain grid from its first node to its
// last. Empty for a span that runs backwards.
void lattice_axes(const GridBlock& b, const GRIDHEAD& h, std::vector<float>& Xcol, std::vector<float>& Yrow);

// Fills the lattice block of receivers: position (i, j) of Iicount by Jjcount spans the terrain grid
// from its first node to its last; names "iiiijjjj"; height 1.219215 in range, -1.0e34 beyond;
// j runs fastest. The ambient class comes from the case's class raster (loaded into `ambient` on
// first use). Returns the receiver count, (Jjlast - Jjfirst + 1) * (Iilast - Iifirst + 1).
long GRIDRECV(const GridBlock& b, const CaseState& cs, AmbientRaster& ambient, std::vector<SITEREC>& Recv);

// What a receiver's history reads of the case, and the values it shares from receiver to receiver.
RcvCase rcv_case(const Session& s);
RcvShared rcv_shared(Session& s);

// The writer of a run's output option ("yes": the dBase table; "CDF": the NetCDF file; otherwise the
// time-history file)
// for the result name Runout: chosen once, where the run command is read.
std::unique_ptr<ResultWriter> choose_writer(const FixedText<4>& Runopt, const Name255& Runout);

// The runs of the script commands `grid`/`Grid` and `site`; each reads its block from the script.
void grid_run(Session& s);
void site_run(Session& s);

// Reads the time offset from the script, opens the writer, computes every receiver in order (those
// above ground; the others are passed over) and hands each to the writer, then finishes it.
void RUNCASE(Session& s, std::vector<SITEREC>& receivers, long Nrecv, RunHeader& run, ResultWriter& writer);

}  // namespace tn

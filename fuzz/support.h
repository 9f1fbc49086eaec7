// What the fuzz targets share: a scratch folder for the files a reader opens, the splitting of one
// input into the several files of a reader, and a small valid case for the targets that run the
// set-up or the whole program.
//
// A target takes any bytes. A reader that ends the run throws tn::RunError, which the target
// catches; anything else (another exception, a signal, a sanitizer report, a leak, a hang) is a
// finding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/errors.h"

namespace tn {
class HistorySource;
}

namespace tnfuzz {

// Shows the message of a stop on standard error when TN_FUZZ_SHOW is set (to see what a reader
// says to an input: TN_FUZZ_SHOW=1 fuzz/fuzz_grid FILE).
void note(const tn::RunError& e);

// The scratch folder of this process (made on first use, removed when the process ends).
const std::string& scratch();

// Writes bytes to scratch()/name, replacing the file; returns the full path.
std::string write_file(const std::string& name, std::string_view bytes);
// Removes scratch()/name if it stands there.
void remove_file(const std::string& name);

// Separator of the files within one input: a line of four equals signs.
inline constexpr std::string_view kSeparator = "\n====\n";

// The input cut at its separators into at most `n` parts; the last part takes the rest, separators
// and all. Fewer separators give fewer parts: the files behind them are missing.
std::vector<std::string_view> split_parts(std::string_view data, std::size_t n);

// Writes part k of `parts` to names[k], and removes the files of names that have no part.
void write_parts(const std::vector<std::string_view>& parts, const std::vector<std::string>& names);

// Names in a file handed to the set-up or to the program stand in the case folder: every '/' is
// turned into '_', so that nothing outside it (a device, a fifo, another tree) is opened or written.
std::string confined(std::string_view text);

// A small case that runs, written once into scratch()/case: a 5 by 5 terrain grid ("terrain.grd"),
// a ground grid ("ground.imp"), a trajectory of three points ("track.trj"), a source list of three
// bands and its table ("src.lst", "t.tab"), a site file ("sites.sit"), an ambient definition and
// its class raster ("ambient.txt", "classes.txt"), a Nord2000 parameter file ("nord.txt"), a
// control file naming them ("case.ctl") and rnd/directories.ini. Returns the folder.
const std::string& fixed_case();
// Removes from the case folder every file that fixed_case() did not write (results of runs).
void clean_case();

// The working folder as it stood when the target started; the source tables change it.
void restore_working_folder();

// Reads every receiver of a result as tracknoise-metrics does: the event metrics of each and, for a
// grid, the placement of its lattice. Aborts where a metric breaks its invariants (T positive when
// in range, times above never negative). `whole`: every receiver handed out must also be computed,
// with one point per trajectory point, and a grid's receivers must be named by their lattice
// position (a form that holds only whole receivers).
void read_history_source(tn::HistorySource& r, bool whole);

}  // namespace tnfuzz

// Result writers: one interface between the computed histories of a run and its files.
//
// A run opens its writer once, hands it every receiver in receiver order (computed, or passed over
// where the format records that), and finishes it. A writer knows its format and nothing of the
// physics; a new format is one new implementation and one line where the run command chooses it
// (src/batch/runs.cpp).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "results/history.h"

namespace tn {

// The lattice block of a grid run: Iicount by Jjcount positions span the terrain grid; the run
// computes columns Iifirst..Iilast and rows Jjfirst..Jjlast.
struct GridBlock {
    int Iicount = 0;
    int Iifirst = 0;
    int Iilast = 0;
    int Jjcount = 0;
    int Jjfirst = 0;
    int Jjlast = 0;
};

// What a writer needs to know of the run before its first receiver.
struct RunHeader {
    std::string Runout;          // the result name as the run formed it, trailing blanks removed
    bool grid = false;           // a grid run (the block below applies), else a site run
    GridBlock block;
    // The case's inputs as the file header names them, trailing blanks removed.
    std::string Terrfile, Gndfile, Sitefile, Infofile, Ambfile, Trackfile, Srcfile;
    int Npts = 0;                // trajectory points: rows per receiver
    long Nrecv = 0;              // receivers of the run, those passed over included
    int Utmzone = 0;
    std::vector<float> Freq;     // the run's band frequencies, Hz
    int Bandoff = 1;             // BANDTAB position of Freq[0]
    // For a grid: x of each lattice column Iifirst..Iilast and y of each row Jjfirst..Jjlast, UTM
    // metres, the very floats the receivers were placed at (empty for a block that runs backwards).
    std::vector<float> Xcol, Yrow;
    float Tstart = 0.0f;         // the run's time offset, seconds, in every arrival time
    std::string program;         // the program and its version, "tracknoise 0.1.0"
    CivilDate date;              // the day of the run (SOURCE_DATE_EPOCH when set)
};

class ResultWriter {
public:
    virtual ~ResultWriter() = default;
    // Creates the result file(s) and writes what precedes the first receiver.
    virtual void open(const RunHeader& run) = 0;
    // One receiver, in receiver order.
    virtual void receiver(const ReceiverHistory& h) = 0;
    // After the last receiver: completes and closes the file(s).
    virtual void finish() = 0;
};

// The time-history text writer (".tis", ".tig"): the file header, then a section per computed
// receiver. With `sections` false (a name beginning with "-") only the file header is written;
// with `lines` false (a name holding neither ".tig" nor ".tis") a section is its header alone.
std::unique_ptr<ResultWriter> make_time_history_writer(bool sections, bool lines);

// The dBase writer (".dbf" with its ".dbt"): a memo block for every receiver, records for the
// computed ones (none with `records` false, a name beginning with "-").
std::unique_ptr<ResultWriter> make_dbf_writer(bool records);

// The NetCDF writer (".nc"): one netCDF-4 file after the CF conventions, every receiver of the run
// in it (those passed over hold fill values). Layout and chunking in src/results/netcdf.h.
std::unique_ptr<ResultWriter> make_netcdf_writer();

}  // namespace tn

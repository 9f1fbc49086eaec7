#include "batch/runs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "batch/program.h"
#include "batch/receiver_pool.h"
#include "batch/setup.h"
#include "environment/sites.h"
#include "io/clock.h"
#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/format.h"
#include "results/bands.h"

namespace tn {

namespace {

// Receivers one grid run may hold; a block beyond this is a mistyped count, not a survey.
constexpr long kMaxGridReceivers = 10000000L;

std::string_view script_line(Session& s, const char* what) {
    return s.script.record_or_fail(std::string(what) + " (the block of a run command ended early)");
}

int script_int(Session& s, std::string_view rec, int a, int b, const char* what) {
    return read_int_columns(s.script, rec, a, b, what);
}

// The option of a run: "yes" (a table), "no" (a time-history file) or "CDF" (a NetCDF file). Any
// other word is refused before a result file is opened.
void check_option(Session& s, const FixedText<4>& Runopt, long line, const char* command) {
    if (Runopt == "yes" || Runopt == "no" || Runopt == "CDF") return;
    std::string msg = "the output option of \"" + std::string(command) + "\" is '" + std::string(Runopt.padded()) +
                      "' in columns 6-9; valid options are \"yes\" (a .dbf table), \"no\" (a ";
    msg += std::string(command) == "site" ? ".tis" : ".tig";
    msg += " time-history file) and \"CDF\" (a .nc NetCDF file)";
    throw file_error(s.script.name(), line, msg);
}

// The extension of a run's result: ".dbf" for "yes", ".nc" for "CDF", else the time-history one.
std::string extension(const FixedText<4>& Runopt, const char* time_history) {
    if (Runopt == "yes") return ".dbf";
    if (Runopt == "CDF") return ".nc";
    return time_history;
}

// What the writer is told of the run before its first receiver.
RunHeader run_header(const Session& s, bool grid, const GridBlock& block, long Nrecv) {
    const CaseState& cs = s.cs;
    RunHeader run;
    run.Runout = s.Runout.str();
    run.grid = grid;
    run.block = block;
    run.Terrfile = cs.Terrfile.str();
    run.Gndfile = cs.Gndfile.str();
    run.Sitefile = cs.Sitefile.str();
    run.Infofile = cs.Infofile.str();
    run.Ambfile = cs.Ambfile.str();
    run.Trackfile = cs.Trackfile.str();
    run.Srcfile = cs.Srcfile.str();   // as the runs before have left it
    run.Npts = cs.Npts;
    run.Nrecv = Nrecv;
    run.Utmzone = cs.Utmzone;
    run.Freq = cs.Freq;
    run.Bandoff = band_offset(cs.Nband, cs.Freq.data());
    if (grid) lattice_axes(block, cs.Terrhead, run.Xcol, run.Yrow);
    run.program = program_and_version();
    run.date = today();
    return run;
}

// Whether a point of this case can reach a source table: the case's source is a list, or, with a
// source named per point, some point names one.
bool table_evaluation_possible(const CaseState& cs) {
    if (cs.Npts == 0) return false;
    if (!cs.Traj[0].Ptsrc) return !is_hemisphere_name(cs.Srcfile);
    for (const TRAJPOINT& p : cs.Traj) {
        if (!is_hemisphere_name(p.Srcname)) return true;
    }
    return false;
}

// Reads the output base name of a run from the script.
void read_runbase(Session& s, long& line) {
    s.Runbase = read_name_columns(s.script, script_line(s, "the output base name"), "the output base name");
    line = s.script.record_number();
}

// Runout: the base name and its extension, which must fit in 255 characters; a name that does not
// stops here, before anything of the run is written.
void set_runout(Session& s, long base_line, const std::string& extension) {
    const std::string name = s.Runbase.str() + extension;
    if (name.size() > Name255::size) {
        throw file_error(s.script.name(), base_line,
                         "the output name " + name + " has " + std::to_string(name.size()) +
                             " characters with its extension; it does not fit in 255");
    }
    s.Runout = name;
}

std::string number(float v) {
    char b[32];
    std::snprintf(b, sizeof b, "%g", static_cast<double>(v));
    return b;
}

// Why a finished run wrote no rows (no time-history lines, no table records), or nothing when it
// wrote some. The result stands as the run made it; this only tells the user.
std::string why_no_rows(const Session& s, const RunHeader& run, const std::vector<SITEREC>& receivers,
                        long computed) {
    const CaseState& cs = s.cs;
    if (s.Runout[0] == '-') return "the output name begins with \"-\", which writes headers only";
    const GridBlock& b = run.block;
    if (run.grid && (b.Iifirst > b.Iilast || b.Jjfirst > b.Jjlast)) {
        return "the grid block, columns " + std::to_string(b.Iifirst) + " to " + std::to_string(b.Iilast) +
               " and rows " + std::to_string(b.Jjfirst) + " to " + std::to_string(b.Jjlast) +
               ", runs backwards (a block runs from its first column and row up to its last)";
    }
    if (run.Nrecv <= 0) return "the case has no receivers";
    if (computed > 0 && cs.Npts <= 0) return "the trajectory has no points";
    if (computed > 0) return {};
    if (!run.grid) return "no site stands above the ground (a height of 0 or below is passed over)";
    if (b.Iicount == 1 || b.Jjcount == 1) {
        return "a receiver count of 1 across the grid (Iicount " + std::to_string(b.Iicount) + ", Jjcount " +
               std::to_string(b.Jjcount) + ") divides the grid's span by zero, so that no receiver has a position";
    }
    const long n = std::min(run.Nrecv, static_cast<long>(receivers.size()));
    const bool placed = std::any_of(receivers.begin(), receivers.begin() + n,
                                    [](const SITEREC& r) { return std::isfinite(r.x) && std::isfinite(r.y); });
    if (!placed) {
        return "no receiver has a position that is a number (the terrain grid's spacing is " +
               number(cs.Terrhead.DX) + " by " + number(cs.Terrhead.DY) + " m)";
    }
    return "no receiver lies within the distance limit of " + number(cs.Maxdist) + " m of the trajectory";
}

// The writer of a process that writes no results.
class NoResults final : public ResultWriter {
public:
    void open(const RunHeader&) override {}
    void receiver(const ReceiverHistory&) override {}
    void finish() override {}
};

bool ends_in_tig(const Name255& name) {
    const std::string_view t = name.trimmed();
    return t.size() >= 3 && t.substr(t.size() - 3) == "tig";
}

}  // namespace

RcvCase rcv_case(const Session& s) {
    const CaseState& cs = s.cs;
    RcvCase rc;
    rc.Nband = cs.Nband;
    rc.Freq = cs.Freq.data();
    rc.Bandoff = band_offset(cs.Nband, cs.Freq.data());
    rc.Wgt = cs.Wgt.data();
    rc.Absdb = cs.Absdb.data();
    rc.path.terrain = cs.terrain();
    rc.path.ground = cs.ground();
    rc.path.model = s.model;
    rc.ref = &cs.Gridref;
    rc.Traj = cs.Traj.data();
    rc.Npts = cs.Npts;
    rc.AMBLEVEL = cs.AMBLEVEL.data();
    rc.AMBSPEC = cs.AMBSPEC.data();
    rc.Utmzone = cs.Utmzone;
    rc.Minagl = cs.Minagl;
    rc.Tfahr = cs.Tfahr;
    rc.Maxdist = cs.Maxdist;
    return rc;
}

RcvShared rcv_shared(Session& s) {
    RcvShared shared;
    shared.Srcfile = &s.cs.Srcfile;
    shared.Reload = &s.Reload;
    shared.kept_height = &s.kept.terrz_height;
    shared.srctable = &s.kept.srctable;
    shared.hemispheres = &s.kept.hemispheres;
    shared.current_hemi = &s.current_hemi;
    return shared;
}

bool FARAWAY(const TRAJPOINT* Traj, int Npts, float Maxdist, float x, float y) {
    for (int n = 0; n < Npts; ++n) {
        const float dx = Traj[n].x - x;
        const float dy = Traj[n].y - y;
        const float d = std::sqrt(dx * dx + dy * dy);
        if (d <= Maxdist) return false;
    }
    return true;
}

void lattice_axes(const GridBlock& b, const GRIDHEAD& h, std::vector<float>& Xcol, std::vector<float>& Yrow) {
    Xcol.clear();
    Yrow.clear();
    // The lattice spans the grid from its first node to its last; a count of 1 divides by zero.
    for (int i = b.Iifirst; i <= b.Iilast; ++i)
        Xcol.push_back(static_cast<float>(i - 1) * ((h.DX * static_cast<float>(h.NX - 1)) / static_cast<float>(b.Iicount - 1)) + h.X0);
    for (int j = b.Jjfirst; j <= b.Jjlast; ++j)
        Yrow.push_back(static_cast<float>(j - 1) * ((h.DY * static_cast<float>(h.NY - 1)) / static_cast<float>(b.Jjcount - 1)) + h.Y0);
}

long GRIDRECV(const GridBlock& b, const CaseState& cs, AmbientRaster& ambient, std::vector<SITEREC>& Recv) {
    std::vector<float> Xcol, Yrow;
    lattice_axes(b, cs.Terrhead, Xcol, Yrow);
    std::size_t n = 0;
    for (int i = b.Iifirst; i <= b.Iilast; ++i) {
        for (int j = b.Jjfirst; j <= b.Jjlast; ++j) {
            SITEREC& r = Recv[n++];
            r.x = Xcol[static_cast<std::size_t>(i - b.Iifirst)];
            r.y = Yrow[static_cast<std::size_t>(j - b.Jjfirst)];
            r.Name = fmt_i(i, 4, 4) + fmt_i(j, 4, 4);
            r.z = FARAWAY(cs.Traj.data(), cs.Npts, cs.Maxdist, r.x, r.y) ? kOutOfRange : kGridReceiverHeight;
            r.Ambclass = cs.Nclass < 2 ? 1 : AMBLOOK(r.x, r.y, cs.Utmzone, cs.Classfile, ambient);
        }
    }
    return static_cast<long>(b.Jjlast - b.Jjfirst + 1) * static_cast<long>(b.Iilast - b.Iifirst + 1);
}

std::unique_ptr<ResultWriter> choose_writer(const FixedText<4>& Runopt, const Name255& Runout) {
    // A name beginning with "-" gets its file header (or table header and memo blocks) and no rows.
    const bool rows = Runout[0] != '-';
    if (Runopt == "yes") return make_dbf_writer(rows);
    if (Runopt == "CDF") return make_netcdf_writer();
    return make_time_history_writer(rows, Runout.contains(".tig") || Runout.contains(".tis"));
}

void grid_run(Session& s) {
    long base_line = 0;
    read_runbase(s, base_line);
    GridBlock b;
    std::string_view rec = script_line(s, "the receiver column count");
    b.Iicount = script_int(s, rec, 5, 8, "Iicount, the receiver columns across the grid");
    rec = script_line(s, "the first and last receiver column");
    b.Iifirst = script_int(s, rec, 5, 8, "Iifirst, the first receiver column");
    b.Iilast = script_int(s, rec, 9, 12, "Iilast, the last receiver column");
    rec = script_line(s, "the receiver row count");
    b.Jjcount = script_int(s, rec, 5, 8, "Jjcount, the receiver rows across the grid");
    rec = script_line(s, "the first and last receiver row");
    b.Jjfirst = script_int(s, rec, 5, 8, "Jjfirst, the first receiver row");
    b.Jjlast = script_int(s, rec, 9, 12, "Jjlast, the last receiver row");
    rec = script_line(s, "the output option");
    const FixedText<4> Runopt(field(rec, 6, 9));
    check_option(s, Runopt, s.script.record_number(), "grid");

    set_runout(s, base_line, extension(Runopt, ".tig"));
    const std::unique_ptr<ResultWriter> writer = choose_writer(Runopt, s.Runout);

    const long ni = static_cast<long>(b.Iilast) - b.Iifirst + 1;
    const long nj = static_cast<long>(b.Jjlast) - b.Jjfirst + 1;
    const long count = ni * nj < 1 ? 0 : ni * nj;
    if (count > kMaxGridReceivers) {
        throw file_error(s.script.name(), s.script.record_number(),
                         "the grid block holds " + std::to_string(count) + " receivers; at most " +
                             std::to_string(kMaxGridReceivers) + " fit one run");
    }
    std::vector<SITEREC> recv(static_cast<std::size_t>(count));
    const long Nrecv = GRIDRECV(b, s.cs, s.kept.ambient, recv);
    // Two negative spans make a positive count over records that no position filled: they stay
    // zero-filled, nameless and at height 0, and are passed over.
    for (const SITEREC& r : recv) check_ambient_class(r, s.cs, "grid receiver \"");

    // A spacing of 0 puts every receiver of a column or a row at one position; the run goes on.
    const GRIDHEAD& h = s.cs.Terrhead;
    if ((h.DX == 0.0f && b.Iifirst < b.Iilast) || (h.DY == 0.0f && b.Jjfirst < b.Jjlast)) {
        warn(s, s.cs.Terrfile.str() + ": the terrain grid's spacing is " + number(h.DX) + " by " + number(h.DY) +
                    " m: receivers of the grid run in different columns or rows stand at one place");
    }
    s.console.line("Calculating Grid Location");
    s.console.line("       II      JJ");
    s.console.line("      ----    ----");
    RunHeader run = run_header(s, true, b, Nrecv);
    RUNCASE(s, recv, Nrecv, run, *writer);
}

void site_run(Session& s) {
    long base_line = 0;
    read_runbase(s, base_line);
    const std::string_view rec = script_line(s, "the output option");
    const FixedText<4> Runopt(field(rec, 6, 9));
    check_option(s, Runopt, s.script.record_number(), "site");
    set_runout(s, base_line, extension(Runopt, ".tis"));
    const std::unique_ptr<ResultWriter> writer = choose_writer(Runopt, s.Runout);

    s.console.list_line("Generating site files");
    s.console.line("");
    RunHeader run = run_header(s, false, GridBlock{}, s.cs.Nsites);
    RUNCASE(s, s.cs.Sites, s.cs.Nsites, run, *writer);
}

void RUNCASE(Session& s, std::vector<SITEREC>& receivers, long Nrecv, RunHeader& run, ResultWriter& run_writer) {
    CaseState& cs = s.cs;
    // A process that writes no results (one of several of a run) hands its receivers to no file.
    NoResults no_results;
    ResultWriter& writer = s.writes_results ? run_writer : no_results;
    s.Reload = true;
    std::string_view rec = script_line(s, "the hours of the time offset");
    const int hours = read_int_columns(s.script, rec, 6, 9, "the hours of the time offset");
    rec = script_line(s, "the minutes of the time offset");
    const int minutes = read_int_columns(s.script, rec, 6, 9, "the minutes of the time offset");
    rec = script_line(s, "the seconds of the time offset");
    const float seconds = read_real_columns(s.script, rec, 6, 11, 3, "the seconds of the time offset");
    const float Tstart = static_cast<float>(hours) * 3600.0f + static_cast<float>(minutes) * 60.0f + seconds;

    if (s.writes_results) s.run_output = s.Runout.str();
    run.Tstart = Tstart;
    writer.open(run);

    const RcvCase rc = rcv_case(s);
    RcvShared shared = rcv_shared(s);

    // Names of blank-named receivers, which stay in the records.
    const bool tig = ends_in_tig(s.Runout);
    if (!tig) {
        for (long idx = 1; idx <= Nrecv; ++idx) {
            SITEREC& r = receivers[static_cast<std::size_t>(idx - 1)];
            if (r.Name.blank()) r.Name = "Site" + fmt_i(idx, 3, 3);
        }
    }

    long computed = 0;   // receivers that reached the calculation
    // What a receiver leaves behind, in receiver order: its progress line, then its results.
    const auto emit = [&](long idx, const ReceiverHistory& h) {
        const SITEREC& r = receivers[static_cast<std::size_t>(idx - 1)];
        if (!tig) {
            std::string line(1, '+');
            line += r.Name.trimmed();
            s.console.progress(line);
        } else {
            int ii = 0, jj = 0;
            (void)parse_int_field(field(r.Name.padded(), 1, 4), ii);
            (void)parse_int_field(field(r.Name.padded(), 5, 8), jj);
            s.console.progress("+      " + fmt_i(ii, 4, 4) + "    " + fmt_i(jj, 4, 4));
        }
        if (h.computed) ++computed;
        writer.receiver(h);
    };

    RcvWork work;
    ReceiverHistory hist;
    const auto in_order = [&](long idx) {
        receiver_history(rc, receivers[static_cast<std::size_t>(idx - 1)], static_cast<int>(idx), Tstart, shared,
                         work, hist);
        emit(idx, hist);
    };

    // In order while the run's source tables wait to be loaded (the first table evaluation loads
    // them; every process of a run does this part itself), then through the runner: in order with
    // one thread or with the weather path, whose library may keep state from call to call.
    const bool tables = table_evaluation_possible(cs);
    long idx = 1;
    while (idx <= Nrecv && tables && (s.Reload || s.kept.srctable.Needload)) in_order(idx++);
    if (idx <= Nrecv) {
        PoolRun pool;
        pool.rc = &rc;
        pool.receivers = &receivers;
        pool.first = idx;
        pool.last = Nrecv;
        pool.Tstart = Tstart;
        pool.shared = shared;
        pool.threads = s.threads;
        if (s.runner) s.runner->run(pool, cs.Usenord, in_order, emit);
        else run_receivers_here(pool, cs.Usenord, in_order, emit);
    }
    writer.finish();
    s.run_output.clear();
    s.console.line("");
    if (const std::string why = why_no_rows(s, run, receivers, computed); !why.empty()) {
        warn(s, run.Runout + ": the result has no rows: " + why);
    }
}

}  // namespace tn

#include "batch/runs.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "environment/sites.h"
#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/format.h"
#include "batch/receiver_pool.h"
#include "path/rcvhist.h"
#include "results/dbf.h"

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

// The option of a run: "yes" (a table) or "no" (a time-history file). Any other word is refused
// before a result file is opened.
void check_option(Session& s, const FixedText<4>& Runopt, long line, const char* command) {
    if (Runopt == "yes" || Runopt == "no") return;
    std::string msg = "the output option of \"" + std::string(command) + "\" is '" + std::string(Runopt.padded()) +
                      "' in columns 6-9; valid options are \"yes\" (a .dbf table) and \"no\" (a ";
    msg += std::string(command) == "site" ? ".tis" : ".tig";
    msg += " time-history file)";
    if (Runopt == "CDF") msg += "; NetCDF results are not written by this program";
    throw file_error(s.script.name(), line, msg);
}

void write_file_header(Session& s, bool grid, int Iifirst, int Iilast, int Iicount, int Jjfirst, int Jjlast,
                       int Jjcount) {
    const CaseState& cs = s.cs;
    OutFile& f = s.unit1;
    f.line("Filename: " + s.Runout.str());
    f.line(cs.Terrfile.trimmed());
    f.line(cs.Gndfile.trimmed());
    f.line(cs.Sitefile.trimmed());
    f.line(cs.Infofile.trimmed());
    f.line(cs.Ambfile.trimmed());
    if (grid) {
        f.line("ii: " + fmt_i(Iifirst, 4) + "  " + fmt_i(Iilast, 4) + "  " + fmt_i(Iicount, 4));
        f.line("jj: " + fmt_i(Jjfirst, 4) + "  " + fmt_i(Jjlast, 4) + "  " + fmt_i(Jjcount, 4));
    }
    f.line(cs.Trackfile.trimmed());
    f.line(cs.Srcfile.trimmed());
    f.line("---End File Header---");
}

bool is_hemisphere(const Name255& name) { return name.contains(".nc") || name.contains(".NC"); }

// Whether a point of this case can reach a source table: the case's source is a list, or, with a
// source named per point, some point names one.
bool table_evaluation_possible(const CaseState& cs) {
    if (cs.Npts == 0) return false;
    if (!cs.Traj[0].Ptsrc) return !is_hemisphere(cs.Srcfile);
    for (const TRAJPOINT& p : cs.Traj) {
        if (!is_hemisphere(p.Srcname)) return true;
    }
    return false;
}

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
    rc.Wgt = cs.Wgt.data();
    rc.Absdb = cs.Absdb.data();
    rc.terrain = cs.terrain();
    rc.ground = cs.ground();
    rc.ref = &cs.Gridref;
    rc.Traj = cs.Traj.data();
    rc.Npts = cs.Npts;
    rc.AMBLEVEL = cs.AMBLEVEL.data();
    rc.AMBSPEC = cs.AMBSPEC.data();
    rc.Utmzone = cs.Utmzone;
    rc.Minagl = cs.Minagl;
    rc.Tfahr = cs.Tfahr;
    rc.Maxdist = cs.Maxdist;
    rc.model = s.model;
    rc.setup_hemi = &cs.Hemi;
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

long GRIDRECV(int Iicount, int Jjcount, int Iifirst, int Iilast, int Jjfirst, int Jjlast, const GRIDHEAD& Terrhead,
              int Utmzone, std::vector<SITEREC>& Recv, const TRAJPOINT* Traj, int Npts, float Maxdist, int Nclass,
              const Name255& Classfile, AmbientRaster& ambient) {
    const GRIDHEAD& h = Terrhead;
    std::size_t n = 0;
    for (int i = Iifirst; i <= Iilast; ++i) {
        for (int j = Jjfirst; j <= Jjlast; ++j) {
            SITEREC& r = Recv[n++];
            // The lattice spans the grid from its first node to its last; a count of 1 divides by zero.
            r.x = static_cast<float>(i - 1) * ((h.DX * static_cast<float>(h.NX - 1)) / static_cast<float>(Iicount - 1)) + h.X0;
            r.y = static_cast<float>(j - 1) * ((h.DY * static_cast<float>(h.NY - 1)) / static_cast<float>(Jjcount - 1)) + h.Y0;
            r.Name = fmt_i(i, 4, 4) + fmt_i(j, 4, 4);
            r.z = FARAWAY(Traj, Npts, Maxdist, r.x, r.y) ? kOutOfRange : kGridReceiverHeight;
            r.Ambclass = Nclass < 2 ? 1 : AMBLOOK(r.x, r.y, Utmzone, Classfile, ambient);
        }
    }
    return static_cast<long>(Jjlast - Jjfirst + 1) * static_cast<long>(Iilast - Iifirst + 1);
}

void grid_run(Session& s) {
    s.Runbase = script_line(s, "the output base name");
    std::string_view rec = script_line(s, "the receiver column count");
    const int Iicount = script_int(s, rec, 5, 8, "Iicount, the receiver columns across the grid");
    rec = script_line(s, "the first and last receiver column");
    const int Iifirst = script_int(s, rec, 5, 8, "Iifirst, the first receiver column");
    const int Iilast = script_int(s, rec, 9, 12, "Iilast, the last receiver column");
    rec = script_line(s, "the receiver row count");
    const int Jjcount = script_int(s, rec, 5, 8, "Jjcount, the receiver rows across the grid");
    rec = script_line(s, "the first and last receiver row");
    const int Jjfirst = script_int(s, rec, 5, 8, "Jjfirst, the first receiver row");
    const int Jjlast = script_int(s, rec, 9, 12, "Jjlast, the last receiver row");
    rec = script_line(s, "the output option");
    const FixedText<4> Runopt(field(rec, 6, 9));
    check_option(s, Runopt, s.script.record_number(), "grid");

    s.Runout = s.Runbase.str() + (Runopt == "yes" ? ".dbf" : ".tig");

    const long ni = static_cast<long>(Iilast) - Iifirst + 1;
    const long nj = static_cast<long>(Jjlast) - Jjfirst + 1;
    const long count = ni * nj < 1 ? 0 : ni * nj;
    if (count > kMaxGridReceivers) {
        throw file_error(s.script.name(), s.script.record_number(),
                         "the grid block holds " + std::to_string(count) + " receivers; at most " +
                             std::to_string(kMaxGridReceivers) + " fit one run");
    }
    std::vector<SITEREC> recv(static_cast<std::size_t>(count));
    const CaseState& cs = s.cs;
    const long Nrecv = GRIDRECV(Iicount, Jjcount, Iifirst, Iilast, Jjfirst, Jjlast, cs.Terrhead, cs.Utmzone, recv,
                                cs.Traj.data(), cs.Npts, cs.Maxdist, cs.Nclass, cs.Classfile, s.kept.ambient);
    // Two negative spans make a positive count over records that no position filled: they stay
    // zero-filled, nameless and at height 0, and are passed over.
    for (const SITEREC& r : recv) {
        if (r.Ambclass < 1 || r.Ambclass > cs.Nclass) {
            throw file_error(cs.Classfile.str(), 0,
                             "grid receiver " + r.Name.str() + " falls in ambient class " + std::to_string(r.Ambclass) +
                                 "; the ambient file " + cs.Ambfile.str() + " defines classes 1 to " +
                                 std::to_string(cs.Nclass));
        }
    }

    s.console.line("Calculating Grid Location");
    s.console.line("       II      JJ");
    s.console.line("      ----    ----");
    if (Runopt == "no") {
        s.unit1.open(s.Runout.str());
        s.run_output = s.Runout.str();
        write_file_header(s, true, Iifirst, Iilast, Iicount, Jjfirst, Jjlast, Jjcount);
    }
    RUNCASE(s, recv, Nrecv);
    s.unit1.close();
}

void site_run(Session& s) {
    s.Runbase = script_line(s, "the output base name");
    const std::string_view rec = script_line(s, "the output option");
    const FixedText<4> Runopt(field(rec, 6, 9));
    check_option(s, Runopt, s.script.record_number(), "site");
    s.Runout = s.Runbase.str() + (Runopt == "yes" ? ".dbf" : ".tis");

    s.console.list_line("Generating site files");
    s.console.line("");
    if (Runopt == "no") {
        s.unit1.open(s.Runout.str());
        s.run_output = s.Runout.str();
        write_file_header(s, false, 0, 0, 0, 0, 0, 0);
    }
    // A site run leaves its file open: the next run's open closes it.
    RUNCASE(s, s.cs.Sites, s.cs.Nsites);
}

void RUNCASE(Session& s, std::vector<SITEREC>& receivers, long Nrecv) {
    CaseState& cs = s.cs;
    s.Reload = true;
    std::string_view rec = script_line(s, "the hours of the time offset");
    const int hours = read_int_columns(s.script, rec, 6, 9, "the hours of the time offset");
    rec = script_line(s, "the minutes of the time offset");
    const int minutes = read_int_columns(s.script, rec, 6, 9, "the minutes of the time offset");
    rec = script_line(s, "the seconds of the time offset");
    const float seconds = read_real_columns(s.script, rec, 6, 11, 3, "the seconds of the time offset");
    const float Tstart = static_cast<float>(hours) * 3600.0f + static_cast<float>(minutes) * 60.0f + seconds;

    const bool table = s.Runout.contains(".dbf");
    s.run_output = s.Runout.str();
    if (table) {
        // A block whose span is negative in one direction holds no receiver: a table of no records,
        // not one that declares a negative number of them.
        const long long nrec = static_cast<long long>(cs.Npts) * std::max(Nrecv, 0L);
        if (nrec > 2147483647LL) {
            throw file_error(s.Runout.str(), 0,
                             "the table would hold " + std::to_string(nrec) + " records; a .dbf holds at most 2147483647");
        }
        DBFOPEN(static_cast<int>(nrec), s.Runout, s.dbf);
    }

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

    // What a receiver leaves behind, in receiver order: its progress line, its memo block, its results.
    const auto emit = [&](long idx, const RcvOutput* out) {
        const SITEREC& r = receivers[static_cast<std::size_t>(idx - 1)];
        if (!tig) {
            std::string record(1, '+');
            record += r.Name.trimmed();
            s.console.progress(record);
        } else {
            int ii = 0, jj = 0;
            (void)parse_int_field(field(r.Name.padded(), 1, 4), ii);
            (void)parse_int_field(field(r.Name.padded(), 5, 8), jj);
            s.console.progress("+      " + fmt_i(ii, 4, 4) + "    " + fmt_i(jj, 4, 4));
        }
        if (table) SITEMEMO(r, cs.Utmzone, s.Runout, cs.Npts, s.dbf);
        if (out) {
            if (table) s.dbf.dbf.write(out->records);
            else if (s.unit1.is_open()) s.unit1.write(out->section);
        }
    };

    RcvWork work;
    RcvOutput out;
    const auto in_order = [&](long idx) {
        const SITEREC& r = receivers[static_cast<std::size_t>(idx - 1)];
        if (r.z > 0.0f) {
            RCVHIST(rc, r, static_cast<int>(idx), Tstart, s.Runout, shared, work, out);
            emit(idx, &out);
        } else {
            emit(idx, nullptr);
        }
    };

    // In order while the run's source tables wait to be loaded (the first table evaluation loads
    // them), and throughout with one thread or with the weather path, whose library may keep state
    // from call to call.
    const bool tables = table_evaluation_possible(cs);
    const bool serial = s.threads < 2 || cs.Usenord;
    long idx = 1;
    while (idx <= Nrecv && (serial || (tables && (s.Reload || s.kept.srctable.Needload)))) in_order(idx++);
    if (idx <= Nrecv) {
        PoolRun run;
        run.rc = &rc;
        run.receivers = &receivers;
        run.first = idx;
        run.last = Nrecv;
        run.Tstart = Tstart;
        run.Outname = &s.Runout;
        run.shared = shared;
        run.threads = s.threads;
        if (receivers_independent(run)) {
            compute_receivers(run, emit);
        } else {
            while (idx <= Nrecv) in_order(idx++);
        }
    }
    if (table) DBFCLOSE(s.dbf);
    s.unit1.flush();
    s.run_output.clear();
    s.console.line("");
}

}  // namespace tn

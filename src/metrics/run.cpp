#include "metrics/run.h"

#include <cmath>
#include <cstdio>
#include <fstream>

#include "io/errors.h"
#include "io/format.h"
#include "io/staged_file.h"
#include "metrics/operations.h"
#include "metrics/options.h"
#include "results/contours.h"
#include "results/cumulative.h"
#include "results/metric_raster.h"
#include "results/metric_table.h"
#include "results/metrics.h"
#include "results/timehist_reader.h"

#ifndef TN_VERSION
#define TN_VERSION "0.1.0"
#endif

namespace tn {

namespace {

std::string metres(double v) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.2f", v);
    return buf;
}

// Where the rows of the receivers go: the table, and for a grid the GeoTIFF and then its contours.
class Outputs {
public:
    Outputs(const MetricsOptions& o, const std::string& input, const RunHeader& run, const std::vector<Column>& columns)
        : grid_(run.grid), block_(run.block), columns_(columns) {
        const std::string base = o.base.empty() ? output_base(input) : o.base;
        csv_ = o.csv.empty() ? base + ".metrics.csv" : o.csv;
        tif_ = o.tif.empty() ? base + ".metrics.tif" : o.tif;
        gpkg_ = o.gpkg.empty() ? base + ".contours.gpkg" : o.gpkg;
        if (!grid_ && (!o.tif.empty() || !o.gpkg.empty())) {
            throw file_error(input, 0, "a site run gives a table only: --tif and --gpkg apply to grid runs (.tig)");
        }
        table_on_ = o.want_csv;
        raster_on_ = grid_ && o.want_grid;
        contours_on_ = raster_on_ && o.want_contours;
        if (!table_on_ && !raster_on_) {
            throw RunError(input + ": nothing to write: " +
                           (grid_ ? std::string("--no-csv and --no-grid") : std::string("--no-csv, and a site run gives a table only")),
                           {}, 2);
        }
        contour_ = o.contours;
        if (contours_on_) {
            std::string levels;
            for (const Column& c : columns_) {
                if (c.kind != ColumnKind::Level) continue;
                if (!levels.empty()) levels += ", ";
                levels += c.name;
            }
            if (contour_.metrics.empty()) {
                for (const Column& c : columns_) {
                    if (c.kind == ColumnKind::Level) contour_.metrics.push_back(c.name);
                }
            }
            for (const std::string& m : contour_.metrics) {
                bool found = false;
                for (const Column& c : columns_) found = found || (c.name == m && c.kind == ColumnKind::Level);
                if (!found) throw RunError("--contour-metrics: expected metrics in dB of this run (" + levels + "), found '" + m + "'", {}, 2);
            }
        }
        // Every output is staged (and locked) before the first receiver is read.
        if (table_on_) table_.open(csv_, columns_);
        if (raster_on_) {
            tif_stage_.begin(tif_);
            std::remove(tif_stage_.partial().c_str());
            raster_.create(tif_stage_.partial(), tif_, block_, columns_);
        }
        if (contours_on_) {
            gpkg_stage_.begin(gpkg_);
            std::remove(gpkg_stage_.partial().c_str());
        }
    }

    void add(const ReceiverHead& head, const std::vector<double>& row, const std::string& where) {
        ++count_;
        if (table_on_) table_.row(head, row);
        if (raster_on_) {
            int i = 0, j = 0;
            lattice_index(head.Name, i, j);   // checked by the reader
            raster_.put(i, j, head, row, where);
        }
    }

    void finish(std::ostream& out) {
        if (raster_on_) raster_.finish();
        if (contours_on_) write_contours(tif_stage_.partial(), gpkg_stage_.partial(), gpkg_, contour_);
        if (table_on_) table_.file().close();
        StagedFile::commit_together({&table_.file().stage(), &tif_stage_, &gpkg_stage_});
        if (table_on_) out << "Wrote " << csv_ << " (" << count_ << " receivers)\n";
        if (raster_on_) {
            const LatticePlacement& p = raster_.placement();
            out << "Wrote " << tif_ << " (" << (block_.Iilast - block_.Iifirst + 1) << " x " << (block_.Jjlast - block_.Jjfirst + 1)
                << " positions, spacing " << metres(std::fabs(p.dx)) << " x " << metres(std::fabs(p.dy)) << " m)\n";
        }
        if (contours_on_) out << "Wrote " << gpkg_ << "\n";
    }

private:
    bool grid_;
    GridBlock block_;
    std::vector<Column> columns_;
    std::string csv_, tif_, gpkg_;
    bool table_on_ = false, raster_on_ = false, contours_on_ = false;
    ContourOptions contour_;
    MetricTable table_;
    StagedFile tif_stage_, gpkg_stage_;
    MetricRaster raster_;
    long count_ = 0;
};

void single_event(const MetricsOptions& o, std::ostream& out) {
    std::unique_ptr<HistorySource> src = open_result(o.input);
    EventOptions eo = o.event;
    eo.detectability = src->has_detectability();
    Outputs outputs(o, o.input, src->header(), event_columns(eo));
    ReceiverHistory h;
    EventMetrics m;
    std::vector<double> dt, row;
    while (src->next(h)) {
        event_metrics(h, eo, dt, m);
        event_row(m, eo, row);
        outputs.add(h.head, row, src->where());
    }
    outputs.finish(out);
}

std::string block_text(const GridBlock& b) {
    return "columns " + std::to_string(b.Iifirst) + " to " + std::to_string(b.Iilast) + ", rows " + std::to_string(b.Jjfirst) +
           " to " + std::to_string(b.Jjlast);
}

// The cumulative metrics: the results of the operations file read side by side, receiver by
// receiver. Site results hold the same receivers in the same order; grid results the same block,
// a receiver missing from one of them being passed over by that run (never in range).
void cumulative(const MetricsOptions& o, std::ostream& out) {
    const std::vector<Operation> ops = read_operations(o.ops);
    std::vector<std::unique_ptr<HistorySource>> src;
    for (const Operation& op : ops) {
        try {
            src.push_back(open_result(op.file));
        } catch (const RunError& e) {
            throw RunError(o.ops + ":" + std::to_string(op.line) + ": " + e.what());
        }
    }
    const std::size_t n = src.size();
    const RunHeader& first = src[0]->header();
    for (std::size_t k = 1; k < n; ++k) {
        const RunHeader& r = src[k]->header();
        if (r.grid != first.grid) {
            throw file_error(src[k]->name(), 0,
                             std::string("expected a ") + (first.grid ? "grid" : "site") + " result as " + src[0]->name() +
                                 " is, found a " + (r.grid ? "grid" : "site") + " result: the files of one operations list hold the same receivers");
        }
        const GridBlock &a = first.block, &b = r.block;
        if (r.grid && (a.Iifirst != b.Iifirst || a.Iilast != b.Iilast || a.Jjfirst != b.Jjfirst || a.Jjlast != b.Jjlast ||
                       a.Iicount != b.Iicount || a.Jjcount != b.Jjcount)) {
            throw file_error(src[k]->name(), 7,
                             "expected the grid block of " + src[0]->name() + " (" + block_text(a) + "), found " + block_text(b) +
                                 ": the files of one operations list hold the same receivers");
        }
    }
    Outputs outputs(o, o.ops, first, cumulative_columns(o.cumulative));

    std::vector<ReceiverHistory> h(n);
    std::vector<char> has(n);
    for (std::size_t k = 0; k < n; ++k) has[k] = src[k]->next(h[k]);
    std::vector<int> ki(n), kj(n);
    const auto key = [&](std::size_t k) {
        lattice_index(h[k].head.Name, ki[k], kj[k]);
        return static_cast<long long>(ki[k]) * 100000 + kj[k];
    };
    CumulativeSums sums;
    EventMetrics m;
    std::vector<double> dt, row;
    ReceiverHead head;
    for (;;) {
        std::size_t lead = n;   // the file whose receiver comes first
        long long lead_key = 0;
        for (std::size_t k = 0; k < n; ++k) {
            if (!has[k]) continue;
            if (!first.grid) {
                if (lead == n) lead = k;
                continue;
            }
            const long long kk = key(k);
            if (lead == n || kk < lead_key) {
                lead = k;
                lead_key = kk;
            }
        }
        if (lead == n) break;
        head = h[lead].head;
        const std::string where = src[lead]->where();
        start_sums(sums, o.cumulative);
        for (std::size_t k = 0; k < n; ++k) {
            if (!first.grid && !has[k]) {
                throw file_error(src[k]->name(), 0,
                                 "expected the receiver '" + head.Name.str() + "' that " + where +
                                     " holds, found the end of the file: the files of one operations list hold the same receivers");
            }
            if (!has[k] || (first.grid && key(k) != lead_key)) continue;
            const ReceiverHead& hk = h[k].head;
            if (!(hk.Name == head.Name)) {
                throw RunError(src[k]->where() + ": expected the receiver '" + head.Name.str() + "' of " + where + ", found '" +
                               hk.Name.str() + "': the files of one operations list hold the same receivers in the same order");
            }
            if (std::fabs(hk.x - head.x) > LatticeFit::kTolerance || std::fabs(hk.y - head.y) > LatticeFit::kTolerance) {
                throw RunError(src[k]->where() + ": expected the receiver '" + head.Name.str() + "' at " + metres(head.x) + ", " +
                               metres(head.y) + " as in " + where + ", found it at " + metres(hk.x) + ", " + metres(hk.y) +
                               ": the files of one operations list hold the same receivers");
            }
            event_metrics(h[k], o.event, dt, m);
            add_event(sums, m, ops[k].counts, o.cumulative);
            has[k] = src[k]->next(h[k]);
        }
        cumulative_row(sums, row);
        outputs.add(head, row, where);
    }
    outputs.finish(out);
}

}  // namespace

std::unique_ptr<HistorySource> open_result(const std::string& path) {
    char magic[4] = {0, 0, 0, 0};
    if (std::ifstream f{path, std::ios::binary}) f.read(magic, 4);
    if (magic[0] == 'C' && magic[1] == 'D' && magic[2] == 'F') {
        throw file_error(path, 0, "expected a time-history result (.tis or .tig), found a netCDF file: netCDF results cannot be read yet");
    }
    if (magic[0] == '\x89' && magic[1] == 'H' && magic[2] == 'D' && magic[3] == 'F') {
        throw file_error(path, 0, "expected a time-history result (.tis or .tig), found a netCDF-4 file: netCDF results cannot be read yet");
    }
    if (magic[0] == '\x83') {
        throw file_error(path, 0,
                         "expected a time-history result (.tis or .tig), found a dBase table: tables hold no detectability; "
                         "run the case with the output option 'no' for a time history");
    }
    return std::make_unique<TimeHistoryReader>(path);
}

int run_metrics(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    try {
        const MetricsOptions o = parse_options(args);
        if (o.help) {
            out << metrics_usage();
            return 0;
        }
        if (o.version) {
            out << "tracknoise-metrics " << TN_VERSION << "\n";
            return 0;
        }
        if (o.ops.empty()) single_event(o, out);
        else cumulative(o, out);
        return 0;
    } catch (const RunError& e) {
        err << "tracknoise-metrics: " << e.what() << "\n";
        return e.exit_code();
    } catch (const std::bad_alloc&) {
        err << "tracknoise-metrics: out of memory\n";
        return 1;
    }
}

}  // namespace tn

#include "metrics/run.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>

#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"
#include "io/format.h"
#include "io/staged_file.h"
#include "metrics/operations.h"
#include "metrics/options.h"
#include "pictures/noise_map.h"
#include "pictures/site_plot.h"
#include "results/contours.h"
#include "results/cumulative.h"
#include "results/metric_raster.h"
#include "results/metric_table.h"
#include "results/metrics.h"
#include "results/netcdf_reader.h"
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

std::string file_part(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The folder a run was made in, from the result's path and the name the run wrote it under (its
// header's first line): the path less that name when it ends with it, else the result's folder.
// The case's file names in the header are relative to it.
std::string run_folder(const std::string& result, const std::string& runout) {
    if (!runout.empty() && runout[0] != '/' && result.size() > runout.size() &&
        result.compare(result.size() - runout.size(), runout.size(), runout) == 0 && result[result.size() - runout.size() - 1] == '/') {
        return result.substr(0, result.size() - runout.size());
    }
    if (result == runout) return "";
    const std::size_t slash = result.rfind('/');
    return slash == std::string::npos ? "" : result.substr(0, slash + 1);
}

// A name of the case's header as it can be opened from here: empty for an entry that is off.
std::string case_file(const std::string& folder, const std::string& name) {
    if (name.empty() || name == "-" || name == "none") return "";
    if (name[0] == '/' || folder.empty()) return name;
    return folder + (folder.back() == '/' ? "" : "/") + name;
}

// The names of the figures of a plot: the user's, then "-2", "-3", ... before its extension.
std::string figure_name(const std::string& first, int k) {
    if (k == 1) return first;
    const std::size_t dot = first.rfind('.');
    return first.substr(0, dot) + "-" + std::to_string(k) + first.substr(dot);
}

// Where the rows of the receivers go: the table, and for a grid the GeoTIFF and then its contours.
class Outputs {
public:
    Outputs(const MetricsOptions& o, const std::string& input, const RunHeader& run, const std::vector<Column>& columns,
            const std::string& result, bool cumulative)
        : grid_(run.grid), block_(run.block), columns_(columns) {
        const std::string base = o.base.empty() ? output_base(input) : o.base;
        csv_ = o.csv.empty() ? base + ".metrics.csv" : o.csv;
        tif_ = o.tif.empty() ? base + ".metrics.tif" : o.tif;
        gpkg_ = o.gpkg.empty() ? base + ".contours.gpkg" : o.gpkg;
        if (!grid_ && (!o.tif.empty() || !o.gpkg.empty())) {
            throw file_error(input, 0, "a site run gives a table only: --tif and --gpkg apply to grid runs (.tig, .nc)");
        }
        if (!grid_ && !o.map.empty()) {
            throw file_error(input, 0, "a site run has no map: --map draws a grid run's metric (.tig, .nc); a site run's pictures are --plot");
        }
        if (!o.plot.empty() && (grid_ || cumulative)) {
            throw file_error(input, 0, std::string("--plot draws the time histories of one site run (.tis, .nc), found ") +
                                           (cumulative ? "an operations file" : "a grid run"));
        }
        table_on_ = o.want_csv;
        map_ = o.map;
        plot_ = o.plot;
        map_metric_ = o.map_metric.empty() ? (cumulative ? "DNL" : "LAMAX") : o.map_metric;
        audible_ = o.event.audible;
        keep_tif_ = grid_ && o.want_grid;
        raster_on_ = keep_tif_ || !map_.empty();
        contours_on_ = keep_tif_ && o.want_contours;
        if (!table_on_ && !raster_on_ && plot_.empty()) {
            throw RunError(input + ": nothing to write: " +
                           (grid_ ? std::string("--no-csv and --no-grid") : std::string("--no-csv, and a site run gives a table only")),
                           {}, 2);
        }
        if (!map_.empty()) {
            std::string levels;
            bool found = false;
            for (const Column& c : columns_) {
                if (c.kind != ColumnKind::Level) continue;
                levels += (levels.empty() ? "" : ", ") + c.name;
                found = found || c.name == map_metric_;
            }
            if (!found) throw RunError("--map-metric: expected a metric in dB of this run (" + levels + "), found '" + map_metric_ + "'", {}, 2);
            const std::string folder = o.case_dir.empty() ? run_folder(result, run.Runout) : o.case_dir;
            map_case_.title = run.Infofile == "-" ? "" : run.Infofile;
            map_case_.subtitle = file_part(input);
            map_case_.terrain = case_file(folder, run.Terrfile);
            map_case_.sites = case_file(folder, run.Sitefile);
            map_case_.track = case_file(folder, run.Trackfile);
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
        if (!map_.empty()) map_stage_.begin(map_);
        if (!plot_.empty()) start_figure();
        plot_title_ = run.Infofile == "-" ? "" : run.Infofile;
        plot_subtitle_ = "A-weighted time histories of " + file_part(input);
    }

    // A site for the plots (a site run with --plot).
    void plot(const ReceiverHistory& h, const EventMetrics& m) {
        if (plot_.empty()) return;
        if (traces_.size() == static_cast<std::size_t>(kSitesPerFigure)) {
            draw_figure(true);
            start_figure();
        }
        traces_.emplace_back();
        site_trace(h, m, audible_, traces_.back());
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

    void finish(std::ostream& out, std::ostream& err) {
        if (raster_on_) raster_.finish();
        if (contours_on_) write_contours(tif_stage_.partial(), gpkg_stage_.partial(), gpkg_, contour_);
        if (!map_.empty()) {
            std::vector<std::string> warnings;
            PictureFormat format = PictureFormat::Png;
            picture_format(map_, format);
            draw_noise_map(tif_stage_.partial(), map_metric_, map_case_, map_stage_.partial(), map_, format, warnings);
            for (const std::string& w : warnings) err << "tracknoise-metrics: warning: " << w << "\n";
        }
        if (!plot_.empty()) draw_figure(false);
        if (table_on_) table_.file().close();
        if (!keep_tif_) tif_stage_.abandon();
        std::vector<StagedFile*> files{&table_.file().stage(), &tif_stage_, &gpkg_stage_, &map_stage_};
        for (const auto& f : figures_) files.push_back(f.get());
        StagedFile::commit_together(files);
        if (table_on_) out << "Wrote " << csv_ << " (" << count_ << " receivers)\n";
        if (keep_tif_) {
            const LatticePlacement& p = raster_.placement();
            out << "Wrote " << tif_ << " (" << (block_.Iilast - block_.Iifirst + 1) << " x " << (block_.Jjlast - block_.Jjfirst + 1)
                << " positions, spacing " << metres(std::fabs(p.dx)) << " x " << metres(std::fabs(p.dy)) << " m)\n";
        }
        if (contours_on_) out << "Wrote " << gpkg_ << "\n";
        if (!map_.empty()) out << "Wrote " << map_ << " (map of " << map_metric_ << ")\n";
        for (std::size_t k = 0; k < figures_.size(); ++k) out << "Wrote " << figures_[k]->name() << " (" << figure_sites_[k] << ")\n";
    }

private:
    void start_figure() {
        figures_.push_back(std::make_unique<StagedFile>());
        figures_.back()->begin(figure_name(plot_, static_cast<int>(figures_.size())));
        traces_.clear();
    }

    // The figure of the sites collected; `more`: another figure follows.
    void draw_figure(bool more) {
        StagedFile& f = *figures_.back();
        PictureFormat format = PictureFormat::Png;
        picture_format(plot_, format);
        std::string names;
        for (const SiteTrace& t : traces_) names += (names.empty() ? "" : ", ") + t.name;
        const std::string sub = figures_.size() > 1 || more ? plot_subtitle_ + ", figure " + std::to_string(figures_.size()) : plot_subtitle_;
        draw_site_plot(traces_, plot_title_, sub, audible_, f.partial(), f.name(), format);
        figure_sites_.push_back(traces_.empty() ? "no site" : names);
    }

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
    std::string map_, map_metric_, plot_, plot_title_, plot_subtitle_;
    bool keep_tif_ = false;
    double audible_ = 7.0;
    MapCase map_case_;
    StagedFile map_stage_;
    std::vector<std::unique_ptr<StagedFile>> figures_;
    std::vector<std::string> figure_sites_;
    std::vector<SiteTrace> traces_;
};

void single_event(const MetricsOptions& o, std::ostream& out, std::ostream& err) {
    std::unique_ptr<HistorySource> src = open_result(o.input);
    EventOptions eo = o.event;
    eo.detectability = src->has_detectability();
    Outputs outputs(o, o.input, src->header(), event_columns(eo), o.input, false);
    ReceiverHistory h;
    EventMetrics m;
    std::vector<double> dt, row;
    while (src->next(h)) {
        event_metrics(h, eo, dt, m);
        event_row(m, eo, row);
        outputs.add(h.head, row, src->where());
        outputs.plot(h, m);
    }
    outputs.finish(out, err);
}

std::string block_text(const GridBlock& b) {
    return "columns " + std::to_string(b.Iifirst) + " to " + std::to_string(b.Iilast) + ", rows " + std::to_string(b.Jjfirst) +
           " to " + std::to_string(b.Jjlast);
}

// The cumulative metrics: the results of the operations file read side by side, receiver by
// receiver. Site results hold the same receivers in the same order; grid results the same block,
// a receiver missing from one of them being passed over by that run (never in range).
void cumulative(const MetricsOptions& o, std::ostream& out, std::ostream& err) {
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
            // Line 7 of a time-history file holds the block's columns; a netCDF file has no lines.
            throw file_error(src[k]->name(), dynamic_cast<const TimeHistoryReader*>(src[k].get()) ? 7 : 0,
                             "expected the grid block of " + src[0]->name() + " (" + block_text(a) + "), found " + block_text(b) +
                                 ": the files of one operations list hold the same receivers");
        }
    }
    Outputs outputs(o, o.ops, first, cumulative_columns(o.cumulative), src[0]->name(), true);

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
    outputs.finish(out, err);
}

}  // namespace

std::unique_ptr<HistorySource> open_result(const std::string& path) {
    unsigned char magic[4] = {0, 0, 0, 0};
    {
        const int fd = open_input_file(path);   // a missing file, a folder, a device or a pipe stops here
        const ssize_t got = ::read(fd, magic, sizeof magic);
        ::close(fd);
        if (got < 0) throw file_error(path, 0, "cannot read the file");
    }
    if ((magic[0] == 'C' && magic[1] == 'D' && magic[2] == 'F') || (magic[0] == 0x89 && magic[1] == 'H' && magic[2] == 'D' && magic[3] == 'F')) {
        return std::make_unique<NetcdfResultReader>(path);
    }
    if (magic[0] == 0x83) {
        throw file_error(path, 0,
                         "expected a time-history result (.tis, .tig or .nc), found a dBase table: tables hold no detectability; "
                         "run the case with the output option 'no' or 'CDF'");
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
        if (o.ops.empty()) single_event(o, out, err);
        else cumulative(o, out, err);
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

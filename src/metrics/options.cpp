#include "metrics/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "io/errors.h"
#include "pictures/drawing.h"
#include "results/bands.h"

namespace tn {

namespace {

RunError usage_error(const std::string& what) {
    return RunError(what + " (tracknoise-metrics --help lists the options)", {}, 2);
}

bool to_number(std::string_view s, double& v) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    if (!s.empty() && s.front() == '+') s.remove_prefix(1);
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    return !s.empty() && ec == std::errc() && end == s.data() + s.size() && std::isfinite(v);
}

std::vector<std::string> split_list(const std::string& s) {
    std::vector<std::string> out;
    std::size_t p = 0;
    for (;;) {
        const std::size_t c = s.find(',', p);
        out.push_back(s.substr(p, c == std::string::npos ? std::string::npos : c - p));
        if (c == std::string::npos) return out;
        p = c + 1;
    }
}

double number_of(const std::string& opt, const std::string& v, const char* what) {
    double x = 0.0;
    if (!to_number(v, x)) throw usage_error(opt + ": expected " + what + ", found '" + v + "'");
    return x;
}

std::string picture_name(const std::string& opt, const std::string& v) {
    PictureFormat f;
    if (!picture_format(v, f)) throw usage_error(opt + ": expected a picture's name ending in .png or .svg, found '" + v + "'");
    return v;
}

// A list of levels, rising and without repeats once sorted; "none" gives an empty list.
std::vector<double> levels_of(const std::string& opt, const std::string& v) {
    std::vector<double> out;
    if (v == "none") return out;
    for (const std::string& f : split_list(v)) out.push_back(number_of(opt, f, "a list of levels in dB separated by commas"));
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

}  // namespace

const char* metrics_usage() {
    return "Usage: tracknoise-metrics [OPTIONS] RESULT.tis|RESULT.tig|RESULT.nc\n"
           "       tracknoise-metrics [OPTIONS] --ops OPERATIONS.csv\n"
           "Single-event noise metrics of every receiver of a time-history result, or cumulative metrics of\n"
           "many results (an operations file), as a CSV table and, for grid runs, a GeoTIFF and contours;\n"
           "a map of a grid metric and time-history plots of sites as pictures.\n"
           "\n"
           "Outputs (beside the input unless named; each is written whole or not at all):\n"
           "  -o, --output BASE       base of the default names: BASE.metrics.csv, BASE.metrics.tif,\n"
           "                          BASE.contours.gpkg (default: the input's name without its extension)\n"
           "  --csv NAME              the table's name\n"
           "  --tif NAME              the GeoTIFF's name (grids)\n"
           "  --gpkg NAME             the contours' GeoPackage's name (grids)\n"
           "  --no-csv                no table\n"
           "  --no-grid               no GeoTIFF and no contours\n"
           "  --no-contours           no contours\n"
           "\n"
           "Single-event metrics (LAMAX, TLAMAX, LFMAX, SEL, SEL10, SELF, LAEQ, TA<L>, TAUD, PTAUD):\n"
           "  --duration T            LAEQ's and PTAUD's duration in seconds (default: the span of the\n"
           "                          arrival times)\n"
           "  --ta L[,L...]           thresholds of time above, dB(A), one TA<L> column each (default 65,85;\n"
           "                          'none' for no column)\n"
           "  --audible D             detectability threshold of TAUD in dB (default 7)\n"
           "  --bands all|F[,F...]    band exposure levels SEL_<F> for these nominal frequencies in Hz\n"
           "                          (10 to 12500), or all 32 bands (default: none)\n"
           "\n"
           "Cumulative metrics (DNL, CNEL, LDEN, LEQ24, NA<L>):\n"
           "  --ops FILE              operations file: CSV with the heading 'file,day,evening,night' and one\n"
           "                          line per result file with its events by day (07-19 h), evening (19-22 h)\n"
           "                          and night (22-07 h); relative names are taken from FILE's folder\n"
           "  --na L[,L...]           thresholds of the number above, dB(A) of LAMAX (default 70; 'none')\n"
           "\n"
           "Contours (grids; lines and filled bands of every level metric):\n"
           "  --contour-step DB       interval of the levels (default 5)\n"
           "  --contour-levels L[,L...]  the levels themselves, instead of an interval\n"
           "  --contour-metrics M[,M...] the metrics to contour (default: every level metric)\n"
           "\n"
           "Pictures (PNG or SVG, by the name's extension):\n"
           "  --map NAME              a map of one grid metric: 5 dB classes, contour lines, the terrain's\n"
           "                          hillshade, the ground track and the named sites of the case\n"
           "  --map-metric M          the metric of the map (default LAMAX; DNL with --ops)\n"
           "  --plot NAME             the A-weighted time histories of a site run, four sites to a\n"
           "                          figure: NAME, then NAME-2, NAME-3, ... before the extension\n"
           "  --case-dir DIR          the folder the case's files (terrain, sites, trajectory) named in\n"
           "                          the result's header are taken from (default: the folder the run was\n"
           "                          in, found from the result's own name)\n"
           "\n"
           "  --help                  this text\n"
           "  --version               the program's version\n"
           "\n"
           "Exit code 0 when every output was written; otherwise a message on standard error,\n"
           "'tracknoise-metrics: FILE:LINE: expected ..., found ...', and no output is changed.\n";
}

std::string output_base(const std::string& input) {
    const std::size_t slash = input.rfind('/');
    const std::size_t dot = input.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash) || dot == (slash == std::string::npos ? 0 : slash + 1)) {
        return input;
    }
    return input.substr(0, dot);
}

MetricsOptions parse_options(const std::vector<std::string>& args) {
    MetricsOptions o;
    std::vector<std::string> rest;
    for (std::size_t k = 1; k < args.size(); ++k) {
        const std::string& a = args[k];
        std::string opt = a, value;
        bool has_value = false;
        if (a.rfind("--", 0) == 0 && a.find('=') != std::string::npos) {
            opt = a.substr(0, a.find('='));
            value = a.substr(a.find('=') + 1);
            has_value = true;
        }
        const auto arg = [&]() -> std::string {
            if (has_value) return value;
            if (k + 1 >= args.size()) throw usage_error(opt + ": expected a value after it, found the end of the command line");
            return args[++k];
        };
        if (opt == "--help" || opt == "-h") o.help = true;
        else if (opt == "--version") o.version = true;
        else if (opt == "--ops") o.ops = arg();
        else if (opt == "-o" || opt == "--output") o.base = arg();
        else if (opt == "--csv") o.csv = arg();
        else if (opt == "--tif") o.tif = arg();
        else if (opt == "--gpkg") o.gpkg = arg();
        else if (opt == "--map") o.map = picture_name(opt, arg());
        else if (opt == "--map-metric") o.map_metric = arg();
        else if (opt == "--plot") o.plot = picture_name(opt, arg());
        else if (opt == "--case-dir") o.case_dir = arg();
        else if (opt == "--no-csv") o.want_csv = false;
        else if (opt == "--no-grid") o.want_grid = false;
        else if (opt == "--no-contours") o.want_contours = false;
        else if (opt == "--duration") {
            o.event.duration = number_of(opt, arg(), "a duration in seconds above 0");
            if (!(o.event.duration > 0.0)) throw usage_error(opt + ": expected a duration in seconds above 0, found '" + args[k] + "'");
        } else if (opt == "--ta") o.event.ta_levels = levels_of(opt, arg());
        else if (opt == "--audible") o.event.audible = number_of(opt, arg(), "a detectability threshold in dB");
        else if (opt == "--na") o.cumulative.na_levels = levels_of(opt, arg());
        else if (opt == "--bands") {
            const std::string v = arg();
            o.event.bands.clear();
            if (v == "all") {
                for (int p = 1; p <= 32; ++p) o.event.bands.push_back(p);
            } else {
                for (const std::string& f : split_list(v)) {
                    const double hz = number_of(opt, f, "'all' or nominal band frequencies in Hz separated by commas");
                    int found = 0;
                    for (int p = 1; p <= 32; ++p) {
                        if (std::fabs(hz - BANDTAB[p - 1]) <= 1e-6 * BANDTAB[p - 1]) found = p;
                    }
                    if (found == 0) {
                        throw usage_error(opt + ": expected a nominal one-third-octave frequency of 10 to 12500 Hz (10, 12.5, 16, ..., "
                                                "10000, 12500), found '" + f + "'");
                    }
                    if (std::find(o.event.bands.begin(), o.event.bands.end(), found) == o.event.bands.end()) o.event.bands.push_back(found);
                }
                std::sort(o.event.bands.begin(), o.event.bands.end());
            }
        } else if (opt == "--contour-step") {
            o.contours.step = number_of(opt, arg(), "a level interval in dB above 0");
            if (!(o.contours.step > 0.0)) throw usage_error(opt + ": expected a level interval in dB above 0, found '" + args[k] + "'");
        } else if (opt == "--contour-levels") {
            o.contours.levels = levels_of(opt, arg());
            if (o.contours.levels.empty()) throw usage_error(opt + ": expected one level or more, found 'none'");
        } else if (opt == "--contour-metrics") {
            o.contours.metrics = split_list(arg());
        } else if (a.size() > 1 && a[0] == '-') {
            throw usage_error("unknown option '" + a + "'");
        } else {
            rest.push_back(a);
        }
    }
    if (o.help || o.version) return o;
    if (!o.ops.empty()) {
        if (!rest.empty()) throw usage_error("expected no result file beside --ops (the operations file names them), found '" + rest[0] + "'");
    } else {
        if (rest.empty()) throw usage_error("expected a result file (.tis, .tig or .nc) or --ops and an operations file, found none");
        if (rest.size() > 1) throw usage_error("expected one result file, found a second: '" + rest[1] + "' (several results: --ops)");
        o.input = rest[0];
    }
    return o;
}

}  // namespace tn

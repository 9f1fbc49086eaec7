// The command line of tracknoise-metrics.
#pragma once

#include <string>
#include <vector>

#include "results/contours.h"
#include "results/cumulative.h"
#include "results/metrics.h"

namespace tn {

struct MetricsOptions {
    std::string input;          // a result file (.tis, .tig), or empty with --ops
    std::string ops;            // an operations file
    std::string base;           // --output: the base of the default names
    std::string csv, tif, gpkg; // names chosen one by one
    std::string map;            // the picture of a grid metric (.png or .svg), or empty
    std::string map_metric;     // its metric; empty: LAMAX (single events) or DNL (cumulative)
    std::string plot;           // the time-history plots of a site run (.png or .svg), or empty
    std::string case_dir;       // the folder the case's file names are taken from; empty: the run's
    bool want_csv = true;
    bool want_grid = true;      // the GeoTIFF (grids only)
    bool want_contours = true;  // the GeoPackage (grids only)
    EventOptions event;
    CumulativeOptions cumulative;
    ContourOptions contours;
    bool help = false;
    bool version = false;
};

// The options of `args` (argument 0 is the program). A wrong option or value stops with a RunError
// of exit code 2 whose message says what was expected.
MetricsOptions parse_options(const std::vector<std::string>& args);

// The --help text.
const char* metrics_usage();

// The default names beside an input: its name without the extension, then ".metrics.csv",
// ".metrics.tif" or ".contours.gpkg".
std::string output_base(const std::string& input);

}  // namespace tn

// tracknoise-metrics: metrics of result files, as tables, GeoTIFFs and contours.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "results/history_source.h"

namespace tn {

// Runs the program with its arguments (argument 0 is the program's path). The names of the files
// written go to `out`, diagnostics to `err`. Returns the exit code: 0 when every output was
// written, 2 for a wrong command line, 1 for any other failure (and then no output is changed).
int run_metrics(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The reader of a result file, chosen by its first bytes: the time-history text files. A dBase
// table or a netCDF file stops with a message that says which results can be read.
std::unique_ptr<HistorySource> open_result(const std::string& path);

}  // namespace tn

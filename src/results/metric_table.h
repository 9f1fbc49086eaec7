// Tables of metrics (CSV): one row per receiver.
//
// The heading is "site,x,y,lat,lon" and the metric columns' names. A row holds the receiver's name
// (quoted when it holds a comma, a quote or a line end), its UTM position in metres to 0.01, its
// latitude and longitude in degrees to 7 decimals (empty when not known), then the metrics: levels
// to 0.1 dB, times to 0.001 s, percentages to 0.1, counts as they are (to 0.001 at most). An empty
// metric (NaN) is an empty field. Lines end in LF.
#pragma once

#include <string>
#include <vector>

#include "io/files.h"
#include "results/history.h"
#include "results/metrics.h"

namespace tn {

class MetricTable {
public:
    // Starts the table `name` (all or nothing, see OutFile) and writes its heading.
    void open(const std::string& name, const std::vector<Column>& columns);
    // One receiver's row; `values` in the order of the columns.
    void row(const ReceiverHead& head, const std::vector<double>& values);
    OutFile& file() { return file_; }

private:
    OutFile file_;
    std::vector<Column> columns_;
    std::string line_;
};

// A field of a CSV line: quoted (with doubled quotes) when it holds a comma, a quote or a line end.
std::string csv_field(std::string_view text);

}  // namespace tn

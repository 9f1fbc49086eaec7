#include "results/cumulative.h"

#include <cmath>
#include <limits>

namespace tn {

namespace {

constexpr double kDaySeconds = 86400.0;

double level_of(double e) { return e > 0.0 ? 10.0 * std::log10(e / kDaySeconds) : std::numeric_limits<double>::quiet_NaN(); }

}  // namespace

void start_sums(CumulativeSums& s, const CumulativeOptions& o) {
    s.in_range = false;
    s.Ed = s.Ee = s.En = 0.0;
    s.NA.assign(o.na_levels.size(), 0.0);
}

void add_event(CumulativeSums& s, const EventMetrics& m, const EventCounts& n, const CumulativeOptions& o) {
    if (!m.in_range) return;
    s.in_range = true;
    if (!std::isnan(m.SEL)) {
        const double e = std::pow(10.0, m.SEL / 10.0);
        s.Ed += n.day * e;
        s.Ee += n.evening * e;
        s.En += n.night * e;
    }
    for (std::size_t k = 0; k < o.na_levels.size(); ++k) {
        if (m.LAMAX >= o.na_levels[k]) s.NA[k] += n.day + n.evening + n.night;   // false for an empty LAMAX
    }
}

std::vector<Column> cumulative_columns(const CumulativeOptions& o) {
    std::vector<Column> c = {{"DNL", ColumnKind::Level}, {"CNEL", ColumnKind::Level}, {"LDEN", ColumnKind::Level},
                             {"LEQ24", ColumnKind::Level}};
    for (double L : o.na_levels) c.push_back({"NA" + threshold_name(L), ColumnKind::Count});
    return c;
}

void cumulative_row(const CumulativeSums& s, std::vector<double>& row) {
    row.clear();
    constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
    if (!s.in_range) {
        row.assign(4 + s.NA.size(), kEmpty);
        return;
    }
    row.push_back(level_of(s.Ed + s.Ee + 10.0 * s.En));
    row.push_back(level_of(s.Ed + 3.0 * s.Ee + 10.0 * s.En));
    row.push_back(level_of(s.Ed + std::pow(10.0, 0.5) * s.Ee + 10.0 * s.En));
    row.push_back(level_of(s.Ed + s.Ee + s.En));
    for (double v : s.NA) row.push_back(v);
}

}  // namespace tn

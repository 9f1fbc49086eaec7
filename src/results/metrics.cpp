#include "results/metrics.h"

#include <cmath>
#include <limits>

#include "io/format.h"
#include "results/bands.h"

namespace tn {

namespace {

constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

// The energy of a level in tenths of a dB: 10^(L / 10) with L = tenths / 10.
double energy(int tenths) { return std::pow(10.0, tenths / 100.0); }

double exposure_level(double e) { return e > 0.0 ? 10.0 * std::log10(e) : kEmpty; }

// The arrival time span of the points kept, and their shares; see the header.
double shares(const std::vector<HistoryPoint>& points, std::vector<double>& dt) {
    const std::size_t n = points.size();
    dt.assign(n, kEmpty);
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    std::size_t prev = n;   // the kept point before, n: none
    std::size_t kept = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double t = points[i].t;
        if (!std::isfinite(t)) continue;
        dt[i] = 0.0;
        ++kept;
        if (t < lo) lo = t;
        if (t > hi) hi = t;
        if (prev != n) {
            const double half = std::fabs(t - static_cast<double>(points[prev].t)) / 2.0;
            dt[prev] += half;
            dt[i] += half;
        }
        prev = i;
    }
    if (kept == 0) return 0.0;
    if (hi == lo) {
        for (double& d : dt) {
            if (!std::isnan(d)) d = 1.0;
        }
        return 0.0;
    }
    return hi - lo;
}

}  // namespace


void event_metrics(const ReceiverHistory& h, const EventOptions& o, std::vector<double>& dt, EventMetrics& m) {
    m.in_range = false;
    m.LAMAX = m.TLAMAX = m.LFMAX = m.SEL = m.SEL10 = m.SELF = m.LAEQ = m.T = kEmpty;
    m.TAUD = m.PTAUD = kEmpty;
    m.TA.assign(o.ta_levels.size(), kEmpty);
    m.SELband.assign(o.bands.size(), kEmpty);

    const std::vector<HistoryPoint>& pts = h.points;
    const double span = shares(pts, dt);
    for (std::size_t i = 0; i < pts.size() && !m.in_range; ++i) {
        m.in_range = !std::isnan(dt[i]) && (pts[i].Outrow[0] != kMissingTenths || pts[i].Outrow[1] != kMissingTenths);
    }
    if (!m.in_range) return;

    double sum_dt = 0.0, eA = 0.0, eF = 0.0, taud = 0.0;
    int maxA = kMissingTenths, maxF = kMissingTenths;
    std::size_t at_max = pts.size();
    for (double& v : m.TA) v = 0.0;
    for (double& v : m.SELband) v = 0.0;   // energies until the end
    for (std::size_t i = 0; i < pts.size(); ++i) {
        const double d = dt[i];
        if (std::isnan(d)) continue;
        sum_dt += d;
        const HistoryPoint& p = pts[i];
        const int A = p.Outrow[1], F = p.Outrow[0];
        if (F != kMissingTenths) {
            eF += energy(F) * d;
            if (F > maxF) maxF = F;
        }
        if (A != kMissingTenths) {
            eA += energy(A) * d;
            if (at_max == pts.size() || A > maxA) {
                maxA = A;
                at_max = i;
            }
            for (std::size_t k = 0; k < o.ta_levels.size(); ++k) {
                if (A / 10.0 >= o.ta_levels[k]) m.TA[k] += d;
            }
            if (p.M >= o.audible) taud += d;
        }
        for (std::size_t k = 0; k < o.bands.size(); ++k) {
            const int v = p.Outrow[1 + o.bands[k]];
            if (v != kMissingTenths) m.SELband[k] += energy(v) * d;
        }
    }
    m.T = o.duration > 0.0 ? o.duration : span > 0.0 ? span : sum_dt;
    if (at_max != pts.size()) {
        m.LAMAX = maxA / 10.0;
        m.TLAMAX = pts[at_max].t;
        double e10 = 0.0;
        for (std::size_t i = 0; i < pts.size(); ++i) {
            const int A = pts[i].Outrow[1];
            if (!std::isnan(dt[i]) && A != kMissingTenths && A >= maxA - 100) e10 += energy(A) * dt[i];
        }
        m.SEL10 = exposure_level(e10);
    }
    if (maxF != kMissingTenths) m.LFMAX = maxF / 10.0;
    m.SEL = exposure_level(eA);
    m.SELF = exposure_level(eF);
    m.LAEQ = m.SEL - 10.0 * std::log10(m.T);
    for (double& v : m.SELband) v = exposure_level(v);
    if (o.detectability) {
        m.TAUD = taud;
        m.PTAUD = 100.0 * taud / m.T;
    }
}

std::string threshold_name(double level) {
    std::string s = fmt_f(level, 24, 3);
    s.erase(0, s.find_first_not_of(' '));
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
}

std::string band_name(int p) { return threshold_name(BANDTAB[p - 1]); }

std::vector<Column> event_columns(const EventOptions& o) {
    std::vector<Column> c = {{"LAMAX", ColumnKind::Level}, {"TLAMAX", ColumnKind::Seconds}, {"LFMAX", ColumnKind::Level},
                             {"SEL", ColumnKind::Level},   {"SEL10", ColumnKind::Level},    {"SELF", ColumnKind::Level},
                             {"LAEQ", ColumnKind::Level}};
    for (double L : o.ta_levels) c.push_back({"TA" + threshold_name(L), ColumnKind::Seconds});
    if (o.detectability) {
        c.push_back({"TAUD", ColumnKind::Seconds});
        c.push_back({"PTAUD", ColumnKind::Percent});
    }
    for (int p : o.bands) c.push_back({"SEL_" + band_name(p), ColumnKind::Level});
    return c;
}

void event_row(const EventMetrics& m, const EventOptions& o, std::vector<double>& row) {
    row.clear();
    for (double v : {m.LAMAX, m.TLAMAX, m.LFMAX, m.SEL, m.SEL10, m.SELF, m.LAEQ}) row.push_back(v);
    for (double v : m.TA) row.push_back(v);
    if (o.detectability) {
        row.push_back(m.TAUD);
        row.push_back(m.PTAUD);
    }
    for (double v : m.SELband) row.push_back(v);
}

}  // namespace tn

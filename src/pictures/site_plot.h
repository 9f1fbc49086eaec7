// Time-history plots of sites: the A-weighted level of each site against the arrival time, one
// panel per site and several panels per figure, with the LAMAX point marked, the site's ambient
// A level as a dashed line (when the case has ambient classes) and the stretch where the source is
// detectable shaded.
//
// The panels of a figure share their axes, so that sites can be compared at a glance. Arrival
// times from one hour on are shown as times of day (the run's start time is in them).
#pragma once

#include <string>
#include <vector>

#include "pictures/drawing.h"
#include "results/history.h"
#include "results/metrics.h"

namespace tn {

// Panels in one figure: two columns of two.
inline constexpr int kSitesPerFigure = 4;

// What a panel shows of one site.
struct SiteTrace {
    std::string name;
    std::vector<double> t;       // arrival times, s (points whose time is not a number are left out)
    std::vector<double> level;   // the A level, dB; NaN where the point has none
    std::vector<char> audible;   // detectability at or above the threshold, with an A level
    double ambient = 0.0;        // the ambient A level, dB; NaN when the case has no ambient classes
    double lamax = 0.0, tlamax = 0.0;   // NaN when the site was never in range
};

// The trace of a receiver's history: levels from the A column, the ambient from the AMBIENT
// line's A column, the detectable points those whose detectability (column 42) is at least
// `audible` dB, and LAMAX and its time from the metrics `m` of the same history.
void site_trace(const ReceiverHistory& h, const EventMetrics& m, double audible, SiteTrace& out);

// Where a panel stands in the figure and what its axes span.
struct PlotPanel {
    double left = 0, top = 0, right = 0, bottom = 0;   // the axes' area, picture units
    double t0 = 0, t1 = 1, l0 = 0, l1 = 1;            // times, s, and levels, dB, at its edges
    double px(double t) const { return left + (t - t0) / (t1 - t0) * (right - left); }
    double py(double l) const { return bottom - (l - l0) / (l1 - l0) * (bottom - top); }
};

// Draws one figure of up to kSitesPerFigure sites into `path` (`name` for messages): `title` on
// top (the case's info name), `subtitle` under it, and a legend that states the detectability
// threshold `audible`. Returns the panels, in the order of the sites.
std::vector<PlotPanel> draw_site_plot(const std::vector<SiteTrace>& sites, const std::string& title, const std::string& subtitle,
                                      double audible, const std::string& path, const std::string& name, PictureFormat format);

}  // namespace tn

#include "pictures/site_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace tn {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const Rgb kInk = rgb(0x202020);
const Rgb kGrey = rgb(0x606060);
const Rgb kCurve = rgb(0x1F4E9A);
const Rgb kPeak = rgb(0xD62728);
const Rgb kAudible = rgb(0xD3EDE4);
const Rgb kAmbient = rgb(0x707070);

std::string level_text(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f", v);
    return buf;
}

std::string short_text(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

std::string time_text(double t, bool clock) {
    char buf[32];
    if (!clock) {
        return short_text(t);
    } else {
        const long s = static_cast<long>(std::floor(std::fmod(t, 86400.0) + 0.5));
        std::snprintf(buf, sizeof buf, "%02ld:%02ld:%02ld", s / 3600 % 24, s / 60 % 60, s % 60);
    }
    return buf;
}

void dashed_line(cairo_t* cr, double x0, double x1, double y) {
    const double dash[2] = {6, 4};
    cairo_save(cr);
    cairo_set_dash(cr, dash, 2, 0);
    cairo_move_to(cr, x0, y);
    cairo_line_to(cr, x1, y);
    cairo_set_line_width(cr, 1.5);
    set_colour(cr, kAmbient);
    cairo_stroke(cr);
    cairo_restore(cr);
}

void draw_panel(cairo_t* cr, const SiteTrace& s, const PlotPanel& p, double tstep, double lstep, bool clock) {
    // Detectable stretches: each detectable point stands from the midpoint with the point before
    // to the midpoint with the point after (its own time at the ends), as the metrics count it.
    const std::size_t n = s.t.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (!s.audible[i]) continue;
        std::size_t j = i;
        while (j + 1 < n && s.audible[j + 1]) ++j;
        const double a = i > 0 ? (s.t[i - 1] + s.t[i]) / 2 : s.t[i];
        const double b = j + 1 < n ? (s.t[j] + s.t[j + 1]) / 2 : s.t[j];
        const double x0 = p.px(std::min(a, b)), x1 = p.px(std::max(a, b));
        cairo_rectangle(cr, x0, p.top, std::max(x1 - x0, 1.0), p.bottom - p.top);
        set_colour(cr, kAudible);
        cairo_fill(cr);
        i = j;
    }
    // Grid and ticks.
    set_font(cr, 11);
    cairo_set_line_width(cr, 0.6);
    for (double l = std::ceil(p.l0 / lstep) * lstep; l <= p.l1 + 1e-9; l += lstep) {
        cairo_move_to(cr, p.left, p.py(l));
        cairo_line_to(cr, p.right, p.py(l));
        set_colour(cr, rgb(0xB0B0B0), 0.6);
        cairo_stroke(cr);
        draw_text(cr, p.left - 6, p.py(l), short_text(l), Align::Right, kGrey, true);
    }
    for (double t = std::ceil(p.t0 / tstep) * tstep; t <= p.t1 + 1e-9; t += tstep) {
        cairo_move_to(cr, p.px(t), p.top);
        cairo_line_to(cr, p.px(t), p.bottom);
        set_colour(cr, rgb(0xB0B0B0), 0.6);
        cairo_stroke(cr);
        draw_text(cr, p.px(t), p.bottom + 16, time_text(t, clock), Align::Centre, kGrey);
    }
    cairo_rectangle(cr, p.left, p.top, p.right - p.left, p.bottom - p.top);
    cairo_set_line_width(cr, 1);
    set_colour(cr, kInk);
    cairo_stroke(cr);
    set_font(cr, 13, true);
    draw_text(cr, p.left, p.top - 9, fit_text(cr, s.name, p.right - p.left), Align::Left, kInk);

    cairo_save(cr);
    cairo_rectangle(cr, p.left, p.top, p.right - p.left, p.bottom - p.top);
    cairo_clip(cr);
    if (std::isfinite(s.ambient)) dashed_line(cr, p.left, p.right, p.py(s.ambient));
    // The level, broken where a point has none.
    bool down = false;
    for (std::size_t i = 0; i < n; ++i) {
        if (!std::isfinite(s.level[i])) {
            down = false;
            continue;
        }
        (down ? cairo_line_to : cairo_move_to)(cr, p.px(s.t[i]), p.py(s.level[i]));
        down = true;
    }
    cairo_set_line_width(cr, 2);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    set_colour(cr, kCurve);
    cairo_stroke(cr);
    // A lone point between gaps shows as a dot.
    for (std::size_t i = 0; i < n; ++i) {
        const bool before = i > 0 && std::isfinite(s.level[i - 1]), after = i + 1 < n && std::isfinite(s.level[i + 1]);
        if (std::isfinite(s.level[i]) && !before && !after) {
            cairo_arc(cr, p.px(s.t[i]), p.py(s.level[i]), 2, 0, 2 * M_PI);
            cairo_fill(cr);
        }
    }
    cairo_restore(cr);

    set_font(cr, 11);
    if (std::isfinite(s.ambient) && s.ambient >= p.l0 && s.ambient <= p.l1) {
        draw_text(cr, p.right - 6, p.py(s.ambient) - 5, "ambient " + level_text(s.ambient), Align::Right, kAmbient, false, true);
    }
    if (std::isfinite(s.lamax)) {
        const double x = p.px(s.tlamax), y = p.py(s.lamax);
        cairo_arc(cr, x, y, 4.5, 0, 2 * M_PI);
        set_colour(cr, rgb(0xFFFFFF));
        cairo_set_line_width(cr, 1.5);
        cairo_stroke_preserve(cr);
        set_colour(cr, kPeak);
        cairo_fill(cr);
        set_font(cr, 12, true);
        const std::string text = "LAMAX " + level_text(s.lamax) + " dB(A)";
        const double w = text_width(cr, text);
        // Above the peak, kept inside the panel.
        const double lx = std::clamp(x, p.left + w / 2 + 4, p.right - w / 2 - 4);
        const double ly = y - 12 > p.top + 14 ? y - 12 : y + 22;
        draw_text(cr, lx, ly, text, Align::Centre, kPeak, false, true);
    } else {
        set_font(cr, 12);
        draw_text(cr, (p.left + p.right) / 2, (p.top + p.bottom) / 2, "never within the distance limit", Align::Centre, kGrey, true);
    }
}

}  // namespace

void site_trace(const ReceiverHistory& h, const EventMetrics& m, double audible, SiteTrace& out) {
    out.name = h.head.Name.str();
    out.t.clear();
    out.level.clear();
    out.audible.clear();
    for (const HistoryPoint& p : h.points) {
        if (!std::isfinite(p.t)) continue;
        const bool has = p.Outrow[1] != kMissingTenths;
        out.t.push_back(p.t);
        out.level.push_back(has ? p.Outrow[1] / 10.0 : kNaN);
        out.audible.push_back(has && p.M >= audible);
    }
    out.ambient = h.head.Ambrow[1] == kMissingTenths ? kNaN : h.head.Ambrow[1] / 10.0;
    out.lamax = m.in_range ? m.LAMAX : kNaN;
    out.tlamax = m.in_range ? m.TLAMAX : kNaN;
}

std::vector<PlotPanel> draw_site_plot(const std::vector<SiteTrace>& sites, const std::string& title, const std::string& subtitle,
                                      double audible, const std::string& path, const std::string& name, PictureFormat format) {
    // Shared axes: every time, and every level and ambient of the figure.
    double t0 = std::numeric_limits<double>::infinity(), t1 = -t0, l0 = t0, l1 = -t0;
    for (const SiteTrace& s : sites) {
        for (std::size_t i = 0; i < s.t.size(); ++i) {
            t0 = std::min(t0, s.t[i]);
            t1 = std::max(t1, s.t[i]);
            if (std::isfinite(s.level[i])) {
                l0 = std::min(l0, s.level[i]);
                l1 = std::max(l1, s.level[i]);
            }
        }
        if (std::isfinite(s.ambient)) {
            l0 = std::min(l0, s.ambient);
            l1 = std::max(l1, s.ambient);
        }
    }
    if (!(t1 > t0)) {
        t0 = std::isfinite(t0) ? t0 - 1 : 0;
        t1 = t0 + 2;
    }
    if (!(l1 >= l0)) {
        l0 = 0;
        l1 = 100;
    }
    const double lstep = nice_step(std::max(l1 - l0, 10.0), 5);
    l0 = std::floor((l0 - 2) / lstep) * lstep;
    l1 = std::ceil((l1 + 6) / lstep) * lstep;
    const bool clock = t0 >= 3600.0;

    const int n = static_cast<int>(sites.size());
    const int cols = n > 1 ? 2 : 1, rows = std::max(1, (n + cols - 1) / cols);
    const double width = 1200, cell_w = (width - 40) / cols, cell_h = 310, head = 112;
    Picture pic(path, name, format, static_cast<int>(width), static_cast<int>(head + rows * cell_h + 24));
    cairo_t* cr = pic.cr();

    set_font(cr, 19, true);
    draw_text(cr, 24, 32, fit_text(cr, title, width - 48), Align::Left, kInk);
    set_font(cr, 13);
    draw_text(cr, 24, 56, fit_text(cr, subtitle, width - 48), Align::Left, kGrey);
    // Legend.
    double x = 24;
    const double y = 84;
    set_font(cr, 12);
    cairo_move_to(cr, x, y);
    cairo_line_to(cr, x + 30, y);
    cairo_set_line_width(cr, 2);
    set_colour(cr, kCurve);
    cairo_stroke(cr);
    x = draw_text(cr, x + 38, y, "A-weighted level, dB(A)", Align::Left, kInk, true).x1 + 26;
    cairo_arc(cr, x + 5, y, 4.5, 0, 2 * M_PI);
    set_colour(cr, kPeak);
    cairo_fill(cr);
    x = draw_text(cr, x + 16, y, "LAMAX", Align::Left, kInk, true).x1 + 26;
    if (std::any_of(sites.begin(), sites.end(), [](const SiteTrace& s) { return std::isfinite(s.ambient); })) {
        dashed_line(cr, x, x + 30, y);
        x = draw_text(cr, x + 38, y, "ambient level of the site's class", Align::Left, kInk, true).x1 + 26;
    }
    cairo_rectangle(cr, x, y - 8, 30, 16);
    set_colour(cr, kAudible);
    cairo_fill(cr);
    draw_text(cr, x + 38, y, "detectable: detectability \u2265 " + short_text(audible) + " dB",
              Align::Left, kInk, true);

    if (sites.empty()) {
        set_font(cr, 13);
        draw_text(cr, 24, head + 40, "The result holds no computed site.", Align::Left, kGrey);
    }
    std::vector<PlotPanel> panels;
    double tstep = nice_step(t1 - t0, 6);
    if (clock) {
        // Steps that read well on a clock: seconds, minutes, hours.
        for (const double s : {1, 2, 5, 10, 15, 20, 30, 60, 120, 300, 600, 900, 1200, 1800, 3600, 7200, 10800, 21600, 43200}) {
            tstep = s;
            if (s >= (t1 - t0) / 6) break;
        }
    }
    for (int k = 0; k < n; ++k) {
        PlotPanel p;
        const double cx = 20 + cell_w * (k % cols), cy = head + cell_h * (k / cols);
        p.left = cx + 52;
        p.right = cx + cell_w - 18;
        p.top = cy + 30;
        p.bottom = cy + cell_h - 48;
        p.t0 = t0;
        p.t1 = t1;
        p.l0 = l0;
        p.l1 = l1;
        draw_panel(cr, sites[static_cast<std::size_t>(k)], p, tstep, lstep, clock);
        set_font(cr, 11);
        draw_text(cr, (p.left + p.right) / 2, p.bottom + 33, clock ? "arrival time (time of day)" : "arrival time, s", Align::Centre, kGrey);
        cairo_save(cr);
        cairo_translate(cr, p.left - 36, (p.top + p.bottom) / 2);
        cairo_rotate(cr, -M_PI / 2);
        draw_text(cr, 0, 0, "dB(A)", Align::Centre, kGrey);
        cairo_restore(cr);
        panels.push_back(p);
    }
    pic.finish();
    return panels;
}

}  // namespace tn

#include "pictures/drawing.h"

#include <cctype>
#include <cmath>
#include <cstdio>

#include <cairo-svg.h>

#include "io/errors.h"

namespace tn {

namespace {

std::string lower_extension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    const std::size_t slash = name.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    std::string e = name.substr(dot);
    for (char& c : e) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return e;
}

[[noreturn]] void cairo_failure(const std::string& name, cairo_status_t st) {
    throw file_error(name, 0, std::string("cannot write the picture: ") + cairo_status_to_string(st));
}

}  // namespace

bool picture_format(const std::string& name, PictureFormat& format) {
    const std::string e = lower_extension(name);
    if (e == ".png") format = PictureFormat::Png;
    else if (e == ".svg") format = PictureFormat::Svg;
    else return false;
    return true;
}

Picture::Picture(const std::string& path, const std::string& name, PictureFormat format, int w, int h)
    : path_(path), name_(name), format_(format), w_(w), h_(h) {
    surface_ = format == PictureFormat::Svg ? cairo_svg_surface_create(path.c_str(), w, h)
                                            : cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    if (cairo_surface_status(surface_) != CAIRO_STATUS_SUCCESS) {
        const cairo_status_t st = cairo_surface_status(surface_);
        cairo_surface_destroy(surface_);
        surface_ = nullptr;
        cairo_failure(name, st);
    }
    cr_ = cairo_create(surface_);
    cairo_set_source_rgb(cr_, 1, 1, 1);
    cairo_paint(cr_);
}

Picture::~Picture() {
    if (cr_) cairo_destroy(cr_);
    if (surface_) cairo_surface_destroy(surface_);
}

void Picture::finish() {
    cairo_status_t st = cairo_status(cr_);
    if (st != CAIRO_STATUS_SUCCESS) cairo_failure(name_, st);
    cairo_destroy(cr_);
    cr_ = nullptr;
    if (format_ == PictureFormat::Png) {
        st = cairo_surface_write_to_png(surface_, path_.c_str());
    } else {
        cairo_surface_finish(surface_);
        st = cairo_surface_status(surface_);
    }
    cairo_surface_destroy(surface_);
    surface_ = nullptr;
    if (st != CAIRO_STATUS_SUCCESS) cairo_failure(name_, st);
}

std::string shown_text(std::string_view s) {
    std::string out;
    for (std::size_t i = 0; i < s.size();) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            out += c < 32 || c == 127 ? '?' : static_cast<char>(c);
            ++i;
            continue;
        }
        // The length of a UTF-8 sequence led by c, and whether it is well formed (no overlong
        // form, no surrogate, nothing beyond U+10FFFF).
        const std::size_t n = c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 0;
        bool ok = n > 0 && i + n <= s.size();
        for (std::size_t k = 1; ok && k < n; ++k) ok = (static_cast<unsigned char>(s[i + k]) & 0xC0) == 0x80;
        if (ok) {
            const auto d = static_cast<unsigned char>(s[i + 1]);
            ok = !(c == 0xE0 && d < 0xA0) && !(c == 0xED && d >= 0xA0) && !(c == 0xF0 && d < 0x90) && !(c == 0xF4 && d >= 0x90);
        }
        if (ok) {
            out.append(s.substr(i, n));
            i += n;
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
            ++i;
        }
    }
    return out;
}

std::string fit_text(cairo_t* cr, const std::string& text, double width) {
    std::string t = shown_text(text);
    if (text_width(cr, t) <= width) return t;
    while (!t.empty()) {
        // One whole character off the end: its continuation bytes, then its lead byte.
        while (!t.empty() && (static_cast<unsigned char>(t.back()) & 0xC0) == 0x80) t.pop_back();
        if (!t.empty()) t.pop_back();
        if (text_width(cr, t + "\u2026") <= width) break;
    }
    return t + "\u2026";
}

void set_colour(cairo_t* cr, const Rgb& c, double alpha) { cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha); }

void set_font(cairo_t* cr, double size, bool bold) {
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
}

double text_width(cairo_t* cr, const std::string& text) {
    cairo_text_extents_t e;
    cairo_text_extents(cr, shown_text(text).c_str(), &e);
    return e.x_advance;
}

namespace {

// Where draw_text puts the letters: the start of the baseline, and the box they cover.
struct Placed {
    double x0, base;
    Box box;
};

Placed place_text(cairo_t* cr, double x, double y, const std::string& text, Align align, bool middle, bool halo) {
    cairo_font_extents_t f;
    cairo_font_extents(cr, &f);
    const double w = text_width(cr, text);
    Placed p;
    p.x0 = align == Align::Left ? x : align == Align::Centre ? x - w / 2 : x - w;
    // Centred on the height of capitals, about 0.72 of the font's size.
    cairo_matrix_t m;
    cairo_get_font_matrix(cr, &m);
    p.base = middle ? y + 0.36 * m.yy : y;
    const double pad = halo ? 2.0 : 0.0;
    p.box = {p.x0 - pad, p.base - 0.76 * m.yy - pad, p.x0 + w + pad, p.base + f.descent * 0.6 + pad};
    return p;
}

}  // namespace

Box text_box(cairo_t* cr, double x, double y, const std::string& text, Align align, bool middle, bool halo) {
    return place_text(cr, x, y, text, align, middle, halo).box;
}

Box draw_text(cairo_t* cr, double x, double y, const std::string& raw, Align align, const Rgb& colour, bool middle, bool halo) {
    const std::string text = shown_text(raw);
    const Placed p = place_text(cr, x, y, text, align, middle, halo);
    if (halo) {
        cairo_save(cr);
        cairo_move_to(cr, p.x0, p.base);
        cairo_text_path(cr, text.c_str());
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_set_line_width(cr, 3.5);
        cairo_set_source_rgba(cr, 1, 1, 1, 0.9);
        cairo_stroke(cr);
        cairo_restore(cr);
    }
    cairo_move_to(cr, p.x0, p.base);
    set_colour(cr, colour);
    cairo_show_text(cr, text.c_str());
    cairo_new_path(cr);
    return p.box;
}

double nice_step(double span, int count) {
    if (!(span > 0) || count < 1) return 1.0;
    const double raw = span / count;
    const double p = std::pow(10.0, std::floor(std::log10(raw)));
    const double m = raw / p;
    return (m < 1.5 ? 1.0 : m < 3.5 ? 2.0 : m < 7.5 ? 5.0 : 10.0) * p;
}

double draw_key(cairo_t* cr, double x, double y, const std::string& title, const std::vector<KeyEntry>& entries) {
    const Rgb ink = rgb(0x202020);
    set_font(cr, 13, true);
    draw_text(cr, x, y + 13, title, Align::Left, ink);
    const double sw = 34, sh = 20, top = y + 24;
    set_font(cr, 12);
    for (std::size_t k = 0; k < entries.size(); ++k) {
        const double yy = top + sh * static_cast<double>(k);
        cairo_rectangle(cr, x, yy, sw, sh);
        set_colour(cr, entries[k].colour);
        cairo_fill_preserve(cr);
        cairo_set_line_width(cr, 0.6);
        set_colour(cr, rgb(0x606060));
        cairo_stroke(cr);
        draw_text(cr, x + sw + 8, yy + sh / 2, entries[k].label, Align::Left, ink, true);
    }
    return top - y + sh * static_cast<double>(entries.size());
}

double draw_scale_bar(cairo_t* cr, double x, double y, double max_width, double units_per_metre) {
    // The longest round length that fits, split into 4 or 5 alternating parts.
    double len = nice_step(max_width / units_per_metre, 1);
    while (len * units_per_metre > max_width) len = nice_step(len * 0.7, 1);
    const double w = len * units_per_metre;
    const double first = std::round(len / std::pow(10.0, std::floor(std::log10(len))));
    const int parts = first == 2.0 ? 4 : first == 5.0 ? 5 : 4;
    const double h = 6;
    cairo_set_line_width(cr, 0.8);
    for (int k = 0; k < parts; ++k) {
        cairo_rectangle(cr, x + w * k / parts, y, w / parts, h);
        set_colour(cr, k % 2 ? rgb(0xFFFFFF) : rgb(0x202020));
        cairo_fill_preserve(cr);
        set_colour(cr, rgb(0x202020));
        cairo_stroke(cr);
    }
    set_font(cr, 11);
    const auto label = [](double m) {
        char buf[32];
        if (m >= 1000.0) std::snprintf(buf, sizeof buf, "%g km", m / 1000.0);
        else std::snprintf(buf, sizeof buf, "%g m", m);
        return std::string(buf);
    };
    draw_text(cr, x, y + h + 14, "0", Align::Centre, rgb(0x202020));
    draw_text(cr, x + w, y + h + 14, label(len), Align::Centre, rgb(0x202020));
    return h + 18;
}

void draw_north_arrow(cairo_t* cr, double x, double y, double size) {
    const double w = size * 0.36;
    const double base = y + size * 0.78;
    // Two halves of a spearhead, dark on the left, light on the right.
    cairo_set_line_width(cr, 1.0);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_MITER);
    cairo_move_to(cr, x, y);
    cairo_line_to(cr, x - w / 2, y + size);
    cairo_line_to(cr, x, base);
    cairo_close_path(cr);
    set_colour(cr, rgb(0x202020));
    cairo_fill_preserve(cr);
    cairo_stroke(cr);
    cairo_move_to(cr, x, y);
    cairo_line_to(cr, x + w / 2, y + size);
    cairo_line_to(cr, x, base);
    cairo_close_path(cr);
    set_colour(cr, rgb(0xFFFFFF));
    cairo_fill_preserve(cr);
    set_colour(cr, rgb(0x202020));
    cairo_stroke(cr);
    set_font(cr, 14, true);
    draw_text(cr, x, y - 6, "N", Align::Centre, rgb(0x202020));
}

}  // namespace tn

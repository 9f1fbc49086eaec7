// What the pictures share: the picture file (PNG or SVG through cairo), text, and the pieces of a
// map's margin (colour key, scale bar, north arrow).
//
// Lengths are in picture units: pixels of a PNG, points of an SVG (the same numbers). Colours are
// sRGB components from 0 to 1. Text is set in DejaVu Sans through cairo's own text calls.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <cairo.h>

namespace tn {

struct Rgb {
    double r = 0.0, g = 0.0, b = 0.0;
};

// Rgb from 0xRRGGBB.
constexpr Rgb rgb(unsigned hex) {
    return {((hex >> 16) & 0xFF) / 255.0, ((hex >> 8) & 0xFF) / 255.0, (hex & 0xFF) / 255.0};
}

enum class PictureFormat { Png, Svg };

// The format named by a picture's extension: ".png" or ".svg", in any case. False for any other.
bool picture_format(const std::string& name, PictureFormat& format);

// A picture of w by h units being drawn, written to `path` by finish(): a PNG (an image surface
// written at the end) or an SVG (written as it is drawn). `name` is the file the user knows (the
// final name of a staged file), for messages. The background is white.
class Picture {
public:
    Picture(const std::string& path, const std::string& name, PictureFormat format, int w, int h);
    ~Picture();
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    cairo_t* cr() const { return cr_; }
    int width() const { return w_; }
    int height() const { return h_; }
    // Completes the file. Stops with "NAME: cannot write the picture: cairo's reason" on failure.
    void finish();

private:
    std::string path_, name_;
    PictureFormat format_;
    int w_, h_;
    cairo_surface_t* surface_ = nullptr;
    cairo_t* cr_ = nullptr;
};

// A rectangle in picture units, for the text already placed.
struct Box {
    double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    bool overlaps(const Box& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
    bool inside(const Box& o) const { return x0 >= o.x0 && x1 <= o.x1 && y0 >= o.y0 && y1 <= o.y1; }
};

// Text as cairo takes it, valid UTF-8: valid sequences stay, any other byte is read as Latin-1
// (names from older files), and control characters become '?'. Every text call below applies it.
std::string shown_text(std::string_view text);

// `text` shortened with an ellipsis to fit `width` in the current font.
std::string fit_text(cairo_t* cr, const std::string& text, double width);

void set_colour(cairo_t* cr, const Rgb& c, double alpha = 1.0);
void set_font(cairo_t* cr, double size, bool bold = false);
double text_width(cairo_t* cr, const std::string& text);

// Anchors of a text: its horizontal alignment at x, and y at its baseline or its centre.
enum class Align { Left, Centre, Right };

// Draws `text` (current font) at (x, y): aligned by `align`, y the baseline, or the middle of the
// letters' height with `middle`. A `halo` draws a white border around the letters first, for text
// on a busy background. Returns the box the text covers (halo included).
Box draw_text(cairo_t* cr, double x, double y, const std::string& text, Align align, const Rgb& colour, bool middle = false,
              bool halo = false);
// The box draw_text would cover, without drawing.
Box text_box(cairo_t* cr, double x, double y, const std::string& text, Align align, bool middle = false, bool halo = false);

// A round step for about `count` ticks over `span`: 1, 2 or 5 times a power of ten.
double nice_step(double span, int count);

// One class of a colour key: its swatch colour and label.
struct KeyEntry {
    Rgb colour;
    std::string label;
};
// The colour key: the title (which names the unit), then a column of swatches, the first entry on
// top. Returns the height used.
double draw_key(cairo_t* cr, double x, double y, const std::string& title, const std::vector<KeyEntry>& entries);

// A scale bar of a round length (1, 2 or 5 times a power of ten metres) no longer than `max_width`
// units at `units_per_metre`, its left end at (x, y). Returns the height used.
double draw_scale_bar(cairo_t* cr, double x, double y, double max_width, double units_per_metre);

// A north arrow pointing up the picture, `size` high, centred on x, its tip at y, lettered "N".
void draw_north_arrow(cairo_t* cr, double x, double y, double size);

}  // namespace tn

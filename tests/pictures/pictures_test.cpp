// The pictures read back as images: the map of a synthetic grid metric, whose classes are known by
// hand at chosen positions, and a figure of site time histories.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <set>

#include <cairo.h>

#include "io/test_files.h"
#include "pictures/noise_map.h"
#include "pictures/site_plot.h"
#include "results/metric_raster.h"

namespace {

struct Image {
    cairo_surface_t* s = nullptr;
    explicit Image(const std::string& path) : s(cairo_image_surface_create_from_png(path.c_str())) {}
    ~Image() { cairo_surface_destroy(s); }
    bool ok() const { return cairo_surface_status(s) == CAIRO_STATUS_SUCCESS; }
    int width() const { return cairo_image_surface_get_width(s); }
    int height() const { return cairo_image_surface_get_height(s); }
    // 0xRRGGBB of the pixel holding picture position (x, y).
    unsigned at(double x, double y) const {
        cairo_surface_flush(s);
        const unsigned char* d = cairo_image_surface_get_data(s);
        const int stride = cairo_image_surface_get_stride(s);
        const auto* row = reinterpret_cast<const std::uint32_t*>(d + static_cast<std::ptrdiff_t>(std::floor(y)) * stride);
        return row[static_cast<int>(std::floor(x))] & 0xFFFFFFu;
    }
    // Distinct colours and the share of pixels that are not white.
    std::pair<std::size_t, double> spread() const {
        std::set<unsigned> colours;
        long inked = 0;
        for (int y = 0; y < height(); ++y) {
            for (int x = 0; x < width(); ++x) {
                const unsigned c = at(x, y);
                colours.insert(c);
                inked += c != 0xFFFFFFu;
            }
        }
        return {colours.size(), static_cast<double>(inked) / (static_cast<double>(width()) * height())};
    }
};

std::string hex(unsigned c) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "#%06X", c);
    return buf;
}

}  // namespace

TEST(Pictures, MapOfAGridShowsEachPositionInTheColourOfItsClass) {
    // An 11 by 7 lattice 100 m apart from (500000, 4000000) in zone 11; the metric rises east
    // by 4 dB per column, L = 40 + 0.04 (x - 500000), the same in every row. The north-east
    // position has no value. The largest value, 80 dB, lies below 85 dB: the scale stands
    // unshifted, and the class of a level is read off the noise-zone table of the map's header by
    // hand. The bands cover the lattice's cells, 50 m beyond the outer positions.
    tntest::ScratchDir dir;
    tn::GridBlock block{11, 1, 11, 7, 1, 7};
    tn::MetricRaster raster;
    raster.create((dir / "m.tif"), "m.tif", block, {{"LAMAX", tn::ColumnKind::Level}});
    for (int i = 1; i <= 11; ++i) {
        for (int j = 1; j <= 7; ++j) {
            tn::ReceiverHead h;
            h.x = 500000.0f + 100.0f * (i - 1);
            h.y = 4000000.0f + 100.0f * (j - 1);
            h.Utmzone = 11;
            const double v = i == 11 && j == 7 ? NAN : 40.0 + 4.0 * (i - 1);
            raster.put(i, j, h, {v}, "test");
        }
    }
    raster.finish();
    std::vector<std::string> warnings;
    const tn::MapFrame f = tn::draw_noise_map((dir / "m.tif"), "LAMAX", tn::MapCase{"A synthetic grid", "m.tif", "", "", ""},
                                              (dir / "m.png"), "m.png", tn::PictureFormat::Png, warnings);
    EXPECT_TRUE(warnings.empty());
    const Image img((dir / "m.png"));
    ASSERT_TRUE(img.ok());
    EXPECT_EQ(img.width(), f.width);
    EXPECT_EQ(img.height(), f.height);
    EXPECT_GT(f.right - f.left, 800.0);   // the map is drawn at a readable size
    const auto [colours, inked] = img.spread();
    EXPECT_GT(colours, 20u);
    EXPECT_GT(inked, 0.4);

    const struct {
        double x, y;
        unsigned colour;
        const char* what;
    } spots[] = {
        {500050.0, 4000250.0, 0x3B9644, "42 dB: 40 to 45, dark green"},
        {500187.5, 4000350.0, 0xFFF04D, "47.5 dB: 45 to 50, yellow"},
        {500562.5, 4000250.0, 0xE3432C, "62.5 dB: 60 to 65, cinnabar"},
        {500937.5, 4000350.0, 0x3C63BF, "77.5 dB: 75 to 80, blue"},
        {501000.0, 4000600.0, 0xFFFFFF, "the position without a value: white"},
        {499940.0, 4000300.0, 0xFFFFFF, "beyond the lattice's cells: white"},
        {499960.0, 4000300.0, 0x3B9644, "within the first column's cells: its class"},
    };
    for (const auto& s : spots) {
        const unsigned c = img.at(f.px(s.x), f.py(s.y));
        EXPECT_EQ(hex(c), hex(s.colour)) << s.what;
    }
    // North up: the lattice's north row lies above its south row in the picture.
    EXPECT_LT(f.py(4000600.0), f.py(4000000.0));
}

TEST(Pictures, SitePlotShadesTheDetectableStretchAndMarksLamax) {
    // Two sites of 11 points 1 s apart. The first rises to 80 dB at 5 s and is detectable at
    // points 3 to 7: shaded from the midpoint 2.5 s to the midpoint 7.5 s. Its ambient is 40 dB.
    tn::SiteTrace a;
    a.name = "North";
    for (int k = 0; k <= 10; ++k) {
        a.t.push_back(k);
        a.level.push_back(80.0 - 4.0 * std::abs(k - 5));
        a.audible.push_back(k >= 3 && k <= 7);
    }
    a.ambient = 40.0;
    a.lamax = 80.0;
    a.tlamax = 5.0;
    tn::SiteTrace b = a;
    b.name = "S\xFC" "d";   // Latin-1, as older site files hold it
    b.level.assign(11, NAN);   // never in range
    b.audible.assign(11, 0);
    b.lamax = b.tlamax = NAN;

    tntest::ScratchDir dir;
    const std::vector<tn::PlotPanel> panels =
        tn::draw_site_plot({a, b}, "Two sites", "by hand", 7.0, (dir / "p.png"), "p.png", tn::PictureFormat::Png);
    ASSERT_EQ(panels.size(), 2u);
    const Image img((dir / "p.png"));
    ASSERT_TRUE(img.ok());
    EXPECT_EQ(img.width(), 1200);
    EXPECT_GT(img.height(), 300);
    EXPECT_GT(img.spread().first, 20u);
    const tn::PlotPanel& p = panels[0];
    EXPECT_LT(p.right, panels[1].left);   // side by side
    // Between the grid lines (every 2 s and 10 dB), well away from the curve.
    EXPECT_EQ(hex(img.at(p.px(6.9), p.py(p.l0 + 5.0))), "#D3EDE4") << "inside the detectable stretch";
    EXPECT_EQ(hex(img.at(p.px(1.1), p.py(p.l0 + 5.0))), "#FFFFFF") << "before it";
    EXPECT_EQ(hex(img.at(p.px(5.0), p.py(80.0))), "#D62728") << "the LAMAX point";
}

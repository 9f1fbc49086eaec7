#include "pictures/noise_map.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include <cpl_string.h>
#include <gdal.h>
#include <gdal_alg.h>
#include <gdal_utils.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

#include "environment/grid_file.h"
#include "environment/raster.h"
#include "environment/sites.h"
#include "io/binary_file.h"
#include "io/errors.h"
#include "io/files.h"
#include "io/fixed_fields.h"
#include "io/text_file.h"
#include "results/gdal_support.h"
#include "source/trajectory.h"

namespace tn {

namespace {

// The noise-zone colours, from below 35 dB to 80-85 dB: light green, green, dark green, yellow,
// ochre, orange, cinnabar, carmine, lilac red, blue, dark blue.
constexpr Rgb kZone[11] = {rgb(0xC6E8A4), rgb(0x8CCB67), rgb(0x3B9644), rgb(0xFFF04D), rgb(0xDDB33E), rgb(0xF78C27),
                           rgb(0xE3432C), rgb(0xB3183E), rgb(0x953A87), rgb(0x3C63BF), rgb(0x1D2A7A)};
constexpr double kScaleBottom = 35.0;   // upper level of the lowest class before any shift
const Rgb kInk = rgb(0x202020);
const Rgb kGrey = rgb(0x606060);
const Rgb kTrack = rgb(0x111111);

std::string num(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, std::fabs(v) < 1e6 ? "%g" : "%.0f", v);
    return buf;
}

std::string base_name(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string describe(const std::string& m) {
    if (m == "LAMAX") return "maximum A-weighted level";
    if (m == "LFMAX") return "maximum flat level";
    if (m == "SEL") return "A-weighted sound exposure level";
    if (m == "SEL10") return "A-weighted exposure within 10 dB of LAMAX";
    if (m == "SELF") return "flat sound exposure level";
    if (m == "LAEQ") return "A-weighted equivalent level";
    if (m == "DNL") return "day-night average level";
    if (m == "CNEL") return "community noise equivalent level";
    if (m == "LDEN") return "day-evening-night level";
    if (m == "LEQ24") return "24-hour equivalent level";
    if (m.rfind("SEL_", 0) == 0) return "sound exposure level in the " + m.substr(4) + " Hz band";
    return {};
}

// How far the scale moves up (in 5 dB steps) for its top class to hold `hi`.
double scale_shift(double hi) {
    const double top = (std::floor(hi / 5.0) + 1.0) * 5.0;   // top of the class holding hi
    return std::max(0.0, top - (kScaleBottom + 50.0));
}

// ---- the terrain ---------------------------------------------------------------------------

// A terrain grid as an image, north row first, and the affine map of image coordinates (u right,
// v down, pixel (0, 0) covering [0, 1) x [0, 1)) to UTM metres: east = e0 + eu u + ev v, north =
// n0 + nu u + nv v.
struct Terrain {
    int nx = 0, ny = 0;
    std::vector<float> z;
    double e0 = 0, eu = 0, ev = 0, n0 = 0, nu = 0, nv = 0;
};

bool load_terrain(const std::string& file, Terrain& t, std::vector<std::string>& warnings) {
    if (file.empty()) return false;
    if (!file_exists(file)) {
        warnings.push_back(file + ": the terrain file does not exist: the map has no hillshade (--case-dir names the folder of the case's files)");
        return false;
    }
    GRIDHEAD head;
    FloatGrid Z, X, Y;
    if (Name255(file).contains(".flt")) {
        if (file.size() > 255) {
            warnings.push_back(file + ": the terrain's name is longer than 255 characters: the map has no hillshade");
            return false;
        }
        Name255 siteerr("none");
        int zone = 0;
        std::size_t nodata = 0;
        FloatGrid rows;
        READFLT(Name255(file), siteerr, zone, head, Z, rows, X, Y, nodata);
    } else {
        BinaryFile unit(file);
        bool ok = false;
        GRIDSCAN(head, ok, unit);
        if (!ok) {
            warnings.push_back(file + ": the terrain grid has no accepted version record: the map has no hillshade");
            return false;
        }
        if (head.NX < 1 || head.NY < 1) return false;
        Z.allocate(head.NX, head.NY);
        X.allocate(head.NX, head.NY);
        Y.allocate(head.NX, head.NY);
        unit.rewind();
        std::string title;
        int ntitle = 0, zone = 0;
        float corners[8] = {};
        bool mark = false;
        GRIDREF ref;
        READGRID(title, ntitle, zone, Z, X, Y, "ZALT", corners, mark, unit, head, ref);
    }
    if (head.NX < 2 || head.NY < 2) return false;
    t.nx = head.NX;
    t.ny = head.NY;
    t.z.resize(static_cast<std::size_t>(t.nx) * static_cast<std::size_t>(t.ny));
    for (int j = 1; j <= t.ny; ++j) {
        for (int i = 1; i <= t.nx; ++i) t.z[static_cast<std::size_t>(t.ny - j) * static_cast<std::size_t>(t.nx) + static_cast<std::size_t>(i - 1)] = Z(i, j);
    }
    // Node (i, j) stands at the centre of image pixel (i - 1, ny - j); the affine map goes through
    // the north-west, north-east and south-west nodes (a raster in degrees is nearly affine in UTM).
    const double ax = X(1, t.ny), ay = Y(1, t.ny);
    t.eu = (X(t.nx, t.ny) - ax) / (t.nx - 1);
    t.nu = (Y(t.nx, t.ny) - ay) / (t.nx - 1);
    t.ev = (X(1, 1) - ax) / (t.ny - 1);
    t.nv = (Y(1, 1) - ay) / (t.ny - 1);
    t.e0 = ax - 0.5 * t.eu - 0.5 * t.ev;
    t.n0 = ay - 0.5 * t.nu - 0.5 * t.nv;
    return std::isfinite(t.e0 + t.eu + t.ev + t.n0 + t.nu + t.nv);
}

// GDAL's hillshade (its default light, from the north-west at 45 degrees) of nx by ny heights with pixels of du by dv metres.
std::vector<unsigned char> hillshade(const std::vector<float>& z, int nx, int ny, double du, double dv) {
    std::vector<unsigned char> out;
    GDALDatasetH src = GDALCreate(GDALGetDriverByName("MEM"), "", nx, ny, 1, GDT_Float32, nullptr);
    if (!src) return out;
    double gt[6] = {0.0, du, 0.0, 0.0, 0.0, -dv};
    GDALSetGeoTransform(src, gt);
    GDALRasterBandH b = GDALGetRasterBand(src, 1);
    if (GDALRasterIO(b, GF_Write, 0, 0, nx, ny, const_cast<float*>(z.data()), nx, ny, GDT_Float32, 0, 0) == CE_None) {
        char** argv = nullptr;
        for (const char* a : {"-of", "MEM", "-z", "3"}) argv = CSLAddString(argv, a);
        GDALDEMProcessingOptions* o = GDALDEMProcessingOptionsNew(argv, nullptr);
        CSLDestroy(argv);
        int usage = 0;
        GDALDatasetH shade = o ? GDALDEMProcessing("", src, "hillshade", nullptr, o, &usage) : nullptr;
        GDALDEMProcessingOptionsFree(o);
        if (shade) {
            out.resize(z.size());
            if (GDALRasterIO(GDALGetRasterBand(shade, 1), GF_Read, 0, 0, nx, ny, out.data(), nx, ny, GDT_Byte, 0, 0) != CE_None) out.clear();
            GDALClose(shade);
        }
    }
    GDALClose(src);
    CPLErrorReset();
    return out;
}

// The hillshade as a shadow over what lies beneath: level ground (the shade GDAL gives a flat
// patch) leaves it as it is, slopes turned from the light darken it, slopes facing the light
// brighten it a little.
void draw_hillshade(cairo_t* cr, Terrain t, const MapFrame& f) {
    // A terrain finer than the picture is averaged over blocks of k by k nodes first.
    // (A spacing of 0 gives an infinite k, held to a size that leaves no block.)
    const double q = std::floor(1.0 / (std::min(std::hypot(t.eu, t.nu), std::hypot(t.ev, t.nv)) * f.scale));
    const int k = q > 1.0 ? static_cast<int>(std::min(q, 1.0e9)) : 1;
    if (k > 1) {
        const int mx = t.nx / k, my = t.ny / k;
        if (mx < 2 || my < 2) return;
        std::vector<float> z(static_cast<std::size_t>(mx) * static_cast<std::size_t>(my));
        for (int v = 0; v < my; ++v) {
            for (int u = 0; u < mx; ++u) {
                double sum = 0.0;
                for (int b = 0; b < k; ++b) {
                    for (int a = 0; a < k; ++a) sum += t.z[static_cast<std::size_t>(v * k + b) * static_cast<std::size_t>(t.nx) + static_cast<std::size_t>(u * k + a)];
                }
                z[static_cast<std::size_t>(v) * static_cast<std::size_t>(mx) + static_cast<std::size_t>(u)] = static_cast<float>(sum / (k * k));
            }
        }
        t.z = std::move(z);
        t.nx = mx;
        t.ny = my;
        t.eu *= k;
        t.nu *= k;
        t.ev *= k;
        t.nv *= k;
    }
    const double du = std::hypot(t.eu, t.nu), dv = std::hypot(t.ev, t.nv);
    const std::vector<unsigned char> s = hillshade(t.z, t.nx, t.ny, du, dv);
    const std::vector<unsigned char> flat = hillshade(std::vector<float>(9, 0.0f), 3, 3, 1.0, 1.0);
    if (s.empty() || flat.size() != 9) return;
    const double level = flat[4];
    cairo_surface_t* img = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, t.nx, t.ny);
    cairo_surface_flush(img);
    unsigned char* data = cairo_image_surface_get_data(img);
    const int stride = cairo_image_surface_get_stride(img);
    for (int v = 0; v < t.ny; ++v) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + static_cast<std::ptrdiff_t>(v) * stride);
        for (int u = 0; u < t.nx; ++u) {
            const double x = s[static_cast<std::size_t>(v) * static_cast<std::size_t>(t.nx) + static_cast<std::size_t>(u)];
            std::uint32_t a = 0, c = 0;   // premultiplied: black or white of alpha a
            if (x > 0 && x < level) a = static_cast<std::uint32_t>(std::lround(255.0 * 0.45 * (level - x) / level));
            if (x > level) c = a = static_cast<std::uint32_t>(std::lround(255.0 * 0.3 * (x - level) / (255.0 - level)));
            row[u] = (a << 24) | (c << 16) | (c << 8) | c;
        }
    }
    cairo_surface_mark_dirty(img);
    cairo_save(cr);
    cairo_matrix_t m;   // image to picture
    cairo_matrix_init(&m, t.eu * f.scale, -t.nu * f.scale, t.ev * f.scale, -t.nv * f.scale, f.px(t.e0), f.py(t.n0));
    cairo_transform(cr, &m);
    cairo_set_source_surface(cr, img, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BILINEAR);
    cairo_paint(cr);
    cairo_restore(cr);
    cairo_surface_destroy(img);
}

// ---- the trajectory and the sites ------------------------------------------------------------

std::vector<TRAJPOINT> load_track(const std::string& file, std::vector<std::string>& warnings) {
    std::vector<TRAJPOINT> traj;
    if (file.empty()) return traj;
    if (!file_exists(file)) {
        warnings.push_back(file + ": the trajectory file does not exist: the map has no ground track (--case-dir names the folder of the case's files)");
        return traj;
    }
    TextFile unit(file);
    std::string_view rec;
    if (unit.next_record(rec) != IoStatus::Ok || !padded_equal(field(rec, 1, 12), "Flight track")) {
        warnings.push_back(file + ":1: expected \"Flight track\" (a trajectory file): the map has no ground track");
        return traj;
    }
    unit.skip_or_fail(15, "the 16 head lines of the trajectory");
    int n = 0;
    while (unit.next_record(rec) == IoStatus::Ok && n <= 1000000) ++n;
    unit.rewind();
    traj.assign(static_cast<std::size_t>(n), TRAJPOINT{});
    float tf = 0.0f, rh = 0.0f;
    READTRAJ(tf, rh, n, traj, 0.0f, 0.0f, unit);
    // A record at easting and northing 0 was not filled (a trailing blank line, a bad line): no
    // UTM zone holds such a point.
    std::erase_if(traj, [](const TRAJPOINT& p) { return (p.x == 0.0f && p.y == 0.0f) || !std::isfinite(p.x) || !std::isfinite(p.y); });
    return traj;
}

std::vector<SITEREC> load_sites(const std::string& file, int zone, std::vector<std::string>& warnings) {
    std::vector<SITEREC> sites;
    if (file.empty()) return sites;
    if (!file_exists(file) || file.size() > 255) {
        warnings.push_back(file + (file.size() > 255 ? ": the site file's name is longer than 255 characters" : ": the site file does not exist (--case-dir names the folder of the case's files)") +
                           ": the map shows no sites");
        return sites;
    }
    Name255 err("none");
    float bx[kMaxBounds], by[kMaxBounds];
    int count = 0, nb = 0;
    READSITES(sites, Name255(file), count, bx, by, nb, zone, err);
    if (!(err == "none")) {
        warnings.push_back(file + ": the site file cannot be read (as the run found: it took the reference point): the map shows no sites");
        count = 0;
    }
    sites.resize(static_cast<std::size_t>(count));
    return sites;
}

// ---- contours ----------------------------------------------------------------------------

// Adds a geometry's rings or lines to the current path, in picture units.
void add_path(cairo_t* cr, OGRGeometryH g, const MapFrame& f, bool rings) {
    const int parts = OGR_G_GetGeometryCount(g);
    const OGRwkbGeometryType type = wkbFlatten(OGR_G_GetGeometryType(g));
    if (parts > 0) {
        for (int k = 0; k < parts; ++k) add_path(cr, OGR_G_GetGeometryRef(g, k), f, rings || type == wkbPolygon || type == wkbMultiPolygon);
        return;
    }
    const int n = OGR_G_GetPointCount(g);
    for (int i = 0; i < n; ++i) {
        const double x = f.px(OGR_G_GetX(g, i)), y = f.py(OGR_G_GetY(g, i));
        if (i == 0) cairo_move_to(cr, x, y);
        else cairo_line_to(cr, x, y);
    }
    if (rings && n > 0) cairo_close_path(cr);
}

// The points of a line geometry in picture units (the first part of a multi-line).
std::vector<std::pair<double, double>> line_points(OGRGeometryH g, const MapFrame& f) {
    std::vector<std::pair<double, double>> p;
    while (OGR_G_GetGeometryCount(g) > 0) g = OGR_G_GetGeometryRef(g, 0);
    const int n = OGR_G_GetPointCount(g);
    for (int i = 0; i < n; ++i) p.emplace_back(f.px(OGR_G_GetX(g, i)), f.py(OGR_G_GetY(g, i)));
    return p;
}

struct MemoryLayers {
    GDALDatasetH ds = nullptr;
    ~MemoryLayers() {
        if (ds) GDALClose(ds);
    }
};

// Runs GDAL's contour generator on `band` at `levels` into a new layer of `ds`: filled bands with
// the fields lo, hi, or lines with the field level.
OGRLayerH contour_layer(GDALDatasetH ds, GDALRasterBandH band, const std::vector<double>& levels, bool filled, const std::string& name) {
    OGRLayerH layer = GDALDatasetCreateLayer(ds, filled ? "bands" : "lines", nullptr, filled ? wkbMultiPolygon : wkbLineString, nullptr);
    if (!layer) gdal_failure(name, "cannot hold the contours");
    for (const char* fld : filled ? std::vector<const char*>{"lo", "hi"} : std::vector<const char*>{"level"}) {
        OGRFieldDefnH fd = OGR_Fld_Create(fld, OFTReal);
        OGR_L_CreateField(layer, fd, TRUE);
        OGR_Fld_Destroy(fd);
    }
    std::string fixed;
    for (double L : levels) fixed += (fixed.empty() ? "" : ",") + num(L);
    int has_nodata = 0;
    const double nodata = GDALGetRasterNoDataValue(band, &has_nodata);
    char** opts = contour_options(fixed, has_nodata ? num(nodata).c_str() : nullptr, filled);
    const CPLErr e = GDALContourGenerateEx(band, layer, opts, nullptr, nullptr);
    CSLDestroy(opts);
    if (e != CE_None) gdal_failure(name, "cannot draw the contours");
    return layer;
}

// ---- labels ----------------------------------------------------------------------------------

// Text turned by `angle` about its centre (x, y), with a halo, when its box is free (or `force`);
// the box is then added to `taken`.
bool place_label(cairo_t* cr, double x, double y, double angle, const std::string& text, const Rgb& colour, const Box& area,
                 std::vector<Box>& taken, bool force = false) {
    const double w = text_width(cr, text) + 4, h = 13;
    const double c = std::fabs(std::cos(angle)), s = std::fabs(std::sin(angle));
    const double bw = w * c + h * s, bh = w * s + h * c;
    const Box box{x - bw / 2, y - bh / 2, x + bw / 2, y + bh / 2};
    if (!force && !box.inside(area)) return false;
    for (const Box& b : taken) {
        if (!force && b.overlaps(box)) return false;
    }
    cairo_save(cr);
    cairo_translate(cr, x, y);
    cairo_rotate(cr, angle);
    draw_text(cr, 0, 0, text, Align::Centre, colour, true, true);
    cairo_restore(cr);
    taken.push_back(box);
    return true;
}

// Labels along a line at every `spacing` units of its length (one in the middle of a shorter one),
// upright.
void label_line(cairo_t* cr, const std::vector<std::pair<double, double>>& p, const std::string& text, double spacing, const Box& area,
                std::vector<Box>& taken) {
    std::vector<double> at(p.size(), 0.0);
    for (std::size_t i = 1; i < p.size(); ++i) at[i] = at[i - 1] + std::hypot(p[i].first - p[i - 1].first, p[i].second - p[i - 1].second);
    const double len = at.empty() ? 0.0 : at.back();
    if (len < 60.0) return;
    const int n = std::max(1, static_cast<int>(len / spacing));
    for (int k = 0; k < n; ++k) {
        const double want = len * (k + 0.5) / n;
        std::size_t i = 1;
        while (i + 1 < p.size() && at[i] < want) ++i;
        const double seg = at[i] - at[i - 1];
        const double r = seg > 0 ? (want - at[i - 1]) / seg : 0.0;
        const double x = p[i - 1].first + r * (p[i].first - p[i - 1].first);
        const double y = p[i - 1].second + r * (p[i].second - p[i - 1].second);
        // The direction over a few units each way, so that a kink does not tilt the text.
        std::size_t a = i - 1, b = i;
        while (a > 0 && want - at[a] < 12.0) --a;
        while (b + 1 < p.size() && at[b] - want < 12.0) ++b;
        double angle = std::atan2(p[b].second - p[a].second, p[b].first - p[a].first);
        if (angle > M_PI / 2) angle -= M_PI;
        if (angle < -M_PI / 2) angle += M_PI;
        place_label(cr, x, y, angle, text, kInk, area, taken);
    }
}

// The marker of a named site, and the dot of a time on the track.
void site_marker(cairo_t* cr, double x, double y) {
    cairo_arc(cr, x, y, 5, 0, 2 * M_PI);
    set_colour(cr, rgb(0xFFFFFF));
    cairo_fill_preserve(cr);
    cairo_set_line_width(cr, 2);
    set_colour(cr, kInk);
    cairo_stroke(cr);
    cairo_arc(cr, x, y, 1.6, 0, 2 * M_PI);
    cairo_fill(cr);
}

void time_dot(cairo_t* cr, double x, double y) {
    cairo_arc(cr, x, y, 3.2, 0, 2 * M_PI);
    set_colour(cr, rgb(0xFFFFFF));
    cairo_fill_preserve(cr);
    set_colour(cr, kTrack);
    cairo_set_line_width(cr, 1.4);
    cairo_stroke(cr);
}

// An arrow head at (x, y) pointing along `angle`.
void arrow_head(cairo_t* cr, double x, double y, double angle, double size) {
    cairo_save(cr);
    cairo_translate(cr, x, y);
    cairo_rotate(cr, angle);
    cairo_move_to(cr, size * 0.6, 0);
    cairo_line_to(cr, -size * 0.6, -size * 0.55);
    cairo_line_to(cr, -size * 0.25, 0);
    cairo_line_to(cr, -size * 0.6, size * 0.55);
    cairo_close_path(cr);
    cairo_restore(cr);
}

// The ground track: a dark line on a white casing, arrow heads along it in the direction of
// travel, and the times of a few points (round times, far enough apart) with their dots.
void draw_track(cairo_t* cr, const std::vector<TRAJPOINT>& traj, const MapFrame& f, const Box& area, std::vector<Box>& taken) {
    if (traj.size() < 2) return;
    const Rgb line = kTrack;
    std::vector<std::pair<double, double>> p;
    for (const TRAJPOINT& t : traj) p.emplace_back(f.px(t.x), f.py(t.y));
    for (const auto& [w, c, a] : {std::tuple{5.5, rgb(0xFFFFFF), 0.85}, std::tuple{2.2, line, 1.0}}) {
        for (std::size_t i = 0; i < p.size(); ++i) (i ? cairo_line_to : cairo_move_to)(cr, p[i].first, p[i].second);
        cairo_set_line_width(cr, w);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        set_colour(cr, c, a);
        cairo_stroke(cr);
    }
    // The line keeps later labels (the contours') off itself.
    for (std::size_t i = 1; i < p.size(); ++i) {
        const double dx = p[i].first - p[i - 1].first, dy = p[i].second - p[i - 1].second;
        const int n = static_cast<int>(std::hypot(dx, dy) / 8.0) + 1;
        for (int k = 0; k <= n; ++k) {
            const double x = p[i - 1].first + dx * k / n, y = p[i - 1].second + dy * k / n;
            if (x > area.x0 - 8 && x < area.x1 + 8 && y > area.y0 - 8 && y < area.y1 + 8) taken.push_back({x - 4, y - 4, x + 4, y + 4});
        }
    }
    const auto inside = [&](double x, double y) { return x > area.x0 + 8 && x < area.x1 - 8 && y > area.y0 + 8 && y < area.y1 - 8; };
    const auto arrow = [&](double x, double y, double angle) {
        arrow_head(cr, x, y, angle, 13);
        set_colour(cr, rgb(0xFFFFFF));
        cairo_set_line_width(cr, 2.5);
        cairo_stroke_preserve(cr);
        set_colour(cr, line);
        cairo_fill(cr);
    };
    // Times: a round step giving marks about 140 units apart along the track inside the map, and
    // arrow heads halfway between them.
    double len = 0.0, t0 = std::numeric_limits<double>::infinity(), t1 = -t0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (!inside(p[i].first, p[i].second)) continue;
        t0 = std::min(t0, static_cast<double>(traj[i].Time));
        t1 = std::max(t1, static_cast<double>(traj[i].Time));
        if (i > 0 && inside(p[i - 1].first, p[i - 1].second)) len += std::hypot(p[i].first - p[i - 1].first, p[i].second - p[i - 1].second);
    }
    if (!(t1 > t0) || len < 100.0) {
        // No round times to mark (times that do not rise, or little of the track on the map):
        // arrow heads every 160 units of its length.
        double run = 80.0;
        for (std::size_t i = 1; i < p.size(); ++i) {
            const double dx = p[i].first - p[i - 1].first, dy = p[i].second - p[i - 1].second, seg = std::hypot(dx, dy);
            double along = 0.0;
            while (seg > 0 && along + run <= seg) {
                along += run;
                run = 160.0;
                const double x = p[i - 1].first + dx * along / seg, y = p[i - 1].second + dy * along / seg;
                if (inside(x, y)) arrow(x, y, std::atan2(dy, dx));
            }
            run -= seg - along;
        }
        return;
    }
    const double step = nice_step(t1 - t0, std::max(1, static_cast<int>(len / 140.0)));
    set_font(cr, 11);
    for (const bool marks : {false, true}) {
        const double offset = marks ? 0.0 : 0.5;
        for (std::size_t i = 1; i < p.size(); ++i) {
            const double ta = traj[i - 1].Time, tb = traj[i].Time;
            if (!(tb > ta)) continue;
            const double ang = std::atan2(p[i].second - p[i - 1].second, p[i].first - p[i - 1].first);
            for (double t = (std::ceil(ta / step - offset) + offset) * step; t < tb || (i + 1 == p.size() && t <= tb); t += step) {
                const double r = (t - ta) / (tb - ta);
                const double x = p[i - 1].first + r * (p[i].first - p[i - 1].first), y = p[i - 1].second + r * (p[i].second - p[i - 1].second);
                if (!inside(x, y)) continue;
                if (!marks) {
                    arrow(x, y, ang);
                    continue;
                }
                time_dot(cr, x, y);
                // The time beside the track, on the other side when that is taken.
                const std::string text = num(t) + " s";
                const double off = 13.0 + 0.5 * text_width(cr, text) * std::fabs(std::sin(ang));
                for (const double side : {-1.0, 1.0}) {
                    const double lx = x + side * off * std::sin(ang), ly = y - side * off * std::cos(ang);
                    if (place_label(cr, lx, ly, 0.0, text, line, area, taken)) break;
                }
            }
        }
    }
}

}  // namespace

std::vector<NoiseClass> noise_classes(double lo, double hi) {
    std::vector<NoiseClass> out;
    if (!(hi >= lo)) return out;
    const double bottom = kScaleBottom + scale_shift(hi);
    // The class of a value: 0 below the bottom level, then one per 5 dB.
    const auto index = [&](double v) { return v < bottom ? 0 : std::min(10, static_cast<int>(std::floor((v - bottom) / 5.0)) + 1); };
    for (int k = index(lo); k <= index(hi); ++k) {
        NoiseClass c;
        c.open_below = k == 0;
        c.hi = bottom + 5.0 * k;
        c.lo = c.hi - 5.0;
        c.colour = kZone[k];
        out.push_back(c);
    }
    return out;
}

std::string metric_unit(const std::string& metric) {
    if (metric == "LFMAX" || metric == "SELF" || metric.rfind("SEL_", 0) == 0) return "dB";
    return "dB(A)";
}

MapFrame draw_noise_map(const std::string& raster, const std::string& metric, const MapCase& c, const std::string& path,
                        const std::string& name, PictureFormat format, std::vector<std::string>& warnings) {
    gdal_start();
    struct Raster {
        GDALDatasetH ds = nullptr;
        ~Raster() {
            if (ds) GDALClose(ds);
        }
    } r;
    const char* const only_tiff[] = {"GTiff", nullptr};
    r.ds = GDALOpenEx(raster.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, only_tiff, nullptr, nullptr);
    if (!r.ds) gdal_failure(name, "cannot read the metrics' GeoTIFF " + raster);
    GDALRasterBandH band = nullptr;
    for (int b = 1; b <= GDALGetRasterCount(r.ds); ++b) {
        if (metric == GDALGetDescription(GDALGetRasterBand(r.ds, b))) band = GDALGetRasterBand(r.ds, b);
    }
    if (!band) throw file_error(name, 0, "the GeoTIFF " + raster + " holds no band " + metric);
    double gt[6];
    GDALGetGeoTransform(r.ds, gt);
    const int nx = GDALGetRasterXSize(r.ds), ny = GDALGetRasterYSize(r.ds);
    int north = 1;
    const OGRSpatialReferenceH srs = GDALGetSpatialRef(r.ds);
    const int zone = srs ? OSRGetUTMZone(srs, &north) : 0;
    double minmax[2] = {0, 0};
    CPLErrorReset();
    const bool any = GDALComputeRasterMinMax(band, FALSE, minmax) == CE_None;
    CPLErrorReset();

    Terrain terrain;
    const bool has_terrain = load_terrain(c.terrain, terrain, warnings);
    const std::vector<TRAJPOINT> track = load_track(c.track, warnings);
    std::vector<SITEREC> sites = load_sites(c.sites, north ? zone : -zone, warnings);

    // The area: the lattice, grown to hold the sites within a third of its size beyond it.
    double e0 = gt[0], e1 = gt[0] + nx * gt[1], n1 = gt[3], n0 = gt[3] + ny * gt[5];
    const double reach = std::max(e1 - e0, n1 - n0) / 3.0;
    const double le = e0 - reach, re = e1 + reach, ln = n0 - reach, rn = n1 + reach;
    int outside = 0;
    for (const SITEREC& s : sites) {
        if (!(s.x >= le && s.x <= re && s.y >= ln && s.y <= rn)) {
            ++outside;
            continue;
        }
        e0 = std::min(e0, static_cast<double>(s.x));
        e1 = std::max(e1, static_cast<double>(s.x));
        n0 = std::min(n0, static_cast<double>(s.y));
        n1 = std::max(n1, static_cast<double>(s.y));
    }
    const double margin = 0.03 * std::max(e1 - e0, n1 - n0);
    e0 -= margin;
    e1 += margin;
    n0 -= margin;
    n1 += margin;

    // The layout: title on top, the map with its coordinates on the left and below, the key and
    // the other margin pieces in a column on the right.
    MapFrame f;
    f.scale = 860.0 / std::max(e1 - e0, n1 - n0);
    f.left = 50;
    f.top = 84;
    f.right = f.left + (e1 - e0) * f.scale;
    f.bottom = f.top + (n1 - n0) * f.scale;
    f.east0 = e0;
    f.north0 = n1;
    const double panel = f.right + 28;
    f.width = static_cast<int>(std::ceil(panel + 250));
    f.height = static_cast<int>(std::ceil(std::max(f.bottom + 40, f.top + 620.0)));
    Picture pic(path, name, format, f.width, f.height);
    cairo_t* cr = pic.cr();
    const Box area{f.left, f.top, f.right, f.bottom};
    std::vector<Box> taken;

    // Classes and their bands.
    const std::vector<NoiseClass> classes = any ? noise_classes(minmax[0], minmax[1]) : std::vector<NoiseClass>{};
    std::vector<double> levels;
    for (const NoiseClass& k : classes) levels.push_back(k.hi);
    cairo_save(cr);
    cairo_rectangle(cr, f.left, f.top, f.right - f.left, f.bottom - f.top);
    cairo_clip(cr);
    MemoryLayers mem;
    OGRLayerH lines = nullptr;
    if (!classes.empty()) {
        mem.ds = GDALCreate(GDALGetDriverByName("Memory"), "", 0, 0, 0, GDT_Unknown, nullptr);
        if (!mem.ds) gdal_failure(name, "cannot hold the contours");
        OGRLayerH bands = contour_layer(mem.ds, band, levels, true, name);
        std::vector<double> inner(levels.begin(), levels.end() - 1);   // the class boundaries
        if (!inner.empty()) lines = contour_layer(mem.ds, band, inner, false, name);
        OGR_L_ResetReading(bands);
        cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
        while (OGRFeatureH ft = OGR_L_GetNextFeature(bands)) {
            const double hi = OGR_F_GetFieldAsDouble(ft, 1);
            const NoiseClass* k = nullptr;
            for (const NoiseClass& cl : classes) {
                if (std::fabs(cl.hi - hi) < 1e-6) k = &cl;
            }
            if (k && OGR_F_GetGeometryRef(ft)) {
                add_path(cr, OGR_F_GetGeometryRef(ft), f, true);
                set_colour(cr, k->colour);
                cairo_fill_preserve(cr);
                cairo_set_line_width(cr, 0.8);   // closes the hairline seams between bands
                cairo_stroke(cr);
            }
            OGR_F_Destroy(ft);
        }
    }
    if (has_terrain) draw_hillshade(cr, std::move(terrain), f);
    std::vector<std::pair<std::vector<std::pair<double, double>>, double>> contour_lines;
    if (lines) {
        OGR_L_ResetReading(lines);
        while (OGRFeatureH ft = OGR_L_GetNextFeature(lines)) {
            if (OGRGeometryH g = OGR_F_GetGeometryRef(ft)) {
                add_path(cr, g, f, false);
                contour_lines.emplace_back(line_points(g, f), OGR_F_GetFieldAsDouble(ft, 0));
            }
            OGR_F_Destroy(ft);
        }
        cairo_set_line_width(cr, 0.9);
        set_colour(cr, rgb(0x303030), 0.8);
        cairo_stroke(cr);
    }

    // Sites first among the labels: their names matter most.
    std::vector<const SITEREC*> shown;
    for (const SITEREC& s : sites) {
        const double x = f.px(s.x), y = f.py(s.y);
        if (x < f.left || x > f.right || y < f.top || y > f.bottom) continue;
        shown.push_back(&s);
        taken.push_back({x - 6, y - 6, x + 6, y + 6});
    }
    draw_track(cr, track, f, area, taken);
    set_font(cr, 12, true);
    for (const SITEREC* s : shown) {
        const double x = f.px(s->x), y = f.py(s->y);
        site_marker(cr, x, y);
        const std::string text = fit_text(cr, s->Name.str(), 220);
        const double w = text_width(cr, text) + 4;
        // Beside the marker, else a little further off; a name that finds no free place is set
        // beside the marker all the same.
        const double spots[8][2] = {{x + 8 + w / 2, y - 9},  {x - 8 - w / 2, y - 9},  {x + 8 + w / 2, y + 11}, {x - 8 - w / 2, y + 11},
                                    {x + 6 + w / 2, y - 16}, {x - 6 - w / 2, y - 16}, {x + 6 + w / 2, y + 18}, {x - 6 - w / 2, y + 18}};
        bool placed = false;
        for (const auto& sp : spots) {
            if ((placed = place_label(cr, sp[0], sp[1], 0.0, text, kInk, area, taken))) break;
        }
        if (!placed) place_label(cr, spots[0][0], spots[0][1], 0.0, text, kInk, area, taken, true);
    }
    set_font(cr, 11);
    for (const auto& [pts, level] : contour_lines) label_line(cr, pts, num(level), 420.0, area, taken);
    cairo_restore(cr);

    // Frame, and UTM coordinates along the bottom and the left.
    cairo_rectangle(cr, f.left, f.top, f.right - f.left, f.bottom - f.top);
    cairo_set_line_width(cr, 1.2);
    set_colour(cr, kInk);
    cairo_stroke(cr);
    const double step = nice_step(std::max(e1 - e0, n1 - n0), 5);
    set_font(cr, 11);
    cairo_set_line_width(cr, 1);
    for (double e = std::ceil(e0 / step) * step; e <= e1; e += step) {
        const double x = f.px(e);
        cairo_move_to(cr, x, f.bottom);
        cairo_line_to(cr, x, f.bottom + 5);
        cairo_stroke(cr);
        draw_text(cr, x, f.bottom + 18, num(e), Align::Centre, kGrey);
    }
    for (double n = std::ceil(n0 / step) * step; n <= n1; n += step) {
        const double y = f.py(n);
        cairo_move_to(cr, f.left - 5, y);
        cairo_line_to(cr, f.left, y);
        cairo_stroke(cr);
        cairo_save(cr);
        cairo_translate(cr, f.left - 9, y);
        cairo_rotate(cr, -M_PI / 2);
        draw_text(cr, 0, 0, num(n), Align::Centre, kGrey);
        cairo_restore(cr);
    }

    // Title.
    set_font(cr, 19, true);
    draw_text(cr, f.left, 32, fit_text(cr, c.title.empty() ? metric + " map" : c.title, f.width - f.left - 16), Align::Left, kInk);
    set_font(cr, 13);
    const std::string what = describe(metric);
    draw_text(cr, f.left, 56,
              fit_text(cr, metric + (what.empty() ? "" : ", " + what) + ", " + metric_unit(metric) + (c.subtitle.empty() ? "" : "  \u00b7  " + c.subtitle),
                       f.width - f.left - 16),
              Align::Left, kGrey);

    // The column on the right: key, symbols, north arrow, scale bar, zone.
    double y = f.top;
    std::vector<KeyEntry> key;
    for (auto k = classes.rbegin(); k != classes.rend(); ++k) {
        key.push_back({k->colour, k->open_below ? "below " + num(k->hi) : num(k->lo) + " \u2013 " + num(k->hi)});
    }
    if (!key.empty()) {
        y += draw_key(cr, panel, y, metric + ", " + metric_unit(metric), key) + 22;
    } else {
        set_font(cr, 12);
        draw_text(cr, panel, y + 12, "No receiver has a value of " + metric + ".", Align::Left, kInk);
        y += 34;
    }
    set_font(cr, 12);
    const auto symbol_row = [&](const std::string& text, auto&& draw) {
        draw(panel + 17, y + 8);
        draw_text(cr, panel + 42, y + 8, text, Align::Left, kInk, true);
        y += 22;
    };
    if (!contour_lines.empty()) {
        symbol_row("class boundary", [&](double x, double yy) {
            cairo_move_to(cr, x - 17, yy);
            cairo_line_to(cr, x + 17, yy);
            cairo_set_line_width(cr, 0.9);
            set_colour(cr, rgb(0x303030));
            cairo_stroke(cr);
        });
    }
    if (track.size() >= 2) {
        symbol_row("ground track", [&](double x, double yy) {
            cairo_move_to(cr, x - 17, yy);
            cairo_line_to(cr, x + 17, yy);
            cairo_set_line_width(cr, 2.2);
            set_colour(cr, kTrack);
            cairo_stroke(cr);
            arrow_head(cr, x + 2, yy, 0.0, 11);
            cairo_fill(cr);
        });
        symbol_row("time of emission, s", [&](double x, double yy) { time_dot(cr, x, yy); });
    }
    if (!shown.empty()) symbol_row("named site", [&](double x, double yy) { site_marker(cr, x, yy); });
    y += 16;
    draw_north_arrow(cr, panel + 17, y + 16, 40);
    set_font(cr, 11);
    draw_text(cr, panel + 42, y + 40, "grid north", Align::Left, kGrey);
    y += 74;
    y += draw_scale_bar(cr, panel, y, 200, f.scale) + 18;
    set_font(cr, 11);
    std::vector<std::string> notes;
    if (zone > 0) notes.push_back("UTM zone " + std::to_string(zone) + (north ? "N" : "S") + ", WGS 84, metres");
    if (has_terrain) notes.push_back("Hillshade of " + base_name(c.terrain));
    if (outside > 0) notes.push_back(std::to_string(outside) + (outside == 1 ? " site lies" : " sites lie") + " beyond the map");
    for (const std::string& n : notes) {
        draw_text(cr, panel, y, n, Align::Left, kGrey);
        y += 16;
    }
    pic.finish();
    return f;
}

}  // namespace tn

// Metric grids through GDAL: a GeoTIFF read back with GDAL has the lattice's georeferencing (pixel
// centres on the lattice positions, north up, the zone's EPSG code) and nodata where no receiver
// or no value stands; the contours of a cone are circles of the radii that the cone's slope gives.
#include <cmath>

#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

#include "io/test_files.h"
#include "results/contours.h"
#include "results/metric_raster.h"

using namespace tn;
using namespace tntest;

namespace {

const std::vector<Column> kBands = {{"LAMAX", ColumnKind::Level}, {"TA65", ColumnKind::Seconds}};

ReceiverHead head_at(int i, int j, float x, float y, int zone) {
    ReceiverHead h;
    char name[16];
    std::snprintf(name, sizeof name, "%04d%04d", i, j);
    h.Name = name;
    h.x = x;
    h.y = y;
    h.Utmzone = zone;
    return h;
}

struct Raster {
    GDALDatasetH ds;
    explicit Raster(const std::string& path) : ds(GDALOpen(path.c_str(), GA_ReadOnly)) {}
    ~Raster() {
        if (ds) GDALClose(ds);
    }
    float at(int band, int col, int row) const {
        float v = 0.0f;
        EXPECT_EQ(GDALRasterIO(GDALGetRasterBand(ds, band), GF_Read, col, row, 1, 1, &v, 1, 1, GDT_Float32, 0, 0), CE_None);
        return v;
    }
};

}  // namespace

TEST(MetricRaster, GeoreferencingNodataAndNorthUp) {
    // Lattice x = 400000 + dx (i - 1), y = 5000000 + dy (j - 1), block columns 3..6, rows 2..4;
    // the receiver (4, 3) is passed over. Expected geotransforms worked out by hand: the left edge
    // is half a spacing west of the westernmost column, the top edge half a spacing north of the
    // northernmost row.
    const struct {
        const char* what;
        int zone, Iifirst, Iilast;
        double dx, dy;
        int epsg;
        double gt[6];
    } cases[] = {
        {"north, rows rising", 33, 3, 6, 250, 125, 32633, {400375, 250, 0, 5000437.5, 0, -125}},
        {"south, rows falling", -33, 3, 6, 250, -125, 32733, {400375, 250, 0, 4999937.5, 0, -125}},
        {"one column: the rows' spacing", 12, 5, 5, 250, 100, 32612, {400950, 100, 0, 5000350, 0, -100}},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        const GridBlock block{10, c.Iifirst, c.Iilast, 8, 2, 4};
        const std::string path = dir / "m.tif";
        {
            MetricRaster r;
            r.create(path, "m.tif", block, kBands);
            for (int i = c.Iifirst; i <= c.Iilast; ++i) {
                for (int j = 2; j <= 4; ++j) {
                    if (i == 4 && j == 3) continue;
                    const ReceiverHead h = head_at(i, j, static_cast<float>(400000 + c.dx * (i - 1)),
                                                   static_cast<float>(5000000 + c.dy * (j - 1)), c.zone);
                    r.put(i, j, h, {10.0 * i + j, j == 4 ? NAN : 1.5}, "m.tig:1");
                }
            }
            r.finish();
        }
        Raster t(path);
        ASSERT_NE(t.ds, nullptr) << c.what;
        double gt[6];
        GDALGetGeoTransform(t.ds, gt);
        for (int k = 0; k < 6; ++k) EXPECT_NEAR(gt[k], c.gt[k], 1e-6) << c.what << " " << k;
        const char* code = OSRGetAuthorityCode(GDALGetSpatialRef(t.ds), nullptr);
        EXPECT_EQ(code ? std::stoi(code) : 0, c.epsg) << c.what;
        EXPECT_STREQ(GDALGetDescription(GDALGetRasterBand(t.ds, 1)), "LAMAX");
        EXPECT_STREQ(GDALGetDescription(GDALGetRasterBand(t.ds, 2)), "TA65");
        for (int i = c.Iifirst; i <= c.Iilast; ++i) {
            for (int j = 2; j <= 4; ++j) {
                const int col = i - c.Iifirst, row = c.dy > 0 ? 4 - j : j - 2;
                const bool passed = i == 4 && j == 3;
                EXPECT_EQ(t.at(1, col, row), passed ? -9999.0f : static_cast<float>(10 * i + j)) << c.what << " " << i << " " << j;
                EXPECT_EQ(t.at(2, col, row), passed || j == 4 ? -9999.0f : 1.5f) << c.what << " " << i << " " << j;
            }
        }
    }
}

TEST(MetricRaster, ReceiversThatCannotBePlaced) {
    ScratchDir dir;
    const GridBlock block{10, 1, 3, 10, 1, 3};
    {
        MetricRaster r;
        r.create(dir / "a.tif", "a.tif", block, kBands);
        r.put(2, 2, head_at(2, 2, 500000, 4000000, 11), {1, 2}, "a.tig:12");
        EXPECT_TRUE(holds(error_of([&] { r.finish(); }), "a.tif: cannot georeference the grid: the file holds receivers of one lattice position only"));
    }
    {
        MetricRaster r;
        r.create(dir / "b.tif", "b.tif", block, kBands);
        r.put(1, 1, head_at(1, 1, 500000, 4000000, 11), {1, 2}, "b.tig:12");
        EXPECT_TRUE(holds(error_of([&] { r.put(1, 2, head_at(1, 2, 500010, 4000100, 11), {1, 2}, "b.tig:25"); }),
                          "b.tig:25: receiver '00010002': the receiver stands at x = 500010.00 m, other receivers of column 1 at x = "
                          "500000.00 m: the receivers do not stand on a lattice"));
    }
}

TEST(Contours, OfAConeAreCirclesOfTheExpectedRadii) {
    // A cone of 100 dB at its centre, falling by 1 dB per 10 m, on a lattice of 81 by 81 positions
    // 10 m apart centred on it: the level L lies on the circle of radius 10 (100 - L) m. The
    // contour generator interpolates linearly along the lattice's edges, where the cone is not
    // linear: a vertex may lie up to d^2 / (8 r) off the circle (0.25 m at r = 50 m).
    ScratchDir dir;
    const double xc = 600400.0, yc = 4500400.0;
    {
        MetricRaster r;
        r.create(dir / "cone.tif", "cone.tif", {81, 1, 81, 81, 1, 81}, {{"SEL", ColumnKind::Level}});
        for (int i = 1; i <= 81; ++i) {
            for (int j = 1; j <= 81; ++j) {
                const double x = 600000.0 + 10.0 * (i - 1), y = 4500000.0 + 10.0 * (j - 1);
                r.put(i, j, head_at(i, j, static_cast<float>(x), static_cast<float>(y), 17), {100.0 - std::hypot(x - xc, y - yc) / 10.0}, "c");
            }
        }
        r.finish();
    }
    ContourOptions o;
    write_contours(dir / "cone.tif", dir / "cone.gpkg", "cone.gpkg", o);
    GDALDatasetH v = GDALOpenEx((dir / "cone.gpkg").c_str(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
    ASSERT_NE(v, nullptr);
    OGRLayerH lines = GDALDatasetGetLayerByName(v, "SEL_lines");
    ASSERT_NE(lines, nullptr);
    int circles = 0;
    OGR_L_ResetReading(lines);
    while (OGRFeatureH f = OGR_L_GetNextFeature(lines)) {
        const double level = OGR_F_GetFieldAsDouble(f, OGR_F_GetFieldIndex(f, "level"));
        OGRGeometryH g = OGR_F_GetGeometryRef(f);
        if (level >= 65.0 && level <= 95.0) {   // the circles inside the lattice
            ++circles;
            const double radius = 10.0 * (100.0 - level);
            const int n = OGR_G_GetPointCount(g);
            EXPECT_GT(n, 8);
            for (int k = 0; k < n; ++k) {
                EXPECT_NEAR(std::hypot(OGR_G_GetX(g, k) - xc, OGR_G_GetY(g, k) - yc), radius, 0.3) << "level " << level;
            }
            EXPECT_EQ(OGR_G_GetX(g, 0), OGR_G_GetX(g, n - 1)) << "closed, level " << level;
        }
        OGR_F_Destroy(f);
    }
    EXPECT_EQ(circles, 7);   // 65, 70, ..., 95
    // The filled band from 80 to 85 dB is the ring between radii 150 and 200 m: pi (200^2 - 150^2).
    OGRLayerH bands = GDALDatasetGetLayerByName(v, "SEL_bands");
    ASSERT_NE(bands, nullptr);
    double area = 0.0;
    OGR_L_ResetReading(bands);
    while (OGRFeatureH f = OGR_L_GetNextFeature(bands)) {
        if (OGR_F_GetFieldAsDouble(f, 0) == 80.0 && OGR_F_GetFieldAsDouble(f, 1) == 85.0) area += OGR_G_Area(OGR_F_GetGeometryRef(f));
        OGR_F_Destroy(f);
    }
    EXPECT_NEAR(area, M_PI * (200.0 * 200.0 - 150.0 * 150.0), 0.01 * M_PI * 17500.0);
    GDALClose(v);
}

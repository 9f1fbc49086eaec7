#include "results/contours.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include <cpl_string.h>
#include <gdal.h>
#include <gdal_alg.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

#include "io/errors.h"
#include "results/gdal_support.h"

namespace tn {

namespace {

// The most levels drawn per metric.
constexpr int kMaxLevels = 2000;

std::string number(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    return buf;
}

// RAII for the two datasets.
struct Datasets {
    GDALDatasetH raster = nullptr;
    GDALDatasetH vector = nullptr;
    ~Datasets() {
        if (vector) GDALClose(vector);
        if (raster) GDALClose(raster);
    }
};

}  // namespace

void write_contours(const std::string& raster, const std::string& path, const std::string& name, const ContourOptions& o) {
    gdal_start();
    Datasets d;
    const char* const only_tiff[] = {"GTiff", nullptr};
    d.raster = GDALOpenEx(raster.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, only_tiff, nullptr, nullptr);
    if (!d.raster) gdal_failure(name, "cannot read back the metrics' GeoTIFF " + raster);
    GDALDriverH drv = GDALGetDriverByName("GPKG");
    if (!drv) gdal_failure(name, "cannot write a GeoPackage: GDAL has no GPKG driver");
    d.vector = GDALCreate(drv, path.c_str(), 0, 0, 0, GDT_Unknown, nullptr);
    if (!d.vector) gdal_failure(name, "cannot create the GeoPackage");
    OGRSpatialReferenceH srs = GDALGetSpatialRef(d.raster);

    const int nbands = GDALGetRasterCount(d.raster);
    for (int b = 1; b <= nbands; ++b) {
        GDALRasterBandH band = GDALGetRasterBand(d.raster, b);
        const std::string metric = GDALGetDescription(band);
        if (!o.metrics.empty()) {
            bool wanted = false;
            for (const std::string& m : o.metrics) wanted = wanted || m == metric;
            if (!wanted) continue;
        }
        int has_nodata = 0;
        const double nodata = GDALGetRasterNoDataValue(band, &has_nodata);
        // The levels: the user's, or every step from one below the smallest value to one above the
        // largest, so that every band between two levels is closed on both sides.
        std::vector<double> levels = o.levels;
        double minmax[2] = {0.0, 0.0};
        CPLErrorReset();
        const bool any = GDALComputeRasterMinMax(band, FALSE, minmax) == CE_None;
        CPLErrorReset();
        if (levels.empty() && any) {
            double lo = std::floor(minmax[0] / o.step);
            if (lo * o.step >= minmax[0]) lo -= 1.0;
            double hi = std::ceil(minmax[1] / o.step);
            if (hi * o.step <= minmax[1]) hi += 1.0;
            if (hi - lo > kMaxLevels) {
                throw file_error(name, 0, "a contour step of " + number(o.step) + " dB gives " + number(hi - lo + 1.0) + " levels over " +
                                              metric + " (" + number(minmax[0]) + " to " + number(minmax[1]) + "): at most " +
                                              std::to_string(kMaxLevels) + " are drawn; choose a larger step");
            }
            for (double k = lo; k <= hi; k += 1.0) levels.push_back(k * o.step);
        }
        std::string fixed;
        for (double L : levels) {
            if (!fixed.empty()) fixed += ',';
            fixed += number(L);
        }

        for (const bool filled : {false, true}) {
            const std::string layer_name = metric + (filled ? "_bands" : "_lines");
            OGRLayerH layer = GDALDatasetCreateLayer(d.vector, layer_name.c_str(), srs,
                                                     filled ? wkbMultiPolygon : wkbLineString, nullptr);
            if (!layer) gdal_failure(name, "cannot create the layer " + layer_name);
            const std::vector<const char*> fields = filled ? std::vector<const char*>{"level_min", "level_max"}
                                                           : std::vector<const char*>{"level"};
            for (const char* f : fields) {
                OGRFieldDefnH fd = OGR_Fld_Create(f, OFTReal);
                const OGRErr err = OGR_L_CreateField(layer, fd, TRUE);
                OGR_Fld_Destroy(fd);
                if (err != OGRERR_NONE) gdal_failure(name, "cannot create the field " + std::string(f) + " of " + layer_name);
            }
            if (!any || levels.empty()) continue;   // no value at all: empty layers
            char** opts = contour_options(fixed, has_nodata ? number(nodata).c_str() : nullptr, filled);
            if (GDALDatasetStartTransaction(d.vector, FALSE) != OGRERR_NONE) gdal_failure(name, "cannot write the GeoPackage");
            const CPLErr e = GDALContourGenerateEx(band, layer, opts, nullptr, nullptr);
            CSLDestroy(opts);
            if (e != CE_None) gdal_failure(name, "cannot draw the contours of " + metric);
            // A band's upper level comes right from GDAL; its lower level is the level before it
            // (GDAL 3.6 writes 0 below the lowest level it crosses), and a band beyond the
            // outermost level has that side open: the field is left empty.
            if (filled) {
                OGR_L_ResetReading(layer);
                while (OGRFeatureH f = OGR_L_GetNextFeature(layer)) {
                    const double hi = OGR_F_GetFieldAsDouble(f, 1);
                    std::size_t k = 0;
                    while (k < levels.size() && std::fabs(levels[k] - hi) > 1e-9 * std::fmax(1.0, std::fabs(hi))) ++k;
                    if (k == levels.size()) OGR_F_SetFieldNull(f, 1);   // above the highest level
                    else if (k == 0) OGR_F_SetFieldNull(f, 0);          // below the lowest
                    else OGR_F_SetFieldDouble(f, 0, levels[k - 1]);
                    const OGRErr err = OGR_L_SetFeature(layer, f);
                    OGR_F_Destroy(f);
                    if (err != OGRERR_NONE) gdal_failure(name, "cannot write the GeoPackage");
                }
            }
            if (GDALDatasetCommitTransaction(d.vector) != OGRERR_NONE) gdal_failure(name, "cannot write the GeoPackage");
        }
    }
    CPLErrorReset();
    GDALClose(d.vector);
    d.vector = nullptr;
    if (CPLGetLastErrorType() >= CE_Failure) gdal_failure(name, "cannot write the GeoPackage");
}

}  // namespace tn

#include "results/metric_raster.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include <cpl_string.h>
#include <gdal.h>
#include <ogr_srs_api.h>

#include "io/errors.h"
#include "results/gdal_support.h"

namespace tn {

namespace {

const char* unit_of(ColumnKind k) {
    switch (k) {
        case ColumnKind::Level: return "dB";
        case ColumnKind::Seconds: return "s";
        case ColumnKind::Percent: return "%";
        case ColumnKind::Count: return "";
    }
    return "";
}

}  // namespace

MetricRaster::~MetricRaster() { close_dataset(); }

void MetricRaster::close_dataset() {
    if (ds_) GDALClose(static_cast<GDALDatasetH>(ds_));
    ds_ = nullptr;
}

void MetricRaster::create(const std::string& path, const std::string& name, const GridBlock& block,
                          const std::vector<Column>& bands) {
    gdal_start();
    close_dataset();
    name_ = name;
    block_ = block;
    nbands_ = static_cast<int>(bands.size());
    zone_ = 0;
    any_ = false;
    waiting_.clear();
    fit_.start(block);
    const int ncols = block.Iilast - block.Iifirst + 1, nrows = block.Jjlast - block.Jjfirst + 1;
    if (ncols < 1 || nrows < 1) {
        throw file_error(name, 0, "the grid's block (columns " + std::to_string(block.Iifirst) + " to " + std::to_string(block.Iilast) +
                                      ", rows " + std::to_string(block.Jjfirst) + " to " + std::to_string(block.Jjlast) +
                                      ") holds no lattice position: no raster to write");
    }
    GDALDriverH drv = GDALGetDriverByName("GTiff");
    if (!drv) gdal_failure(name, "cannot write a GeoTIFF: GDAL has no GTiff driver");
    char** opts = nullptr;
    opts = CSLSetNameValue(opts, "TILED", "YES");
    opts = CSLSetNameValue(opts, "BLOCKXSIZE", "256");
    opts = CSLSetNameValue(opts, "BLOCKYSIZE", "256");
    opts = CSLSetNameValue(opts, "COMPRESS", "DEFLATE");
    opts = CSLSetNameValue(opts, "PREDICTOR", "3");
    opts = CSLSetNameValue(opts, "INTERLEAVE", "BAND");
    opts = CSLSetNameValue(opts, "BIGTIFF", "IF_SAFER");
    ds_ = GDALCreate(drv, path.c_str(), ncols, nrows, nbands_, GDT_Float32, opts);
    CSLDestroy(opts);
    if (!ds_) gdal_failure(name, "cannot create the GeoTIFF");
    for (int b = 0; b < nbands_; ++b) {
        GDALRasterBandH band = GDALGetRasterBand(static_cast<GDALDatasetH>(ds_), b + 1);
        GDALSetDescription(band, bands[static_cast<std::size_t>(b)].name.c_str());
        GDALSetRasterUnitType(band, unit_of(bands[static_cast<std::size_t>(b)].kind));
        if (GDALSetRasterNoDataValue(band, kRasterNodata) != CE_None) gdal_failure(name, "cannot set the nodata value");
    }
    pixel_.assign(static_cast<std::size_t>(nbands_), 0.0f);
}

void MetricRaster::write_pixel(int i, int j, const std::vector<double>& values) {
    const int col = fit_.x_direction() >= 0 ? i - block_.Iifirst : block_.Iilast - i;
    const int row = fit_.y_direction() >= 0 ? block_.Jjlast - j : j - block_.Jjfirst;   // north up
    for (int b = 0; b < nbands_; ++b) {
        const double v = values[static_cast<std::size_t>(b)];
        const bool fits = std::isfinite(v) && std::fabs(v) <= std::numeric_limits<float>::max();
        pixel_[static_cast<std::size_t>(b)] = fits ? static_cast<float>(v) : static_cast<float>(kRasterNodata);
    }
    const int sz = static_cast<int>(sizeof(float));
    if (GDALDatasetRasterIO(static_cast<GDALDatasetH>(ds_), GF_Write, col, row, 1, 1, pixel_.data(), 1, 1, GDT_Float32, nbands_,
                            nullptr, sz * nbands_, sz * nbands_, sz) != CE_None) {
        gdal_failure(name_, "cannot write the GeoTIFF");
    }
}

void MetricRaster::put(int i, int j, const ReceiverHead& head, const std::vector<double>& values, const std::string& where) {
    if (i < block_.Iifirst || i > block_.Iilast || j < block_.Jjfirst || j > block_.Jjlast) {
        throw RunError(where + ": receiver '" + head.Name.str() + "' lies outside the grid's block");
    }
    if (!any_) zone_ = head.Utmzone;
    any_ = true;
    const std::string wrong = fit_.add(i, j, head.x, head.y);
    if (!wrong.empty()) throw RunError(where + ": receiver '" + head.Name.str() + "': " + wrong);
    if (fit_.x_direction() == 0 || fit_.y_direction() == 0) {
        waiting_.push_back({i, j, values});
        return;
    }
    if (!waiting_.empty()) {
        for (const Waiting& w : waiting_) write_pixel(w.i, w.j, w.values);
        waiting_.clear();
        waiting_.shrink_to_fit();
    }
    write_pixel(i, j, values);
}

void MetricRaster::finish() {
    const std::string wrong = fit_.place(place_);
    if (!wrong.empty()) throw file_error(name_, 0, "cannot georeference the grid: " + wrong);
    for (const Waiting& w : waiting_) write_pixel(w.i, w.j, w.values);
    waiting_.clear();
    const int az = std::abs(zone_);
    if (az < 1 || az > 60) {
        throw file_error(name_, 0, "cannot georeference the grid: its UTM zone " + std::to_string(zone_) +
                                       " is not a zone of 1 to 60 (-1 to -60 in the south)");
    }
    // The pixel centres: column 0 holds the lattice's westernmost column, row 0 its northernmost row.
    const double x0 = fit_.x_direction() >= 0 ? place_.x_first : place_.x_first + place_.dx * (block_.Iilast - block_.Iifirst);
    const double y0 = fit_.y_direction() >= 0 ? place_.y_first + place_.dy * (block_.Jjlast - block_.Jjfirst) : place_.y_first;
    const double ax = std::fabs(place_.dx), ay = std::fabs(place_.dy);
    double gt[6] = {x0 - ax / 2.0, ax, 0.0, y0 + ay / 2.0, 0.0, -ay};
    GDALDatasetH ds = static_cast<GDALDatasetH>(ds_);
    if (GDALSetGeoTransform(ds, gt) != CE_None) gdal_failure(name_, "cannot write the GeoTIFF's georeferencing");
    OGRSpatialReferenceH srs = OSRNewSpatialReference(nullptr);
    const int epsg = (zone_ > 0 ? 32600 : 32700) + az;
    if (OSRImportFromEPSG(srs, epsg) != OGRERR_NONE) {
        OSRDestroySpatialReference(srs);
        gdal_failure(name_, "cannot make the coordinate system EPSG:" + std::to_string(epsg));
    }
    const CPLErr e = GDALSetSpatialRef(ds, srs);
    OSRDestroySpatialReference(srs);
    if (e != CE_None) gdal_failure(name_, "cannot write the GeoTIFF's coordinate system");
    // GDAL 3.6's close reports nothing: a failed write shows as an error raised meanwhile.
    CPLErrorReset();
    GDALFlushCache(ds);
    GDALClose(ds);
    ds_ = nullptr;
    if (CPLGetLastErrorType() >= CE_Failure) gdal_failure(name_, "cannot write the GeoTIFF");
}

}  // namespace tn

// Metrics of a grid run as a GeoTIFF: one Float32 band per metric, described by the metric's name,
// in the run's UTM zone (EPSG:326zz north, 327zz south), with a pixel centred on each lattice
// position of the run's block, north up, and -9999 as nodata for every position without a value
// (a receiver passed over, or never in range, or a metric with no value).
//
// Pixels are written as receivers arrive, through GDAL's block cache: the file is tiled (256 by
// 256, deflate with the floating-point predictor), so that the few tiles of one column of the
// lattice are all that is held. Until the directions of the lattice's axes are known (the second
// column and the second row met) receivers wait in memory, at most about one column of them. The
// placement (LatticeFit) and the georeferencing are written at the end.
#pragma once

#include <string>
#include <vector>

#include "results/history.h"
#include "results/lattice_fit.h"
#include "results/metrics.h"
#include "results/writer.h"

namespace tn {

inline constexpr double kRasterNodata = -9999.0;

class MetricRaster {
public:
    MetricRaster() = default;
    ~MetricRaster();
    MetricRaster(const MetricRaster&) = delete;
    MetricRaster& operator=(const MetricRaster&) = delete;

    // Creates the file at `path` (the partial name of the staged result `name`, which messages
    // use) for the block's lattice, one band per column.
    void create(const std::string& path, const std::string& name, const GridBlock& block, const std::vector<Column>& bands);
    // One receiver: its lattice position (i, j) and head (position and zone), and its values in
    // the order of the bands (NaN: nodata). `where` locates the receiver for messages.
    void put(int i, int j, const ReceiverHead& head, const std::vector<double>& values, const std::string& where);
    // Places the lattice, writes the georeferencing and closes the file. Stops when the lattice
    // cannot be placed (no receiver, or only one) or the zone is not a UTM zone.
    void finish();
    // The placement written (after finish).
    const LatticePlacement& placement() const { return place_; }

private:
    struct Waiting {
        int i, j;
        std::vector<double> values;
    };
    void write_pixel(int i, int j, const std::vector<double>& values);
    void close_dataset();

    void* ds_ = nullptr;   // GDALDatasetH
    std::string name_;
    GridBlock block_;
    int nbands_ = 0;
    int zone_ = 0;
    bool any_ = false;
    LatticeFit fit_;
    LatticePlacement place_;
    std::vector<Waiting> waiting_;
    std::vector<float> pixel_;
};

}  // namespace tn

// Contours of metric rasters as a GeoPackage, drawn by GDAL's contour generator.
//
// For each chosen band of a GeoTIFF written by MetricRaster, two layers: "<METRIC>_lines", the
// contour lines with the field "level", and "<METRIC>_bands", the filled bands between successive
// levels with the fields "level_min" and "level_max". The levels are the multiples of `step` from
// the one below the band's smallest value to the one above its largest (so every filled band lies
// between two levels), or the user's list (then the band below its lowest level has no
// "level_min", the band above its highest no "level_max"). At most 2000 levels per metric. Nodata
// pixels are left out: no line crosses them and no band covers them. The contour generator takes a
// value to stand at its pixel's centre, that is on the lattice position. Layers carry the raster's
// coordinate system. A band without any value gives two empty layers.
#pragma once

#include <string>
#include <vector>

namespace tn {

struct ContourOptions {
    double step = 5.0;              // interval of the levels, dB, when `levels` is empty
    std::vector<double> levels;     // the levels themselves, rising
    std::vector<std::string> metrics;   // band descriptions to contour; empty: every band given
};

// Draws the contours of the bands of `raster` (a GeoTIFF, read from its partial name) whose
// descriptions are in o.metrics into a new GeoPackage at `path` (the partial name of the staged
// result `name`, which messages use).
void write_contours(const std::string& raster, const std::string& path, const std::string& name, const ContourOptions& o);

}  // namespace tn

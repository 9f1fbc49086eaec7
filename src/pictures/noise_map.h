// The map of one grid metric: filled 5 dB classes of the metric with labelled contour lines, the
// terrain beneath as a hillshade, the ground track of the trajectory with arrows and times, the
// named sites, a colour key, a scale bar, a north arrow and the UTM zone.
//
// The map is drawn in the UTM plane of the metric's GeoTIFF, east to the right and grid north up.
// Its area is the grid's lattice (half a spacing beyond the outer positions) and the named sites,
// with a margin. Class bands and contour lines come from GDAL's contour generator run on the
// GeoTIFF: the levels stand at the lattice positions, the bands cover the lattice's cells (half a
// spacing beyond the outer positions), and the cells of positions without a value (nodata) are
// left white.
//
// Classes: 5 dB wide, coloured in the customary order of noise zones of ISO 1996-2:1987 (as in
// DIN 18005-2): light green, green, dark green, yellow, ochre, orange, cinnabar, carmine, lilac
// red, blue, dark blue, for below 35 dB, 35 to 40, ..., 80 to 85 dB. The sRGB values are this
// program's own reading of those colour names. Where the metric's largest value reaches 85 dB or
// more, the whole scale moves up by 5 dB steps until its top class holds that value (single
// events are louder than day averages), so the lowest class is always "below" its upper level. A
// level on a class boundary belongs to the class above it.
#pragma once

#include <string>
#include <vector>

#include "pictures/drawing.h"

namespace tn {

struct NoiseClass {
    double lo = 0.0;      // dB; the lowest class has no lower level (open below)
    double hi = 0.0;      // dB
    bool open_below = false;
    Rgb colour;
};

// The classes of the scale for values from `lo` to `hi` dB, the lowest that holds `lo` (or the
// open class) to the one that holds `hi`, rising.
std::vector<NoiseClass> noise_classes(double lo, double hi);

// The unit of a level metric: "dB" for the flat and band metrics (LFMAX, SELF, SEL_<f>), "dB(A)"
// for the others.
std::string metric_unit(const std::string& metric);

// What the map shows beside the metric. File names are as they can be opened; an empty name
// leaves its layer out.
struct MapCase {
    std::string title;     // the case's info name (line 9 of its control file)
    std::string subtitle;  // where the metric comes from
    std::string terrain;   // a tagged binary grid, or a raster when the name holds ".flt"
    std::string sites;     // a receiver file: ".sit" in the name, or a list
    std::string track;     // a trajectory file
};

// Where the map stands in the picture: the map area and its scale, to find a position in it.
struct MapFrame {
    int width = 0, height = 0;           // the picture
    double left = 0, top = 0, right = 0, bottom = 0;   // the map area, picture units
    double east0 = 0, north0 = 0;        // the UTM position of the area's top left corner, metres
    double scale = 1;                    // picture units per metre
    double px(double east) const { return left + (east - east0) * scale; }
    double py(double north) const { return top + (north0 - north) * scale; }
};

// Draws the map of the band described as `metric` in the GeoTIFF `raster` (as MetricRaster writes
// it) into `path`, a PNG or an SVG by `format`; `name` is the picture's name for messages. A layer
// whose file is missing is left out with a line in `warnings`; a file that is there and broken
// stops with its reader's message. Returns the frame drawn.
MapFrame draw_noise_map(const std::string& raster, const std::string& metric, const MapCase& c, const std::string& path,
                        const std::string& name, PictureFormat format, std::vector<std::string>& warnings);

}  // namespace tn

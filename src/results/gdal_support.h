// What the GIS writers share of the GDAL library: its set-up and its errors as our stops.
#pragma once

#include <string>

namespace tn {

// Registers GDAL's drivers and routes its messages: errors are kept for the stop that follows,
// warnings go to standard error behind `program`, and the GeoPackage driver's note on a file
// name that does not end in ".gpkg" (every result is written under a partial name first) is
// dropped. Safe to call more than once.
void gdal_start(const char* program = "tracknoise-metrics");

// The options of GDAL's contour generator for levels written as "L1,L2,...": filled bands (the
// fields 0 and 1 take each band's lower and upper level) or lines (field 0 takes the level), and
// the no-data value when `nodata` is not null. The caller frees them with CSLDestroy.
char** contour_options(const std::string& fixed_levels, const char* nodata, bool filled);

// The stop after a GDAL call failed: "NAME: what: GDAL's message".
[[noreturn]] void gdal_failure(const std::string& name, const std::string& what);

}  // namespace tn

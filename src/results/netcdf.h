// Time histories as a netCDF-4 file after the CF-1.8 conventions (".nc", the run option "CDF"), for
// programs that read netCDF directly: xarray, the netCDF tools, GDAL, QGIS.
//
// Layout (N = trajectory points, B = the run's bands, grid block of ny rows by nx columns, S sites):
//   dimensions   point (N), band (B); a grid adds y (ny) and x (nx), a site run adds site (S)
//   coordinates  grid:  x(x), y(y)            UTM metres, projection_x/y_coordinate, the lattice's
//                                             own floats (Iifirst..Iilast, Jjfirst..Jjlast)
//                       lat(y, x), lon(y, x)  degrees, from the conversion of the section headers
//                sites: site_name(site)       string, cf_role timeseries_id
//                       x(site), y(site)      UTM metres; height(site), metres above the ground
//                       lat(site), lon(site)  degrees
//                point_number(point)          1..N, SP# of the text files (GDAL names a raster's
//                                             extra dimensions by one 1-D variable along each)
//                frequency(band)              Hz, the run's band frequencies
//                band_number(band)            the band's number on the text files' rulers (10..41)
//   crs          int scalar: transverse_mercator on WGS 84 with the zone's parameters and crs_wkt
//                (EPSG:326zz north, 327zz south); every data variable and x, y name it
//   data         time          arrival time in s, the run's time offset (attribute time_offset)
//                              included; an auxiliary coordinate of the four below
//                level_flat    flat level, dB
//                level_a       A-weighted level, dB
//                level         band levels, dB
//                detectability detectability over the ambient, dB (whole dB)
//                grid:  (point, y, x), level (point, band, y, x): GDAL reads points (and bands) as
//                       the bands of a raster
//                sites: (site, point), level (site, point, band)
// Levels are float32 equal to the text files' integer tenths divided by 10 (the float nearest the
// decimal value); where those read -999 (a band not computed, a point beyond the distance limit, a
// level whose tenths truncate to -999 or less) the value is the _FillValue, NaN; so is the detectability where it reads -999. A receiver passed
// over (out of range of the whole trajectory, or not above the ground) holds NaN in every data
// variable and keeps its place and coordinates. Global attributes: Conventions, title, source (the
// program and version), history (the run's date), comment, the input names (terrain_file,
// ground_file, site_file, info, ambient_file, trajectory_file, source_file), utm_zone, for a grid
// lattice_columns and lattice_rows (first, last, count), and featureType "timeSeries" for sites.
//
// Chunks and memory. Receivers arrive one at a time in receiver order: a grid column by column (x
// outer, y inner), sites one after the other. A chunk holds up to 128 points of up to 64 receivers
// that arrive one after another (rows of one lattice column, or consecutive sites) and one band:
//   grid  (points, rows, 1) and (points, 1, rows, 1) for level
//   sites (rows, points) and (rows, points, 1) for level
// A chunk is thus complete once its receivers have arrived: the writer fills one stripe of `rows`
// receivers (all points, all variables) and hands it to a thread of its own, which writes it as
// whole chunks (shuffled and deflated) while the next stripe fills. Nothing waits for a later
// column, HDF5's chunk cache holds nothing, and memory (two stripes, each within 32 MB: a very long
// trajectory takes fewer rows, one at the least) depends on N and B, never on the size of the
// lattice. Both common reads stay small: one receiver's history reads N / points chunks of
// rows x points values, one point's map nx x ny / rows chunks. Counts that do not divide evenly
// are spread over equal chunks (100 rows: two stripes of 50).
//
// Failures: the file is created as NAME.partial (see io/staged_file.h) and renamed over NAME only
// after the library has closed it complete; a run that fails, or is interrupted, removes the
// partial file and leaves an earlier NAME as it was. HDF5 locks the file it writes (flock on
// NAME.partial), which is a different file from the run's lock on NAME.lock.
//
// The bytes of the file depend on nothing but the run: no object times are stored, and the date is
// the run's (SOURCE_DATE_EPOCH when set), so that reruns and every thread count give identical files.
#pragma once

namespace tn {

// Receivers per stripe and points per chunk for `receivers` receivers in a stripe's direction (a
// lattice column's rows, or the sites), N points and B bands.
struct NcChunking {
    int rows = 1;
    int points = 1;
};
NcChunking netcdf_chunking(long receivers, int Npts, int Nband);

}  // namespace tn

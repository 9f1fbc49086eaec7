// The system's one door to map projections: geographic and Albers equal-area conic positions to
// UTM and back, all on the WGS 84 ellipsoid (a = 6378137 m, 1/f = 298.257223563), and the plain
// arithmetic between UTM and a user's local grid.
//
// The map projections are PROJ's: its `utm` (the extended transverse Mercator of Poder and
// Engsager) and `aea` (the ellipsoidal Albers of Snyder, Map Projections: A Working Manual, 1987,
// inverse by iteration). Against GeographicLib's GeoConvert and ConicProj they agree within
// 0.05 mm, up to 3.5 degrees from a zone's central meridian (tests/path/coordinates_test.cpp).
//
// UTM zones. Zone N (1 .. 60) has its central meridian at 6 N - 183 degrees, scale 0.9996 and false
// easting 500 000 m. A positive zone is the northern hemisphere (false northing 0, so a point south
// of the equator has a negative northing); a negative zone -N is the southern hemisphere of zone N
// (false northing 10 000 000 m), in every routine. A zone of 0 given to LLTOUTM or ALBTOUTM is chosen
// from the position: integer part of ((longitude + 180) / 6) + 1, negative south of the equator.
//
// A conversion that fails (a zone outside -60 .. 60, 0 for UTMTOLL, a position the projection
// cannot take) gives HUGE_VAL in both outputs; there is no status. The projections are set up once
// per zone or parameter set and per thread, and reused: the routines may be called from several
// threads at once.
#pragma once

#include <string>

#include "geo/grid.h"

namespace tn {

// Geographic degrees (longitude, latitude) to UTM metres (x, y). zone is in and out: 0 is replaced
// by the zone chosen from this position, which the caller keeps for the rest of the case.
void LLTOUTM(double lon, double lat, double& x, double& y, int& zone);

// UTM metres in `zone` to geographic degrees. x and y are floats widened to double.
void UTMTOLL(int zone, float x, float y, double& lon, double& lat);

// Albers equal-area conic metres (false easting and northing 0) to UTM metres in `zone` (in only:
// 0 chooses the zone from the position for this call and is not handed back). The four angles come
// packed as DDDMMMSSS.SS (degrees * 1000000 + minutes * 1000 + seconds; a negative angle carries its
// sign on all three parts): first and second standard parallels, central meridian, latitude of
// origin.
void ALBTOUTM(double x, double y, double parallel1, double parallel2, double meridian,
              double origin_lat, int zone, double& xout, double& yout);

// UTM metres to the user's local grid, single precision: rotate by ref.Rotate (radians) about
// (Xuser, Yuser), scale by 3.2808 feet per metre when Userunit is 1 (metres for any other value),
// and add (Xr, Yr).
void UTMTOUSER(const GRIDREF& ref, float x, float y, float& X, float& Y);

// The inverse form of UTMTOUSER, single precision. Deliberate: both differences take Xr, so it is
// the inverse only where Xr equals Yr.
void USERTOUTM(const GRIDREF& ref, float X, float Y, float& x, float& y);

// The coordinate reference system of a UTM zone on WGS 84, as OGC WKT 1 in the form GDAL writes
// into CF files, with its EPSG code (326zz north, 327zz south: "WGS 84 / UTM zone 33N" is 32633),
// from PROJ's database. Empty for a zone outside 1 .. 60 and -1 .. -60, or when the database cannot
// give it.
std::string utm_crs_wkt(int zone);

}  // namespace tn

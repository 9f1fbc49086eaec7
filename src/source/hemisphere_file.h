// Reading a hemisphere file: netCDF, with
//   dimensions  frequency, azimuth, polar (each at least 1 long);
//   variables   frequency(frequency)             Hz, > 0, strictly ascending
//               azimuth(azimuth)                 degrees, strictly ascending, within -360 .. 360,
//                                                last - first <= 360
//               polar(polar)                     degrees, strictly ascending, within 0 .. 180
//               level(azimuth, polar, frequency) dB at the reference distance
//   attribute   reference_distance (global)      metres, > 0, one number
// Any numeric netCDF type is taken and converted to float. Other variables, attributes and units
// are ignored. A value equal to the variable's fill value (its _FillValue, or netCDF's default for
// the type) is missing and refused, as is a NaN or infinite one: a CDL data section that is short
// of numbers is caught this way instead of giving fill values as levels. The header of a classic
// file (CDF-1, -2, -5) is checked before the library reads it: counts and names that its bytes cannot
// hold, unknown types or dimension ids, and data reaching beyond the end of the file are refused.
#pragma once

#include <string>

#include "source/hemisphere.h"

namespace tn {

// Reads the file at `path` into rec, replacing all of it, or throws a RunError
// ("PATH: what is wrong") and leaves rec as it was. The netCDF library is not thread-safe: the
// reads of all threads go through one lock.
void READHEMI(const std::string& path, HEMIREC& rec);

}  // namespace tn

// A classic netCDF file's header checked before the netCDF library opens the file.
//
// The library sizes its tables by the header's counts on trust, and some of its failure paths then
// end the process (a file of 293 bytes that claims a thousand million dimensions is answered with a
// crash); and it reads the data of a file cut short as zeros. Every reader of netCDF input asks
// this first and stops on a problem.
#pragma once

#include <string>

namespace tn {

// What is wrong with the header of the classic netCDF file at `path` (CDF-1; CDF-2 with 64-bit
// offsets; CDF-5 with 64-bit counts): a count, name or attribute value beyond the file's bytes, an
// unknown type or dimension id, the data of a variable beyond the file's end. Empty when the header
// is sound, or when the file is not of the classic form (an HDF5-based netCDF-4 file, or no netCDF
// at all, is left to the library).
std::string classic_netcdf_problem(const std::string& path);

}  // namespace tn

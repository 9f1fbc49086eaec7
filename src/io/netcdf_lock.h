// One lock for the netCDF library.
//
// The netCDF C library (and the HDF5 library beneath it, as Debian builds it) keeps global tables
// and is not thread-safe. Every subsystem that calls it (the hemisphere reader, the NetCDF result
// writer) holds this lock around its calls, so that a hemisphere loaded by a worker thread and a
// result written by the writer's own thread never meet inside the library.
#pragma once

#include <mutex>

namespace tn {

std::mutex& netcdf_mutex();

}  // namespace tn

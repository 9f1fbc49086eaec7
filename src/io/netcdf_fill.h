// The fill value of a netCDF variable, as the readers of netCDF input take it.
#pragma once

#include <netcdf.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace tn {

// The value that marks a missing value of a numeric variable (its _FillValue, or the library's
// default), converted once from the variable's own type to R; NaN when the variable is not numeric
// or the library cannot say. The caller holds the netCDF lock.
template <typename R>
R netcdf_fill_value(int ncid, int varid) {
    nc_type type = NC_NAT;
    if (nc_inq_vartype(ncid, varid, &type) != NC_NOERR) return NAN;
    if (!(type >= NC_BYTE && type <= NC_UINT64 && type != NC_CHAR)) return NAN;
    alignas(8) unsigned char raw[8] = {};
    int no_fill = 0;
    if (nc_inq_var_fill(ncid, varid, &no_fill, raw) != NC_NOERR) return NAN;
    auto as = [&raw]<typename T>(T v) {
        std::memcpy(&v, raw, sizeof v);
        return static_cast<R>(v);
    };
    switch (type) {
        case NC_BYTE: return as(std::int8_t{});
        case NC_UBYTE: return as(std::uint8_t{});
        case NC_SHORT: return as(std::int16_t{});
        case NC_USHORT: return as(std::uint16_t{});
        case NC_INT: return as(std::int32_t{});
        case NC_UINT: return as(std::uint32_t{});
        case NC_INT64: return as(std::int64_t{});
        case NC_UINT64: return as(std::uint64_t{});
        case NC_FLOAT: return as(float{});
        case NC_DOUBLE: return as(double{});
        default: return NAN;
    }
}

}  // namespace tn

#include "source/hemisphere_file.h"

#include <netcdf.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>
#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"
#include "io/netcdf_fill.h"
#include "io/netcdf_header.h"
#include "io/netcdf_lock.h"

namespace tn {

namespace {

// More values than this in `level` are refused rather than allocated (512 MB of floats).
constexpr std::size_t kMaxLevels = std::size_t{1} << 27;

// Tolerance of the whole-turn test, degrees: azimuths written with a few decimals still wrap.
constexpr double kTurnTolerance = 1e-3;

std::string number(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

// One open netCDF file, closed on every way out; every failure names the file.
class NcReader {
public:
    explicit NcReader(const std::string& path) : path_(path) {
        if (!file_exists(path)) fail("hemisphere file not found");
        // A device or a named pipe is refused before anything reads it (a folder is the library's).
        if (!std::filesystem::is_directory(path)) ::close(open_input_file(path));
        if (const std::string bad = classic_netcdf_problem(path); !bad.empty())
            fail("not a readable netCDF file (" + bad + ")");
        const int status = nc_open(path.c_str(), NC_NOWRITE, &id_);
        if (status != NC_NOERR) {
            id_ = -1;
            fail(std::string("not a readable netCDF file (") + nc_strerror(status) + ")");
        }
    }
    ~NcReader() { if (id_ >= 0) nc_close(id_); }
    NcReader(const NcReader&) = delete;
    NcReader& operator=(const NcReader&) = delete;

    [[noreturn]] void fail(const std::string& what) const { throw file_error(path_, 0, what); }

    // Length of a dimension, which must exist and not be empty.
    std::size_t dimension(const char* name) const {
        int dimid = -1;
        std::size_t len = 0;
        if (nc_inq_dimid(id_, name, &dimid) != NC_NOERR)
            fail(std::string("no dimension '") + name + "' (a hemisphere needs frequency, azimuth and polar)");
        if (nc_inq_dimlen(id_, dimid, &len) != NC_NOERR || len == 0)
            fail(std::string("dimension '") + name + "' is empty");
        return len;
    }

    // A variable that must exist with exactly the dimensions `dims`, in that order; its values
    // converted to float, none of them missing.
    std::vector<float> variable(const char* name, const std::vector<const char*>& dims) const {
        int varid = -1;
        if (nc_inq_varid(id_, name, &varid) != NC_NOERR) fail(std::string("no variable '") + name + "'");
        check_shape(varid, name, dims);

        std::size_t count = 1;
        for (const char* d : dims) {
            const std::size_t len = dimension(d);
            if (len > kMaxLevels / count)
                fail(std::string("variable '") + name + "' has more than " + number(kMaxLevels) + " values");
            count *= len;
        }
        std::vector<float> values(count);
        const int status = nc_get_var_float(id_, varid, values.data());
        if (status == NC_ERANGE) fail(std::string("variable '") + name + "' has values beyond single precision");
        if (status != NC_NOERR)
            fail(std::string("variable '") + name + "' cannot be read as numbers (" + nc_strerror(status) + ")");

        const float fill = netcdf_fill_value<float>(id_, varid);
        for (std::size_t i = 0; i < count; ++i) {
            if (std::isfinite(values[i]) && values[i] != fill) continue;
            fail(std::string("variable '") + name + "' has a missing or non-finite value at " +
                 position(i, dims) + " (a CDL data section short of numbers leaves fill values)");
        }
        return values;
    }

    // A global attribute holding one number.
    double global_number(const char* name) const {
        nc_type type = NC_NAT;
        std::size_t len = 0;
        if (nc_inq_att(id_, NC_GLOBAL, name, &type, &len) != NC_NOERR)
            fail(std::string("no global attribute '") + name + "'");
        double value = 0.0;
        if (type == NC_CHAR || type == NC_STRING || len != 1 ||
            nc_get_att_double(id_, NC_GLOBAL, name, &value) != NC_NOERR)
            fail(std::string("global attribute '") + name + "' must be one number");
        return value;
    }

private:
    void check_shape(int varid, const char* name, const std::vector<const char*>& dims) const {
        int ndims = 0;
        nc_inq_varndims(id_, varid, &ndims);
        std::vector<int> ids(static_cast<std::size_t>(std::max(ndims, 0)));
        if (ndims > 0) nc_inq_vardimid(id_, varid, ids.data());
        std::string found;
        bool same = ids.size() == dims.size();
        for (std::size_t k = 0; k < ids.size(); ++k) {
            char dimname[NC_MAX_NAME + 1] = "";
            nc_inq_dimname(id_, ids[k], dimname);
            found += (k ? ", " : "") + std::string(dimname);
            if (same && std::string(dimname) != dims[k]) same = false;
        }
        if (same) return;
        std::string wanted;
        for (std::size_t k = 0; k < dims.size(); ++k) wanted += (k ? ", " : "") + std::string(dims[k]);
        fail(std::string("variable '") + name + "' must have the dimensions (" + wanted + "), has (" + found + ")");
    }

    // The value that marks a missing value of the variable, as float.

    // "azimuth 2, polar 5, frequency 7": a flat index of a value as positions from 1 on its axes.
    std::string position(std::size_t flat, const std::vector<const char*>& dims) const {
        std::string text;
        for (std::size_t k = dims.size(); k-- > 0;) {
            const std::size_t len = dimension(dims[k]);
            text = std::string(dims[k]) + " " + std::to_string(flat % len + 1) + (text.empty() ? "" : ", ") + text;
            flat /= len;
        }
        return text;
    }

    std::string path_;
    int id_ = -1;
};

// An axis strictly ascending within lo .. hi.
void check_axis(const NcReader& file, const char* name, const std::vector<float>& v, double lo, double hi,
                const char* range) {
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (v[i] < lo || v[i] > hi)
            file.fail(std::string(name) + " value " + number(v[i]) + " at position " + std::to_string(i + 1) +
                      " is outside " + range);
        if (i > 0 && !(v[i] > v[i - 1]))
            file.fail(std::string(name) + " values must be strictly ascending: " + number(v[i]) + " at position " +
                      std::to_string(i + 1) + " follows " + number(v[i - 1]));
    }
}

bool covers_whole_turn(const std::vector<float>& azimuth) {
    if (azimuth.size() < 2) return false;
    double widest = 0.0;
    for (std::size_t i = 1; i < azimuth.size(); ++i)
        widest = std::max(widest, static_cast<double>(azimuth[i]) - azimuth[i - 1]);
    const double gap = static_cast<double>(azimuth.front()) + 360.0 - azimuth.back();
    return gap <= widest + kTurnTolerance;
}

}  // namespace

void READHEMI(const std::string& path, HEMIREC& rec) {
    const std::lock_guard<std::mutex> lock(netcdf_mutex());
    const NcReader file(path);

    for (const char* d : {"frequency", "azimuth", "polar"}) file.dimension(d);

    HEMIREC loaded;
    loaded.Hfreq = file.variable("frequency", {"frequency"});
    check_axis(file, "frequency", loaded.Hfreq, std::numeric_limits<float>::min(),
               std::numeric_limits<float>::max(), "the positive frequencies");
    loaded.Azimuth = file.variable("azimuth", {"azimuth"});
    check_axis(file, "azimuth", loaded.Azimuth, -360.0, 360.0, "-360 .. 360 degrees");
    if (loaded.Azimuth.back() - loaded.Azimuth.front() > 360.0f)
        file.fail("azimuth spans " + number(loaded.Azimuth.back() - loaded.Azimuth.front()) +
                  " degrees, more than one turn");
    loaded.Polar = file.variable("polar", {"polar"});
    check_axis(file, "polar", loaded.Polar, 0.0, 180.0, "0 .. 180 degrees");
    loaded.Level = file.variable("level", {"azimuth", "polar", "frequency"});

    const double refdist = file.global_number("reference_distance");
    if (!(refdist > 0.0) || !std::isfinite(static_cast<float>(refdist)))
        file.fail("reference_distance " + number(refdist) + " must be a positive distance in metres");

    loaded.Nfreq = static_cast<int>(loaded.Hfreq.size());
    loaded.Hfreq_held = true;
    loaded.Hrefdist = static_cast<float>(refdist);
    loaded.Wraps = covers_whole_turn(loaded.Azimuth);
    rec = std::move(loaded);
}

}  // namespace tn

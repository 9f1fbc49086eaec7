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
#include "io/netcdf_lock.h"

namespace tn {

namespace {

// More values than this in `level` are refused rather than allocated (512 MB of floats).
constexpr std::size_t kMaxLevels = std::size_t{1} << 27;

// Tolerance of the whole-turn test, degrees: azimuths written with a few decimals still wrap.
constexpr double kTurnTolerance = 1e-3;

template <typename T>
float raw_as(const unsigned char* raw) {
    T v;
    std::memcpy(&v, raw, sizeof v);
    return static_cast<float>(v);
}

std::string number(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

// The header of a classic netCDF file (CDF-1; CDF-2 with 64-bit offsets; CDF-5 with 64-bit counts),
// walked before the library sees it: every count, name and attribute value must fit in the bytes the
// file has, every type and dimension id must exist, and the data of every variable must lie within
// the file. The library sizes its tables by the header's counts on trust, and some of its failure
// paths then end the process (a file of 293 bytes that claims a thousand million dimensions is
// answered with a crash); and it reads the data of a file cut short as zeros. Layout after the
// NetCDF Users Guide, the chapter on the classic file format: big-endian words; a list is a tag
// and a count, or two zero words when it is absent.
class ClassicHeader {
public:
    // What is wrong with the header, or nothing when it is sound or the file is not of the classic
    // form (an HDF5-based netCDF-4 file, or no netCDF at all, is left to the library).
    static std::string problem(const std::string& path) {
        ClassicHeader h(path);
        return h.f_ ? h.walk() : std::string();
    }
    ~ClassicHeader() { if (f_) std::fclose(f_); }
    ClassicHeader(const ClassicHeader&) = delete;
    ClassicHeader& operator=(const ClassicHeader&) = delete;

private:
    explicit ClassicHeader(const std::string& path) : f_(std::fopen(path.c_str(), "rb")) {
        if (f_ && std::fseek(f_, 0, SEEK_END) == 0) {
            const long end = std::ftell(f_);
            size_ = end > 0 ? static_cast<std::uint64_t>(end) : 0;
            std::rewind(f_);
        }
    }

    static constexpr std::uint32_t kDimension = 0x0A;
    static constexpr std::uint32_t kVariable = 0x0B;
    static constexpr std::uint32_t kAttribute = 0x0C;
    static constexpr std::uint64_t kStreaming = 0xFFFFFFFFu;   // a record count not yet written

    struct Variable {
        std::string name;
        std::vector<std::uint64_t> dims;
        std::uint64_t type_size = 0;
        std::uint64_t begin = 0;
    };

    std::uint64_t left() const { return size_ - at_; }
    bool bytes(unsigned char* dst, std::size_t n) {
        if (n > left() || std::fread(dst, 1, n, f_) != n) return false;
        at_ += n;
        return true;
    }
    bool skip(std::uint64_t n) {
        if (n > left() || std::fseek(f_, static_cast<long>(n), SEEK_CUR) != 0) return false;
        at_ += n;
        return true;
    }
    bool word(std::uint64_t& v, int width) {
        unsigned char b[8];
        if (!bytes(b, static_cast<std::size_t>(width))) return false;
        v = 0;
        for (int k = 0; k < width; ++k) v = (v << 8) | b[k];
        return true;
    }
    bool count(std::uint64_t& v) { return word(v, wide_ ? 8 : 4); }
    static std::uint64_t padded(std::uint64_t n) { return n > UINT64_MAX - 3 ? UINT64_MAX : (n + 3) / 4 * 4; }

    std::string short_of(const char* what) const {
        return "its header ends inside " + std::string(what) + " at byte " + std::to_string(at_) + " of " +
               std::to_string(size_);
    }

    // A name: its length, its characters (the first 256 kept for messages), padding to a whole word.
    std::string name(const char* what, std::string& text) {
        std::uint64_t len = 0;
        if (!count(len)) return short_of(what);
        if (len == 0) return "its header has an empty " + std::string(what);
        if (len > left()) return short_of(what);
        text.assign(static_cast<std::size_t>(std::min<std::uint64_t>(len, 256)), ' ');
        if (!bytes(reinterpret_cast<unsigned char*>(text.data()), text.size()) || !skip(padded(len) - text.size()))
            return short_of(what);
        for (char& c : text) {
            if (static_cast<unsigned char>(c) < 32 || c == 127) c = '?';
        }
        return {};
    }

    // A list head: two zero words (absent) or the tag and the count of its elements.
    std::string list(std::uint32_t tag, const char* what, std::uint64_t& n) {
        std::uint64_t t = 0;
        if (!word(t, 4) || !count(n)) return short_of(what);
        if (t == 0 && n == 0) return {};
        if (t != tag) return "its header has no " + std::string(what) + " where one belongs (byte " + std::to_string(at_) + ")";
        return {};
    }

    std::string attributes(const char* what) {
        std::uint64_t n = 0;
        if (std::string e = list(kAttribute, what, n); !e.empty()) return e;
        for (std::uint64_t k = 0; k < n; ++k) {
            std::string text;
            std::uint64_t type = 0, len = 0;
            if (std::string e = name("an attribute's name", text); !e.empty()) return e;
            if (!word(type, 4) || !count(len)) return short_of("an attribute");
            const std::uint64_t size = type_size(type);
            if (size == 0) return "its header has an attribute of unknown type " + std::to_string(type);
            if (len > left() / size || !skip(padded(len * size))) return short_of("an attribute's values");
        }
        return {};
    }

    std::uint64_t type_size(std::uint64_t type) const {
        switch (type) {
            case 1: case 2: return 1;       // byte, char
            case 3: return 2;               // short
            case 4: case 5: return 4;       // int, float
            case 6: return 8;               // double
            default: break;
        }
        if (!wide_) return 0;
        switch (type) {
            case 7: return 1;               // unsigned byte
            case 8: return 2;               // unsigned short
            case 9: return 4;               // unsigned int
            case 10: case 11: return 8;     // 64-bit integers
            default: return 0;
        }
    }

    static std::uint64_t sum(std::uint64_t a, std::uint64_t b) { return a > UINT64_MAX - b ? UINT64_MAX : a + b; }
    static std::uint64_t product(std::uint64_t a, std::uint64_t b) {
        return b != 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
    }

    // Bytes of one record of a variable, or of all of it when it has no record dimension.
    static std::uint64_t extent(const Variable& v, const std::vector<std::uint64_t>& dimlen, bool record) {
        std::uint64_t n = v.type_size;
        for (std::size_t k = record ? 1 : 0; k < v.dims.size(); ++k) n = product(n, dimlen[static_cast<std::size_t>(v.dims[k])]);
        return n;
    }

    std::string walk() {
        unsigned char magic[4];
        if (!bytes(magic, 4) || std::memcmp(magic, "CDF", 3) != 0) return {};
        if (magic[3] != 1 && magic[3] != 2 && magic[3] != 5) return {};
        wide_ = magic[3] == 5;
        const int offset_width = magic[3] == 1 ? 4 : 8;
        std::uint64_t numrecs = 0;
        if (!count(numrecs)) return short_of("the record count");
        if (wide_ && numrecs == 0xFFFFFFFFFFFFFFFFu) numrecs = kStreaming;

        std::uint64_t ndims = 0;
        std::vector<std::uint64_t> dimlen;
        if (std::string e = list(kDimension, "the list of dimensions", ndims); !e.empty()) return e;
        for (std::uint64_t k = 0; k < ndims; ++k) {
            std::string text;
            std::uint64_t len = 0;
            if (std::string e = name("a dimension's name", text); !e.empty()) return e;
            if (!count(len)) return short_of("a dimension's length");
            dimlen.push_back(len);
        }
        if (std::string e = attributes("the list of global attributes"); !e.empty()) return e;

        std::uint64_t nvars = 0;
        std::vector<Variable> vars;
        if (std::string e = list(kVariable, "the list of variables", nvars); !e.empty()) return e;
        for (std::uint64_t k = 0; k < nvars; ++k) {
            Variable v;
            std::uint64_t rank = 0, type = 0, vsize = 0;
            if (std::string e = name("a variable's name", v.name); !e.empty()) return e;
            if (!count(rank)) return short_of("a variable's dimensions");
            for (std::uint64_t d = 0; d < rank; ++d) {
                std::uint64_t id = 0;
                if (!count(id)) return short_of("a variable's dimensions");
                if (id >= ndims) return "its header gives variable '" + v.name + "' the dimension id " + std::to_string(id) +
                                        " of " + std::to_string(ndims);
                v.dims.push_back(id);
            }
            if (std::string e = attributes("a variable's attributes"); !e.empty()) return e;
            if (!word(type, 4)) return short_of("a variable's type");
            v.type_size = type_size(type);
            if (v.type_size == 0) return "its header has a variable of unknown type " + std::to_string(type);
            if (!count(vsize) || !word(v.begin, offset_width)) return short_of("a variable's size and place");
            vars.push_back(std::move(v));
        }

        // The data: each variable from its place on, the variables of the record dimension once per
        // record, the records one behind the other (unpadded when one variable alone has records).
        auto is_record = [&dimlen](const Variable& v) {
            return !v.dims.empty() && dimlen[static_cast<std::size_t>(v.dims[0])] == 0;
        };
        const auto nrecvars = std::count_if(vars.begin(), vars.end(), is_record);
        std::uint64_t recsize = 0;
        for (const Variable& v : vars) {
            if (!is_record(v)) continue;
            const std::uint64_t n = extent(v, dimlen, true);
            recsize = sum(recsize, nrecvars == 1 ? n : padded(n));
        }
        for (const Variable& v : vars) {
            const bool record = is_record(v);
            if (record && (numrecs == 0 || numrecs == kStreaming)) continue;
            const std::uint64_t records = record ? product(numrecs - 1, recsize) : 0;
            const std::uint64_t end = sum(v.begin, sum(records, extent(v, dimlen, record)));
            if (end > size_) {
                return "the data of variable '" + v.name + "' reach " +
                       (end == UINT64_MAX ? std::string("far beyond the file's end") : "byte " + std::to_string(end)) +
                       ", the file ends at byte " + std::to_string(size_);
            }
        }
        return {};
    }

    std::FILE* f_;
    std::uint64_t size_ = 0;
    std::uint64_t at_ = 0;
    bool wide_ = false;
};

// One open netCDF file, closed on every way out; every failure names the file.
class NcReader {
public:
    explicit NcReader(const std::string& path) : path_(path) {
        if (!file_exists(path)) fail("hemisphere file not found");
        // A device or a named pipe is refused before anything reads it (a folder is the library's).
        if (!std::filesystem::is_directory(path)) ::close(open_input_file(path));
        if (const std::string bad = ClassicHeader::problem(path); !bad.empty())
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

        const float fill = fill_value(varid);
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
    float fill_value(int varid) const {
        nc_type type = NC_NAT;
        nc_inq_vartype(id_, varid, &type);
        alignas(8) unsigned char raw[8] = {};
        int no_fill = 0;
        if (nc_inq_var_fill(id_, varid, &no_fill, raw) != NC_NOERR) return NAN;  // compares unequal
        switch (type) {
            case NC_BYTE: return raw_as<std::int8_t>(raw);
            case NC_UBYTE: return raw_as<std::uint8_t>(raw);
            case NC_SHORT: return raw_as<std::int16_t>(raw);
            case NC_USHORT: return raw_as<std::uint16_t>(raw);
            case NC_INT: return raw_as<std::int32_t>(raw);
            case NC_UINT: return raw_as<std::uint32_t>(raw);
            case NC_INT64: return raw_as<std::int64_t>(raw);
            case NC_UINT64: return raw_as<std::uint64_t>(raw);
            case NC_FLOAT: return raw_as<float>(raw);
            case NC_DOUBLE: return raw_as<double>(raw);
            default: return NAN;
        }
    }

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

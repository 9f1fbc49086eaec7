#include "io/netcdf_header.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

namespace tn {

namespace {

// Walks the header: every count, name and attribute value must fit in the bytes the file has,
// every type and dimension id must exist, and the data of every variable must lie within the file.
// Layout after the NetCDF Users Guide, the chapter on the classic file format: big-endian words; a
// list is a tag and a count, or two zero words when it is absent.
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

}  // namespace

std::string classic_netcdf_problem(const std::string& path) { return ClassicHeader::problem(path); }

}  // namespace tn

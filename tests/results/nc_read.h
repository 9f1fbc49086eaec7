// Reading a NetCDF result back in the tests, through the netCDF library's plain C interface.
#pragma once

#include <gtest/gtest.h>
#include <netcdf.h>

#include <string>
#include <vector>

namespace tntest {

class NcRead {
public:
    explicit NcRead(const std::string& path) { EXPECT_EQ(nc_open(path.c_str(), NC_NOWRITE, &id_), NC_NOERR) << path; }
    ~NcRead() { if (id_ >= 0) nc_close(id_); }
    NcRead(const NcRead&) = delete;
    NcRead& operator=(const NcRead&) = delete;

    size_t dim(const char* name) const {
        int d = -1;
        size_t len = 0;
        EXPECT_EQ(nc_inq_dimid(id_, name, &d), NC_NOERR) << name;
        nc_inq_dimlen(id_, d, &len);
        return len;
    }
    int var(const char* name) const {
        int v = -1;
        EXPECT_EQ(nc_inq_varid(id_, name, &v), NC_NOERR) << name;
        return v;
    }
    // The whole variable in C order.
    std::vector<float> floats(const char* name) const { return all<float>(name, nc_get_var_float); }
    std::vector<double> doubles(const char* name) const { return all<double>(name, nc_get_var_double); }
    std::vector<int> ints(const char* name) const { return all<int>(name, nc_get_var_int); }
    std::vector<std::string> strings(const char* name) const {
        const int v = var(name);
        std::vector<char*> p(count(v), nullptr);
        EXPECT_EQ(nc_get_var_string(id_, v, p.data()), NC_NOERR) << name;
        std::vector<std::string> out(p.begin(), p.end());
        nc_free_string(p.size(), p.data());
        return out;
    }
    // A text attribute of a variable (nullptr: a global one), empty when absent.
    std::string text(const char* var_name, const char* att) const {
        const int v = var_name ? var(var_name) : NC_GLOBAL;
        size_t len = 0;
        if (nc_inq_attlen(id_, v, att, &len) != NC_NOERR) return {};
        std::string s(len, '\0');
        nc_get_att_text(id_, v, att, s.data());
        return s;
    }
    std::vector<size_t> chunks(const char* name) const {
        const int v = var(name);
        int nd = 0, storage = 0;
        nc_inq_varndims(id_, v, &nd);
        std::vector<size_t> c(static_cast<size_t>(nd));
        nc_inq_var_chunking(id_, v, &storage, c.data());
        return c;
    }

private:
    size_t count(int v) const {
        int nd = 0;
        nc_inq_varndims(id_, v, &nd);
        std::vector<int> dims(static_cast<size_t>(nd));
        nc_inq_vardimid(id_, v, dims.data());
        size_t n = 1;
        for (int d : dims) {
            size_t len = 0;
            nc_inq_dimlen(id_, d, &len);
            n *= len;
        }
        return n;
    }
    template <typename T, typename Get>
    std::vector<T> all(const char* name, Get get) const {
        const int v = var(name);
        std::vector<T> out(count(v));
        EXPECT_EQ(get(id_, v, out.data()), NC_NOERR) << name;
        return out;
    }
    int id_ = -1;
};

}  // namespace tntest

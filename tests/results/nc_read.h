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
    ~NcRead() { nc_close(id_); }
    NcRead(const NcRead&) = delete;
    NcRead& operator=(const NcRead&) = delete;

    size_t dim(const char* name) const {
        int d = -1;
        size_t len = 0;
        EXPECT_EQ(nc_inq_dimid(id_, name, &d), NC_NOERR) << name;
        nc_inq_dimlen(id_, d, &len);
        return len;
    }
    // A whole variable in C order, or its chunk shape.
    std::vector<float> floats(const char* name) const { return all<float>(name, nc_get_var_float); }
    std::vector<double> doubles(const char* name) const { return all<double>(name, nc_get_var_double); }
    std::vector<int> ints(const char* name) const { return all<int>(name, nc_get_var_int); }
    std::vector<std::string> strings(const char* name) const {
        std::vector<char*> p = all<char*>(name, nc_get_var_string);
        std::vector<std::string> out(p.begin(), p.end());
        nc_free_string(p.size(), p.data());
        return out;
    }
    std::vector<size_t> chunks(const char* name) const {
        std::vector<size_t> c(shape(var(name)).size());
        int storage = 0;
        nc_inq_var_chunking(id_, var(name), &storage, c.data());
        return c;
    }

private:
    int var(const char* name) const {
        int v = -1;
        EXPECT_EQ(nc_inq_varid(id_, name, &v), NC_NOERR) << name;
        return v;
    }
    std::vector<size_t> shape(int v) const {
        int nd = 0;
        nc_inq_varndims(id_, v, &nd);
        std::vector<int> dims(static_cast<size_t>(nd));
        nc_inq_vardimid(id_, v, dims.data());
        std::vector<size_t> lens(dims.size());
        for (size_t k = 0; k < dims.size(); ++k) nc_inq_dimlen(id_, dims[k], &lens[k]);
        return lens;
    }
    template <typename T, typename Get>
    std::vector<T> all(const char* name, Get get) const {
        size_t n = 1;
        for (size_t len : shape(var(name))) n *= len;
        std::vector<T> out(n);
        EXPECT_EQ(get(id_, var(name), out.data()), NC_NOERR) << name;
        return out;
    }
    int id_ = -1;
};

}  // namespace tntest

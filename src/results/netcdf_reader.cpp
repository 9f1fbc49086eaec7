#include "results/netcdf_reader.h"

#include <netcdf.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"
#include "io/format.h"
#include "io/netcdf_fill.h"
#include "io/netcdf_header.h"
#include "io/netcdf_lock.h"
#include "results/bands.h"

namespace tn {

namespace {

// The most trajectory points one case holds (the set-up refuses more): a larger count is no result
// of the program, and would ask for memory in proportion.
constexpr long kMaxPoints = 1000000;
// Values of a stripe, all variables: at most 32 MB of floats, one receiver at the least.
constexpr double kStripeBytes = 32.0 * 1024.0 * 1024.0;
constexpr long kMaxStripeRows = 64;
// A chunk larger than this is refused: the library allocates a whole chunk to read any value of it.
constexpr double kMaxChunkBytes = 64.0 * 1024.0 * 1024.0;
// Levels beyond this many dB do not fit the integer tenths.
constexpr double kMaxLevel = 1.0e8;

const char* const kWhat = "a tracknoise result (a netCDF file of the run option CDF)";

std::string number(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

bool is_numeric(nc_type t) { return t >= NC_BYTE && t <= NC_UINT64 && t != NC_CHAR; }

// Values equal to the fill value read as NaN.
template <typename T>
void fills_to_nan(std::vector<T>& v, double fill) {
    if (std::isnan(fill)) return;
    const T f = static_cast<T>(fill);
    for (T& x : v) {
        if (x == f) x = static_cast<T>(NAN);
    }
}

// An arrival time to the millisecond, as the time-history files give it (the float nearest the
// decimal of three places that the text writer prints, ties to even), so that the metrics of either
// form agree to the bit. The product with 1000 is exact in double; a decimal of three places never
// lies close enough to the midpoint of two floats for the division's rounding to matter.
float millisecond(float t) {
    if (!std::isfinite(t)) return t;
    return static_cast<float>(std::nearbyint(static_cast<double>(t) * 1000.0) / 1000.0);
}

}  // namespace

NetcdfResultReader::NetcdfResultReader(const std::string& path) : path_(path) {
    ::close(open_input_file(path));   // a missing file, a folder, a device or a pipe stops here
    const std::lock_guard<std::mutex> lock(netcdf_mutex());
    if (const std::string bad = classic_netcdf_problem(path); !bad.empty()) fail(kWhat, "a damaged netCDF file: " + bad);
    const int status = nc_open(path.c_str(), NC_NOWRITE, &ncid_);
    if (status != NC_NOERR) {
        ncid_ = -1;
        fail(kWhat, std::string("a file the netCDF library cannot read (") + nc_strerror(status) + ")");
    }
    try {
        read_layout();
        read_header();
        choose_stripe();
    } catch (...) {
        nc_close(ncid_);   // no destructor runs for a constructor that throws
        ncid_ = -1;
        throw;
    }
}

NetcdfResultReader::~NetcdfResultReader() {
    if (ncid_ < 0) return;
    const std::lock_guard<std::mutex> lock(netcdf_mutex());
    nc_close(ncid_);
}

void NetcdfResultReader::fail(const std::string& expected, const std::string& found) const {
    throw file_error(path_, 0, "expected " + expected + ", found " + found);
}

// The dimensions and variables of a grid or a site run, and their shapes.
void NetcdfResultReader::read_layout() {
    const auto dim = [&](const char* name, int& id) {
        id = -1;
        return nc_inq_dimid(ncid_, name, &id) == NC_NOERR;
    };
    const auto length = [&](int id) {
        size_t len = 0;
        nc_inq_dimlen(ncid_, id, &len);
        return len;
    };
    if (!dim("point", dim_point_) || !dim("band", dim_band_)) {
        fail(std::string(kWhat) + " with the dimensions point and band", "no dimension '" + std::string(dim_point_ < 0 ? "point" : "band") + "'");
    }
    const bool site = dim("site", dim_site_);
    const bool grid = dim("y", dim_y_) && dim("x", dim_x_);
    if (site == grid) {
        fail("the dimensions y and x (a grid run) or site (a site run)", site ? "both" : "neither");
    }
    grid_ = grid;
    const size_t npts = length(dim_point_), nband = length(dim_band_);
    if (npts > static_cast<size_t>(kMaxPoints)) {
        fail("at most " + std::to_string(kMaxPoints) + " trajectory points (what one case holds) along dimension point",
             std::to_string(npts));
    }
    if (nband > 32) fail("at most 32 bands along dimension band", std::to_string(nband));
    npts_ = static_cast<long>(npts);
    nband_ = static_cast<long>(nband);
    if (grid_) {
        const size_t nx = length(dim_x_), ny = length(dim_y_);
        if (nx > 10000 || ny > 10000) {
            fail("at most 10000 lattice columns along x and rows along y (names of four digits)",
                 std::to_string(nx) + " by " + std::to_string(ny));
        }
        nx_ = static_cast<long>(nx);
        ny_ = static_cast<long>(ny);
    } else {
        const size_t ns = length(dim_site_);
        if (ns > static_cast<size_t>(INT32_MAX)) fail("at most " + std::to_string(INT32_MAX) + " sites", std::to_string(ns));
        nx_ = 1;
        ny_ = static_cast<long>(ns);
    }

    v_time_ = data_variable("time", false);
    v_flat_ = data_variable("level_flat", false);
    v_a_ = data_variable("level_a", false);
    v_level_ = data_variable("level", true);
    v_det_ = data_variable("detectability", false);
    if (grid_) {
        v_x_ = coordinate("x", {dim_x_});
        v_y_ = coordinate("y", {dim_y_});
        v_lat_ = coordinate("lat", {dim_y_, dim_x_});
        v_lon_ = coordinate("lon", {dim_y_, dim_x_});
    } else {
        v_name_ = coordinate("site_name", {dim_site_}, true);
        v_x_ = coordinate("x", {dim_site_});
        v_y_ = coordinate("y", {dim_site_});
        v_height_ = coordinate("height", {dim_site_});
        v_lat_ = coordinate("lat", {dim_site_});
        v_lon_ = coordinate("lon", {dim_site_});
    }

    // The bands: their numbers on the rulers, 10 to 41, each once.
    column_.assign(static_cast<size_t>(nband_), 0);
    if (nband_ > 0) {
        const int v = coordinate("band_number", {dim_band_});
        std::vector<int> numbers(static_cast<size_t>(nband_));
        if (nc_get_var_int(ncid_, v, numbers.data()) != NC_NOERR) fail("band numbers in variable 'band_number'", "values that cannot be read as integers");
        std::vector<char> seen(kRowColumns, 0);
        for (long b = 0; b < nband_; ++b) {
            const int n = numbers[static_cast<size_t>(b)];
            const int c = n - kFirstBandNumber + 2;
            if (n < kFirstBandNumber || c >= kRowColumns || seen[static_cast<size_t>(c)]) {
                fail("band numbers from 10 to 41, each once, in variable 'band_number'",
                     std::to_string(n) + " at position " + std::to_string(b + 1));
            }
            seen[static_cast<size_t>(c)] = 1;
            column_[static_cast<size_t>(b)] = c;
        }
        run_.Bandoff = numbers[0] - kFirstBandNumber + 1;
    }
    if (grid_) {
        read_doubles(v_x_, "x", {0}, {static_cast<size_t>(nx_)}, xs_);
        read_doubles(v_y_, "y", {0}, {static_cast<size_t>(ny_)}, ys_);
    }
}

// A variable of `shape` (dimension ids) that must hold numbers (or, with `text`, strings: a string
// variable or characters along one more dimension).
int NetcdfResultReader::coordinate(const char* name, const std::vector<int>& shape, bool text) {
    int id = -1;
    if (nc_inq_varid(ncid_, name, &id) != NC_NOERR) fail(std::string("the variable '") + name + "' of " + kWhat, "none");
    nc_type type = NC_NAT;
    int ndims = 0;
    nc_inq_vartype(ncid_, id, &type);
    nc_inq_varndims(ncid_, id, &ndims);
    std::vector<int> dims(static_cast<size_t>(std::max(ndims, 0)));
    if (ndims > 0) nc_inq_vardimid(ncid_, id, dims.data());
    std::vector<int> want = shape;
    if (text && type == NC_CHAR && dims.size() == shape.size() + 1) want.push_back(dims.back());   // the characters
    if (dims != want) {
        const auto names = [&](const std::vector<int>& ids) {
            std::string s;
            for (size_t k = 0; k < ids.size(); ++k) {
                char n[NC_MAX_NAME + 1] = "";
                nc_inq_dimname(ncid_, ids[k], n);
                s += (k ? ", " : "") + std::string(n);
            }
            return "(" + s + ")";
        };
        fail(std::string("variable '") + name + "' along " + names(shape) + (text ? " (and the characters of a name)" : ""),
             "it along " + names(dims));
    }
    const bool ok = text ? (type == NC_STRING || type == NC_CHAR) : is_numeric(type);
    if (!ok) fail(std::string("variable '") + name + "' of " + (text ? "strings" : "numbers"), "another type (" + std::to_string(type) + ")");
    // The library reads a whole chunk to give any value of it.
    int storage = NC_CONTIGUOUS;
    std::vector<size_t> chunk(dims.size(), 1);
    if (!dims.empty() && nc_inq_var_chunking(ncid_, id, &storage, chunk.data()) == NC_NOERR && storage == NC_CHUNKED) {
        size_t size = 0;
        nc_inq_type(ncid_, type, nullptr, &size);
        double bytes = static_cast<double>(std::max<size_t>(size, 1));
        for (size_t c : chunk) bytes *= static_cast<double>(c);
        if (bytes > kMaxChunkBytes) {
            fail(std::string("chunks of at most 64 MB in variable '") + name + "'", "chunks of " + number(bytes / 1048576.0) + " MB");
        }
    }
    return id;
}

int NetcdfResultReader::data_variable(const char* name, bool bands) {
    std::vector<int> shape;
    if (grid_) shape = bands ? std::vector<int>{dim_point_, dim_band_, dim_y_, dim_x_} : std::vector<int>{dim_point_, dim_y_, dim_x_};
    else shape = bands ? std::vector<int>{dim_site_, dim_point_, dim_band_} : std::vector<int>{dim_site_, dim_point_};
    return coordinate(name, shape);
}

// The run's header from the global attributes, the band frequencies and the time offset.
void NetcdfResultReader::read_header() {
    const auto text = [&](const char* name) {
        nc_type type = NC_NAT;
        size_t len = 0;
        if (nc_inq_att(ncid_, NC_GLOBAL, name, &type, &len) != NC_NOERR) return std::string();
        if (type == NC_CHAR) {
            std::string s(len, '\0');
            if (len > 0 && nc_get_att_text(ncid_, NC_GLOBAL, name, s.data()) != NC_NOERR) return std::string();
            s.erase(std::find(s.begin(), s.end(), '\0'), s.end());
            return s;
        }
        if (type == NC_STRING && len == 1) {
            char* p = nullptr;
            std::string s;
            if (nc_get_att_string(ncid_, NC_GLOBAL, name, &p) == NC_NOERR) {
                if (p) s = p;
                nc_free_string(1, &p);
            }
            return s;
        }
        return std::string();
    };
    const auto integers = [&](const char* name, size_t n, const char* what, int* out) {
        nc_type type = NC_NAT;
        size_t len = 0;
        if (nc_inq_att(ncid_, NC_GLOBAL, name, &type, &len) != NC_NOERR) {
            fail(std::string("the global attribute '") + name + "' (" + what + ")", "none");
        }
        if (!is_numeric(type) || len != n || nc_get_att_int(ncid_, NC_GLOBAL, name, out) != NC_NOERR) {
            fail(std::string("the global attribute '") + name + "' as " + std::to_string(n) + " integer" + (n > 1 ? "s" : "") + " (" +
                     what + ")",
                 std::to_string(len) + " value" + (len == 1 ? "" : "s") + (is_numeric(type) ? " beyond the integers" : " of another type"));
        }
    };

    int zone = 0;
    integers("utm_zone", 1, "the run's UTM zone", &zone);
    if (zone < -60 || zone > 60) fail("a UTM zone from -60 to 60 in the global attribute 'utm_zone'", std::to_string(zone));
    run_.Utmzone = zone;
    run_.grid = grid_;
    if (grid_) {
        int c[3] = {0, 0, 0}, r[3] = {0, 0, 0};
        integers("lattice_columns", 3, "the first, last and count of the grid's columns", c);
        integers("lattice_rows", 3, "the first, last and count of the grid's rows", r);
        GridBlock& b = run_.block;
        b.Iifirst = c[0];
        b.Iilast = c[1];
        b.Iicount = c[2];
        b.Jjfirst = r[0];
        b.Jjlast = r[1];
        b.Jjcount = r[2];
        const auto span = [&](int first, int last, long len, const char* axis, const char* att) {
            const long want = last >= first ? static_cast<long>(last) - first + 1 : 0;
            if (want != len) {
                fail(std::to_string(want) + " positions along " + axis + " (" + att + " " + std::to_string(first) + " to " +
                         std::to_string(last) + ")",
                     std::to_string(len));
            }
            if (want > 0 && (first < 0 || last > 9999)) {
                fail(std::string("lattice ") + att + " from 0 to 9999 (names of four digits)",
                     std::to_string(first) + " to " + std::to_string(last));
            }
        };
        span(b.Iifirst, b.Iilast, nx_, "x", "lattice_columns");
        span(b.Jjfirst, b.Jjlast, ny_, "y", "lattice_rows");
        run_.Xcol.assign(xs_.begin(), xs_.end());
        run_.Yrow.assign(ys_.begin(), ys_.end());
    }
    run_.Terrfile = text("terrain_file");
    run_.Gndfile = text("ground_file");
    run_.Sitefile = text("site_file");
    run_.Infofile = text("info");
    run_.Ambfile = text("ambient_file");
    run_.Trackfile = text("trajectory_file");
    run_.Srcfile = text("source_file");
    run_.program = text("source");
    // "2024-05-17: tracknoise 0.1.0, grid run written to g.nc": the day and the result's name.
    const std::string history = text("history");
    int y = 0, m = 0, d = 0;
    if (std::sscanf(history.c_str(), "%4d-%2d-%2d:", &y, &m, &d) == 3 && m >= 1 && m <= 12 && d >= 1 && d <= 31) {
        run_.date = CivilDate{y, m, d};
    }
    const std::string tag = " run written to ";
    if (const size_t at = history.rfind(tag); at != std::string::npos) run_.Runout = history.substr(at + tag.size());
    run_.Npts = static_cast<int>(npts_);
    run_.Nrecv = nx_ * ny_;
    double offset = 0.0;
    if (nc_get_att_double(ncid_, v_time_, "time_offset", &offset) == NC_NOERR && std::isfinite(offset)) {
        run_.Tstart = static_cast<float>(offset);
    }
    int vf = -1;
    if (nband_ > 0 && nc_inq_varid(ncid_, "frequency", &vf) == NC_NOERR) {
        int nd = 0, d0 = -1;
        nc_inq_varndims(ncid_, vf, &nd);
        if (nd == 1 && nc_inq_vardimid(ncid_, vf, &d0) == NC_NOERR && d0 == dim_band_) {
            run_.Freq.assign(static_cast<size_t>(nband_), 0.0f);
            if (nc_get_var_float(ncid_, vf, run_.Freq.data()) != NC_NOERR) run_.Freq.clear();
        }
    }
}

// Receivers per stripe: the file's chunk rows along y (or site) where the data are chunked, within
// 32 MB of values; reads of whole chunks then need no chunk cache, and each chunk is read once.
void NetcdfResultReader::choose_stripe() {
    const double row_bytes = static_cast<double>(std::max(npts_, 1L)) * static_cast<double>(nband_ + 4) * 4.0;
    long most = std::clamp(static_cast<long>(kStripeBytes / row_bytes), 1L, kMaxStripeRows);
    int storage = NC_CONTIGUOUS;
    size_t chunk[3] = {1, 1, 1};
    bool whole = false;
    if (nc_inq_var_chunking(ncid_, v_time_, &storage, chunk) == NC_NOERR && storage == NC_CHUNKED) {
        const auto rows = static_cast<long>(grid_ ? chunk[1] : chunk[0]);
        if (rows >= 1 && rows <= most) {
            most = rows;
            whole = true;
        }
    }
    rows_ = std::max(1L, std::min(most, ny_));
    if (whole) {
        for (int v : {v_time_, v_flat_, v_a_, v_level_, v_det_}) nc_set_var_chunk_cache(ncid_, v, 1, 1, 1.0f);
    }
}

void NetcdfResultReader::read_floats(int var, const char* name, const std::vector<size_t>& start,
                                     const std::vector<size_t>& count, std::vector<float>& out) const {
    size_t n = 1;
    for (size_t c : count) n *= c;
    out.resize(n);
    if (n == 0) return;
    const int status = nc_get_vara_float(ncid_, var, start.data(), count.data(), out.data());
    if (status != NC_NOERR) {
        fail(std::string("the values of variable '") + name + "'",
             status == NC_ERANGE ? std::string("values beyond single precision") : std::string("a failure to read them (") + nc_strerror(status) + ")");
    }
    fills_to_nan(out, netcdf_fill_value<double>(ncid_, var));
}

void NetcdfResultReader::read_doubles(int var, const char* name, const std::vector<size_t>& start,
                                      const std::vector<size_t>& count, std::vector<double>& out) const {
    size_t n = 1;
    for (size_t c : count) n *= c;
    out.resize(n);
    if (n == 0) return;
    const int status = nc_get_vara_double(ncid_, var, start.data(), count.data(), out.data());
    if (status != NC_NOERR) {
        fail(std::string("the values of variable '") + name + "'", std::string("a failure to read them (") + nc_strerror(status) + ")");
    }
    fills_to_nan(out, netcdf_fill_value<double>(ncid_, var));
}

void NetcdfResultReader::read_names(long first, long rows) {
    const auto f = static_cast<size_t>(first), r = static_cast<size_t>(rows);
    names_.assign(r, std::string());
    nc_type type = NC_NAT;
    nc_inq_vartype(ncid_, v_name_, &type);
    int status = NC_NOERR;
    if (type == NC_STRING) {
        std::vector<char*> p(r, nullptr);
        const size_t start[1] = {f}, count[1] = {r};
        status = nc_get_vara_string(ncid_, v_name_, start, count, p.data());
        if (status == NC_NOERR) {
            for (size_t k = 0; k < r; ++k) {
                if (p[k]) names_[k] = p[k];
            }
            nc_free_string(r, p.data());
        }
    } else {
        // Characters along the last dimension: the first 64 (a site name's length), up to a NUL.
        int dims[2] = {-1, -1};
        size_t len = 0;
        nc_inq_vardimid(ncid_, v_name_, dims);
        nc_inq_dimlen(ncid_, dims[1], &len);
        const size_t w = std::min<size_t>(len, SiteName::size);
        std::vector<char> chars(r * w);
        const size_t start[2] = {f, 0}, count[2] = {r, w};
        if (w > 0) status = nc_get_vara_text(ncid_, v_name_, start, count, chars.data());
        if (status == NC_NOERR) {
            for (size_t k = 0; k < r; ++k) {
                const char* s = chars.data() + k * w;
                names_[k].assign(s, static_cast<size_t>(std::find(s, s + w, '\0') - s));
            }
        }
    }
    if (status != NC_NOERR) fail("the values of variable 'site_name'", std::string("a failure to read them (") + nc_strerror(status) + ")");
}

void NetcdfResultReader::load_stripe(long col, long first) {
    const std::lock_guard<std::mutex> lock(netcdf_mutex());
    s_col_ = -1;   // until it is read whole
    const long rows = std::min(rows_, ny_ - first);
    const auto f = static_cast<size_t>(first), r = static_cast<size_t>(rows), c = static_cast<size_t>(col);
    const auto n = static_cast<size_t>(npts_), nb = static_cast<size_t>(nband_);
    std::vector<size_t> start, count, start_b, count_b, start_r, count_r;
    if (grid_) {
        start = {0, f, c};
        count = {n, r, 1};
        start_b = {0, 0, f, c};
        count_b = {n, nb, r, 1};
        start_r = {f, c};
        count_r = {r, 1};
    } else {
        start = {f, 0};
        count = {r, n};
        start_b = {f, 0, 0};
        count_b = {r, n, nb};
        start_r = {f};
        count_r = {r};
    }
    read_floats(v_time_, "time", start, count, time_);
    read_floats(v_flat_, "level_flat", start, count, flat_);
    read_floats(v_a_, "level_a", start, count, a_);
    read_floats(v_det_, "detectability", start, count, det_);
    read_floats(v_level_, "level", start_b, count_b, level_);
    read_doubles(v_lat_, "lat", start_r, count_r, lat_);
    read_doubles(v_lon_, "lon", start_r, count_r, lon_);
    if (!grid_) {
        read_doubles(v_x_, "x", start_r, count_r, sx_);
        read_doubles(v_y_, "y", start_r, count_r, sy_);
        read_floats(v_height_, "height", start_r, count_r, height_);
        read_names(first, rows);
    }
    s_col_ = col;
    s_first_ = first;
    s_rows_ = rows;
}

std::string NetcdfResultReader::receiver_text(long r) const {
    if (grid_) {
        return "receiver " + fmt_i(run_.block.Iifirst + s_col_, 4, 4) + fmt_i(run_.block.Jjfirst + s_first_ + r, 4, 4);
    }
    return "site " + std::to_string(s_first_ + r + 1) + " ('" + names_[static_cast<size_t>(r)] + "')";
}

int NetcdfResultReader::tenths(float v, const char* variable, long r, long p) const {
    if (std::isnan(v)) return kMissingTenths;
    if (!(std::fabs(v) <= kMaxLevel)) {
        fail(std::string("values in dB within ") + number(kMaxLevel) + " of 0 in variable '" + variable + "'",
             number(v) + " at " + receiver_text(r) + ", point " + std::to_string(p + 1));
    }
    return static_cast<int>(std::lround(static_cast<double>(v) * 10.0));
}

bool NetcdfResultReader::next(ReceiverHistory& h) {
    const long total = nx_ * ny_;
    const auto n = static_cast<size_t>(npts_), nb = static_cast<size_t>(nband_);
    while (next_ < total) {
        const long col = next_ / ny_, row = next_ % ny_;
        ++next_;
        if (col != s_col_ || row < s_first_ || row >= s_first_ + s_rows_) load_stripe(col, row - row % rows_);
        const long r = row - s_first_;
        const auto ri = static_cast<size_t>(r);
        const size_t Rs = static_cast<size_t>(s_rows_);
        // Point p of receiver r, and band b of it, in the stripe's buffers.
        const auto at = [&](size_t p) { return grid_ ? p * Rs + ri : ri * n + p; };
        const auto at_b = [&](size_t p, size_t b) { return grid_ ? (p * nb + b) * Rs + ri : (ri * n + p) * nb + b; };
        bool computed = false;
        if (grid_) {
            for (size_t p = 0; p < n && !computed; ++p) computed = !std::isnan(time_[at(p)]);
        } else {
            computed = height_[ri] > 0.0f;
        }
        if (!computed) continue;

        ReceiverHead& head = h.head;
        head = ReceiverHead{};
        head.Siteidx = ++count_;
        if (grid_) {
            head.Name = fmt_i(run_.block.Iifirst + col, 4, 4) + fmt_i(run_.block.Jjfirst + row, 4, 4);
            head.x = static_cast<float>(xs_[static_cast<size_t>(col)]);
            head.y = static_cast<float>(ys_[static_cast<size_t>(row)]);
        } else {
            head.Name = names_[ri];
            head.x = static_cast<float>(sx_[ri]);
            head.y = static_cast<float>(sy_[ri]);
            head.z = height_[ri];
        }
        head.Utmzone = run_.Utmzone;
        head.lat = std::isnan(lat_[ri]) ? HUGE_VAL : lat_[ri];
        head.lon = std::isnan(lon_[ri]) ? HUGE_VAL : lon_[ri];
        head.date = run_.date;
        for (int& v : head.Ambrow) v = kMissingTenths;
        where_ = path_ + ", " + receiver_text(r);

        h.computed = true;
        h.points.resize(n);
        for (size_t p = 0; p < n; ++p) {
            HistoryPoint& pt = h.points[p];
            const size_t i = at(p);
            pt.t = millisecond(time_[i]);
            for (int& v : pt.Outrow) v = kMissingTenths;
            pt.Outrow[0] = tenths(flat_[i], "level_flat", r, static_cast<long>(p));
            pt.Outrow[1] = tenths(a_[i], "level_a", r, static_cast<long>(p));
            for (size_t b = 0; b < nb; ++b) pt.Outrow[column_[b]] = tenths(level_[at_b(p, b)], "level", r, static_cast<long>(p));
            const float m = det_[i];
            if (std::isnan(m)) {
                pt.M = kMissingTenths;
            } else {
                if (!(std::fabs(m) <= kMaxLevel)) {
                    fail(std::string("values in dB within ") + number(kMaxLevel) + " of 0 in variable 'detectability'",
                         number(m) + " at " + receiver_text(r) + ", point " + std::to_string(p + 1));
                }
                pt.M = static_cast<int>(std::lround(m));
            }
            bool any = false;
            for (int v : pt.Outrow) any = any || v != kMissingTenths;
            pt.in_range = any;
        }
        return true;
    }
    return false;
}

}  // namespace tn

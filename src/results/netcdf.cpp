#include "results/netcdf.h"

#include <hdf5.h>
#include <netcdf.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "geo/coordinates.h"
#include "io/errors.h"
#include "io/netcdf_lock.h"
#include "io/staged_file.h"
#include "results/bands.h"
#include "results/writer.h"

namespace tn {

namespace {

constexpr long kMaxRows = 64;
constexpr long kMaxPoints = 128;
constexpr double kStripeBytes = 32.0 * 1024.0 * 1024.0;
// Variables of a receiver and point besides the bands: time, level_flat, level_a, detectability.
constexpr int kPointVariables = 4;
// Deflate level: compression is most of what writing costs, run on the thread that hands receivers
// over. Level 1 compresses these fields about 100 MB/s here; 4 makes the file 10 % smaller at three
// quarters of that speed, 6 another 1.5 % smaller at half of it.
constexpr int kDeflateLevel = 1;
constexpr float kFloatFill = std::numeric_limits<float>::quiet_NaN();
constexpr double kDoubleFill = std::numeric_limits<double>::quiet_NaN();

// HDF5 (1.10) cannot close a file whose write has failed (a full disk): closing it crashes, and so
// would the library's own clean-up at exit, which closes every file still open. The writer leaves
// such a file open (its partial name is removed all the same), and the clean-up at exit is turned
// off before the library starts; every other file has been closed by then.
const int kNoCleanupAtExit = H5dont_atexit();

// The size of equal parts of at most `most` that cover n (at least 1).
long even_part(long n, long most) {
    if (n < 1) return 1;
    const long parts = (n + most - 1) / most;
    return (n + parts - 1) / parts;
}

// A level column in tenths of a dB as dB; the missing mark as the fill value.
float level_of(int tenths) {
    return tenths == kMissingTenths ? kFloatFill : static_cast<float>(tenths) / 10.0f;
}

// Latitudes and longitudes that the conversion could not give (HUGE_VAL) are fill values.
double degrees_of(double v) { return std::isfinite(v) ? v : kDoubleFill; }

std::string iso_date(const CivilDate& d) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", d.year, d.month, d.day);
    return buf;
}

// The receivers first..first + rows - 1 of a lattice column `col` (or of the sites), every variable.
struct Stripe {
    long col = 0;
    long first = 0;
    long rows = 0;   // 0: empty
    std::vector<float> time, flat, a, det, level;
    std::vector<double> lat, lon, x, y;
    std::vector<float> height;
    std::vector<std::string> names;
};

class NetcdfWriter final : public ResultWriter {
public:
    NetcdfWriter() = default;
    ~NetcdfWriter() override {
        stop_writing();
        // An unfinished file is closed here, unless a write failed (see kNoCleanupAtExit); the
        // stage then removes it.
        if (ncid_ >= 0 && !failed_) {
            const std::lock_guard<std::mutex> lock(netcdf_mutex());
            nc_abort(ncid_);
        }
    }

    void open(const RunHeader& run) override {
        name_ = run.Runout;
        stage_.begin(run.Runout);
        grid_ = run.grid;
        Npts_ = std::max(run.Npts, 0);
        Nband_ = static_cast<int>(run.Freq.size());
        Bandoff_ = run.Bandoff;
        if (grid_) {
            ny_ = static_cast<long>(run.Yrow.size());
            nx_ = static_cast<long>(run.Xcol.size());
        } else {
            ny_ = std::max(run.Nrecv, 0L);
            nx_ = 1;
        }
        chunks_ = netcdf_chunking(ny_, Npts_, Nband_);

        const std::lock_guard<std::mutex> lock(netcdf_mutex());
        errno = 0;
        const int status = nc_create(stage_.partial().c_str(), NC_NETCDF4 | NC_CLOBBER, &ncid_);
        if (status != NC_NOERR) {
            const int e = errno;
            ncid_ = -1;
            throw file_error(name_, 0, std::string("cannot create the result file: ") + nc_strerror(status) +
                                           (e != 0 ? std::string(": ") + std::strerror(e) : std::string()));
        }
        define(run);
        check(nc_enddef(ncid_), "ending the definitions");
        write_axes(run);
        writing_ = std::thread([this] { write_stripes(); });
    }

    void receiver(const ReceiverHistory& h) override {
        const long k = next_++;
        const long col = grid_ ? (ny_ > 0 ? k / ny_ : nx_) : 0;
        const long row = grid_ ? (ny_ > 0 ? k % ny_ : 0) : k;
        // Receivers beyond the block (a block whose spans both run backwards) have no place.
        if (col >= nx_ || row >= ny_) return;
        if (row % chunks_.rows == 0) start_stripe(col, row);
        put(row - fill_.first, h);
        if (row - fill_.first == fill_.rows - 1) hand_over();
    }

    void finish() override {
        if (fill_.rows > 0) hand_over();
        stop_writing();
        if (error_) std::rethrow_exception(error_);
        {
            const std::lock_guard<std::mutex> lock(netcdf_mutex());
            errno = 0;
            check(nc_close(ncid_), "closing it");
            ncid_ = -1;
        }
        stage_.commit();
    }

private:
    // A failed call stops the run. The system's reason (a full disk, say) is added when the
    // library left one: errno is cleared before each group of calls.
    void check(int status, const char* what) {
        if (status != NC_NOERR) {
            const int e = errno;
            failed_ = true;
            std::string msg = std::string("cannot write the result file (") + what + "): " + nc_strerror(status);
            if (e != 0) msg += std::string(": ") + std::strerror(e);
            throw file_error(name_, 0, msg);
        }
    }

    void text(int var, const char* name, const std::string& value) {
        check(nc_put_att_text(ncid_, var, name, value.size(), value.c_str()), name);
    }
    void number(int var, const char* name, double value) {
        check(nc_put_att_double(ncid_, var, name, NC_DOUBLE, 1, &value), name);
    }
    void integers(int var, const char* name, const std::vector<int>& values) {
        check(nc_put_att_int(ncid_, var, name, NC_INT, values.size(), values.data()), name);
    }

    int dimension(const char* name, long len) {
        int id = -1;
        // A length of 0 would ask for an unlimited dimension; an empty block is one of length 0 all
        // the same, and nothing is ever written along it.
        check(nc_def_dim(ncid_, name, static_cast<size_t>(std::max(len, 0L)), &id), name);
        return id;
    }

    int variable(const char* name, nc_type type, const std::vector<int>& dims, const char* long_name,
                 const char* units) {
        int id = -1;
        check(nc_def_var(ncid_, name, type, static_cast<int>(dims.size()), dims.data(), &id), name);
        if (long_name) text(id, "long_name", long_name);
        if (units) text(id, "units", units);
        return id;
    }

    // A data variable: chunked as the header says, shuffled and deflated, NaN as its fill value,
    // on the run's map projection.
    int data_variable(const char* name, const std::vector<int>& dims, const std::vector<size_t>& chunk,
                      const char* long_name, const char* units, const std::string& coordinates) {
        const int id = variable(name, NC_FLOAT, dims, long_name, units);
        check(nc_def_var_chunking(ncid_, id, NC_CHUNKED, chunk.data()), name);
        check(nc_def_var_deflate(ncid_, id, 1, 1, kDeflateLevel), name);
        check(nc_def_var_fill(ncid_, id, 0, &kFloatFill), name);
        // Every write covers whole chunks: HDF5 needs no cache to gather them, and a cache too small
        // for any chunk sends each one compressed to the file at once. (A size of 0 would leave the
        // library's default of megabytes per variable, which fills with finished chunks.)
        check(nc_set_var_chunk_cache(ncid_, id, 1, 1, 1.0f), name);
        if (crs_ >= 0) text(id, "grid_mapping", "crs");
        text(id, "coordinates", coordinates);
        return id;
    }

    void define(const RunHeader& run) {
        const std::string wkt = utm_crs_wkt(run.Utmzone);

        text(NC_GLOBAL, "Conventions", "CF-1.8");
        text(NC_GLOBAL, "title", grid_ ? "Noise time histories of a moving source on a lattice of receivers"
                                       : "Noise time histories of a moving source at receiver sites");
        text(NC_GLOBAL, "source", run.program);
        text(NC_GLOBAL, "history", iso_date(run.date) + ": " + run.program + ", " + (grid_ ? "grid" : "site") +
                                       " run written to " + run.Runout);
        text(NC_GLOBAL, "comment",
             "Levels are the time-history files' integer tenths of a dB divided by 10; NaN where those read "
             "-999 (a band not computed, a point beyond the distance limit, a level whose tenths truncate to "
             "-999 or less) and at receivers passed over.");
        text(NC_GLOBAL, "terrain_file", run.Terrfile);
        text(NC_GLOBAL, "ground_file", run.Gndfile);
        text(NC_GLOBAL, "site_file", run.Sitefile);
        text(NC_GLOBAL, "info", run.Infofile);
        text(NC_GLOBAL, "ambient_file", run.Ambfile);
        text(NC_GLOBAL, "trajectory_file", run.Trackfile);
        text(NC_GLOBAL, "source_file", run.Srcfile);
        integers(NC_GLOBAL, "utm_zone", {run.Utmzone});
        if (grid_) {
            const GridBlock& b = run.block;
            integers(NC_GLOBAL, "lattice_columns", {b.Iifirst, b.Iilast, b.Iicount});
            integers(NC_GLOBAL, "lattice_rows", {b.Jjfirst, b.Jjlast, b.Jjcount});
        } else {
            text(NC_GLOBAL, "featureType", "timeSeries");
        }

        const int point = dimension("point", Npts_);
        const int band = dimension("band", Nband_);
        int y = -1, x = -1, site = -1;
        if (grid_) {
            y = dimension("y", ny_);
            x = dimension("x", nx_);
        } else {
            site = dimension("site", ny_);
        }

        // The map projection: the zone's transverse Mercator on WGS 84.
        if (!wkt.empty()) {
            const int zone = run.Utmzone < 0 ? -run.Utmzone : run.Utmzone;
            crs_ = variable("crs", NC_INT, {}, nullptr, nullptr);
            text(crs_, "grid_mapping_name", "transverse_mercator");
            number(crs_, "longitude_of_central_meridian", 6.0 * zone - 183.0);
            number(crs_, "latitude_of_projection_origin", 0.0);
            number(crs_, "scale_factor_at_central_meridian", 0.9996);
            number(crs_, "false_easting", 500000.0);
            number(crs_, "false_northing", run.Utmzone < 0 ? 10000000.0 : 0.0);
            number(crs_, "semi_major_axis", 6378137.0);
            number(crs_, "inverse_flattening", 298.257223563);
            number(crs_, "longitude_of_prime_meridian", 0.0);
            text(crs_, "reference_ellipsoid_name", "WGS 84");
            text(crs_, "geographic_crs_name", "WGS 84");
            text(crs_, "projected_crs_name",
                 "WGS 84 / UTM zone " + std::to_string(zone) + (run.Utmzone < 0 ? "S" : "N"));
            text(crs_, "crs_wkt", wkt);
        }

        // GDAL names the non-spatial dimensions of a raster by a 1-D variable along each.
        variable("point_number", NC_INT, {point}, "trajectory point number (SP# of the time-history files)", nullptr);
        variable("frequency", NC_FLOAT, {band}, "band centre frequency", "Hz");
        variable("band_number", NC_INT, {band}, "band number on the rulers of the time-history files", nullptr);

        std::string where;   // the auxiliary coordinates of the data variables
        if (grid_) {
            const int vx = variable("x", NC_DOUBLE, {x}, "easting of the lattice column", "m");
            text(vx, "standard_name", "projection_x_coordinate");
            text(vx, "axis", "X");
            const int vy = variable("y", NC_DOUBLE, {y}, "northing of the lattice row", "m");
            text(vy, "standard_name", "projection_y_coordinate");
            text(vy, "axis", "Y");
            if (crs_ >= 0) {
                text(vx, "grid_mapping", "crs");
                text(vy, "grid_mapping", "crs");
            }
            v_lat_ = variable("lat", NC_DOUBLE, {y, x}, "latitude of the receiver", "degrees_north");
            v_lon_ = variable("lon", NC_DOUBLE, {y, x}, "longitude of the receiver", "degrees_east");
            where = "time point_number lat lon";
        } else {
            v_name_ = variable("site_name", NC_STRING, {site}, "name of the receiver site", nullptr);
            text(v_name_, "cf_role", "timeseries_id");
            v_x_ = variable("x", NC_DOUBLE, {site}, "easting of the site", "m");
            text(v_x_, "standard_name", "projection_x_coordinate");
            v_y_ = variable("y", NC_DOUBLE, {site}, "northing of the site", "m");
            text(v_y_, "standard_name", "projection_y_coordinate");
            if (crs_ >= 0) {
                text(v_x_, "grid_mapping", "crs");
                text(v_y_, "grid_mapping", "crs");
            }
            v_height_ = variable("height", NC_FLOAT, {site}, "height of the receiver above the ground", "m");
            text(v_height_, "positive", "up");
            v_lat_ = variable("lat", NC_DOUBLE, {site}, "latitude of the site", "degrees_north");
            v_lon_ = variable("lon", NC_DOUBLE, {site}, "longitude of the site", "degrees_east");
            where = "time point_number site_name x y height lat lon";
        }
        // Positions are few beside the levels: stored whole, uncompressed, for quick reading. An
        // empty block or site list has dimensions of length 0, which netCDF makes unlimited, and
        // those need chunks.
        const bool empty = ny_ == 0 || nx_ == 0;
        const std::vector<size_t> one(grid_ ? 2 : 1, 1);
        for (int v : {v_lat_, v_lon_}) {
            check(nc_def_var_chunking(ncid_, v, empty ? NC_CHUNKED : NC_CONTIGUOUS, empty ? one.data() : nullptr),
                  "lat, lon");
            check(nc_def_var_fill(ncid_, v, 0, &kDoubleFill), "lat, lon");
        }
        text(v_lat_, "standard_name", "latitude");
        text(v_lon_, "standard_name", "longitude");

        const auto rows = static_cast<size_t>(chunks_.rows);
        const auto pts = static_cast<size_t>(chunks_.points);
        std::vector<int> per_point, per_band;
        std::vector<size_t> chunk_point, chunk_band;
        if (grid_) {
            per_point = {point, y, x};
            per_band = {point, band, y, x};
            chunk_point = {pts, rows, 1};
            chunk_band = {pts, 1, rows, 1};
        } else {
            per_point = {site, point};
            per_band = {site, point, band};
            chunk_point = {rows, pts};
            chunk_band = {rows, pts, 1};
        }
        // The arrival time is an auxiliary coordinate of the levels; its own coordinates are the rest.
        v_time_ = data_variable("time", per_point, chunk_point, "time of arrival at the receiver", "s",
                                where.substr(5));
        text(v_time_, "comment",
             "time of the trajectory point, plus the slant range over the speed of sound, plus the run's "
             "time offset (time_offset)");
        number(v_time_, "time_offset", run.Tstart);
        v_flat_ = data_variable("level_flat", per_point, chunk_point, "flat (unweighted) sound level", "dB", where);
        v_a_ = data_variable("level_a", per_point, chunk_point, "A-weighted sound level", "dB", where);
        v_level_ = data_variable("level", per_band, chunk_band, "one-third-octave band sound level", "dB",
                                 where + " frequency band_number");
        v_det_ = data_variable("detectability", per_point, chunk_point,
                               "detectability of the signal over the receiver's ambient", "dB", where);
        text(v_det_, "comment", "whole dB, as column 42 of the time-history files");
    }

    // Coordinates known before the first receiver.
    void write_axes(const RunHeader& run) {
        std::vector<int> numbers(static_cast<size_t>(Npts_));
        for (int n = 0; n < Npts_; ++n) numbers[static_cast<size_t>(n)] = n + 1;
        int id = -1;
        check(nc_inq_varid(ncid_, "point_number", &id), "point_number");
        if (Npts_ > 0) check(nc_put_var_int(ncid_, id, numbers.data()), "point_number");
        std::vector<int> bands(static_cast<size_t>(Nband_));
        for (int b = 0; b < Nband_; ++b) bands[static_cast<size_t>(b)] = Bandoff_ + b + kFirstBandNumber - 1;
        check(nc_inq_varid(ncid_, "frequency", &id), "frequency");
        if (Nband_ > 0) check(nc_put_var_float(ncid_, id, run.Freq.data()), "frequency");
        check(nc_inq_varid(ncid_, "band_number", &id), "band_number");
        if (Nband_ > 0) check(nc_put_var_int(ncid_, id, bands.data()), "band_number");
        if (crs_ >= 0) {
            const int zero = 0;
            check(nc_put_var_int(ncid_, crs_, &zero), "crs");
        }
        if (grid_) {
            const std::vector<double> xs(run.Xcol.begin(), run.Xcol.end());
            const std::vector<double> ys(run.Yrow.begin(), run.Yrow.end());
            check(nc_inq_varid(ncid_, "x", &id), "x");
            if (!xs.empty()) check(nc_put_var_double(ncid_, id, xs.data()), "x");
            check(nc_inq_varid(ncid_, "y", &id), "y");
            if (!ys.empty()) check(nc_put_var_double(ncid_, id, ys.data()), "y");
        }
    }

    void start_stripe(long col, long first) {
        Stripe& s = fill_;
        s.col = col;
        s.first = first;
        s.rows = std::min<long>(chunks_.rows, ny_ - first);
        const auto n = static_cast<size_t>(s.rows) * static_cast<size_t>(Npts_);
        for (std::vector<float>* v : {&s.time, &s.flat, &s.a, &s.det}) v->assign(n, kFloatFill);
        s.level.assign(n * static_cast<size_t>(Nband_), kFloatFill);
        const auto r = static_cast<size_t>(s.rows);
        s.lat.assign(r, kDoubleFill);
        s.lon.assign(r, kDoubleFill);
        s.x.assign(r, 0.0);
        s.y.assign(r, 0.0);
        s.height.assign(r, 0.0f);
        s.names.assign(r, std::string());
    }

    // Index of point p of stripe receiver r, and of its band b, in the stripe's buffers: points
    // outermost for a grid (point, y), the receiver outermost for sites (site, point).
    size_t at(long r, long p) const {
        return grid_ ? static_cast<size_t>(p * fill_.rows + r) : static_cast<size_t>(r * Npts_ + p);
    }
    size_t at(long r, long p, long b) const {
        return grid_ ? static_cast<size_t>((p * Nband_ + b) * fill_.rows + r)
                     : static_cast<size_t>((r * Npts_ + p) * Nband_ + b);
    }

    void put(long r, const ReceiverHistory& h) {
        Stripe& s = fill_;
        const auto ri = static_cast<size_t>(r);
        s.lat[ri] = degrees_of(h.head.lat);
        s.lon[ri] = degrees_of(h.head.lon);
        s.x[ri] = h.head.x;
        s.y[ri] = h.head.y;
        s.height[ri] = h.head.z;
        s.names[ri] = std::string(h.head.Name.trimmed());
        if (!h.computed) return;   // passed over: fill values
        const long n = std::min<long>(Npts_, static_cast<long>(h.points.size()));
        for (long p = 0; p < n; ++p) {
            const HistoryPoint& pt = h.points[static_cast<size_t>(p)];
            const size_t i = at(r, p);
            s.time[i] = pt.t;
            s.flat[i] = level_of(pt.Outrow[0]);
            s.a[i] = level_of(pt.Outrow[1]);
            s.det[i] = pt.M == kMissingTenths ? kFloatFill : static_cast<float>(pt.M);
            for (long b = 0; b < Nband_; ++b) s.level[at(r, p, b)] = level_of(pt.Outrow[Bandoff_ + 1 + b]);
        }
    }

    // Compression is most of the writing: a full stripe goes to a thread of the writer's own, so
    // that the receivers go on being computed and handed over meanwhile. The stripes reach the file
    // in the order they were filled, one at a time, so the file is the same whatever the timing.
    void hand_over() {
        std::unique_lock<std::mutex> lock(m_);
        idle_.wait(lock, [this] { return !pending_; });
        if (error_) std::rethrow_exception(error_);
        std::swap(fill_, out_);
        fill_.rows = 0;
        pending_ = true;
        work_.notify_one();
    }

    void write_stripes() {
        // HDF5 keeps its error reporting per thread: this one reports through the writer's messages
        // alone, as the library's first thread does.
        H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
        for (;;) {
            std::unique_lock<std::mutex> lock(m_);
            work_.wait(lock, [this] { return pending_ || stop_; });
            if (!pending_) return;
            lock.unlock();
            std::exception_ptr error;
            try {
                write_stripe(out_);
            } catch (...) {
                error = std::current_exception();
            }
            lock.lock();
            if (error && !error_) error_ = error;
            pending_ = false;
            idle_.notify_all();
        }
    }

    // Waits for the stripe being written and ends the writing thread.
    void stop_writing() {
        if (!writing_.joinable()) return;
        {
            const std::lock_guard<std::mutex> lock(m_);
            stop_ = true;
        }
        work_.notify_one();
        writing_.join();
    }

    void write_stripe(const Stripe& s) {
        const std::lock_guard<std::mutex> lock(netcdf_mutex());
        errno = 0;
        const auto first = static_cast<size_t>(s.first);
        const auto rows = static_cast<size_t>(s.rows);
        const auto col = static_cast<size_t>(s.col);
        const auto pts = static_cast<size_t>(Npts_);
        const auto nb = static_cast<size_t>(Nband_);
        if (pts > 0) {
            std::vector<size_t> start, count, start_b, count_b;
            if (grid_) {
                start = {0, first, col};
                count = {pts, rows, 1};
                start_b = {0, 0, first, col};
                count_b = {pts, nb, rows, 1};
            } else {
                start = {first, 0};
                count = {rows, pts};
                start_b = {first, 0, 0};
                count_b = {rows, pts, nb};
            }
            check(nc_put_vara_float(ncid_, v_time_, start.data(), count.data(), s.time.data()), "time");
            check(nc_put_vara_float(ncid_, v_flat_, start.data(), count.data(), s.flat.data()), "level_flat");
            check(nc_put_vara_float(ncid_, v_a_, start.data(), count.data(), s.a.data()), "level_a");
            if (nb > 0) check(nc_put_vara_float(ncid_, v_level_, start_b.data(), count_b.data(), s.level.data()), "level");
            check(nc_put_vara_float(ncid_, v_det_, start.data(), count.data(), s.det.data()), "detectability");
        }
        if (grid_) {
            const size_t start[2] = {first, col};
            const size_t count[2] = {rows, 1};
            check(nc_put_vara_double(ncid_, v_lat_, start, count, s.lat.data()), "lat");
            check(nc_put_vara_double(ncid_, v_lon_, start, count, s.lon.data()), "lon");
        } else {
            const size_t start[1] = {first};
            const size_t count[1] = {rows};
            std::vector<const char*> names(rows);
            for (size_t r = 0; r < rows; ++r) names[r] = s.names[r].c_str();
            check(nc_put_vara_string(ncid_, v_name_, start, count, names.data()), "site_name");
            check(nc_put_vara_double(ncid_, v_x_, start, count, s.x.data()), "x");
            check(nc_put_vara_double(ncid_, v_y_, start, count, s.y.data()), "y");
            check(nc_put_vara_float(ncid_, v_height_, start, count, s.height.data()), "height");
            check(nc_put_vara_double(ncid_, v_lat_, start, count, s.lat.data()), "lat");
            check(nc_put_vara_double(ncid_, v_lon_, start, count, s.lon.data()), "lon");
        }
    }

    StagedFile stage_;
    std::string name_;
    int ncid_ = -1;
    bool grid_ = false;
    int Npts_ = 0;
    int Nband_ = 0;
    int Bandoff_ = 1;
    long ny_ = 0;      // receivers along a stripe's direction: rows of a lattice column, or sites
    long nx_ = 1;      // lattice columns (1 for sites)
    long next_ = 0;    // receivers handed over so far
    NcChunking chunks_;
    int crs_ = -1;
    int v_time_ = -1, v_flat_ = -1, v_a_ = -1, v_level_ = -1, v_det_ = -1;
    int v_lat_ = -1, v_lon_ = -1, v_name_ = -1, v_x_ = -1, v_y_ = -1, v_height_ = -1;

    Stripe fill_;      // being filled by the calling thread
    Stripe out_;       // being written by the writing thread while pending_
    std::thread writing_;
    std::mutex m_;
    std::condition_variable work_, idle_;
    bool pending_ = false;
    bool stop_ = false;
    std::exception_ptr error_;   // the first failure of the writing thread
    std::atomic<bool> failed_{false};   // a call of the library failed: the file cannot be closed
};

}  // namespace

NcChunking netcdf_chunking(long receivers, int Npts, int Nband) {
    const double row_bytes = static_cast<double>(std::max(Npts, 1)) * (std::max(Nband, 0) + kPointVariables) * 4.0;
    const long most = std::clamp(static_cast<long>(kStripeBytes / row_bytes), 1L, kMaxRows);
    NcChunking c;
    c.rows = static_cast<int>(even_part(receivers, most));
    c.points = static_cast<int>(even_part(Npts, kMaxPoints));
    return c;
}

std::unique_ptr<ResultWriter> make_netcdf_writer() { return std::make_unique<NetcdfWriter>(); }

}  // namespace tn

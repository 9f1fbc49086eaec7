// NetCDF results (".nc", the run option "CDF") read back, one receiver at a time.
//
// The reader checks that the file has the layout the writer makes (netcdf.h): the dimensions of a
// grid run (point, band, y, x) or a site run (site, point, band), the data variables time,
// level_flat, level_a, level and detectability along them, the coordinates, and the global
// attributes utm_zone and, for a grid, lattice_columns and lattice_rows. Anything else (another
// netCDF file, a file cut short, a variable missing or of another shape) stops with
// "FILE: expected ..., found ...". A classic file's header is checked before the library reads it
// (io/netcdf_header.h).
//
// What is read back is what the time-history files hold, in their order: grid receivers column by
// column, rows rising, named IIIIJJJJ from their lattice position; sites in file order by their
// name. Receivers the run passed over (a grid receiver whose arrival times are all missing, a site
// of height 0 or below) are left out, as the text files have no section for them. Levels return to
// integer tenths of a dB (the value times 10, rounded to the nearest integer; NaN is -999), the
// detectability to the whole dB, the arrival time to the millisecond (as the text files hold
// it, so that both forms give the same metrics). The position is the file's x and y,
// the run's own floats; latitude and longitude as stored (missing ones as HUGE_VAL). The file holds
// no ambient row (every column reads -999) and, for a grid, no height (0).
//
// Memory: one stripe of receivers at a time (the file's chunk rows, at most 32 MB of values), read
// with whole-chunk reads, whatever the size of the lattice.
#pragma once

#include <string>
#include <vector>

#include "results/history_source.h"

namespace tn {

class NetcdfResultReader final : public HistorySource {
public:
    // Opens the file and reads its layout and header.
    explicit NetcdfResultReader(const std::string& path);
    ~NetcdfResultReader() override;
    NetcdfResultReader(const NetcdfResultReader&) = delete;
    NetcdfResultReader& operator=(const NetcdfResultReader&) = delete;

    const std::string& name() const override { return path_; }
    const RunHeader& header() const override { return run_; }
    bool has_detectability() const override { return true; }
    bool next(ReceiverHistory& h) override;
    std::string where() const override { return where_; }

private:
    [[noreturn]] void fail(const std::string& expected, const std::string& found) const;
    void read_layout();
    void read_header();
    int data_variable(const char* name, bool bands);
    int coordinate(const char* name, const std::vector<int>& dims, bool text = false);
    void choose_stripe();
    void load_stripe(long col, long first);
    void read_floats(int var, const char* name, const std::vector<size_t>& start, const std::vector<size_t>& count,
                     std::vector<float>& out) const;
    void read_doubles(int var, const char* name, const std::vector<size_t>& start, const std::vector<size_t>& count,
                      std::vector<double>& out) const;
    void read_names(long first, long rows);
    int tenths(float v, const char* variable, long r, long p) const;
    std::string receiver_text(long r) const;

    std::string path_;
    int ncid_ = -1;
    RunHeader run_;
    bool grid_ = false;
    long npts_ = 0;             // trajectory points
    long nband_ = 0;            // bands in `level`
    long ny_ = 0;               // receivers along a stripe's direction: rows of a lattice column, or sites
    long nx_ = 1;               // lattice columns (1 for sites)
    std::vector<int> column_;   // Outrow column of each band of `level`
    int dim_point_ = -1, dim_band_ = -1, dim_y_ = -1, dim_x_ = -1, dim_site_ = -1;
    int v_time_ = -1, v_flat_ = -1, v_a_ = -1, v_level_ = -1, v_det_ = -1;
    int v_lat_ = -1, v_lon_ = -1, v_x_ = -1, v_y_ = -1, v_name_ = -1, v_height_ = -1;
    std::vector<double> xs_, ys_;   // grid: x of each column, y of each row
    long rows_ = 1;             // receivers per stripe

    // The stripe in memory: receivers first..first + rows - 1 of lattice column col (or the sites).
    long s_col_ = -1, s_first_ = 0, s_rows_ = 0;
    std::vector<float> time_, flat_, a_, det_, level_, height_;
    std::vector<double> lat_, lon_, sx_, sy_;
    std::vector<std::string> names_;

    long next_ = 0;             // the next receiver of the file, in file order
    int count_ = 0;             // receivers handed out
    std::string where_;
};

}  // namespace tn

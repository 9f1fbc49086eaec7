// Small cases written into a temporary folder for the whole-program tests: tagged terrain grids,
// trajectories, source lists and tables, site files, control files and run scripts.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "batch/program.h"

namespace tntest {

namespace fs = std::filesystem;

class CaseDir {
public:
    explicit CaseDir(const std::string& name) {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string unique = name + "_" + (info ? std::string(info->test_suite_name()) + "_" + info->name() : "x") +
                             "_" + std::to_string(::getpid());
        std::replace(unique.begin(), unique.end(), '/', '_');   // names of parameterized tests
        dir_ = fs::temp_directory_path() / ("tn_case_" + unique);
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        old_cwd_ = fs::current_path();
    }
    ~CaseDir() {
        std::error_code ec;
        fs::current_path(old_cwd_, ec);   // the source tables may have moved the working folder
        if (!std::getenv("TN_KEEP_TEST_CASES")) fs::remove_all(dir_, ec);
    }
    CaseDir(const CaseDir&) = delete;
    CaseDir& operator=(const CaseDir&) = delete;

    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    const fs::path& dir() const { return dir_; }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(dir_ / name, std::ios::binary) << text;
    }
    std::string read(const std::string& name) const {
        std::ifstream in(dir_ / name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    bool exists(const std::string& name) const { return fs::exists(dir_ / name); }

    // A versioned tagged grid: NX by NY nodes at spacing d, node (1, 1) at (x0, y0), heights z(i, j).
    void write_grid(const std::string& name, const char* tag, int nx, int ny, float d, float x0, float y0,
                    int zone, const std::function<float(int, int)>& z) const {
        std::string b;
        auto word = [&b](auto v) { b.append(reinterpret_cast<const char*>(&v), 4); };
        auto rec = [&](const char* t, std::int32_t n) { b.append(t, 4); word(n); };
        rec("TITL", 4);
        b += "GridVers";
        word(std::int32_t{1}), word(std::int32_t{0});
        rec("UTMZ", 1), word(std::int32_t{zone});
        rec("USER", 4), word(x0), word(y0), word(0.0f), word(std::int32_t{0});
        rec("DIDJ", 2), word(d), word(d);
        rec("NINJ", 2), word(std::int32_t{nx}), word(std::int32_t{ny});
        rec(tag, nx * ny);
        for (int i = 1; i <= nx; ++i) {
            for (int j = 1; j <= ny; ++j) word(z(i, j));
        }
        rec("ENDF", 0);
        write(name, b);
    }

    // A trajectory: 16 head lines, then one line per point of nine numbers.
    struct Point {
        double time, x, y, z, heading, climb, speed, power, bank;
    };
    void write_trajectory(const std::string& name, double tempf, double rh, const std::vector<Point>& pts) const {
        std::ostringstream t;
        t << "Flight track\n";
        for (int k = 2; k <= 12; ++k) t << "head line " << k << "\n";
        char buf[64];
        std::snprintf(buf, sizeof buf, "Temp: %5.1f\n", tempf);
        t << buf;
        std::snprintf(buf, sizeof buf, "RelHum:%5.1f\n", rh);
        t << buf;
        t << "Point data\n   Time  X  Y  Z  Heading  Climb  Speed  Power  Bank\n";
        for (const Point& p : pts) {
            const double v[9] = {p.time, p.x, p.y, p.z, p.heading, p.climb, p.speed, p.power, p.bank};
            for (double x : v) {
                std::snprintf(buf, sizeof buf, "%15.3f", x);
                t << buf;
            }
            t << "\n";
        }
        write(name, t.str());
    }

    // A source list of one condition (value 0) whose table has, at every angle, level(b) in band b.
    void write_source(const std::string& list, const std::string& table, const std::vector<float>& freqs,
                      const std::function<float(int, int)>& level, const char* type = "Other",
                      const char* minagl_feet = nullptr) const {
        std::ostringstream l;
        l << type << "\nTest source\nRef:  10.0\nAlt:  00.0\n" << freqs.size() << "\n1\n";
        char buf[64];
        std::snprintf(buf, sizeof buf, "%-12s%8.1f\n", table.c_str(), 0.0);
        l << buf;
        for (float fr : freqs) l << fr << "\n";
        if (minagl_feet) l << minagl_feet << "\n";
        write(list, l.str());
        std::ostringstream t;
        t << "table line 1\ntable line 2\n";
        for (int a = 0; a <= 36; ++a) {
            std::snprintf(buf, sizeof buf, "%-12s%8.1f", "Angle", a * 5.0);
            t << buf;
            for (int b = 1; b <= static_cast<int>(freqs.size()); ++b) {
                std::snprintf(buf, sizeof buf, "%5.1f", level(b, a));
                t << buf;
            }
            t << "\n";
        }
        write(table, t.str());
    }

    // Control file of the given lines (missing lines are simply not written).
    void write_control(const std::string& name, const std::vector<std::string>& lines) const {
        std::string s;
        for (const std::string& l : lines) s += l + "\n";
        write(name, s);
    }
private:
    fs::path dir_;
    fs::path old_cwd_;
};

// The small case that the whole-program tests start from: flat terrain at 10 m (5 by 5 nodes 100 m
// apart from (500000, 4000000), zone 11), a level flight along +x at 310 m of three points a second
// apart, 200 m north of the origin, a source of three bands (1000, 1250 and 1600 Hz at 71, 72 and
// 73 dB at every angle), and the control file case.ctl naming them relatively.
inline void write_small_case(const CaseDir& dir, const std::function<float(int, int)>& z = [](int, int) { return 10.0f; }) {
    dir.write_grid("terrain.grd", "ZALT", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11, z);
    dir.write_trajectory("track.trj", 59.0, 70.0, {{0, 500000, 4000200, 310, 90, 0, 100, 80, 0},
                                                   {1, 500100, 4000200, 310, 90, 0, 100, 80, 0},
                                                   {2, 500200, 4000200, 310, 90, 0, 100, 80, 0}});
    dir.write_source("src.lst", "t.tab", {1000.0f, 1250.0f, 1600.0f}, [](int b, int) { return 70.0f + b; });
    dir.write_control("case.ctl", {"terrain.grd", "-", "-", "track.trj", "-", "-", "src.lst"});
}

// The block of a site run in a script: the result's name, the option and a time offset of 0.
inline std::string site_run(const std::string& out, const char* opt = "no") {
    return "site\n" + out + "\nopt: " + opt + "\nhrs:    0\nmin:    0\nsec:  0.000\n";
}

// Runs the program in this process; returns the exit code and fills the two streams.
struct RunResult {
    int code = 0;
    std::string out;
    std::string err;
};

inline RunResult run(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    RunResult r;
    r.code = tn::run_program(args, out, err);
    r.out = out.str();
    r.err = err.str();
    return r;
}

// Lines of a text, without their line ends.
inline std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> v;
    std::string line;
    std::istringstream in(text);
    while (std::getline(in, line)) v.push_back(line);
    return v;
}

}  // namespace tntest

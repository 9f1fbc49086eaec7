// Small cases written into a temporary folder for the whole-program tests: tagged terrain grids,
// trajectories, source lists and tables, site files, control files and run scripts.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "batch/program.h"

namespace tntest {

namespace fs = std::filesystem;

inline const std::string kBin = TN_BINARY_DIR;
inline const std::string kProgram = kBin + "/tracknoise";

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

// Runs the program (or `main`) in this process; returns the exit code and fills the two streams.
struct RunResult {
    int code = 0;
    std::string out;
    std::string err;
};

template <class Main>
inline RunResult run(const std::vector<std::string>& args, Main main) {
    std::ostringstream out, err;
    RunResult r;
    r.code = main(args, out, err);
    r.out = out.str();
    r.err = err.str();
    return r;
}
inline RunResult run(const std::vector<std::string>& args) {
    return run(args, [](const auto& a, std::ostream& o, std::ostream& e) { return tn::run_program(a, o, e); });
}

// Lines of a text, without their line ends.
inline std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> v;
    std::string line;
    std::istringstream in(text);
    while (std::getline(in, line)) v.push_back(line);
    return v;
}

// Runs a shell command in the case's folder; its exit code (128 + the signal's number when killed).
inline int shell(const CaseDir& dir, const std::string& cmd) {
    const int status = std::system(("cd '" + dir.dir().string() + "' && " + cmd).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A child process running `program` with arguments `argv` (argument 0 first) in the case's folder,
// standard output and error to TAG.out and TAG.err there, TRACKNOISE_NORD2000 unset unless `env`
// sets it.
struct Child {
    pid_t pid = -1;
    int status = 0;
    bool hung = false;
};
inline Child start(const CaseDir& dir, const std::string& program, const std::vector<std::string>& argv,
                   const std::string& tag, const std::vector<std::pair<std::string, std::string>>& env = {}) {
    const std::string out = dir.path(tag + ".out"), err = dir.path(tag + ".err"), here = dir.dir().string();
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    Child c;
    c.pid = ::fork();
    if (c.pid == 0) {
        const int o = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int e = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (o < 0 || e < 0 || ::chdir(here.c_str()) != 0) ::_exit(127);
        ::dup2(o, 1), ::dup2(e, 2);
        ::unsetenv("TRACKNOISE_NORD2000");
        for (const auto& [k, v] : env) ::setenv(k.c_str(), v.c_str(), 1);
        ::execv(program.c_str(), args.data());
        ::_exit(127);
    }
    return c;
}
// Waits for the child's end; one that runs for two minutes is killed and counts as hung.
inline void finish(Child& c) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (::waitpid(c.pid, &c.status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > limit) {
            ::kill(c.pid, SIGKILL), ::waitpid(c.pid, &c.status, 0);
            c.hung = true;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// The flyover example's grids from its ASCII rasters, in `folder` of the case.
inline int example_grids(const CaseDir& dir, const std::string& folder = ".") {
    return shell(dir, "cd '" + folder + "' && '" + kBin + "/tracknoise-asc2grid' terrain.asc terrain.grd ZALT 11 && '" +
                          kBin + "/tracknoise-asc2grid' ground.asc ground.imp FLOW 11");
}

// A hemisphere NC of three bands (500, 630 and 800 Hz) at `level` dB in every direction, by ncgen.
inline void flat_hemisphere(const CaseDir& dir, const std::string& nc, int level) {
    std::string levels;
    for (int k = 0; k < 12; ++k) levels += (k ? ", " : "") + std::to_string(level);
    dir.write(nc + ".cdl", "netcdf h {\ndimensions:\n frequency = 3 ;\n azimuth = 2 ;\n polar = 2 ;\nvariables:\n"
                           " float frequency(frequency) ;\n float azimuth(azimuth) ;\n float polar(polar) ;\n"
                           " float level(azimuth, polar, frequency) ;\n :reference_distance = 304.8 ;\ndata:\n"
                           " frequency = 500, 630, 800 ;\n azimuth = 0, 180 ;\n polar = 0, 180 ;\n level = " +
                               levels + " ;\n}\n");
    ASSERT_EQ(shell(dir, "ncgen -o '" + nc + "' '" + nc + ".cdl'"), 0);
}

// A trajectory track.trj whose points, 300 m up at (x, 4000000) and `dt` seconds apart, name their
// sources in columns 137 on. The first name must be a whole path, which says that every point names one.
inline void write_named_track(const CaseDir& dir, const std::vector<std::pair<double, std::string>>& points,
                              double dt = 2.0) {
    std::string t = "Flight track\n" + std::string(11, '\n') + "Temp:  59.0\nRelHum: 50.0\nhead\nhead\n";
    char buf[1024];
    for (std::size_t n = 0; n < points.size(); ++n) {
        std::snprintf(buf, sizeof buf, "%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f \"%s\"\n", dt * n,
                      points[n].first, 4000000.0, 300.0, 90.0, 0.0, 100.0, 80.0, 0.0, points[n].second.c_str());
        t += buf;
    }
    dir.write("track.trj", t);
}

// A grid run's block of the script: `count` positions each way, columns `first` to `last`, all rows.
inline std::string grid_block(const std::string& out, int count, int first, int last, const char* opt) {
    char b[200];
    std::snprintf(b, sizeof b, "grid\n%s\nii: %4d\nii: %4d%4d\njj: %4d\njj: %4d%4d\nopt: %s\nhrs:    0\nmin:    0\nsec:  0.000\n",
                  out.c_str(), count, first, last, count, 1, count, opt);
    return b;
}

// Receivers on a column of not-a-number heights take the height kept from the receiver before: the
// grid run g goes in order; h keeps clear of that column and the cells beside it.
inline void kept_height_case(const CaseDir& dir) {
    dir.write_grid("t.grd", "ZALT", 11, 11, 100.0f, 500000.0f, 4000000.0f, 11, [](int i, int j) {
        return i == 6 ? NAN : 20.0f * static_cast<float>(i + j);
    });
    dir.write_trajectory("track.trj", 59.0, 70.0,
                         {{0, 499500, 4000500, 600, 90, 0, 100, 80, 0}, {2, 500500, 4000500, 600, 90, 0, 100, 80, 0},
                          {4, 501500, 4000500, 600, 90, 0, 100, 80, 0}});
    dir.write_source("s.lst", "s.tab", {500.0f, 1000.0f, 2000.0f}, [](int b, int a) { return 80.0f + b + 0.1f * a; });
    dir.write_control("c.ctl", {"t.grd", "-", "-", "track.trj", "-", "-", "s.lst"});
    dir.write("run.txt", "open\nc.ctl\n" + grid_block("g", 11, 1, 11, "no") + grid_block("h", 11, 8, 11, "no"));
}

// The case of the NetCDF runs: a 5 x 5 terrain of 10 km spacing from (480000, 3980000) in zone 11, a
// flight east along y = 3975000 at t = 0, 10, 20, 30 s, a source of three bands from 500 Hz (band
// numbers 27 to 29), a time offset of 1 h 0 min 0.5 s. The grid block is columns 2..5 and rows 1..3
// of 5 x 5 positions: x = 490000 .. 520000 and y = 3980000 .. 4000000 by hand, spacing 10000.
// Receivers farther than the distance limit (18288 m) from every point are passed over, (520000,
// 4000000) among them; near ones have points beyond the limit too. Sites: one computed, one on the
// ground (passed over), one whose points are all beyond the limit. run.txt writes the grid g and
// the sites s as text, then as NetCDF.
inline void netcdf_case(const CaseDir& dir) {
    dir.write_grid("t.grd", "ZALT", 5, 5, 10000.0f, 480000.0f, 3980000.0f, 11,
                   [](int i, int j) { return 20.0f + static_cast<float>(i + j); });
    dir.write_trajectory("t.trj", 59.0, 70.0,
                         {{0, 470000, 3975000, 300, 90, 0, 100, 80, 0}, {10, 480000, 3975000, 300, 90, 0, 100, 80, 0},
                          {20, 490000, 3975000, 300, 90, 0, 100, 80, 0}, {30, 500000, 3975000, 300, 90, 0, 100, 80, 0}});
    dir.write_source("s.lst", "s.tab", {500.0f, 630.0f, 800.0f},
                     [](int b, int a) { return 90.0f + 2.0f * static_cast<float>(b) + 0.1f * static_cast<float>(a); });
    dir.write("sites.txt", "x y z name\n490000 3980000 1.2 One\n500000 3980000 0.0 Ground\n520000 4000000 1.2 Far\n");
    dir.write_control("c.ctl", {"t.grd", "-", "sites.txt", "t.trj", "-", "-", "s.lst"});
    std::string script = "open\nc.ctl\n";
    for (const std::string opt : {"no", "CDF"}) {
        const std::string time = "\nhrs:    1\nmin:    0\nsec:  0.500\n";
        script += "grid\ng\nii:    5\nii:    2   5\njj:    5\njj:    1   3\nopt: " + opt + time;
        script += "site\ns\nopt: " + opt + time;
    }
    dir.write("run.txt", script);
}

}  // namespace tntest

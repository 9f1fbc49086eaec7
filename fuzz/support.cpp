#include "support.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "results/history_source.h"
#include "results/lattice_fit.h"
#include "results/metrics.h"

namespace tnfuzz {

namespace fs = std::filesystem;

namespace {

struct Scratch {
    std::string dir;
    fs::path start;
    Scratch() {
        std::error_code ec;
        start = fs::current_path(ec);
        std::string t = (fs::temp_directory_path() / "tn_fuzz_XXXXXX").string();
        if (::mkdtemp(t.data()) == nullptr) {
            std::perror("tn fuzz: mkdtemp");
            std::abort();
        }
        dir = t;
        // The Nord2000 library is looked for only where the set-up says: never a real one here.
        ::unsetenv("TRACKNOISE_NORD2000");
    }
    ~Scratch() {
        std::error_code ec;
        fs::current_path(start, ec);
        fs::remove_all(dir, ec);
    }
};

Scratch& the_scratch() {
    static Scratch s;
    return s;
}

// Words of a tagged grid file.
struct GridBytes {
    std::string b;
    GridBytes& tag(const char* t, std::int32_t n) { b.append(t, 4); return i(n); }
    GridBytes& i(std::int32_t v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
    GridBytes& f(float v) { b.append(reinterpret_cast<const char*>(&v), 4); return *this; }
};

std::string grid_file(const char* data_tag, float value) {
    GridBytes g;
    g.tag("TITL", 4);
    g.b.append("GridVers", 8);
    g.i(1).i(0);
    g.tag("UTMZ", 1).i(11);
    g.tag("USER", 4).f(500000.0f).f(4000000.0f).f(0.0f).i(0);
    g.tag("DIDJ", 2).f(100.0f).f(100.0f);
    g.tag("NINJ", 2).i(5).i(5);
    g.tag(data_tag, 25);
    for (int k = 0; k < 25; ++k) g.f(value + static_cast<float>(k % 3));
    g.tag("ENDF", 0);
    return g.b;
}

std::string trajectory_file() {
    std::string t = "Flight track\n";
    for (int k = 2; k <= 12; ++k) t += "head line " + std::to_string(k) + "\n";
    t += "Temp:  59.0\nRelHum: 70.0\nPoint data\n   Time  X  Y  Z  Heading  Climb  Speed  Power  Bank\n";
    const char* points[3] = {
        "          0.000     500000.000    4000200.000        310.000         90.000          0.000        100.000         80.000          0.000\n",
        "          1.000     500100.000    4000200.000        310.000         90.000          0.000        100.000         80.000          0.000\n",
        "          2.000     500200.000    4000200.000        310.000         90.000          0.000        100.000         80.000          0.000\n"};
    for (const char* p : points) t += p;
    return t;
}

std::string table_file() {
    std::string t = "table line 1\ntable line 2\n";
    char buf[64];
    for (int a = 0; a <= 36; ++a) {
        std::snprintf(buf, sizeof buf, "%-12s%8.1f%5.1f%5.1f%5.1f\n", "Angle", a * 5.0, 71.0, 72.0, 73.0);
        t += buf;
    }
    return t;
}

const std::vector<std::pair<std::string, std::string>>& case_files() {
    static const std::vector<std::pair<std::string, std::string>> files = {
        {"terrain.grd", grid_file("ZALT", 10.0f)},
        {"ground.imp", grid_file("FLOW", 200.0f)},
        {"track.trj", trajectory_file()},
        {"src.lst", "Other\nTest source\nRef:  10.0\nAlt:  00.0\n3\n1\nt.tab            0.0\n1000\n1250\n1600\n"},
        {"t.tab", table_file()},
        {"sites.sit", "0\n2\n500100.0 4000100.0 4.0 'North'\n500300.0 4000300.0 5.0 'East'\n"},
        {"ambient.txt",
         "classes.txt\n2\n'Quiet' 32.0 35 33 31 30 29 28 27 26 25 24 23 22 21 20 19 18 17 16 14 12 10 8 6 4\n"
         "'Busy' 41.0 44 42 40 39 38 37 36 35 34 33 32 31 30 29 28 27 26 25 23 21 19 17 15 13\n"},
        {"classes.txt",
         "ncols 4\nnrows 4\nxllcorner -117.005\nyllcorner 36.140\ncellsize 0.01\nNODATA_value -9999\n"
         "1 1 2 2\n1 1 2 2\n1 1 2 2\n1 1 2 2\n"},
        {"nord.txt", "Nord2000 parameters\nparameter one:       1.5\nparameter two:       0.25\n"
                     "parameter three:     3.0\n"},
        {"wx.txt", "Single Parameter Weather\nTempc Relh Grad Wspeed Wdir\n15.0 70.0 10.0 2.0 90.0 1.0 2.0 0.0 3.0 4.0\n"},
        {"case.ctl", "terrain.grd\nground.imp\nsites.sit\ntrack.trj\n-\nnord.txt\nsrc.lst\n30.48\nfuzz case\nambient.txt\n"},
        {"rnd/directories.ini", "Max\n2000\n"},
    };
    return files;
}

}  // namespace

void note(const tn::RunError& e) {
    static const bool show = std::getenv("TN_FUZZ_SHOW") != nullptr;
    if (show) std::fprintf(stderr, "tracknoise: %s\n", e.what());
}

const std::string& scratch() { return the_scratch().dir; }

std::string write_file(const std::string& name, std::string_view bytes) {
    const std::string path = scratch() + "/" + name;
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        std::perror(path.c_str());
        std::abort();
    }
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) std::abort();
    std::fclose(f);
    return path;
}

void remove_file(const std::string& name) {
    std::error_code ec;
    fs::remove(scratch() + "/" + name, ec);
}

std::vector<std::string_view> split_parts(std::string_view data, std::size_t n) {
    std::vector<std::string_view> parts;
    while (parts.size() + 1 < n) {
        const std::size_t p = data.find(kSeparator);
        if (p == std::string_view::npos) break;
        parts.push_back(data.substr(0, p));
        data.remove_prefix(p + kSeparator.size());
    }
    parts.push_back(data);
    return parts;
}

void write_parts(const std::vector<std::string_view>& parts, const std::vector<std::string>& names) {
    for (std::size_t k = 0; k < names.size(); ++k) {
        if (k < parts.size()) write_file(names[k], parts[k]);
        else remove_file(names[k]);
    }
}

std::string confined(std::string_view text) {
    std::string s(text);
    for (char& c : s) {
        if (c == '/') c = '_';
    }
    return s;
}

const std::string& fixed_case() {
    static const std::string dir = [] {
        const std::string d = scratch() + "/case";
        fs::create_directories(d + "/rnd");
        for (const auto& [name, bytes] : case_files()) write_file("case/" + name, bytes);
        return d;
    }();
    return dir;
}

void clean_case() {
    static const std::set<std::string> keep = [] {
        std::set<std::string> k{"rnd"};
        for (const auto& f : case_files()) k.insert(f.first);
        return k;
    }();
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(fixed_case(), ec)) {
        if (keep.count(e.path().filename().string()) == 0) fs::remove_all(e.path(), ec);
    }
}

void restore_working_folder() {
    std::error_code ec;
    if (fs::current_path(ec) != the_scratch().start) fs::current_path(the_scratch().start, ec);
}

void read_history_source(tn::HistorySource& r, bool whole) {
    const tn::RunHeader& run = r.header();
    tn::LatticeFit fit;
    if (run.grid) fit.start(run.block);
    tn::EventOptions o;
    o.bands = {1, 21, 32};
    tn::ReceiverHistory h;
    tn::EventMetrics m;
    std::vector<double> dt;
    while (r.next(h)) {
        if (whole && (!h.computed || h.points.size() != static_cast<std::size_t>(run.Npts))) std::abort();
        tn::event_metrics(h, o, dt, m);
        if (m.in_range && !(m.T > 0.0)) std::abort();
        for (double v : m.TA) {
            if (m.in_range && !(v >= 0.0)) std::abort();
        }
        int i = 0, j = 0;
        const bool placed = run.grid && tn::lattice_index(h.head.Name, i, j);
        if (whole && run.grid && !placed) std::abort();
        if (placed) fit.add(i, j, h.head.x, h.head.y);
    }
    tn::LatticePlacement p;
    if (run.grid) fit.place(p);
}

}  // namespace tnfuzz

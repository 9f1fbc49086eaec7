// tracknoise-benchcase: writes a large, realistic grid case for timing the program.
//
//   tracknoise-benchcase FOLDER [RECEIVERS_PER_SIDE [POINTS [TERRAIN_NODES_PER_SIDE]]]
//
// Defaults: a 100 x 100 receiver grid over a hilly terrain of 500 x 500 nodes at 20 m (10 km
// square), mixed ground of 250 x 250 nodes at 40 m (grass, forest, water, roads), a 300-point
// curved climbing flyover, and a 24-band source table of three conditions. FOLDER receives the
// files and a run script "bench.run" (output option "no": a ".tig" file).
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

void write_grid(const fs::path& path, const char* tag, int n, float d, float x0, float y0,
                const std::vector<float>& v /* i fastest */) {
    std::ofstream f(path, std::ios::binary);
    auto i32 = [&f](std::int32_t x) { f.write(reinterpret_cast<const char*>(&x), 4); };
    auto f32 = [&f](float x) { f.write(reinterpret_cast<const char*>(&x), 4); };
    auto rec = [&](const char* t, std::int32_t len) {
        f.write(t, 4);
        i32(len);
    };
    rec("TITL", 4);
    f.write("GridVers", 8);
    i32(1);
    i32(0);
    rec("METR", 0);
    rec("UTMZ", 1);
    i32(11);
    rec("USER", 4);
    f32(x0);
    f32(y0);
    f32(0.0f);
    i32(0);
    rec("DIDJ", 2);
    f32(d);
    f32(d);
    rec("NJNI", 0);   // column-fast: i runs fastest in the file, as in memory
    i32(n);
    i32(n);
    rec(tag, n * n);
    f.write(reinterpret_cast<const char*>(v.data()), static_cast<std::streamsize>(v.size() * 4));
    rec("ENDF", 0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: tracknoise-benchcase FOLDER [RECEIVERS_PER_SIDE [POINTS [TERRAIN_NODES_PER_SIDE]]]\n";
        return 2;
    }
    const fs::path dir = argv[1];
    const int receivers = argc > 2 ? std::atoi(argv[2]) : 100;
    const int points = argc > 3 ? std::atoi(argv[3]) : 300;
    const int tn = argc > 4 ? std::atoi(argv[4]) : 500;
    if (receivers < 2 || points < 1 || tn < 4) {
        std::cerr << "tracknoise-benchcase: receivers >= 2, points >= 1, terrain nodes >= 4\n";
        return 2;
    }
    fs::create_directories(dir);
    const float x0 = 500000.0f, y0 = 4000000.0f;
    const float extent = 10000.0f;
    const float dt = extent / static_cast<float>(tn - 1);

    // Terrain: rolling hills, a ridge and a valley, 150 m to about 420 m.
    std::vector<float> z(static_cast<std::size_t>(tn) * tn);
    for (int j = 0; j < tn; ++j) {
        for (int i = 0; i < tn; ++i) {
            const double x = i * dt, y = j * dt;
            double h = 200.0 + 60.0 * std::sin(x / 1300.0) * std::cos(y / 1700.0);
            h += 140.0 * std::exp(-(std::pow(x - 6500.0, 2) + std::pow(y - 4000.0, 2)) / (2 * 900.0 * 900.0));
            h += 70.0 * std::exp(-std::pow((x + 0.4 * y - 5200.0) / 350.0, 2));
            h -= 50.0 * std::exp(-std::pow((y - 0.3 * x - 7000.0) / 500.0, 2));
            z[static_cast<std::size_t>(j) * tn + i] = static_cast<float>(h);
        }
    }
    write_grid(dir / "terrain.grd", "ZALT", tn, dt, x0, y0, z);

    // Ground: grass, forest, water, roads.
    const int gn = std::max(4, tn / 2);
    const float dg = extent / static_cast<float>(gn - 1);
    std::vector<float> g(static_cast<std::size_t>(gn) * gn);
    for (int j = 0; j < gn; ++j) {
        for (int i = 0; i < gn; ++i) {
            const double x = i * dg, y = j * dg;
            float v = 200.0f;                                                          // grass
            if (std::sin(x / 900.0) + std::cos(y / 1100.0) > 1.1) v = 80.0f;           // forest floor
            if (std::pow(x - 2500.0, 2) + std::pow(y - 7500.0, 2) < 800.0 * 800.0) v = 1.0e6f;  // lake
            if (std::fabs(y - 3000.0) < 25.0 || std::fabs(x - 8000.0) < 25.0) v = 20000.0f;     // roads
            g[static_cast<std::size_t>(j) * gn + i] = v;
        }
    }
    write_grid(dir / "ground.imp", "FLOW", gn, dg, x0, y0, g);

    // A climbing right turn over the terrain, one point a second.
    {
        std::ofstream t(dir / "track.trj");
        t << "Flight track\nBenchmark departure with a right turn\n";
        for (int k = 3; k <= 12; ++k) t << "\n";
        t << "Temp:  59.0\nRelHum: 70.0\nPoint data\n   Time  X  Y  Z  Heading  Climb  Speed  Power  Bank\n";
        char buf[256];
        double x = x0 - 2000.0, y = y0 + 2000.0, h = 400.0, heading = 70.0;
        for (int k = 0; k < points; ++k) {
            const double speed = 90.0;
            const double turn = k > points / 4 && k < 3 * points / 4 ? 0.6 : 0.0;
            heading += turn;
            const double climb = 4.0;
            const double rad = (90.0 - heading) * M_PI / 180.0;
            x += speed * std::cos(rad) * (20000.0 / speed / points);
            y += speed * std::sin(rad) * (20000.0 / speed / points);
            h += 20000.0 / points * std::tan(climb * M_PI / 180.0);
            std::snprintf(buf, sizeof buf, "%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f\n", 1.0 * k, x, y, h,
                          std::fmod(heading, 360.0), climb, speed * 1.944, 95.0 - 10.0 * k / points, turn > 0 ? 15.0 : 0.0);
            t << buf;
        }
    }

    // Source: 24 bands from 50 Hz, three power settings.
    const int freqs[24] = {50,  63,  80,   100,  125,  160,  200,  250,  315,  400,  500,  630,
                           800, 1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000};
    const struct { const char* name; double power, offset; } conds[3] = {
        {"b80.tab", 80.0, -4.0}, {"b90.tab", 90.0, 0.0}, {"b100.tab", 100.0, 3.5}};
    {
        std::ofstream l(dir / "bench.lst");
        l << "Other\nBenchmark jet\nRef:  10.0\nAlt:  00.0\n24\n3\n";
        char buf[64];
        for (const auto& c : conds) {
            std::snprintf(buf, sizeof buf, "%-12s%8.1f\n", c.name, c.power);
            l << buf;
        }
        for (int f : freqs) l << f << "\n";
        l << "10.0\n";
    }
    for (const auto& c : conds) {
        std::ofstream t(dir / c.name);
        t << "Benchmark jet table\nAngle then 24 bands\n";
        char buf[64];
        for (int a = 0; a <= 36; ++a) {
            std::snprintf(buf, sizeof buf, "%-12s%8.1f", "Angle", a * 5.0);
            t << buf;
            for (int b = 0; b < 24; ++b) {
                const double lf = std::log10(static_cast<double>(freqs[b]));
                const double v = 84.0 - 7.0 * std::pow(lf - 2.8, 2) + 7.0 * std::exp(-std::pow((a * 5.0 - 135.0) / 30.0, 2)) +
                                 c.offset;
                std::snprintf(buf, sizeof buf, "%5.1f", v);
                t << buf;
            }
            t << "\n";
        }
    }

    std::ofstream(dir / "bench.ctl") << "terrain.grd\nground.imp\n-\ntrack.trj\n-\n-\nbench.lst\n";
    char block[256];
    std::snprintf(block, sizeof block,
                  "open\nbench.ctl\ngrid\nbench\nii: %4d\nii: %4d%4d\njj: %4d\njj: %4d%4d\nopt: no\nhrs:    0\n"
                  "min:    0\nsec:  0.000\nstop\n",
                  receivers, 1, receivers, receivers, 1, receivers);
    std::ofstream(dir / "bench.run") << block;
    return 0;
}

// Sources named on every trajectory point: hemispheres change from point to point (".nc" and
// ".NC" alike), while a table source keeps the tables of its first load.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kProgram = std::string(TN_BINARY_DIR) + "/tracknoise";

// A hemisphere of three bands whose level is `level` in every direction.
std::string flat_hemisphere_cdl(const char* name, int level) {
    std::string l = std::to_string(level);
    std::string levels;
    for (int k = 0; k < 2 * 2 * 3; ++k) levels += (k ? ", " : "") + l;
    return std::string("netcdf ") + name +
           " {\ndimensions:\n frequency = 3 ;\n azimuth = 2 ;\n polar = 2 ;\nvariables:\n"
           " float frequency(frequency) ;\n float azimuth(azimuth) ;\n float polar(polar) ;\n"
           " float level(azimuth, polar, frequency) ;\n :reference_distance = 304.8 ;\n"
           "data:\n frequency = 500, 630, 800 ;\n azimuth = 0, 180 ;\n polar = 0, 180 ;\n level = " +
           levels + " ;\n}\n";
}

// Trajectory whose points name their sources in columns 137 on, the same position every second.
void write_named_points(const CaseDir& dir, const std::vector<std::string>& names) {
    std::string t = "Flight track\n";
    for (int k = 2; k <= 12; ++k) t += "\n";
    t += "Temp:  59.0\nRelHum:  0.0\nhead\nhead\n";
    char buf[200];
    for (std::size_t n = 0; n < names.size(); ++n) {
        std::snprintf(buf, sizeof buf, "%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f%15.3f \"", 1.0 * n, 500000.0,
                      4000000.0, 300.0, 90.0, 0.0, 100.0, 80.0, 0.0);
        t += buf + names[n] + "\"\n";
    }
    dir.write("track.trj", t);
}

std::vector<int> band_column(const CaseDir& dir, const std::string& file, int column_start) {
    std::vector<int> v;
    for (const std::string& l : lines_of(dir.read(file))) {
        if (l.size() == 192 && l.substr(0, 4) != "   0") v.push_back(std::stoi(l.substr(column_start, 5)));
    }
    return v;
}

}  // namespace

TEST(PointSources, HemispheresChangeAlongTheTrajectory) {
    CaseDir dir("hemi_points");
    dir.write("a.cdl", flat_hemisphere_cdl("a", 70));
    dir.write("b.cdl", flat_hemisphere_cdl("b", 80));
    ASSERT_EQ(std::system(("cd '" + dir.dir().string() + "' && ncgen -o a.nc a.cdl && ncgen -o b.nc b.cdl && cp b.nc b.NC").c_str()), 0);
    dir.write_grid("flat.grd", "ZALT", 3, 3, 500.0f, 499500.0f, 3999500.0f, 11, [](int, int) { return 0.0f; });
    write_named_points(dir, {dir.path("a.nc"), dir.path("b.nc"), dir.path("a.nc"), dir.path("b.NC")});
    dir.write_control("c.ctl", {dir.path("flat.grd"), "-", "-", dir.path("track.trj"), "-", "-", dir.path("a.nc")});
    const std::string block = "\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n";
    dir.write("run.txt", "open\n" + dir.path("c.ctl") + "\nsite\n" + dir.path("out") + block + "site\n" +
                             dir.path("again") + block);
    const RunResult r = run({kProgram, dir.path("run.txt")});
    ASSERT_EQ(r.code, 0) << r.err;
    // 630 Hz is band 28 on the ruler: columns 117-121 of a data line.
    const std::vector<int> band28 = band_column(dir, "out.tis", 116);
    ASSERT_EQ(band28.size(), 4u);
    EXPECT_EQ(band28[1] - band28[0], 100);   // the second hemisphere is 10 dB louder
    EXPECT_EQ(band28[2], band28[0]);
    EXPECT_EQ(band28[3], band28[1]);         // ".NC" is a hemisphere too
    // The header shows the source name as it stands when the file is opened: a second run shows
    // the name the last point of the first one left behind.
    EXPECT_EQ(lines_of(dir.read("out.tis"))[7], dir.path("a.nc"));
    EXPECT_EQ(lines_of(dir.read("again.tis"))[7], dir.path("b.NC"));
}

TEST(PointSources, TablesKeepTheirFirstLoad) {
    CaseDir dir("table_points");
    dir.write_source("a.lst", "a.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 70.0f; });
    dir.write_source("b.lst", "b.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 80.0f; });
    dir.write_grid("flat.grd", "ZALT", 3, 3, 500.0f, 499500.0f, 3999500.0f, 11, [](int, int) { return 0.0f; });
    write_named_points(dir, {dir.path("a.lst"), dir.path("b.lst"), dir.path("a.Nc.lst")});
    dir.write_control("c.ctl", {dir.path("flat.grd"), "-", "-", dir.path("track.trj"), "-", "-", dir.path("a.lst")});
    dir.write("run.txt", "open\n" + dir.path("c.ctl") + "\nsite\n" + dir.path("out") + "\nopt: no\n" +
                             "hrs:    0\nmin:    0\nsec:  0.000\n");
    const RunResult r = run({kProgram, dir.path("run.txt")});
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<int> band = band_column(dir, "out.tis", 116);
    ASSERT_EQ(band.size(), 3u);
    EXPECT_EQ(band[1], band[0]);   // b.lst is named, the tables of a.lst stay
    EXPECT_EQ(band[2], band[0]);   // mixed-case ".Nc" is a source list, and is never loaded
}

// A relative hemisphere name is read from the working folder as it stands at the point: after a
// table list named with its folder has moved the working folder there, the same name is another
// file.
TEST(PointSources, RelativeHemisphereNamesFollowTheWorkingFolder) {
    CaseDir dir("hemi_folder");
    std::filesystem::create_directories(dir.dir() / "sources");
    dir.write("a.cdl", flat_hemisphere_cdl("a", 70));
    dir.write("sources/a.cdl", flat_hemisphere_cdl("a", 80));
    ASSERT_EQ(std::system(("cd '" + dir.dir().string() + "' && ncgen -o a.nc a.cdl && cd sources && ncgen -o a.nc a.cdl").c_str()), 0);
    dir.write_source("sources/t.lst", "t.tab", {500.0f, 630.0f, 800.0f}, [](int, int) { return 60.0f; });
    std::filesystem::rename(dir.dir() / "t.tab", dir.dir() / "sources" / "t.tab");
    dir.write_grid("flat.grd", "ZALT", 3, 3, 500.0f, 499500.0f, 3999500.0f, 11, [](int, int) { return 0.0f; });
    write_named_points(dir, {dir.path("a.nc"), "a.nc", dir.path("sources/t.lst"), "a.nc"});
    dir.write_control("c.ctl", {dir.path("flat.grd"), "-", "-", dir.path("track.trj"), "-", "-", dir.path("a.nc")});
    dir.write("run.txt", "open\n" + dir.path("c.ctl") + "\nsite\n" + dir.path("out") +
                             "\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.dir());
    const RunResult r = run({kProgram, dir.path("run.txt")});
    std::filesystem::current_path(before);
    ASSERT_EQ(r.code, 0) << r.err;
    const std::vector<int> band28 = band_column(dir, "out.tis", 116);
    ASSERT_EQ(band28.size(), 4u);
    EXPECT_EQ(band28[1], band28[0]);         // a.nc beside the case
    EXPECT_EQ(band28[3] - band28[1], 100);   // a.nc in sources/, 10 dB louder
}

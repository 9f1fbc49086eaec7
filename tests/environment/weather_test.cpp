// Weather files: the profile with its limit height, the single parameter form, the vapour pressure
// and the heading tables. Files are written here; expected values are the numbers put into them,
// hand calculations, or published saturation vapour pressures.
#include "environment/weather.h"

#include <cstdio>
#include <memory>

#include "io/test_files.h"

using namespace tn;
using namespace tntest;

namespace {

const ScratchDir scratch;
const std::string kProfileHead = "Weather profile\nstation\ndate\n3\n4\n5\nlabel   temp    dew ...\n";

// One level in the layout (a7,1x,5(f7.2,1x),f10.2,1x,f7.1,1x,f10.2).
std::string level(const char* label, double temp, double dew, double ws, double wd, double feet) {
    char buf[120];
    std::snprintf(buf, sizeof buf, "%-7s %7.2f %7.2f %7.2f %7.2f %7.2f %10.2f %7.1f %10.2f\n", label, temp, dew, ws, wd,
                  1013.0, 1234.5, 9.9, feet);
    return buf;
}
const std::string kEnd = level("", 0, 0, 0, 0, 0);

// WeatherState is large: keep it off the stack.
std::unique_ptr<WeatherState> read(const std::string& text) {
    auto wx = std::make_unique<WeatherState>();
    for (auto& row : wx->Cgrad) row.fill(-7.0f);   // marks cells that nothing wrote
    wx->param.Aparam = -1.0;
    READWX(Name255(scratch.file("weather.txt", text)), *wx);
    return wx;
}

}  // namespace

// Smithsonian Meteorological Tables (List 1951, 6th ed., table 94: Goff-Gratch, over water), hPa.
// The formula stands 0.01 K cooler (steam point 373.16 K in its constants, T = t + 273.15), which
// puts it 0.04 % (100 C) to 0.08 % (0 C) below the table: tolerance 0.1 %.
TEST(SATVAP, PublishedSaturationPressuresInHectopascals) {
    const struct { float t; double hpa; } cases[] = {{0.0f, 6.1078}, {10.0f, 12.272}, {20.0f, 23.373}, {30.0f, 42.430},
                                                     {40.0f, 73.777}, {100.0f, 1013.25}};
    for (const auto& c : cases) EXPECT_NEAR(SATVAP(c.t), c.hpa, c.hpa * 1.0e-3) << c.t;
}

// A calm first level, then 6 m/s from direction 90 1000 ft higher. Heading tables: position 91
// (angle 90) takes the full speed, position 1 (angle 0) none, position 271 its opposite.
TEST(READWX, LevelsAndTheHeadingTables) {
    const auto wx = read(kProfileHead + level("ground", 20.0, 10.0, 0.0, 0.0, 100.0) +
                         level("upper", 20.0, 10.0, 6.0, 90.0, 1100.0) + kEnd);
    ASSERT_EQ(std::tie(wx->Wxsingle, wx->Wxcount), std::make_tuple(false, 2));
    const WXLEVEL &low = wx->levels[0], &l = wx->levels[1];
    EXPECT_FLOAT_EQ(low.Alt, 30.480371f);         // 100 ft / 3.2808
    EXPECT_NEAR(l.Relhum, 52.505, 0.02);          // 100 * 12.272 / 23.373 from the table above
    EXPECT_NEAR(low.Ceff[0], 343.28856, 1e-3);    // 20.05 sqrt(293.15)
    EXPECT_EQ(std::make_tuple(l.Windc[90], l.Windc[270]), std::make_tuple(6.0f, -6.0f));   // 6 cos 0, 6 cos 180
    EXPECT_FLOAT_EQ(l.Ceff[90], low.Ceff[0] + 6.0f);
    EXPECT_EQ(std::make_tuple(wx->Cprof[90][1], wx->Cprof[0][0]), std::make_tuple(l.Ceff[90], low.Ceff[0]));
    // 6 m/s over 1000 ft = 304.80371 m: 0.0196848 per second along the wind; level 1 is never written.
    EXPECT_NEAR(wx->Cgrad[90][1], 0.0196848, 1e-6);
    EXPECT_NEAR(wx->Cgrad[270][1], -0.0196848, 1e-6);
    for (const auto& row : wx->Cgrad) EXPECT_EQ(std::tie(row[0], row[2]), std::make_tuple(-7.0f, -7.0f));
}

TEST(READWX, LimitHeightKeepsTheFirstLevelAbove) {
    // The line behind the kept level would stop the run if it were read.
    auto file = [](double second_ft) {
        return kProfileHead + level("a", 15, 5, 1, 0, 1000.0) + level("b", -50, -60, 20, 0, second_ft) +
               level("c", -55, -65, 30, 0, 70000.0) + "garbage in every column of the line, also in the numeric ones\n";
    };
    const auto at = read(file(65000.00));   // 65000 ft: not above the limit; 70000 ft, the first above: kept
    EXPECT_EQ(std::tie(at->Wxcount, at->levels[1].Alt), std::make_tuple(3, 19812.24f));
    EXPECT_FLOAT_EQ(at->levels[2].Alt, 21336.259f);
    const auto above = read(file(65000.01));
    EXPECT_EQ(above->Wxcount, 2);
    EXPECT_GT(above->levels[1].Alt, 19812.24f);
}

TEST(READWX, FortyLevelsAtMost) {
    std::string forty = kProfileHead;
    for (int k = 1; k <= 40; ++k) forty += level("lev", 10, 5, 1, 0, 100.0 * k);
    EXPECT_EQ(read(forty + kEnd)->Wxcount, 40);
    EXPECT_TRUE(holds(error_of([&forty] { read(forty + level("lev41", 10, 5, 1, 0, 4100.0)); }),
                      "weather.txt:48: more than 40 weather levels"));
}

TEST(READWX, SingleParameterFileAndItsOptionalLine) {
    const std::string head = "Single Parameter Weather\ncomment\n15.0 70.0 -6.5 3.0 270.0\n 1.5, 2.5, 9.9, 3.5, 4.5\n";
    const struct { const char* last; bool dual; double aparam; const char* what; } cases[] = {
        {"A_Param 0.25\n", true, 0.25, "the word"},
        {"a_param 0.5\n", false, 0.5, "another case: no dual, the number kept all the same"},
        {"A_Param xyz\n", true, -1.0, "bad number passed over, the word compared"},
        {"A_Parameter 0.75\n", true, 0.75, "a longer word is cut to its 7 characters"},
    };
    for (const auto& c : cases) {
        const auto wx = read(head + c.last);
        const WXPARAM& p = wx->param;
        EXPECT_EQ(std::tie(wx->Wxsingle, wx->Wxcount, wx->Wxdual, p.Aparam), std::make_tuple(true, 1, c.dual, c.aparam))
            << c.what;
        // 9.9 read and dropped between the second and the third extra value
        EXPECT_EQ(std::tie(p.Tempc, p.Relh, p.Wdir, p.Wextra2, p.Wextra3, p.Wextra4, p.Wunset),
                  std::make_tuple(15.0f, 70.0f, 270.0f, 2.5, 3.5, 4.5, 0.0)) << c.what;
        EXPECT_FLOAT_EQ(p.Grad, -0.0065f) << c.what;
    }
}

TEST(READWX, FirstLineComparedIn25Columns) {
    const std::string profile = "\n2\n3\n4\n5\n6\n7\n" + level("a", 10, 5, 1, 0, 100.0) + kEnd;
    EXPECT_FALSE(read("Single Parameter Weather2" + profile)->Wxsingle);   // text in column 25
    // Text from column 26 is beyond the field.
    EXPECT_TRUE(read("Single Parameter Weather  (v2)\nc\n1 2 3 4 5 6 7 8 9 10\n")->Wxsingle);
}

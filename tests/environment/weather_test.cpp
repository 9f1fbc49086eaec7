// Weather files: the profile with its limit height, the single parameter form, the vapour pressure
// and the heading tables. Files are written here; expected values are the numbers put into them,
// hand calculations, or published saturation vapour pressures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "environment/weather.h"
#include "io/errors.h"

using namespace tn;
namespace fs = std::filesystem;

namespace {

struct Scratch {
    fs::path dir;
    Scratch() {
        std::string t = (fs::temp_directory_path() / "tn_wx_XXXXXX").string();
        dir = mkdtemp(t.data());
    }
    ~Scratch() { std::error_code ec; fs::remove_all(dir, ec); }
    Name255 file(const std::string& text) const {
        const fs::path p = dir / "weather.txt";
        fs::remove(p);
        std::ofstream(p, std::ios::binary) << text;
        return Name255(p.string());
    }
};

const std::string kProfileHead = "Weather profile\nstation\ndate\n3\n4\n5\nlabel   temp    dew ...\n";

// One level in the layout (a7,1x,5(f7.2,1x),f10.2,1x,f7.1,1x,f10.2).
std::string level(const char* label, double temp, double dew, double ws, double wd, double feet) {
    char buf[120];
    std::snprintf(buf, sizeof buf, "%-7s %7.2f %7.2f %7.2f %7.2f %7.2f %10.2f %7.1f %10.2f\n", label, temp, dew, ws, wd,
                  1013.0, 1234.5, 9.9, feet);
    return buf;
}

// WeatherState is large: keep it off the stack.
std::unique_ptr<WeatherState> read(const Scratch& s, const std::string& text) {
    auto wx = std::make_unique<WeatherState>();
    for (auto& row : wx->Cgrad) row.fill(-7.0f);   // marks cells that nothing wrote
    wx->param.Aparam = -1.0;
    READWX(s.file(text), *wx);
    return wx;
}

std::string error_of(const Scratch& s, const std::string& text) {
    try {
        read(s, text);
    } catch (const RunError& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

// Smithsonian Meteorological Tables (List 1951, 6th ed., table 94: Goff-Gratch, over water), hPa.
// The formula stands 0.01 K cooler (steam point 373.16 K in its constants, T = t + 273.15), which
// puts it 0.04 % (100 C) to 0.08 % (0 C) below the table: tolerance 0.1 %.
TEST(SATVAP, PublishedSaturationPressuresInHectopascals) {
    struct Case { float t; double hpa; };
    const Case cases[] = {{0.0f, 6.1078}, {10.0f, 12.272}, {20.0f, 23.373}, {30.0f, 42.430}, {40.0f, 73.777},
                          {100.0f, 1013.25}};
    for (const Case& c : cases) EXPECT_NEAR(SATVAP(c.t), c.hpa, c.hpa * 1.0e-3) << c.t;
}

TEST(READWX, SingleLevelAndTheHeadingTables) {
    Scratch s;
    const auto wx = read(s, kProfileHead + level("ground", 20.0, 10.0, 6.0, 0.0, 100.0) + level("", 0, 0, 0, 0, 0));
    EXPECT_FALSE(wx->Wxsingle);
    ASSERT_EQ(wx->Wxcount, 1);
    const WXLEVEL& l = wx->levels[0];
    EXPECT_EQ(l.Temp, 20.0f);
    EXPECT_FLOAT_EQ(l.Alt, 30.480371f);            // 100 ft / 3.2808
    EXPECT_NEAR(l.Relhum, 52.505, 0.02);           // 100 * 12.272 / 23.373 from the table above
    // Wind from direction 0: position 1 (angle 0) takes the full speed, position 91 (angle 90) none.
    EXPECT_FLOAT_EQ(l.Windc[0], 6.0f);
    EXPECT_NEAR(l.Windc[90], 0.0f, 1e-5);
    EXPECT_FLOAT_EQ(l.Windc[180], -6.0f);
    EXPECT_NEAR(l.Ceff[90], 343.28856, 1e-3);      // 20.05 sqrt(293.15)
    EXPECT_FLOAT_EQ(l.Ceff[0], l.Ceff[90] + 6.0f);
    EXPECT_EQ(wx->Cprof[0][0], l.Ceff[0]);
    for (const auto& row : wx->Cgrad) {
        EXPECT_EQ(row[0], -7.0f);   // level 1 is never written, and there is no level 2
        EXPECT_EQ(row[1], -7.0f);
    }
}

TEST(READWX, GradientBetweenLevels) {
    Scratch s;
    const auto wx = read(s, kProfileHead + level("l1", 20.0, 20.0, 0.0, 0.0, 0.0) +
                                level("l2", 20.0, 20.0, 10.0, 90.0, 1000.0) + level("", 0, 0, 0, 0, 0));
    ASSERT_EQ(wx->Wxcount, 2);
    EXPECT_FLOAT_EQ(wx->levels[0].Relhum, 100.0f);   // dew point at the temperature
    // 10 m/s over 1000 ft = 304.80371 m: 0.032808 per second along the wind, angle 90 at position 91.
    EXPECT_NEAR(wx->Cgrad[90][1], 0.032808, 1e-6);
    EXPECT_NEAR(wx->Cgrad[270][1], -0.032808, 1e-6);
    EXPECT_NEAR(wx->Cgrad[0][1], 0.0, 1e-6);
    EXPECT_EQ(wx->Cgrad[90][0], -7.0f);
}

TEST(READWX, LimitHeightKeepsTheFirstLevelAbove) {
    Scratch s;
    // The line behind the kept level would stop the run if it were read.
    const std::string tail = "garbage in every column of the line, also in the numeric ones\n";
    struct Case { double second_ft; int count; };
    const Case cases[] = {{65000.00, 3}, {65000.01, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.second_ft);
        const auto wx = read(s, kProfileHead + level("a", 15, 5, 1, 0, 1000.0) + level("b", -50, -60, 20, 0, c.second_ft) +
                                    level("c", -55, -65, 30, 0, 70000.0) + tail);
        EXPECT_EQ(wx->Wxcount, c.count);
        if (c.count == 3) {
            EXPECT_EQ(wx->levels[1].Alt, 19812.24f);              // 65000 ft: not above the limit
            EXPECT_FLOAT_EQ(wx->levels[2].Alt, 21336.259f);      // 70000 ft, the first above: kept
        } else {
            EXPECT_GT(wx->levels[1].Alt, 19812.24f);
        }
    }
}

TEST(READWX, ProfileFailuresEndTheRun) {
    Scratch s;
    std::string forty = kProfileHead;
    for (int k = 1; k <= 40; ++k) forty += level("lev", 10, 5, 1, 0, 100.0 * k);
    EXPECT_EQ(read(s, forty + level("", 0, 0, 0, 0, 0))->Wxcount, 40);

    struct Case { std::string text; const char* message; };
    const Case cases[] = {
        {forty + level("lev41", 10, 5, 1, 0, 4100.0), "weather.txt:48: more than 40 weather levels"},
        {kProfileHead + level("a", 10, 5, 1, 0, 100.0), "weather.txt:9: unexpected end of file, expected a level line"},
        {kProfileHead + "a       1x.00\n", "weather.txt:8: columns 9-15: expected a real number"},
        {"Weather profile\n", "weather.txt:2: unexpected end of file"},
    };
    for (const Case& c : cases) {
        const std::string m = error_of(s, c.text);
        EXPECT_NE(m.find(c.message), std::string::npos) << m;
    }
}

TEST(READWX, SingleParameterFileAndItsOptionalLine) {
    Scratch s;
    const std::string head = "Single Parameter Weather\ncomment\n15.0 70.0 -6.5 3.0 270.0\n 1.5, 2.5, 9.9, 3.5, 4.5\n";
    struct Case { const char* last; bool dual; double aparam; const char* what; };
    const Case cases[] = {
        {"A_Param 0.25\n", true, 0.25, "the word"},
        {"a_param 0.5\n", false, 0.5, "another case: no dual, the number kept all the same"},
        {"", false, -1.0, "end of the file"},
        {"A_Param xyz\n", true, -1.0, "bad number passed over, the word compared"},
        {"A_Parameter 0.75\n", true, 0.75, "a longer word is cut to its 7 characters"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto wx = read(s, head + c.last);
        EXPECT_TRUE(wx->Wxsingle);
        EXPECT_EQ(wx->Wxdual, c.dual);
        EXPECT_EQ(wx->param.Aparam, c.aparam);
        EXPECT_EQ(wx->Wxcount, 1);
        EXPECT_EQ(wx->param.Tempc, 15.0f);
        EXPECT_EQ(wx->param.Relh, 70.0f);
        EXPECT_FLOAT_EQ(wx->param.Grad, -0.0065f);
        EXPECT_EQ(wx->param.Wdir, 270.0f);
        EXPECT_EQ(wx->param.Wextra2, 2.5);
        EXPECT_EQ(wx->param.Wextra3, 3.5);   // 9.9 read and dropped in between
        EXPECT_EQ(wx->param.Wextra4, 4.5);
        EXPECT_EQ(wx->param.Wunset, 0.0);
    }
    EXPECT_NE(error_of(s, "Single Parameter Weather\nc\n15 70 x\n").find("weather.txt:3: item 3: expected a real number"),
              std::string::npos);
}

TEST(READWX, FirstLineComparedIn25Columns) {
    Scratch s;
    const std::string profile = "\n2\n3\n4\n5\n6\n7\n" + level("a", 10, 5, 1, 0, 100.0) + level("", 0, 0, 0, 0, 0);
    EXPECT_FALSE(read(s, "Single Parameter Weather2" + profile)->Wxsingle);   // text in column 25
    const auto single = read(s, "Single Parameter Weather  (v2)\nc\n1 2 3 4 5 6 7 8 9 10\n");
    EXPECT_TRUE(single->Wxsingle);   // text from column 26 is beyond the field
}

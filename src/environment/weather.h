// Weather files: a profile of levels, or the single parameter air state.
//
// All arithmetic is single precision, in the order written in weather.cpp, with the constants as
// they stand there (3.141593 for pi, 20.05 m/s per square root of a kelvin for the speed of sound).
#pragma once

#include <array>
#include <vector>

#include "io/fixed_text.h"

namespace tn {

inline constexpr int kMaxWxLevels = 40;
inline constexpr int kHeadings = 360;

// One level of a profile. Ceff and Windc hold headings 1 .. 360 at indices 0 .. 359; heading
// position h stands for the compass angle h - 1 degrees (index k for k degrees).
struct WXLEVEL {
    std::array<float, kHeadings> Ceff{};    // effective sound speed, m/s
    std::array<float, kHeadings> Windc{};   // wind component along the heading, m/s
    float Alt = 0.0f;      // height of the level, metres (read in feet, divided by 3.2808)
    float Relhum = 0.0f;   // relative humidity, percent, from dew point and temperature
    float Temp = 0.0f;     // temperature, degrees Celsius
};

// The air state of a single parameter file.
struct WXPARAM {
    float Tempc = 0.0f;    // degrees Celsius
    float Relh = 0.0f;     // percent
    float Grad = 0.0f;     // per metre (read per 1000 metres)
    float Wspeed = 0.0f;   // as the file
    float Wdir = 0.0f;     // degrees, compass
    double Wextra1 = 0.0;
    double Wextra2 = 0.0;
    double Wextra3 = 0.0;
    double Wextra4 = 0.0;
    double Aparam = 0.0;   // from the optional "A_Param" line
    double Wunset = 0.0;   // no file fills it: it stays 0.0 and goes to its own place in the Nord2000 call
};

// The weather of a case, filled by READWX before the first receiver and read-only afterwards.
// Levels and the per-level arrays hold level n (1 .. Wxcount) at index n - 1; Cprof and Cgrad hold
// heading h (1 .. 360) at the first index h - 1 and level n at the second index n - 1.
struct WeatherState {
    int Wxcount = 1;
    std::vector<WXLEVEL> levels = std::vector<WXLEVEL>(kMaxWxLevels);
    std::array<float, kMaxWxLevels> Wxwind{};   // wind speed of each level as read, m/s
    std::array<float, kMaxWxLevels> Wxdir{};    // wind direction of each level as read, degrees
    std::vector<std::array<float, kMaxWxLevels>> Cprof =
        std::vector<std::array<float, kMaxWxLevels>>(kHeadings);   // Ceff laid out by heading
    std::vector<std::array<float, kMaxWxLevels>> Cgrad =
        std::vector<std::array<float, kMaxWxLevels>>(kHeadings);   // d Cprof / d Alt, levels 2 up; level 1 unwritten
    WXPARAM param;
    bool Wxsingle = false;   // the file is of the single parameter kind
    bool Wxdual = false;     // a single parameter file holds the "A_Param" line
};

// Reads a weather file. Line 1, as a 25-column field, equal to "Single Parameter Weather": the
// single parameter kind (line 3 on: ten free-format items into wx.param, Grad divided by 1000.0; then
// an optional word and number, Wxdual when the word is "A_Param", case-sensitive). Otherwise a
// profile: lines 2-7 passed over, then one level per line in the layout
// (a7,1x,5(f7.2,1x),f10.2,1x,f7.1,1x,f10.2) until a blank label, or until the first level above
// 19812.24 metres (65000 feet), which is kept; then WXTABLES. Any failure of the file (a bad number,
// an end before the table ends, more than 40 levels) stops the run with the file and line.
void READWX(const Name255& Weatherfile, WeatherState& wx);

// Saturation vapour pressure over water at tempc degrees Celsius, in hectopascals (millibars):
// the Goff-Gratch equation (Goff and Gratch 1946) rewritten in log10 T, with its steam point
// 373.16 K in the constants (0.0303998 = 11.344 / 373.16) but T = tempc + 273.15. It is thus
// Goff-Gratch 0.01 K cooler: 0.04 % to 0.08 % below the Smithsonian Meteorological Tables (List
// 1951, table 94) from 0 to 100 degrees Celsius, 1012.85 hPa at 100. Only ratios of it are used.
float SATVAP(float tempc);

// For levels 1 .. wx.Wxcount: Windc, Ceff, Cprof at every heading from Wxwind and Wxdir, and Cgrad
// between each level and the one below it (two levels of the same height divide by zero).
void WXTABLES(WeatherState& wx);

}  // namespace tn

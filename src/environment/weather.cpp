#include "environment/weather.h"

#include <cmath>
#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"
#include "io/text_file.h"

namespace tn {

namespace {

constexpr float kFeetPerMetre = 3.2808f;
constexpr float kLimitHeight = 19812.24f;   // metres: 65000 feet

void read_single(TextFile& f, WeatherState& wx) {
    wx.Wxsingle = true;
    f.skip_or_fail(1, "line 2 of a single parameter weather file");
    WXPARAM& p = wx.param;
    float dropped = 0.0f;
    list_read_or_fail(f, "ten values: Tempc, Relh, Grad, Wspeed, Wdir and five more", p.Tempc, p.Relh, p.Grad,
                      p.Wspeed, p.Wdir, p.Wextra1, p.Wextra2, dropped, p.Wextra3, p.Wextra4);
    p.Grad = p.Grad / 1000.0f;
    FixedText<7> word;
    const IoStatus st = list_read(f, word, p.Aparam);
    // A bad number on this line is passed over: the word is compared as far as it was read.
    if (st != IoStatus::End) wx.Wxdual = word == "A_Param";
}

void read_profile(TextFile& f, WeatherState& wx) {
    wx.Wxsingle = false;
    f.skip_or_fail(6, "lines 2 to 7 of a weather profile");
    for (int n = wx.Wxcount;; ++n) {
        const std::string_view rec = f.record_or_fail("a level line, or a line with a blank label ending the table");
        // The whole record is read before its label is looked at.
        const float temp = read_real_columns(f, rec, 9, 15, 2, "temperature, degrees Celsius, f7.2");
        const float dew = read_real_columns(f, rec, 17, 23, 2, "dew point, degrees Celsius, f7.2");
        const float wind = read_real_columns(f, rec, 25, 31, 2, "wind speed, m/s, f7.2");
        const float dir = read_real_columns(f, rec, 33, 39, 2, "wind direction, degrees, f7.2");
        read_real_columns(f, rec, 41, 47, 2, "an unused value, f7.2");
        read_real_columns(f, rec, 49, 58, 2, "an unused value, f10.2");
        read_real_columns(f, rec, 60, 66, 1, "an unused value, f7.1");
        const float height = read_real_columns(f, rec, 68, 77, 2, "height in feet, f10.2");
        const bool blank_label = padded_equal(field(rec, 1, 7), "");
        if (n > kMaxWxLevels) {
            if (blank_label) {
                wx.Wxcount = n - 1;
                return;
            }
            throw file_error(f.name(), f.record_number(),
                             "more than " + std::to_string(kMaxWxLevels) + " weather levels; the profile has " +
                                 std::to_string(kMaxWxLevels) + " places");
        }
        const std::size_t k = static_cast<std::size_t>(n - 1);
        WXLEVEL& lev = wx.levels[k];
        lev.Temp = temp;
        wx.Wxwind[k] = wind;
        wx.Wxdir[k] = dir;
        lev.Alt = height;
        if (blank_label) {
            wx.Wxcount = n - 1;
            return;
        }
        lev.Alt = lev.Alt / kFeetPerMetre;
        lev.Relhum = (SATVAP(dew) * 100.0f) / SATVAP(lev.Temp);
        if (lev.Alt > kLimitHeight) {
            wx.Wxcount = n;   // deliberate: the first level above the limit height is kept
            return;
        }
        wx.Wxcount = n + 1;
    }
}

}  // namespace

void READWX(const Name255& Weatherfile, WeatherState& wx) {
    wx.Wxdual = false;
    wx.Wxcount = 1;
    TextFile f(Weatherfile.str());
    const std::string_view line1 = f.record_or_fail("line 1 of the weather file");
    if (padded_equal(field(line1, 1, 25), "Single Parameter Weather")) {
        read_single(f, wx);
        return;
    }
    read_profile(f, wx);
    WXTABLES(wx);
}

float SATVAP(float tempc) {
    const float T = tempc + 273.15f;
    const float A = 11.344f - 0.0303998f * T;
    const float B = 3.49149f - 1302.8844f / T;
    const float e = 23.832241f - 5.02808f * std::log10(T) - 1.3816e-07f * std::pow(10.0f, A) +
                    0.0081328f * std::pow(10.0f, B) - 2949.076f / T;
    return std::pow(10.0f, e);
}

void WXTABLES(WeatherState& wx) {
    for (int n = 1; n <= wx.Wxcount; ++n) {
        const std::size_t k = static_cast<std::size_t>(n - 1);
        WXLEVEL& lev = wx.levels[k];
        const float c = std::sqrt(lev.Temp + 273.15f) * 20.05f;
        for (int h = 1; h <= kHeadings; ++h) {
            const std::size_t hk = static_cast<std::size_t>(h - 1);
            // Deliberate: heading position h stands for the angle h - 1.
            const float w = wx.Wxwind[k] * std::cos(((static_cast<float>(h - 1) - wx.Wxdir[k]) * 3.141593f) / 180.0f);
            lev.Windc[hk] = w;
            lev.Ceff[hk] = c + w;
            wx.Cprof[hk][k] = c + w;
            if (n > 1) {
                wx.Cgrad[hk][k] = (wx.Cprof[hk][k] - wx.Cprof[hk][k - 1]) / (lev.Alt - wx.levels[k - 1].Alt);
            }
        }
    }
}

}  // namespace tn

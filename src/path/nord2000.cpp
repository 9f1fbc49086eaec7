#include "path/nord2000.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "io/errors.h"
#include "path/nord_library.h"
#include "path/wxfit.h"

namespace tn {

void nord_path_effect(int n, const float src[3], const float rcv[3], int Nband, const float* Freq, float* Gterm,
                      const PROFPT* Terr, const PROFPT* Gsec, const PathModel& model) {
    if (n < 1 || n > kProfileSamples || Nband < 0 || Nband > kNordMaxBands) {
        throw RunError("the Nord2000 call takes at most " + std::to_string(kProfileSamples) + " samples and " +
                       std::to_string(kNordMaxBands) + " bands; this path has " + std::to_string(n) + " and " +
                       std::to_string(Nband));
    }
    const WeatherState& wx = *model.wx;

    // The atmosphere of the path.
    float gradient = 0.0f;
    float tground = 0.0f;   // degrees Celsius
    double wind = 0.0;
    double wind2 = 0.0;
    const WXPARAM none{};
    const WXPARAM& p = wx.Wxsingle ? wx.param : none;   // a profile fills none of the single parameters
    if (!wx.Wxsingle) {
        const float zs = src[2] + Terr[0].v;
        const float zr = rcv[2] + Terr[n - 1].v;
        float Ca = 0.0f, Cb = 0.0f, Cc = 0.0f, Tgrad = 0.0f;
        int Hdg = 0;
        double Wsrc = 0.0;
        WXFIT(wx, src, zs, rcv, zr, Ca, Cb, Cc, Hdg, Tgrad, Wsrc);
        gradient = Tgrad;
        tground = wx.levels[0].Temp;
        wind = Wsrc;
    } else {
        gradient = p.Grad;
        tground = p.Tempc;
        const float t0 = ((90.0f - p.Wdir) * 3.1415927f) / 180.0f;
        const float b = std::atan2(src[1] - rcv[1], src[0] - rcv[0]);
        const float c = std::cos(b - t0);
        wind = p.Wspeed * c;
        if (wx.Wxdual) wind2 = p.Aparam * c;
    }

    // The library's arrays, in double precision.
    double X[kProfileSamples] = {};
    double Z[kProfileSamples] = {};
    double G[kProfileSamples] = {};
    for (int k = 0; k < n; ++k) {
        X[k] = Terr[k].d;
        Z[k] = Terr[k].v;   // absolute heights, not heights above ground
        G[k] = Gsec[k].v;
    }
    const double s[3] = {src[0], src[1], src[2]};
    const double r[3] = {rcv[0], rcv[1], rcv[2]};
    double F[kNordMaxBands] = {};
    for (int i = 0; i < Nband; ++i) F[i] = Freq[i];

    const std::int32_t nsec = n;
    const std::int32_t nband = Nband;
    const double d_wind = wind;
    const double d_tground = tground;
    const double d_gradient = gradient;
    const double unset = p.Wunset;   // filled by no weather file: 0.0
    double scratch = 0.0;            // with "A_Param": set and read by nothing here
    model.nord->CALLNORD(&nsec, X, Z, G, s, r, &nband, F, &d_wind, &d_tground, &p.Wextra4, &d_gradient, &p.Wextra1,
                         &p.Wextra2, &unset, &p.Wextra3, &model.Nordpar2, &model.Nordpar3, &model.Nordpar1, Gterm,
                         wx.Wxdual ? &scratch : nullptr, wx.Wxdual ? &wind2 : nullptr);
}

}  // namespace tn

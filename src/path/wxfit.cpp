#include "path/wxfit.h"

#include <cmath>
#include <cstddef>

// LAPACK: least squares by QR factorisation (TRANS "N"). The last argument is the hidden length of
// the Fortran character argument.
extern "C" void sgels_(const char* trans, const int* m, const int* n, const int* nrhs, float* a, const int* lda,
                       float* b, const int* ldb, float* work, const int* lwork, int* info, std::size_t trans_len);

namespace tn {

namespace {

// Rows of a fit: the levels between the two ends (at most kMaxWxLevels - 1 of them, since the
// range stops below its upper level) and the two ends.
constexpr int kMaxRows = kMaxWxLevels + 2;

const WXLEVEL& level(const WeatherState& wx, int k) { return wx.levels[static_cast<std::size_t>(k - 1)]; }

// The first level above height z; the topmost when z is above them all.
int level_above(const WeatherState& wx, int top, float z) {
    for (int k = 1; k <= top; ++k) {
        if (level(wx, k).Alt > z) return k;
    }
    return top;
}

// A value at height z from level k and the one below it: upper - slope * (Alt(k) - z). Level 1
// gives its own value.
template <typename Field>
float at_height(const WeatherState& wx, int k, float z, Field value) {
    const WXLEVEL& up = level(wx, k);
    if (k == 1) return value(up);
    const WXLEVEL& low = level(wx, k - 1);
    const float upper = value(up);
    const float lower = value(low);
    const float slope = (upper - lower) / (up.Alt - low.Alt);
    return upper - slope * (up.Alt - z);
}

void least_squares(int m, int n, float* a, float* b, float* work) {
    const int nrhs = 1;
    const int lwork = 6 * m + 1;
    int info = 0;
    sgels_("N", &m, &n, &nrhs, a, &m, b, &m, work, &lwork, &info, 1);
    (void)info;   // the fit has no failure path: whatever it leaves stands
}

}  // namespace

void WXFIT(const WeatherState& wx, const float src[2], float zs, const float rcv[2], float zr, float& Ca, float& Cb,
           float& Cc, int& Hdg, float& Tgrad, double& Wsrc) {
    // Heading of the path. Deliberate: 3.1415296, not pi; the heading of the tables is found with it.
    const float a = std::atan2(rcv[1] - src[1], rcv[0] - src[0]);
    const float compass = 90.0f - a * 180.0f / 3.1415296f;
    Hdg = std::isfinite(compass) ? static_cast<int>(std::lround(compass)) : 360;   // no number: stays in the tables
    if (Hdg < 1) Hdg = Hdg + 360;
    const std::size_t h = static_cast<std::size_t>(Hdg - 1);

    // Levels of the two ends.
    const int top = wx.Wxcount > 1 ? wx.Wxcount : 1;
    const int ks = level_above(wx, top, zs);
    const int kr = level_above(wx, top, zr);
    const int kmin = ks < kr ? ks : kr;
    int kmax = ks < kr ? kr : ks;
    if (kmax == kmin) kmax = kmin + 1;

    // Values at the two ends; the wind at the source only.
    auto ceff = [h](const WXLEVEL& l) { return l.Ceff[h]; };
    auto temp = [](const WXLEVEL& l) { return l.Temp; };
    auto wind = [h](const WXLEVEL& l) { return l.Windc[h]; };
    const float cs = at_height(wx, ks, zs, ceff);
    const float ts = at_height(wx, ks, zs, temp);
    Wsrc = at_height(wx, ks, zs, wind);
    const float cr = at_height(wx, kr, zr, ceff);
    const float tr = at_height(wx, kr, zr, temp);

    // The two systems, column-major: A (m by 3) with c, B (m by 2) with t.
    const int m = kmax - kmin + 2;
    float A[kMaxRows * 3];
    float B[kMaxRows * 2];
    float c[kMaxRows];
    float t[kMaxRows];
    float work[6 * kMaxRows + 1];
    const float alt1 = level(wx, 1).Alt;
    auto a_row = [&A, m, alt1](int r, float z) {
        A[r] = std::log(z / alt1 + 1.0f);
        A[r + m] = z;
        A[r + 2 * m] = 1.0f;
    };
    auto b_row = [&B, m](int r, float z) {
        B[r] = z;
        B[r + m] = 1.0f;
    };
    int r = 0;
    for (int k = kmin; k <= kmax - 1; ++k, ++r) {
        const WXLEVEL& l = level(wx, k);
        a_row(r, l.Alt);
        c[r] = l.Ceff[h];
        b_row(r, l.Alt);
        t[r] = l.Temp;
    }
    a_row(m - 2, zs);
    c[m - 2] = cs;
    b_row(m - 2, zr);
    t[m - 2] = tr;
    a_row(m - 1, zr);
    c[m - 1] = cr;
    b_row(m - 1, zs);
    t[m - 1] = ts;

    // The fits; the second one's solution is not read.
    least_squares(m, 3, A, c, work);
    Ca = c[0];
    Cb = c[1];
    Cc = c[2];
    least_squares(m, 2, B, t, work);

    // What the path gets: the temperature gradient between the ends, and the constant at the source.
    Tgrad = (ts - tr) / (zs - zr);
    Cc = cs;
}

}  // namespace tn

#include "ground/flat.h"

#include <cmath>

#include "ground/impedance.h"
#include "ground/sphref.h"

namespace tn {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kSixteenPi2 = 157.91367041742973;   // 16 pi^2
constexpr double kDb = 4.3429;                       // 10/ln 10 to four decimals, the model's value

std::complex<double> cis(double theta) { return {std::cos(theta), std::sin(theta)}; }
double abs2(std::complex<double> z) { return z.real() * z.real() + z.imag() * z.imag(); }

// Direct plus reflected wave over 4 pi. The coefficient is SPHREFD(d, Hs, Hr, F, Z2), whose k is
// the k of this sum.
std::complex<double> plain_sum(const FLATGEOM& g, const SPHZD& z2, double F) {
    const double k = 2.0 * kPi * F / 340.0;
    std::complex<double> Q;
    SPHREFDK(g.sph, k, z2, Q);
    return (Q * cis(-k * g.Rr) / g.Rr + cis(-k * g.Rd) / g.Rd) / (4.0 * kPi);
}

}  // namespace

void FLATPREP(float D1, float D2, float Hs, float Hr, FLATGEOM& g) {
    g.Hs = Hs;
    g.Hr = Hr;
    g.d = double(D1) + double(D2);
    g.Rd = std::sqrt(g.d * g.d + (g.Hs - g.Hr) * (g.Hs - g.Hr));
    g.Rr = std::sqrt(g.d * g.d + (g.Hs + g.Hr) * (g.Hs + g.Hr));
    g.N = g.Rd * g.Rd * kSixteenPi2;
    SPHGEOMDPREP(g.d, g.Hs, g.Hr, g.sph);
}

void FLATBAND(const FLATGEOM& g, const SPHZD& z2, double F, float& ALevel) {
    const std::complex<double> P = plain_sum(g, z2, F);
    ALevel = static_cast<float>(kDb * std::log(abs2(P) * g.N));
}

void FLATFULL(float D1, float D2, float Hs, float Hr, float Sigma1, float Sigma2, float Grad,
              float PlaneTop, float GradSpread, float F, float& AMean, float& ALevel) {
    const double f = F;
    std::complex<double> Z1, Z2;
    IMPEDD(f, Sigma1, Z1);
    IMPEDD(f, Sigma2, Z2);
    FLATGEOM g;
    FLATPREP(D1, D2, Hs, Hr, g);

    SPHZD z2;
    SPHZDPREP(Z2, z2);
    if (Grad == 0.0f) {
        AMean = 0.0f;
        FLATBAND(g, z2, f, ALevel);
        return;
    }

    // Refracting atmosphere: sum over a vertical plane at D1, three gradients at once.
    const double d1 = D1, d2 = D2, grad = Grad, spread = GradSpread;
    const double L = 340.0 / f;
    const long n = std::lround(double(PlaneTop) / (L / 6.0));
    const double k = 2.0 * kPi * f / ((((double(n - 1) * (L / 6.0) + L / 10.0) * 0.5 * grad) / 10.0) + 340.0);
    std::complex<double> A[3] = {};
    for (long m = 1; m <= n; ++m) {
        const double z = double(m - 1) * (L / 6.0) + L / 10.0;
        const double u = 1.0;   // deliberate: the spread's modulation with its period switched off
        const double g1 = grad + (spread / 10.0) * u;
        const double gj[3] = {g1, 2.0 * grad - g1, grad};
        const double a1 = std::sqrt(d1 * d1 + (g.Hs - z) * (g.Hs - z));
        const double a2 = std::sqrt(d1 * d1 + (g.Hs + z) * (g.Hs + z));
        const double b1 = std::sqrt(d2 * d2 + (z - g.Hr) * (z - g.Hr));
        const double b2 = std::sqrt(d2 * d2 + (z + g.Hr) * (z + g.Hr));
        std::complex<double> Q1, Q2;
        SPHREFD(d2, z, g.Hr, f, Z2, Q2);
        SPHREFD(d1, g.Hs, z, f, Z1, Q1);
        for (int j = 0; j < 3; ++j) {
            const double kj = 2.0 * kPi * f / ((z * 0.5 * gj[j]) / 10.0 + 340.0);
            auto T = [&](double a, double b) {
                return (cis(-kj * (a + b)) - cis(-k * (a + b))) / (b * std::sqrt(b * a * (a + b)));
            };
            A[j] += T(a1, b1) + Q2 * T(a1, b2) + Q1 * T(a2, b1) + Q1 * Q2 * T(a2, b2);
        }
    }
    const std::complex<double> P = plain_sum(g, z2, f);
    for (auto& Aj : A) {
        Aj *= cis(kPi / 4.0) * (L / 6.0) * d2 * std::sqrt(8.0 * kPi * k) / kSixteenPi2;
        Aj += P;
    }
    AMean = static_cast<float>(kDb * std::log((abs2(A[0]) + abs2(A[1]) + abs2(A[2])) * g.N / 3.0));
    ALevel = static_cast<float>(kDb * std::log(abs2(A[2]) * g.N));
}

}  // namespace tn

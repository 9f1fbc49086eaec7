#include "ground/sphref.h"

#include <cmath>

#include "ground/wofz.h"

namespace tn {

void SPHZPREP(std::complex<float> Z, SPHZ& z) {
    z.Z = Z;
    z.absZ = std::abs(Z);
    const float Z2 = z.absZ * z.absZ;
    z.bre = Z.real() / Z2;   // beta = 1/Z
    z.bim = -Z.imag() / Z2;
}

void SPHREFZ(float r, float delz, float k, const SPHZ& z, std::complex<float>& Q) {
    const float pi = 3.1415927f;
    const std::complex<float> Z = z.Z;
    const float c = std::abs(delz) / r;

    // Plane-wave coefficient (Z c - 1)/(Z c + 1) in real arithmetic.
    const float e1 = Z.real() * c + 1.0f;
    const float e2 = Z.imag() * c;
    const float D = e1 * e1 + e2 * e2;
    const float e3 = z.absZ * c;
    const std::complex<float> Rp{(e3 * e3 - 1.0f) / D, 2.0f * Z.imag() * c / D};

    // Numerical distance s (1 + i)(c + beta).
    const float s = std::sqrt(k * r * 0.25f);
    const std::complex<float> w{s * (z.bre + c - z.bim), s * (z.bre + c + z.bim)};
    std::complex<float> W;
    WOFZ(w, W);

    const std::complex<float> F = 1.0f + std::complex<float>(0.0f, std::sqrt(pi)) * w * W;
    Q = Rp + (1.0f - Rp) * F;

    // Rigid ground: the work above is done all the same, only its result is dropped.
    if (Z.real() >= 1000.0f) Q = {1.0f, 0.0f};
}

void SPHREF(float r, float delz, float k, std::complex<float> Z, std::complex<float>& Q) {
    SPHZ z;
    SPHZPREP(Z, z);
    SPHREFZ(r, delz, k, z, Q);
}

void SPHZDPREP(std::complex<double> Z, SPHZD& z) {
    z.Z = Z;
    z.absZ = std::abs(Z);
    const double Z2 = z.absZ * z.absZ;
    z.bre = Z.real() / Z2;   // beta = 1/Z
    z.bim = -Z.imag() / Z2;
}

void SPHGEOMDPREP(double d, double h1, double h2, SPHGEOMD& g) {
    g.r2 = std::sqrt(d * d + (h1 + h2) * (h1 + h2));
    g.c = (h1 + h2) / g.r2;
}

void SPHREFDK(const SPHGEOMD& g, double k, const SPHZD& z, std::complex<double>& Q) {
    const double pi = 3.141592653589793;
    const std::complex<double> Z = z.Z;
    const double c = g.c;

    const double e1 = Z.real() * c + 1.0;
    const double e2 = Z.imag() * c;
    const double D = e1 * e1 + e2 * e2;
    const double e3 = z.absZ * c;
    const std::complex<double> Rp{(e3 * e3 - 1.0) / D, 2.0 * Z.imag() * c / D};

    const double s = std::sqrt(k * g.r2 * 0.25);
    const double a = s * (z.bre + c + z.bim);
    const double b = s * (-z.bre - c + z.bim);
    std::complex<double> W;
    WOFZD({-a, -b}, W);

    // 1 + i sqrt(pi) z W for z = -a - i b, in real arithmetic.
    const double sp = std::sqrt(pi);
    const std::complex<double> F{1.0 + sp * (W.imag() * a + W.real() * b),
                                 -(sp * (W.real() * a - W.imag() * b))};
    Q = Rp + (1.0 - Rp) * F;
}

void SPHREFD(double d, double h1, double h2, double f, std::complex<double> Z, std::complex<double>& Q) {
    const double pi = 3.141592653589793;
    const double k = 2.0 * pi * f / 340.0;
    SPHGEOMD g;
    SPHGEOMDPREP(d, h1, h2, g);
    SPHZD z;
    SPHZDPREP(Z, z);
    SPHREFDK(g, k, z, Q);
}

}  // namespace tn

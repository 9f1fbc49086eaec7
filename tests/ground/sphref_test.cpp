// Ground impedance and the spherical-wave reflection coefficient, in both conventions.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "ground/impedance.h"
#include "ground/sphref.h"

namespace {

// Against Delany and Bazley's own form, Z = 1 + 0.0571 X^-0.754 + i 0.087 X^-0.732 with
// X = rho f / sigma (rho = 1.2 kg/m^3, sigma in Pa s/m^2 = 1000 times the model's kPa s/m^2), over
// its range of validity 0.01 <= X <= 1 (Applied Acoustics 3 (1970) 105). The model's rounded
// exponents differ by up to 0.9 % there.
TEST(Impedance, MatchesDelanyAndBazleyOriginalForm) {
    for (double X : {0.01, 0.03, 0.1, 0.3, 1.0}) {
        for (double f : {125.0, 1000.0, 8000.0}) {
            const double sigma = 1.2 * f / (1000.0 * X);
            const std::complex<double> db{1.0 + 0.0571 * std::pow(X, -0.754), 0.087 * std::pow(X, -0.732)};
            std::complex<float> Z;
            tn::IMPED(float(f), float(sigma), Z);
            std::complex<double> ZD;
            tn::IMPEDD(f, sigma, ZD);
            EXPECT_NEAR(Z.real() / db.real(), 1.0, 0.015) << "X = " << X;
            EXPECT_NEAR(Z.imag() / db.imag(), 1.0, 0.015) << "X = " << X;
            EXPECT_NEAR(ZD.real() / db.real(), 1.0, 0.015) << "X = " << X;
            EXPECT_NEAR(-ZD.imag() / db.imag(), 1.0, 0.015) << "X = " << X << ": exp(-ikr) convention";
        }
    }
}

std::complex<float> sphref(float d, float h1, float h2, float f, float sigma) {
    const float k = 2.0f * 3.1415927f * f / 340.0f;
    std::complex<float> Z, Q;
    tn::IMPED(f, sigma, Z);
    tn::SPHREF(std::sqrt(d * d + (h1 + h2) * (h1 + h2)), h1 + h2, k, Z, Q);
    return Q;
}
std::complex<double> sphrefd(double d, double h1, double h2, double f, double sigma) {
    std::complex<double> Z, Q;
    tn::IMPEDD(f, sigma, Z);
    tn::SPHREFD(d, h1, h2, f, Z, Q);
    return Q;
}

// The two families describe one coefficient in the two time conventions: for the same flat
// geometry the 64-bit one is the conjugate of the 32-bit one. Tolerance: 32-bit arithmetic through
// WOFZ, measured below 3e-6 relative.
TEST(Sphref, TheTwoConventionsAreConjugates) {
    struct Case { float d, h1, h2, f, sigma; };
    const Case cases[] = {
        {100, 1.2f, 1.5f, 50, 200},     {100, 1.2f, 1.5f, 500, 200},  {100, 1.2f, 1.5f, 5000, 200},
        {500, 10, 1.5f, 250, 20},       {30, 0, 0, 1000, 200},        {2000, 300, 1.5f, 125, 500},
        {50, 5, 5, 4000, 20000},        {10, 2, 0.5f, 100, 1000},
    };
    for (const Case& c : cases) {
        const std::complex<float> q = sphref(c.d, c.h1, c.h2, c.f, c.sigma);
        const std::complex<double> qd = sphrefd(c.d, c.h1, c.h2, c.f, c.sigma);
        EXPECT_LT(std::abs(std::complex<double>(q.real(), -q.imag()) - qd) / std::abs(qd), 1e-5)
            << "d " << c.d << " h " << c.h1 << " " << c.h2 << " f " << c.f << " sigma " << c.sigma;
    }
}

// Far from grazing and at many wavelengths the spherical wave reflects as a plane wave:
// Q -> (Z cos(theta) - 1)/(Z cos(theta) + 1), theta from the normal. Here |w| is about 18 and the
// ground-wave term about 1/(2 w^2).
TEST(Sphref, PlaneWaveLimitFarFromGrazing) {
    const double d = 100, h1 = 20, h2 = 20, f = 2000, sigma = 200;
    const double cost = (h1 + h2) / std::hypot(d, h1 + h2);
    std::complex<double> Z;
    tn::IMPEDD(f, sigma, Z);
    const std::complex<double> Rp = (Z * cost - 1.0) / (Z * cost + 1.0);
    EXPECT_LT(std::abs(sphrefd(d, h1, h2, f, sigma) - Rp), 5e-3);
    const std::complex<float> q = sphref(d, h1, h2, f, sigma);
    EXPECT_LT(std::abs(std::complex<double>(q.real(), -q.imag()) - Rp), 5e-3);
}

// Rigid ground: the 32-bit coefficient is exactly 1 + 0i from Re Z = 1000 on (inclusive), and
// computed below it; the 64-bit one has no such rule and only comes close to 1: at this grazing
// angle (c = 0.03) 1 - Rp is about 2/(Z c), 0.07, and |Q - 1| about half of that.
TEST(Sphref, RigidGroundCutOff) {
    const float f = 1000.0f, k = 2.0f * 3.1415927f * f / 340.0f;
    int above = 0;
    for (float sigma = 500000.0f; sigma < 560000.0f; sigma += 2500.0f) {   // Re Z crosses 1000 near 527000
        std::complex<float> Z, Q;
        tn::IMPED(f, sigma, Z);
        tn::SPHREF(100.5f, 3.0f, k, Z, Q);
        above += Z.real() >= 1000.0f;
        EXPECT_EQ(Q == std::complex<float>(1.0f, 0.0f), Z.real() >= 1000.0f) << "sigma " << sigma;
        const std::complex<double> qd = sphrefd(100.0, 1.5, 1.5, f, sigma);
        EXPECT_TRUE(qd != 1.0 && std::abs(qd - 1.0) < 0.05) << "sigma " << sigma;
    }
    EXPECT_TRUE(above > 0 && above < 24);
}

}  // namespace

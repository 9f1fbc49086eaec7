#include "ground/valley.h"

#include <cmath>

#include "ground/impedance.h"
#include "ground/sphref.h"

namespace tn {
namespace {

constexpr float kPi = 3.1415927f;

std::complex<float> cis(float theta) { return {std::cos(theta), std::sin(theta)}; }

// A ray of the cosine rule at the fold: sqrt(r1^2 + r2^2 - 2 r1 r2 cos(angle)).
float leg(float r1, float r2, float angle) { return std::sqrt(r1 * r1 + r2 * r2 - 2.0f * r1 * r2 * std::cos(angle)); }

}  // namespace

void VALLPREP(float L1, float L2, float Hs, float Hr, float Beta, VALLGEOM& g) {
    const float twopi = 2.0f * kPi;
    const float r1 = std::sqrt(Hs * Hs + L1 * L1);
    const float r2 = std::sqrt(Hr * Hr + L2 * L2);
    g.Rt = r1 + r2;

    const float A = std::atan2(Hs, L1);   // source over its plane
    const float C = std::atan2(Hr, L2);   // receiver over its plane
    const float G = twopi - Beta - C;     // receiver from the source plane, across the fold

    g.D = leg(r1, r2, G - A);
    g.dzQ1 = std::sin(A) * g.Rt;
    g.dzQ2 = std::sin(twopi - G - Beta) * g.Rt;
    g.L = r1 * r2 / g.Rt;
    const float nu = 2.0f - Beta / kPi;
    WEDGEPREP(G - A, -1.0f, nu, g.V[0]);
    WEDGEPREP(G + A, -1.0f, nu, g.V[1]);
    WEDGEPREP(G + A, +1.0f, nu, g.V[2]);
    WEDGEPREP(G - A, +1.0f, nu, g.V[3]);

    g.directLit = G - A < kPi;

    g.src = {};
    if (G + A < kPi) {
        g.src.lit = true;
        g.src.D = leg(r1, r2, G + A);
        g.src.dz1 = Hs + r2 * std::sin(kPi - G);
    }
    g.rcv = {};
    if ((G - A) + 2.0f * C < kPi) {
        g.rcv.lit = true;
        g.rcv.D = leg(r1, r2, G - A + 2.0f * C);
        g.rcv.dz1 = Hr + r1 * std::sin(A + Beta - kPi);
    }
    g.both = {};
    if (G + A + 2.0f * C < kPi) {
        g.both.lit = true;
        g.both.D = leg(r1, r2, G + A + 2.0f * C);
        g.both.dz1 = Hs + r2 * std::sin(2.0f * Beta - 3.0f * kPi + G);
        g.both.dz2 = Hr + r1 * std::sin(Beta - A - kPi);
    }
}

void VALLBAND(const VALLGEOM& g, const SPHZ& z1, const SPHZ& z2, float f, float& out) {
    const float k = 2.0f * kPi * f / 340.0f;
    const std::complex<float> P0 = cis(k * g.D) / g.D;

    std::complex<float> Q1, Q2;
    SPHREFZ(g.Rt, g.dzQ1, k, z1, Q1);
    SPHREFZ(g.Rt, g.dzQ2, k, z2, Q2);
    std::complex<float> V[4];
    WEDGEBAND4(g.V, g.Rt, g.L, k, V);
    std::complex<float> PT = V[0] + Q1 * V[1] + Q2 * V[2] + Q1 * Q2 * V[3];

    if (g.directLit) PT += P0;
    if (g.src.lit) {
        std::complex<float> Q;
        SPHREFZ(g.src.D, g.src.dz1, k, z1, Q);
        PT += Q * cis(k * g.src.D) / g.src.D;
    }
    if (g.rcv.lit) {
        std::complex<float> Q;
        SPHREFZ(g.rcv.D, g.rcv.dz1, k, z2, Q);
        PT += Q * cis(k * g.rcv.D) / g.rcv.D;
    }
    if (g.both.lit) {
        std::complex<float> Qa, Qb;
        SPHREFZ(g.both.D, g.both.dz1, k, z1, Qa);
        SPHREFZ(g.both.D, g.both.dz2, k, z2, Qb);
        PT += Qa * Qb * cis(k * g.both.D) / g.both.D;
    }

    const float y = g.D * static_cast<float>(std::hypot(double(PT.real()), double(PT.imag())));
    out = 4.34f * std::log(y * y);
}

void VALLFULL(float L1, float L2, float Hs, float Hr, float Beta, float Sigma1, float Sigma2, float f,
              float& out) {
    std::complex<float> Z1, Z2;
    IMPED(f, Sigma1, Z1);
    IMPED(f, Sigma2, Z2);
    SPHZ z1, z2;
    SPHZPREP(Z1, z1);
    SPHZPREP(Z2, z2);
    VALLGEOM g;
    VALLPREP(L1, L2, Hs, Hr, Beta, g);
    VALLBAND(g, z1, z2, f, out);
}

}  // namespace tn

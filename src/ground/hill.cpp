#include "ground/hill.h"

#include <cmath>
#include <iostream>

#include "ground/impedance.h"
#include "ground/sphref.h"

namespace tn {
namespace {

constexpr float kPi = 3.1415927f;

std::complex<float> cis(float theta) { return {std::cos(theta), std::sin(theta)}; }

float dist(const XZPT& p, const XZPT& q) {   // |q - p|
    const float dx = q.x - p.x;
    const float dz = q.z - p.z;
    return std::sqrt(dx * dx + dz * dz);
}

// |PT| in 64-bit arithmetic, narrowed.
float mag(std::complex<float> z) { return static_cast<float>(std::hypot(double(z.real()), double(z.imag()))); }

// One diagnostic line in free list form: a blank, the label, the values separated by blanks.
void diag_value(std::ostream& os, float v) { os << ' ' << v; }
void diag_value(std::ostream& os, int v) { os << ' ' << v; }
void diag_value(std::ostream& os, std::complex<float> v) { os << " (" << v.real() << ',' << v.imag() << ')'; }
template <class... V>
void diag_line(const char* label, V... values) {
    std::cerr.precision(8);
    std::cerr << ' ' << label;
    (diag_value(std::cerr, values), ...);
    std::cerr << '\n';
}

}  // namespace

void HILLPREP(const XZPT KeyPt[5], const XZPT SrcPt[2], const XZPT RcvPt[2], HILLGEOM& g) {
    const XZPT& K1 = KeyPt[0];
    const XZPT& K2 = KeyPt[1];
    const XZPT& K3 = KeyPt[2];
    const XZPT& K4 = KeyPt[3];
    const XZPT& K5 = KeyPt[4];
    const float twopi = 2.0f * kPi;

    // Source image coefficient: only if the image sees the crest from below the flank.
    {
        const XZPT& S2 = SrcPt[1];
        const float rho = dist(S2, K3);
        const float a = std::atan2(K3.z - S2.z, K3.x - S2.x);
        const float b = std::atan2(K3.z - K2.z, K3.x - K2.x);
        g.hasQs = false;
        g.rQs = g.dzQs = 0.0f;
        if (!(a >= b)) {
            const float e = std::atan2(K2.z - K1.z, K2.x - K1.x);
            const float t = a - e;
            g.hasQs = true;
            g.dzQs = rho * std::sin(t);                // off the plane
            g.rQs = std::abs(rho * std::cos(t));       // along it: SPHREF's c is a tangent here, deliberately
        }
    }
    // Receiver image coefficient, mirrored.
    {
        const XZPT& R2 = RcvPt[1];
        const float rho = dist(K3, R2);
        const float a = std::atan2(K3.z - R2.z, R2.x - K3.x);
        const float b = std::atan2(K3.z - K4.z, K4.x - K3.x);
        g.hasQr = false;
        g.rQr = g.dzQr = 0.0f;
        if (!(a >= b)) {
            const float e = std::atan2(K4.z - K5.z, K5.x - K4.x);
            const float t = a - e;
            g.hasQr = true;
            g.dzQr = rho * std::sin(t);
            g.rQr = std::abs(rho * std::cos(t));
        }
    }

    // Wedge angles, from the vertical (atan2 with the horizontal first).
    g.T1 = std::atan2(K3.x - K2.x, K3.z - K2.z);
    g.T2 = std::atan2(K4.x - K3.x, K3.z - K4.z);
    g.T3 = g.T1 + g.T2;
    const float nu = 2.0f - g.T3 / kPi;

    const XZPT* src[4] = {&SrcPt[0], &SrcPt[1], &SrcPt[0], &SrcPt[1]};
    const XZPT* rcv[4] = {&RcvPt[0], &RcvPt[0], &RcvPt[1], &RcvPt[1]};
    for (int I = 0; I < 4; ++I) {
        const XZPT& S = *src[I];
        const XZPT& R = *rcv[I];
        HILLPAIR& p = g.pair[I];
        const float r1 = dist(S, K3);
        p.F0 = std::atan2(K3.x - S.x, K3.z - S.z) - g.T1;
        const float r2 = dist(K3, R);
        p.F1 = twopi - g.T1 - std::atan2(R.x - K3.x, K3.z - R.z);
        p.counts = p.F0 > 0.0f && p.F1 + g.T3 < twopi;
        if (!p.counts) continue;
        p.Rt = r1 + r2;
        p.dz1 = std::sin(p.F0) * p.Rt;
        p.dz2 = std::sin(twopi - p.F1 - g.T3) * p.Rt;
        p.L = r1 * r2 / p.Rt;
        WEDGEPREP(p.F1 - p.F0, -1.0f, nu, p.V[0]);
        WEDGEPREP(p.F1 + p.F0, -1.0f, nu, p.V[1]);
        WEDGEPREP(p.F1 + p.F0, +1.0f, nu, p.V[2]);
        WEDGEPREP(p.F1 - p.F0, +1.0f, nu, p.V[3]);
    }

    // Rays of the lit zone. Pair 4's angles steer the image rays whether or not pair 4 counted.
    const float F0a = g.pair[0].F0, F1a = g.pair[0].F1;
    const float F0d = g.pair[3].F0, F1d = g.pair[3].F1;
    g.direct.AL1 = kPi + F0a - F1a;
    g.direct.D = dist(SrcPt[0], RcvPt[0]);
    g.srcimage.AL1 = kPi + F0d - F1a;
    g.srcimage.D = dist(SrcPt[1], RcvPt[0]);
    g.srcimage.dz = RcvPt[0].z - SrcPt[1].z;
    g.rcvimage.AL1 = kPi + F0a - F1d;
    g.rcvimage.D = dist(SrcPt[0], RcvPt[1]);
    g.rcvimage.dz = RcvPt[1].z - SrcPt[0].z;
    g.RR = dist(SrcPt[0], RcvPt[0]);
}

void HILLBAND(const HILLGEOM& g, const SPHZ& z1, const SPHZ& z2, const SPHZ& z3, float f, float& out) {
    constexpr bool diag = false;   // diagnostic lines: off, and nothing turns them on
    const float deg = 180.0f / kPi;
    const float k = 2.0f * kPi * f / 340.0f;
    std::complex<float> PT{0.0f, 0.0f};

    std::complex<float> Qs{0.0f, 0.0f}, Qr{0.0f, 0.0f};
    if (g.hasQs) SPHREFZ(g.rQs, g.dzQs, k, z1, Qs);
    if (diag) diag_line("delz,qs=", g.dzQs, Qs);
    if (g.hasQr) SPHREFZ(g.rQr, g.dzQr, k, z1, Qr);   // Z1, not Z3: deliberate
    if (diag) diag_line("delz,qr=", g.dzQr, Qr);
    if (diag) diag_line("T1,T2,T3=", g.T1 * deg, g.T2 * deg, g.T3 * deg);

    const std::complex<float> W[4] = {{1.0f, 0.0f}, Qs, Qr, Qs * Qr};
    for (int I = 0; I < 4; ++I) {
        const HILLPAIR& p = g.pair[I];
        if (diag) diag_line("a.I,F0,F1=", I + 1, p.F0 * deg, p.F1 * deg);
        if (!p.counts) continue;
        std::complex<float> Q1, Q2;
        SPHREFZ(p.Rt, p.dz1, k, z2, Q1);
        SPHREFZ(p.Rt, p.dz2, k, z2, Q2);
        if (diag) diag_line("Q1,Q2 =", Q1, Q2);
        std::complex<float> V[4];
        WEDGEBAND4(p.V, p.Rt, p.L, k, V);
        if (diag) {
            const char* label[4] = {"VD1 =", "VD2 =", "VD3 =", "VD4 ="};
            for (int j = 0; j < 4; ++j) diag_line(label[j], V[j]);
        }
        PT += W[I] * (V[0] + Q1 * V[1] + Q2 * V[2] + Q1 * Q2 * V[3]);
        if (diag) diag_line("PT, |PT| =", PT, std::abs(PT));
    }

    const float F0a = g.pair[0].F0, F1a = g.pair[0].F1;
    const float F0d = g.pair[3].F0, F1d = g.pair[3].F1;
    if (diag) diag_line("b.I,F0,F1,AL1=", 5, F0a * deg, F1a * deg, g.direct.AL1 * deg);
    if (g.direct.AL1 > 0.0f) {
        const std::complex<float> P0 = cis(k * g.direct.D) / g.direct.D;
        PT += P0;
        if (diag) diag_line("POb =", P0);
        if (diag) diag_line("PT, |PT| =", PT, std::abs(PT));
    }
    if (diag) diag_line("c.I,F0,F1,AL1=", 5, F0d * deg, F1a * deg, g.srcimage.AL1 * deg);
    if (g.srcimage.AL1 > 0.0f) {
        std::complex<float> Q;
        SPHREFZ(g.srcimage.D, g.srcimage.dz, k, z1, Q);
        const std::complex<float> P0 = Q * cis(k * g.srcimage.D) / g.srcimage.D;
        PT += P0;
        if (diag) diag_line("POc =", P0);
        if (diag) diag_line("PT, |PT| =", PT, std::abs(PT));
    }
    if (diag) diag_line("d.I,F0,F1,AL1=", 5, F0a * deg, F1d * deg, g.rcvimage.AL1 * deg);
    if (g.rcvimage.AL1 > 0.0f) {
        std::complex<float> Q;
        SPHREFZ(g.rcvimage.D, g.rcvimage.dz, k, z3, Q);
        if (diag) diag_line("RD,K,C,Q", g.rcvimage.D, k, z3.Z, Q);
        const std::complex<float> P0 = Q * cis(k * g.rcvimage.D) / g.rcvimage.D;
        PT += P0;
        if (diag) diag_line("POd =", P0);
        if (diag) diag_line("PT, |PT| =", PT, std::abs(PT));
    }

    const float y = g.RR * mag(PT);
    out = 4.34f * std::log(y * y);
    if (diag) diag_line("RR, |PT| =", g.RR, mag(PT));
}

void HILLFULL(float Hs, float Hr, const XZPT KeyPt[5], const XZPT SrcPt[2], const XZPT RcvPt[2],
              float Sigma1, float Sigma2, float Sigma3, float f, float& out) {
    (void)Hs;   // carried in the argument list; the geometry is in the points
    (void)Hr;
    std::complex<float> Z1, Z2, Z3;
    IMPED(f, Sigma1, Z1);
    IMPED(f, Sigma2, Z2);
    IMPED(f, Sigma3, Z3);
    SPHZ z1, z2, z3;
    SPHZPREP(Z1, z1);
    SPHZPREP(Z2, z2);
    SPHZPREP(Z3, z3);
    HILLGEOM g;
    HILLPREP(KeyPt, SrcPt, RcvPt, g);
    HILLBAND(g, z1, z2, z3, f, out);
}

}  // namespace tn

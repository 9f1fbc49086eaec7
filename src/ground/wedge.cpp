#include "ground/wedge.h"

#include <cmath>

namespace tn {
namespace {

constexpr float kPi = 3.1415927f;

std::complex<float> cis(float theta) { return {std::cos(theta), std::sin(theta)}; }

}  // namespace

void WEDGEPREP(float phi, float sign, float nu, WEDGEPRE& p) {
    const float t = std::tan((kPi + sign * phi) / (2.0f * nu));
    p.cot = (t != 0.0f) ? (1.0f / t) / (2.0f * nu) : 0.0f;   // t == 0: the term vanishes

    int Np = 0;
    if (phi > nu * kPi - kPi) Np = 1;
    int Nm = -1;
    if (phi > kPi - nu * kPi) Nm = 0;
    if (phi > kPi + nu * kPi) Nm = 1;
    const int N = (sign < -0.9f) ? Nm : Np;

    const float a = std::cos((float(2 * N) * nu * kPi - phi) * 0.5f);
    p.a2 = a * a;
}

void WEDGEBAND(const WEDGEPRE& p, float R, float L, float k, std::complex<float>& V) {
    const std::complex<float> E = cis(k * R + kPi * 0.25f);
    std::complex<float> C = -E / R;
    const float c = p.cot / std::sqrt(2.0f * kPi * k * L);
    C *= c;

    const float X = 2.0f * k * L * p.a2;
    const float s = std::sqrt(X);
    std::complex<float> T;
    FRESTAIL(s, T);
    V = C * (T * cis(-X)) * std::complex<float>(0.0f, -2.0f * s);
}

void WEDGEBAND4(const WEDGEPRE p[4], float R, float L, float k, std::complex<float> V[4]) {
    const std::complex<float> E = cis(k * R + kPi * 0.25f);
    const std::complex<float> C0 = -E / R;
    const float root = std::sqrt(2.0f * kPi * k * L);
    const float twokL = 2.0f * k * L;
    for (int j = 0; j < 4; ++j) {
        std::complex<float> C = C0;
        C *= p[j].cot / root;
        const float X = twokL * p[j].a2;
        const float s = std::sqrt(X);
        std::complex<float> T;
        FRESTAIL(s, T);
        V[j] = C * (T * cis(-X)) * std::complex<float>(0.0f, -2.0f * s);
    }
}

void WEDGEV(float R, float L, float phi, float sign, float nu, float k, std::complex<float>& V) {
    WEDGEPRE p;
    WEDGEPREP(phi, sign, nu, p);
    WEDGEBAND(p, R, L, k, V);
}

void FRESTAIL(float x, std::complex<float>& T) {
    const float scale = 0.797885f;   // sqrt(2/pi) to six digits, as the model holds it
    const float t = scale * x;
    const float f = (1.0f + 0.926f * t) / (2.0f + 1.792f * t + 3.104f * (t * t));             // A&S 7.3.32
    const float g = 1.0f / (2.0f + 4.142f * t + 3.492f * (t * t) + 6.67f * (t * t * t));      // A&S 7.3.33
    const float u = t / scale;
    const float sn = std::sin(u * u);
    const float cs = std::cos(u * u);
    T = {(g * cs - f * sn) / scale, (f * cs + g * sn) / scale};
}

}  // namespace tn

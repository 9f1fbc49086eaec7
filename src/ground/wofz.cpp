#include "ground/wofz.h"

#include <cmath>

namespace tn {
namespace {

// Constants of the two widths, each written as its own literal so that the 32-bit routine holds
// exactly the 32-bit values (5.525344, 3.926991, 3.1415927) and not roundings of the 64-bit ones.
template <class T> struct WofzConst;

template <> struct WofzConst<float> {
    static constexpr float xlim = 3.9f, ylim = 3.0f;   // region limits
    static constexpr float pi = 3.1415927f;
    static constexpr float pole = 3.926991f;            // pi / h
    static constexpr float h = 0.8f, h2 = 0.64f;        // step of the sum and its square
    static constexpr float a[3] = {0.4613135f, 0.09999216f, 0.002883894f};   // A&S 7.1.29
    static constexpr float b[3] = {0.1901635f, 1.7844927f, 5.525344f};
};

template <> struct WofzConst<double> {
    static constexpr double xlim = 3.9, ylim = 3.0;
    static constexpr double pi = 3.141592653589793;
    static constexpr double pole = 3.9269908169872414;
    static constexpr double h = 0.8, h2 = 0.64;
    static constexpr double a[3] = {0.4613135, 0.09999216, 0.002883894};
    static constexpr double b[3] = {0.1901635, 1.7844927, 5.5253437};
};

template <class T>
void wpole(T x, T y, T a, T b, std::complex<T>& w) {
    const T e1 = x * x - y * y - b;
    const T e2 = T(2) * x * y;
    const T D = e1 * e1 + e2 * e2;
    w = {w.real() + a * y * (x * x + y * y + b) / D,
         w.imag() + a * x * (x * x + y * y - b) / D};
}

// exp(-n^2 h^2), n = 1..5: the weights of the five-term sum are constants, worked out once.
template <class T>
struct SumWeights {
    T e[5];
    SumWeights() {
        for (int n = 1; n <= 5; ++n) e[n - 1] = std::exp(-(T(n * n) * WofzConst<T>::h2));
    }
};

template <class T>
void wofz(std::complex<T> z, std::complex<T>& w) {
    using K = WofzConst<T>;
    static const SumWeights<T> weights;
    const T pi = K::pi;
    const T h = K::h;
    T x = std::abs(z.real());
    const T y = std::abs(z.imag());

    T wr, wi;
    if (!(x <= K::xlim && y <= K::ylim)) {
        // Far region (and NaN): three rational terms.
        std::complex<T> acc{T(0), T(0)};
        for (int j = 0; j < 3; ++j) wpole(x, y, K::a[j], K::b[j], acc);
        wr = acc.real();
        wi = acc.imag();
    } else {
        // Near region: five-term sum of step h with the pole correction.
        const T A = std::cos(T(2) * x * y);
        const T B = std::sin(T(2) * x * y);
        const T C = std::exp(-T(2) * pi * y / h) - std::cos(T(2) * pi * x / h);
        const T E = std::sin(T(2) * pi * x / h);
        const T G = T(2) * std::exp(-(x * x + T(2) * pi * y / h - y * y));
        const T P = G * (A * C - B * E) / (C * C + E * E);
        const T R = G * (A * E + B * C) / (C * C + E * E);
        T H = h * y / (pi * (x * x + y * y));
        T Kk = h * x / (pi * (x * x + y * y));
        for (int n = 1; n <= 5; ++n) {
            const T t = T(n * n) * K::h2;
            const T et = weights.e[n - 1];   // exp(-t)
            const T Tn = y * y - x * x + t;
            const T U = Tn * Tn + T(4) * (x * x) * (y * y);
            H = H + (T(2) * y * h / pi) * et * (y * y + x * x + t) / U;
            Kk = Kk + (T(2) * x * h / pi) * et * (y * y + x * x - t) / U;
        }
        // Never fails inside the region (y <= 3.0 < pi/h); kept as written, deliberately.
        if (y < K::pole) {
            H = H + P;
            Kk = Kk - R;
        } else if (y == K::pole) {
            H = H + P / T(2);
            Kk = Kk - R / T(2);
        }
        wr = H;
        wi = Kk;
    }

    if (z.real() < T(0)) {   // w(-conj z) = conj w(z)
        wi = -wi;
        x = -x;
    }
    if (z.imag() < T(0)) {   // w(z) = 2 exp(-z^2) - w(-z), x signed from here
        const T E2 = std::exp(y * y - x * x);
        wr = T(2) * E2 * std::cos(T(2) * x * y) - wr;
        wi = T(2) * E2 * std::sin(T(2) * x * y) + wi;
    }
    w = {wr, wi};
}

}  // namespace

void WOFZ(std::complex<float> z, std::complex<float>& w) { wofz<float>(z, w); }
void WOFZD(std::complex<double> z, std::complex<double>& w) { wofz<double>(z, w); }

void WPOLE(float x, float y, float a, float b, std::complex<float>& w) { wpole<float>(x, y, a, b, w); }
void WPOLED(double x, double y, double a, double b, std::complex<double>& w) { wpole<double>(x, y, a, b, w); }

}  // namespace tn

#include "batch/aweight.h"

#include <cmath>

namespace tn {

float AWEIGHT(float f) {
    constexpr double p1 = 20.598997116088867;   // Hz; the standard's poles, stored as floats once
    constexpr double p2 = 107.65264892578125;
    constexpr double p3 = 737.8622436523438;
    constexpr double p4 = 12194.2197265625;
    constexpr double c1 = 2.242881099346739e16;
    constexpr double c2 = 1.562338948249817;

    const double fd = f;
    const double f2 = fd * fd;
    const double f4 = f2 * f2;
    const double f8 = f4 * f4;   // f^8 by squaring, as an integer power is formed
    const double q1 = f2 + p1 * p1;
    const double q4 = f2 + p4 * p4;
    const double num = c1 * c2 * f8;
    const double den = q1 * q1 * (f2 + p2 * p2) * (f2 + p3 * p3) * (q4 * q4);
    return static_cast<float>(10.0 * std::log10(num / den));
}

}  // namespace tn

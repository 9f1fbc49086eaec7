#include "source/srcangles.h"

#include <cmath>

namespace tn {

namespace {

constexpr double kDegToRad = 0.01745329238474369;   // the float 0.0174532924, as stored
constexpr double kRadToDeg = 57.295780181884766;    // the float 57.29578, as stored

// Limit to -1 .. 1; a NaN passes through.
double limit_unit(double v) {
    if (v < -1.0) return -1.0;
    if (v > 1.0) return 1.0;
    return v;
}

}  // namespace

void SRCANGLES(const float src[3], const float rcv[3], float hs, float hr, float Heading, float Climb,
               float Bank, float& Rslant, float& Polar, float& Azimuth, float& Elevation) {
    const double xs = src[0], ys = src[1];
    const double xr = rcv[0], yr = rcv[1];
    const double zs = static_cast<double>(src[2]) + static_cast<double>(hs);
    const double zr = static_cast<double>(rcv[2]) + static_cast<double>(hr);

    const double dx = xs - xr, dy = ys - yr, dz = zs - zr;
    Rslant = static_cast<float>(std::sqrt(dx * dx + dy * dy + dz * dz));
    const double r = Rslant;   // the float, as the divisions use it

    const double ux = (xr - xs) / r;
    const double uy = (yr - ys) / r;
    const double uz = (zr - zs) / r;

    // Deliberate: 1.0 whenever the rounded distance doesn't exceed the height difference, whichever
    // way round, so a receiver straight above also gets +90 degrees.
    const double e = r > std::fabs(zs - zr) ? (zs - zr) / r : 1.0;
    Elevation = std::asin(static_cast<float>(limit_unit(e)));

    const double g = static_cast<double>(Climb) * kDegToRad;
    const double p = (90.0 - static_cast<double>(Heading)) * kDegToRad;
    const double c = limit_unit(std::cos(g) * std::cos(p) * ux + std::cos(g) * std::sin(p) * uy + std::sin(g) * uz);
    const double t = std::acos(c);

    if (t > 0.0 || std::isnan(t)) {
        const double a = limit_unit(((zs - zr) / std::cos(g) + r * c * std::tan(g)) / (r * std::sin(t)));
        double d = std::fabs(std::acos(a));
        if (std::cos(g) * std::sin(p) * ux - std::cos(g) * std::cos(p) * uy < 0.0) d = -d;   // left of the path
        Polar = static_cast<float>(t);
        Azimuth = static_cast<float>(kRadToDeg * d + static_cast<double>(Bank));
    } else {
        Polar = 0.0f;
        Azimuth = Bank;
    }
}

}  // namespace tn

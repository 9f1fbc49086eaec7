// Emission angles for receivers placed by hand around a source in level and climbing flight.
#include "source/srcangles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;
constexpr float kRadTol = 2e-7f;   // a float's rounding of angles up to pi
constexpr float kDegTol = 2e-5f;   // a float's rounding of azimuths up to 180 degrees

}  // namespace

// Heading 90 and Climb 0 is a flight along +x; the right-hand side is -y. The side angle is the
// azimuth: 0 on the downward normal, right positive, left negative, Bank added; the elevation is
// the angle below the horizontal (straight above counts as +90 too, not -90). Climbing at 30
// degrees, the receiver straight below is 90 + 30 degrees from the travel direction and in the
// plane of the downward normal (azimuth 0); one behind at the source's level is 180 - 30 degrees
// from the travel axis and on the upper side of the tilted path (azimuth 180).
TEST(Srcangles, HandPlacedReceivers) {
    const struct { const char* what; float src[3], rcv[3], hs, hr, heading, climb, bank;
                   float rslant, polar_deg, azimuth, elevation_deg, polar_tol, azimuth_tol; } kCases[] = {
        // Ground 10 m higher at the receiver: both ends stand at 160 m, 2000 m apart along +x.
        {"straight ahead", {1000, 2000, 150}, {3000, 2000, 100}, 10, 60, 90, 0, 12.5f, 2000, 0, 12.5f, 0, 0, 0},
        {"beneath, heading 90", {500, 700, 300}, {500, 700, 2}, 50, 50, 90, 0, 0, 298, 90, 0, 90, kRadTol, kDegTol},
        {"beneath, heading 0", {500, 700, 300}, {500, 700, 2}, 50, 50, 0, 0, 0, 298, 90, 0, 90, kRadTol, kDegTol},
        {"beneath, heading 237", {500, 700, 300}, {500, 700, 2}, 50, 50, 237, 0, 0, 298, 90, 0, 90, kRadTol, kDegTol},
        {"straight above", {500, 700, 300}, {500, 700, 900}, 50, 50, 90, 0, 0, -1, 90, 180, 90, kRadTol, kDegTol},
        {"level, right", {0, 0, 200}, {0, -100, 200}, 0, 0, 90, 0, 0, -1, 90, 90, 0, kRadTol, kDegTol},
        {"45 degrees down, left", {0, 0, 200}, {0, 100, 100}, 0, 0, 90, 0, 0, -1, 90, -45, 45, kRadTol, kDegTol},
        {"level, right, Bank 10", {0, 0, 200}, {0, -100, 200}, 0, 0, 90, 0, 10, -1, 90, 100, 0, kRadTol, kDegTol},
        {"climbing, below", {0, 0, 500}, {0, 0, 0}, 0, 0, 90, 30, 0, -1, 120, 0, -1, 1e-6f, 1e-3f},
        {"climbing, behind", {0, 0, 500}, {-800, 0, 500}, 0, 0, 90, 30, 0, -1, 150, 180, -1, 1e-6f, 1e-3f},
    };
    for (const auto& c : kCases) {
        float rslant = 0, polar = 0, azimuth = 0, elevation = 0;
        tn::SRCANGLES(c.src, c.rcv, c.hs, c.hr, c.heading, c.climb, c.bank, rslant, polar, azimuth, elevation);
        EXPECT_NEAR(polar, c.polar_deg * kDeg, c.polar_tol) << c.what;
        EXPECT_NEAR(azimuth, c.azimuth, c.azimuth_tol) << c.what;
        // -1: not looked at
        EXPECT_TRUE(c.elevation_deg < 0 || std::fabs(elevation - c.elevation_deg * kDeg) <= c.polar_tol)
            << c.what << ": " << elevation;
        EXPECT_TRUE(c.rslant < 0 || rslant == c.rslant) << c.what << ": " << rslant;
    }
}

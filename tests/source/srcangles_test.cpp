// Emission angles for receivers placed by hand around a source in level and climbing flight.
#include "source/srcangles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kRadTol = 2e-7f;   // a float's rounding of angles up to pi
constexpr float kDegTol = 2e-5f;   // a float's rounding of azimuths up to 180 degrees

struct Angles {
    float rslant, polar, azimuth, elevation;
};

Angles angles(const float src[3], const float rcv[3], float hs, float hr, float heading, float climb, float bank) {
    Angles a{};
    tn::SRCANGLES(src, rcv, hs, hr, heading, climb, bank, a.rslant, a.polar, a.azimuth, a.elevation);
    return a;
}

// Heading 90 and Climb 0 is a flight along +x; the right-hand side is -y.
TEST(Srcangles, StraightAheadGivesPolarZeroAndBank) {
    const float src[3] = {1000.0f, 2000.0f, 150.0f};
    const float rcv[3] = {3000.0f, 2000.0f, 100.0f};
    // Ground 10 m higher at the receiver: both ends stand at 160 m, 2000 m apart along +x.
    const Angles a = angles(src, rcv, 10.0f, 60.0f, 90.0f, 0.0f, 12.5f);
    EXPECT_EQ(a.rslant, 2000.0f);
    EXPECT_EQ(a.polar, 0.0f);
    EXPECT_EQ(a.azimuth, 12.5f);
    EXPECT_EQ(a.elevation, 0.0f);
}

TEST(Srcangles, StraightBelowAndStraightAbove) {
    const float src[3] = {500.0f, 700.0f, 300.0f};
    const float below[3] = {500.0f, 700.0f, 2.0f};
    // Beneath: 90 degrees from the travel axis, on the downward normal, elevation +90.
    for (float heading : {90.0f, 0.0f, 237.0f}) {
        const Angles a = angles(src, below, 50.0f, 50.0f, heading, 0.0f, 0.0f);
        EXPECT_EQ(a.rslant, 298.0f);
        EXPECT_NEAR(a.polar, kPi / 2, kRadTol) << heading;
        EXPECT_NEAR(a.azimuth, 0.0f, kDegTol) << heading;
        EXPECT_NEAR(a.elevation, kPi / 2, kRadTol) << heading;
    }
    // Straight above: azimuth 180, and the elevation is +90 too, not -90.
    const float above[3] = {500.0f, 700.0f, 900.0f};
    const Angles a = angles(src, above, 50.0f, 50.0f, 90.0f, 0.0f, 0.0f);
    EXPECT_NEAR(a.polar, kPi / 2, kRadTol);
    EXPECT_NEAR(a.azimuth, 180.0f, kDegTol);
    EXPECT_NEAR(a.elevation, kPi / 2, kRadTol);
}

// Flight along +x at 200 m; receivers 100 m to the side on the ground level of the source or
// 100 m lower. The side angle is the azimuth: right positive, left negative, Bank added.
TEST(Srcangles, SideOfThePathAndBank) {
    const float src[3] = {0.0f, 0.0f, 200.0f};
    const struct {
        float y, z, bank;
        float azimuth, elevation_deg;
    } kCases[] = {
        {-100.0f, 200.0f, 0.0f, 90.0f, 0.0f},    // level, right
        {100.0f, 100.0f, 0.0f, -45.0f, 45.0f},   // 45 degrees down, left
        {-100.0f, 200.0f, 10.0f, 100.0f, 0.0f},  // Bank adds
    };
    for (const auto& c : kCases) {
        const float rcv[3] = {0.0f, c.y, c.z};
        const Angles a = angles(src, rcv, 0.0f, 0.0f, 90.0f, 0.0f, c.bank);
        EXPECT_NEAR(a.polar, kPi / 2, kRadTol);
        EXPECT_NEAR(a.azimuth, c.azimuth, kDegTol) << "y " << c.y << " z " << c.z;
        EXPECT_NEAR(a.elevation, c.elevation_deg * kPi / 180.0, kRadTol) << "y " << c.y << " z " << c.z;
    }
}

// Climbing at 30 degrees along +x, receiver straight below: the line to it is 90 + 30 degrees from
// the travel direction and lies in the plane of the downward normal, so the azimuth stays 0.
// A receiver behind at the source's level is 180 - 30 degrees from the travel axis, and on the
// upper side of the tilted path: azimuth 180.
TEST(Srcangles, ClimbTiltsTheTravelAxis) {
    const float src[3] = {0.0f, 0.0f, 500.0f};
    const float below[3] = {0.0f, 0.0f, 0.0f};
    Angles a = angles(src, below, 0.0f, 0.0f, 90.0f, 30.0f, 0.0f);
    EXPECT_NEAR(a.polar, 120.0 * kPi / 180.0, 1e-6);
    EXPECT_NEAR(a.azimuth, 0.0f, 1e-3f);

    const float behind[3] = {-800.0f, 0.0f, 500.0f};
    a = angles(src, behind, 0.0f, 0.0f, 90.0f, 30.0f, 0.0f);
    EXPECT_NEAR(a.polar, 150.0 * kPi / 180.0, 1e-6);
    EXPECT_NEAR(a.azimuth, 180.0f, 1e-3f);
}

}  // namespace

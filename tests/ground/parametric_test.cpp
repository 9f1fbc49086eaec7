// Closed-form ground fits: LEVEL, UPVAL, HILLPAR and their stops.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "ground/parametric.h"
#include "io/errors.h"

namespace {

using tn::XZPT;

float level(float Hs, float Hr, float d, int g) {
    float out = -99.0f;
    tn::LEVEL(Hs, Hr, d, g, out);
    return out;
}

// Values of the flat-ground fits worked by hand from the fit's definition (in 64-bit, outside this
// code base); 32-bit evaluation agrees to 1e-4 dB.
TEST(Level, HandCalculatedValues) {
    struct Case { float Hs, Hr, d; int g; double expect; const char* what; };
    const Case cases[] = {
        {10, 10, 100, 1, 2.96664, "hard, X = 0.993, upper fit"},
        {1.5f, 1.5f, 500, 1, 4.95493, "hard, X = 0.0045, lower fit"},
        {1.5f, 1.5f, 50, 1, 3.27745, "hard, X = 0.045"},
        {1, 1, 9.42f, 1, 1.73399, "hard, X = 0.10537, just below 0.1055: the two fits are not joined"},
        {1, 1, 9.40f, 1, 2.99962, "hard, X = 0.10559, just above"},
        {100, 1.5f, 1000, 1, 2.99923, "hard, steep"},
        {10, 10, 100, 0, 1.73467, "soft, y above -0.5"},
        {1.5f, 1.5f, 500, 0, -12.11630, "soft, sine branch"},
        {1.5f, 1.5f, 50, 0, 1.32567, "soft, short"},
        {300, 1.5f, 3000, 0, 1.62298, "soft, long and steep"},
        {2, 0, 100, 0, 0.88475, "soft, receiver on the ground takes the source's angle"},
        {0, 2, 100, 0, -16.0, "soft, source on the ground"},
        {0, 0, 0, 0, 0.0, "all zero"},
    };
    for (const Case& c : cases) EXPECT_NEAR(level(c.Hs, c.Hr, c.d, c.g), c.expect, 1e-4) << c.what;
}

// A ground type other than 0 or 1 stops the run with the fit's own console lines; the integer is
// laid out as a list-directed write prints it (blank, then 11 columns).
TEST(ParametricStops, BadGroundTypeStopsWithConsoleText) {
    try {
        level(1, 1, 100, 2);
        FAIL() << "LEVEL accepted ground type 2";
    } catch (const tn::RunError& e) {
        EXPECT_EQ(e.console(), " Subroutine LEVEL Parameter Error\n Error in Gndtyp,           2 Must be 0 or 1\n");
        EXPECT_NE(std::string(e.what()).find("LEVEL"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("2"), std::string::npos);
    }
    try {
        float out;
        tn::UPVAL(1, 1, 100, 40, 0.1f, -1, out);
        FAIL() << "UPVAL accepted ground type -1";
    } catch (const tn::RunError& e) {
        EXPECT_EQ(e.console(), " Subroutine UPVAL Parameter Error\n Error in Gndtyp=          -1 Must be 0 or 1\n");
        EXPECT_NE(std::string(e.what()).find("UPVAL"), std::string::npos);
    }
    // The all-zero test comes first: no stop.
    EXPECT_EQ(level(0, 0, 0, 7), 0.0f);
    float out = -1;
    tn::UPVAL(0, 0, 0, 0, 0.1f, 7, out);
    EXPECT_EQ(out, 0.0f);
    // HILLPAR meets the stop through LEVEL.
    const XZPT K[5] = {{0, 0}, {40, 0}, {50, 1}, {60, 0}, {100, 0}};
    EXPECT_THROW(tn::HILLPAR(K, 10, 10, 3, out), tn::RunError);
}

// As the fold flattens the valley fit tends to the flat fit, in each of the soft ground branches
// (fold at a third of the specular distance, before and after it, near the receiver) and on hard
// ground.
TEST(Upval, FlatteningFoldTendsToLevel) {
    const float Hs = 2, Hr = 1.5f, D = 100;   // specular point at 57 m
    for (int g : {0, 1}) {
        for (float Dv : {10.0f, 30.0f, 70.0f, 90.0f}) {
            float out;
            tn::UPVAL(Hs, Hr, D, Dv, 1e-4f, g, out);
            EXPECT_NEAR(out, level(Hs, Hr, D, g), 0.05) << "Gndtyp " << g << ", Dv " << Dv;
        }
    }
}

// A hill far below the line of sight changes nothing: the crest term is positive, the ground term
// is the flat fit, and the result is the flat fit exactly, on either ground.
TEST(Hillpar, LowHillFarBelowLineOfSightIsFlatGround) {
    const XZPT K[5] = {{0, 0}, {40, 0}, {50, 1}, {60, 0}, {100, 0}};
    for (int g : {0, 1}) {
        float out;
        tn::HILLPAR(K, 10, 10, g, out);
        EXPECT_FLOAT_EQ(out, level(10, 10, 100, g)) << "Gndtyp " << g;
    }
}

// A high hill in the way gives a strongly negative level, and on hard ground the level is
// continuous in the hill height across the blend of the crest term between A = -20 and -10 (the
// blend factor A/10 + 2 joins 3 dB at one end and the flat fit at the other).
TEST(Hillpar, BlockedPathAndContinuityOfTheHardBlend) {
    const XZPT high[5] = {{0, 0}, {30, 0}, {50, 40}, {70, 0}, {100, 0}};
    for (int g : {0, 1}) {
        float out;
        tn::HILLPAR(high, 2, 2, g, out);
        EXPECT_LT(out, -20.0f) << "Gndtyp " << g;
    }
    float prev = 0;
    for (int i = 0; i <= 2000; ++i) {
        const float h = 0.6f + 0.01f * float(i);   // blocked from the start, A from about -6 to -29
        const XZPT K[5] = {{0, 0}, {30, 0}, {50, h}, {70, 0}, {100, 0}};
        float out;
        tn::HILLPAR(K, 0.5f, 0.5f, 1, out);
        if (i > 0) {
            EXPECT_LT(std::abs(out - prev), 0.3f) << "h = " << h;   // the flat fit is 5 dB here: a seam would show 2 dB
        }
        prev = out;
    }
}

}  // namespace

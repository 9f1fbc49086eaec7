// Closed-form ground fits: the stops of LEVEL and UPVAL, and the limits of HILLPAR.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

#include "ground/parametric.h"
#include "io/errors.h"

namespace {

using Keys = std::array<tn::XZPT, 5>;

float level(float Hs, float Hr, float d, int g) {
    float out = -99.0f;
    tn::LEVEL(Hs, Hr, d, g, out);
    return out;
}
float hillpar(const Keys& K, float Hs, float Hr, int g) {
    float out = -99.0f;
    tn::HILLPAR(K.data(), Hs, Hr, g, out);
    return out;
}

// A hill of 1 m at mid-path, far below the line of sight of ends 10 m up.
const Keys kLowHill = {{{0, 0}, {40, 0}, {50, 1}, {60, 0}, {100, 0}}};

// The console text and the message for standard error of the stop that `call` raises.
std::pair<std::string, std::string> stop(const std::function<void()>& call) {
    try {
        call();
    } catch (const tn::RunError& e) {
        return {e.console(), e.what()};
    }
    return {"no stop", ""};
}

// A ground type other than 0 or 1 stops the run with the fit's own console lines; the integer is
// laid out as a list-directed write prints it (blank, then 11 columns); the message for standard
// error names the routine and the value. The all-zero test comes first: no stop. HILLPAR meets the
// stop through LEVEL.
TEST(ParametricStops, BadGroundTypeStopsWithConsoleText) {
    float out = -1;
    const auto [lc, lw] = stop([&] { tn::LEVEL(1, 1, 100, 2, out); });
    const auto [uc, uw] = stop([&] { tn::UPVAL(1, 1, 100, 40, 0.1f, -1, out); });
    EXPECT_EQ(lc, " Subroutine LEVEL Parameter Error\n Error in Gndtyp,           2 Must be 0 or 1\n");
    EXPECT_EQ(uc, " Subroutine UPVAL Parameter Error\n Error in Gndtyp=          -1 Must be 0 or 1\n");
    EXPECT_TRUE(lw.find("LEVEL") != lw.npos && lw.find('2') != lw.npos && uw.find("UPVAL") != uw.npos) << lw << ", " << uw;
    tn::UPVAL(0, 0, 0, 0, 0.1f, 7, out);
    EXPECT_TRUE(level(0, 0, 0, 7) == 0.0f && out == 0.0f);
    EXPECT_THROW(hillpar(kLowHill, 10, 10, 3), tn::RunError);
}

// A hill far below the line of sight changes nothing: the crest term is positive, the ground term
// is the flat fit, and the result is the flat fit exactly, on either ground. A high hill in the way
// gives a strongly negative level.
TEST(Hillpar, LowHillIsFlatGroundAndAHighOneBlocks) {
    for (int g : {0, 1}) {
        EXPECT_FLOAT_EQ(hillpar(kLowHill, 10, 10, g), level(10, 10, 100, g)) << "Gndtyp " << g;
        EXPECT_LT(hillpar({{{0, 0}, {30, 0}, {50, 40}, {70, 0}, {100, 0}}}, 2, 2, g), -20.0f) << "Gndtyp " << g;
    }
}

}  // namespace

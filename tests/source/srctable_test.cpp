// Source tables: the choice and interpolation of operating conditions, the one-sided upper limit,
// the condition of each source type, and the angle interpolation. Expected levels are worked out
// by hand from the tables written here.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "source/srctable.h"

namespace fs = std::filesystem;

namespace {

// A list of the given type with conditions 60, 80, 100 (or only 60): the level of band b at angle
// index a under condition k is base[k] + b + (slope * a).
struct Tables {
    fs::path dir;
    fs::path old = fs::current_path();
    Tables(const char* type, int count, float slope) {
        dir = fs::temp_directory_path() / ("tn_srctable_" + std::string(type) + std::to_string(count) + "_" +
                                           std::to_string(::getpid()));
        fs::create_directories(dir);
        const float base[3] = {70.0f, 80.0f, 86.0f};
        std::ofstream l(dir / "s.lst");
        l << type << "\nname\nRef:  10.0\nAlt:  00.0\n2\n" << count << "\n";
        char buf[64];
        for (int k = 0; k < count; ++k) {
            std::snprintf(buf, sizeof buf, "c%d.tab      %8.1f\n", k, 60.0 + 20.0 * k);
            l << buf;
            std::ofstream t(dir / ("c" + std::to_string(k) + ".tab"));
            t << "head\nhead\n";
            for (int a = 0; a <= 36; ++a) {
                std::snprintf(buf, sizeof buf, "%-20s%5.1f%5.1f\n", "angle", base[k] + 1 + slope * a, base[k] + 2 + slope * a);
                t << buf;
            }
        }
        l << "1000\n1250\n";
    }
    ~Tables() {
        fs::current_path(old);   // the load moves the working folder to the list's
        fs::remove_all(dir);
    }
    // Band 1 for a source 300 m straight above a receiver (polar angle 90 degrees, elevation 90).
    float band1(float power, float speed = 0.0f, float heading = 90.0f, const float rcv_xy[2] = nullptr) {
        const float src[3] = {0.0f, 0.0f, 300.0f};
        const float rcv[3] = {rcv_xy ? rcv_xy[0] : 0.0f, rcv_xy ? rcv_xy[1] : 0.0f, 0.0f};
        float spectrum[2], rref = 0.0f, rslant = 0.0f;
        tn::TRAJPOINT pt;
        pt.Heading = heading;
        pt.Speed = speed;
        pt.Power = power;
        tn::SRCTABLE({src, rcv, 0.0f, 0.0f}, pt, tn::Name255((dir / "s.lst").string()), 2, true, spectrum, rref, rslant,
                     state);
        EXPECT_EQ(rref, 304.8037f);
        return spectrum[0];
    }
    tn::SrcTableState state;
};

}  // namespace

TEST(Srctable, ConditionsInterpolateAndExtrapolateWithAnUpperLimitOnly) {
    Tables t("Other", 3, 0.0f);
    struct Case { float power, level; const char* why; } cases[] = {
        {80.0f, 81.0f, "equal to a condition: the pair that starts there, q = 0"},
        {70.0f, 76.0f, "half way between 60 and 80"},
        {110.0f, 90.0f, "above the last: the last pair's slope, 81 + 1.5 * 6"},
        {130.0f, 92.0f, "far above: limited to the last condition's level plus 5"},
        {40.0f, 61.0f, "below the first: extrapolated with no lower limit"},
    };
    for (const Case& c : cases) EXPECT_NEAR(t.band1(c.power), c.level, 1e-4f) << c.why;
}

TEST(Srctable, TheConditionOfEachTypeAndASingleCondition) {
    Tables autom("Autom", 3, 0.0f);
    EXPECT_NEAR(autom.band1(0.0f, 70.0f / 2.369f), 76.0f, 1e-3f);   // speed times 2.369
    Tables train("Train", 3, 0.0f);
    EXPECT_NEAR(train.band1(0.0f), 84.0f, 1e-3f);                   // the elevation, 90 degrees
    Tables one("Other", 1, 0.0f);
    EXPECT_NEAR(one.band1(500.0f), 71.0f, 1e-4f);                   // one condition: power has no effect
}

TEST(Srctable, AnglesInterpolateFromAheadToBehind) {
    // Level 70 + 1 + 0.5 * a at angle index a (5 degrees each).
    Tables t("Other", 1, 0.5f);
    const float ahead[2] = {1000.0f, 0.0f};     // heading 90: along +x, the receiver far ahead
    const float behind[2] = {-1000.0f, 0.0f};
    EXPECT_NEAR(t.band1(60.0f), 71.0f + 0.5f * 18.0f, 1e-3f);   // beneath: 90 degrees
    // 1000 m ahead and 300 m below: atan(300 / 1000) = 16.6992 degrees from the nose, index 3.33984;
    // behind: 163.3008 degrees, index 32.66016.
    EXPECT_NEAR(t.band1(60.0f, 0.0f, 90.0f, ahead), 71.0f + 0.5f * 3.33984f, 1e-3f);
    EXPECT_NEAR(t.band1(60.0f, 0.0f, 90.0f, behind), 71.0f + 0.5f * 32.66016f, 1e-3f);
}

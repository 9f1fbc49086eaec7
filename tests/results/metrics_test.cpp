// Single-event metrics of small made-up histories, against hand calculations.
//
// Energies are 10^(L/10) times the time share; the shares follow the rule of metrics.h (half the
// interval to each neighbour). The logarithms were taken with a pocket calculator (Python's
// math.log10). Tolerance 1e-6 dB: the sums are in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "results/metrics.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

struct Pt {
    double t;
    int A;       // tenths of a dB
    int M = 0;   // detectability, dB
};

tn::ReceiverHistory history(const std::vector<Pt>& pts) {
    tn::ReceiverHistory h;
    h.computed = true;
    for (const Pt& p : pts) {
        tn::HistoryPoint q;
        q.t = static_cast<float>(p.t);
        for (int& v : q.Outrow) v = tn::kMissingTenths;
        q.Outrow[1] = p.A;
        q.Outrow[0] = p.A == tn::kMissingTenths ? p.A : p.A + 50;   // flat 5 dB above A
        q.Outrow[22] = p.A == tn::kMissingTenths ? p.A : p.A - 100; // 1000 Hz band, 10 dB below A
        q.M = p.M;
        h.points.push_back(q);
    }
    return h;
}

struct Case {
    const char* what;
    std::vector<Pt> pts;
    double LAMAX, TLAMAX, SEL, SEL10, LAEQ, TA55, TA65, TAUD, PTAUD;
};

void expect_near_or_empty(double got, double want, const char* name, const char* what) {
    if (std::isnan(want)) EXPECT_TRUE(std::isnan(got)) << what << ": " << name << " = " << got << ", expected empty";
    else EXPECT_NEAR(got, want, 1e-6) << what << ": " << name;
}

}  // namespace

TEST(EventMetrics, HandCalculations) {
    const Case cases[] = {
        // 11 points 1 s apart at 60 dB: shares add up to 10 s, so SEL = 60 + 10 log10(10).
        {"constant level for 10 s", {{0, 600}, {1, 600}, {2, 600}, {3, 600}, {4, 600}, {5, 600}, {6, 600}, {7, 600}, {8, 600}, {9, 600}, {10, 600}},
         60, 0, 70, 70, 60, 10, 0, 0, 0},
        // Shares .5 1 1 1 .5: E = .5e6 + 1e7 + 1e8 + 1e7 + .5e6 = 1.21e8; 10 dB down: 1.2e8; T = 4 s.
        {"triangle", {{0, 600}, {1, 700}, {2, 800}, {3, 700}, {4, 600}}, 80, 2, 80.82785370316451, 80.79181246047625,
         74.80725378988488, 4, 3, 0, 0},
        // The -999 row keeps its share and adds nothing: E = .5e6 + .5e6; T = 2 s. The tie of the
        // two maxima goes to the first.
        {"-999 rows", {{0, 600}, {1, -999}, {2, 600}}, 60, 0, 60, 60, 56.98970004336019, 1, 0, 0, 0},
        // A lone point stands for 1 s: SEL is its level, and so is LAEQ (T = 1 s).
        {"lone point", {{5, 723}}, 72.3, 5, 72.3, 72.3, 72.3, 1, 1, 0, 0},
        // E = .5e7 + 10^7.5 + 10^7.5 + .5e7; T = 3 s; TLAMAX the first of the two maxima.
        {"ties", {{0, 700}, {1, 750}, {2, 750}, {3, 700}}, 75, 1, 78.64781263458073, 78.64781263458073, 73.8766000873841, 3, 3, 0, 0},
        // Shares .5, (1 + 4)/2, 2: E = .5e6 + 2.5e7 + 2e6 = 2.75e7; T = 5 s.
        {"uneven times", {{0, 600}, {1, 700}, {5, 600}}, 70, 1, 74.39332693830264, 74.39332693830264, 67.40362689494245, 5, 2.5, 0, 0},
        // Detectability 5, 7, 9 with the threshold 7: the shares 1 + .5 are audible, of T = 2 s.
        {"time audible", {{0, 600, 5}, {1, 600, 7}, {2, 600, 9}}, 60, 0, 63.01029995663981, 63.01029995663981, 60, 2, 0, 1.5, 75},
        // A point without a time (a distance that is not a number) is left out: the two others share 2 s.
        {"time not a number", {{0, 600}, {NaN, -999}, {2, 600}}, 60, 0, 63.01029995663981, 63.01029995663981, 60, 2, 0, 0, 0},
        {"never in range", {{0, -999}, {1, -999}}, NaN, NaN, NaN, NaN, NaN, NaN, NaN, NaN, NaN},
    };
    tn::EventOptions o;
    o.ta_levels = {55, 65};
    o.bands = {21};   // 1000 Hz
    std::vector<double> dt;
    tn::EventMetrics m;
    for (const Case& c : cases) {
        tn::event_metrics(history(c.pts), o, dt, m);
        expect_near_or_empty(m.LAMAX, c.LAMAX, "LAMAX", c.what);
        expect_near_or_empty(m.TLAMAX, c.TLAMAX, "TLAMAX", c.what);
        expect_near_or_empty(m.SEL, c.SEL, "SEL", c.what);
        expect_near_or_empty(m.SEL10, c.SEL10, "SEL10", c.what);
        expect_near_or_empty(m.LAEQ, c.LAEQ, "LAEQ", c.what);
        expect_near_or_empty(m.TA[0], c.TA55, "TA55", c.what);
        expect_near_or_empty(m.TA[1], c.TA65, "TA65", c.what);
        expect_near_or_empty(m.TAUD, c.TAUD, "TAUD", c.what);
        expect_near_or_empty(m.PTAUD, c.PTAUD, "PTAUD", c.what);
        // The flat level stands 5 dB above A and the 1000 Hz band 10 dB below at every point.
        expect_near_or_empty(m.SELF, c.SEL + 5, "SELF", c.what);
        expect_near_or_empty(m.LFMAX, c.LAMAX + 5, "LFMAX", c.what);
        expect_near_or_empty(m.SELband[0], c.SEL - 10, "SEL_1000", c.what);
    }
}

TEST(EventMetrics, GivenDurationAndColumnNames) {
    tn::EventOptions o;
    o.duration = 8.0;
    o.ta_levels = {62.5};
    o.bands = {6, 32};
    std::vector<double> dt;
    tn::EventMetrics m;
    tn::event_metrics(history({{0, 600}, {1, 700}, {2, 800}, {3, 700}, {4, 600}}), o, dt, m);
    EXPECT_NEAR(m.LAEQ, 80.82785370316451 - 9.030899869919436, 1e-6);   // SEL - 10 log10(8)
    std::vector<std::string> names;
    for (const tn::Column& c : tn::event_columns(o)) names.push_back(c.name);
    EXPECT_EQ(names, (std::vector<std::string>{"LAMAX", "TLAMAX", "LFMAX", "SEL", "SEL10", "SELF", "LAEQ", "TA62.5", "TAUD",
                                               "PTAUD", "SEL_31.5", "SEL_12500"}));
}

// Cumulative noise metrics of many events at one receiver.
//
// Each event kind (a result file: one track or source) has its single-event SEL and LAMAX at the
// receiver and a number of events in the day (07-19 h), the evening (19-22 h) and the night
// (22-07 h). With the sound exposure of the kind E = 10^(SEL / 10) (s, re the reference pressure
// squared) and sums over the kinds,
//   Ed = sum N_day E,  Ee = sum N_evening E,  En = sum N_night E,
// the metrics over 24 h = 86400 s are
//   LEQ24 = 10 log10((Ed + Ee + En) / 86400)
//   DNL   = 10 log10((Ed + Ee + 10 En) / 86400)             night +10 dB
//   CNEL  = 10 log10((Ed + 3 Ee + 10 En) / 86400)           evening +10 log10(3) dB, night +10 dB
//   LDEN  = 10 log10((Ed + 10^0.5 Ee + 10 En) / 86400)      evening +5 dB, night +10 dB
//   NA<L> = sum (N_day + N_evening + N_night) over the kinds with LAMAX >= L
// The one split of the counts serves all metrics: the evening of LDEN (19-23 h) and its night
// (23-07 h) take the counts as given.
//
// A kind whose receiver was never in range adds nothing. A receiver never in range of any kind has
// every metric empty (NaN); one in range with no exposure (all counts 0) has empty levels and NA 0.
#pragma once

#include <string>
#include <vector>

#include "results/metrics.h"

namespace tn {

// Events per day of one kind.
struct EventCounts {
    double day = 0.0;
    double evening = 0.0;
    double night = 0.0;
};

struct CumulativeOptions {
    std::vector<double> na_levels{70.0};   // thresholds of the NA columns, dB(A)
};

// The sums of one receiver over the kinds.
struct CumulativeSums {
    bool in_range = false;
    double Ed = 0.0, Ee = 0.0, En = 0.0;
    std::vector<double> NA;
};

// Starts the sums of a receiver.
void start_sums(CumulativeSums& s, const CumulativeOptions& o);
// Adds one kind: its event metrics at the receiver and its counts.
void add_event(CumulativeSums& s, const EventMetrics& m, const EventCounts& n, const CumulativeOptions& o);

// The columns: DNL, CNEL, LDEN, LEQ24, NA<L>...
std::vector<Column> cumulative_columns(const CumulativeOptions& o);
// The metrics in the order of cumulative_columns.
void cumulative_row(const CumulativeSums& s, std::vector<double>& row);

}  // namespace tn

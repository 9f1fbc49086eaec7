// Single-event noise metrics of one receiver's history.
//
// Levels are the history's tenths divided by 10. A column value of -999 carries no energy and
// counts towards no level, threshold or audibility. Points whose arrival time is not a finite
// number (a distance that is not a number gives such a point, out of range) are left out.
//
// Time shares. Over the remaining points in trajectory order, point i stands for
//     dt_i = (|t_(i+1) - t_i| + |t_i - t_(i-1)|) / 2,
// the terms of a missing neighbour being 0, so that the first and last points get half of their
// one interval and the shares add up to t_last - t_first when the times rise. The absolute values
// keep the share of a point positive where arrival times fall back (a source faster than sound).
// When the times span no interval (a lone point, or all times equal) every point stands for 1 s.
//
// Duration T (LAEQ, PTAUD): the user's, else the span from the earliest to the latest arrival time,
// else (no span) the sum of the shares.
//
// Formulas, with E(S) = sum over i in S of 10^(L_i / 10) * dt_i (S: the points whose column holds a
// level):
//   LAMAX  = max LA_i; TLAMAX its arrival time, the first point in trajectory order on a tie
//   LFMAX  = max LF_i
//   SEL    = 10 log10 E(A)            (dB re 1 s)
//   SEL10  = 10 log10 E(A, LA_i >= LAMAX - 10)
//   SELF   = 10 log10 E(F)
//   LAEQ   = SEL - 10 log10 T
//   TA_L   = sum of dt_i with LA_i >= L, s
//   TAUD   = sum of dt_i with M_i >= the audibility threshold and an A level, s; PTAUD = 100 TAUD / T
//   SEL_f  = 10 log10 E(band f)
// A receiver with no level in its F and A columns at any point was never in range: every metric is
// empty. Otherwise a level metric whose column has no level is empty, and the times are numbers.
// Empty is NaN.
#pragma once

#include <string>
#include <vector>

#include "results/history.h"

namespace tn {

struct EventOptions {
    double duration = 0.0;                   // LAEQ's T, s; 0: the span of the arrival times
    std::vector<double> ta_levels{65.0, 85.0};   // thresholds of the TA columns, dB(A)
    double audible = 7.0;                    // detectability threshold of TAUD, dB
    bool detectability = true;               // TAUD and PTAUD columns (the source carries M)
    std::vector<int> bands;                  // BANDTAB positions (1..32) of the SEL_f columns
};

struct EventMetrics {
    bool in_range = false;
    double LAMAX, TLAMAX, LFMAX, SEL, SEL10, SELF, LAEQ, T;
    std::vector<double> TA;                  // one per threshold
    double TAUD, PTAUD;
    std::vector<double> SELband;             // one per requested band
};

// The metrics of one receiver. `dt` is working storage (reused between receivers).
void event_metrics(const ReceiverHistory& h, const EventOptions& o, std::vector<double>& dt, EventMetrics& m);

// Kinds of output column, which decide their rounding in a table.
enum class ColumnKind { Level, Seconds, Percent, Count };

struct Column {
    std::string name;
    ColumnKind kind;
};

// The columns of the event metrics in table order: LAMAX, TLAMAX, LFMAX, SEL, SEL10, SELF, LAEQ,
// TA<L>..., [TAUD, PTAUD], SEL_<f>...
std::vector<Column> event_columns(const EventOptions& o);

// The metrics in the order of event_columns.
void event_row(const EventMetrics& m, const EventOptions& o, std::vector<double>& row);

// The name of a level threshold in a column name: 65 gives "65", 62.5 gives "62.5".
std::string threshold_name(double level);

// The nominal frequency of BANDTAB position p as a column suffix: "50", "12.5", "31.5", "1000".
std::string band_name(int p);

}  // namespace tn

// A receiver's computed history: what the calculation of one receiver gives, as plain data.
//
// The calculation fills it and decides nothing about files; every writer, metric and exchange
// between processes reads it. Levels are integers in tenths of a dB, truncated towards zero, with
// -999 for a missing value; the detectability is in whole dB.
#pragma once

#include <vector>

#include "io/clock.h"
#include "io/fixed_text.h"

namespace tn {

// Columns of a level row: the flat level, the A-weighted level, then the 32 bands of BANDTAB.
inline constexpr int kRowColumns = 34;
// The mark of a missing integer level.
inline constexpr int kMissingTenths = -999;

// The receiver as a section header describes it.
struct ReceiverHead {
    int Siteidx = 0;             // running number in the run, from 1
    SiteName Name;
    float x = 0.0f;              // UTM metres
    float y = 0.0f;
    float z = 0.0f;              // height above the ground, metres; not above 0: passed over
    int Utmzone = 0;             // the run's zone
    double lat = 0.0;            // degrees, from x and y in Utmzone; HUGE_VAL when that fails
    double lon = 0.0;
    float user_x = 0.0f;         // the position in the user's frame of the terrain grid
    float user_y = 0.0f;
    CivilDate date;              // the day the receiver was computed
    int Ambrow[kRowColumns] = {};  // the site's ambient: A level in column 2, bands 17 to 40
};

// One trajectory point at the receiver.
struct HistoryPoint {
    float t = 0.0f;              // arrival time, seconds, the run's time offset included
    bool in_range = false;       // nearer than the distance limit: levels were computed
    int Outrow[kRowColumns] = {};
    int M = 0;                   // detectability over the ambient, whole dB
};

struct ReceiverHistory {
    ReceiverHead head;
    bool computed = false;       // false: passed over, and `points` is empty
    std::vector<HistoryPoint> points;   // one per trajectory point, in trajectory order
};

}  // namespace tn

// The operations file of the cumulative metrics: which single-event results make up a day.
//
// A CSV text with a heading line and one line per result file:
//     file,day,evening,night
//     departures_27.tig,112,20,6.5
// The heading's first field is free, the other three must read day, evening and night (in any
// case). A line holds the result file's name (relative names are taken from the operations file's
// folder; a name with a comma or a quote is quoted, as CSV quotes) and its numbers of events in
// the day (07-19 h), the evening (19-22 h) and the night (22-07 h): real numbers of 0 or more.
// Blank lines are passed over. Fields may have blanks around them. Anything else stops with
// "FILE:LINE: expected ..., found ...".
#pragma once

#include <string>
#include <vector>

#include "results/cumulative.h"

namespace tn {

struct Operation {
    std::string file;     // as it is to be opened
    EventCounts counts;
    long line = 0;        // line of the operations file
};

std::vector<Operation> read_operations(const std::string& path);

// The fields of one CSV line (double quotes quote a field; a doubled quote inside stands for one).
// False when a quoted field is not closed or has text behind its closing quote.
bool split_csv(std::string_view line, std::vector<std::string>& fields);

}  // namespace tn

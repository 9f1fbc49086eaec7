// Time-history files (".tis", ".tig") read back, one receiver at a time.
//
// The reader checks the layout the writer makes (timehist.h): the file header of a site or a grid
// run, then per receiver the nine header lines, one data line per trajectory point and the end
// line. Anything else (a foreign file, a cut file, a line out of its layout) stops with
// "FILE:LINE: expected ..., found ...". Memory holds one receiver.
//
// What is read back: the name, the zone, the position and the ambient row of each receiver, and
// per point the arrival time, the 34 levels and the detectability. The position is the UTM point of
// the header's latitude and longitude (7 decimals, about a centimetre), which is the run's position
// to the float; where those are not finite numbers, the header's whole-metre easting and northing.
// The height is not in the file: it reads as 0.
#pragma once

#include <memory>
#include <string>

#include "io/line_reader.h"
#include "results/history_source.h"

namespace tn {

class TimeHistoryReader final : public HistorySource {
public:
    // Opens the file and reads its header.
    explicit TimeHistoryReader(const std::string& path);

    const std::string& name() const override { return in_.name(); }
    const RunHeader& header() const override { return run_; }
    bool has_detectability() const override { return true; }
    bool next(ReceiverHistory& h) override;
    std::string where() const override { return in_.name() + ":" + std::to_string(start_line_); }

private:
    void read_header();
    std::string_view line_or_fail(const std::string& what);
    void read_data_line(std::string_view rec, int n, HistoryPoint& p);

    LineReader in_;
    RunHeader run_;
    long start_line_ = 0;   // line of the "Site: " line of the receiver last handed out
    int count_ = 0;         // receivers handed out
    int zone_ = 0;          // the zone of the first receiver: every receiver of a run has it
    int last_i_ = 0, last_j_ = 0;   // grid: lattice position of the receiver before
};

}  // namespace tn

// The other side of the writers: a result file read back as computed histories.
//
// A source hands out the run's header and then one receiver at a time, in file order, so that a
// program reading results keeps one receiver in memory whatever the size of the run. Each result
// format has a reader behind this interface; the metrics and their writers see only the records.
#pragma once

#include <string>

#include "results/history.h"
#include "results/writer.h"

namespace tn {

class HistorySource {
public:
    virtual ~HistorySource() = default;
    // The file the records come from, for messages.
    virtual const std::string& name() const = 0;
    // The run as the file's header describes it: the result and input names, whether it is a grid
    // and its block. What a format does not hold stays at its default (the text files hold neither
    // Npts, Nrecv nor the band frequencies).
    virtual const RunHeader& header() const = 0;
    // Whether the points carry the detectability M.
    virtual bool has_detectability() const = 0;
    // The next receiver of the file into `h` (its storage is reused); false after the last one.
    // Every receiver handed out is computed: a format that records passed-over receivers leaves
    // them out. A broken file stops with "FILE:LINE: expected ..., found ...".
    virtual bool next(ReceiverHistory& h) = 0;
    // "FILE:LINE" (or the file alone) of the receiver last handed out, for messages about it.
    virtual std::string where() const = 0;
};

// The lattice position of a grid run's receiver from its name, four digits of column and four of
// row ("00070123" is column 7, row 123). False when the name is not of that form.
bool lattice_index(const SiteName& name, int& i, int& j);

}  // namespace tn

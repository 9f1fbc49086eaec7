// Time-history results read back: the file header, every receiver's section, the event metrics of
// each receiver and, for a grid, the placement of its lattice.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "io/errors.h"
#include "results/lattice_fit.h"
#include "results/metrics.h"
#include "results/timehist_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = tnfuzz::write_file("fuzz.tig", std::string_view(reinterpret_cast<const char*>(data), size));
    try {
        tn::TimeHistoryReader r(path);
        tn::LatticeFit fit;
        if (r.header().grid) fit.start(r.header().block);
        tn::EventOptions o;
        o.bands = {1, 21, 32};
        tn::ReceiverHistory h;
        tn::EventMetrics m;
        std::vector<double> dt;
        while (r.next(h)) {
            tn::event_metrics(h, o, dt, m);
            // A metric is a number or empty; times and shares are never negative.
            if (m.in_range && !(m.T > 0.0)) std::abort();
            for (double v : m.TA) {
                if (m.in_range && !(v >= 0.0)) std::abort();
            }
            int i = 0, j = 0;
            if (r.header().grid && tn::lattice_index(h.head.Name, i, j)) fit.add(i, j, h.head.x, h.head.y);
        }
        tn::LatticePlacement p;
        if (r.header().grid) fit.place(p);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

// NetCDF results read back: the layout and header, every receiver the file holds, the event metrics
// of each and, for a grid, the placement of its lattice. The classic forms (CDF-1, CDF-2, CDF-5) are
// fuzzed, whose header is checked before the library reads it; an input in the HDF5-based form is
// passed over, as HDF5 itself cannot be kept from crashing on every hostile file (fuzz/README.md).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "io/errors.h"
#include "results/lattice_fit.h"
#include "results/metrics.h"
#include "results/netcdf_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size >= 4 && std::memcmp(data, "\x89HDF", 4) == 0 && !std::getenv("TN_FUZZ_HDF5")) return 0;
    const std::string path =
        tnfuzz::write_file("fuzz.nc", std::string_view(reinterpret_cast<const char*>(data), size));
    try {
        tn::NetcdfResultReader r(path);
        const tn::RunHeader& run = r.header();
        tn::LatticeFit fit;
        if (run.grid) fit.start(run.block);
        tn::EventOptions o;
        o.bands = {1, 21, 32};
        tn::ReceiverHistory h;
        tn::EventMetrics m;
        std::vector<double> dt;
        while (r.next(h)) {
            // Every receiver handed out is computed, with one point per trajectory point.
            if (!h.computed || h.points.size() != static_cast<std::size_t>(run.Npts)) std::abort();
            int i = 0, j = 0;
            if (run.grid && !tn::lattice_index(h.head.Name, i, j)) std::abort();
            tn::event_metrics(h, o, dt, m);
            if (m.in_range && !(m.T > 0.0)) std::abort();
            if (run.grid) fit.add(i, j, h.head.x, h.head.y);
        }
        tn::LatticePlacement p;
        if (run.grid) fit.place(p);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

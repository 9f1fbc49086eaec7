// NetCDF results read back: the layout and header, every receiver the file holds, the event metrics
// of each and, for a grid, the placement of its lattice. The classic forms (CDF-1, CDF-2, CDF-5) are
// fuzzed, whose header is checked before the library reads it; an input in the HDF5-based form is
// passed over, as HDF5 itself cannot be kept from crashing on every hostile file (fuzz/README.md).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "io/errors.h"
#include "results/netcdf_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size >= 4 && std::memcmp(data, "\x89HDF", 4) == 0 && !std::getenv("TN_FUZZ_HDF5")) return 0;
    const std::string path =
        tnfuzz::write_file("fuzz.nc", std::string_view(reinterpret_cast<const char*>(data), size));
    try {
        tn::NetcdfResultReader r(path);
        tnfuzz::read_history_source(r, true);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

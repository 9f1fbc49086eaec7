// Time-history results read back: the file header, every receiver's section, the event metrics of
// each receiver and, for a grid, the placement of its lattice.
#include <cstdint>
#include <string_view>

#include "io/errors.h"
#include "results/timehist_reader.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = tnfuzz::write_file("fuzz.tig", std::string_view(reinterpret_cast<const char*>(data), size));
    try {
        tn::TimeHistoryReader r(path);
        tnfuzz::read_history_source(r, false);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

// The trajectory as the set-up reads it: line 1 tested for "Flight track", the lines behind the
// head counted, READTRAJ into as many points, and the check of names given per point.
#include <cstdint>
#include <sstream>
#include <string_view>

#include "batch/session.h"
#include "batch/setup.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("fuzz.trj", std::string_view(reinterpret_cast<const char*>(data), size));
    std::ostringstream console;
    tn::Session s(console);
    s.cs.Trackfile = path;
    try {
        tn::setup_trajectory(s);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

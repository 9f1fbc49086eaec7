// The Nord2000 parameter file: a head line, then three numbers from column 23 of lines 2 to 4.
#include <cstdint>
#include <sstream>
#include <string_view>

#include "batch/session.h"
#include "batch/setup.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("fuzz_nord.txt", std::string_view(reinterpret_cast<const char*>(data), size));
    std::ostringstream console;
    tn::Session s(console);
    s.cs.Nordfile = path;
    try {
        tn::setup_nord_parameters(s);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

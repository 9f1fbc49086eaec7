// The directories file: READMAX and its key and value pairs.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "batch/setup.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("directories.ini", std::string_view(reinterpret_cast<const char*>(data), size));
    float Maxdist = -1.0f;
    try {
        tn::READMAX(tn::Name255(path), Maxdist);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

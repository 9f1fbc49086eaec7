// Hemisphere files: LOADONEHEMI on the bytes of a ".nc" file, then INTERPONEHEMI in a few
// directions of a hemisphere that loaded.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "io/errors.h"
#include "source/hemisphere.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("fuzz.nc", std::string_view(reinterpret_cast<const char*>(data), size));
    tn::HEMIREC rec;
    try {
        tn::LOADONEHEMI(tn::Name255(path), rec);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
        return 0;
    }
    if (rec.Nfreq < 1 || rec.Hfreq.size() != static_cast<std::size_t>(rec.Nfreq) ||
        rec.Level.size() != rec.Azimuth.size() * rec.Polar.size() * rec.Hfreq.size()) {
        std::abort();
    }
    std::vector<float> spectrum(static_cast<std::size_t>(rec.Nfreq) + 2);
    const float directions[][2] = {{0.0f, 0.0f}, {45.5f, 90.0f}, {-190.0f, 181.0f}, {1.0e9f, -5.0f}, {NAN, 10.0f}};
    for (const auto& d : directions) {
        tn::INTERPONEHEMI(d[0], d[1], spectrum.data(), rec.Nfreq + 2, rec);
    }
    return 0;
}

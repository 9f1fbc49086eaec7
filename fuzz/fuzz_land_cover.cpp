// Ground values from a land cover raster: READCOVER with the class table, the hdr and the prj.
//   input: "fuzz.hdr", "fuzz.prj", "fuzz.flt", rnd/GroundImpedance.csv, in that order, separated by
//   lines "===="; files without a part are missing.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "environment/land_cover.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool folder = std::filesystem::create_directories(tnfuzz::scratch() + "/rnd");
    (void)folder;
    const auto parts = tnfuzz::split_parts(std::string_view(reinterpret_cast<const char*>(data), size), 4);
    tnfuzz::write_parts(parts, {"fuzz.hdr", "fuzz.prj", "fuzz.flt", "rnd/GroundImpedance.csv"});
    const tn::Name255 Gndfile(tnfuzz::scratch() + "/fuzz.flt");
    tn::GRIDHEAD head;
    tn::FloatGrid Flowz, Flowx, Flowy;
    try {
        tn::READCOVER(Gndfile, tnfuzz::scratch(), 11, head, Flowz, Flowx, Flowy);
        const std::size_t cells = static_cast<std::size_t>(head.NX) * static_cast<std::size_t>(head.NY);
        if (Flowz.v.size() != cells || Flowx.v.size() != cells || Flowy.v.size() != cells) std::abort();
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

// Terrain from a float raster: READFLT with its seven-line header.
//   input: the header "fuzz.hdr", a separator line "====", the raster "fuzz.flt" (either may be
//   missing).
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "environment/raster.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto parts = tnfuzz::split_parts(std::string_view(reinterpret_cast<const char*>(data), size), 2);
    tnfuzz::write_parts(parts, {"fuzz.hdr", "fuzz.flt"});
    const tn::Name255 Terrfile(tnfuzz::scratch() + "/fuzz.flt");
    tn::Name255 Siteerr("none");
    int Utmzone = 0;
    tn::GRIDHEAD head;
    tn::FloatGrid Elev, Elev2, Xnode, Ynode;
    std::size_t nodata = 0;
    try {
        tn::READFLT(Terrfile, Siteerr, Utmzone, head, Elev, Elev2, Xnode, Ynode, nodata);
        // A raster that was read fills all four grids at the header's counts.
        const std::size_t cells = static_cast<std::size_t>(head.NX) * static_cast<std::size_t>(head.NY);
        if (Elev.v.size() != cells || Xnode.v.size() != cells || Ynode.v.size() != cells) std::abort();
        (void)tn::nodata_warning(Terrfile, nodata);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

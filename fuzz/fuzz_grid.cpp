// The tagged binary grid file as the set-up reads it: GRIDSCAN, the grids allocated at the counts
// it found, READGRID from the start of the file; once for a terrain ("ZALT") and once for a
// ground grid ("FLOW"), which is read whatever the version record says.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "environment/grid_file.h"
#include "io/errors.h"
#include "support.h"

namespace {

void read_as(const std::string& path, const char* tag, bool need_version) {
    tn::BinaryFile unit(path);
    tn::GRIDHEAD head;
    bool Gridok = false;
    tn::GRIDSCAN(head, Gridok, unit);
    if (need_version && !Gridok) return;
    // GRIDSCAN lets no count through that the file cannot hold.
    const long long nx = head.NX > 0 ? head.NX : 0;
    const long long ny = head.NY > 0 ? head.NY : 0;
    if (static_cast<unsigned long long>(nx * ny) > unit.size() / 4) std::abort();
    tn::FloatGrid Z, X, Y;
    Z.allocate(head.NX, head.NY);
    X.allocate(head.NX, head.NY);
    Y.allocate(head.NX, head.NY);
    unit.rewind();
    std::string title;
    int ntitle = 0, zone = 0;
    float corners[8] = {};
    bool cornermark = false;
    tn::GRIDREF ref;
    tn::READGRID(title, ntitle, zone, Z, X, Y, tag, corners, cornermark, unit, head, ref);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("fuzz.grd", std::string_view(reinterpret_cast<const char*>(data), size));
    try {
        read_as(path, "ZALT", true);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    try {
        read_as(path, "FLOW", false);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

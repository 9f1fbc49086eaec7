// Receiver files, both kinds, from the same bytes: "fuzz.sit" (counts, bounds, sites) and
// "fuzz.txt" (a free list with geographic or UTM positions).
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "environment/sites.h"
#include "io/errors.h"
#include "support.h"

namespace {

void read_sites(const std::string& name, int zone) {
    std::vector<tn::SITEREC> Sites;
    int Nsites = -1, Nbound = -1;
    float Boundx[12] = {}, Boundy[12] = {};
    tn::Name255 Siteerr("none");
    tn::READSITES(Sites, tn::Name255(tnfuzz::scratch() + "/" + name), Nsites, Boundx, Boundy, Nbound, zone, Siteerr);
    if (Nsites < 0 || Nsites > tn::kMaxSites || Nbound < 0 || Nbound > tn::kMaxBounds) std::abort();
    if (!(Siteerr == "none") && (Nsites != 0 || Nbound != 0) && name.find(".sit") != std::string::npos) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    tnfuzz::write_file("fuzz.sit", bytes);
    tnfuzz::write_file("fuzz.txt", bytes);
    try {
        read_sites("fuzz.sit", 11);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    try {
        read_sites("fuzz.txt", size % 2 ? 0 : 11);   // a zone of 0 is set from the first geographic pair
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

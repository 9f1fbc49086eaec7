// Weather files: READWX on either kind (single parameter or a level profile) and the tables
// derived from a profile.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "environment/weather.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path =
        tnfuzz::write_file("fuzz.wx", std::string_view(reinterpret_cast<const char*>(data), size));
    tn::WeatherState wx;
    try {
        tn::READWX(tn::Name255(path), wx);
        if (wx.Wxcount < 0 || wx.Wxcount > tn::kMaxWxLevels) std::abort();
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

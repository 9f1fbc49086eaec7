// Ambient classes: the definition file as the set-up reads it, then the class raster through
// AMBLOOK at a few receivers, checked against the classes defined as the set-up checks them.
//   input: the definition "fuzz_amb.txt", a line "====", the class raster. Line 1 of the
//   definition names the raster; it is written under that name in the scratch folder.
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include "batch/session.h"
#include "batch/setup.h"
#include "environment/sites.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto parts = tnfuzz::split_parts(std::string_view(reinterpret_cast<const char*>(data), size), 2);
    // The raster's name on line 1 stays within the scratch folder.
    std::string definition(parts[0]);
    const std::size_t eol = definition.find('\n');
    definition = tnfuzz::confined(definition.substr(0, eol)) + (eol == std::string::npos ? "" : definition.substr(eol));
    tnfuzz::write_file("fuzz_amb.txt", definition);
    std::string raster = definition.substr(0, definition.find('\n'));
    if (!raster.empty() && raster.back() == '\r') raster.pop_back();
    while (!raster.empty() && raster.back() == ' ') raster.pop_back();
    const bool writable = !raster.empty() && raster != "." && raster != ".." && raster.size() < 200 &&
                          raster.find('\0') == std::string::npos && raster != "fuzz_amb.txt";
    if (writable && parts.size() > 1) tnfuzz::write_file(raster, parts[1]);

    std::ostringstream console;
    tn::Session s(console);
    s.cs.Ambfile = tnfuzz::scratch() + "/fuzz_amb.txt";
    try {
        tn::setup_ambient(s);
        if (s.cs.Nclass >= 2) {
            const float points[3][2] = {{500000.0f, 4000000.0f}, {500300.0f, 4000300.0f}, {1.0e9f, -1.0e9f}};
            for (const auto& p : points) (void)tn::AMBLOOK(p[0], p[1], 11, s.cs.Classfile, s.kept.ambient);
        }
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    if (writable) tnfuzz::remove_file(raster);
    return 0;
}

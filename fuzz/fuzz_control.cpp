// The control file and the case set-up it drives, over the files of a small case: the bytes are
// the control file "fuzz.ctl" in the case folder, whose names resolve there ("terrain.grd",
// "ground.imp", "sites.sit", "track.trj", "wx.txt", "nord.txt", "src.lst", "ambient.txt", ...).
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string_view>

#include "batch/session.h"
#include "batch/setup.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& dir = tnfuzz::fixed_case();
    std::error_code ec;
    std::filesystem::current_path(dir, ec);
    const std::string path =
        tnfuzz::write_file("case/fuzz.ctl", tnfuzz::confined(std::string_view(reinterpret_cast<const char*>(data), size)));
    std::ostringstream console;
    tn::Session s(console);
    s.Exedir = dir;
    s.Dirfile = dir + "/rnd/directories.ini";
    s.Ctlfile = path;
    try {
        tn::read_control_file(s);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    try {
        tn::CASESETUP(s);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    tnfuzz::clean_case();
    tnfuzz::restore_working_folder();
    return 0;
}

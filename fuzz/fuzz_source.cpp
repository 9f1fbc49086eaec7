// Source list and tables: the set-up's reading of the list head, then SRCTABLE, which loads the
// list and its tables, for one source and receiver.
//   input: the list "fuzz.lst" and up to three tables "a.tab", "b.tab", "c.tab", separated by lines
//   "====". Names in the list stay within the scratch folder.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/errors.h"
#include "source/srctable.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto parts = tnfuzz::split_parts(std::string_view(reinterpret_cast<const char*>(data), size), 4);
    const std::string list = tnfuzz::confined(parts[0]);
    parts[0] = list;
    tnfuzz::write_parts(parts, {"fuzz.lst", "a.tab", "b.tab", "c.tab"});
    const tn::Name255 Srcfile(tnfuzz::scratch() + "/fuzz.lst");
    try {
        const tn::SourceListHead head = tn::read_source_list_head(Srcfile);
        tn::SrcTableState state;
        const float src[3] = {0.0f, 0.0f, 300.0f};
        const float rcv[3] = {400.0f, 100.0f, 1.2f};
        std::vector<float> Srcspec(static_cast<std::size_t>(head.Nband) + 1);
        float Rref = 0.0f, Rslant = 0.0f;
        tn::TRAJPOINT pt;
        pt.Heading = 90.0f;
        pt.Speed = 100.0f;
        pt.Power = 80.0f;
        tn::SRCTABLE({src, rcv, 10.0f, 12.0f}, pt, Srcfile, head.Nband, true, Srcspec.data(), Rref, Rslant, state);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    tnfuzz::restore_working_folder();   // the tables move the working folder to the list's
    return 0;
}

// The run script: the whole program (run_program and its command loop) over a small case. The
// bytes are the script "run.txt" in the case folder; "open" can name "case.ctl" there, and the runs
// write their results there (removed after each input). Names stay within the case folder.
//
// Inputs whose grid blocks ask for more than 33 by 33 receivers are passed over: such a run is
// long by design, not broken.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "batch/program.h"
#include "io/fixed_fields.h"
#include "support.h"

namespace {

// Whether a line holds, in the columns where the grid block has its numbers, one beyond 16 in size.
bool asks_for_a_large_grid(std::string_view script) {
    std::size_t start = 0;
    while (start < script.size()) {
        std::size_t end = script.find('\n', start);
        if (end == std::string_view::npos) end = script.size();
        const std::string_view line = script.substr(start, end - start);
        for (const auto& cols : {std::pair{5, 8}, std::pair{9, 12}}) {
            int v = 0;
            if (tn::parse_int_field(tn::field(line, cols.first, cols.second), v) && (v > 16 || v < -16)) return true;
        }
        start = end + 1;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string script = tnfuzz::confined(std::string_view(reinterpret_cast<const char*>(data), size));
    if (asks_for_a_large_grid(script)) return 0;
    const std::string& dir = tnfuzz::fixed_case();
    std::error_code ec;
    std::filesystem::current_path(dir, ec);
    tnfuzz::write_file("case/run.txt", script);
    std::ostringstream out, err;
    const int code = tn::run_program({dir + "/tracknoise", "--threads", "1", "run.txt"}, out, err);
    if (std::getenv("TN_FUZZ_SHOW")) std::fprintf(stderr, "exit %d\n%s", code, err.str().c_str());
    // A stop always says why on standard error.
    if (code != 0 && err.str().rfind("tracknoise: ", 0) != 0) std::abort();
    // A table never declares a negative number of records.
    for (const auto& e : std::filesystem::directory_iterator(dir, ec)) {
        if (e.path().extension() != ".dbf") continue;
        std::ifstream in(e.path(), std::ios::binary);
        char head[8] = {};
        std::int32_t records = 0;
        if (in.read(head, 8)) std::memcpy(&records, head + 4, 4);
        if (records < 0) std::abort();
    }
    tnfuzz::clean_case();
    tnfuzz::restore_working_folder();
    return 0;
}

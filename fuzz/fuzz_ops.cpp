// The operations file and the cumulative metrics of the results it names: an operations file, then
// two results "a.tis" and "b.tis" (either may hold a grid's result). The table is written; the
// GeoTIFF and contours are left out (GDAL has fuzzers of its own).
#include <cstdint>
#include <sstream>
#include <string_view>

#include "io/errors.h"
#include "metrics/operations.h"
#include "metrics/run.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string_view> parts =
        tnfuzz::split_parts(std::string_view(reinterpret_cast<const char*>(data), size), 3);
    std::vector<std::string_view> files = parts;
    const std::string ops = parts.empty() ? std::string() : tnfuzz::confined(parts[0]);
    if (!files.empty()) files[0] = ops;
    tnfuzz::write_parts(files, {"ops.csv", "a.tis", "b.tis"});
    const std::string dir = tnfuzz::scratch();
    try {
        tn::read_operations(dir + "/ops.csv");
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    std::ostringstream out, err;
    tn::run_metrics({"tracknoise-metrics", "--ops", dir + "/ops.csv", "--no-grid", "--csv", dir + "/out.csv", "--bands", "1000"}, out, err);
    tnfuzz::remove_file("out.csv");
    return 0;
}

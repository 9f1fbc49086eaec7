// Fixed-column fields: field(), the integer and real edit descriptors, and the column reads that
// end the run with a message.
//   byte 0: decimals implied (0 to 15); bytes 1, 2: columns a and b; the rest: the record.
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/text_file.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return 0;
    const int decimals = data[0] % 16;
    const int a = static_cast<int>(static_cast<std::int8_t>(data[1]));
    const int b = static_cast<int>(data[2]);
    const std::string_view rec(reinterpret_cast<const char*>(data) + 3, size - 3);

    const std::string f = tn::field(rec, a, b);
    if (b >= a && f.size() != static_cast<std::size_t>(b - a + 1)) std::abort();   // always the field's width

    int i = 0;
    float x = 0.0f;
    double d = 0.0;
    (void)tn::parse_int_field(rec, i);
    const bool fok = tn::parse_real_field(rec, decimals, x);
    const bool dok = tn::parse_real_field(rec, decimals, d);
    if (fok != dok) std::abort();   // the two widths take the same texts
    // One decimal text, rounded once to each width: the float is the double rounded, or both
    // overflow, or the text is "nan".
    if (fok && !std::isnan(d) && std::isfinite(x) && std::fabs(x) >= FLT_MIN && std::isfinite(static_cast<float>(d)) &&
        x != static_cast<float>(d)) {
        // Double rounding may differ by one unit in the last place of the float.
        if (std::fabs(x - static_cast<float>(d)) > std::fabs(x) * 1.2e-7f) std::abort();
    }

    const tn::StringRecord src("fuzz.txt", rec, 1);
    try {
        (void)tn::read_int_columns(src, rec, a, b, "a fuzzed integer");
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    try {
        (void)tn::read_real_columns(src, rec, a, b, decimals, "a fuzzed real");
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    try {
        (void)tn::read_double_columns(src, rec, a, b, decimals, "a fuzzed real");
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

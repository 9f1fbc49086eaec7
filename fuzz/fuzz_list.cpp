// Free-format reads over a file in memory and over a single record.
//   byte 0: how many read statements; bytes 1 to 8: the kinds of the items of each statement
//   (two bits each: integer, real, double, text; the count of items is four times the low three
//   bits of byte 1, plus one), then, when the top bit of byte 8 is set, byte 7 shifted by byte 8 reals
//   dropped; the rest: the text.
#include <cstdint>
#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_text.h"
#include "io/list_input.h"
#include "io/text_file.h"
#include "support.h"

namespace {

void statement(tn::RecordSource& src, const std::uint8_t* kinds, int items, bool or_fail) {
    tn::ListReader r(src);
    int i = 0;
    float f = 0.0f;
    double d = 0.0;
    std::string s;
    tn::FixedText<7> w;
    for (int k = 0; k < items && r.status() == tn::IoStatus::Ok; ++k) {
        switch ((kinds[k / 4] >> (2 * (k % 4))) & 3) {
            case 0: r.read(i); break;
            case 1: r.read(f); break;
            case 2: r.read(d); break;
            default: (k % 2 ? r.read(s) : r.read(w)); break;
        }
    }
    if (kinds[7] & 0x80) r.skip_reals(static_cast<long long>(kinds[6]) << (kinds[7] % 40));
    (void)r.items_read();
    (void)r.problem();
    if (or_fail && r.status() != tn::IoStatus::Ok) r.fail("fuzzed items");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 9) return 0;
    const int statements = data[0] % 16 + 1;
    const int items = (data[1] & 7) * 4 + 1;   // up to 29 items, their kinds in bytes 1 to 8
    const std::uint8_t* kinds = data + 1;
    const std::string_view text(reinterpret_cast<const char*>(data) + 9, size - 9);

    tn::TextFile file = tn::TextFile::from_text("fuzz.txt", text);
    for (int k = 0; k < statements && !file.at_end(); ++k) {
        try {
            statement(file, kinds, items, (data[0] & 0x80) != 0);
        } catch (const tn::RunError& e) {
            tnfuzz::note(e);
        }
        if (data[0] & 0x40) file.backspace();
    }
    tn::StringRecord one("fuzz.txt", text, 1);
    try {
        statement(one, kinds, items, true);
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

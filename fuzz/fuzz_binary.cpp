// The binary stream layer: reads of words, arrays and bytes, passes over bytes, rewinds.
//   byte 0: the number n of operations; then n operations of 9 bytes (an operation code and a
//   64-bit argument); the rest: the file. Checks that the offset never runs past the file.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "io/binary_file.h"
#include "io/errors.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const std::size_t nops = data[0] % 32;
    if (size < 1 + 9 * nops) return 0;
    const std::uint8_t* ops = data + 1;
    const std::string_view body(reinterpret_cast<const char*>(data) + 1 + 9 * nops, size - 1 - 9 * nops);
    const std::string path = tnfuzz::write_file("fuzz.bin", body);

    try {
        tn::BinaryFile f(path, nops > 0 && (ops[0] & 1) != 0);
        for (std::size_t k = 0; k < nops; ++k) {
            const std::uint8_t code = ops[9 * k];
            std::uint64_t arg = 0;
            std::memcpy(&arg, ops + 9 * k + 1, 8);
            const std::size_t small = static_cast<std::size_t>(arg % 4096);
            std::int32_t i = 0;
            float x = 0.0f;
            std::vector<float> v(small);
            std::vector<char> bytes(small);
            try {
                switch (code % 9) {
                    case 0: (void)f.read_i32(i); break;
                    case 1: (void)f.read_f32(x); break;
                    case 2: (void)f.read_f32_array(v.data(), v.size()); break;
                    case 3: (void)f.i32_or_fail("a word"); break;
                    case 4: (void)f.f32_or_fail("a float"); break;
                    case 5: f.f32_array_or_fail(v.data(), v.size(), "floats"); break;
                    case 6: f.bytes_or_fail(bytes.data(), bytes.size(), "bytes"); break;
                    case 7: f.skip_or_fail(arg >> (code >> 4), "bytes passed over"); break;
                    default: f.rewind(); break;
                }
            } catch (const tn::RunError& e) {
                tnfuzz::note(e);
            }
            if (f.offset() > f.size()) std::abort();   // the offset stands within the file
        }
    } catch (const tn::RunError& e) {
        tnfuzz::note(e);
    }
    return 0;
}

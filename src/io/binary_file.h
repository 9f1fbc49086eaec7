// Binary streams without record marks: 32-bit integers and IEEE floats, little-endian unless the file
// is opened with big-endian conversion.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "io/text_file.h"

namespace tn {

class BinaryFile {
public:
    BinaryFile() = default;
    // Opens for reading; a file that cannot be opened ends the run with a clear message.
    BinaryFile(const std::string& path, bool big_endian = false) { open(path, big_endian); }
    ~BinaryFile() { close(); }
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;

    void open(const std::string& path, bool big_endian = false);
    void close();
    void rewind();

    // Reads that report their status: End when the file has fewer bytes than asked for.
    IoStatus read_bytes(void* dst, std::size_t n);
    IoStatus read_i32(std::int32_t& v);
    IoStatus read_f32(float& v);
    IoStatus read_f32_array(float* dst, std::size_t n);

    // Reads that end the run at the end of the file: "FILE: byte N: unexpected end of file, expected what".
    std::int32_t i32_or_fail(const char* what);
    float f32_or_fail(const char* what);
    void bytes_or_fail(void* dst, std::size_t n, const char* what);
    void f32_array_or_fail(float* dst, std::size_t n, const char* what);
    // Passes over n bytes; ends the run if the file ends first.
    void skip_or_fail(std::uint64_t n, const char* what);

    const std::string& name() const { return name_; }
    std::uint64_t offset() const { return offset_; }
    std::uint64_t size() const { return size_; }

private:
    [[noreturn]] void end_failure(const char* what) const;

    std::FILE* f_ = nullptr;
    std::string name_;
    bool big_ = false;
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
};

// Byte order of this machine's words turned round.
inline std::uint32_t byteswap32(std::uint32_t x) {
    return (x >> 24) | ((x >> 8) & 0x0000ff00u) | ((x << 8) & 0x00ff0000u) | (x << 24);
}

}  // namespace tn

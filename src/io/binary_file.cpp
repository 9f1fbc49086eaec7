#include "io/binary_file.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "io/errors.h"
#include "io/files.h"

namespace tn {

static_assert(std::endian::native == std::endian::little, "the binary layer assumes a little-endian machine");

void BinaryFile::open(const std::string& path, bool big_endian) {
    close();
    name_ = path;
    big_ = big_endian;
    offset_ = 0;
    const int fd = open_input_file(path);
    struct stat st {};
    ::fstat(fd, &st);
    f_ = ::fdopen(fd, "rb");
    if (!f_) {
        const int e = errno;
        ::close(fd);
        throw file_error(path, 0, std::string("cannot open the file: ") + std::strerror(e));
    }
    size_ = static_cast<std::uint64_t>(st.st_size);
}

void BinaryFile::close() {
    if (f_) std::fclose(f_);
    f_ = nullptr;
}

void BinaryFile::rewind() {
    if (f_) std::fseek(f_, 0, SEEK_SET);
    offset_ = 0;
}

IoStatus BinaryFile::read_bytes(void* dst, std::size_t n) {
    if (!f_) return IoStatus::Error;
    const std::size_t got = std::fread(dst, 1, n, f_);
    offset_ += got;
    return got == n ? IoStatus::Ok : IoStatus::End;
}

IoStatus BinaryFile::read_i32(std::int32_t& v) {
    std::uint32_t u = 0;
    const IoStatus st = read_bytes(&u, 4);
    if (st != IoStatus::Ok) return st;
    if (big_) u = byteswap32(u);
    v = std::bit_cast<std::int32_t>(u);
    return st;
}

IoStatus BinaryFile::read_f32(float& v) {
    std::uint32_t u = 0;
    const IoStatus st = read_bytes(&u, 4);
    if (st != IoStatus::Ok) return st;
    if (big_) u = byteswap32(u);
    v = std::bit_cast<float>(u);
    return st;
}

IoStatus BinaryFile::read_f32_array(float* dst, std::size_t n) {
    const IoStatus st = read_bytes(dst, n * 4);
    if (st != IoStatus::Ok) return st;
    if (big_) {
        for (std::size_t k = 0; k < n; ++k) dst[k] = std::bit_cast<float>(byteswap32(std::bit_cast<std::uint32_t>(dst[k])));
    }
    return st;
}

void BinaryFile::end_failure(const char* what) const {
    throw binary_error(name_, static_cast<long long>(offset_),
                       std::string("unexpected end of file, expected ") + what);
}

std::int32_t BinaryFile::i32_or_fail(const char* what) {
    std::int32_t v = 0;
    if (read_i32(v) != IoStatus::Ok) end_failure(what);
    return v;
}

float BinaryFile::f32_or_fail(const char* what) {
    float v = 0.0f;
    if (read_f32(v) != IoStatus::Ok) end_failure(what);
    return v;
}

void BinaryFile::bytes_or_fail(void* dst, std::size_t n, const char* what) {
    if (read_bytes(dst, n) != IoStatus::Ok) end_failure(what);
}

void BinaryFile::f32_array_or_fail(float* dst, std::size_t n, const char* what) {
    if (read_f32_array(dst, n) != IoStatus::Ok) end_failure(what);
}

void BinaryFile::skip_or_fail(std::uint64_t n, const char* what) {
    if (!f_) end_failure(what);
    if (offset_ + n > size_) {
        std::fseek(f_, 0, SEEK_END);
        offset_ = size_;
        end_failure(what);
    }
    std::fseek(f_, static_cast<long>(n), SEEK_CUR);
    offset_ += n;
}

}  // namespace tn

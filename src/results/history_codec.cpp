#include "results/history_codec.h"

#include <cstring>

namespace tn {

namespace {

template <typename T, typename U>
U bits_of(T v) {
    static_assert(sizeof(T) == sizeof(U));
    U u;
    std::memcpy(&u, &v, sizeof u);
    return u;
}

void put_u32(std::string& out, std::uint32_t v) {
    for (int k = 0; k < 4; ++k) out += static_cast<char>((v >> (8 * k)) & 0xFFu);
}

void put_u64(std::string& out, std::uint64_t v) {
    for (int k = 0; k < 8; ++k) out += static_cast<char>((v >> (8 * k)) & 0xFFu);
}

void put_float(std::string& out, float v) { put_u32(out, bits_of<float, std::uint32_t>(v)); }
void put_double(std::string& out, double v) { put_u64(out, bits_of<double, std::uint64_t>(v)); }

bool get_u32(std::string_view in, std::size_t& pos, std::uint32_t& v) {
    if (pos > in.size() || in.size() - pos < 4) return false;
    v = 0;
    for (int k = 0; k < 4; ++k) v |= static_cast<std::uint32_t>(static_cast<unsigned char>(in[pos + k])) << (8 * k);
    pos += 4;
    return true;
}

bool get_u64(std::string_view in, std::size_t& pos, std::uint64_t& v) {
    if (pos > in.size() || in.size() - pos < 8) return false;
    v = 0;
    for (int k = 0; k < 8; ++k) v |= static_cast<std::uint64_t>(static_cast<unsigned char>(in[pos + k])) << (8 * k);
    pos += 8;
    return true;
}

bool get_float(std::string_view in, std::size_t& pos, float& v) {
    std::uint32_t u = 0;
    if (!get_u32(in, pos, u)) return false;
    std::memcpy(&v, &u, sizeof v);
    return true;
}

bool get_double(std::string_view in, std::size_t& pos, double& v) {
    std::uint64_t u = 0;
    if (!get_u64(in, pos, u)) return false;
    std::memcpy(&v, &u, sizeof v);
    return true;
}

bool get_int(std::string_view in, std::size_t& pos, int& v) {
    std::int64_t w = 0;
    if (!get_signed(in, pos, w) || w < INT32_MIN || w > INT32_MAX) return false;
    v = static_cast<int>(w);
    return true;
}

// Columns of a point: Outrow, then M.
constexpr int kPointColumns = kRowColumns + 1;

}  // namespace

void put_varint(std::string& out, std::uint64_t v) {
    while (v >= 0x80u) {
        out += static_cast<char>((v & 0x7Fu) | 0x80u);
        v >>= 7;
    }
    out += static_cast<char>(v);
}

void put_signed(std::string& out, std::int64_t v) {
    put_varint(out, (static_cast<std::uint64_t>(v) << 1) ^ static_cast<std::uint64_t>(v >> 63));
}

bool get_varint(std::string_view in, std::size_t& pos, std::uint64_t& v) {
    v = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        if (pos >= in.size()) return false;
        const auto b = static_cast<unsigned char>(in[pos++]);
        v |= static_cast<std::uint64_t>(b & 0x7Fu) << shift;
        if (!(b & 0x80u)) return shift < 63 || b <= 1;   // the tenth byte holds one bit
    }
    return false;
}

bool get_signed(std::string_view in, std::size_t& pos, std::int64_t& v) {
    std::uint64_t u = 0;
    if (!get_varint(in, pos, u)) return false;
    v = static_cast<std::int64_t>(u >> 1) ^ -static_cast<std::int64_t>(u & 1u);
    return true;
}

void encode_history(const ReceiverHistory& h, std::string& out) {
    const ReceiverHead& head = h.head;
    put_signed(out, head.Siteidx);
    const std::string_view name = head.Name.trimmed();
    put_varint(out, name.size());
    out.append(name);
    put_float(out, head.x);
    put_float(out, head.y);
    put_float(out, head.z);
    put_signed(out, head.Utmzone);
    put_double(out, head.lat);
    put_double(out, head.lon);
    put_float(out, head.user_x);
    put_float(out, head.user_y);
    put_signed(out, head.date.year);
    put_signed(out, head.date.month);
    put_signed(out, head.date.day);
    for (int c = 0; c < kRowColumns; ++c) put_signed(out, head.Ambrow[c]);

    out += static_cast<char>(h.computed ? 1 : 0);
    if (!h.computed) return;
    put_varint(out, h.points.size());
    int before[kPointColumns];
    for (int c = 0; c < kRowColumns; ++c) before[c] = kMissingTenths;
    before[kRowColumns] = 0;
    out.reserve(out.size() + h.points.size() * 48);
    // A point is put together in a buffer of its own and appended at once: this runs for every
    // point of every receiver.
    char buf[1 + 4 + kPointColumns * 10];
    for (const HistoryPoint& p : h.points) {
        std::size_t n = 0;
        buf[n++] = static_cast<char>(p.in_range ? 1 : 0);
        const auto t = bits_of<float, std::uint32_t>(p.t);
        for (int k = 0; k < 4; ++k) buf[n++] = static_cast<char>((t >> (8 * k)) & 0xFFu);
        for (int c = 0; c < kPointColumns; ++c) {
            const int v = c < kRowColumns ? p.Outrow[c] : p.M;
            const std::int64_t d = static_cast<std::int64_t>(v) - before[c];
            std::uint64_t u = (static_cast<std::uint64_t>(d) << 1) ^ static_cast<std::uint64_t>(d >> 63);
            while (u >= 0x80u) {
                buf[n++] = static_cast<char>((u & 0x7Fu) | 0x80u);
                u >>= 7;
            }
            buf[n++] = static_cast<char>(u);
            before[c] = v;
        }
        out.append(buf, n);
    }
}

bool decode_history(std::string_view in, std::size_t& pos, ReceiverHistory& h) {
    ReceiverHead& head = h.head;
    std::uint64_t n = 0;
    if (!get_int(in, pos, head.Siteidx) || !get_varint(in, pos, n) || n > SiteName::size || in.size() - pos < n) {
        return false;
    }
    head.Name = in.substr(pos, n);
    pos += n;
    if (!get_float(in, pos, head.x) || !get_float(in, pos, head.y) || !get_float(in, pos, head.z) ||
        !get_int(in, pos, head.Utmzone) || !get_double(in, pos, head.lat) || !get_double(in, pos, head.lon) ||
        !get_float(in, pos, head.user_x) || !get_float(in, pos, head.user_y) || !get_int(in, pos, head.date.year) ||
        !get_int(in, pos, head.date.month) || !get_int(in, pos, head.date.day)) {
        return false;
    }
    for (int c = 0; c < kRowColumns; ++c) {
        if (!get_int(in, pos, head.Ambrow[c])) return false;
    }

    if (pos >= in.size()) return false;
    h.computed = in[pos++] != 0;
    if (!h.computed) {
        h.points.clear();
        return true;
    }
    // Each point takes at least 40 bytes: a count beyond what is left is malformed.
    if (!get_varint(in, pos, n) || n > (in.size() - pos) / 40) return false;
    h.points.resize(static_cast<std::size_t>(n));
    std::int64_t before[kPointColumns];
    for (int c = 0; c < kRowColumns; ++c) before[c] = kMissingTenths;
    before[kRowColumns] = 0;
    for (HistoryPoint& p : h.points) {
        if (pos >= in.size()) return false;
        p.in_range = in[pos++] != 0;
        if (!get_float(in, pos, p.t)) return false;
        for (int c = 0; c < kPointColumns; ++c) {
            std::int64_t d = 0;
            if (pos < in.size() && static_cast<unsigned char>(in[pos]) < 0x80u) {
                // one byte: the common case
                const auto u = static_cast<unsigned char>(in[pos++]);
                d = static_cast<std::int64_t>(u >> 1) ^ -static_cast<std::int64_t>(u & 1u);
            } else if (!get_signed(in, pos, d)) {
                return false;
            }
            const std::int64_t v = before[c] + d;
            if (v < INT32_MIN || v > INT32_MAX) return false;
            before[c] = v;
            (c < kRowColumns ? p.Outrow[c] : p.M) = static_cast<int>(v);
        }
    }
    return true;
}

}  // namespace tn

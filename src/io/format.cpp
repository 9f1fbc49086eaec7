#include "io/format.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tn {

namespace {

// s right-justified in w characters, or w asterisks when it does not fit; one growth of `out`.
void put_right(std::string& out, const char* s, int len, int w) {
    if (len > w) {
        out.append(static_cast<std::size_t>(w), '*');
        return;
    }
    out.append(static_cast<std::size_t>(w), ' ');
    std::memcpy(&out[out.size() - static_cast<std::size_t>(len)], s, static_cast<std::size_t>(len));
}

void append_i_m(std::string& out, long long v, int w, int m) {
    if (w <= 0) return;
    if (m == 0 && v == 0) {
        out.append(static_cast<std::size_t>(w), ' ');
        return;
    }
    // Digits by hand, from the right: result rows format tens of millions of integers. The sign,
    // then at least m digits (zeros in front), the whole no longer than 40 characters of zeros and
    // sign before the digits.
    char buf[64];
    char* const end = buf + sizeof buf;
    char* p = end;
    unsigned long long mag = v < 0 ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    do {
        *--p = static_cast<char>('0' + mag % 10);
        mag /= 10;
    } while (mag != 0);
    const int n = static_cast<int>(end - p);
    const int sign = v < 0 ? 1 : 0;
    for (int k = n; k < m && k - n + sign < 40; ++k) *--p = '0';
    if (sign) *--p = '-';
    put_right(out, p, static_cast<int>(end - p), w);
}

// What snprintf("%.*f", d, a) writes for a finite a >= 0 below 2^52 and d of 0 to 3, without the
// C library: the digits of a * 10^d rounded to the nearest integer, ties to even, from the exact
// binary value. a = m 2^e with m < 2^53 a whole number and e < 0, so m 10^d < 2^63 is exact in 64
// bits and the rounding is one shift with its remainder. Returns the length, or -1 outside that
// range (the caller then asks the library).
int fixed_digits(double a, int d, char* buf) {
    if (!(a >= 0.0 && a < 0x1p52) || d < 0 || d > 3) return -1;
    static constexpr unsigned long long kPow10[4] = {1, 10, 100, 1000};
    int ex = 0;
    const double f = std::frexp(a, &ex);                    // a = f 2^ex, f in [0.5, 1) or 0
    const auto m = static_cast<unsigned long long>(std::ldexp(f, 53));   // exact
    const int shift = 53 - ex;                               // a = m 2^-shift, shift >= 1
    const unsigned long long P = m * kPow10[d];
    unsigned long long q = 0;
    if (shift < 64) {
        q = P >> shift;
        const unsigned long long r = P & ((1ULL << shift) - 1);
        const unsigned long long half = 1ULL << (shift - 1);
        if (r > half || (r == half && (q & 1))) ++q;
    }   // shift >= 64: P < 2^63 <= half, the value rounds to 0
    const unsigned long long whole = q / kPow10[d];
    unsigned long long frac = q % kPow10[d];
    char rev[32];
    int n = 0;
    unsigned long long w = whole;
    do {
        rev[n++] = static_cast<char>('0' + w % 10);
        w /= 10;
    } while (w != 0);
    int len = 0;
    while (n > 0) buf[len++] = rev[--n];
    if (d > 0) {
        buf[len++] = '.';
        for (int k = d - 1; k >= 0; --k) {
            buf[len + k] = static_cast<char>('0' + frac % 10);
            frac /= 10;
        }
        len += d;
    }
    buf[len] = '\0';
    return len;
}

}  // namespace

void append_i(std::string& out, long long v, int w) { append_i_m(out, v, w, 1); }

namespace {

// The four characters of I4 for every value from -999 to 9999, worked out once when the program is
// built: a level row is 35 such fields (-999 marks "not computed"), and a copy of four bytes is far
// cheaper than the digits by hand.
constexpr int kI4First = -999;
constexpr int kI4Last = 9999;
struct I4Table {
    char c[kI4Last - kI4First + 1][4];
};
constexpr I4Table make_i4_table() {
    I4Table t{};
    for (int v = kI4First; v <= kI4Last; ++v) {
        char* f = t.c[v - kI4First];
        for (int k = 0; k < 4; ++k) f[k] = ' ';
        int mag = v < 0 ? -v : v;
        int at = 3;
        do {
            f[at--] = static_cast<char>('0' + mag % 10);
            mag /= 10;
        } while (mag != 0);
        if (v < 0) f[at] = '-';
    }
    return t;
}
constexpr I4Table kI4 = make_i4_table();

}  // namespace

char* put_i(char* out, long long v, int w) {
    if (w == 4 && v >= kI4First && v <= kI4Last) {
        std::memcpy(out, kI4.c[v - kI4First], 4);
        return out + 4;
    }
    if (w <= 0) return out;
    // Any other value or width: the general writer's characters (rare in rows: no growth beyond
    // the string's own buffer for widths up to 15).
    std::string field;
    append_i(field, v, w);
    std::memcpy(out, field.data(), static_cast<std::size_t>(w));
    return out + w;
}

void append_f(std::string& out, double v, int w, int d) {
    if (w <= 0) return;
    if (std::isnan(v)) {
        put_right(out, "NaN", 3, w);
        return;
    }
    if (std::isinf(v)) {
        const bool neg = v < 0;
        const char* word = neg ? "-Infinity" : "Infinity";
        int len = neg ? 9 : 8;
        if (len > w) {
            word = neg ? "-Inf" : "Inf";
            len = neg ? 4 : 3;
        }
        put_right(out, word, len, w);
        return;
    }
    // The C library rounds the exact binary value to nearest, ties to even; fixed_digits does the
    // same for the values and decimals of result rows.
    char buf[400];
    int len = fixed_digits(std::fabs(v), d, buf);
    if (len < 0) len = std::snprintf(buf, sizeof buf, "%.*f", d, std::fabs(v));
    if (len < 0 || len >= static_cast<int>(sizeof buf) - 2) {
        out.append(static_cast<std::size_t>(w), '*');
        return;
    }
    const bool neg = std::signbit(v);
    // "0.5" may lose its leading zero when the field is tight; "0." (d = 0) keeps it.
    const char* s = buf;
    int n = len;
    if (d > 0 && buf[0] == '0' && buf[1] == '.' && n + (neg ? 1 : 0) > w) {
        ++s;
        --n;
    }
    char full[402];
    int k = 0;
    if (neg) full[k++] = '-';
    for (int i = 0; i < n; ++i) full[k++] = s[i];
    if (d == 0) full[k++] = '.';
    put_right(out, full, k, w);
}

std::string fmt_i(long long v, int w) {
    std::string s;
    append_i(s, v, w);
    return s;
}

std::string fmt_i(long long v, int w, int m) {
    std::string s;
    append_i_m(s, v, w, m);
    return s;
}

std::string fmt_f(double v, int w, int d) {
    std::string s;
    append_f(s, v, w, d);
    return s;
}

}  // namespace tn

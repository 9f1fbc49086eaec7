#include "io/format.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tn {

namespace {

void put_right(std::string& out, const char* s, int len, int w) {
    if (len > w) {
        out.append(static_cast<std::size_t>(w), '*');
        return;
    }
    out.append(static_cast<std::size_t>(w - len), ' ');
    out.append(s, static_cast<std::size_t>(len));
}

void append_i_m(std::string& out, long long v, int w, int m) {
    if (w <= 0) return;
    if (m == 0 && v == 0) {
        out.append(static_cast<std::size_t>(w), ' ');
        return;
    }
    // Digits by hand: result rows format tens of millions of integers.
    char digits[32];
    unsigned long long mag = v < 0 ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    int n = 0;
    char rev[32];
    do {
        rev[n++] = static_cast<char>('0' + mag % 10);
        mag /= 10;
    } while (mag != 0);
    for (int k = 0; k < n; ++k) digits[k] = rev[n - 1 - k];
    char buf[64];
    int len = 0;
    if (v < 0) buf[len++] = '-';
    for (int k = n; k < m && len < 40; ++k) buf[len++] = '0';
    for (int k = 0; k < n; ++k) buf[len++] = digits[k];
    put_right(out, buf, len, w);
}

}  // namespace

void append_i(std::string& out, long long v, int w) { append_i_m(out, v, w, 1); }

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
    // The C library rounds the exact binary value to nearest, ties to even.
    char buf[400];
    int len = std::snprintf(buf, sizeof buf, "%.*f", d, std::fabs(v));
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

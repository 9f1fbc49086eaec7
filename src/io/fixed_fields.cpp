#include "io/fixed_fields.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "io/errors.h"

namespace tn {

namespace {

std::string without_blanks(std::string_view fld) {
    std::string s;
    s.reserve(fld.size());
    for (char c : fld) {
        if (c != ' ' && c != '\t') s.push_back(c);
    }
    return s;
}

bool iequals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
    }
    return true;
}

// Turns the text of a real into "[-]digits e exponent" for a single correctly rounded conversion.
// Returns false if the text is no real number. `special` receives inf/nan words.
bool normalise_real(std::string_view s, int decimals, std::string& out) {
    std::size_t p = 0;
    std::string sign;
    if (p < s.size() && (s[p] == '+' || s[p] == '-')) {
        if (s[p] == '-') sign = "-";
        ++p;
    }
    const std::string_view rest = s.substr(p);
    if (iequals(rest, "inf") || iequals(rest, "infinity")) { out = sign + "inf"; return true; }
    if (iequals(rest, "nan")) { out = "nan"; return true; }

    std::string digits;
    long frac_digits = 0;
    bool point = false;
    bool any_digit = false;
    for (; p < s.size(); ++p) {
        const char c = s[p];
        if (std::isdigit(static_cast<unsigned char>(c))) {
            digits.push_back(c);
            any_digit = true;
            if (point) ++frac_digits;
        } else if (c == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (!any_digit) return false;
    long exponent = 0;
    if (p < s.size()) {
        const char c = s[p];
        if (c == 'e' || c == 'E' || c == 'd' || c == 'D' || c == 'q' || c == 'Q') ++p;
        else if (c != '+' && c != '-') return false;
        bool neg = false;
        if (p < s.size() && (s[p] == '+' || s[p] == '-')) { neg = s[p] == '-'; ++p; }
        if (p >= s.size()) return false;   // an exponent letter with no digits
        long e = 0;
        for (; p < s.size(); ++p) {
            if (!std::isdigit(static_cast<unsigned char>(s[p]))) return false;
            if (e < 100000) e = e * 10 + (s[p] - '0');
        }
        exponent = neg ? -e : e;
    }
    if (!point) frac_digits = decimals;   // implied decimals
    out = sign + digits + "e" + std::to_string(exponent - frac_digits);
    return true;
}

}  // namespace

std::string field(std::string_view rec, int a, int b) {
    if (b < a) return {};
    std::string f(static_cast<std::size_t>(b - a + 1), ' ');
    for (int c = a; c <= b; ++c) {
        if (c >= 1 && static_cast<std::size_t>(c) <= rec.size()) f[static_cast<std::size_t>(c - a)] = rec[static_cast<std::size_t>(c - 1)];
    }
    return f;
}

bool parse_int_field(std::string_view fld, int& out) {
    const std::string s = without_blanks(fld);
    if (s.empty()) { out = 0; return true; }
    std::size_t p = 0;
    bool neg = false;
    if (s[p] == '+' || s[p] == '-') { neg = s[p] == '-'; ++p; }
    if (p >= s.size()) return false;
    long long v = 0;
    for (; p < s.size(); ++p) {
        if (!std::isdigit(static_cast<unsigned char>(s[p]))) return false;
        v = v * 10 + (s[p] - '0');
        if (v > static_cast<long long>(INT_MAX) + 1) return false;
    }
    if (neg) v = -v;
    if (v > INT_MAX || v < INT_MIN) return false;
    out = static_cast<int>(v);
    return true;
}

bool parse_real_field(std::string_view fld, int decimals, double& out) {
    const std::string s = without_blanks(fld);
    if (s.empty()) { out = 0.0; return true; }
    std::string norm;
    if (!normalise_real(s, decimals, norm)) return false;
    errno = 0;
    out = std::strtod(norm.c_str(), nullptr);
    return true;
}

bool parse_real_field(std::string_view fld, int decimals, float& out) {
    const std::string s = without_blanks(fld);
    if (s.empty()) { out = 0.0f; return true; }
    std::string norm;
    if (!normalise_real(s, decimals, norm)) return false;
    out = std::strtof(norm.c_str(), nullptr);
    return true;
}

namespace {

[[noreturn]] void column_failure(const RecordSource& src, int a, int b, std::string_view expected,
                                 std::string_view what, const std::string& found) {
    throw file_error(src.name(), src.record_number(),
                     "columns " + std::to_string(a) + "-" + std::to_string(b) + ": expected " +
                         std::string(expected) + " (" + std::string(what) + "), found '" + found + "'");
}

}  // namespace

int read_int_columns(const RecordSource& src, std::string_view rec, int a, int b, std::string_view what) {
    const std::string f = field(rec, a, b);
    int v = 0;
    if (!parse_int_field(f, v)) column_failure(src, a, b, "an integer", what, f);
    return v;
}

float read_real_columns(const RecordSource& src, std::string_view rec, int a, int b, int decimals,
                        std::string_view what) {
    const std::string f = field(rec, a, b);
    float v = 0.0f;
    if (!parse_real_field(f, decimals, v)) column_failure(src, a, b, "a real number", what, f);
    return v;
}

double read_double_columns(const RecordSource& src, std::string_view rec, int a, int b, int decimals,
                           std::string_view what) {
    const std::string f = field(rec, a, b);
    double v = 0.0;
    if (!parse_real_field(f, decimals, v)) column_failure(src, a, b, "a real number", what, f);
    return v;
}

std::string read_name_columns(const RecordSource& src, std::string_view rec, std::string_view what) {
    std::size_t n = rec.size();
    while (n > 0 && rec[n - 1] == ' ') --n;
    rec = rec.substr(0, n);
    if (rec.size() > 255) {
        throw file_error(src.name(), src.record_number(),
                         std::string(what) + ": the name does not fit in 255 characters (it has " +
                             std::to_string(rec.size()) + ")");
    }
    if (const std::size_t nul = rec.find('\0'); nul != std::string_view::npos) {
        throw file_error(src.name(), src.record_number(),
                         std::string(what) + ": a NUL byte stands in the name at column " + std::to_string(nul + 1));
    }
    return std::string(rec);
}

}  // namespace tn

// Blank-padded fixed-length texts.
//
// File names and long texts are 255 characters, site names 64. A text always holds exactly N
// characters; shorter assignments are padded with blanks and longer ones are cut at N. Comparisons
// pad the shorter side with blanks and are case-sensitive, so "no" equals "no  " and not "No".
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace tn {

// Blank-padded comparison of two texts of any lengths.
inline bool padded_equal(std::string_view a, std::string_view b) {
    const std::size_t n = std::max(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const char ca = i < a.size() ? a[i] : ' ';
        const char cb = i < b.size() ? b[i] : ' ';
        if (ca != cb) return false;
    }
    return true;
}

template <std::size_t N>
class FixedText {
public:
    static constexpr std::size_t size = N;

    FixedText() { c_.fill(' '); }
    FixedText(std::string_view s) { assign(s); }  // NOLINT: implicit on purpose, like a Fortran assignment
    FixedText(const char* s) : FixedText(std::string_view(s)) {}

    void assign(std::string_view s) {
        c_.fill(' ');
        std::copy_n(s.begin(), std::min(s.size(), N), c_.begin());
    }
    FixedText& operator=(std::string_view s) { assign(s); return *this; }
    FixedText& operator=(const char* s) { assign(std::string_view(s)); return *this; }

    // All N characters, blanks included.
    std::string_view padded() const { return {c_.data(), N}; }
    // Without trailing blanks.
    std::string_view trimmed() const {
        std::size_t n = N;
        while (n > 0 && c_[n - 1] == ' ') --n;
        return {c_.data(), n};
    }
    std::string str() const { return std::string(trimmed()); }
    bool blank() const { return trimmed().empty(); }

    char& operator[](std::size_t i) { return c_[i]; }   // 0-based
    char operator[](std::size_t i) const { return c_[i]; }

    // Substring anywhere in the N characters (file kinds are told this way: ".nc", ".sit", ...).
    bool contains(std::string_view needle) const { return padded().find(needle) != std::string_view::npos; }

    // Blank-padded, case-sensitive equality.
    friend bool operator==(const FixedText& a, std::string_view b) { return padded_equal(a.padded(), b); }
    template <std::size_t M>
    friend bool operator==(const FixedText& a, const FixedText<M>& b) { return padded_equal(a.padded(), b.padded()); }

private:
    std::array<char, N> c_;
};

using Name255 = FixedText<255>;
using SiteName = FixedText<64>;

}  // namespace tn

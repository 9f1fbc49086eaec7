#include "environment/grid_file.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "io/errors.h"

namespace tn {

namespace {

constexpr float kFootInMetres = 0.30480063f;   // this file's own foot, not the 1 / 3.2808 of the rest

struct Tag {
    char c[4] = {' ', ' ', ' ', ' '};
    bool operator==(const char* s) const { return std::memcmp(c, s, 4) == 0; }
    bool operator==(const Tag& o) const { return std::memcmp(c, o.c, 4) == 0; }
    // Printable form for messages.
    std::string text() const {
        std::string t;
        for (char ch : c) t.push_back(ch >= 32 && ch < 127 ? ch : '?');
        return t;
    }
};

Tag tag_of(std::string_view s) {
    Tag t;
    std::copy_n(s.begin(), std::min<std::size_t>(s.size(), 4), t.c);   // blank-padded like a 4-character text
    return t;
}

void read_record_head(BinaryFile& unit, Tag& tag, std::int32_t& n, const char* what) {
    unit.bytes_or_fail(tag.c, 4, what);
    n = unit.i32_or_fail("the word count N behind a record tag");
}

// Passes over N words of a record's payload; a count of zero or less passes over nothing.
void pass_words(BinaryFile& unit, std::int32_t n, const Tag& tag) {
    if (n <= 0) return;
    const std::string what = "the " + std::to_string(n) + " words of a '" + tag.text() + "' record";
    unit.skip_or_fail(static_cast<std::uint64_t>(n) * 4u, what.c_str());
}

// Ends the run unless `words` more words stand in the file.
void need_words(const BinaryFile& unit, std::uint64_t words, const std::string& what) {
    const std::uint64_t left = unit.size() - std::min(unit.offset(), unit.size());
    if (words > left / 4u) {
        throw binary_error(unit.name(), static_cast<long long>(unit.offset()),
                           "unexpected end of file: " + what + " needs " + std::to_string(words) +
                               " words, " + std::to_string(left) + " bytes are left");
    }
}

// Positive counts must describe a grid that the file can hold and memory can take.
void check_counts(const BinaryFile& unit, std::uint64_t at, int nx, int ny) {
    if (nx <= 0 || ny <= 0) return;   // counts below 1 allocate as empty grids
    const long long nodes = static_cast<long long>(nx) * static_cast<long long>(ny);
    if (nodes > kMaxGridNodes || static_cast<unsigned long long>(nodes) > unit.size() / 4u) {
        throw binary_error(unit.name(), static_cast<long long>(at),
                           "grid dimensions " + std::to_string(nx) + " by " + std::to_string(ny) +
                               " are not possible for a file of " + std::to_string(unit.size()) +
                               " bytes (at most " + std::to_string(std::min<unsigned long long>(
                                   unit.size() / 4u, static_cast<unsigned long long>(kMaxGridNodes))) +
                               " nodes)");
    }
}

// One word of an "IRJR" record. Deliberate: a word that is an integer from 1 to 16000 is that index;
// any other is the same four bytes taken as a float, so fractional reference nodes are possible.
float reference_index(std::int32_t word) {
    if (word >= 1 && word <= 16000) return static_cast<float>(word);
    return std::bit_cast<float>(word);
}

void check_allocation(const BinaryFile& unit, const FloatGrid& g, const char* which, int nx, int ny) {
    const int ni = std::max(nx, 0);
    const int nj = std::max(ny, 0);
    if (!g.held || g.ld != ni || g.nj != nj ||
        g.v.size() != static_cast<std::size_t>(ni) * static_cast<std::size_t>(nj)) {
        throw file_error(unit.name(), 0,
                         std::string("grid ") + which + " is allocated at " + std::to_string(g.ld) + " by " +
                             std::to_string(g.nj) + " nodes, the header gives " + std::to_string(nx) + " by " +
                             std::to_string(ny));
    }
}

// A dimension record of the body must repeat the counts the arrays were allocated with, or the
// stride of the stored nodes would disagree with the header.
void check_same_counts(const BinaryFile& unit, std::uint64_t at, const Tag& tag, int nx, int ny, int nx0, int ny0) {
    if (nx == nx0 && ny == ny0) return;
    throw binary_error(unit.name(), static_cast<long long>(at),
                       "the '" + tag.text() + "' record gives " + std::to_string(nx) + " by " + std::to_string(ny) +
                           " nodes, but the grid was scanned and allocated at " + std::to_string(nx0) + " by " +
                           std::to_string(ny0));
}

}  // namespace

void GRIDSCAN(GRIDHEAD& head, bool& Gridok, BinaryFile& unit) {
    Gridok = false;
    for (;;) {
        const std::uint64_t at = unit.offset();
        Tag tag;
        std::int32_t n = 0;
        read_record_head(unit, tag, n, "a record tag; the file ends before its dimension record");
        if (tag == "NYNX" || tag == "NJNI") {
            head.NY = unit.i32_or_fail("the count in y of a dimension record");
            head.NX = unit.i32_or_fail("the count in x of a dimension record");
            check_counts(unit, at, head.NX, head.NY);
            return;
        }
        if (tag == "NXNY" || tag == "NINJ") {
            head.NX = unit.i32_or_fail("the count in x of a dimension record");
            head.NY = unit.i32_or_fail("the count in y of a dimension record");
            check_counts(unit, at, head.NX, head.NY);
            return;
        }
        if (tag == "TITL" && n == 4) {
            // The version record: every one of this shape sets the mark afresh.
            char name[8];
            unit.bytes_or_fail(name, 8, "the 8 characters of a version record");
            const std::int32_t major = unit.i32_or_fail("the major number of a version record");
            const std::int32_t minor = unit.i32_or_fail("the minor number of a version record");
            Gridok = std::memcmp(name, "GridVers", 8) == 0 && major == 1 && minor == 0;
            continue;
        }
        if (tag == "ZALT") {
            throw binary_error(unit.name(), static_cast<long long>(at),
                               "the data set 'ZALT' stands ahead of any dimension record; the dimensions "
                               "must come first");
        }
        if (tag == "WEAT") {
            head.NX = -2;   // the file holds weather: the grids allocate as empty
            head.NY = -2;
            return;
        }
        pass_words(unit, n, tag);
    }
}

void READGRID(std::string& Title, int& Ntitle, int& Utmzone, FloatGrid& Z, FloatGrid& X, FloatGrid& Y,
              std::string_view tag, float Corners[8], bool& Cornermark, BinaryFile& unit, GRIDHEAD& head,
              GRIDREF& ref) {
    // The stride of the stored nodes is fixed by the allocation at these counts.
    const int nx0 = head.NX;
    const int ny0 = head.NY;
    check_allocation(unit, Z, "Z", nx0, ny0);
    check_allocation(unit, X, "X", nx0, ny0);
    check_allocation(unit, Y, "Y", nx0, ny0);

    ref.Xuser = 0.0f;
    ref.Yuser = 0.0f;
    ref.Rotate = 0.0f;
    ref.Xr = 0.0f;
    ref.Yr = 0.0f;
    ref.Hasuser = false;   // Userunit is left as it stood
    Utmzone = 0;
    Ntitle = 0;
    float Iref = 1.0f;
    float Jref = 1.0f;
    float factor = 1.0f;      // length factor before any "METR" or "FEET" record
    bool column_fast = false; // node order before any "NJNI" record: row-fast
    const Tag wanted = tag_of(tag);

    for (;;) {
        const std::uint64_t at = unit.offset();
        Tag t;
        std::int32_t n = 0;
        read_record_head(unit, t, n, "a record tag; the file ends before its ENDF record");
        if (t == "CASE") {
            unit.i32_or_fail("the first word of a 'CASE' record");
            const long long words = static_cast<long long>(n) - 1;
            Title.clear();
            if (words > 0) {
                need_words(unit, static_cast<std::uint64_t>(words), "the title of a 'CASE' record");
                Title.resize(static_cast<std::size_t>(words) * 4u);
                unit.bytes_or_fail(Title.data(), Title.size(), "the title words of a 'CASE' record");
            }
            Ntitle = static_cast<int>(std::max<long long>(words, INT_MIN));
            continue;
        }
        if (t == "METR") {
            pass_words(unit, n, t);
            factor = 1.0f;
            continue;
        }
        if (t == "FEET") {
            pass_words(unit, n, t);
            factor = kFootInMetres;
            continue;
        }
        if (t == "XRYR") {
            ref.Xr = unit.f32_or_fail("Xr of an 'XRYR' record");
            ref.Yr = unit.f32_or_fail("Yr of an 'XRYR' record");
            continue;
        }
        if (t == "IRJR") {
            Iref = reference_index(unit.i32_or_fail("Iref of an 'IRJR' record"));
            Jref = reference_index(unit.i32_or_fail("Jref of an 'IRJR' record"));
            continue;
        }
        if (t == "DIDJ") {
            // Deliberate: the factor in force when "DIDJ" is read, so a unit record behind it has no effect.
            head.DX = unit.f32_or_fail("DX of a 'DIDJ' record") * factor;
            head.DY = unit.f32_or_fail("DY of a 'DIDJ' record") * factor;
            continue;
        }
        if (t == "NJNI") {
            const int ny = unit.i32_or_fail("NJ of an 'NJNI' record");
            const int nx = unit.i32_or_fail("NI of an 'NJNI' record");
            check_same_counts(unit, at, t, nx, ny, nx0, ny0);
            head.NY = ny;
            head.NX = nx;
            column_fast = true;
            // Deliberate: no return to the top here; the record then passes over N words as an
            // unknown one would, so its N counts the words behind its two integers.
        }
        if (t == "NINJ") {
            const int nx = unit.i32_or_fail("NI of an 'NINJ' record");
            const int ny = unit.i32_or_fail("NJ of an 'NINJ' record");
            check_same_counts(unit, at, t, nx, ny, nx0, ny0);
            head.NX = nx;
            head.NY = ny;
            column_fast = false;
            continue;
        }
        if (t == "UTMZ") {
            Utmzone = unit.i32_or_fail("the zone of a 'UTMZ' record");
            continue;
        }
        if (t == "GEO4") {
            for (int k = 0; k < 8; ++k) Corners[k] = unit.f32_or_fail("the 8 corner values of a 'GEO4' record");
            Cornermark = true;
            continue;
        }
        if (t == "USER") {
            ref.Xuser = unit.f32_or_fail("Xuser of a 'USER' record");
            ref.Yuser = unit.f32_or_fail("Yuser of a 'USER' record");
            ref.Rotate = unit.f32_or_fail("Rotate of a 'USER' record");
            ref.Userunit = unit.i32_or_fail("Userunit of a 'USER' record");
            ref.Hasuser = true;
            continue;
        }
        if (t == wanted || t == "GRID") {
            const int nx = head.NX;
            const int ny = head.NY;
            if (nx >= 1 && ny >= 1) {
                const std::size_t nodes = static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny);
                need_words(unit, nodes, "the data set '" + t.text() + "'");
                const char* what = "the values of a data set";
                if (column_fast) {
                    unit.f32_array_or_fail(Z.v.data(), nodes, what);   // i fastest, as stored
                } else {
                    std::vector<float> file_order(nodes);               // j fastest in the file
                    unit.f32_array_or_fail(file_order.data(), nodes, what);
                    std::size_t k = 0;
                    for (int i = 1; i <= nx; ++i) {
                        for (int j = 1; j <= ny; ++j) Z(i, j) = file_order[k++];
                    }
                }
            }
            continue;
        }
        if (t == "ENDF") break;
        pass_words(unit, n, t);
    }

    head.X0 = ref.Xuser - head.DX * (Iref - 1.0f);
    head.Y0 = ref.Yuser - head.DY * (Jref - 1.0f);
    // A grid without nodes in one direction has none at all: a count of 0 beside a count of two
    // thousand million must not walk the other one.
    const int nodes_i = nx0 > 0 && ny0 > 0 ? nx0 : 0;
    const int nodes_j = nodes_i > 0 ? ny0 : 0;
    for (int j = 1; j <= nodes_j; ++j) {
        for (int i = 1; i <= nodes_i; ++i) {
            X(i, j) = head.X0 + head.DX * static_cast<float>(i - 1);
            Y(i, j) = head.Y0 + head.DY * static_cast<float>(j - 1);
        }
    }
}

}  // namespace tn

#include "results/timehist_reader.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "geo/coordinates.h"
#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/format.h"
#include "results/bands.h"
#include "results/timehist.h"

namespace tn {

namespace {

std::string_view trim_right(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

bool starts_with(std::string_view s, std::string_view p) { return s.substr(0, p.size()) == p; }

// The text of a line as a message quotes it: at most 60 characters.
std::string quoted(std::string_view s) {
    s = trim_right(s);
    if (s.size() > 60) return "'" + std::string(s.substr(0, 60)) + "...'";
    return "'" + std::string(s) + "'";
}

// A right-justified integer of w characters at p: blanks, an optional minus, digits to the end.
bool int_field(const char* p, int w, int& v) {
    int k = 0;
    while (k < w && p[k] == ' ') ++k;
    bool neg = false;
    if (k < w && p[k] == '-') {
        neg = true;
        ++k;
    }
    if (k == w) return false;
    int x = 0;
    for (; k < w; ++k) {
        const char c = p[k];
        if (c < '0' || c > '9') return false;
        x = x * 10 + (c - '0');
    }
    v = neg ? -x : x;
    return true;
}

// A double as a float; beyond the float range, an infinity (the conversion is undefined there).
float as_float(double v) {
    if (std::fabs(v) > std::numeric_limits<float>::max() && std::isfinite(v)) return v > 0 ? HUGE_VALF : -HUGE_VALF;
    return static_cast<float>(v);
}

// The label of data-line field k (0 the flat level, 1 the A level, 2.. the bands, 34 the metric).
std::string column_label(int k) {
    if (k == 0) return "F, the flat level in tenths of a dB";
    if (k == 1) return "A, the A-weighted level in tenths of a dB";
    if (k < kRowColumns) return "band " + std::to_string(k - 2 + kFirstBandNumber) + " in tenths of a dB";
    return "42, the detectability in whole dB";
}

}  // namespace

TimeHistoryReader::TimeHistoryReader(const std::string& path) : in_(path) { read_header(); }

std::string_view TimeHistoryReader::line_or_fail(const std::string& what) {
    std::string_view rec;
    if (in_.next_record(rec) != IoStatus::Ok) {
        throw file_error(in_.name(), in_.record_number() + 1,
                         "expected " + what + ", found the end of the file (the file is cut short)");
    }
    return rec;
}

void TimeHistoryReader::read_header() {
    std::string_view rec;
    if (in_.next_record(rec) != IoStatus::Ok) {
        throw file_error(in_.name(), 1, "expected 'Filename: ' and a result's name (a time-history file), found an empty file");
    }
    if (!starts_with(rec, "Filename: ")) {
        throw file_error(in_.name(), 1,
                         "expected 'Filename: ' and a result's name (the first line of a .tis or .tig time-history "
                         "file), found " + quoted(rec));
    }
    run_.Runout = std::string(trim_right(rec.substr(10)));
    std::string lines[10];   // header lines 2 to 11
    int n = 0;
    for (;;) {
        rec = line_or_fail("the file header's '" + std::string(kEndOfFileHeader) + "'");
        if (trim_right(rec) == kEndOfFileHeader) break;
        if (n == 10) {
            throw file_error(in_.name(), in_.record_number(),
                             "expected '" + std::string(kEndOfFileHeader) +
                                 "' by line 11 (the end of a time-history file's header), found " + quoted(rec));
        }
        lines[n++] = std::string(trim_right(rec));
    }
    // A site file's header holds 7 lines between the first and the end, a grid file's 9.
    if (n != 7 && n != 9) {
        throw file_error(in_.name(), in_.record_number(),
                         "expected the end of the file header at line 9 (a site run) or 11 (a grid run), found it at "
                         "line " + std::to_string(in_.record_number()));
    }
    run_.Terrfile = lines[0];
    run_.Gndfile = lines[1];
    run_.Sitefile = lines[2];
    run_.Infofile = lines[3];
    run_.Ambfile = lines[4];
    run_.grid = n == 9;
    if (run_.grid) {
        const auto block_line = [&](int k, const char* tag, int& first, int& last, int& count) {
            const StringRecord r(in_.name(), lines[k], k + 2);
            if (!starts_with(lines[k], tag)) {
                throw file_error(in_.name(), k + 2,
                                 std::string("expected '") + tag + "' and the first, last and count of the grid's " +
                                     (tag[0] == 'i' ? "columns" : "rows") + ", found " + quoted(lines[k]));
            }
            const std::string what = std::string(tag[0] == 'i' ? "the grid's columns" : "the grid's rows");
            first = read_int_columns(r, lines[k], 5, 8, "the first of " + what);
            last = read_int_columns(r, lines[k], 11, 14, "the last of " + what);
            count = read_int_columns(r, lines[k], 17, 20, "the count of " + what);
        };
        GridBlock& b = run_.block;
        block_line(5, "ii: ", b.Iifirst, b.Iilast, b.Iicount);
        block_line(6, "jj: ", b.Jjfirst, b.Jjlast, b.Jjcount);
        run_.Trackfile = lines[7];
        run_.Srcfile = lines[8];
    } else {
        run_.Trackfile = lines[5];
        run_.Srcfile = lines[6];
    }
}

void TimeHistoryReader::read_data_line(std::string_view rec, int n, HistoryPoint& p) {
    const long line = in_.record_number();
    if (trim_right(rec).size() < static_cast<std::size_t>(kDataLineWidth - 1)) {
        if (in_.last_line_open()) {
            throw file_error(in_.name(), line,
                             "expected data line " + std::to_string(n) + ", found the end of the file inside the line (the file is cut short)");
        }
        throw file_error(in_.name(), line,
                         "expected data line " + std::to_string(n) + " of " + std::to_string(kDataLineWidth - 1) +
                             " characters or more (point number, time, F, A, bands 10 to 41, 42), found " +
                             std::to_string(trim_right(rec).size()) + " characters: " + quoted(rec));
    }
    const char* s = rec.data();
    int sp = 0;
    const bool stars = std::memcmp(s, "****", 4) == 0;
    if (!(stars && n >= 10000) && !(int_field(s, 4, sp) && sp == n)) {
        throw file_error(in_.name(), line,
                         "columns 1-4: expected the point number " + std::to_string(n) + ", found '" +
                             std::string(rec.substr(0, 4)) + "'");
    }
    std::string_view t = rec.substr(4, 12);
    while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), p.t);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size()) {
        throw file_error(in_.name(), line,
                         "columns 5-16: expected the arrival time in seconds, found '" + std::string(rec.substr(4, 12)) + "'");
    }
    bool any = false;
    for (int k = 0; k <= kRowColumns; ++k) {
        const char* f = s + 16 + 5 * k;
        int v = 0;
        if (f[0] != ' ' || !int_field(f + 1, 4, v)) {
            throw file_error(in_.name(), line,
                             "columns " + std::to_string(17 + 5 * k) + "-" + std::to_string(21 + 5 * k) + " (" +
                                 column_label(k) + "): expected an integer right-justified in its field, found '" +
                                 std::string(rec.substr(16 + 5 * k, 5)) + "'");
        }
        if (k < kRowColumns) {
            p.Outrow[k] = v;
            any = any || v != kMissingTenths;
        } else {
            p.M = v;
        }
    }
    p.in_range = any;
}

bool TimeHistoryReader::next(ReceiverHistory& h) {
    std::string_view rec;
    if (in_.next_record(rec) != IoStatus::Ok) return false;
    start_line_ = in_.record_number();
    const std::string& file = in_.name();
    if (!starts_with(rec, "Site: ")) {
        throw file_error(file, start_line_, "expected 'Site: ' and a receiver's name (the start of a receiver's section), found " + quoted(rec));
    }
    ReceiverHead& head = h.head;
    head = ReceiverHead{};
    head.Siteidx = ++count_;
    head.Name = rec.substr(6);
    const std::string who = "receiver '" + head.Name.str() + "'";

    rec = line_or_fail("the point count of " + who);
    if (!starts_with(rec, "Integ:                   Spec:")) {
        throw file_error(file, in_.record_number(), "expected 'Integ:                   Spec:' and the point count of " + who + ", found " + quoted(rec));
    }
    int Npts = -1;   // "****": 10000 points or more, counted from the lines
    if (field(rec, 31, 34) != "****") {
        const StringRecord r(file, rec, in_.record_number());
        Npts = read_int_columns(r, rec, 31, 34, "the point count of " + who);
        if (Npts < 0) throw file_error(file, in_.record_number(), "columns 31-34: expected a point count of 0 or more, found " + std::to_string(Npts));
    }

    rec = line_or_fail("'Lat: ', the latitude and longitude of " + who);
    {
        const StringRecord r(file, rec, in_.record_number());
        if (!starts_with(rec, "Lat: ") || field(rec, 18, 27) != "    Long: " || field(rec, 40, 57) != "          User X: " ||
            field(rec, 70, 81) != "    User Y: " || trim_right(rec).size() > 93) {
            throw file_error(file, in_.record_number(), "expected 'Lat: ' and 'Long: ' with the position of " + who + ", found " + quoted(rec));
        }
        head.lat = read_double_columns(r, rec, 6, 17, 7, "the latitude of " + who);
        head.lon = read_double_columns(r, rec, 28, 39, 7, "the longitude of " + who);
        head.user_x = read_real_columns(r, rec, 58, 69, 0, "the user's X of " + who);
        head.user_y = read_real_columns(r, rec, 82, 93, 0, "the user's Y of " + who);
    }

    rec = line_or_fail("'UTM Zone: ', the zone and position of " + who);
    double east = 0.0, north = 0.0;
    {
        const StringRecord r(file, rec, in_.record_number());
        if (!starts_with(rec, "UTM Zone: ") || field(rec, 14, 26) != "    Easting: ") {
            throw file_error(file, in_.record_number(), "expected 'UTM Zone: ' and 'Easting: ' with the position of " + who + ", found " + quoted(rec));
        }
        if (trim_right(rec).size() > 56) {
            throw file_error(file, in_.record_number(),
                             "expected the zone and position of " + who + " to end at column 56, found " +
                                 std::to_string(trim_right(rec).size()) + " columns: " + quoted(rec));
        }
        head.Utmzone = read_int_columns(r, rec, 11, 13, "the UTM zone of " + who);
        east = read_double_columns(r, rec, 27, 34, 0, "the easting of " + who);
        north = read_double_columns(r, rec, 49, 56, 0, "the northing of " + who);
    }
    if (count_ == 1) zone_ = head.Utmzone;
    if (head.Utmzone != zone_) {
        throw file_error(file, in_.record_number(),
                         "expected the run's UTM zone " + std::to_string(zone_) + " (every receiver of a run has it), found " + std::to_string(head.Utmzone));
    }
    double x = east, y = north;
    if (std::isfinite(head.lat) && std::isfinite(head.lon) && head.Utmzone != 0 && head.Utmzone >= -60 && head.Utmzone <= 60) {
        int zone = head.Utmzone;
        double xu = 0.0, yu = 0.0;
        LLTOUTM(head.lon, head.lat, xu, yu, zone);
        if (std::isfinite(xu) && std::isfinite(yu) && std::fabs(xu - east) <= 1.0 && std::fabs(yu - north) <= 1.0) {
            x = xu;
            y = yu;
        }
    }
    head.x = as_float(x);
    head.y = as_float(y);

    rec = line_or_fail("the date of " + who);
    {
        const StringRecord r(file, rec, in_.record_number());
        head.date.day = read_int_columns(r, rec, 1, 2, "the day of the month of " + who);
        const std::string mon = field(rec, 4, 6);
        head.date.month = 0;
        for (int m = 1; m <= 12; ++m) {
            if (mon == month_abbrev(m)) head.date.month = m;
        }
        if (head.date.month == 0) {
            throw file_error(file, in_.record_number(), "columns 4-6: expected a month from 'Jan' to 'Dec' (the date of " + who + "), found '" + mon + "'");
        }
        head.date.year = read_int_columns(r, rec, 8, 11, "the year of " + who);
    }
    rec = line_or_fail("'Echo'");
    if (trim_right(rec) != "Echo") throw file_error(file, in_.record_number(), "expected 'Echo', found " + quoted(rec));
    rec = line_or_fail("the ruler of the columns");
    if (trim_right(rec) != kRuler) throw file_error(file, in_.record_number(), "expected the ruler 'SP#    TIME       F     A    10 ...', found " + quoted(rec));
    rec = line_or_fail("the rule under the ruler");
    if (trim_right(rec) != kRule) throw file_error(file, in_.record_number(), "expected the rule '*** ************ **** ...', found " + quoted(rec));
    rec = line_or_fail("the AMBIENT line of " + who);
    if (field(rec, 5, 16) != " AMBIENT    ") {
        throw file_error(file, in_.record_number(), "expected the AMBIENT line of " + who + ", found " + quoted(rec));
    }
    {
        const StringRecord r(file, rec, in_.record_number());
        for (int c = 0; c < kRowColumns; ++c) {
            head.Ambrow[c] = read_int_columns(r, rec, 18 + 5 * c, 21 + 5 * c, "an ambient level in tenths of a dB");
        }
    }

    if (run_.grid) {
        int i = 0, j = 0;
        const GridBlock& b = run_.block;
        if (!lattice_index(head.Name, i, j)) {
            throw file_error(file, start_line_, "expected a grid receiver's name of four digits of column and four of row, found '" + head.Name.str() + "'");
        }
        if (i < b.Iifirst || i > b.Iilast || j < b.Jjfirst || j > b.Jjlast) {
            throw file_error(file, start_line_,
                             "expected a receiver of the block of the file header (columns " + std::to_string(b.Iifirst) + " to " +
                                 std::to_string(b.Iilast) + ", rows " + std::to_string(b.Jjfirst) + " to " + std::to_string(b.Jjlast) +
                                 "), found '" + head.Name.str() + "'");
        }
        if (count_ > 1 && (i < last_i_ || (i == last_i_ && j <= last_j_))) {
            throw file_error(file, start_line_,
                             "expected the receivers in lattice order (column by column, rows rising), found '" + head.Name.str() +
                                 "' after '" + fmt_i(last_i_, 4, 4) + fmt_i(last_j_, 4, 4) + "'");
        }
        last_i_ = i;
        last_j_ = j;
    }

    // Data lines up to the end line.
    h.computed = true;
    std::size_t n = 0;
    const auto expected = [&]() {
        if (Npts >= 0 && n == static_cast<std::size_t>(Npts)) {
            return "'" + std::string(kEndOfSection) + "' after " + std::to_string(Npts) + " data lines of " + who;
        }
        return "data line " + std::to_string(n + 1) + (Npts >= 0 ? " of " + std::to_string(Npts) : std::string()) + " of " + who;
    };
    for (;;) {
        if (in_.next_record(rec) != IoStatus::Ok) {
            throw file_error(file, in_.record_number() + 1, "expected " + expected() + ", found the end of the file (the file is cut short)");
        }
        if (rec.size() < static_cast<std::size_t>(kDataLineWidth - 1) && trim_right(rec) == kEndOfSection) {
            if (Npts >= 0 && n != static_cast<std::size_t>(Npts)) {
                throw file_error(file, in_.record_number(), "expected " + expected() + ", found the section's end line");
            }
            break;
        }
        if (Npts >= 0 && n == static_cast<std::size_t>(Npts)) throw file_error(file, in_.record_number(), "expected " + expected() + ", found " + quoted(rec));
        if (n == h.points.size()) h.points.emplace_back();
        read_data_line(rec, static_cast<int>(n + 1), h.points[n]);
        ++n;
    }
    h.points.resize(n);
    return true;
}

}  // namespace tn

#include "metrics/operations.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "io/errors.h"
#include "io/text_file.h"

namespace tn {

namespace {

std::string trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return std::string(s);
}

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string shown(std::string_view s) {
    std::string out;
    for (char c : s.substr(0, 80)) out += (static_cast<unsigned char>(c) < 32 || c == 127) ? '?' : c;
    return "'" + out + (s.size() > 80 ? "...'" : "'");
}

}  // namespace

bool split_csv(std::string_view line, std::vector<std::string>& fields) {
    fields.clear();
    std::size_t p = 0;
    for (;;) {
        std::string f;
        while (p < line.size() && (line[p] == ' ' || line[p] == '\t')) ++p;
        if (p < line.size() && line[p] == '"') {
            ++p;
            for (;;) {
                if (p >= line.size()) return false;
                if (line[p] == '"') {
                    if (p + 1 < line.size() && line[p + 1] == '"') {
                        f += '"';
                        p += 2;
                        continue;
                    }
                    ++p;
                    break;
                }
                f += line[p++];
            }
            while (p < line.size() && (line[p] == ' ' || line[p] == '\t')) ++p;
            if (p < line.size() && line[p] != ',') return false;
        } else {
            const std::size_t c = line.find(',', p);
            const std::size_t e = c == std::string_view::npos ? line.size() : c;
            f = trimmed(line.substr(p, e - p));
            p = e;
        }
        fields.push_back(std::move(f));
        if (p >= line.size()) return true;
        ++p;   // the comma
    }
}

std::vector<Operation> read_operations(const std::string& path) {
    TextFile in(path);
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::vector<Operation> ops;
    std::vector<std::string> f;
    bool heading = false;
    std::string_view rec;
    while (in.next_record(rec) == IoStatus::Ok) {
        const long line = in.record_number();
        if (trimmed(rec).empty()) continue;
        if (!split_csv(rec, f)) {
            throw file_error(path, line, "expected comma-separated fields, found a quoted field that is not closed: " + shown(rec));
        }
        if (!heading) {
            if (f.size() != 4 || lower(f[1]) != "day" || lower(f[2]) != "evening" || lower(f[3]) != "night") {
                throw file_error(path, line,
                                 "expected the heading 'file,day,evening,night' (a result file, then its events by day, "
                                 "evening and night), found " + shown(rec));
            }
            heading = true;
            continue;
        }
        if (f.size() != 4) {
            throw file_error(path, line,
                             "expected 4 fields (a result file, then its events by day, evening and night), found " +
                                 std::to_string(f.size()) + ": " + shown(rec));
        }
        if (f[0].empty()) throw file_error(path, line, "expected a result file's name in the first field, found an empty field");
        Operation op;
        const std::filesystem::path file(f[0]);
        op.file = file.is_absolute() || folder.empty() ? f[0] : (folder / file).string();
        op.line = line;
        double* const counts[3] = {&op.counts.day, &op.counts.evening, &op.counts.night};
        const char* const names[3] = {"day", "evening", "night"};
        for (int k = 0; k < 3; ++k) {
            double v = 0.0;
            const std::string& t = f[1 + k];
            const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
            if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v) || v < 0.0) {
                throw file_error(path, line,
                                 "field " + std::to_string(k + 2) + ": expected the number of events by " + names[k] +
                                     " (a number of 0 or more), found " + shown(f[1 + k]));
            }
            *counts[k] = v;
        }
        ops.push_back(std::move(op));
    }
    if (!heading) throw file_error(path, 0, "expected the heading 'file,day,evening,night' and a line per result file, found an empty file");
    if (ops.empty()) throw file_error(path, in.record_number(), "expected a line per result file after the heading, found none");
    return ops;
}

}  // namespace tn

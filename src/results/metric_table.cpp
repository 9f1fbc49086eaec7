#include "results/metric_table.h"

#include <cmath>
#include <cstdio>

namespace tn {

namespace {

void append_fixed(std::string& out, double v, int decimals) {
    char buf[64];
    const int n = std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    out.append(buf, static_cast<std::size_t>(n));
}

void append_value(std::string& out, double v, ColumnKind kind) {
    if (!std::isfinite(v)) return;
    switch (kind) {
        case ColumnKind::Level:
        case ColumnKind::Percent:
            append_fixed(out, v, 1);
            break;
        case ColumnKind::Seconds:
            append_fixed(out, v, 3);
            break;
        case ColumnKind::Count: {
            std::string s;
            append_fixed(s, v, 3);
            while (s.back() == '0') s.pop_back();
            if (s.back() == '.') s.pop_back();
            out += s;
            break;
        }
    }
}

}  // namespace

std::string csv_field(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string q = "\"";
    for (char c : text) {
        if (c == '"') q += '"';
        q += c;
    }
    return q + '"';
}

void MetricTable::open(const std::string& name, const std::vector<Column>& columns) {
    columns_ = columns;
    file_.open(name);
    std::string head = "site,x,y,lat,lon";
    for (const Column& c : columns) head += "," + c.name;
    file_.line(head);
}

void MetricTable::row(const ReceiverHead& head, const std::vector<double>& values) {
    line_ = csv_field(head.Name.trimmed());
    line_ += ',';
    append_fixed(line_, head.x, 2);
    line_ += ',';
    append_fixed(line_, head.y, 2);
    line_ += ',';
    const bool known = std::isfinite(head.lat) && std::isfinite(head.lon);
    if (known) append_fixed(line_, head.lat, 7);
    line_ += ',';
    if (known) append_fixed(line_, head.lon, 7);
    for (std::size_t k = 0; k < columns_.size(); ++k) {
        line_ += ',';
        append_value(line_, k < values.size() ? values[k] : NAN, columns_[k].kind);
    }
    file_.line(line_);
}

}  // namespace tn

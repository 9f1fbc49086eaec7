#include "environment/sites.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"
#include "io/text_file.h"
#include "geo/coordinates.h"

namespace tn {

namespace {

constexpr float kFeetPerMetre = 3.2808f;
constexpr float kLowestSitHeight = 0.001f;   // feet

[[noreturn]] void too_many_sites(const TextFile& unit) {
    throw file_error(unit.name(), unit.record_number(),
                     "more than " + std::to_string(kMaxSites) + " receivers; the list has " +
                         std::to_string(kMaxSites) + " places");
}

void give_up(Name255& Siteerr, int& Nsites, int& Nbound) {
    Siteerr = kSiteFileProblem;
    Nsites = 0;
    Nbound = 0;
}

// The ".sit" kind. Only a value that is not a number gives the file up; an end of file counts as
// read, the items keeping what they held.
void read_sit(TextFile& unit, std::vector<SITEREC>& Sites, int& Nsites, float Boundx[12], float Boundy[12],
              int& Nbound, Name255& Siteerr) {
    if (list_read(unit, Nbound) == IoStatus::Error) return give_up(Siteerr, Nsites, Nbound);
    // A negative count reads no pair, and none stands: it is 0, so that nothing downstream counts
    // by it (a table declared with a negative number of records).
    if (Nbound < 0) Nbound = 0;
    if (Nbound > 0) {
        ListReader r(unit);   // the pairs are one list over as many lines as they take
        for (int k = 0; k < std::min(Nbound, kMaxBounds) && r.status() == IoStatus::Ok; ++k) {
            r.read(Boundx[k]);
            r.read(Boundy[k]);
        }
        // Pairs past the 12 places are read and dropped (at once where a repeat count stands for
        // many: "1000000000" pairs of "100000000*1" took minutes one by one).
        if (Nbound > kMaxBounds) r.skip_reals(2LL * (Nbound - kMaxBounds));
        if (r.status() == IoStatus::Error) return give_up(Siteerr, Nsites, Nbound);
        if (Nbound > kMaxBounds) Nbound = kMaxBounds;
    }
    if (list_read(unit, Nsites) == IoStatus::Error) return give_up(Siteerr, Nsites, Nbound);
    if (Nsites < 0) Nsites = 0;   // as for Nbound
    if (Nsites > kMaxSites) too_many_sites(unit);
    for (int i = 0; i < Nsites; ++i) {
        SITEREC& s = Sites[static_cast<std::size_t>(i)];
        if (list_read(unit, s.x, s.y, s.z, s.Name) == IoStatus::Error) return give_up(Siteerr, Nsites, Nbound);
        s.z = std::fmax(s.z, kLowestSitHeight);
    }
    // Deliberate: all 1000 records, also those behind the count, go from feet to metres, so a record
    // that no file filled is divided again at every call.
    for (SITEREC& s : Sites) s.z = s.z / kFeetPerMetre;
}

// The list kind: x, y in double precision, z in metres, a name, to the end of the file.
void read_list(TextFile& unit, std::vector<SITEREC>& Sites, int& Nsites, int& Utmzone, Name255& Siteerr) {
    if (unit.skip(1) == IoStatus::End) return;   // an empty file: no sites and no message
    double x = 0.0;
    double y = 0.0;
    float z = 0.0f;
    SiteName name;
    for (;;) {
        const IoStatus st = list_read(unit, x, y, z, name);
        if (st == IoStatus::End) return;
        if (st == IoStatus::Error) {
            if (Nsites == 0) Siteerr = kSiteFileProblem;   // with sites read, they stand
            return;
        }
        if (Nsites >= kMaxSites) too_many_sites(unit);
        ++Nsites;
        if (std::fabs(x) < 1000.0) {
            // A geographic pair; 999.9 also counts as one and gives an impossible longitude.
            double xu = 0.0;
            double yu = 0.0;
            LLTOUTM(x, y, xu, yu, Utmzone);
            x = xu;
            y = yu;
        }
        SITEREC& s = Sites[static_cast<std::size_t>(Nsites - 1)];
        s.x = static_cast<float>(x);
        s.y = static_cast<float>(y);
        s.z = z;   // as read: not converted, not limited
        s.Name = name;
    }
}

// The value of a head line of the class raster: read as a 60-character field, the text from its
// first blank to its last non-blank, parsed free-format in a field of 20 characters.
template <class T>
void head_value(TextFile& f, std::string_view what, T& v) {
    const std::string_view rec = f.record_or_fail(what);
    const std::string line = field(rec, 1, 60);
    const std::size_t first_blank = line.find(' ');
    const std::size_t last = line.find_last_not_of(' ');
    std::string text;
    if (first_blank != std::string::npos && last != std::string::npos && last > first_blank) {
        text = line.substr(first_blank, last - first_blank + 1);
    }
    StringRecord value(f.name(), field(text, 1, 20), f.record_number());
    list_read_or_fail(value, what, v);
}

void load_raster(const Name255& Classfile, AmbientRaster& raster) {
    TextFile f(Classfile.str());
    int columns = 0;
    int rows = 0;
    head_value(f, "the column count of the class raster", columns);
    head_value(f, "the row count of the class raster", rows);
    if (columns < 1 || rows < 1) {
        throw file_error(f.name(), f.record_number(),
                         "expected positive column and row counts of the class raster, found " +
                             std::to_string(columns) + " and " + std::to_string(rows));
    }
    const long long cells = static_cast<long long>(columns) * rows;
    if (cells > 400000000LL) {
        throw file_error(f.name(), f.record_number(),
                         "a class raster of " + std::to_string(columns) + " by " + std::to_string(rows) +
                             " cells is too large");
    }
    // Every value takes a character of the file at least, and a repeat count ("100000000*1") stands
    // for no more: a head of more cells than that would make a few bytes fill gigabytes.
    std::error_code ec;
    const auto bytes = std::filesystem::file_size(f.name(), ec);
    if (!ec && static_cast<unsigned long long>(cells) > bytes) {
        throw file_error(f.name(), f.record_number(),
                         "a class raster of " + std::to_string(columns) + " by " + std::to_string(rows) +
                             " cells cannot stand in a file of " + std::to_string(bytes) + " bytes");
    }
    head_value(f, "the longitude of the lower left corner", raster.xcorner);
    head_value(f, "the latitude of the lower left corner", raster.ycorner);
    head_value(f, "the cell size in degrees", raster.cell);
    f.record_or_fail("the sixth head line of the class raster");

    // One free-format list, row by row, the northern row first. The values are gathered as they
    // come, so that a head promising more cells than the file holds fails before any large allocation.
    std::vector<int> file_order;
    file_order.reserve(static_cast<std::size_t>(std::min<long long>(cells, 1 << 20)));
    ListReader r(f);
    for (long long k = 0; k < cells; ++k) {
        int v = 0;
        if (r.read(v) != IoStatus::Ok) {
            r.fail("class of column " + std::to_string(k % columns + 1) + ", row " +
                   std::to_string(k / columns + 1) + " (from the north) of the class raster");
        }
        file_order.push_back(v);
    }
    raster.columns = columns;
    raster.rows = rows;
    raster.cls.assign(static_cast<std::size_t>(cells), 0);
    for (int fr = 1; fr <= rows; ++fr) {
        const int r_south = rows - fr + 1;   // stored row 1 is the southern row
        for (int c = 1; c <= columns; ++c) {
            raster.cls[static_cast<std::size_t>(r_south - 1) * static_cast<std::size_t>(columns) +
                       static_cast<std::size_t>(c - 1)] =
                file_order[static_cast<std::size_t>(fr - 1) * static_cast<std::size_t>(columns) +
                           static_cast<std::size_t>(c - 1)];
        }
    }
    raster.loaded = true;
}

// Column (or row) of a coordinate: cells centred on their grid positions, truncation towards zero,
// limited to 1 .. n. A coordinate that is not a number (a failed conversion) takes cell 1.
int cell_of(double v, double corner, double cell, int n) {
    const double q = std::trunc((v - corner + cell * 0.5) / cell) + 1.0;
    if (!(q >= 1.0)) return 1;
    if (q >= static_cast<double>(n)) return n;
    return static_cast<int>(q);
}

}  // namespace

void READSITES(std::vector<SITEREC>& Sites, const Name255& Sitefile, int& Nsites, float Boundx[12],
               float Boundy[12], int& Nbound, int& Utmzone, Name255& Siteerr) {
    if (Sites.size() < static_cast<std::size_t>(kMaxSites)) Sites.resize(static_cast<std::size_t>(kMaxSites));
    Nsites = 0;
    Nbound = 0;
    TextFile unit(Sitefile.str());
    if (Sitefile.contains(".sit")) {
        read_sit(unit, Sites, Nsites, Boundx, Boundy, Nbound, Siteerr);
    } else {
        read_list(unit, Sites, Nsites, Utmzone, Siteerr);
    }
}

int AMBLOOK(float x, float y, int Utmzone, const Name255& Classfile, AmbientRaster& raster) {
    if (!raster.loaded) load_raster(Classfile, raster);   // once per process: later names are not read
    double lon = 0.0;
    double lat = 0.0;
    UTMTOLL(Utmzone, x, y, lon, lat);
    const int c = cell_of(lon, raster.xcorner, raster.cell, raster.columns);
    const int r = cell_of(lat, raster.ycorner, raster.cell, raster.rows);
    return raster.at(c, r);
}

}  // namespace tn

#include "environment/land_cover.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "environment/raster.h"
#include "io/binary_file.h"
#include "io/errors.h"
#include "io/list_input.h"
#include "io/text_file.h"
#include "geo/coordinates.h"

namespace tn {

namespace {

constexpr int kClasses = 200;
constexpr float kUnlistedClass = 200.0f;   // ground value of a class that the table does not name
constexpr float kNodataClass = 11.0f;      // a no-data cell is taken as this class (open water)

std::string show(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.9g", v);
    return buf;
}

// Impclass[1 .. 200]; position 0 is not used.
using ClassTable = std::array<float, kClasses + 1>;

void read_class_table(const std::string& name, ClassTable& Impclass) {
    Impclass.fill(kUnlistedClass);
    TextFile table(name);
    table.record_or_fail("a heading line");
    // Deliberate: a line that cannot be read still sets a class, with whatever the two work
    // variables hold (a class read before a bad value takes the previous line's value); only the
    // end of the file ends the table.
    int iclass = 0;
    float value = kUnlistedClass;
    for (;;) {
        ListReader r(table);
        if (r.read(iclass) == IoStatus::Ok) r.read(value);
        if (r.status() == IoStatus::End) break;
        if (iclass < 1 || iclass > kClasses) {
            std::string what = "class " + std::to_string(iclass) + " is outside 1 to 200";
            if (r.status() == IoStatus::Error) what = r.problem() + "; the line would set " + what;
            throw file_error(table.name(), table.record_number(), what);
        }
        Impclass[static_cast<std::size_t>(iclass)] = value;
    }
}

struct Prjangles {
    double parallel1 = 0.0, parallel2 = 0.0, meridian = 0.0, origin = 0.0;
};

// Degrees, minutes and seconds packed as DDDMMMSSS.SS for the projection package. An angle that is
// not finite is refused: no projection can be made of it, and the conversion of every node would set
// one up anew (a NaN never matches the parameters of the projection set up before).
double packed_angle(TextFile& prj, const char* what) {
    double deg = 0.0, min = 0.0, sec = 0.0;
    list_read_or_fail(prj, what, deg, min, sec);
    const double packed = deg * 1000000.0 + min * 1000.0 + sec;
    if (!std::isfinite(packed)) {
        throw file_error(prj.name(), prj.record_number(),
                         "expected finite " + std::string(what) + ", found " + show(deg) + " " + show(min) + " " + show(sec));
    }
    return packed;
}

Prjangles read_prj(const std::string& name) {
    TextFile prj(name);
    prj.skip_or_fail(8, "the eight lines ahead of the projection's angles");
    Prjangles a;
    a.parallel1 = packed_angle(prj, "degrees, minutes and seconds of the first standard parallel");
    a.parallel2 = packed_angle(prj, "degrees, minutes and seconds of the second standard parallel");
    a.meridian = packed_angle(prj, "degrees, minutes and seconds of the central meridian");
    a.origin = packed_angle(prj, "degrees, minutes and seconds of the latitude of origin");
    return a;
}

}  // namespace

void READCOVER(const Name255& Gndfile, std::string_view Exedir, int Utmzone, GRIDHEAD& Flowhead, FloatGrid& Flowz,
               FloatGrid& Flowx, FloatGrid& Flowy) {
    while (!Exedir.empty() && Exedir.back() == ' ') Exedir.remove_suffix(1);
    ClassTable Impclass;
    read_class_table(std::string(Exedir) + "/rnd/GroundImpedance.csv", Impclass);

    const std::string prjname = sibling_name(Gndfile.padded(), "prj");
    const std::string hdrname = sibling_name(Gndfile.padded(), "hdr");
    int nx = 0, ny = 0, nodata = 0;
    double xcorner = 0.0, ycorner = 0.0;
    float cell = 0.0f;
    std::string order;
    {
        TextFile hdr(hdrname);
        FixedText<12> keyword;
        list_read_or_fail(hdr, "keyword and number of columns", keyword, nx);
        list_read_or_fail(hdr, "keyword and number of rows", keyword, ny);
        list_read_or_fail(hdr, "keyword and x of the lower left corner", keyword, xcorner);
        list_read_or_fail(hdr, "keyword and y of the lower left corner", keyword, ycorner);
        list_read_or_fail(hdr, "keyword and cell size in metres", keyword, cell);
        list_read_or_fail(hdr, "keyword and no-data value (an integer)", keyword, nodata);
        list_read_or_fail(hdr, "keyword and byte order", keyword, order);
    }
    require_positive_count(hdrname, 1, nx, "columns");
    require_positive_count(hdrname, 2, ny, "rows");
    const std::string order3 = order.substr(0, 3);
    if (order3 != "LSB" && order3 != "MSB") {
        throw file_error(hdrname, 7, "expected the byte order LSB or MSB, found '" + order + "'");
    }
    Flowhead.NX = nx;
    Flowhead.NY = ny;
    Flowhead.DX = cell;
    Flowhead.DY = cell;

    // The raster is measured before anything is allocated for it.
    const std::string rastername(Gndfile.trimmed());
    BinaryFile raster(rastername, order3 == "MSB");
    require_raster_cells(raster, nx, ny, hdrname);

    FloatGrid work;
    work.allocate(nx, ny);
    if (Flowz.held) {
        Flowz.release();
        Flowx.release();
        Flowy.release();
    }
    Flowz.allocate(nx, ny);
    Flowx.allocate(nx, ny);
    Flowy.allocate(nx, ny);

    const Prjangles a = read_prj(prjname);
    double x0 = 0.0, y0 = 0.0;
    ALBTOUTM(xcorner, ycorner, a.parallel1, a.parallel2, a.meridian, a.origin, Utmzone, x0, y0);
    Flowhead.X0 = static_cast<float>(x0);
    Flowhead.Y0 = static_cast<float>(y0);

    raster.f32_array_or_fail(work.v.data(), work.v.size(), "the raster's land cover classes");
    raster.close();

    const float nodata_value = static_cast<float>(nodata);
    for (int j = 1; j <= ny; ++j) {
        const int row = ny - j + 1;   // the file's rows turned: j runs from south to north
        for (int i = 1; i <= nx; ++i) {
            float& v = work(i, row);
            if (v == nodata_value) v = kNodataClass;
            if (!(v >= 1.0f && v < static_cast<float>(kClasses + 1))) {   // NaN included
                throw binary_error(rastername, static_cast<long long>(work.index(i, row)) * 4,
                                   "cell of column " + std::to_string(i) + ", row " + std::to_string(row) +
                                       " from the north holds " + show(v) +
                                       ", expected a land cover class from 1 to 200");
            }
            Flowz(i, j) = Impclass[static_cast<std::size_t>(v)];   // truncation: 42.7 is class 42

            const double x = xcorner + static_cast<double>(cell * static_cast<float>(i - 1));
            const double y = ycorner + static_cast<double>(cell * static_cast<float>(j - 1));
            double xu = 0.0, yu = 0.0;
            ALBTOUTM(x, y, a.parallel1, a.parallel2, a.meridian, a.origin, Utmzone, xu, yu);
            Flowx(i, j) = static_cast<float>(xu);
            Flowy(i, j) = static_cast<float>(yu);
        }
    }
}

}  // namespace tn

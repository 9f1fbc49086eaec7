// tracknoise-asc2grid: turns an ESRI ASCII grid into the program's tagged binary grid file.
//
//   tracknoise-asc2grid INPUT.asc OUTPUT TAG UTMZONE
//
// INPUT: "ncols", "nrows", "xllcorner", "yllcorner", "cellsize" lines (keyword and value), an
// optional "NODATA_value" line, then nrows lines of ncols values, the northern row first. The
// corner is the position of the south-western node, in UTM metres of zone UTMZONE. TAG is ZALT
// for terrain heights (metres) or FLOW for ground flow resistivities. The output holds the version
// record, the zone, the user frame at the south-western node, the spacing, the counts (i running
// along x) and the values, row-fast.
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "io/errors.h"
#include "io/files.h"
#include "io/list_input.h"
#include "io/text_file.h"

namespace {

struct Writer {
    tn::OutFile& f;
    void word(const void* p) { f.write(std::string_view(static_cast<const char*>(p), 4)); }
    void i32(std::int32_t v) { word(&v); }
    void f32(float v) { word(&v); }
    void tag(const char* t, std::int32_t n) {
        f.write(std::string_view(t, 4));
        i32(n);
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: tracknoise-asc2grid INPUT.asc OUTPUT ZALT|FLOW UTMZONE\n";
        return 2;
    }
    const std::string tag = argv[3];
    if (tag != "ZALT" && tag != "FLOW") {
        std::cerr << "tracknoise-asc2grid: the tag must be ZALT or FLOW, found '" << tag << "'\n";
        return 2;
    }
    try {
        tn::TextFile in(argv[1]);
        std::string key;
        int ncols = 0, nrows = 0, zone = 0;
        double xll = 0, yll = 0, cell = 0;
        tn::list_read_or_fail(in, "ncols and its value", key, ncols);
        tn::list_read_or_fail(in, "nrows and its value", key, nrows);
        tn::list_read_or_fail(in, "xllcorner and its value", key, xll);
        tn::list_read_or_fail(in, "yllcorner and its value", key, yll);
        tn::list_read_or_fail(in, "cellsize and its value", key, cell);
        tn::StringRecord zrec("UTMZONE", argv[4]);
        tn::list_read_or_fail(zrec, "the UTM zone", zone);
        if (ncols < 2 || nrows < 2 || ncols > 100000 || nrows > 100000) {
            throw tn::file_error(in.name(), 0, "ncols and nrows must be 2 to 100000");
        }
        // An optional NODATA_value line.
        std::string_view rec;
        if (in.next_record(rec) == tn::IoStatus::Ok && rec.find("NODATA") == std::string_view::npos) in.backspace();
        std::vector<float> rows(static_cast<std::size_t>(ncols) * static_cast<std::size_t>(nrows));
        for (int r = 0; r < nrows; ++r) {
            tn::ListReader lr(in);
            for (int c = 0; c < ncols; ++c) {
                if (lr.read(rows[static_cast<std::size_t>(r) * ncols + c]) != tn::IoStatus::Ok) {
                    lr.fail("row " + std::to_string(r + 1) + " of the values");
                }
            }
        }
        tn::OutFile out;
        out.open(argv[2]);
        Writer w{out};
        w.tag("TITL", 4);
        out.write("GridVers");
        w.i32(1);
        w.i32(0);
        w.tag("METR", 0);
        w.tag("UTMZ", 1);
        w.i32(zone);
        w.tag("USER", 4);
        w.f32(static_cast<float>(xll));
        w.f32(static_cast<float>(yll));
        w.f32(0.0f);
        w.i32(0);
        w.tag("IRJR", 2);
        w.i32(1);
        w.i32(1);
        w.tag("DIDJ", 2);
        w.f32(static_cast<float>(cell));
        w.f32(static_cast<float>(cell));
        w.tag("NINJ", 2);
        w.i32(ncols);
        w.i32(nrows);
        w.tag(tag.c_str(), ncols * nrows);
        // Row-fast: i (x) outer, j (y, from the south) inner.
        for (int i = 0; i < ncols; ++i) {
            for (int j = 0; j < nrows; ++j) w.f32(rows[static_cast<std::size_t>(nrows - 1 - j) * ncols + i]);
        }
        w.tag("ENDF", 0);
        out.commit();
    } catch (const tn::RunError& e) {
        std::cerr << "tracknoise-asc2grid: " << e.what() << '\n';
        return 1;
    }
    return 0;
}

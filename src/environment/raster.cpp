#include "environment/raster.h"

#include <cmath>
#include <cstdint>

#include "io/binary_file.h"
#include "io/errors.h"
#include "io/list_input.h"
#include "io/text_file.h"
#include "geo/coordinates.h"

namespace tn {

std::string sibling_name(std::string_view name, std::string_view ext) {
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    const std::size_t keep = name.size() > 3 ? name.size() - 3 : 0;
    return std::string(name.substr(0, keep)) + std::string(ext);
}

void require_positive_count(const std::string& hdr, long line, int n, const char* what) {
    if (n <= 0) {
        throw file_error(hdr, line, std::string("expected a positive number of ") + what + ", found " +
                                        std::to_string(n));
    }
}

void require_raster_cells(const BinaryFile& raster, int nx, int ny, const std::string& hdr) {
    const std::uint64_t cells = static_cast<std::uint64_t>(nx) * static_cast<std::uint64_t>(ny);
    if (raster.size() / 4 < cells) {
        throw binary_error(raster.name(), static_cast<long long>(raster.size()),
                           "unexpected end of file, expected " + std::to_string(nx) + " by " +
                               std::to_string(ny) + " floats (" + std::to_string(cells * 4) + " bytes) as " +
                               hdr + " declares");
    }
}

void READFLT(const Name255& Terrfile, Name255& Siteerr, int& Utmzone, GRIDHEAD& Terrhead, FloatGrid& Elev,
             FloatGrid& Elev2, FloatGrid& Xnode, FloatGrid& Ynode, std::size_t& Nnodata) {
    Utmzone = 0;
    Siteerr = "none";
    Nnodata = 0;

    // Header: seven lines, the keywords only hold the place of the values.
    const std::string hdrname = sibling_name(Terrfile.padded(), "hdr");
    int nx = 0, ny = 0;
    double xcorner = 0.0, ycorner = 0.0, cell = 0.0;
    float nodata = 0.0f;
    std::string order;
    {
        TextFile hdr(hdrname);
        FixedText<14> keyword;
        list_read_or_fail(hdr, "keyword and number of columns", keyword, nx);
        list_read_or_fail(hdr, "keyword and number of rows", keyword, ny);
        list_read_or_fail(hdr, "keyword and longitude of the lower left corner", keyword, xcorner);
        list_read_or_fail(hdr, "keyword and latitude of the lower left corner", keyword, ycorner);
        list_read_or_fail(hdr, "keyword and cell size in degrees", keyword, cell);
        list_read_or_fail(hdr, "keyword and no-data value", keyword, nodata);
        list_read_or_fail(hdr, "keyword and byte order", keyword, order);
    }
    require_positive_count(hdrname, 1, nx, "columns");
    require_positive_count(hdrname, 2, ny, "rows");
    const bool big_endian = order.compare(0, 3, "MSB") == 0;   // case-sensitive: "msb" is little-endian

    // The corner fixes the zone of the whole case.
    double x0 = 0.0, y0 = 0.0, x1 = 0.0, y1 = 0.0;
    LLTOUTM(xcorner, ycorner, x0, y0, Utmzone);
    LLTOUTM(xcorner + cell, ycorner + cell, x1, y1, Utmzone);
    Terrhead.NX = nx;
    Terrhead.NY = ny;
    Terrhead.X0 = static_cast<float>(x0);
    Terrhead.Y0 = static_cast<float>(y0);
    Terrhead.DX = static_cast<float>(std::fabs(x1 - x0));
    Terrhead.DY = static_cast<float>(std::fabs(y1 - y0));

    // The raster is measured before anything is allocated for it.
    const std::string rastername(Terrfile.trimmed());
    BinaryFile raster(rastername, big_endian);
    require_raster_cells(raster, nx, ny, hdrname);

    if (Elev2.held) {
        Elev.release();
        Elev2.release();
        Xnode.release();
        Ynode.release();
    }
    Elev.allocate(nx, ny);
    Elev2.allocate(nx, ny);
    Xnode.allocate(nx, ny);
    Ynode.allocate(nx, ny);

    raster.f32_array_or_fail(Elev2.v.data(), Elev2.v.size(), "the raster's heights");
    raster.close();

    for (int j = 1; j <= ny; ++j) {
        for (int i = 1; i <= nx; ++i) {
            const float h = Elev2(i, ny - j + 1);   // the file's rows turned: j runs from south to north
            Elev(i, j) = h;
            if (h == nodata) ++Nnodata;
            double x = 0.0, y = 0.0;
            LLTOUTM(xcorner + cell * (i - 1), ycorner + cell * (j - 1), x, y, Utmzone);
            Xnode(i, j) = static_cast<float>(x);
            Ynode(i, j) = static_cast<float>(y);
        }
    }
}

std::string nodata_warning(const Name255& Terrfile, std::size_t Nnodata) {
    if (Nnodata == 0) return {};
    return "Warning: " + std::to_string(Nnodata) + (Nnodata == 1 ? " cell of " : " cells of ") + Terrfile.str() +
           (Nnodata == 1 ? " holds" : " hold") + " the no-data value, taken as a height";
}

}  // namespace tn

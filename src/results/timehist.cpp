#include "results/timehist.h"

#include "io/format.h"
#include "path/coordinates.h"

namespace tn {

void append_section_header(std::string& out, const SITEREC& site, int Npts, int Utmzone, const GRIDREF& ref,
                           const CivilDate& date, const int Ambrow[34]) {
    out += "Site: ";
    out += site.Name.padded();
    out += '\n';

    out += "Integ:                   Spec:";
    append_i(out, Npts, 4);
    out += '\n';

    double lon = 0.0, lat = 0.0;
    UTMTOLL(Utmzone, site.x, site.y, lon, lat);
    float ux = 0.0f, uy = 0.0f;
    UTMTOUSER(ref, site.x, site.y, ux, uy);
    out += "Lat: ";
    append_f(out, lat, 12, 7);
    out += "    Long: ";
    append_f(out, lon, 12, 7);
    out += "          User X: ";
    append_f(out, ux, 12, 0);
    out += "    User Y: ";
    append_f(out, uy, 12, 0);
    out += '\n';

    out += "UTM Zone: ";
    append_i(out, Utmzone, 3);
    out += "    Easting: ";
    append_f(out, site.x, 8, 0);
    out += "    Northing: ";
    append_f(out, site.y, 8, 0);
    out += '\n';

    append_i(out, date.day, 2);
    out += ' ';
    out += month_abbrev(date.month);
    out += ' ';
    append_i(out, date.year, 4);
    out += '\n';

    out += "Echo\n";
    out += kRuler;
    out += '\n';
    out += kRule;
    out += '\n';

    append_i(out, 0, 4);
    out += " AMBIENT    ";
    for (int c = 0; c < 34; ++c) {
        out += ' ';
        append_i(out, Ambrow[c], 4);
    }
    out += '\n';
}

void append_data_line(std::string& out, int n, float t, const int Outrow[34], int M) {
    append_i(out, n, 4);
    append_f(out, t, 12, 3);
    for (int c = 0; c < 34; ++c) {
        out += ' ';
        append_i(out, Outrow[c], 4);
    }
    out += ' ';
    append_i(out, M, 4);
    out += " \n";   // the line is 192 characters: one blank behind the metric
}

}  // namespace tn

#include "geo/coordinates.h"

#include <proj.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace tn {

namespace {

constexpr float kFeetPerMetre = 3.2808f;

// The projections of one thread: its own PROJ context (contexts are not shared between threads)
// and the operations set up so far, looked up by kind and parameters. A run uses one UTM zone and
// at most one Albers parameter set, so the list stays short and a linear search is enough.
class ProjCache {
public:
    ProjCache() : ctx_(proj_context_create()) {
        if (ctx_ != nullptr) proj_log_level(ctx_, PJ_LOG_NONE);
    }
    ~ProjCache() {
        for (Entry& e : entries_) proj_destroy(e.pj);
        if (ctx_ != nullptr) proj_context_destroy(ctx_);
    }
    ProjCache(const ProjCache&) = delete;
    ProjCache& operator=(const ProjCache&) = delete;

    // UTM zone 1 .. 60 north, -1 .. -60 south; any other zone gives nullptr.
    PJ* utm(int zone) {
        const std::array<double, 4> key{static_cast<double>(zone), 0.0, 0.0, 0.0};
        if (const Entry* e = find(Kind::Utm, key)) return e->pj;
        PJ* pj = nullptr;
        if (zone != 0 && zone >= -60 && zone <= 60) {
            const std::string def = "+proj=utm +zone=" + std::to_string(zone < 0 ? -zone : zone)
                                  + (zone < 0 ? " +south" : "") + " +ellps=WGS84";
            pj = create(def);
        }
        entries_.push_back({Kind::Utm, key, pj});
        return pj;
    }

    // Albers equal-area conic, angles in decimal degrees, false easting and northing 0.
    PJ* albers(double lat1, double lat2, double lon0, double lat0) {
        const std::array<double, 4> key{lat1, lat2, lon0, lat0};
        if (const Entry* e = find(Kind::Albers, key)) return e->pj;
        char def[256];
        std::snprintf(def, sizeof def,
                      "+proj=aea +lat_1=%.17g +lat_2=%.17g +lon_0=%.17g +lat_0=%.17g +x_0=0 +y_0=0 +ellps=WGS84",
                      lat1, lat2, lon0, lat0);
        PJ* pj = create(def);
        entries_.push_back({Kind::Albers, key, pj});
        return pj;
    }

private:
    enum class Kind { Utm, Albers };
    struct Entry {
        Kind kind;
        std::array<double, 4> key;
        PJ* pj;   // nullptr: the parameters were refused; kept so that they are not tried again
    };

    const Entry* find(Kind kind, const std::array<double, 4>& key) const {
        for (const Entry& e : entries_)
            if (e.kind == kind && e.key == key) return &e;
        return nullptr;
    }
    PJ* create(const std::string& def) {
        return ctx_ != nullptr ? proj_create(ctx_, def.c_str()) : nullptr;
    }

    PJ_CONTEXT* ctx_;
    std::vector<Entry> entries_;
};

ProjCache& projections() {
    thread_local ProjCache cache;
    return cache;
}

// Zone of a geographic position: integer part of ((lon + 180) / 6) + 1, negative south of the
// equator. A longitude that is not a number or far off the globe gives 0, which no conversion takes.
int zone_of(double lon, double lat) {
    if (!(std::fabs(lon) <= 1.0e6)) return 0;
    const int zone = static_cast<int>((lon + 180.0) / 6.0) + 1;
    return lat < 0.0 ? -zone : zone;
}

// Geographic degrees to UTM metres; HUGE_VAL for a zone or position that cannot be converted.
void geographic_to_utm(double lon, double lat, int zone, double& x, double& y) {
    x = HUGE_VAL;
    y = HUGE_VAL;
    PJ* pj = projections().utm(zone);
    if (pj == nullptr) return;
    const PJ_COORD out = proj_trans(pj, PJ_FWD, proj_coord(proj_torad(lon), proj_torad(lat), 0.0, 0.0));
    x = out.xy.x;
    y = out.xy.y;
}

// Packed DDDMMMSSS.SS to decimal degrees. The sign is taken from the whole number and the parts
// are read from its magnitude, so a negative angle must carry its sign on all three parts.
double unpack_dms(double packed) {
    const double sign = packed < 0.0 ? -1.0 : 1.0;
    const double magnitude = std::fabs(packed);
    const double degrees = std::trunc(magnitude / 1000000.0);
    const double minutes = std::trunc((magnitude - degrees * 1000000.0) / 1000.0);
    const double seconds = magnitude - degrees * 1000000.0 - minutes * 1000.0;
    return sign * (degrees + minutes / 60.0 + seconds / 3600.0);
}

}  // namespace

void LLTOUTM(double lon, double lat, double& x, double& y, int& zone) {
    if (zone == 0) zone = zone_of(lon, lat);
    geographic_to_utm(lon, lat, zone, x, y);
}

void UTMTOLL(int zone, float x, float y, double& lon, double& lat) {
    lon = HUGE_VAL;
    lat = HUGE_VAL;
    PJ* pj = projections().utm(zone);
    if (pj == nullptr) return;
    const PJ_COORD out = proj_trans(pj, PJ_INV, proj_coord(static_cast<double>(x), static_cast<double>(y), 0.0, 0.0));
    if (out.lp.lam == HUGE_VAL) return;
    lon = proj_todeg(out.lp.lam);
    lat = proj_todeg(out.lp.phi);
}

void ALBTOUTM(double x, double y, double parallel1, double parallel2, double meridian,
              double origin_lat, int zone, double& xout, double& yout) {
    xout = HUGE_VAL;
    yout = HUGE_VAL;
    PJ* pj = projections().albers(unpack_dms(parallel1), unpack_dms(parallel2), unpack_dms(meridian),
                                  unpack_dms(origin_lat));
    if (pj == nullptr) return;
    const PJ_COORD geo = proj_trans(pj, PJ_INV, proj_coord(x, y, 0.0, 0.0));
    if (geo.lp.lam == HUGE_VAL) return;
    const double lon = proj_todeg(geo.lp.lam);
    const double lat = proj_todeg(geo.lp.phi);
    geographic_to_utm(lon, lat, zone != 0 ? zone : zone_of(lon, lat), xout, yout);
}

void UTMTOUSER(const GRIDREF& ref, float x, float y, float& X, float& Y) {
    const float dx = x - ref.Xuser;
    const float dy = y - ref.Yuser;
    float a = dx * std::cos(ref.Rotate) + dy * std::sin(ref.Rotate);
    float b = -dx * std::sin(ref.Rotate) + dy * std::cos(ref.Rotate);
    if (ref.Userunit == 1) {
        a = a * kFeetPerMetre;
        b = b * kFeetPerMetre;
    }
    X = ref.Xr + a;
    Y = ref.Yr + b;
}

void USERTOUTM(const GRIDREF& ref, float X, float Y, float& x, float& y) {
    const float dx = X - ref.Xr;
    const float dy = Y - ref.Xr;   // deliberate: Xr, not Yr, as the routine has always had it
    float a = dx * std::cos(-ref.Rotate) + dy * std::sin(-ref.Rotate);
    float b = -dx * std::sin(-ref.Rotate) + dy * std::cos(-ref.Rotate);
    if (ref.Userunit == 1) {
        a = a / kFeetPerMetre;
        b = b / kFeetPerMetre;
    }
    x = ref.Xuser + a;
    y = ref.Yuser + b;
}

std::string utm_crs_wkt(int zone) {
    if (zone == 0 || zone < -60 || zone > 60) return {};
    PJ_CONTEXT* ctx = proj_context_create();
    if (ctx == nullptr) return {};
    proj_log_level(ctx, PJ_LOG_NONE);
    const std::string code = "EPSG:" + std::to_string(zone > 0 ? 32600 + zone : 32700 - zone);
    std::string wkt;
    if (PJ* crs = proj_create(ctx, code.c_str())) {
        const char* const one_line[] = {"MULTILINE=NO", nullptr};
        if (const char* text = proj_as_wkt(ctx, crs, PJ_WKT1_GDAL, one_line)) wkt = text;
        proj_destroy(crs);
    }
    proj_context_destroy(ctx);
    return wkt;
}

}  // namespace tn

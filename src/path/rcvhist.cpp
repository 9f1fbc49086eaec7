#include "path/rcvhist.h"

#include <climits>
#include <cmath>

#include "geo/coordinates.h"
#include "io/clock.h"
#include "path/profile.h"
#include "results/detect.h"
#include "source/srcangles.h"

namespace tn {

namespace {

// Float to integer towards zero as the machine converts: out of range or not a number gives the
// most negative integer.
int machine_int(float v) {
    if (!(v > -2147483648.0f && v < 2147483648.0f)) return INT_MIN;
    return static_cast<int>(v);
}

// Nearest integer, halves away from zero, with the same conversion.
int machine_nint(float v) {
    if (!(v > -2147483648.0f && v < 2147483648.0f)) return INT_MIN;
    return static_cast<int>(std::lround(v));
}

// Larger of two values; a not-a-number first argument gives the second.
float larger(float a, float b) { return a > b ? a : b; }

// The float values nearest to -99.9 and +99.9: the marks of a point beyond the distance limit.
constexpr float kBeyondLevel = -99.9f;
constexpr float kBeyondGround = 99.9f;

}  // namespace

int tenths(float level) {
    const int v = machine_int(level * 10.0f);
    return v < -999 ? -999 : v;
}

void describe_receiver(const RcvCase& cs, const SITEREC& site, int Siteidx, ReceiverHead& head) {
    head.Siteidx = Siteidx;
    head.Name = site.Name;
    head.x = site.x;
    head.y = site.y;
    head.z = site.z;
    head.Utmzone = cs.Utmzone;
    UTMTOLL(cs.Utmzone, site.x, site.y, head.lon, head.lat);
    UTMTOUSER(*cs.ref, site.x, site.y, head.user_x, head.user_y);
    head.date = today();
    int* Ambrow = head.Ambrow;
    for (int c = 0; c < kRowColumns; ++c) Ambrow[c] = kMissingTenths;
    const int cls = site.Ambclass;
    Ambrow[1] = machine_int(cs.AMBLEVEL[cls - 1] * 10.0f);
    for (int k = 1; k <= 24; ++k) Ambrow[8 + k] = machine_int(cs.AMBSPEC[(cls - 1) * 24 + (k - 1)] * 10.0f);
}

void RCVHIST(const RcvCase& cs, const SITEREC& site, int Siteidx, float Tstart, RcvShared& shared, RcvWork& work,
             ReceiverHistory& out) {
    const int Nband = cs.Nband;
    work.size_for(Nband);
    float* Srcspec = work.Srcspec.data();
    float* Levtot = work.Levtot.data();
    float* Gterm = work.Gterm.data();
    float* Levfree = work.Levfree.data();

    describe_receiver(cs, site, Siteidx, out.head);
    out.computed = true;
    out.points.resize(static_cast<std::size_t>(cs.Npts > 0 ? cs.Npts : 0));
    const int* Ambrow = out.head.Ambrow;
    int Outrow[kRowColumns];
    for (int c = 0; c < kRowColumns; ++c) Outrow[c] = kMissingTenths;

    float wrcv[3] = {site.x, site.y, site.z};
    // Speed of sound from degrees Fahrenheit, metres per second.
    const float Cspeed = std::sqrt(cs.Tfahr + 459.0f) * 49.1f / 3.2808f;
    const int Bandoff = cs.Bandoff;

    // What the detectability takes from the site's ambient, from its tenths, once for all points.
    DETECTAMB amb;
    {
        float ambient[24];
        for (int k = 1; k <= 24; ++k) ambient[k - 1] = static_cast<float>(Ambrow[8 + k]) / 10.0f;
        DETECTPREP(ambient, amb);
    }

    const bool Ptsrc = cs.Npts > 0 && cs.Traj[0].Ptsrc;
    float Rref = 0.0f;
    float Rslant = 0.0f;

    for (int n = 1; n <= cs.Npts; ++n) {
        const TRAJPOINT& pt = cs.Traj[n - 1];
        const float hR = TERRZ(cs.path.terrain, site.x, site.y, *shared.kept_height);
        const float hS = TERRZ(cs.path.terrain, pt.x, pt.y, *shared.kept_height);
        float wsrc[3] = {pt.x, pt.y, larger(pt.z - hS, cs.Minagl)};

        // Range test on the geometric distance from the raw altitude.
        const float dx = pt.x - site.x;
        const float dy = pt.y - site.y;
        const float dz = pt.z - (site.z + hR);
        const float d = std::sqrt(dx * dx + dy * dy + dz * dz);

        HistoryPoint& row = out.points[static_cast<std::size_t>(n - 1)];
        float flat_ground, aw_ground;
        row.in_range = d < cs.Maxdist;
        if (row.in_range) {
            // Source selection.
            if (Ptsrc) *shared.Srcfile = pt.Srcname;
            const Name255& Srcfile = *shared.Srcfile;
            if (is_hemisphere_name(Srcfile)) {
                if (Ptsrc) {
                    const int moves = shared.srctable ? shared.srctable->folder_moves : 0;
                    *shared.current_hemi = &shared.hemispheres->load(Srcfile, moves);
                }
                const HEMIREC& hemi = **shared.current_hemi;
                float polar = 0.0f, azimuth = 0.0f, elevation = 0.0f;
                SRCANGLES(wsrc, wrcv, hS, hR, pt.Heading, pt.Climb, pt.Bank, Rslant, polar, azimuth, elevation);
                const float polar_deg = polar * 180.0f / 3.1415927f;
                INTERPONEHEMI(azimuth, polar_deg, Srcspec, Nband, hemi);
                Rref = hemi.Hrefdist;
            } else {
                // A ".hem" name never gets here: the set-up refuses such sources.
                if (!(pt.Srcname == "none")) {
                    if (!(pt.Srcname == Srcfile)) *shared.Reload = true;
                    *shared.Srcfile = pt.Srcname;
                }
                const SourceGeometry geom{wsrc, wrcv, hS, hR};
                SRCTABLE(geom, pt, *shared.Srcfile, Nband, *shared.Reload, Srcspec, Rref, Rslant, *shared.srctable);
                *shared.Reload = false;
            }

            for (int i = 0; i < Nband; ++i) Gterm[i] = 0.0f;
            PATHEFFECT(cs.path, wsrc, wrcv, Nband, cs.Freq, Gterm, *shared.kept_height, work.path);

            const float S = 20.0f * std::log10(Rref / Rslant);
            // The energy sums with ground, A-weighted (E1) and flat (E2). The free-field pair of
            // sums that goes with them reaches no result, and is not formed.
            float E1 = 0.0f, E2 = 0.0f;
            for (int i = 0; i < Nband; ++i) {
                Levfree[i] = (Srcspec[i] - cs.Absdb[i] * Rslant) + S;
                Levtot[i] = Levfree[i] + Gterm[i];
                E1 += std::pow(10.0f, (Levtot[i] + cs.Wgt[i]) * 0.1f);
                E2 += std::pow(10.0f, Levtot[i] * 0.1f);
            }
            aw_ground = 10.0f * std::log10(E1);
            flat_ground = 10.0f * std::log10(E2);
        } else {
            for (int i = 0; i < Nband; ++i) {
                Levtot[i] = kBeyondLevel;
                Levfree[i] = kBeyondLevel;
                Gterm[i] = kBeyondGround;
            }
            aw_ground = kBeyondLevel;
            flat_ground = kBeyondLevel;
            Rslant = d;
        }

        row.t = pt.Time + Rslant / Cspeed + Tstart;

        Outrow[0] = tenths(flat_ground);
        Outrow[1] = tenths(aw_ground);
        for (int i = 1; i <= Nband; ++i) Outrow[i + Bandoff] = tenths(Levtot[i - 1]);

        // Detectability over the site's ambient, from the truncated tenths of bands 17 to 40.
        int Kbest = 0;
        float Dbest = 0.0f, Dtotal = 0.0f;
        DETECTROW(&Outrow[9], amb, Kbest, Dbest, Dtotal);
        int M = machine_nint(10.0f * std::log10(Dtotal));
        if (M >= 9999) M = 9999;
        if (M <= -999) M = -999;

        for (int c = 0; c < kRowColumns; ++c) row.Outrow[c] = Outrow[c];
        row.M = M;
    }
}

void receiver_history(const RcvCase& cs, const SITEREC& site, int Siteidx, float Tstart, RcvShared& shared,
                      RcvWork& work, ReceiverHistory& out) {
    if (site.z > 0.0f) {
        RCVHIST(cs, site, Siteidx, Tstart, shared, work, out);
        return;
    }
    describe_receiver(cs, site, Siteidx, out.head);
    out.computed = false;
    out.points.clear();
}

}  // namespace tn

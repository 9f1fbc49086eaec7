#include "batch/setup.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>
#include <string>

#include "batch/aweight.h"
#include "environment/grid_file.h"
#include "environment/land_cover.h"
#include "environment/raster.h"
#include "io/binary_file.h"
#include "io/errors.h"
#include "io/files.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"
#include "path/absorption.h"
#include "path/nord_library.h"
#include "path/profile.h"
#include "results/bands.h"

namespace tn {

namespace {

// Most ambient classes a definition file may declare; far beyond any real use, it keeps a
// mistyped count from asking for all the memory of the machine.
constexpr int kMaxAmbientClasses = 1000000;
// Most trajectory points of a case: a trajectory of a point a second for more than a week, far
// beyond real use; it keeps a file of empty lines from asking for all the memory of the machine.
constexpr int kMaxTrajectoryPoints = 1000000;

void require_lattice(const GRIDHEAD& h, const Name255& file, const char* what) {
    if (h.NX < 2 || h.NY < 2) {
        throw file_error(file.str(), 0,
                         std::string(what) + " has " + std::to_string(h.NX) + " by " + std::to_string(h.NY) +
                             " nodes; a grid of at least 2 by 2 nodes is needed");
    }
}

}  // namespace

void READMAX(const Name255& Path, float& Maxdist, std::string* warning) {
    Maxdist = 18288.0f;
    if (!file_exists(Path.padded())) return;   // nothing to read: the default stands
    TextFile f(Path.str());
    for (;;) {
        FixedText<3> key;
        if (list_read(f, key) != IoStatus::Ok) return;
        if (key == "Max") break;
        if (f.skip(1) != IoStatus::Ok) return;   // the value line of another key
    }
    float value = Maxdist;
    const IoStatus st = list_read(f, value);
    if (st == IoStatus::Ok) Maxdist = value;
    if (!warning) return;
    // The value stands as read; a limit that leaves every point out of range, or none, is told.
    const std::string where = f.name() + ":" + std::to_string(f.record_number()) + ": the distance limit \"Max\" ";
    if (st == IoStatus::Error) {
        *warning = where + "cannot be read as a number; the default of 18288 metres is used";
    } else if (st == IoStatus::Ok && std::isnan(value)) {
        *warning = where + "is not a number: no distance is within it, so every level reads -999";
    } else if (st == IoStatus::Ok && value <= 0.0f) {
        char v[32];
        std::snprintf(v, sizeof v, "%g", static_cast<double>(value));
        *warning = where + "is " + v + " metres, not a positive distance: every level reads -999";
    } else if (st == IoStatus::Ok && std::isinf(value)) {
        *warning = where + "is infinite: no receiver or point is out of range";
    }
}

void check_ambient_class(const SITEREC& r, const CaseState& cs, const char* what) {
    if (r.Ambclass >= 1 && r.Ambclass <= cs.Nclass) return;
    throw file_error(cs.Classfile.str(), 0,
                     std::string(what) + r.Name.str() + "\" falls in ambient class " + std::to_string(r.Ambclass) +
                         "; the ambient file " + cs.Ambfile.str() + " defines classes 1 to " + std::to_string(cs.Nclass));
}

void read_control_file(Session& s) {
    CaseState& cs = s.cs;
    TextFile f(s.Ctlfile.str());
    static const char* const names[7] = {"the terrain file",   "the ground file",          "the receiver file",
                                         "the trajectory file", "the weather file",        "the Nord2000 parameter file",
                                         "the noise source"};
    Name255* fields[7] = {&cs.Terrfile, &cs.Gndfile, &cs.Sitefile, &cs.Trackfile,
                          &cs.Weatherfile, &cs.Nordfile, &cs.Srcfile};
    for (int k = 0; k < 7; ++k) {
        const std::string_view rec = f.record_or_fail(std::string(names[k]) + " on line " + std::to_string(k + 1) +
                                                      " (a control file has at least seven lines)");
        *fields[k] = read_name_columns(f, rec, names[k]);
    }
    // Lines 8 to 10 as far as the file goes.
    ListReader r(f);
    const IoStatus st = r.read(cs.read_and_kept.Ctlvalue);
    if (st == IoStatus::End) return;
    if (st == IoStatus::Error) r.fail("a number on line 8 of the control file");
    std::string_view rec;
    if (f.next_record(rec) != IoStatus::Ok) return;
    cs.Infofile = read_name_columns(f, rec, "the name on line 9");
    if (f.next_record(rec) != IoStatus::Ok) return;
    cs.Ambfile = read_name_columns(f, rec, "the ambient class definition");
}

void setup_ambient(Session& s) {
    CaseState& cs = s.cs;
    cs.AMBLEVEL.clear();
    cs.AMBSPEC.clear();
    if (!file_exists(cs.Ambfile.padded())) {
        cs.Nclass = 1;
        cs.AMBLEVEL.assign(1, -99.9f);
        cs.AMBSPEC.assign(kAmbientBands, -99.9f);
        return;
    }
    TextFile f(cs.Ambfile.str());
    const std::string_view first = f.record_or_fail("the name of the ambient class raster on line 1");
    // The raster stands in the definition's folder.
    const std::string amb = cs.Ambfile.str();
    const std::size_t slash = amb.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string() : amb.substr(0, slash + 1);
    const std::string raster = read_name_columns(f, first, "the ambient class raster");
    if (folder.size() + raster.size() > 255) {
        throw file_error(f.name(), 1,
                         "the ambient class raster: with the definition's folder in front the name has " +
                             std::to_string(folder.size() + raster.size()) + " characters; it does not fit in 255");
    }
    cs.Classfile = folder + raster;

    list_read_or_fail(f, "the number of ambient classes", cs.Nclass);
    if (cs.Nclass < 1 || cs.Nclass > kMaxAmbientClasses) {
        throw file_error(f.name(), f.record_number(),
                         "the number of ambient classes is " + std::to_string(cs.Nclass) + "; at least 1 is needed");
    }
    for (int c = 1; c <= cs.Nclass; ++c) {
        ListReader r(f);
        std::string name;
        float level = 0.0f;
        float bands[kAmbientBands] = {};
        IoStatus st = r.read(name);
        if (st == IoStatus::Ok) st = r.read(level);
        for (int k = 0; k < kAmbientBands && st == IoStatus::Ok; ++k) st = r.read(bands[k]);
        if (st != IoStatus::Ok) {
            r.fail("ambient class " + std::to_string(c) + ": a name, the A-weighted level and 24 band levels");
        }
        cs.AMBLEVEL.push_back(level);
        cs.AMBSPEC.insert(cs.AMBSPEC.end(), bands, bands + kAmbientBands);
    }
}

void setup_source(Session& s) {
    CaseState& cs = s.cs;
    if (is_hemisphere_name(cs.Srcfile)) {
        LOADONEHEMI(cs.Srcfile, cs.Hemi, 255);
        cs.Nband = cs.Hemi.Nfreq > 0 ? cs.Hemi.Nfreq : 0;
        if (cs.Hemi.Hfreq_held) cs.Freq.assign(cs.Hemi.Hfreq.begin(), cs.Hemi.Hfreq.begin() + cs.Nband);
        else cs.Freq.clear();
        cs.Minagl = 10.0f;
    } else if (cs.Srcfile.contains(".hem")) {
        throw file_error(cs.Srcfile.str(), 0,
                         "a \".hem\" hemisphere cannot be evaluated: give the source as a \".nc\" hemisphere or a "
                         "source list");
    } else {
        SourceListHead head = read_source_list_head(cs.Srcfile);
        cs.Nband = head.Nband;
        cs.Freq = std::move(head.Freq);
        cs.Minagl = head.Minagl_feet;
    }
    cs.Absdb.assign(static_cast<std::size_t>(cs.Nband), 0.0f);
    cs.Wgt.assign(static_cast<std::size_t>(cs.Nband), 0.0f);
    // Feet to metres, in all cases.
    cs.Minagl = cs.Minagl / 3.2808f;

    if (cs.Nband > 32) {
        throw file_error(cs.Srcfile.str(), 0,
                         "the source has " + std::to_string(cs.Nband) + " bands; a run has room for 32 at most");
    }
    if (cs.Nband > 0) {
        const int off = band_offset(cs.Nband, cs.Freq.data());
        if (off + cs.Nband - 1 > 32) {
            throw file_error(cs.Srcfile.str(), 0,
                             "the " + std::to_string(cs.Nband) + " bands from " + std::to_string(cs.Freq[0]) +
                                 " Hz run beyond the last band of the result files (12500 Hz)");
        }
    }
}

void setup_terrain(Session& s) {
    CaseState& cs = s.cs;
    if (cs.Terrfile.contains(".flt")) {
        Name255 Siteerr("none");
        std::size_t nodata = 0;
        FloatGrid rows;   // the raster's rows as the file holds them, for the reading only
        READFLT(cs.Terrfile, Siteerr, cs.Utmzone, cs.Terrhead, cs.Elev, rows, cs.Xnode, cs.Ynode, nodata);
        if (nodata > 0) s.console.line(nodata_warning(cs.Terrfile, nodata));
        require_lattice(cs.Terrhead, cs.Terrfile, "the terrain raster");
        return;
    }
    BinaryFile unit(cs.Terrfile.str());
    bool Gridok = false;
    GRIDSCAN(cs.Terrhead, Gridok, unit);
    if (!Gridok) {
        throw file_error(cs.Terrfile.str(), 0,
                         "the terrain grid has no accepted version record (\"TITL\" with \"GridVers\" 1 0 ahead of "
                         "its dimensions); its heights cannot be read");
    }
    require_lattice(cs.Terrhead, cs.Terrfile, "the terrain grid");
    cs.Elev.allocate(cs.Terrhead.NX, cs.Terrhead.NY);
    cs.Xnode.allocate(cs.Terrhead.NX, cs.Terrhead.NY);
    cs.Ynode.allocate(cs.Terrhead.NX, cs.Terrhead.NY);
    unit.rewind();
    // The title words and the corners are read as the file's layout requires; no run uses them.
    std::string title;
    int ntitle = 0;
    float corners[8] = {};
    bool cornermark = false;
    READGRID(title, ntitle, cs.Utmzone, cs.Elev, cs.Xnode, cs.Ynode, "ZALT", corners, cornermark, unit, cs.Terrhead,
             cs.Gridref);
    unit.close();
}

void setup_ground(Session& s) {
    CaseState& cs = s.cs;
    if (!file_exists(cs.Gndfile.padded())) {
        // No ground file: the terrain's layout, and water where the terrain is 5 metres or lower.
        cs.Flowhead = cs.Terrhead;
        try {
            cs.Flowz.allocate(cs.Flowhead.NX, cs.Flowhead.NY);
            cs.Flowx = cs.Xnode;
            cs.Flowy = cs.Ynode;
        } catch (const std::bad_alloc&) {
            throw RunError("out of memory for the ground grid of " + std::to_string(cs.Flowhead.NX) + " by " +
                               std::to_string(cs.Flowhead.NY) + " nodes",
                           "Error allocating flow grid!");
        }
        for (int j = 1; j <= cs.Flowhead.NY; ++j) {
            for (int i = 1; i <= cs.Flowhead.NX; ++i) {
                cs.Flowz(i, j) = cs.Elev(i, j) <= 5.0f ? 1000000.0f : 200.0f;
            }
        }
        return;
    }
    if (cs.Gndfile.contains(".imp")) {
        BinaryFile unit(cs.Gndfile.str());
        bool Gridok = false;
        GRIDSCAN(cs.Flowhead, Gridok, unit);   // read whatever the version record says
        require_lattice(cs.Flowhead, cs.Gndfile, "the ground grid");
        cs.Flowz.allocate(cs.Flowhead.NX, cs.Flowhead.NY);
        cs.Flowx.allocate(cs.Flowhead.NX, cs.Flowhead.NY);
        cs.Flowy.allocate(cs.Flowhead.NX, cs.Flowhead.NY);
        unit.rewind();
        // The ground grid sets the run's zone, as every grid read does (0 without a "UTMZ" record);
        // its reference record is its own: the terrain's stands.
        std::string title;
        int ntitle = 0;
        float corners[8] = {};
        bool cornermark = false;
        GRIDREF flowref;
        const int terrain_zone = cs.Utmzone;
        READGRID(title, ntitle, cs.Utmzone, cs.Flowz, cs.Flowx, cs.Flowy, "FLOW", corners, cornermark, unit,
                 cs.Flowhead, flowref);
        if (cs.Utmzone != terrain_zone) {
            warn(s, cs.Gndfile.str() + ": the ground grid leaves the run in UTM zone " + std::to_string(cs.Utmzone) +
                        (cs.Utmzone == 0 ? " (it has no \"UTMZ\" record)" : "") + " where the terrain " +
                        cs.Terrfile.str() + " has zone " + std::to_string(terrain_zone) +
                        "; the receivers and the result headers use zone " + std::to_string(cs.Utmzone));
        }
        return;
    }
    if (cs.Gndfile.contains(".flt")) {
        READCOVER(cs.Gndfile, s.Exedir.trimmed(), cs.Utmzone, cs.Flowhead, cs.Flowz, cs.Flowx, cs.Flowy);
        require_lattice(cs.Flowhead, cs.Gndfile, "the land cover raster");
        return;
    }
    throw file_error(cs.Gndfile.str(), 0,
                     "the ground file is neither a \".imp\" ground grid nor a \".flt\" land cover raster; name \"-\" "
                     "for the default ground");
}

void setup_sites(Session& s) {
    CaseState& cs = s.cs;
    auto reference = [&cs] {
        cs.Nsites = 1;
        SITEREC& r = cs.Sites[0];
        r = SITEREC{};
        r.x = cs.Gridref.Xuser;
        r.y = cs.Gridref.Yuser;
        r.z = 1.2192f;
        r.Name = "Reference_Point";
    };
    if (!file_exists(cs.Sitefile.padded())) {
        reference();
    } else {
        Name255 Siteerr("none");
        float boundx[kMaxBounds] = {}, boundy[kMaxBounds] = {};   // read as the layout requires, not used
        int nbound = 0;
        READSITES(cs.Sites, cs.Sitefile, cs.Nsites, boundx, boundy, nbound, cs.Utmzone, Siteerr);
        if (!(Siteerr == "none")) reference();   // given up silently
    }
    for (int k = 0; k < cs.Nsites; ++k) {
        SITEREC& site = cs.Sites[static_cast<std::size_t>(k)];
        site.Ambclass = cs.Nclass < 2 ? 1 : AMBLOOK(site.x, site.y, cs.Utmzone, cs.Classfile, s.kept.ambient);
        check_ambient_class(site, cs, "receiver \"");
    }
}

void setup_trajectory(Session& s) {
    CaseState& cs = s.cs;
    cs.Npts = 0;
    cs.Traj.clear();
    bool read = false;
    if (file_exists(cs.Trackfile.padded())) {
        TextFile unit(cs.Trackfile.str());
        std::string_view first;
        if (unit.next_record(first) == IoStatus::Ok && padded_equal(field(first, 1, 12), "Flight track")) {
            unit.skip_or_fail(15, "the 16 head lines of the trajectory");
            std::string_view rec;
            while (unit.next_record(rec) == IoStatus::Ok) ++cs.Npts;
            if (cs.Npts > kMaxTrajectoryPoints) {
                throw file_error(cs.Trackfile.str(), 0,
                                 "the trajectory has " + std::to_string(cs.Npts) + " point lines; at most " +
                                     std::to_string(kMaxTrajectoryPoints) + " fit one case");
            }
            unit.rewind();
            cs.Traj.assign(static_cast<std::size_t>(cs.Npts), TRAJPOINT{});
            READTRAJ(cs.Tfahr, cs.Rh, cs.Npts, cs.Traj, cs.Gridref.Xuser, cs.Gridref.Yuser, unit);
            read = true;
        }
    }
    if (!read) {
        throw file_error(cs.Trackfile.str(), 0,
                         file_exists(cs.Trackfile.padded())
                             ? "the trajectory file does not begin with \"Flight track\"; a case needs a trajectory"
                             : "the trajectory file does not exist; a case needs a trajectory");
    }
    // Sources named per point: a ".hem" name has no evaluator.
    if (cs.Npts > 0 && cs.Traj[0].Ptsrc) {
        for (int n = 0; n < cs.Npts; ++n) {
            const Name255& name = cs.Traj[static_cast<std::size_t>(n)].Srcname;
            if (!is_hemisphere_name(name) && name.contains(".hem")) {
                throw file_error(cs.Trackfile.str(), 17 + n,
                                 "point " + std::to_string(n + 1) + " names the \".hem\" source " + name.str() +
                                     ", which cannot be evaluated");
            }
        }
    }
}

void setup_weather(Session& s) {
    CaseState& cs = s.cs;
    cs.Usenord = false;
    if (!file_exists(cs.Weatherfile.padded())) return;
    cs.Usenord = true;
    READWX(cs.Weatherfile, cs.Wx);
    if (cs.Wx.Wxsingle) {
        cs.Tfahr = cs.Wx.param.Tempc * 1.8f + 32.0f;
        cs.Rh = cs.Wx.param.Relh;
    } else {
        if (cs.Wx.Wxcount < 1) {
            throw file_error(cs.Weatherfile.str(), 8,
                             "the weather profile has no levels: its first level line has a blank label");
        }
        // Deliberately unconverted: the level's Celsius temperature goes on as if Fahrenheit.
        cs.Tfahr = cs.Wx.levels[0].Temp;
        cs.Rh = cs.Wx.levels[0].Relhum;
    }
}

void setup_nord_parameters(Session& s) {
    CaseState& cs = s.cs;
    if (!file_exists(cs.Nordfile.padded())) {
        cs.Nordpar1 = 0.0;
        return;
    }
    TextFile f(cs.Nordfile.str());
    f.skip_or_fail(1, "the head line of the Nord2000 parameter file");
    double* pars[3] = {&cs.Nordpar1, &cs.Nordpar2, &cs.Nordpar3};
    for (int k = 0; k < 3; ++k) {
        const std::string_view rec = f.record_or_fail("Nord2000 parameter " + std::to_string(k + 1));
        StringRecord value(f.name(), field(rec, 23, 255), f.record_number());
        list_read_or_fail(value, "Nord2000 parameter " + std::to_string(k + 1) + " from column 23", *pars[k]);
    }
}

void CASESETUP(Session& s) {
    CaseState& cs = s.cs;
    read_control_file(s);
    setup_ambient(s);
    setup_source(s);
    setup_terrain(s);
    setup_ground(s);
    setup_sites(s);
    setup_trajectory(s);
    setup_weather(s);
    if (cs.Nband > 0) ATMABS(cs.Pressure, cs.Tfahr, cs.Rh, cs.Nband, cs.Freq.data(), cs.Absdb.data());
    std::string distance_warning;
    READMAX(s.Dirfile, cs.Maxdist, &distance_warning);
    if (!distance_warning.empty()) warn(s, distance_warning);
    for (int i = 0; i < cs.Nband; ++i) cs.Wgt[static_cast<std::size_t>(i)] = AWEIGHT(cs.Freq[static_cast<std::size_t>(i)]);
    setup_nord_parameters(s);

    // The path model of the case; a weather file needs its library before any result is written.
    s.model = PathModel{};
    s.model.Usenord = cs.Usenord;
    s.model.wx = &cs.Wx;
    s.model.Nordpar1 = cs.Nordpar1;
    s.model.Nordpar2 = cs.Nordpar2;
    s.model.Nordpar3 = cs.Nordpar3;
    if (cs.Usenord) {
        s.nord = load_nord_library(s.Exedir.str(), cs.Weatherfile.str());
        s.model.nord = s.nord.get();
    }
    s.current_hemi = &cs.Hemi;
    cs.terrain_lattice = nodes_on_lattice(cs.Terrhead, cs.Xnode, cs.Ynode);
    cs.ground_lattice = nodes_on_lattice(cs.Flowhead, cs.Flowx, cs.Flowy);
}

}  // namespace tn

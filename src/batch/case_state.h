// The case: everything that does not depend on which receivers are run.
//
// One instance, owned by the set-up of `open` and read by the runs. Grids are indexed (i, j) from 1
// with i running along x. Values that live from call to call for the whole process (the kept
// terrain height, the loaded source tables, the ambient class raster, the loaded hemispheres) stand
// in `Kept`, named for what they are.
#pragma once

#include <vector>

#include "geo/grid.h"
#include "environment/sites.h"
#include "environment/weather.h"
#include "io/fixed_text.h"
#include "source/hemisphere.h"
#include "source/srctable.h"
#include "source/trajectory.h"

namespace tn {

// Ambient spectra cover 24 bands, band numbers 17 to 40.
inline constexpr int kAmbientBands = 24;

struct CaseState {
    // Control file, lines 1 to 10. "-" in the first column is the program's mark of an empty entry.
    Name255 Terrfile{"-"};
    Name255 Gndfile{"-"};
    Name255 Sitefile{"-"};
    Name255 Trackfile{"-"};
    Name255 Weatherfile{"-"};
    Name255 Nordfile{"-"};
    Name255 Srcfile;
    Name255 Infofile{"-"};
    Name255 Ambfile{"-"};

    // Read from the files, as their layouts require, and kept; nothing in a run uses them.
    struct ReadAndKept {
        float Ctlvalue = 30.4804f;   // control file line 8: 100 feet in metres
    } read_and_kept;

    // Bands of the case.
    int Nband = 0;
    std::vector<float> Freq;    // Hz
    std::vector<float> Absdb;   // dB per metre
    std::vector<float> Wgt;     // A-weighting, dB

    float Minagl = 0.0f;                 // lowest source height above ground, metres
    static constexpr float Pressure = 101.325f;   // kPa, never changed
    float Tfahr = 0.0f;   // degrees Fahrenheit by contract
    float Rh = 0.0f;      // per cent
    float Maxdist = 18288.0f;
    int Utmzone = 0;

    // Terrain.
    GRIDHEAD Terrhead;
    FloatGrid Elev, Xnode, Ynode;
    GRIDREF Gridref;      // the terrain grid's reference data and the user's frame

    // Ground.
    GRIDHEAD Flowhead;
    FloatGrid Flowz, Flowx, Flowy;

    // Receivers of a site run.
    int Nsites = 0;
    std::vector<SITEREC> Sites = std::vector<SITEREC>(kMaxSites);

    // Trajectory.
    int Npts = 0;
    std::vector<TRAJPOINT> Traj;

    // Ambient classes.
    int Nclass = 1;
    Name255 Classfile;
    std::vector<float> AMBLEVEL;   // dB, per class
    std::vector<float> AMBSPEC;    // dB, 24 per class: AMBSPEC[(class - 1) * 24 + (k - 1)]
    float ambspec(int k, int cls) const { return AMBSPEC[static_cast<std::size_t>((cls - 1) * kAmbientBands + (k - 1))]; }

    // Weather and the model switch.
    bool Usenord = false;
    WeatherState Wx;
    double Nordpar1 = 0.0;
    double Nordpar2 = 0.0;
    double Nordpar3 = 0.0;

    // Hemisphere source of the set-up.
    HEMIREC Hemi;

    // Nodes of the grids stand exactly on their lattices (set at the end of the set-up).
    bool terrain_lattice = false;
    bool ground_lattice = false;

    GridView terrain() const { return GridView{&Terrhead, &Elev, &Xnode, &Ynode, terrain_lattice}; }
    GridView ground() const { return GridView{&Flowhead, &Flowz, &Flowx, &Flowy, ground_lattice}; }
};

// Values that live from call to call for the whole process.
struct Kept {
    float terrz_height = 0.0f;   // last good terrain height of the point lookups
    SrcTableState srctable;      // loaded source tables
    AmbientRaster ambient;       // ambient class raster, read on first use
    HemisphereCache hemispheres; // loaded hemispheres, by file name
};

}  // namespace tn

// Propagation-model dispatch: the per-band effect of ground, terrain and (with a weather file)
// atmosphere on one source-receiver path, relative to free field.
#pragma once

#include "geo/grid.h"
#include "environment/weather.h"
#include "ground/grndprop.h"
#include "ground/profpt.h"

namespace tn {

class NordLibrary;

// What decides the model of a case, and what the weather branch hands on.
struct PathModel {
    bool Usenord = false;                 // a weather file is in force
    const WeatherState* wx = nullptr;     // its data
    double Nordpar1 = 0.0;
    double Nordpar2 = 0.0;
    double Nordpar3 = 0.0;
    const NordLibrary* nord = nullptr;    // the loaded library entry, with a weather file
};

// The grids and the model of a case, as a path reads them.
struct PathCase {
    GridView terrain;
    GridView ground;
    PathModel model;
};

// Per-thread working storage of a path: the two sections and the ground model's storage.
struct PathWork {
    PROFPT Terr[kProfileSamples];
    PROFPT Gsec[kProfileSamples];
    GrndWork grnd;
};

// Samples the terrain section (TERRZ, with the kept height) and the ground section (GNDVAL) of the
// path between the working source and receiver (x, y, height above ground), kProfileSamples each,
// then fills Gterm (arriving zeroed) with the in-house model GRNDPROP in rigorous mode, or, with a
// weather file, by way of the library entry CALLNORD.
void PATHEFFECT(const PathCase& pc, const float src[3], const float rcv[3], int Nband, const float* Freq,
                float* Gterm, float& kept_height, PathWork& work);

}  // namespace tn

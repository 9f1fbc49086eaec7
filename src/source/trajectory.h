// The trajectory of the moving source.
#pragma once

#include "io/fixed_text.h"

namespace tn {

// One point of the trajectory. Positions in metres in the run's UTM frame; z is the altitude above
// the terrain's datum. Angles in degrees; Heading is a compass heading (0 along +y, 90 along +x).
struct TRAJPOINT {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    float Time = 0.0f;
    float Heading = 0.0f;
    float Climb = 0.0f;
    float Speed = 0.0f;
    float Power = 0.0f;
    float Bank = 0.0f;
    Name255 Srcname{"none"};
    bool Ptsrc = false;   // meaningful on the first record only: a source is named on every point
};

}  // namespace tn

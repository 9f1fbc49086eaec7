// Receivers.
#pragma once

#include "io/fixed_text.h"

namespace tn {

// One receiver: UTM x, y in metres, z the height above the ground in metres. A receiver whose z
// is not above 0.0 is passed over by the runs.
struct SITEREC {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    SiteName Name;
    int Ambclass = 1;
};

}  // namespace tn

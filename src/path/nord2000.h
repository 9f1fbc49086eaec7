// The Nord2000 branch of the path dispatch: the atmosphere values of a path and the call of the
// library entry CALLNORD.
#pragma once

#include "path/dispatch.h"

namespace tn {

// Fills Gterm for one path through CALLNORD, from the two sections and the weather of the case.
void nord_path_effect(int n, const float src[3], const float rcv[3], int Nband, const float* Freq, float* Gterm,
                      const PROFPT* Terr, const PROFPT* Gsec, const PathModel& model);

}  // namespace tn

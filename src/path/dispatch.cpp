#include "path/dispatch.h"

#include "path/nord2000.h"
#include "path/profile.h"

namespace tn {

void PATHEFFECT(const PathCase& pc, const float src[3], const float rcv[3], int Nband, const float* Freq,
                float* Gterm, float& kept_height, PathWork& work) {
    constexpr int n = kProfileSamples;
    TERRPROF(pc.terrain, src, rcv, work.Terr, n, 0, kept_height);
    // The ground section takes the terrain section's count.
    TERRPROF(pc.ground, src, rcv, work.Gsec, n, 1, kept_height);
    if (!pc.model.Usenord) {
        const GroundSection path{src, rcv, work.Terr, n, work.Gsec, n, src[2], rcv[2]};
        GroundLevels levels;
        levels.Gterm = Gterm;
        GRNDPROP(path, 'R', Nband, Freq, levels, work.grnd);
        return;
    }
    nord_path_effect(n, src, rcv, Nband, Freq, Gterm, work.Terr, work.Gsec, pc.model);
}

}  // namespace tn

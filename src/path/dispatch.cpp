#include "path/dispatch.h"

#include "path/nord2000.h"
#include "path/profile.h"

namespace tn {

void PATHEFFECT(int Nterrpts, const float src[3], const float rcv[3], int Ngndpts, float src_altitude,
                float rcv_height, int Nband, const float* Freq, float* Gterm, int& PathClass, int& NHard,
                float Minagl, const GridView& terrain, const GridView& ground, float& kept_height,
                const PathModel& model, PathWork& work) {
    (void)src_altitude;
    (void)rcv_height;
    (void)Minagl;
    (void)Ngndpts;
    TERRPROF(terrain, src, rcv, work.Terr, Nterrpts, 0, kept_height);
    // The ground section takes the terrain section's count.
    TERRPROF(ground, src, rcv, work.Gsec, Nterrpts, 1, kept_height);
    if (!model.Usenord) {
        float scratch = 0.0f;
        GRNDPROP(src, rcv, work.Terr, Nterrpts, work.Gsec, Nterrpts, src[2], rcv[2], 'R', scratch, Gterm,
                 Nband, Freq, PathClass, NHard, work.grnd);
        return;
    }
    nord_path_effect(Nterrpts, src, rcv, Nband, Freq, Gterm, work.Terr, work.Gsec, model);
}

}  // namespace tn

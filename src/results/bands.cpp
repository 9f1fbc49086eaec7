#include "results/bands.h"

namespace tn {

int band_offset(int Nband, const float* Freq) {
    if (Nband < 1) return 1;
    for (int p = 1; p <= 32; ++p) {
        if (BANDTAB[p - 1] == Freq[0]) return p;
    }
    return 1;
}

}  // namespace tn

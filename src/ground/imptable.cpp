#include "ground/imptable.h"

#include <bit>
#include <complex>

#include "ground/impedance.h"

namespace tn {
namespace {

IMPTAB::Slot& find(IMPTAB& t, float sigma) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(sigma);
    IMPTAB::Slot* victim = &t.slot[0];
    for (IMPTAB::Slot& s : t.slot) {
        if ((s.single || s.dbl) && s.sigma_bits == bits) {
            s.used = ++t.clock;
            return s;
        }
        if (s.used < victim->used) victim = &s;
    }
    victim->sigma_bits = bits;
    victim->single = victim->dbl = false;
    victim->used = ++t.clock;
    return *victim;
}

}  // namespace

void IMPTABBANDS(IMPTAB& t, int Nband, const float* Freq) {
    bool same = Nband == t.Nband;
    for (int j = 0; same && j < Nband; ++j) same = std::bit_cast<std::uint32_t>(Freq[j]) == std::bit_cast<std::uint32_t>(t.Freq[j]);
    if (same) return;
    t.Nband = Nband;
    for (int j = 0; j < Nband; ++j) t.Freq[j] = Freq[j];
    for (IMPTAB::Slot& s : t.slot) {
        s.single = s.dbl = false;
        s.used = 0;
    }
}

const SPHZ* IMPTABSINGLE(IMPTAB& t, float sigma) {
    IMPTAB::Slot& s = find(t, sigma);
    if (!s.single) {
        for (int j = 0; j < t.Nband; ++j) {
            std::complex<float> Z;
            IMPED(t.Freq[j], sigma, Z);
            SPHZPREP(Z, s.z[j]);
        }
        s.single = true;
    }
    return s.z;
}

const SPHZD* IMPTABDOUBLE(IMPTAB& t, float sigma) {
    IMPTAB::Slot& s = find(t, sigma);
    if (!s.dbl) {
        for (int j = 0; j < t.Nband; ++j) {
            std::complex<double> Z;
            IMPEDD(t.Freq[j], sigma, Z);
            SPHZDPREP(Z, s.zd[j]);
        }
        s.dbl = true;
    }
    return s.zd;
}

}  // namespace tn

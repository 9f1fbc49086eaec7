// Detectability of a signal in an ambient: a per-band signal-detection index over the 24
// one-third-octave bands with band numbers 17 to 40 (50 Hz to 10 kHz), and its root-sum-square.
//
// Each band's index is gain * S / (N + Floor): S and N the signal and ambient energies, the gain an
// ear's band efficiency times the square root of an effective bandwidth that depends on the
// ambient's level per hertz, and Floor the ear's internal noise in that band, set so that a signal
// at the hearing threshold in a quiet band has the index 1.75. All tables are the program's
// constants (detect.cpp); all arithmetic is single precision.
#pragma once

namespace tn {

// One (x, y) node of a piecewise-linear table.
struct XYPAIR {
    float x = 0.0f;
    float y = 0.0f;
};

// Piecewise-linear lookup over pairs[0 .. n-1], whose x ascend. n below 1 gives 0.0; x at or below
// the first x gives the first y (no extrapolation below the table). Deliberate: an x above every x
// in use gives the y of pairs[n], the first unused pair, not the last value; the band gain's drop
// at very loud ambients depends on it. So `pairs` must hold n + 1 entries.
float TABLOOK(float x, const XYPAIR* pairs, int n);

// Energy ratio of band k (1 .. 24, band number k + 16) for an ambient level `level` in dB:
// 10^((Eff + 0.5 y) / 10), y the 10 log10 bandwidth looked up at the level per hertz and held
// between the band's one-third-octave width and a wider limit.
float BANDGAIN(int k, float level);

// signal[0 .. 23] and ambient[0 .. 23]: band levels in dB of band numbers 17 .. 40. Gives Kbest,
// the band (1 .. 24) of the largest index, 0 only if every index is 0; Dbest, that index; Dtotal,
// the root-sum-square of all 24 indices. A tie goes to the lowest band. The internal-noise floor is
// computed on first use, once per process (thread-safe), and is constant after that.
void DETECT(const float* signal, const float* ambient, int& Kbest, float& Dbest, float& Dtotal);

// DETECT split for a receiver's history, whose ambient stays while its signal changes from point to
// point. DETECTPREP works out once what depends on the ambient alone: per band the gain
// BANDGAIN(k, ambient) and the noise 10^(ambient/10) + Floor. DETECTROW then takes the signal as the
// row's integer tenths of a dB (signal = tenths / 10, as the history forms it) and gives bit for bit
// DETECT's results for that signal and ambient: the same operations in the same order, with the
// signal energies of -999 to 2000 tenths looked up in a table of the same powers, worked out once
// per process.
struct DETECTAMB {
    float gain[24];
    float noise[24];
};
void DETECTPREP(const float* ambient, DETECTAMB& a);
void DETECTROW(const int* tenths, const DETECTAMB& a, int& Kbest, float& Dbest, float& Dtotal);

}  // namespace tn

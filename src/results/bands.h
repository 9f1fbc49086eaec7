// The one-third-octave bands of the result files.
#pragma once

namespace tn {

// The 32 nominal one-third-octave centre frequencies, 10 Hz to 12500 Hz. Position p (from 1) is
// band number p + 9 on the rulers of the result files.
inline constexpr float BANDTAB[32] = {10.0f,   12.5f,   16.0f,   20.0f,   25.0f,   31.5f,   40.0f,   50.0f,
                                      63.0f,   80.0f,   100.0f,  125.0f,  160.0f,  200.0f,  250.0f,  315.0f,
                                      400.0f,  500.0f,  630.0f,  800.0f,  1000.0f, 1250.0f, 1600.0f, 2000.0f,
                                      2500.0f, 3150.0f, 4000.0f, 5000.0f, 6300.0f, 8000.0f, 10000.0f, 12500.0f};

// Ruler number of BANDTAB position p.
inline constexpr int kFirstBandNumber = 10;

// Band position (from 1) of a run's first frequency: the first position of BANDTAB whose value
// equals Freq[0] exactly (float equality), or 1 when none does or the run has no band. The run's
// Nband bands then fill positions Bandoff .. Bandoff + Nband - 1, whatever their true frequencies.
int band_offset(int Nband, const float* Freq);

}  // namespace tn

// A-weighting of a frequency.
#pragma once

namespace tn {

// A-weighting in dB of frequency f (Hz), the frequency-weighting A of IEC 61672-1:
//   10 log10( C1 C2 f^8 / ((f^2 + p1^2)^2 (f^2 + p2^2) (f^2 + p3^2) (f^2 + p4^2)^2) ),
// evaluated in double precision with f widened, poles p1 .. p4 = 20.598997, 107.65265, 737.86224,
// 12194.220 Hz (the standard's values as single-precision floats), and C1 = 2.242881099346739e16,
// C2 = 1.562338948249817, the program's constants (10 log10(C1 C2 / p4^4) = 1.9997 dB, the
// standard's normalisation, so that 1000 Hz gives practically 0 dB); the result is rounded to single
// precision. Against the standard's table (exact base-ten midband frequencies, 10 Hz to 20 kHz)
// it is within its 0.05 dB rounding.
float AWEIGHT(float f);

}  // namespace tn

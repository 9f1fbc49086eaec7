// A-weighting of a frequency.
#pragma once

namespace tn {

// A-weighting in dB of frequency f (Hz), the frequency-weighting A of IEC 61672-1:
//   10 log10( C1 C2 f^8 / ((f^2 + p1^2)^2 (f^2 + p2^2) (f^2 + p3^2) (f^2 + p4^2)^2) ),
// evaluated in double precision with f widened, poles p1 .. p4 = 20.598997, 107.65265, 737.86224,
// 12194.220 Hz (the standard's values as single-precision floats), C1 = p4^4 and C2 the
// normalisation that gives practically 0 dB at 1000 Hz; the result is rounded to single
// precision. Against the standard's table (exact base-ten midband frequencies, 10 Hz to 20 kHz)
// it is within its 0.05 dB rounding.
float AWEIGHT(float f);

}  // namespace tn

// Normalised ground impedance from flow resistivity.
//
// Delany and Bazley's empirical fit for porous ground (Z = 1 + 9.08 (f/sigma)^-0.75 + ...), written
// in powers of q = sigma/f as the model uses it:
//     Z = (1 + 9.08 q^0.75) +/- i 11.9 q^0.73
// f in Hz, sigma the effective flow resistivity of the ground data in kPa s/m^2 (cgs rayls; 200 is
// grass, 1e6 is the value the model gives hard ground); Z is dimensionless, normalised by the
// characteristic impedance of air.
//
// Two conventions live side by side and are not to be merged:
//   IMPED   32-bit, phase exp(+i k r): imaginary part positive (used by the hill and valley models);
//   IMPEDD  64-bit, phase exp(-i k r): imaginary part negative (used by the flat model only).
// The two are complex conjugates of one another up to the width of the arithmetic.
#pragma once

#include <complex>

namespace tn {

void IMPED(float f, float sigma, std::complex<float>& Z);
void IMPEDD(double f, double sigma, std::complex<double>& Z);

}  // namespace tn

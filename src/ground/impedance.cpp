#include "ground/impedance.h"

#include <cmath>

namespace tn {

void IMPED(float f, float sigma, std::complex<float>& Z) {
    const float q = sigma / f;
    Z = {1.0f + 9.08f * std::pow(q, 0.75f),   // Delany and Bazley, resistive part
         11.9f * std::pow(q, 0.73f)};         // reactive part, exp(+i k r) convention
}

void IMPEDD(double f, double sigma, std::complex<double>& Z) {
    const double q = sigma / f;
    Z = {1.0 + 9.08 * std::pow(q, 0.75),
         -(11.9 * std::pow(q, 0.73))};        // exp(-i k r) convention: the conjugate
}

}  // namespace tn

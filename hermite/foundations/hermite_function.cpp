#include "hermite/foundations/hermite_function.h"

#include <cmath>

namespace QXHermiteMath {

double tgamma_i(unsigned int n) {
  if (n < 3) return 1.0;
  double product = 1.0;
  for (unsigned int k = n - 1; k >= 2; --k) product *= static_cast<double>(k);
  return product;
}

double QXHermiteFunc(unsigned int n, double x) {
  double sum = 0.0;
  for (unsigned int k = 0; k <= n / 2; ++k) {
    const unsigned int power = n - 2 * k;
    double term = std::pow(-1.0, k);
    // Leaving the power out at 0 keeps x = 0 from asking for 0 to the 0.
    if (power != 0) term *= std::pow(x + x, power);
    sum += term / (tgamma_i(power + 1) * tgamma_i(k + 1));
  }
  return std::exp(x * x * -0.5) * sum * tgamma_i(n + 1);
}

bool QXCalcNormalizedHermite(unsigned int n, double x, double* out) {
  out[0] = std::exp(x * x * -0.5) * 0.7511255444649425;
  if (n == 0) return true;
  out[1] = 1.4142135623730951 * x * out[0];
  for (unsigned int i = 1; i < n; ++i) {
    const double q = 1.0 / (i + 1);
    out[i + 1] = out[i] * x * std::sqrt(q + q) - std::sqrt(i * q) * out[i - 1];
  }
  return true;
}

bool QXCalcDoubleNormalizedHermite(unsigned int n, double x, double* out) {
  out[0] = std::exp(x * x * -0.5) * 0.5641895835477563;
  if (n == 0) return true;
  out[1] = out[0] * x;
  for (unsigned int i = 1; i < n; ++i) out[i + 1] = (out[i] * x - 0.5 * out[i - 1]) / (i + 1);
  return true;
}

}  // namespace QXHermiteMath

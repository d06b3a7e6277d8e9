#include "hermite/foundations/hermite_function.h"

#include <cmath>

namespace QXHermiteMath {

double tgamma_i(unsigned int n) {
  if (n < 3) return 1.0;
  double product = 1.0;
  for (unsigned int k = n - 1; k >= 2; --k) product *= static_cast<double>(k);
  return product;
}

namespace {

/// exp(-x^2/2) n! sum_k (-1)^k (2x)^(n-2k) / ((n-2k)! k!), with the powers from powerOf(n - 2k).
template <class Power>
double ExplicitSum(unsigned int n, double exponential, Power&& powerOf) {
  double sum = 0.0;
  for (unsigned int k = 0; k <= n / 2; ++k) {
    const unsigned int power = n - 2 * k;
    double term = k % 2 == 0 ? 1.0 : -1.0;
    // Leaving the power out at 0 keeps x = 0 from asking for 0 to the 0.
    if (power != 0) term *= powerOf(power);
    sum += term / (tgamma_i(power + 1) * tgamma_i(k + 1));
  }
  return exponential * sum * tgamma_i(n + 1);
}

}  // namespace

double QXHermiteFunc(unsigned int n, double x) {
  return ExplicitSum(n, std::exp(x * x * -0.5),
                     [x](unsigned int power) { return std::pow(x + x, power); });
}

void HermiteFuncs(unsigned int n, double x, double* out) {
  const double exponential = std::exp(x * x * -0.5);
  for (unsigned int k = 1; k <= n; ++k) out[k] = std::pow(x + x, k);
  // From above, so that the powers below each degree are still there.
  for (unsigned int k = n + 1; k-- > 0;)
    out[k] = ExplicitSum(k, exponential, [out](unsigned int power) { return out[power]; });
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

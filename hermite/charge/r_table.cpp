#include "hermite/charge/r_table.h"

#include <cmath>

#include "hermite/charge/r_table_kernel.h"

namespace QXHermiteMath {

double BoysFunc(unsigned int n, double T) {
  double term = 1.0, sum = 0.0;
  for (unsigned int k = 1; k <= n; ++k) {
    sum += term;
    term = term * (2.0 * T) / (2.0 * k + 1.0);
  }
  const double zeroth = std::sqrt(kQuarterPi / T) * std::erf(std::sqrt(T));
  return (zeroth - std::exp(-T) * sum) / ((2.0 * n + 1.0) * term);
}

// From F of the order the others come downwards: F_(k-1) = (2T F_k + exp(-T)) / (2k - 1).
bool BuildBoys(unsigned int order, double alpha, double const* R, std::vector<double>& table) {
  const double T = alpha * (R[0] * R[0] + R[1] * R[1] + R[2] * R[2]);
  const double exponential = std::exp(-T);
  double F = BoysFunc(order, T), scale = std::pow(-2.0 * alpha, static_cast<double>(order));
  table[RIndex(order, 0, 0, 0)] = F * scale;
  for (unsigned int k = order; k > 0; --k) {
    F = (2.0 * T * F + exponential) / (2.0 * k - 1.0);
    scale = -0.5 * scale / alpha;
    table[RIndex(k - 1, 0, 0, 0)] = F * scale;
  }
  return true;
}

bool BuildMcMurchieDavidson(unsigned int order, double const* R, std::vector<double>& table) {
  if (order + 1 == 0) return true;
  kernel::BuildDerivatives<double, 1>(order, R, R + 1, R + 2, table.data());
  return true;
}

}  // namespace QXHermiteMath

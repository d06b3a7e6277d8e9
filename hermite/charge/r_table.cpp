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
  return (kernel::ZerothBoysFunction(T) - std::exp(-T) * sum) / ((2.0 * n + 1.0) * term);
}

bool BuildBoys(unsigned int order, double alpha, double const* R, std::vector<double>& table) {
  const double T = alpha * (R[0] * R[0] + R[1] * R[1] + R[2] * R[2]);
  kernel::BuildBoysEntries<double, 1>(order, T, std::exp(-T), kernel::ZerothBoysFunction(T), alpha,
                                      std::pow(-2.0 * alpha, static_cast<double>(order)),
                                      table.data());
  return true;
}

bool BuildMcMurchieDavidson(unsigned int order, double const* R, std::vector<double>& table) {
  if (order + 1 == 0) return true;
  kernel::BuildDerivatives<double, 1>(order, R[0], R[1], R[2], table.data());
  return true;
}

}  // namespace QXHermiteMath

#pragma once

#include <limits>

#include "support/check.h"

namespace QXTest {

using Vector = std::vector<double>;
using UInts = std::vector<unsigned int>;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kFloatEpsilon = std::numeric_limits<float>::epsilon();

/// The integral of f over [from, to] by the trapezoidal rule, which for smooth functions that
/// vanish at both ends converges faster than any power of the step: with exp(-a x^2) in the
/// integrand the error is of the order of exp(-(pi/step)^2/a).
template <class Function>
double Integrate(Function&& f, long double from, long double to, long double step) {
  long double sum = 0;
  for (long double x = from; x <= to; x += step) sum += f(x);
  return static_cast<double>(sum * step);
}

/// The integral of f(x, y, z) over the cube of half edge `reach` about the origin, likewise.
template <class Function>
double Integrate3D(Function&& f, double reach, double step) {
  long double sum = 0;
  for (double x = -reach; x <= reach; x += step)
    for (double y = -reach; y <= reach; y += step)
      for (double z = -reach; z <= reach; z += step) sum += f(x, y, z);
  return static_cast<double>(sum * step * step * step);
}

/// columns[j] agrees with df/dx_j of the vector function f at x, by central differences of fourth
/// order. The difference between steps h and 2h is 15 times the truncation error of the finer;
/// rounding of f, taken as 64 units in the last place of its values, is divided by h.
template <class Columns, class Function>
testing::AssertionResult DerivativesAgree(const Columns& columns, Function&& f, const Vector& x) {
  constexpr double h = 0.00390625;
  for (size_t j = 0; j < x.size(); ++j) {
    const auto at = [&](double shift) {
      Vector moved = x;
      moved[j] += shift;
      return f(moved);
    };
    const Vector up1 = at(h), up2 = at(2 * h), up4 = at(4 * h);
    const Vector down1 = at(-h), down2 = at(-2 * h), down4 = at(-4 * h);
    Vector expected, bounds;
    for (size_t i = 0; i < up1.size(); ++i) {
      const double d1 = up1[i] - down1[i], d2 = up2[i] - down2[i], d4 = up4[i] - down4[i];
      const double fine = (8 * d1 - d2) / (12 * h), coarse = (8 * d2 - d4) / (24 * h);
      const double largest = std::fabs(up1[i]) + std::fabs(up4[i]) + std::fabs(down4[i]);
      expected.push_back(fine);
      bounds.push_back(std::fabs(fine - coarse) + 64 * kEpsilon * largest / h);
    }
    auto agrees = AllWithin(columns[j], expected, bounds);
    if (!agrees) return agrees << ", derivative " << j;
  }
  return testing::AssertionSuccess();
}

}  // namespace QXTest

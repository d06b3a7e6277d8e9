#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/check.h"

namespace QXTest {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

/// The integral of f over [from, to] by the trapezoidal rule, which for smooth functions that
/// vanish at both ends converges faster than any power of the step: with exp(-a x^2) in the
/// integrand the error is of the order of exp(-(pi/step)^2/a).
template <class Function>
long double Integrate(Function&& f, long double from, long double to, long double step) {
  long double sum = 0;
  const long count = std::lround((to - from) / step);
  for (long i = 0; i <= count; ++i) sum += f(from + static_cast<long double>(i) * step);
  return sum * step;
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

/// A derivative by central differences of fourth order, and how far it may be off.
struct Difference {
  double value;
  double error;
};

/// df/dx at x by steps h and 2h. The difference of both is 15 times the truncation error of the
/// finer one; rounding of f, taken as 64 units in the last place of its largest value, is divided
/// by h.
template <class Function>
Difference Differentiate(Function&& f, double x, double h) {
  double largest = 0;
  const auto value = [&](double at) {
    const double v = f(at);
    largest = std::max(largest, std::fabs(v));
    return v;
  };
  const auto fourthOrder = [&](double step) {
    return (8 * (value(x + step) - value(x - step)) - (value(x + 2 * step) - value(x - 2 * step))) /
           (12 * step);
  };
  const double fine = fourthOrder(h);
  const double coarse = fourthOrder(2 * h);
  return {fine, std::fabs(fine - coarse) + 64 * kEpsilon * largest / h};
}

/// The gradient of a function of a vector agrees with central differences.
template <class Function>
testing::AssertionResult GradientAgrees(const std::vector<double>& gradient, Function&& f,
                                        std::vector<double> x, double h = 0.00390625) {
  std::vector<double> expected, bounds;
  for (double& variable : x) {
    const double at = variable;
    const auto moved = [&](double value) {
      variable = value;
      return f(x);
    };
    const Difference d = Differentiate(moved, at, h);
    variable = at;
    expected.push_back(d.value);
    bounds.push_back(d.error);
  }
  return AllWithin(gradient, expected, bounds);
}

/// The lower triangle by rows (xx, yx, yy, zx, zy, zz) agrees with differences of the gradient,
/// which f returns as a vector.
template <class Function>
testing::AssertionResult HessianAgrees(const std::vector<double>& h6, Function&& f,
                                       const std::vector<double>& x) {
  const std::vector<double> rows[] = {
      {h6[0], h6[1], h6[3]}, {h6[1], h6[2], h6[4]}, {h6[3], h6[4], h6[5]}};
  for (size_t a = 0; a < 3; ++a) {
    auto result = GradientAgrees(
        rows[a], [&](const std::vector<double>& at) { return f(at)[a]; }, x);
    if (!result) return result << ", row " << a;
  }
  return testing::AssertionSuccess();
}

}  // namespace QXTest

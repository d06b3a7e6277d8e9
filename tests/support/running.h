#pragma once

#include <cmath>
#include <limits>

namespace QXTest {

/// A double that carries a bound of its own rounding error (running error analysis; Higham,
/// Accuracy and Stability of Numerical Algorithms, section 3.3). Put into a kernel as its scalar
/// type, it gives the bound within which the kernel in double must agree with the exact result.
/// Second-order terms are left out.
struct Running {
  double value = 0;
  double error = 0;

  Running() = default;
  explicit Running(double v) : value(v) {}

  static Running Rounded(double v, double inherited) {
    Running r(v);
    r.error = inherited + 0.5 * std::numeric_limits<double>::epsilon() * std::fabs(v);
    return r;
  }
  friend Running operator-(Running a) {
    a.value = -a.value;
    return a;
  }
  friend Running operator+(Running a, Running b) {
    return Rounded(a.value + b.value, a.error + b.error);
  }
  friend Running operator-(Running a, Running b) {
    return Rounded(a.value - b.value, a.error + b.error);
  }
  friend Running operator*(Running a, Running b) {
    return Rounded(a.value * b.value, a.error * std::fabs(b.value) + b.error * std::fabs(a.value));
  }
  friend Running operator/(Running a, Running b) {
    const double v = a.value / b.value;
    return Rounded(v, (a.error + std::fabs(v) * b.error) / std::fabs(b.value));
  }
  friend Running sqrt(Running a) {
    const double v = std::sqrt(a.value);
    return Rounded(v, 0.5 * a.error / v);
  }
  // exp is accurate to one unit in the last place, so the half unit of rounding counts twice.
  friend Running exp(Running a) {
    const double v = std::exp(a.value);
    Running r = Rounded(v, v * a.error);
    return Rounded(v, r.error);
  }
  Running& operator+=(Running b) { return *this = *this + b; }
  Running& operator-=(Running b) { return *this = *this - b; }
  Running& operator*=(Running b) { return *this = *this * b; }
};

}  // namespace QXTest

#pragma once

#include <cmath>
#include <cstddef>

#include "hermite/charge/r_table.h"

// The R table (see r_table.h) at one place, or at several side by side. Real is double or a pack of
// lanes; entries are Stride doubles apart, and a Real is the first of them.

namespace QXHermiteMath::kernel {

template <class Real>
[[gnu::always_inline]] inline Real& At(double* entry) {
  return *reinterpret_cast<Real*>(entry);
}
template <class Real>
[[gnu::always_inline]] inline Real const& At(const double* entry) {
  return *reinterpret_cast<const Real*>(entry);
}

inline constexpr double kQuarterPi = 0.7853981633974483;

/// F_0(T).
inline double ZerothBoysFunction(double T) {
  return std::sqrt(kQuarterPi / T) * std::erf(std::sqrt(T));
}

/// The entries R(a; 0, 0, 0) = (-2 alpha)^a F_a(T), with exponential = exp(-T), zeroth = F_0(T) and
/// power = (-2 alpha)^order. F of the order comes as in BoysFunc, the others from it downwards by
///   F_(k-1) = (2T F_k + exp(-T)) / (2k - 1).
template <class Real, size_t Stride>
[[gnu::always_inline]] inline void BuildBoysEntries(unsigned int order, Real const& T,
                                                    Real const& exponential, Real const& zeroth,
                                                    Real const& alpha, Real const& power,
                                                    double* table) {
  const Real twoT = 2.0 * T;
  Real term = 1.0 + Real{}, sum = {};
  double odd = 1.0;
  for (unsigned int k = 1; k <= order; ++k) {
    odd += 2.0;
    sum += term;
    term = term * twoT / odd;
  }
  Real F = (zeroth - exponential * sum) / (odd * term);
  Real scale = power;
  double* entry = table + Stride * RIndex(order, 0, 0, 0);
  At<Real>(entry) = F * scale;
  for (size_t k = order; k > 0; --k) {
    odd -= 2.0;
    F = (twoT * F + exponential) / odd;
    scale = -0.5 * scale / alpha;
    entry -= Stride * (k * (k + 1) * (k + 2) / 6);  // the entries of total k - 1
    At<Real>(entry) = F * scale;
  }
}

template <class Real>
[[gnu::always_inline]] inline void Step(Real const& axis, const double* one, double* out) {
  At<Real>(out) = axis * At<Real>(one);
}

template <class Real>
[[gnu::always_inline]] inline void Step(Real const& axis, const double* one, size_t degree,
                                        const double* two, double* out) {
  At<Real>(out) = axis * At<Real>(one) + static_cast<double>(degree) * At<Real>(two);
}

/// All other entries. Those of one total t and one v = b + c + d form a group of rows:
///
///   b = 0: c = 0 .. v    b = 1: c = 0 .. v - 1    ...    b = v: c = 0
///
/// It is made of group (t, v - 1), times X, Y or Z, and of group (t - 1, v - 2), times the degree
/// below. Along x this takes the entries of either one after the other, the first group from b = 1
/// on, the second from b = 2 on, to their ends. So the three groups move on with three pointers.
template <class Real, size_t Stride>
[[gnu::always_inline]] inline void BuildDerivatives(unsigned int order, Real const& X,
                                                    Real const& Y, Real const& Z, double* table) {
  double* below = table;  // the first entries of totals t - 1 and t
  double* start = table + Stride;
  for (size_t t = 1; t <= order; ++t) {
    const double* two = below;
    const double* one = start;
    double* out = start + Stride;
    for (size_t v = 1; v <= t; ++v) {
      if (v == 1) Step(Z, one, out);
      if (v > 1) Step(Z, one, v - 1, two, out);
      out += Stride;
      Step(Y, one, out);
      out += Stride;
      for (size_t c = 1; c < v; ++c, out += Stride)
        Step(Y, one + Stride * c, c, two + Stride * (c - 1), out);
      for (size_t c = 0; c < v; ++c, one += Stride, out += Stride) Step(X, one, out);
      for (size_t b = 1; b < v; ++b)
        for (size_t c = 0; c < v - b; ++c, one += Stride, two += Stride, out += Stride)
          Step(X, one, b, two, out);
    }
    below = start;
    start = out;
  }
}

}  // namespace QXHermiteMath::kernel

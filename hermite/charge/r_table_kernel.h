#pragma once

#include <cstddef>

#include "hermite/charge/r_table.h"

// The R table (see r_table.h) at several places side by side: each entry is a row of so many Packs
// of type Real, which is double or a pack of lanes.

namespace QXHermiteMath::kernel {

template <class Real>
[[gnu::always_inline]] inline Real& At(double* entry) {
  return *reinterpret_cast<Real*>(entry);
}
template <class Real>
[[gnu::always_inline]] inline Real const& At(const double* entry) {
  return *reinterpret_cast<const Real*>(entry);
}

/// The entries R(a; 0, 0, 0) = (-2 alpha)^a F_a(T) at all places, with exponential = exp(-T) and
/// zeroth = F_0(T). F of the order comes as in BoysFunc, the others from it downwards by
///   F_(k-1) = (2T F_k + exp(-T)) / (2k - 1).
/// Packs go side by side through each step, as one alone waits for its divisions.
template <class Real, size_t Packs>
[[gnu::always_inline]] inline void BuildBoysEntries(unsigned int order, const double* alpha,
                                                    const double* T, const double* exponential,
                                                    const double* zeroth, double* table) {
  constexpr size_t kPack = sizeof(Real) / sizeof(double), kStride = kPack * Packs;
  Real term[Packs], sum[Packs] = {}, F[Packs], scale[Packs];
  for (size_t i = 0; i < Packs; ++i) term[i] = scale[i] = 1.0 + Real{};
  double odd = 1.0;
  for (unsigned int k = 1; k <= order; ++k) {
    odd += 2.0;
#pragma GCC unroll 8
    for (size_t i = 0; i < Packs; ++i) {
      sum[i] += term[i];
      term[i] = term[i] * (2.0 * At<Real>(T + kPack * i)) / odd;
    }
  }
  double* entry = table + kStride * RIndex(order, 0, 0, 0);
#pragma GCC unroll 8
  for (size_t i = 0, at = 0; i < Packs; ++i, at += kPack) {
    F[i] = (At<Real>(zeroth + at) - At<Real>(exponential + at) * sum[i]) / (odd * term[i]);
    At<Real>(entry + at) = F[i];
  }
  for (size_t k = order; k > 0; --k) {
    odd -= 2.0;
    entry -= kStride * (k * (k + 1) * (k + 2) / 6);  // the entries of total k - 1
#pragma GCC unroll 8
    for (size_t i = 0, at = 0; i < Packs; ++i, at += kPack) {
      F[i] = (2.0 * At<Real>(T + at) * F[i] + At<Real>(exponential + at)) / odd;
      At<Real>(entry + at) = F[i];
    }
  }
  for (size_t k = 1; k <= order; ++k) {
    entry += kStride * (k * (k + 1) * (k + 2) / 6);
#pragma GCC unroll 8
    for (size_t i = 0, at = 0; i < Packs; ++i, at += kPack) {
      scale[i] *= -2.0 * At<Real>(alpha + at);
      At<Real>(entry + at) *= scale[i];
    }
  }
}

/// One entry at all places: axis times `one`, and a degree times `two`.
template <class Real, size_t Packs>
[[gnu::always_inline]] inline void Step(const double* axis, const double* one, double* out) {
  constexpr size_t kPack = sizeof(Real) / sizeof(double);
#pragma GCC unroll 8
  for (size_t i = 0; i < kPack * Packs; i += kPack)
    At<Real>(out + i) = At<Real>(axis + i) * At<Real>(one + i);
}

template <class Real, size_t Packs>
[[gnu::always_inline]] inline void Step(const double* axis, const double* one, size_t degree,
                                        const double* two, double* out) {
  constexpr size_t kPack = sizeof(Real) / sizeof(double);
  const Real factor = static_cast<double>(degree) + Real{};
#pragma GCC unroll 8
  for (size_t i = 0; i < kPack * Packs; i += kPack)
    At<Real>(out + i) = At<Real>(axis + i) * At<Real>(one + i) + factor * At<Real>(two + i);
}

/// All other entries. Those of one total t and one v = b + c + d form a group of rows:
///
///   b = 0: c = 0 .. v    b = 1: c = 0 .. v - 1    ...    b = v: c = 0
///
/// It is made of group (t, v - 1), times X, Y or Z, and of group (t - 1, v - 2), times the degree
/// below. Along x this takes the entries of either one after the other, the first group from b = 1
/// on, the second from b = 2 on, to their ends. So the three groups move on with three pointers.
template <class Real, size_t Packs>
[[gnu::always_inline]] inline void BuildDerivatives(unsigned int order, const double* X,
                                                    const double* Y, const double* Z,
                                                    double* table) {
  constexpr size_t kStride = Packs * sizeof(Real) / sizeof(double);
  double* below = table;  // the first entries of totals t - 1 and t
  double* start = table + kStride;
  for (size_t t = 1; t <= order; ++t) {
    const double* two = below;
    const double* one = start;
    double* out = start + kStride;
    for (size_t v = 1; v <= t; ++v) {
      if (v == 1) Step<Real, Packs>(Z, one, out);
      if (v > 1) Step<Real, Packs>(Z, one, v - 1, two, out);
      out += kStride;
      Step<Real, Packs>(Y, one, out);
      out += kStride;
      for (size_t c = 1; c < v; ++c, out += kStride)
        Step<Real, Packs>(Y, one + kStride * c, c, two + kStride * (c - 1), out);
      for (size_t c = 0; c < v; ++c, one += kStride, out += kStride) Step<Real, Packs>(X, one, out);
      for (size_t b = 1; b < v; ++b)
        for (size_t c = 0; c < v - b; ++c, one += kStride, two += kStride, out += kStride)
          Step<Real, Packs>(X, one, b, two, out);
    }
    below = start;
    start = out;
  }
}

}  // namespace QXHermiteMath::kernel

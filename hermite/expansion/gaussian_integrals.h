#pragma once

#include <cmath>
#include <cstddef>

// One-dimensional overlap integrals of a Gaussian with the Hermite functions of one axis:
//
//   F_k = integral of h_k(lambda x) exp(-w (x - X)^2) lambda dx.
//
// F is a function of u = a/lambda and s = -X a, with a = sqrt(2 w); its derivatives in u and s are
// short combinations of neighbouring F, so one recurrence serves values and derivatives.
//
// The kernels are leaves: plain pointers, no allocation. Real is double, or a pack of Gaussians
// side by side; entries of a table are Stride doubles apart, and a Real is the first of them.

namespace QXHermiteMath::kernel {

template <class Real>
[[gnu::always_inline]] inline Real& At(double* entry) {
  return *reinterpret_cast<Real*>(entry);
}
template <class Real>
[[gnu::always_inline]] inline Real const& At(const double* entry) {
  return *reinterpret_cast<const Real*>(entry);
}

/// What the integrals of one axis are made of: q = 1/(u^2 + 1), g = -2 s u q and eq = (2 - 2 u^2)
/// q, which are quotients of lambda^2 + 2 w. They give F_0 = sqrt(2 pi q) exp(-w X^2 q).
template <class Real>
[[gnu::always_inline]] inline void GetAxisFactors(Real const& width, Real const& center,
                                                  double lambda, Real& q, Real& g, Real& eq) {
  const double square = lambda * lambda;
  const Real twice = width + width;
  const Real inverse = 1.0 / (twice + square);
  q = square * inverse;
  g = (lambda + lambda) * (twice * inverse) * center;
  eq = (2.0 * (square - twice)) * inverse;
}

/// f[0 .. kMax] from f[0], by F_(k+1) = g F_k + k e q F_(k-1).
template <class Real, size_t Stride = 1>
[[gnu::always_inline]] inline void RunRecurrence(Real const& g, Real const& eq, unsigned int kMax,
                                                 double* f) {
  Real previous{}, value = At<Real>(f);
  for (unsigned int k = 0; k < kMax; ++k) {
    const Real next = g * value + (static_cast<double>(k) * eq) * previous;
    previous = value;
    value = next;
    At<Real>(f + (k + 1) * Stride) = value;
  }
}

/// f[0 .. kMax] for one axis.
inline void BuildF(double width, double center, unsigned int kMax, double lambda, double* f) {
  double q, g, eq;
  GetAxisFactors(width, center, lambda, q, g, eq);
  f[0] = std::sqrt(6.283185307179586 * q) * std::exp(-(width * center) * (center * q));
  RunRecurrence<double>(g, eq, kMax, f);
}

/// df[k] = dF_k/du, k = 0 .. N, with factor = 1/u; reads f[0 .. N + 2]. By the chain rule the
/// factor -1/lambda gives dF_k/dlambda.
template <class Real = double, size_t Stride = 1>
[[gnu::always_inline]] inline void BuildFDerivative(unsigned int N, double factor, const double* f,
                                                    double* df) {
  for (unsigned int k = 0; k <= N; ++k, f += Stride, df += Stride) {
    Real value = 0.25 * At<Real>(f + 2 * Stride) - 0.5 * At<Real>(f);
    if (k >= 2) value -= static_cast<double>(k) * (k - 1) * At<Real>(f - 2 * Stride);
    At<Real>(df) = value * factor;
  }
}

/// ddf[k] = d^2 F_k/du^2, k = 0 .. N, with factor = 1/u^2; reads f[0 .. N + 4]. The factor
/// 1/lambda^2 gives d^2 F_k/dlambda^2 + 2/lambda dF_k/dlambda.
template <class Real = double, size_t Stride = 1>
[[gnu::always_inline]] inline void BuildFSecondDerivative(unsigned int N, double factor,
                                                          const double* f, double* ddf) {
  for (unsigned int k = 0; k <= N; ++k, f += Stride, ddf += Stride) {
    const double kk = k;
    Real value = 0.0625 * At<Real>(f + 4 * Stride) - 0.5 * At<Real>(f + 2 * Stride) +
                 (0.25 - 0.5 * kk * (kk + 1)) * At<Real>(f);
    if (k >= 2) value += 2.0 * kk * (kk - 1) * At<Real>(f - 2 * Stride);
    if (k >= 4) value += kk * (kk - 1) * (kk - 2) * (kk - 3) * At<Real>(f - 4 * Stride);
    At<Real>(ddf) = value * factor;
  }
}

/// df[k] = dF_k/ds, k = 0 .. N, with factor = 1/u; reads f[0 .. N + 1]. The factor -lambda gives
/// dF_k/dX.
template <class Real = double, size_t Stride = 1>
[[gnu::always_inline]] inline void BuildFSecondArgDerivative(unsigned int N, double factor,
                                                             const double* f, double* df) {
  for (unsigned int k = 0; k <= N; ++k, f += Stride, df += Stride) {
    Real value = 0.5 * At<Real>(f + Stride);
    if (k >= 1) value -= static_cast<double>(k) * At<Real>(f - Stride);
    At<Real>(df) = value * factor;
  }
}

/// ddf[k] = d^2 F_k/ds^2, k = 0 .. N, with factor = 1/u^2; reads f[0 .. N + 2]. The factor lambda^2
/// gives d^2 F_k/dX^2.
template <class Real = double, size_t Stride = 1>
[[gnu::always_inline]] inline void BuildFSecondArgSecondDerivative(unsigned int N, double factor,
                                                                   const double* f, double* ddf) {
  for (unsigned int k = 0; k <= N; ++k, f += Stride, ddf += Stride) {
    Real value = 0.25 * At<Real>(f + 2 * Stride) - (k + 0.5) * At<Real>(f);
    if (k >= 2) value += static_cast<double>(k) * (k - 1) * At<Real>(f - 2 * Stride);
    At<Real>(ddf) = value * factor;
  }
}

}  // namespace QXHermiteMath::kernel

#pragma once

#include <cmath>

// One-dimensional overlap integrals of a Gaussian with the Hermite functions of one axis:
//
//   F_k = integral of h_k(lambda x) exp(-w (x - X)^2) lambda dx.
//
// F is a function of u = a/lambda and s = -X a, with a = sqrt(2 w); its derivatives in u and s are
// short combinations of neighbouring F, so one recurrence serves values and derivatives.
// The kernels are leaves: plain pointers, no allocation, templated on the scalar type.

namespace QXHermiteMath::kernel {

/// f[0 .. kMax] for one axis.
template <class Scalar>
inline void BuildF(Scalar width, Scalar center, unsigned int kMax, Scalar lambda, Scalar* f) {
  using std::exp;
  using std::sqrt;
  const Scalar a = sqrt(width + width);
  const Scalar s = -center * a;
  const Scalar u = a / lambda;
  const Scalar D = u * u + Scalar(1.0);
  const Scalar q = Scalar(1.0) / D;
  const Scalar g = Scalar(-2.0) * s * u * q;
  const Scalar eq = (Scalar(2.0) - (u * u + u * u)) * q;

  f[0] = sqrt(Scalar(6.283185307179586) * q) * exp(-s * s / (D + D));
  if (kMax == 0) return;
  f[1] = f[0] * g;
  for (unsigned int k = 1; k < kMax; ++k)
    f[k + 1] = g * f[k] + Scalar(static_cast<double>(k)) * eq * f[k - 1];
}

/// df[k] = dF_k/du, k = 0 .. N; reads f[0 .. N + 2].
template <class Scalar>
inline void BuildFDerivative(unsigned int N, Scalar u, const Scalar* f, Scalar* df) {
  const Scalar inverse = Scalar(1.0) / u;
  for (unsigned int k = 0; k <= N; ++k) {
    Scalar value = Scalar(0.25) * f[k + 2] - Scalar(0.5) * f[k];
    if (k >= 2) value -= Scalar(static_cast<double>(k) * (k - 1)) * f[k - 2];
    df[k] = value * inverse;
  }
}

/// ddf[k] = d^2 F_k/du^2, k = 0 .. N; reads f[0 .. N + 4].
template <class Scalar>
inline void BuildFSecondDerivative(unsigned int N, Scalar u, const Scalar* f, Scalar* ddf) {
  const Scalar inverse = Scalar(1.0) / (u * u);
  for (unsigned int k = 0; k <= N; ++k) {
    const double kk = k;
    Scalar value = Scalar(0.0625) * f[k + 4] - Scalar(0.5) * f[k + 2] +
                   Scalar(0.25 - 0.5 * kk * (kk + 1)) * f[k];
    if (k >= 2) value += Scalar(2.0 * kk * (kk - 1)) * f[k - 2];
    if (k >= 4) value += Scalar(kk * (kk - 1) * (kk - 2) * (kk - 3)) * f[k - 4];
    ddf[k] = value * inverse;
  }
}

/// df[k] = dF_k/ds, k = 0 .. N; reads f[0 .. N + 1].
template <class Scalar>
inline void BuildFSecondArgDerivative(unsigned int N, Scalar u, const Scalar* f, Scalar* df) {
  const Scalar inverse = Scalar(1.0) / u;
  df[0] = Scalar(0.5) * f[1] * inverse;
  for (unsigned int k = 1; k <= N; ++k)
    df[k] = (Scalar(0.5) * f[k + 1] - Scalar(static_cast<double>(k)) * f[k - 1]) * inverse;
}

/// ddf[k] = d^2 F_k/ds^2, k = 0 .. N; reads f[0 .. N + 2].
template <class Scalar>
inline void BuildFSecondArgSecondDerivative(unsigned int N, Scalar u, const Scalar* f,
                                            Scalar* ddf) {
  const Scalar inverse = Scalar(1.0) / (u * u);
  for (unsigned int k = 0; k <= N; ++k) {
    Scalar value = Scalar(0.25) * f[k + 2] - Scalar(k + 0.5) * f[k];
    if (k >= 2) value += Scalar(static_cast<double>(k) * (k - 1)) * f[k - 2];
    ddf[k] = value * inverse;
  }
}

/// yz[p] = y[m] z[d - m] for d = 0 .. N and m = 0 .. d, p running: the plane of products that
/// every block of equal l of the shell order reuses.
template <class Scalar>
inline void BuildPlane(unsigned int N, const Scalar* y, const Scalar* z, Scalar* yz) {
  for (unsigned int d = 0; d <= N; ++d)
    for (unsigned int m = 0; m <= d; ++m) *yz++ = y[m] * z[d - m];
}

/// out_lmn += prefactor x[l] yz[m, n] over the basis of degree N, l outermost and then as in the
/// plane: so each l is one contiguous run, a prefix of the plane.
template <class Scalar>
inline void AddProduct(unsigned int N, Scalar prefactor, const Scalar* x, const Scalar* yz,
                       Scalar* out) {
  for (unsigned int l = 0; l <= N; ++l) {
    const unsigned int count = (N - l + 1) * (N - l + 2) / 2;
    const Scalar factor = prefactor * x[l];
    for (unsigned int p = 0; p < count; ++p) out[p] += factor * yz[p];
    out += count;
  }
}

/// From the order of AddProduct to shell order.
template <class Scalar>
inline void ToShellOrder(unsigned int N, const Scalar* in, Scalar* out) {
  for (unsigned int l = 0; l <= N; ++l) {
    for (unsigned int d = 0; d <= N - l; ++d) {
      const unsigned int s = l + d;
      Scalar* row = out + s * (s + 1) * (s + 2) / 6 + l * (2 * s - l + 3) / 2;
      for (unsigned int m = 0; m <= d; ++m) row[m] = *in++;
    }
  }
}

/// The way back.
template <class Scalar>
inline void FromShellOrder(unsigned int N, const Scalar* in, Scalar* out) {
  for (unsigned int l = 0; l <= N; ++l) {
    for (unsigned int d = 0; d <= N - l; ++d) {
      const unsigned int s = l + d;
      const Scalar* row = in + s * (s + 1) * (s + 2) / 6 + l * (2 * s - l + 3) / 2;
      for (unsigned int m = 0; m <= d; ++m) *out++ = row[m];
    }
  }
}

}  // namespace QXHermiteMath::kernel

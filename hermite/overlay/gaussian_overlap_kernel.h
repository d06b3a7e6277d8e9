#pragma once

#include <cstddef>

#include "host/core/simd.h"
#include "host/numerics/exp_kernel.h"

// Sums over all pairs of two lists of Gaussians, the first turned by Q and the second shifted by t.
// A pair at the distance d = q - p, q = Q r and p = r' + t, with k = w w'/(w + w') and
// c = A A' (pi/(w + w'))^(3/2), overlaps by v = c exp(-k d.d). Of f = -v the derivatives in q are
//
//   F = 2k v d        H = 2k v 1 - 4k^2 v d d^T.
//
// The lanes hold Gaussians of the first list, and the inner loop runs over the second. So F and H
// of each q are there when its pairs are done, and go into moments of q: what its turning asks for.

namespace QXHermiteMath::kernel {

/// What the kernel reads. Arrays over the first list are padded with zeros to `stride`, a multiple
/// of the lanes. Gaussians of the second list that differ in place only are of one sort, and share
/// rows over the first list.
struct GaussianPairs {
  size_t firstSize, stride;
  const double* first;  ///< x of all, y of all, z of all
  size_t secondSize;
  const double* second;   ///< x, y, z of each
  const size_t* sorts;    ///< of each of the second list
  const double* scales;   ///< -k/ln 2, a row for each sort
  const double* factors;  ///< c, likewise
  double Q[9];
  double shift[3];
};

/// The sums, those above the order asked for 0. Matrices are row-major, and [q] a = q x a.
template <class Number>
struct GaussianPairSums {
  typename Number::Type v;                    ///< order 0
  typename Number::Type F[3], Fq[9];          ///< order 1: F, F q^T
  typename Number::Type H[9], qH[9], qHq[9];  ///< order 2: H, [q] H, [q] H [q]^T
};

/// out = [q] m.
template <class Number>
[[gnu::always_inline]] inline void Cross(const typename Number::Type* q,
                                         const typename Number::Type* m,
                                         typename Number::Type* out) {
  for (size_t j = 0; j < 3; ++j) {
    out[j] = q[1] * m[6 + j] - q[2] * m[3 + j];
    out[3 + j] = q[2] * m[j] - q[0] * m[6 + j];
    out[6 + j] = q[0] * m[3 + j] - q[1] * m[j];
  }
}

template <int Order>
struct GaussianPairKernel {
  GaussianPairs const& pairs;
  double* sums;  ///< a GaussianPairSums

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr int kPack = Lanes / 2;
    GaussianPairSums<QXCore::QXPack<double, kPack>> total = {};
    for (size_t i = 0; i < pairs.firstSize; i += kPack) AddPack<kPack>(i, total);
    constexpr size_t kSums = sizeof(total) / sizeof(total.v);
    const double* lanes = reinterpret_cast<const double*>(&total);
    for (size_t i = 0; i < kSums; ++i) {
      sums[i] = 0.0;
      for (size_t lane = 0; lane < kPack; ++lane) sums[i] += *lanes++;
    }
  }

  /// The pairs of Gaussians i, i + 1, ... of the first list with all of the second.
  template <int Pack>
  [[gnu::always_inline]] void AddPack(size_t i,
                                      GaussianPairSums<QXCore::QXPack<double, Pack>>& total) const {
    using Number = QXCore::QXPack<double, Pack>;
    using Doubles = typename Number::Type;
    const auto at = [](const double* p) -> Doubles const& {
      return *reinterpret_cast<const Doubles*>(p);
    };
    Doubles q[3], meets[3];
    for (size_t a = 0; a < 3; ++a) {
      const double* row = pairs.Q + 3 * a;
      q[a] = row[0] * at(pairs.first + i) + row[1] * at(pairs.first + pairs.stride + i) +
             row[2] * at(pairs.first + 2 * pairs.stride + i);
      meets[a] = q[a] - pairs.shift[a];
    }

    constexpr double kLn2 = 0.6931471805599453;
    Doubles S = {}, F[3] = {}, M[6] = {};  // sums of k v, k v d and k^2 v d d^T, over -ln 2
    for (size_t j = 0; j < pairs.secondSize; ++j) {
      const size_t row = pairs.sorts[j] * pairs.stride + i;
      const double* p = pairs.second + 3 * j;
      const Doubles d[3] = {meets[0] - p[0], meets[1] - p[1], meets[2] - p[2]};
      const Doubles k = at(pairs.scales + row);
      const Doubles exponent = k * (d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
      Doubles v;
      QXNumerics::QXScaledExp2(at(pairs.factors + row), exponent, v);
      total.v += v;
      if constexpr (Order >= 1) {
        v *= k;
        for (size_t a = 0; a < 3; ++a) F[a] += v * d[a];
      }
      if constexpr (Order >= 2) {
        S += v;
        v *= k;
        for (size_t a = 0, ab = 0; a < 3; ++a) {
          const Doubles vd = v * d[a];
          for (size_t b = 0; b <= a; ++b) M[ab++] += vd * d[b];
        }
      }
    }

    if constexpr (Order >= 1) {
      for (size_t a = 0; a < 3; ++a) {
        F[a] *= -2.0 * kLn2;
        total.F[a] += F[a];
        for (size_t b = 0; b < 3; ++b) total.Fq[3 * a + b] += F[a] * q[b];
      }
    }
    if constexpr (Order >= 2) {
      Doubles H[9], qH[9], qHq[9];
      for (size_t a = 0, ab = 0; a < 3; ++a) {
        for (size_t b = 0; b <= a; ++b) H[3 * a + b] = H[3 * b + a] = -4.0 * kLn2 * kLn2 * M[ab++];
        H[4 * a] += -2.0 * kLn2 * S;
      }
      Cross<Number>(q, H, qH);
      // [q] H [q]^T = [q] ([q] H)^T, as H is symmetric.
      const Doubles turned[9] = {qH[0], qH[3], qH[6], qH[1], qH[4], qH[7], qH[2], qH[5], qH[8]};
      Cross<Number>(q, turned, qHq);
      for (size_t ab = 0; ab < 9; ++ab) {
        total.H[ab] += H[ab];
        total.qH[ab] += qH[ab];
        total.qHq[ab] += qHq[ab];
      }
    }
  }
};

}  // namespace QXHermiteMath::kernel

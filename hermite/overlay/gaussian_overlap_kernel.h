#pragma once

#include <cstddef>

#include "hermite/overlay/gaussian_list.h"
#include "host/core/simd.h"
#include "host/numerics/exp_kernel.h"

// Sums over all pairs of two lists of Gaussians, the first turned by Q and the second shifted by t.
// A pair at the distance d = q - p, q = Q r and p = r' + t, with k = w w'/(w + w') and
// c = A A' (pi/(w + w'))^(3/2), overlaps by v = c exp(-k d.d). Of f = -v the derivatives in q are
//
//   F = 2k v d        H = 2k v 1 - 4k^2 v d d^T.
//
// With p = o + t + u and m = q - o - t, o the middle of the second list, what is to be done for
// each pair is little:
//
//   -k d.d = -k m.m + 2k m.u - k u.u,  sums of e = exp(-k d.d) times 1, u and u u^T.
//
// The lanes hold Gaussians of the first list, and the inner loop runs over the second. So F and H
// of each q are there when its pairs are done, and go into moments of q: what its turning asks for.

namespace QXHermiteMath::kernel {

/// What the kernel reads. Arrays over the first list are padded with zeros to `stride`, a multiple
/// of the lanes. The second list consists of runs of equal width, to each of which belong rows over
/// the first list.
struct GaussianPairs {
  size_t firstSize, stride;
  const double* first;  ///< x of all, y of all, z of all
  const GaussianList::Moments* second;
  size_t numRuns;
  const size_t* runEnds;
  const double* scales;   ///< -k/ln 2, a row for each run
  const double* factors;  ///< c/A', likewise
  double Q[9];
  double shift[3];  ///< o + t
};

/// The sums, those above the order asked for 0. Matrices are row-major, and [q] a = q x a.
template <class Number>
struct GaussianPairSums {
  using Real = typename Number::Type;
  Real v;                    ///< order 0
  Real F[3], Fq[9];          ///< order 1: F, F q^T
  Real H[9], qH[9], qHq[9];  ///< order 2: H, [q] H, [q] H [q]^T
};

/// out = [q] m.
template <class Real>
[[gnu::always_inline]] inline void Cross(const Real* q, const Real* m, Real* out) {
  for (size_t j = 0; j < 3; ++j) {
    out[j] = q[1] * m[6 + j] - q[2] * m[3 + j];
    out[3 + j] = q[2] * m[j] - q[0] * m[6 + j];
    out[6 + j] = q[0] * m[3 + j] - q[1] * m[j];
  }
}

template <int Pack>
[[gnu::always_inline]] inline typename QXCore::QXPack<double, Pack>::Type const& At(
    const double* p) {
  return *reinterpret_cast<const typename QXCore::QXPack<double, Pack>::Type*>(p);
}

/// Order: of the derivatives wanted, 0, 1 or 2.
template <int Order>
struct GaussianPairKernel {
  GaussianPairs const& pairs;
  double* sums;  ///< a GaussianPairSums

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr int kPack = Lanes / 2;
    GaussianPairSums<QXCore::QXPack<double, kPack>> total = {};
    for (size_t i = 0; i < pairs.firstSize; i += kPack) AddPack<kPack>(i, total);
    const double* lane = reinterpret_cast<const double*>(&total);
    for (size_t i = 0; i < sizeof(total) / sizeof(total.v); ++i) {
      double sum = 0.0;
      // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign)
      for (size_t k = 0; k < kPack; ++k) sum += *lane++;
      sums[i] = sum;
    }
  }

  /// The pairs of Gaussians i, i + 1, ... of the first list with all of the second.
  template <int Pack>
  [[gnu::always_inline]] void AddPack(size_t i,
                                      GaussianPairSums<QXCore::QXPack<double, Pack>>& total) const {
    using Doubles = typename QXCore::QXPack<double, Pack>::Type;
    Doubles q[3], m[3], F[3] = {}, H[9] = {};
    for (size_t a = 0; a < 3; ++a) {
      const double* row = pairs.Q + 3 * a;
      q[a] = row[0] * At<Pack>(pairs.first + i) +
             row[1] * At<Pack>(pairs.first + pairs.stride + i) +
             row[2] * At<Pack>(pairs.first + 2 * pairs.stride + i);
      m[a] = q[a] - pairs.shift[a];
    }
    const auto *from = pairs.second, *to = from;
    for (size_t run = 0; run < pairs.numRuns; ++run, from = to) {
      to = pairs.second + pairs.runEnds[run];
      const size_t row = run * pairs.stride + i;
      const Doubles scale = At<Pack>(pairs.scales + row), c = At<Pack>(pairs.factors + row);
      AddRun(from, to, m, scale, c, total.v, F, H);
    }
    AddMoments<Pack>(q, F, H, total);
  }

  /// Adds the pairs with a run to v, F and the lower triangle of H.
  template <class Doubles>
  [[gnu::always_inline]] static void AddRun(const GaussianList::Moments* from,
                                            const GaussianList::Moments* to, Doubles const* m,
                                            Doubles const& scale, Doubles const& c, Doubles& v,
                                            Doubles* F, Doubles* H) {
    const Doubles alone = scale * (m[0] * m[0] + m[1] * m[1] + m[2] * m[2]);
    const Doubles mixed[3] = {-2.0 * scale * m[0], -2.0 * scale * m[1], -2.0 * scale * m[2]};
    Doubles e0 = {}, e1[3] = {}, e2[6] = {};  // sums of e times A, A u and A u u^T
    for (const GaussianList::Moments* g = from; g != to; ++g) {
      Doubles e =
          scale * g->square + alone + mixed[0] * g->u[0] + mixed[1] * g->u[1] + mixed[2] * g->u[2];
      QXNumerics::QXExp2OfNegative(e, e);
      e0 += e * g->A;
      if constexpr (Order >= 1)
        for (size_t a = 0; a < 3; ++a) e1[a] += e * g->Au[a];
      if constexpr (Order >= 2)
        for (size_t ab = 0; ab < 6; ++ab) e2[ab] += e * g->Auu[ab];
    }

    v += c * e0;
    if constexpr (Order == 0) return;
    const Doubles k = -0.6931471805599453 * scale, twokc = 2.0 * k * c;
    const Doubles ed[3] = {m[0] * e0 - e1[0], m[1] * e0 - e1[1], m[2] * e0 - e1[2]};
    for (size_t a = 0; a < 3; ++a) F[a] += twokc * ed[a];
    if constexpr (Order == 1) return;
    for (size_t a = 0, ab = 0; a < 3; ++a) {
      for (size_t b = 0; b <= a; ++b, ++ab)
        H[3 * a + b] -= 2.0 * k * twokc * (m[a] * ed[b] - m[b] * e1[a] + e2[ab]);
      H[4 * a] += twokc * e0;
    }
  }

  /// Adds the moments of F and H, of which the lower triangle is there.
  template <int Pack, class Doubles>
  [[gnu::always_inline]] static void AddMoments(
      Doubles const* q, Doubles const* F, Doubles* H,
      GaussianPairSums<QXCore::QXPack<double, Pack>>& total) {
    if constexpr (Order == 0) return;
    for (size_t a = 0; a < 3; ++a) {
      total.F[a] += F[a];
      for (size_t b = 0; b < 3; ++b) total.Fq[3 * a + b] += F[a] * q[b];
    }
    if constexpr (Order == 1) return;
    H[1] = H[3], H[2] = H[6], H[5] = H[7];
    Doubles qH[9], qHq[9];
    Cross(q, H, qH);
    // [q] H [q]^T = [q] ([q] H)^T, as H is symmetric.
    const Doubles turned[9] = {qH[0], qH[3], qH[6], qH[1], qH[4], qH[7], qH[2], qH[5], qH[8]};
    Cross(q, turned, qHq);
    for (size_t ab = 0; ab < 9; ++ab) {
      total.H[ab] += H[ab];
      total.qH[ab] += qH[ab];
      total.qHq[ab] += qHq[ab];
    }
  }
};

}  // namespace QXHermiteMath::kernel

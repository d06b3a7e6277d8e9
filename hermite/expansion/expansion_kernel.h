#pragma once

#include <algorithm>
#include <cmath>
#include <span>

#include "hermite/expansion/gaussian_integrals.h"
#include "hermite/foundations/basis.h"
#include "host/core/gaussian.h"
#include "host/core/simd.h"
#include "host/numerics/exp_kernel.h"

// The sums of QXGaussianToHermite over a batch of Gaussians, which stand side by side in lanes.

namespace QXHermiteMath::kernel {

/// Gaussians of one batch: so few that their tables stay in the first cache.
inline constexpr unsigned int kBatch = 32;

/// One number of each Gaussian of a batch.
struct alignas(64) BatchRow {
  double lanes[kBatch];
};

/// Gaussians, widened. Those behind the last have no amplitude.
struct GaussianBatch {
  /// At most kBatch of them.
  explicit GaussianBatch(std::span<const QXCore::QXGaussian> gaussians)
      : count(static_cast<unsigned int>(gaussians.size())) {
    using QXCore::QXGaussian;
    for (unsigned int i = 0; i < count; ++i) {
      const QXGaussian& g = gaussians[i];  // of no derived class in a list, so no call is virtual
      amplitude.lanes[i] = g.QXGaussian::GetAmplitude();
      width.lanes[i] = g.QXGaussian::GetWidth();
      center[0].lanes[i] = g.QXGaussian::GetX();
      center[1].lanes[i] = g.QXGaussian::GetY();
      center[2].lanes[i] = g.QXGaussian::GetZ();
    }
    const unsigned int end = std::min(kBatch, count + unsigned{QXCore::kMostLanes});
    for (unsigned int i = count; i < end; ++i) {
      width.lanes[i] = 1.0;
      amplitude.lanes[i] = center[0].lanes[i] = center[1].lanes[i] = center[2].lanes[i] = 0.0;
    }
  }

  unsigned int count;
  BatchRow amplitude, width, center[3];
};

/// A target is the sum over the Gaussians of A X_l Y_m Z_n / (K_l K_m K_n), where each factor is F
/// of its axis or a derivative of it: how often x, y and z are derived in the coefficients
/// themselves, the first derivatives and the second, in the order of QXGaussianToHermite.
inline constexpr unsigned int kTargets[10][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1},
                                                 {2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {1, 1, 0},
                                                 {1, 0, 1}, {0, 1, 1}};

/// Derivatives: how many at most, 0 to 2. InWidths: by the widths, not by a common shift.
template <unsigned int Derivatives, bool InWidths>
struct ExpansionKernel {
  static constexpr unsigned int kNumTargets = Derivatives == 0 ? 1 : Derivatives == 1 ? 4 : 10;
  /// Coefficients of each target that are summed at a time: as many as there are registers for.
  static constexpr unsigned int kTile = Derivatives == 0 ? 6 : Derivatives == 1 ? 2 : 1;
  /// How far beyond N the derivatives read F.
  static constexpr unsigned int kExtra = InWidths ? 2 * Derivatives : Derivatives;

  const GaussianBatch& batch;
  unsigned int N;
  const double* lambda;        ///< of x, y, z
  BatchRow* tables[3][3];      ///< by number of derivatives and axis: N + 1 rows, of F kExtra more
  const double* inverseNorms;  ///< 1/(K_l K_m K_n) in shell order
  double* const* targets;      ///< kNumTargets of them, in shell order, which are added to

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr unsigned int kPack = Lanes / 2;  // the doubles of one register
    for (unsigned int i = 0; i < batch.count; i += kPack) BuildTables<kPack>(i);
    for (unsigned int d = 0; d <= N; ++d)
      for (unsigned int m = 0; m <= d; ++m)
        AddColumn<kPack, kTile>(0, m, d - m, GetLmnIndex(0, m, d - m));
  }

 private:
  template <unsigned int Pack>
  using Doubles = typename QXCore::QXPack<double, int{Pack}>::Type;

  [[gnu::always_inline]] double* Entry(unsigned int derived, unsigned int axis, unsigned int k,
                                       unsigned int i) const {
    return tables[derived][axis][k].lanes + i;
  }

  // The tables of the Gaussians from i on: F_k/F_0, and those of x times the product of all F_0 and
  // the amplitude.
  template <unsigned int Pack>
  [[gnu::always_inline]] void BuildTables(unsigned int i) const {
    using Real = Doubles<Pack>;
    const Real width = At<Real>(batch.width.lanes + i);
    Real g[3], eq[3], exponent{}, square = 248.05021344239853 + Real{};  // (2 pi)^3
    for (unsigned int axis = 0; axis < 3; ++axis) {
      const Real center = At<Real>(batch.center[axis].lanes + i);
      Real q;
      GetAxisFactors(width, center, lambda[axis], q, g[axis], eq[axis]);
      exponent -= (width * center) * (center * q);
      square *= q;
    }
    Real power, root;
    QXNumerics::QXExp(exponent, power);
    for (unsigned int j = 0; j < Pack; ++j) root[j] = std::sqrt(square[j]);
    At<Real>(Entry(0, 0, 0, i)) = At<Real>(batch.amplitude.lanes + i) * (root * power);
    At<Real>(Entry(0, 1, 0, i)) = At<Real>(Entry(0, 2, 0, i)) = 1.0 + Real{};
    for (unsigned int axis = 0; axis < 3; ++axis) {
      // Where exp gives 0, so far away that the quotients might overflow, they must be finite too;
      // the difference is 0, or not a number where the place is not finite.
      // NOLINTNEXTLINE(misc-redundant-expression)
      const Real reach = exponent < -708.0 ? g[axis] - g[axis] : g[axis];
      RunRecurrence<Real, kBatch>(reach, eq[axis], N + kExtra, Entry(0, axis, 0, i));
      BuildDerivatives<Real>(axis, i);
    }
  }

  template <class Real>
  [[gnu::always_inline]] void BuildDerivatives(unsigned int axis, unsigned int i) const {
    if constexpr (Derivatives == 0) return;
    const double width = lambda[axis];
    const double* f = Entry(0, axis, 0, i);
    double* df = Entry(1, axis, 0, i);
    if constexpr (InWidths)
      BuildFDerivative<Real, kBatch>(N, -1.0 / width, f, df);
    else
      BuildFSecondArgDerivative<Real, kBatch>(N, -width, f, df);
    if constexpr (Derivatives == 1) return;
    double* ddf = Entry(2, axis, 0, i);
    if constexpr (InWidths) {
      BuildFSecondDerivative<Real, kBatch>(N, 1.0 / (width * width), f, ddf);
      for (unsigned int k = 0; k <= N; ++k)
        At<Real>(ddf + k * kBatch) -= (2.0 / width) * At<Real>(df + k * kBatch);
    } else {
      BuildFSecondArgSecondDerivative<Real, kBatch>(N, width * width, f, ddf);
    }
  }

  // Adds to the coefficients (l, m, n) from l = first on, which stands at `place`: by whole tiles,
  // and what is left by a smaller one.
  template <unsigned int Pack, unsigned int Tile>
  [[gnu::always_inline]] void AddColumn(unsigned int first, unsigned int m, unsigned int n,
                                        unsigned int place) const {
    for (; first + Tile + m + n <= N + 1; first += Tile) AddTile<Pack, Tile>(first, m, n, place);
    if constexpr (Tile > 1) AddColumn<Pack, Tile - 1>(first, m, n, place);
  }

  template <unsigned int Pack, unsigned int Tile>
  [[gnu::always_inline]] void AddTile(unsigned int l, unsigned int m, unsigned int n,
                                      unsigned int& place) const {
    using Real = Doubles<Pack>;
    Real sum[kNumTargets][Tile]{};
    for (unsigned int i = 0; i < batch.count; i += Pack) {
#pragma GCC unroll 10
      for (unsigned int t = 0; t < kNumTargets; ++t) {
        const auto [x, y, z] = kTargets[t];
        const Real yz = At<Real>(Entry(y, 1, m, i)) * At<Real>(Entry(z, 2, n, i));
#pragma GCC unroll 6
        for (unsigned int j = 0; j < Tile; ++j) sum[t][j] += At<Real>(Entry(x, 0, l + j, i)) * yz;
      }
    }
#pragma GCC unroll 6
    for (unsigned int j = 0; j < Tile; ++j) {
#pragma GCC unroll 10
      for (unsigned int t = 0; t < kNumTargets; ++t)
        targets[t][place] += inverseNorms[place] * SumOfLanes<Pack>(sum[t][j]);
      const unsigned int s = l + j + m + n;
      place += (s + 2) * (s + 3) / 2;  // on to l + 1
    }
  }

  template <unsigned int Pack>
  [[gnu::always_inline]] static double SumOfLanes(Doubles<Pack> const& values) {
    if constexpr (Pack == 2) {
      return values[0] + values[1];
    } else {
      Doubles<Pack / 2> halves;
      for (unsigned int i = 0; i < Pack / 2; ++i) halves[i] = values[i] + values[i + Pack / 2];
      return SumOfLanes<Pack / 2>(halves);
    }
  }
};

}  // namespace QXHermiteMath::kernel

#include "hermite/expansion/grid_projection.h"

#include <algorithm>
#include <cstddef>

#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"

namespace QXHermiteMath {

namespace {

using QXCore::kMostLanes;

constexpr size_t kRows = 4;  ///< rows along x that are summed side by side

/// d_0 .. d_N at the elements of one axis: d_k at element i stands at i length + k. There is room
/// for whole packs of lanes, zeros beyond d_N.
struct AxisTable {
  AxisTable(unsigned int N, double lambda, double center, std::vector<float> const& coords)
      : length(N / kMostLanes * kMostLanes + kMostLanes), values(coords.size() * length, 0.0) {
    for (size_t i = 0; i < coords.size(); ++i) {
      QXCalcDoubleNormalizedHermite(N, (coords[i] - center) * lambda, &values[i * length]);
    }
  }

  size_t length;
  std::vector<double> values;
};

/// The projection, one axis after the other: with the value f of an element times the volume,
///
///   a_l = sum over x of d_l(x) f,   b_lm = sum over y of d_m(y) a_l,   c_lmn = sum over z of
///   d_n(z) b_lm,
///
/// so that the innermost sum, over all elements, has N + 1 terms instead of the whole basis.
struct ProjectionKernel {
  unsigned int N;
  unsigned int xdim, ydim, zdim;
  size_t length;  ///< of a row of a table, and of sums and plane
  const double* tableX;
  const double* tableY;
  const double* tableZ;
  const float* values;
  double scale;
  double* rows;   ///< f at kRows rows: kRows x xdim
  double* sums;   ///< a: kRows x length
  double* plane;  ///< b: m x l, (N + 1) x length
  double* out;    ///< c, shell order

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    for (size_t z = 0; z < zdim; ++z) {
      for (size_t i = 0; i < (N + 1) * length; ++i) plane[i] = 0.0;
      for (size_t y = 0; y < ydim; y += kRows) {
        const size_t count = std::min<size_t>(kRows, ydim - y);
        LoadRows(values + size_t{xdim} * (y + ydim * z), count);
        for (size_t l = 0; l <= N; l += Lanes) SumAlongX<Lanes>(l);
        for (size_t row = 0; row < count; ++row) {
          AddToPlane(tableY + (y + row) * length, sums + row * length);
        }
      }
      AddPlane(tableZ + z * length);
    }
  }

  /// Rows beyond the last stay as they were: they are summed, and not used.
  [[gnu::always_inline]] void LoadRows(const float* from, size_t count) const {
    for (size_t i = 0; i < count * xdim; ++i) rows[i] = static_cast<double>(from[i]) * scale;
  }

  /// a_l .. for as many degrees as lanes, and all rows.
  template <int Lanes>
  [[gnu::always_inline]] void SumAlongX(size_t l) const {
    constexpr int kHalf = Lanes / 2;  // the doubles of one register
    using Doubles = typename QXCore::QXPack<double, kHalf>::Type;
    Doubles sum[kRows][2] = {};
    for (size_t x = 0; x < xdim; ++x) {
      const Doubles* d = reinterpret_cast<const Doubles*>(tableX + x * length + l);
#pragma GCC unroll 4
      for (size_t row = 0; row < kRows; ++row) {
        sum[row][0] += d[0] * rows[row * xdim + x];
        sum[row][1] += d[1] * rows[row * xdim + x];
      }
    }
#pragma GCC unroll 4
    for (size_t row = 0; row < kRows; ++row) {
      Doubles* a = reinterpret_cast<Doubles*>(sums + row * length + l);
      a[0] = sum[row][0];
      a[1] = sum[row][1];
    }
  }

  [[gnu::always_inline]] void AddToPlane(const double* d, const double* a) const {
    for (size_t m = 0; m <= N; ++m) {
      double* b = plane + m * length;
      for (size_t l = 0; l <= N - m; ++l) b[l] += d[m] * a[l];
    }
  }

  [[gnu::always_inline]] void AddPlane(const double* d) const {
    ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
      out[i] += plane[m * length + l] * d[n];
    });
  }
};

}  // namespace

std::vector<double> ValueWeightedCenter(const QXScalarGrid& grid) {
  float sum[3] = {0.0f, 0.0f, 0.0f}, total = 0.0f;
  QXForEachElement(grid, [&](float value, float x, float y, float z) {
    if (!(value > 0.0f)) return;
    sum[0] += value * x;
    sum[1] += value * y;
    sum[2] += value * z;
    total += value;
  });
  if (!(total > 0.0f)) return {0.0, 0.0, 0.0};
  const float inverse = 1.0f / total;
  return {sum[0] * inverse, sum[1] * inverse, sum[2] * inverse};
}

void ProjectGrid(const QXScalarGrid& grid, unsigned int N, const double* lambdas,
                 const double* center, double* coefficients, QXSimdLevel level) {
  const AxisTable tableX(N, lambdas[0], center[0], QXElementCoords(grid, 0));
  const AxisTable tableY(N, lambdas[1], center[1], QXElementCoords(grid, 1));
  const AxisTable tableZ(N, lambdas[2], center[2], QXElementCoords(grid, 2));

  const size_t length = tableX.length;
  const double width = grid.GetSpacing();
  std::vector<double> rows(kRows * grid.GetXDim()), sums(kRows * length), plane((N + 1) * length);
  std::vector<double> sum(QXHermiteBasisSize(N));
  QXCore::QXRunKernel(
      level, ProjectionKernel{N, grid.GetXDim(), grid.GetYDim(), grid.GetZDim(), length,
                              tableX.values.data(), tableY.values.data(), tableZ.values.data(),
                              grid.GetValues(),
                              width * width * width * lambdas[2] * lambdas[0] * lambdas[1],
                              rows.data(), sums.data(), plane.data(), sum.data()});
  for (size_t i = 0; i < sum.size(); ++i) coefficients[i] += sum[i];
}

}  // namespace QXHermiteMath

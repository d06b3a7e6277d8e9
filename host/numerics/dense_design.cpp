#include "host/numerics/dense_design.h"

#include <algorithm>

#include "host/core/simd.h"

namespace QXNumerics {
namespace {

using Eigen::Index;

// Adds X^T V to P. All three are stored by columns, so the products are dot products of columns as
// they lie: tiles of 3 columns of X by 4 of V stay in 12 of 16 registers and need 7 loads for 12
// multiply-adds.
struct CorrelateKernel {
  static constexpr int kFromX = 3, kFromV = 4;
  // Rows at a time: those of a tile, 28 KiB, stay in the first cache while the columns of V pass.
  // With one tile of V there is nothing to stay for, and X is read in long runs.
  static constexpr Index kRows = 512, kRowsOfOneTile = 4096;

  const double* x;
  const double* v;
  double* p;
  Index rows, columns, vectors;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    const Index step = vectors <= kFromV ? kRowsOfOneTile : kRows;
    for (Index first = 0; first < rows; first += step) {
      const Index count = std::min(step, rows - first);
      Index j = 0;
      for (; j + kFromX <= columns; j += kFromX) Strip<Lanes, kFromX>(first, count, j);
      for (; j < columns; ++j) Strip<Lanes, 1>(first, count, j);
    }
  }

  template <int Lanes, int FromX>
  [[gnu::always_inline]] void Strip(Index first, Index count, Index j) const {
    Index k = 0;
    for (; k + kFromV <= vectors; k += kFromV) Tile<Lanes, FromX, kFromV>(first, count, j, k);
    for (; k < vectors; ++k) Tile<Lanes, FromX, 1>(first, count, j, k);
  }

  template <int Lanes, int FromX, int FromV>
  [[gnu::always_inline]] void Tile(Index first, Index count, Index j, Index k) const {
    constexpr Index kWidth = Lanes / 2;
    using Doubles = typename QXCore::QXPack<double, Lanes / 2>::Type;
    const double* xs = x + first + j * rows;
    const double* vs = v + first + k * rows;
    Doubles sums[FromX][FromV] = {};
    Index i = 0;
    for (; i + kWidth <= count; i += kWidth) {
      Doubles fromX[FromX];
      for (int a = 0; a < FromX; ++a)
        fromX[a] = *reinterpret_cast<const Doubles*>(xs + a * rows + i);
      for (int b = 0; b < FromV; ++b) {
        const Doubles fromV = *reinterpret_cast<const Doubles*>(vs + b * rows + i);
        for (int a = 0; a < FromX; ++a) sums[a][b] += fromX[a] * fromV;
      }
    }
    for (int b = 0; b < FromV; ++b)
      for (int a = 0; a < FromX; ++a) {
        double sum = 0;
        for (Index rest = i; rest < count; ++rest) sum += xs[a * rows + rest] * vs[b * rows + rest];
        for (int lane = 0; lane < kWidth; ++lane) sum += sums[a][b][lane];
        p[j + a + (k + b) * columns] += sum;
      }
  }
};

// As many vectors at a time: their rows of a tile stay in the second cache.
constexpr Index kVectors = 64;

}  // namespace

void QXDenseDesign::Correlate(const Eigen::MatrixXd& vectors, Eigen::MatrixXd& products) const {
  const Index rows = Rows(), columns = Cols();
  products.setZero(columns, vectors.cols());
  for (Index k = 0; k < vectors.cols(); k += kVectors) {
    const Index count = std::min(kVectors, vectors.cols() - k);
    QXCore::QXRunKernel(QXCore::QXGetSimdLevel(),
                        CorrelateKernel{matrix_.data(), vectors.data() + k * rows,
                                        products.data() + k * columns, rows, columns, count});
  }
}

void QXDenseDesign::CopyColumn(Index j, double* column) const {
  std::copy_n(matrix_.data() + j * Rows(), Rows(), column);
}

}  // namespace QXNumerics

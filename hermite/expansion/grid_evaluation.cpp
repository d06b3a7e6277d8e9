#include "hermite/expansion/grid_evaluation.h"

#include <algorithm>
#include <cstddef>

#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"
#include "host/core/throw.h"
#include "host/grid/skew_grid.h"

// This file is compiled without fused multiply-add: grid values are the same to the bit everywhere.

namespace QXHermiteMath {

namespace {

using QXCore::kMostLanes;

constexpr size_t kBlock = 4;  ///< elements along z that are summed side by side

/// Room for whole packs of lanes, and for whole blocks.
size_t Padded(size_t count) {
  return (count + kMostLanes - 1) / kMostLanes * kMostLanes;
}

/// h_0 .. h_N at the elements of one axis: h_k at element i stands at k length + i. Beyond the
/// elements there are zeros.
struct AxisTable {
  AxisTable(unsigned int N, double lambda, std::vector<float> const& coords)
      : length(Padded(coords.size())), values((N + 1) * length, 0.0) {
    std::vector<double> h(N + 1);
    for (size_t i = 0; i < coords.size(); ++i) {
      HermiteFuncs(N, coords[i] * lambda, h.data());
      for (size_t k = 0; k <= N; ++k) values[k * length + i] = h[k];
    }
  }

  const double* operator()(unsigned int k) const { return values.data() + k * length; }

  size_t length;
  std::vector<double> values;
};

/// One function of the basis: its coefficient, and the rows of its degrees in the axis tables.
struct Term {
  double c;
  const double* x;
  const double* y;
  const double* z;
};

/// The sum over the basis at all elements of a grid. An element is
///
///   for the terms in order: accumulator += float(((c x) y) z),   the accumulator in float,
///
/// and elements do not depend on each other: a pack of them along x shares the z value, and the
/// products (c x) y of a pack serve all elements above it.
struct EvaluationKernel {
  const Term* terms;
  size_t numTerms;
  unsigned int xdim, ydim, zdim;
  double* products;  ///< numTerms packs
  float* values;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    for (size_t x = 0; x < xdim; x += Lanes) {
      for (size_t y = 0; y < ydim; ++y) {
        FillProducts<Lanes>(x, y);
        for (size_t z = 0; z < zdim; z += kBlock) SumBlock<Lanes>(x, y, z);
      }
    }
  }

  template <int Lanes>
  [[gnu::always_inline]] void FillProducts(size_t x, size_t y) const {
    using Doubles = typename QXCore::QXPack<double, Lanes>::Type;
    Doubles* product = reinterpret_cast<Doubles*>(products);
    for (size_t i = 0; i < numTerms; ++i) {
      const Term& term = terms[i];
      product[i] = term.c * *reinterpret_cast<const Doubles*>(term.x + x) * term.y[y];
    }
  }

  template <int Lanes>
  [[gnu::always_inline]] void SumBlock(size_t x, size_t y, size_t z) const {
    using Doubles = typename QXCore::QXPack<double, Lanes>::Type;
    using Floats = typename QXCore::QXPack<float, Lanes>::Type;
    const Doubles* product = reinterpret_cast<const Doubles*>(products);
    Floats sum[kBlock] = {};
    for (size_t i = 0; i < numTerms; ++i) {
      const double* hz = terms[i].z + z;
#pragma GCC unroll 4
      for (size_t b = 0; b < kBlock; ++b) {
        sum[b] += __builtin_convertvector(product[i] * hz[b], Floats);
      }
    }
    const size_t lanes = std::min<size_t>(Lanes, xdim - x);
    for (size_t b = 0; b < std::min<size_t>(kBlock, zdim - z); ++b) {
      float* out = values + x + xdim * (y + ydim * (z + b));
      for (size_t lane = 0; lane < lanes; ++lane) out[lane] = sum[b][lane];
    }
  }
};

}  // namespace

unsigned int EvaluationGridDim(double width, double spacing) {
  return CubeDim(
      width, spacing, kLargestGridDim,
      "The grid spacing for this molecule, requires grid size exceeding maximum allowed of %d,"
      "                                in order to cover the entire molecule. Instead maximum "
      "value will be used.                                Try increasing spacing size.");
}

unsigned int CubeDim(double width, double spacing, unsigned int largest, const char* warning) {
  constexpr unsigned int kSmallest = 5;
  // Compared before it is truncated, so that no number is too large for a dimension.
  const double steps = (width + kGridMargin) / spacing + 1.0;
  if (steps >= largest) {
    QXCore::QXThrow.Warning(warning, static_cast<int>(largest));
    return largest;
  }
  return steps >= kSmallest ? static_cast<unsigned int>(steps) + 1 : kSmallest;
}

void EvaluateOnGrid(unsigned int N, const double* coefficients, const double* lambdas,
                    QXScalarGrid& grid, QXSimdLevel level) {
  const AxisTable hx(N, lambdas[0], QXElementCoords(grid, 0));
  const AxisTable hy(N, lambdas[1], QXElementCoords(grid, 1));
  const AxisTable hz(N, lambdas[2], QXElementCoords(grid, 2));

  std::vector<Term> terms;
  terms.reserve(QXHermiteBasisSize(N));
  ForEachLmn(N, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    terms.push_back({coefficients[i], hx(l), hy(m), hz(n)});
  });
  std::vector<double> products(terms.size() * kMostLanes);
  QXCore::QXRunKernel(level,
                      EvaluationKernel{terms.data(), terms.size(), grid.GetXDim(), grid.GetYDim(),
                                       grid.GetZDim(), products.data(), grid.GetValues()});
}

bool CreateGrid(unsigned int N, const std::vector<double>& coefficients, double width,
                QXScalarGrid& grid, double spacing, double lambdaX, double lambdaY,
                double lambdaZ) {
  if (coefficients.size() != QXHermiteBasisSize(N)) return false;
  const unsigned int dim = EvaluationGridDim(width, spacing);
  grid.SetDim(dim, dim, dim);
  grid.SetSpacing(static_cast<float>(spacing));
  const double lambdas[3] = {lambdaX, lambdaY, lambdaZ};
  EvaluateOnGrid(N, coefficients.data(), lambdas, grid, QXCore::QXGetSimdLevel());
  return true;
}

bool CreateGrid(unsigned int N, const std::vector<double>& coefficients, double width,
                QXScalarGrid& grid, double spacing, double lambdaX, double lambdaY, double lambdaZ,
                const QXTrans& transform) {
  CreateGrid(N, coefficients, width, grid, spacing, lambdaX, lambdaY, lambdaZ);
  QXCore::QXSkewGrid moved(grid);
  QXTransform(moved, transform);
  QXMakeRegularGrid(grid, moved, grid.GetSpacing());
  return true;
}

}  // namespace QXHermiteMath

#pragma once

#include <cstddef>
#include <vector>

#include "host/core/simd.h"
#include "host/grid/scalar_grid.h"

// The inner loops of multi-centre expansions. What is done for one element is done in the same
// order at every level: the same bits.

namespace QXHermiteMath {

using QXCore::QXScalarGrid;
using QXCore::QXSimdLevel;

/// One function of a basis, with its coefficient: c x[i] y[i] z[i] at the points i of a block, or
/// c x[i] y[j] z[k] at the element (i, j, k) of a grid.
struct HermiteTerm {
  double c;
  const double* x;
  const double* y;
  const double* z;
};

/// sums[i] = the sum over the terms, in their order, of ((x c) y) z. count: a multiple of
/// QXCore::kMostLanes; so many doubles are in every row of a term, and in sums.
void SumTerms(std::vector<HermiteTerm> const& terms, size_t count, double* sums, QXSimdLevel level);

/// Writes (y z) x for each term into a column of its own: out[i + stride j] of term j. Rows as
/// above, with room for whole multiples of kMostLanes; count may be any number.
void WriteColumns(std::vector<HermiteTerm> const& terms, size_t count, double* out, size_t stride,
                  QXSimdLevel level);

/// Adds the sum over the terms to each element of the grid: worked out in double, narrowed once.
/// Rows reach over the dimension of the grid, x and y to a multiple of kMostLanes. The sum is taken
/// one axis after the other: over the terms of equal x and y, then over those of equal x.
void AddTerms(std::vector<HermiteTerm> terms, QXScalarGrid& grid, QXSimdLevel level);

}  // namespace QXHermiteMath

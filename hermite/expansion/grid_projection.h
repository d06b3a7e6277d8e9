#pragma once

#include <vector>

#include "host/core/simd.h"
#include "host/grid/scalar_grid.h"

// What the grid form of QXHermite::Setup is made of.

namespace QXHermiteMath {

using QXCore::QXScalarGrid;
using QXCore::QXSimdLevel;

/// The mean position of the positive values, weighted by them; zeros when there are none. Three
/// doubles, but worked out in single precision, in the order of the elements.
std::vector<double> ValueWeightedCenter(const QXScalarGrid& grid);

/// Adds to coefficients, QXHermiteBasisSize(N) in shell order, the projection of a grid
///
///   spacing^3 lambda_x lambda_y lambda_z sum over elements of f d_l d_m d_n
///
/// onto the basis about `center`, with the analysis functions d_k of
/// QXCalcDoubleNormalizedHermite. lambdas, center: three doubles. Levels agree to rounding.
void ProjectGrid(const QXScalarGrid& grid, unsigned int N, const double* lambdas,
                 const double* center, double* coefficients, QXSimdLevel level);

}  // namespace QXHermiteMath

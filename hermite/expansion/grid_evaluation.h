#pragma once

#include <vector>

#include "host/core/simd.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/trans.h"

// From coefficients back to a density on a regular grid: the inverse of the grid form of
// QXHermite::Setup.

namespace QXHermiteMath {

using QXCore::QXScalarGrid;
using QXCore::QXSimdLevel;
using QXMolKit::QXTrans;

/// What the cubes of CreateGrid are wider than asked for, in angstrom, and their largest dimension.
inline constexpr double kGridMargin = 6.0;
inline constexpr unsigned int kLargestGridDim = 500;

/// Makes `grid` a cube of the given spacing (angstrom) that reaches 3 angstrom beyond `width` on
/// either side, about its mid point as it stands, and fills it with the expansion
///
///   f(r) = sum over l + m + n <= N of c_lmn h_l(lambda_x x) h_m(lambda_y y) h_n(lambda_z z)
///
/// at the elements: the origin of the expansion lies at the origin of coordinates. Coefficients in
/// shell order. The dimension is that of EvaluationGridDim, which warns when it cuts the grid. Each
/// term is worked out in double and narrowed; the sum is taken in float, in shell order.
/// False, and the grid untouched, when the coefficients are not those of degree N.
///
///     QXScalarGrid grid;
///     CreateGrid(5, c, 10.0, grid, 0.5, 0.8, 0.8, 0.8);   // 34 x 34 x 34 elements
bool CreateGrid(unsigned int N, const std::vector<double>& coefficients, double width,
                QXScalarGrid& grid, double spacing, double lambdaX, double lambdaY, double lambdaZ);

/// The same, then moved by `transform` (of points) through resampling at the same spacing, see
/// QXMakeRegularGrid: dimensions and mid point become those that cover the moved cube. Always true,
/// on purpose: coefficients of a wrong number leave the grid as it was, and that one is moved.
bool CreateGrid(unsigned int N, const std::vector<double>& coefficients, double width,
                QXScalarGrid& grid, double spacing, double lambdaX, double lambdaY, double lambdaZ,
                const QXTrans& transform);

/// The dimension of such a cube: that of CubeDim, at most kLargestGridDim.
unsigned int EvaluationGridDim(double width, double spacing);

/// (width + kGridMargin)/spacing + 1 truncated, plus 1; 5 where that is below 6; where it would
/// exceed `largest`, that, and the warning, a format with one %d for it.
unsigned int CubeDim(double width, double spacing, unsigned int largest, const char* warning);

/// Sets the elements of a grid, of any dimensions, to the expansion at their places; the same bits
/// at every level that the machine has. coefficients: QXHermiteBasisSize(N), shell order; lambdas:
/// the widths along x, y, z.
void EvaluateOnGrid(unsigned int N, const double* coefficients, const double* lambdas,
                    QXScalarGrid& grid, QXSimdLevel level);

}  // namespace QXHermiteMath

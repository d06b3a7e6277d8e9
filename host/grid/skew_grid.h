#pragma once

#include <array>

#include "host/grid/scalar_grid.h"

namespace QXMolKit {
class QXTrans;
}

namespace QXCore {

/// Where element (0, 0, 0) stands, in double precision.
std::array<double, 3> QXGridOrigin(const QXGridBase& grid);

/// A grid with axes of its own, which can be turned and moved without resampling: element (i, j, k)
/// stands at origin + i a + j b + k c. The values are copied.
///
///     QXSkewGrid skew(grid);
///     QXRotate(skew, m);
///     QXMakeRegularGrid(moved, skew, grid.GetSpacing());
class QXSkewGrid {
 public:
  using Vector = std::array<double, 3>;  ///< x, y, z in angstrom

  /// The elements where they are in `grid`.
  explicit QXSkewGrid(const QXScalarGrid& grid);
  /// The values of `grid` at other places: element (0, 0, 0) at `origin`, and a, b, c the steps to
  /// the next element along its x, y and z. The steps need not be orthogonal or of one length, but
  /// must span space. The geometry of `grid` plays no part.
  QXSkewGrid(const QXScalarGrid& grid, const Vector& origin, const std::array<Vector, 3>& steps);

  /// The values; the place of element (0, 0, 0); and the steps a, b, c.
  const QXScalarGrid& GetGrid() const { return grid_; }
  const Vector& GetOrigin() const { return origin_; }
  const std::array<Vector, 3>& GetSteps() const { return steps_; }
  /// The place of a point of (fractional) indices.
  Vector GetPoint(double i, double j, double k) const;

 private:
  friend void QXRotate(QXSkewGrid& grid, const double* m);
  friend void QXTranslate(QXSkewGrid& grid, const double* t);

  QXScalarGrid grid_;
  Vector origin_{};
  std::array<Vector, 3> steps_{};
};

/// Turns the grid in space: a point p goes to m p. m: nine numbers, row-major.
void QXRotate(QXSkewGrid& grid, const double* m);

/// Moves the grid in space by t, three numbers.
void QXTranslate(QXSkewGrid& grid, const double* t);

/// Moves the grid in space as `motion` moves points.
void QXTransform(QXSkewGrid& grid, const QXMolKit::QXTrans& motion);

/// Resamples `in` onto `out` by trilinear interpolation between the elements of `in`, 0 outside
/// them. `out` becomes the regular grid of the given spacing whose box covers the box of all cells
/// of `in`, about the same centre: for a grid that was not moved, at its own spacing, a copy up to
/// rounding. The title goes along, attached data does not. `out` may be the grid that `in` was made
/// from. A spacing that is not positive, or asks for more than 2^32 - 1 elements, is an error
/// report and leaves `out` without elements.
void QXMakeRegularGrid(QXScalarGrid& out, const QXSkewGrid& in, float spacing);

}  // namespace QXCore

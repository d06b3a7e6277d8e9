#include "host/grid/skew_grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/core/throw.h"
#include "host/grid/grid_sampler.h"

namespace QXCore {
namespace {

using Vector = QXSkewGrid::Vector;

// A box this much larger than a whole number of cells needs no further one: coordinates are floats.
constexpr double kSlack = 1e-4;

Vector Apply(const double* m, const Vector& p) {
  return {m[0] * p[0] + m[1] * p[1] + m[2] * p[2], m[3] * p[0] + m[4] * p[1] + m[5] * p[2],
          m[6] * p[0] + m[7] * p[1] + m[8] * p[2]};
}

Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The rows that turn a difference of points into indices: inverse of the matrix of steps.
std::array<Vector, 3> Reciprocal(const std::array<Vector, 3>& steps) {
  std::array<Vector, 3> rows = {Cross(steps[1], steps[2]), Cross(steps[2], steps[0]),
                                Cross(steps[0], steps[1])};
  const double volume = Dot(steps[0], rows[0]);
  for (Vector& row : rows) {
    for (double& value : row) value /= volume;
  }
  return rows;
}

/// The number of cells of the given size that cover a length; 0 when that is not a sane number.
unsigned int CellsToCover(double length, double spacing) {
  const double cells = std::ceil(length / spacing - kSlack);
  return cells >= 1.0 && cells <= 4294967295.0 ? static_cast<unsigned int>(cells) : 0;
}

}  // namespace

std::array<double, 3> QXGridOrigin(const QXGridBase& grid) {
  unsigned int dim[3];
  float mid[3];
  grid.GetDim(dim[0], dim[1], dim[2]);
  grid.GetMid(mid[0], mid[1], mid[2]);
  std::array<double, 3> origin;
  for (size_t axis = 0; axis < 3; ++axis) {
    const double half = (static_cast<double>(dim[axis]) - 1.0) * 0.5;
    origin[axis] = mid[axis] - half * static_cast<double>(grid.GetSpacing());
  }
  return origin;
}

QXSkewGrid::QXSkewGrid(const QXScalarGrid& grid) : grid_(grid), origin_(QXGridOrigin(grid)) {
  for (size_t axis = 0; axis < 3; ++axis) steps_[axis][axis] = grid.GetSpacing();
}

QXSkewGrid::QXSkewGrid(const QXScalarGrid& grid, const Vector& origin,
                       const std::array<Vector, 3>& steps)
    : grid_(grid), origin_(origin), steps_(steps) {}

Vector QXSkewGrid::GetPoint(double i, double j, double k) const {
  Vector point = origin_;
  for (size_t axis = 0; axis < 3; ++axis) {
    point[axis] += i * steps_[0][axis] + j * steps_[1][axis] + k * steps_[2][axis];
  }
  return point;
}

void QXRotate(QXSkewGrid& grid, const double* m) {
  grid.origin_ = Apply(m, grid.origin_);
  for (Vector& step : grid.steps_) step = Apply(m, step);
}

void QXTranslate(QXSkewGrid& grid, const double* t) {
  for (size_t axis = 0; axis < 3; ++axis) grid.origin_[axis] += t[axis];
}

void QXMakeRegularGrid(QXScalarGrid& out, const QXSkewGrid& in, float spacing) {
  const QXScalarGrid& values = in.GetGrid();
  out.SetTitle(values.GetTitle());
  out.SetDim(0, 0, 0);
  out.SetSpacing(spacing);
  unsigned int from[3];
  values.GetDim(from[0], from[1], from[2]);
  const Vector centre = in.GetPoint(0.5 * (static_cast<double>(from[0]) - 1.0),
                                    0.5 * (static_cast<double>(from[1]) - 1.0),
                                    0.5 * (static_cast<double>(from[2]) - 1.0));
  out.SetMid(static_cast<float>(centre[0]), static_cast<float>(centre[1]),
             static_cast<float>(centre[2]));
  if (values.GetSize() == 0) return;

  unsigned int dim[3];
  for (size_t axis = 0; axis < 3; ++axis) {
    double length = 0.0;
    for (size_t step = 0; step < 3; ++step) {
      length += from[step] * std::abs(in.GetSteps()[step][axis]);
    }
    dim[axis] = spacing > 0.0f ? CellsToCover(length, spacing) : 0;
  }
  if (dim[0] == 0 || dim[1] == 0 || dim[2] == 0) {
    QXThrow.Error("No regular grid of spacing %g covers the moved grid: choose another spacing.",
                  static_cast<double>(spacing));
    return;
  }
  out.SetDim(dim[0], dim[1], dim[2]);

  const std::array<Vector, 3> toIndex = Reciprocal(in.GetSteps());
  const QXGridSampler sample(values);
  float* value = out.GetValues();
  if (value == nullptr) return;
  // In double throughout: an unmoved grid then meets its own elements again.
  const auto coordinate = [&](size_t axis, unsigned int index) {
    return (index - (dim[axis] - 1.0) * 0.5) * static_cast<double>(spacing) + centre[axis] -
           in.GetOrigin()[axis];
  };
  for (unsigned int k = 0; k < dim[2]; ++k) {
    for (unsigned int j = 0; j < dim[1]; ++j) {
      for (unsigned int i = 0; i < dim[0]; ++i) {
        const Vector p = {coordinate(0, i), coordinate(1, j), coordinate(2, k)};
        *value++ = sample({Dot(toIndex[0], p), Dot(toIndex[1], p), Dot(toIndex[2], p)});
      }
    }
  }
}

}  // namespace QXCore

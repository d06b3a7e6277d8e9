#include "host/grid/skew_grid.h"

#include <cmath>

#include "host/core/throw.h"
#include "host/grid/grid_sampler.h"
#include "host/grid/step_matrix.h"
#include "host/molkit/trans.h"

namespace QXCore {
namespace {

using Vector = QXSkewGrid::Vector;
using Eigen::Matrix3d;
using Eigen::Vector3d;

// A box this much larger than a whole number of cells needs no further one: coordinates are floats.
constexpr double kSlack = 1e-4;

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
  const Matrix3d turn = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>::Map(m);
  const auto apply = [&](Vector& v) { Vector3d::Map(v.data()) = turn * Vector3d::Map(v.data()); };
  apply(grid.origin_);
  for (Vector& step : grid.steps_) apply(step);
}

void QXTranslate(QXSkewGrid& grid, const double* t) {
  for (size_t axis = 0; axis < 3; ++axis) grid.origin_[axis] += t[axis];
}

void QXTransform(QXSkewGrid& grid, const QXMolKit::QXTrans& motion) {
  double rotation[9], translation[3];
  motion.Extract(rotation, translation, true);
  QXRotate(grid, rotation);
  QXTranslate(grid, translation);
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

  const Matrix3d steps = StepMatrix(in.GetSteps());
  const Vector3d box = steps.cwiseAbs() * Vector3d(from[0], from[1], from[2]);
  unsigned int dim[3];
  for (int axis = 0; axis < 3; ++axis) {
    dim[axis] = spacing > 0.0f ? CellsToCover(box[axis], spacing) : 0;
  }
  if (dim[0] == 0 || dim[1] == 0 || dim[2] == 0) {
    QXThrow.Error("No regular grid of spacing %g covers the moved grid: choose another spacing.",
                  static_cast<double>(spacing));
    return;
  }
  out.SetDim(dim[0], dim[1], dim[2]);

  const Matrix3d toIndex = steps.inverse();
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
        const Vector3d index =
            toIndex * Vector3d(coordinate(0, i), coordinate(1, j), coordinate(2, k));
        *value++ = sample({index[0], index[1], index[2]});
      }
    }
  }
}

}  // namespace QXCore

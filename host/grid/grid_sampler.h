#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "host/grid/scalar_grid.h"

namespace QXCore {

/// Reads values of a grid between its elements by trilinear interpolation, 0 outside them. Other
/// than for QXLinearInterpolate the upper outermost elements are inside, so that a grid sampled at
/// its own elements is itself; and places are told as (fractional) indices.
class QXGridSampler {
 public:
  explicit QXGridSampler(const QXScalarGrid& grid) : values_(grid.GetValues()) {
    grid.GetDim(dim_[0], dim_[1], dim_[2]);
    // A single layer has no neighbour: it is read twice.
    step_[0] = dim_[0] > 1 ? 1 : 0;
    step_[1] = dim_[1] > 1 ? dim_[0] : 0;
    step_[2] = dim_[2] > 1 ? size_t{dim_[0]} * dim_[1] : 0;
  }

  float operator()(const std::array<double, 3>& g) const {
    size_t index[3];
    double f[3];
    for (size_t axis = 0; axis < 3; ++axis) {
      if (!Locate(g[axis], dim_[axis], index[axis], f[axis])) return 0.0f;
    }
    const float* v = values_ + index[0] + dim_[0] * (index[1] + dim_[1] * index[2]);
    const auto alongX = [&](const float* p) { return Between(p[0], p[step_[0]], f[0]); };
    const auto alongY = [&](const float* p) {
      return Between(alongX(p), alongX(p + step_[1]), f[1]);
    };
    return static_cast<float>(Between(alongY(v), alongY(v + step_[2]), f[2]));
  }

 private:
  /// One axis: the element at or below index g and the fraction beyond it. False outside.
  static bool Locate(double g, unsigned int dim, size_t& index, double& fraction) {
    // In elements. What lies this far outside still lies on the outermost elements, for coordinates
    // are floats; and what lies this near to an element lies on it, so that the rounding of a
    // double does not mix in its neighbours.
    constexpr double kOutside = 1e-4, kOn = 1e-9;
    const double last = static_cast<double>(dim) - 1.0;
    if (!(g >= -kOutside && g <= last + kOutside)) return false;
    double place = std::clamp(g, 0.0, last);
    const double nearest = std::round(place);
    if (std::abs(place - nearest) <= kOn) place = nearest;
    index = std::min(static_cast<size_t>(place), static_cast<size_t>(dim < 2 ? 0 : dim - 2));
    fraction = place - static_cast<double>(index);
    return true;
  }

  /// A value beyond an element on which the point lies has no part, even when it is not finite.
  static double Between(double a, double b, double f) {
    return f == 0.0 ? a : f == 1.0 ? b : a + f * (b - a);
  }

  const float* values_;
  unsigned int dim_[3];
  size_t step_[3];
};

}  // namespace QXCore

#pragma once

#include <Eigen/Dense>
#include <array>

namespace QXCore {

/// The steps of a grid as columns: from indices to places, but for the origin.
inline Eigen::Matrix3d StepMatrix(const std::array<std::array<double, 3>, 3>& steps) {
  Eigen::Matrix3d matrix;
  matrix << Eigen::Vector3d::Map(steps[0].data()), Eigen::Vector3d::Map(steps[1].data()),
      Eigen::Vector3d::Map(steps[2].data());
  return matrix;
}

}  // namespace QXCore

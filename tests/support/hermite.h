#pragma once

// What the tests of the library share.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "support/density.h"
#include "support/messages.h"
#include "support/numerics.h"
#include "support/running.h"

namespace QXTest {

using Eigen::Vector3d;
using Matrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

/// Rx(angles[0]) Ry(angles[1]) Rz(angles[2]), right-handed.
inline Matrix EulerMatrix(const Vector& angles) {
  using Eigen::AngleAxisd;
  return (AngleAxisd(angles[0], Vector3d::UnitX()) * AngleAxisd(angles[1], Vector3d::UnitY()) *
          AngleAxisd(angles[2], Vector3d::UnitZ()))
      .toRotationMatrix();
}

inline QXHermiteMath::QXHermite Expanded(const Gaussians& gaussians,
                                         const QXHermiteOptions& options) {
  QXHermiteMath::QXHermite h;
  EXPECT_TRUE(h.Setup(gaussians, options));
  EXPECT_EQ(h.GetCoefficients().size(), h.NumCoefficients());
  return h;
}

/// The value of an expansion at a point relative to its centre.
inline double Value(const QXHermiteMath::QXHermite& h, const Vector3d& r) {
  return Evaluate(h.GetCoefficients(), h.GetOptions(), r[0], r[1], r[2]);
}

}  // namespace QXTest

namespace QXHermiteMath {
using namespace QXTest;
}

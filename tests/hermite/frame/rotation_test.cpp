#include "hermite/frame/rotation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Vector Rotated(const Vector& angles, unsigned int N, const Vector& in) {
  QXHermiteRotation rotation(N + 1);  // a degree below the object's is served too
  Vector out(in.size());
  EXPECT_TRUE(rotation.Rotate(angles.data(), N, in, out, QXHermiteIndex(N)));
  return out;
}

TEST(Rotation, TurnsTheDensityPointByPointWithExactDerivatives) {
  const Vector angles = {0.7, -1.2, 2.5};
  const Matrix Q = EulerMatrix(angles);
  for (unsigned int N : {0u, 1u, 4u, 14u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.9, 0.9, 0.9);
    const Vector c = RandomCoefficients(N, 20 + N), turned = Rotated(angles, N, c);
    for (const Vector3d& r : {Vector3d(0.4, -1.1, 0.8), Vector3d(-2, 0.3, 1)}) {
      const Vector3d back = Q.transpose() * r;
      // B terms of order 1, each after three stages of some N roundings; errors add as their root.
      EXPECT_NEAR(Evaluate(turned, options, r[0], r[1], r[2]),
                  Evaluate(c, options, back[0], back[1], back[2]),
                  4.0 * (N + 2) * std::sqrt(c.size()) * kEpsilon);
    }
    QXHermiteRotation rotation(N);
    Vector out(4 * c.size());
    EXPECT_TRUE(rotation.RotateWithDerivatives(angles.data(), N, c, out, QXHermiteIndex(N)));
    const std::vector<Vector> blocks = Blocks(out);
    EXPECT_EQ(blocks[0], turned);
    EXPECT_TRUE(DerivativesAgree(
        blocks.data() + 1, [&](const Vector& at) { return Rotated(at, N, c); }, angles));
  }
}

TEST(Rotation, BlocksStandByRisingDegreeRowByRow) {
  QXHermiteRotation rotation(2);
  const double c = std::cos(0.3), s = std::sin(0.3);
  EXPECT_TRUE(rotation.BuildRotationMatrixWithDerivative(0.3, 2));
  EXPECT_TRUE(AllNear(rotation.GetRotationMatrix(),
                      {1, c, s, -s, c, c * c, c * s, s * s, -2 * c * s, c * c - s * s, 2 * c * s,
                       s * s, -c * s, c * c},
                      4 * kEpsilon));
  EXPECT_EQ(rotation.GetRotationMatrixDerivative().size(), HermiteRotationMatrixSize(2));
}

}  // namespace
}  // namespace QXHermiteMath

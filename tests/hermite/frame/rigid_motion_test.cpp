#include "hermite/frame/rigid_motion.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Vector Flat(const Matrix& m) {
  return Vector(m.data(), m.data() + 9);
}

TEST(RotationMatrices, TurnAboutZThenYThenX) {
  constexpr double kFloat = std::numeric_limits<float>::epsilon();
  for (const Vector& a : {Vector{0, 0, 0}, {0.3, -0.7, 1.9}, {-2.9, 1.4, -3.1}, {2, -1.5, 0.1}}) {
    const Vector exact = Flat(EulerMatrix(a)), m = RotFromEulerXYZ(a[0], a[1], a[2]);
    EXPECT_TRUE(AllNear(m, exact, 8 * kEpsilon));
    // The inverse, to the condition of beta near a right angle: 1/cos(beta).
    EXPECT_TRUE(AllNear(EulerXYZ(m), a, 16 * kEpsilon / std::cos(a[1])));
    // Single precision throughout: some ten roundings of products of order 1.
    const Vector single = generateRotationMatrix(a[0], a[1], a[2]);
    EXPECT_TRUE(AllNear(single, exact, 12 * kFloat));
    EXPECT_EQ(AllNear(single, exact, 0.01 * kFloat), a[0] == 0);
    for (double element : single) EXPECT_EQ(element, static_cast<float>(element));
  }
  // Nothing is clamped.
  EXPECT_TRUE(std::isnan(EulerXYZ({0, 0, 1 + 2 * kEpsilon, 0, 1, 0, -1, 0, 0})[1]));
}

TEST(AdaptHermiteVar, GivesTheSameMotionAsTheQuaternionPose) {
  // Of unit length, the same of length 2, and zero.
  const Vector poses = {0.8, 0.2, -0.4, 0.4, 1, -2, 0.5,  //
                        1.6, 0.4, -0.8, 0.8, 1, -2, 0.5,  //
                        0,   0,   0,    0,   1, 2,  3};
  Vector out(18);
  QXAdaptHermiteVar(3, poses.data(), out.data());
  const Vector3d P(0.3, -1.2, 2.1);
  const Vector3d direct = Eigen::Quaterniond(0.8, 0.2, -0.4, 0.4) * P + Vector3d(1, -2, 0.5);
  for (const double* p : {&out[0], &out[6]})
    EXPECT_LT(
        (EulerMatrix({p[0], p[1], p[2]}).transpose() * (P + Vector3d(p[3], p[4], p[5])) - direct)
            .norm(),
        64 * kEpsilon);
  EXPECT_EQ(Vector(out.begin() + 15, out.end()), Vector(3, 0.0)) << "a zero matrix";
}

TEST(Transform, TranslatesFirstAndTurnsBySinglePrecisionQTransposed) {
  const double p[] = {0.3, -0.7, 1.9, 1.0, -2.0, 0.5};
  double rotation[9], translation[3];
  QXGetTransformFromHermiteParams(p).Extract<double, double>(rotation, translation, true);
  const Vector single = generateRotationMatrix(p[0], p[1], p[2]);
  const Matrix m = Eigen::Map<const Matrix>(single.data()).transpose();
  EXPECT_EQ(Vector(rotation, rotation + 9), Flat(m));
  const Vector3d t = m * Vector3d(p[3], p[4], p[5]);
  EXPECT_TRUE(AllNear(Vector(translation, translation + 3), {t[0], t[1], t[2]}, 4 * kEpsilon));
}

// The operator consults no width: unequal ones get the same linear map, which is then no rotation
// of the density.
TEST(RigidMotion, AllFormsGiveTheSameAndTurningIgnoresUnequalWidths) {
  QXHermiteOptions options = FixedWidths(5, 0.7, 0.9, 0.9);
  options.SetUseCenterOfMass(true);
  const QXHermite before = Expanded(RandomGaussians(4, 93), options);
  QXHermite a = before, b = before, equal;
  equal.Setup(a.GetCoefficients(), FixedWidths(5, 0.9, 0.9, 0.9));
  const Vector m = RotFromEulerXYZ(0.3, -0.7, 1.9);
  EXPECT_TRUE(a.RotateHermites(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]));
  EXPECT_TRUE(b.RotateHermites(m));
  EXPECT_TRUE(equal.RotateHermites(m));
  EXPECT_EQ(a.GetCoefficients(), b.GetCoefficients());
  EXPECT_EQ(a.GetCoefficients(), equal.GetCoefficients());
  EXPECT_TRUE(a.TranslateHermites(0.5, -1.0, 0.25));
  EXPECT_TRUE(b.TranslateHermites(Vector{0.5, -1.0, 0.25}));
  EXPECT_EQ(a.GetCoefficients(), b.GetCoefficients());
  // Only the coefficients change.
  EXPECT_EQ(a.GetCenter(), before.GetCenter());
  EXPECT_EQ(a.GetSelfOverlap(), before.GetSelfOverlap());
}

}  // namespace
}  // namespace QXHermiteMath

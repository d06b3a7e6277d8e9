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
  // Of unit length, the same of length 2, a right angle about z, none, and zero.
  const double s = std::sqrt(0.5);
  const Vector poses = {0.8, 0.2, -0.4, 0.4, 1, -2, 0.5,  //
                        1.6, 0.4, -0.8, 0.8, 1, -2, 0.5,  //
                        s,   0,   0,    s,   3, 0,  0,    //
                        1,   0,   0,    0,   1, 2,  3,    //
                        0,   0,   0,    0,   1, 2,  3};
  Vector out(30);
  QXAdaptHermiteVar(5, poses.data(), out.data());
  const Vector3d P(0.3, -1.2, 2.1);
  for (size_t k = 0; k < 4; ++k) {
    const double *q = &poses[7 * k], *p = &out[6 * k];
    const Vector3d direct =
        Eigen::Quaterniond(q[0], q[1], q[2], q[3]).normalized() * P + Vector3d(q[4], q[5], q[6]);
    const Vector3d adapted =
        EulerMatrix({p[0], p[1], p[2]}).transpose() * (P + Vector3d(p[3], p[4], p[5]));
    EXPECT_LT((adapted - direct).norm(), 64 * kEpsilon) << k;
  }
  EXPECT_EQ(Vector(out.begin() + 27, out.end()), Vector(3, 0.0)) << "a zero matrix";
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

QXHermite Expansion(unsigned int N, double lambdaX, double lambda) {
  QXHermiteOptions options = FixedWidths(N, lambdaX, lambda, lambda);
  options.SetUseCenterOfMass(true);
  return Expanded(RandomGaussians(4, 93), options);
}

TEST(RigidMotion, OfAnExpansionIsThatOfItsDensity) {
  const QXHermite before = Expansion(24, 0.9, 0.9);
  QXHermite h = before, same = before;
  const Vector p = {0.3, -0.7, 1.9, 0.25, -0.375, 0.125};
  EXPECT_TRUE(QXHermiteRigidTransform(h, p));
  // P' = Q^T (P + t): the new density at r is the old one at Q r - t. The translation loses what
  // leaves the basis, which at degree 24 is small against densities of order 1.
  for (const Vector3d& r : {Vector3d(0.5, -0.2, 0.9), Vector3d(-1, 0.4, 0.3)}) {
    const Vector3d old = EulerMatrix(p) * r - Vector3d(p[3], p[4], p[5]);
    EXPECT_NEAR(Value(h, r), Value(before, old), 1e-5);
  }
  // Only the coefficients change.
  EXPECT_EQ(h.GetCenter(), before.GetCenter());
  EXPECT_EQ(h.GetSelfOverlap(), before.GetSelfOverlap());
  QXHermiteRigidTransform(same, Vector(6, 0.0));
  EXPECT_TRUE(AllNear(same.GetCoefficients(), before.GetCoefficients(), 64 * kEpsilon));
}

// The operator consults no width: unequal ones get the same linear map, which is then no rotation
// of the density.
TEST(RigidMotion, AllFormsGiveTheSameAndTurningIgnoresUnequalWidths) {
  QXHermite a = Expansion(5, 0.7, 0.9), b = a, equal;
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
}

}  // namespace
}  // namespace QXHermiteMath

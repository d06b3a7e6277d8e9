#include "hermite/frame/rigid_motion.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <limits>

#include "support/density.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using Eigen::AngleAxisd, Eigen::Vector3d;
using QXTest::AllNear;
using QXTest::kEpsilon;
using QXTest::Vector;
using Matrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

Vector Flat(const Matrix& m) {
  return Vector(m.data(), m.data() + 9);
}
Matrix Unflat(const Vector& m) {
  return Eigen::Map<const Matrix>(m.data());
}
Matrix Q(double alpha, double beta, double gamma) {
  return (AngleAxisd(alpha, Vector3d::UnitX()) * AngleAxisd(beta, Vector3d::UnitY()) *
          AngleAxisd(gamma, Vector3d::UnitZ()))
      .toRotationMatrix();
}

TEST(RotationMatrices, TurnAboutZThenYThenX) {
  const Vector cases[] = {{0, 0, 0}, {0.3, -0.7, 1.9}, {-2.9, 1.4, -3.1}, {2, -1.5, 0.1}};
  constexpr double kFloat = std::numeric_limits<float>::epsilon();
  for (const Vector& a : cases) {
    const Vector exact = Flat(Q(a[0], a[1], a[2]));
    const Vector m = RotFromEulerXYZ(a[0], a[1], a[2]);
    EXPECT_TRUE(AllNear(m, exact, 8 * kEpsilon));
    // The inverse, to the condition of beta near a right angle: 1/cos(beta).
    EXPECT_TRUE(AllNear(EulerXYZ(m), a, 16 * kEpsilon / std::cos(a[1])));

    // Single precision throughout: some ten roundings of products of order 1, and half angles of
    // up to 1.6 rounded once.
    const Vector single = generateRotationMatrix(a[0], a[1], a[2]);
    EXPECT_TRUE(AllNear(single, exact, 12 * kFloat));
    for (double element : single) EXPECT_EQ(element, static_cast<float>(element));
  }
  EXPECT_EQ(generateRotationMatrix(0, 0, 0), RotFromEulerXYZ(0, 0, 0));
  EXPECT_FALSE(AllNear(generateRotationMatrix(0.3, -0.7, 1.9), RotFromEulerXYZ(0.3, -0.7, 1.9),
                       0.01 * kFloat));
  // x goes to y.
  EXPECT_EQ(RotFromEulerXYZ(0, 0, std::acos(0.0))[3], 1.0);
  EXPECT_EQ(RotFromEulerXYZ(0, 0, std::acos(0.0))[1], -1.0);
}

TEST(RotationMatrices, AnglesAreNotClamped) {
  EXPECT_TRUE(std::isnan(EulerXYZ({0, 0, 1 + 2 * kEpsilon, 0, 1, 0, -1, 0, 0})[1]));
  EXPECT_EQ(EulerXYZ({0, 0, 1, 0, 1, 0, -1, 0, 0})[1], std::acos(0.0));
}

TEST(AdaptHermiteVar, GivesTheSameMotionAsTheQuaternionPose) {
  // Poses of unit length, of length 2, and a quarter turn; two in one call and more.
  const double s = std::sqrt(0.5);
  const Vector poses = {0.8, 0.2, -0.4, 0.4, 1, -2, 0.5,  // unit
                        1.6, 0.4, -0.8, 0.8, 1, -2, 0.5,  // the same
                        s,   0,   0,    s,   3, 0,  0,    // z by a right angle
                        1,   0,   0,    0,   1, 2,  3};   // none
  Vector out(24);
  QXAdaptHermiteVar(4, poses.data(), out.data());
  const Vector3d P(0.3, -1.2, 2.1);
  for (size_t k = 0; k < 4; ++k) {
    const double* q = &poses[7 * k];
    const double* p = &out[6 * k];
    const Vector3d direct =
        Eigen::Quaterniond(q[0], q[1], q[2], q[3]).normalized() * P + Vector3d(q[4], q[5], q[6]);
    const Vector3d adapted = Q(p[0], p[1], p[2]).transpose() * (P + Vector3d(p[3], p[4], p[5]));
    EXPECT_LT((adapted - direct).norm(), 64 * kEpsilon) << k;
  }
  EXPECT_TRUE(AllNear(Vector(out.begin() + 18, out.end()), {0, 0, 0, 1, 2, 3}, 0.0));
  const double zero[7] = {0, 0, 0, 0, 1, 2, 3};
  QXAdaptHermiteVar(1, zero, out.data());
  EXPECT_TRUE(AllNear(Vector(out.begin() + 1, out.begin() + 6), {0, out[2], 0, 0, 0}, 0.0));
}

TEST(Transform, TranslatesFirstAndTurnsBySinglePrecisionQTransposed) {
  const double p[] = {0.3, -0.7, 1.9, 1.0, -2.0, 0.5};
  double rotation[9], translation[3];
  QXGetTransformFromHermiteParams(p).Extract<double, double>(rotation, translation, true);
  const Matrix m = Unflat(generateRotationMatrix(p[0], p[1], p[2])).transpose();
  EXPECT_EQ(Vector(rotation, rotation + 9), Flat(m));
  const Vector3d t = m * Vector3d(p[3], p[4], p[5]);
  EXPECT_TRUE(AllNear(Vector(translation, translation + 3), {t[0], t[1], t[2]}, 4 * kEpsilon));
}

QXHermite Expansion(unsigned int N, double lambdaX, double lambda) {
  QXHermite h;
  QXHermiteOptions options = QXTest::FixedWidths(N, lambdaX, lambda, lambda);
  options.SetUseCenterOfMass(true);
  h.Setup(QXTest::RandomGaussians(4, 93), options);
  return h;
}

TEST(RigidMotion, OfAnExpansionIsThatOfItsDensity) {
  QXHermite h = Expansion(24, 0.9, 0.9);
  const QXHermite before = h;
  const Vector p = {0.3, -0.7, 1.9, 0.25, -0.375, 0.125};
  EXPECT_TRUE(QXHermiteRigidTransform(h, p));
  // P' = Q^T (P + t): the new density at r is the old one at Q r - t. The translation loses what
  // leaves the basis: at degree 24 less than 1e-5 of densities of order 1.
  for (const Vector3d& r : {Vector3d(0.5, -0.2, 0.9), Vector3d(-1, 0.4, 0.3)}) {
    const Vector3d old =
        Unflat(generateRotationMatrix(p[0], p[1], p[2])) * r - Vector3d(p[3], p[4], p[5]);
    const auto value = [](const QXHermite& of, const Vector3d& at) {
      return QXTest::Evaluate(of.GetCoefficients(), of.GetOptions(), at[0], at[1], at[2]);
    };
    EXPECT_NEAR(value(h, r), value(before, old), 1e-5);
  }
  // Only the coefficients change.
  EXPECT_EQ(h.GetCenter(), before.GetCenter());
  EXPECT_EQ(h.GetSelfOverlap(), before.GetSelfOverlap());

  QXHermite same = before;
  QXHermiteRigidTransform(same, Vector(6, 0.0));
  EXPECT_TRUE(AllNear(same.GetCoefficients(), before.GetCoefficients(), 64 * kEpsilon));
}

TEST(RigidMotion, BothFormsOfTurningAndMovingAgree) {
  QXHermite a = Expansion(5, 0.9, 0.9), b = a;
  const Vector m = RotFromEulerXYZ(0.3, -0.7, 1.9);
  EXPECT_TRUE(a.RotateHermites(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]));
  EXPECT_TRUE(b.RotateHermites(m));
  EXPECT_EQ(a.GetCoefficients(), b.GetCoefficients());
  EXPECT_TRUE(a.TranslateHermites(0.5, -1.0, 0.25));
  EXPECT_TRUE(b.TranslateHermites(Vector{0.5, -1.0, 0.25}));
  EXPECT_EQ(a.GetCoefficients(), b.GetCoefficients());
  EXPECT_TRUE(a.RotateHermites({1, 0, 0, 0, 1, 0, 0, 0, 1}));
  EXPECT_TRUE(AllNear(a.GetCoefficients(), b.GetCoefficients(), 0.0));
}

// The operator consults no width: the same linear map, which is then no rotation of the density.
TEST(RigidMotion, TurningIgnoresUnequalWidths) {
  const QXHermite unequal = Expansion(4, 0.7, 0.9);
  QXHermite equal, turned = unequal;
  equal.Setup(unequal.GetCoefficients(), QXTest::FixedWidths(4, 0.9, 0.9, 0.9));
  const Vector m = RotFromEulerXYZ(0.3, -0.7, 1.9);
  turned.RotateHermites(m);
  equal.RotateHermites(m);
  EXPECT_EQ(turned.GetCoefficients(), equal.GetCoefficients());
}

}  // namespace
}  // namespace QXHermiteMath

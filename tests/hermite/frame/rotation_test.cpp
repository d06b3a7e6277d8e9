#include "hermite/frame/rotation.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include "hermite/frame/rotation_kernel.h"
#include "support/density.h"
#include "support/numerics.h"
#include "support/running.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::kEpsilon;
using QXTest::Running;
using QXTest::Vector;

long double Binomial(unsigned int n, unsigned int k) {
  long double product = 1;
  for (unsigned int i = 1; i <= k; ++i) product = product * (n - k + i) / i;
  return product;
}

// C(d, i)/C(d, j) times the coefficient of x^(d-j) y^j in (c x + s y)^(d-i) (-s x + c y)^i.
long double ClosedForm(unsigned int d, unsigned int i, unsigned int j, long double angle) {
  const long double c = std::cos(angle), s = std::sin(angle);
  long double sum = 0;
  for (unsigned int k = 0; k <= j;
       ++k) {  // k powers of y from the first factor, j - k from the other
    if (k > d - i || j - k > i) continue;
    sum += Binomial(d - i, k) * std::pow(c, static_cast<long double>(d - i - k)) *
           std::pow(s, static_cast<long double>(k)) * Binomial(i, j - k) *
           std::pow(-s, static_cast<long double>(i - (j - k))) *
           std::pow(c, static_cast<long double>(j - k));
  }
  return sum * Binomial(d, i) / Binomial(d, j);
}

TEST(RotationKernel, BlocksAreThoseOfTheClosedForm) {
  constexpr unsigned int N = 14;
  Vector inverse(N + 1);
  for (unsigned int k = 1; k <= N; ++k) inverse[k] = 1.0 / k;
  QXHermiteRotation rotation(N);
  for (double angle : {0.0, 0.3, 1.5707963267948966, -2.2, 3.0}) {
    // The library's sine and cosine may be off by a unit in the last place.
    Running c(std::cos(angle)), s(std::sin(angle));
    c.error = s.error = kEpsilon;
    std::vector<Running> blocks(HermiteRotationMatrixSize(N)), derivatives(blocks.size());
    kernel::BuildRotationBlocks(c, s, N, inverse.data(), blocks.data());
    kernel::BuildRotationBlockDerivatives(N, blocks.data(), derivatives.data());
    EXPECT_TRUE(rotation.BuildRotationMatrixWithDerivative(angle, N));
    for (unsigned int d = 0; d <= N; ++d) {
      for (unsigned int i = 0; i <= d; ++i) {
        for (unsigned int j = 0; j <= d; ++j) {
          const size_t at = d * (d + 1) * (2 * d + 1) / 6 + i * (d + 1) + j;
          // 1/k in the table is rounded once more than the running analysis knows, in each degree.
          const double slack = d * kEpsilon * std::fabs(blocks[at].value);
          EXPECT_NEAR(rotation.GetRotationMatrix()[at],
                      static_cast<double>(ClosedForm(d, i, j, angle)), blocks[at].error + slack)
              << d << ": " << i << ", " << j << " at " << angle;
          // In the scale of normalised functions blocks are orthogonal, so this is a tight bound.
          const double scale = static_cast<double>(std::sqrt(Binomial(d, i) / Binomial(d, j)));
          EXPECT_LT(blocks[at].error, 1e-10 * scale) << "a bound that proves nothing";
          const auto slope = QXTest::Differentiate(
              [&](double x) { return static_cast<double>(ClosedForm(d, i, j, x)); }, angle,
              0.0078125);
          EXPECT_NEAR(rotation.GetRotationMatrixDerivative()[at], slope.value,
                      slope.error + derivatives[at].error);
        }
      }
    }
  }
  EXPECT_EQ(HermiteRotationMatrixSize(0), 1u);
  EXPECT_EQ(HermiteRotationMatrixSize(5), 91u);
}

Eigen::Matrix3d EulerMatrix(const Vector& angles) {
  using Eigen::AngleAxisd, Eigen::Vector3d;
  return (AngleAxisd(angles[0], Vector3d::UnitX()) * AngleAxisd(angles[1], Vector3d::UnitY()) *
          AngleAxisd(angles[2], Vector3d::UnitZ()))
      .toRotationMatrix();
}

Vector Rotated(const Vector& angles, unsigned int N, const Vector& in) {
  QXHermiteRotation rotation(N);
  Vector out(in.size());
  EXPECT_TRUE(rotation.Rotate(angles.data(), N, in, out, QXHermiteIndex(N)));
  return out;
}

TEST(Rotation, TurnsTheDensityPointByPoint) {
  for (unsigned int N : {0u, 1u, 4u, 9u}) {
    const Vector angles = {0.7, -1.2, 2.5};
    const QXHermiteOptions options = QXTest::FixedWidths(N, 0.9, 0.9, 0.9);
    const Vector c = QXTest::RandomCoefficients(N, 20 + N);
    const Vector turned = Rotated(angles, N, c);
    const Eigen::Matrix3d Q = EulerMatrix(angles);
    for (const Eigen::Vector3d& r :
         {Eigen::Vector3d(0.4, -1.1, 0.8), Eigen::Vector3d(-2, 0.3, 1)}) {
      const Eigen::Vector3d back = Q.transpose() * r;
      // Values of order 1, sums of up to 220 terms after three stages of N roundings.
      EXPECT_NEAR(QXTest::Evaluate(turned, options, r[0], r[1], r[2]),
                  QXTest::Evaluate(c, options, back[0], back[1], back[2]), 600 * kEpsilon * 4);
    }
  }
}

// The three stages by plain loops over the closed form.
TEST(Rotation, AgreesWithPlainStages) {
  constexpr unsigned int N = 8;
  const Vector angles = {-0.4, 0.9, 1.3};
  const Vector in = QXTest::RandomCoefficients(N, 31);
  Vector value = in, magnitude = in;
  for (double& v : magnitude) v = std::fabs(v);
  for (unsigned int axis : {2u, 1u, 0u}) {
    Vector next(value.size()), nextMagnitude(value.size());
    QXTest::ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      // (first, second) of the plane and what stays: (l, m), n; (n, l), m; (m, n), l.
      const unsigned int first[] = {m, n, l}, second[] = {n, l, m}, third[] = {l, m, n};
      const unsigned int i = first[axis], d = i + second[axis], rest = third[axis];
      for (unsigned int t = 0; t <= d; ++t) {
        const unsigned int from[][3] = {{rest, t, d - t}, {d - t, rest, t}, {t, d - t, rest}};
        const size_t place = GetLmnIndex(from[axis][0], from[axis][1], from[axis][2]);
        const double M = static_cast<double>(ClosedForm(d, i, t, angles[axis]));
        next[GetLmnIndex(l, m, n)] += M * value[place];
        nextMagnitude[GetLmnIndex(l, m, n)] += std::fabs(M) * magnitude[place];
      }
    });
    value = next;
    magnitude = nextMagnitude;
  }
  // 3 sums of N + 1 products, and blocks that are off by some N roundings each.
  for (double& bound : magnitude) bound *= 12 * (N + 1) * kEpsilon;
  EXPECT_TRUE(QXTest::AllWithin(Rotated(angles, N, in), value, magnitude));
}

TEST(Rotation, FollowsTheLawsOfTurning) {
  constexpr unsigned int N = 6;
  const Vector c = QXTest::RandomCoefficients(N, 32);
  const double tolerance = 100 * kEpsilon;
  EXPECT_TRUE(AllNear(Rotated({0, 0, 0}, N, c), c, 0.0)) << "the identity";
  Vector back = Rotated({0.3, -0.8, 2.0}, N, c);
  back = Rotated({0, 0, -2.0}, N, Rotated({0, 0.8, 0}, N, Rotated({-0.3, 0, 0}, N, back)));
  EXPECT_TRUE(AllNear(back, c, tolerance)) << "and back";
  // The x lobe goes to +y.
  EXPECT_TRUE(
      AllNear(Rotated({0, 0, std::acos(0.0)}, 1, {0, 0, 0, 5}), {0, 0, 5, 0}, 2 * kEpsilon * 5));
  // A smaller degree than the object's.
  QXHermiteRotation rotation(N);
  const double angles[] = {0.3, -0.8, 2.0};
  const Vector small(c.begin(), c.begin() + 20);
  Vector out(20);
  rotation.Rotate(angles, 3, small, out, QXHermiteIndex(3));
  EXPECT_EQ(out, Rotated({0.3, -0.8, 2.0}, 3, small));
}

TEST(Rotation, DerivativesAgreeWithDifferences) {
  for (unsigned int N : {0u, 5u}) {
    const size_t B = QXHermiteBasisSize(N);
    const Vector angles = {0.7, -1.2, 2.5};
    const Vector c = QXTest::RandomCoefficients(N, 33);
    QXHermiteRotation rotation(N);
    Vector out(4 * B);
    EXPECT_TRUE(rotation.RotateWithDerivatives(angles.data(), N, c, out, QXHermiteIndex(N)));
    EXPECT_EQ(Vector(out.begin(), out.begin() + static_cast<long>(B)), Rotated(angles, N, c));
    for (size_t i = 0; i < B; ++i)
      EXPECT_TRUE(QXTest::GradientAgrees(
          {out[B + i], out[2 * B + i], out[3 * B + i]},
          [&](const Vector& at) { return Rotated(at, N, c)[i]; }, angles, 0.00390625));
  }
}

}  // namespace
}  // namespace QXHermiteMath

#include "hermite/frame/rotation.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

long double Binomial(unsigned int n, unsigned int k) {
  long double product = 1;
  for (unsigned int i = 1; i <= k; ++i) product = product * (n - k + i) / i;
  return product;
}

// C(d, i)/C(d, j) times the coefficient of x^(d-j) y^j in (c x + s y)^(d-i) (-s x + c y)^i: k
// powers of y from the first factor, j - k from the second.
long double ClosedForm(unsigned int d, unsigned int i, unsigned int j, long double angle) {
  const long double c = std::cos(angle), s = std::sin(angle);
  const auto power = [](long double x, unsigned int n) {
    return std::pow(x, static_cast<long double>(n));
  };
  long double sum = 0;
  for (unsigned int k = 0; k <= j; ++k) {
    if (k > d - i || j - k > i) continue;
    sum += Binomial(d - i, k) * power(c, d - i - k) * power(s, k) * Binomial(i, j - k) *
           power(-s, i - (j - k)) * power(c, j - k);
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
    size_t at = 0;  // blocks by rising degree, each row-major
    for (unsigned int d = 0; d <= N; ++d) {
      for (unsigned int i = 0; i <= d; ++i) {
        for (unsigned int j = 0; j <= d; ++j, ++at) {
          // 1/k in the table is rounded once more than the running analysis knows, in each degree.
          const double slack = d * kEpsilon * std::fabs(blocks[at].value);
          EXPECT_NEAR(rotation.GetRotationMatrix()[at],
                      static_cast<double>(ClosedForm(d, i, j, angle)), blocks[at].error + slack)
              << d << ": " << i << ", " << j << " at " << angle;
          const auto slope =
              Differentiate([&](double x) { return static_cast<double>(ClosedForm(d, i, j, x)); },
                            angle, 0.0078125);
          EXPECT_NEAR(rotation.GetRotationMatrixDerivative()[at], slope.value,
                      slope.error + derivatives[at].error);
          // In the scale of normalised functions blocks are orthogonal.
          const double scale = static_cast<double>(std::sqrt(Binomial(d, i) / Binomial(d, j)));
          EXPECT_LT(blocks[at].error, 1e-10 * scale) << "a bound that proves nothing";
        }
      }
    }
    EXPECT_EQ(at, HermiteRotationMatrixSize(N));
  }
}

Vector Rotated(const Vector& angles, unsigned int N, const Vector& in) {
  QXHermiteRotation rotation(N + 1);  // a degree below the object's is served too
  Vector out(in.size());
  EXPECT_TRUE(rotation.Rotate(angles.data(), N, in, out, QXHermiteIndex(N)));
  return out;
}

TEST(Rotation, TurnsTheDensityPointByPointWithExactDerivatives) {
  const Vector angles = {0.7, -1.2, 2.5};
  const Matrix Q = EulerMatrix(angles);
  for (unsigned int N : {0u, 1u, 4u, 9u}) {
    const QXHermiteOptions options = FixedWidths(N, 0.9, 0.9, 0.9);
    const Vector c = RandomCoefficients(N, 20 + N), turned = Rotated(angles, N, c);
    for (const Vector3d& r : {Vector3d(0.4, -1.1, 0.8), Vector3d(-2, 0.3, 1)}) {
      const Vector3d back = Q.transpose() * r;
      // Values of order 1, sums of up to 220 terms after three stages of N roundings.
      EXPECT_NEAR(Evaluate(turned, options, r[0], r[1], r[2]),
                  Evaluate(c, options, back[0], back[1], back[2]), 600 * kEpsilon * 4);
    }
    QXHermiteRotation rotation(N);
    const size_t B = c.size();
    Vector out(4 * B);
    EXPECT_TRUE(rotation.RotateWithDerivatives(angles.data(), N, c, out, QXHermiteIndex(N)));
    for (size_t i = 0; i < B; ++i) {
      EXPECT_EQ(out[i], turned[i]);
      EXPECT_TRUE(GradientAgrees(
          {out[B + i], out[2 * B + i], out[3 * B + i]},
          [&](const Vector& at) { return Rotated(at, N, c)[i]; }, angles));
    }
  }
}

}  // namespace
}  // namespace QXHermiteMath

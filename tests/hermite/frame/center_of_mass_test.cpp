#include "hermite/frame/center_of_mass.h"

#include <gtest/gtest.h>

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/expansion/hermite.h"
#include "hermite/frame/moments.h"
#include "support/density.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::FixedWidths;
using QXTest::Gaussians;
using QXTest::kEpsilon;
using QXTest::Vector;

Vector Centers(const Gaussians& gaussians) {
  Vector centers;
  for (const QXGaussian& g : gaussians)
    centers.insert(centers.end(), {g.GetX(), g.GetY(), g.GetZ()});
  return centers;
}

Gaussians Moved(Gaussians gaussians, const Vector& t) {
  float shift[3] = {static_cast<float>(t[0]), static_cast<float>(t[1]), static_cast<float>(t[2])};
  EXPECT_TRUE(QXTranslateGaussians(gaussians, shift));
  return gaussians;
}

TEST(HermiteCenterOfMass, IsTheFirstMomentOfTheExpansion) {
  Gaussians gaussians = QXTest::RandomGaussians(4, 80);
  const QXHermiteOptions options = FixedWidths(3, 0.8, 1.0, 1.2);
  QXHermite h;
  h.Setup(gaussians, options);
  const auto moment = [&](auto&& factor) {
    return QXTest::Integrate3D(
        [&](double x, double y, double z) {
          return factor(x, y, z) * QXTest::Evaluate(h.GetCoefficients(), options, x, y, z);
        },
        12.0, 0.375);
  };
  const double M0 = moment([](double, double, double) { return 1.0; });
  const Vector expected = {moment([](double x, double, double) { return x; }) / M0,
                           moment([](double, double y, double) { return y; }) / M0,
                           moment([](double, double, double z) { return z; }) / M0};
  // Moments of order 100 summed from coefficients to 50 roundings.
  EXPECT_TRUE(AllNear(QXHermiteCM(gaussians, 3, 0.8, 1.0, 1.2, false), expected, 400 * kEpsilon));

  // With one width the smallest serves the expansion, while the moments take the three as given.
  const Vector one = QXHermiteCM(gaussians, 3, 0.8, 0.8, 0.8, false);
  EXPECT_TRUE(AllNear(QXHermiteCM(gaussians, 3, 0.8, 1.0, 1.2, true),
                      {one[0], one[1] * 0.8 / 1.0, one[2] * 0.8 / 1.2}, 32 * kEpsilon));
}

TEST(HermiteCenterOfMass, LargestMagnitudeKeepsANaN) {
  EXPECT_EQ(max_abs({1.0, -3.0, 2.0}), 3.0);
  EXPECT_TRUE(std::isnan(max_abs({1.0, std::nan(""), 2.0})));
}

TEST(CenterOfMassFunction, HasExactDerivativesForOneWidth) {
  QXHermiteCOMFunc f(FixedWidths(4, 0.9, 0.9, 0.9), QXTest::RandomGaussians(4, 81));
  ASSERT_EQ(f.NumVar(), 3u);
  const Vector x = {0.25, -0.5, 0.125};
  constexpr double h = 0.0078125;  // exact in the single precision of the shift
  Vector gradient(3), again(3), hessian(6);
  EXPECT_NEAR(f(x.data(), gradient.data()), f(x.data()), 4 * kEpsilon);
  EXPECT_TRUE(QXTest::GradientAgrees(
      gradient, [&](const Vector& at) { return f(at.data()); }, x, h));
  EXPECT_TRUE(f(x.data(), hessian.data(), again.data()));
  EXPECT_TRUE(AllNear(again, gradient, 64 * kEpsilon));
  const Vector rows[] = {{hessian[0], hessian[1], hessian[3]},
                         {hessian[1], hessian[2], hessian[4]},
                         {hessian[3], hessian[4], hessian[5]}};
  for (size_t a = 0; a < 3; ++a)
    EXPECT_TRUE(QXTest::GradientAgrees(
        rows[a],
        [&](const Vector& at) {
          Vector g(3);
          f(at.data(), g.data());
          return g[a];
        },
        x, h));
}

// The gradient of |C|^2 when all weights are scaled by one width L instead of the axes' own.
Vector GradientForWidth(double L, const QXHermiteOptions& options, Gaussians gaussians) {
  const unsigned int N = options.GetNPolyMax();
  const double lambda[] = {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()};
  QXGaussianToHermite engine(N, 1, 0);
  engine.Expand(options, gaussians, 3);
  const double M0 =
      Hermite3DMoment(0, 0, 0, N, lambda[0], lambda[1], lambda[2], engine.GetHermiteCoefficients());
  const Vector C = QXHermiteCM(gaussians, N, lambda[0], lambda[1], lambda[2], false);
  Vector gradient(3, 0.0);
  for (size_t a = 0; a < 3; ++a) {
    size_t i = 0;
    QXTest::ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      const auto product = [&](size_t axis) {
        return Hermite1DMoment(l, axis == 0) * Hermite1DMoment(m, axis == 1) *
               Hermite1DMoment(n, axis == 2);
      };
      const double W = (product(a) / std::pow(L, 4) - product(3) * C[a] / std::pow(L, 3)) / M0;
      for (size_t j = 0; j < 3; ++j)
        gradient[j] += 2 * C[a] * W * engine.GetTranslationalDerivatives()[j][i];
      ++i;
    });
  }
  return gradient;
}

// For unequal widths the gradient form takes -LambdaX and the Hessian form the mean width.
TEST(CenterOfMassFunction, ScalesItsTwoFormsByDifferentWidths) {
  const QXHermiteOptions options = FixedWidths(4, 0.75, 0.9, 1.2);
  const Gaussians gaussians = QXTest::RandomGaussians(4, 82);
  QXHermiteCOMFunc f(options, gaussians);
  const double x[3] = {};
  Vector gradient(3), ofHessian(3), hessian(6);
  f(x, gradient.data());
  f(x, hessian.data(), ofHessian.data());
  EXPECT_TRUE(AllNear(gradient, GradientForWidth(0.75, options, gaussians), 1e-13));
  EXPECT_TRUE(AllNear(ofHessian, GradientForWidth(0.95, options, gaussians), 1e-13));
  EXPECT_FALSE(AllNear(gradient, ofHessian, 1e-3));
}

TEST(CenterOfMassSearches, FindTheShiftAtWhichItVanishes) {
  Gaussians gaussians = QXTest::RandomGaussians(5, 83);
  for (QXGaussian& g : gaussians) g.SetX(g.GetX() + 0.75f);
  const Vector before = Centers(gaussians);

  const Vector newton = QXOptimizationSearchOfHermiteCOM(gaussians, 4, 0.9);
  EXPECT_EQ(Centers(gaussians), before) << "not changed";
  Gaussians moved = Moved(gaussians, {-newton[0], -newton[1], -newton[2]});
  // A Newton step below 1e-4 leaves an error of its square; shifts are single precision.
  EXPECT_LT(max_abs(QXHermiteCM(moved, 4, 0.9, 0.9, 0.9, false)), 1e-6);

  Gaussians iterated = gaussians;
  const Vector iterative = QXIterativeSearchOfHermiteCOM(iterated, 4, 0.9, 0.9, 0.9, 1e-6, 200);
  EXPECT_LT(max_abs(QXHermiteCM(iterated, 4, 0.9, 0.9, 0.9, false)), 1e-6);
  EXPECT_TRUE(AllNear(iterative, newton, 1e-5));

  const float origin[3] = {};
  Gaussians centered = {QXGaussian(1.0f, 1.0f, origin, 0u)};
  EXPECT_TRUE(AllNear(QXOptimizationSearchOfHermiteCOM(centered, 3, 1.0), {0, 0, 0}, 0.0));
}

TEST(CenterOfMassSearches, TheIterationAddsTheLastCenterWithoutMovingByIt) {
  const Gaussians gaussians = QXTest::RandomGaussians(5, 84);
  const auto center = [](Gaussians g) { return QXHermiteCM(g, 4, 0.8, 0.9, 1.0, false); };
  const auto search = [](Gaussians& g, double tolerance, unsigned int limit) {
    return QXIterativeSearchOfHermiteCOM(g, 4, 0.8, 0.9, 1.0, tolerance, limit);
  };
  Gaussians unmoved = gaussians;
  EXPECT_EQ(search(unmoved, 0.0, 0), center(gaussians));
  EXPECT_EQ(Centers(unmoved), Centers(gaussians));

  // Tolerance 0 ends at the limit only.
  Gaussians twice = gaussians;
  const Vector total = search(twice, 0.0, 2);
  const Vector last = center(twice);
  for (size_t a = 0; a < 3; ++a) {
    const double shift = Centers(gaussians)[a] - Centers(twice)[a];
    EXPECT_NEAR(total[a], shift + last[a], 1e-6) << "float centres";
    EXPECT_GT(std::fabs(last[a]), 1e-5) << "else this shows nothing";
  }
  Gaussians none;
  EXPECT_TRUE(std::isnan(search(none, 0.0, 1000000000)[0])) << "a NaN ends the loop";
}

}  // namespace
}  // namespace QXHermiteMath

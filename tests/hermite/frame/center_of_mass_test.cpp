#include "hermite/frame/center_of_mass.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Vector CenterOfMass(Gaussians gaussians, double x, double y, double z) {
  return QXHermiteCM(gaussians, 4, x, y, z, false);
}

TEST(HermiteCenterOfMass, IsTheFirstMomentOfTheExpansion) {
  Gaussians gaussians = RandomGaussians(4, 80);
  const QXHermite h = Expanded(gaussians, FixedWidths(4, 0.8, 1.0, 1.2));
  Vector expected;
  for (int axis = 0; axis < 3; ++axis)
    expected.push_back(
        Hermite3DMoment(axis == 0, axis == 1, axis == 2, 4, 0.8, 1.0, 1.2, h.GetCoefficients()) /
        Hermite3DMoment(0, 0, 0, 4, 0.8, 1.0, 1.2, h.GetCoefficients()));
  EXPECT_EQ(CenterOfMass(gaussians, 0.8, 1.0, 1.2), expected);
  // With one width the smallest serves the expansion, while the moments take the three as given.
  const Vector one = CenterOfMass(gaussians, 0.8, 0.8, 0.8);
  EXPECT_TRUE(AllNear(QXHermiteCM(gaussians, 4, 0.8, 1.0, 1.2, true),
                      {one[0], one[1] * 0.8 / 1.0, one[2] * 0.8 / 1.2}, 32 * kEpsilon));
  // A degree that the options refuse leaves theirs in force, 5.
  const Messages messages;
  EXPECT_EQ(QXHermiteCM(gaussians, 101, 0.8, 1.0, 1.2, false),
            QXHermiteCM(gaussians, 5, 0.8, 1.0, 1.2, false));
}

TEST(CenterOfMassFunction, HasExactDerivativesForOneWidth) {
  QXHermiteCOMFunc f(FixedWidths(4, 0.9, 0.9, 0.9), RandomGaussians(4, 81));
  ASSERT_EQ(f.NumVar(), 3u);
  // Steps from here are exact in the single precision of the shift.
  const Vector x = {0.25, -0.5, 0.125};
  EXPECT_TRUE(GradientAgrees(f, x, 4 * kEpsilon));
  EXPECT_TRUE(HessianAgrees(f, x, 64 * kEpsilon));
}

// For unequal widths the gradient form scales its weights by -LambdaX, the Hessian form by the mean
// width. Their gradients are the same sum over dc/dx_j with moments at another width L.
TEST(CenterOfMassFunction, ScalesItsTwoFormsByDifferentWidths) {
  const QXHermiteOptions options = FixedWidths(4, 0.75, 0.9, 1.2);
  const Gaussians gaussians = RandomGaussians(4, 82);
  QXGaussianToHermite engine(4, 1, 0);
  engine.Expand(options, gaussians, 3);
  const Vector C = CenterOfMass(gaussians, 0.75, 0.9, 1.2);
  const double M0 = Hermite3DMoment(0, 0, 0, 4, 0.75, 0.9, 1.2, engine.GetHermiteCoefficients());
  const auto gradientFor = [&](double L) {
    Vector gradient;
    for (const Vector& dc : engine.GetTranslationalDerivatives()) {
      double sum = 0;
      for (unsigned int a = 0; a < 3; ++a)
        sum += C[a] * (Hermite3DMoment(a == 0, a == 1, a == 2, 4, L, L, L, dc) -
                       C[a] * Hermite3DMoment(0, 0, 0, 4, L, L, L, dc));
      gradient.push_back(2 * sum / M0);
    }
    return gradient;
  };
  QXHermiteCOMFunc f(options, gaussians);
  const double x[3] = {};
  Vector gradient(3), ofHessian(3), hessian(6);
  f(x, gradient.data());
  f(x, hessian.data(), ofHessian.data());
  // Sums of 35 terms of order 1, divided by an M0 of order 1.
  EXPECT_TRUE(AllNear(gradient, gradientFor(0.75), 512 * kEpsilon));
  EXPECT_TRUE(AllNear(ofHessian, gradientFor(0.95), 512 * kEpsilon));
  EXPECT_FALSE(AllNear(gradient, ofHessian, 1e-3));
}

TEST(CenterOfMassSearches, FindTheShiftAtWhichItVanishes) {
  Gaussians gaussians = RandomGaussians(5, 10);
  for (QXGaussian& g : gaussians) g.SetX(g.GetX() + 0.75f);
  Gaussians moved = gaussians, iterated = gaussians;
  const Vector found = QXOptimizationSearchOfHermiteCOM(gaussians, 4, 0.9);
  EXPECT_EQ(gaussians[0].GetX(), moved[0].GetX()) << "not changed";
  float t[3];
  for (size_t a = 0; a < 3; ++a) t[a] = -static_cast<float>(found[a]);
  EXPECT_TRUE(QXTranslateGaussians(moved, t));
  const Vector iterative = QXIterativeSearchOfHermiteCOM(iterated, 4, 0.9, 0.9, 0.9, 1e-6, 200);
  // A Newton step below 1e-4 leaves an error of its square; shifts are single precision.
  EXPECT_LT(max_abs(CenterOfMass(moved, 0.9, 0.9, 0.9)), 1e-6);
  EXPECT_LT(max_abs(CenterOfMass(iterated, 0.9, 0.9, 0.9)), 1e-6);
  EXPECT_TRUE(AllNear(iterative, found, 1e-5));
}

TEST(CenterOfMassSearches, TheIterationAddsTheLastCenterWithoutMovingByIt) {
  const Gaussians gaussians = RandomGaussians(5, 84);
  const auto search = [](Gaussians& g, unsigned int limit) {
    return QXIterativeSearchOfHermiteCOM(g, 4, 0.8, 0.9, 1.0, 0.0, limit);
  };
  for (unsigned int limit : {0u, 2u}) {  // tolerance 0 ends at the limit only
    Gaussians moved = gaussians;
    const Vector total = search(moved, limit), last = CenterOfMass(moved, 0.8, 0.9, 1.0);
    const double shift = gaussians[0].GetX() - moved[0].GetX();
    EXPECT_EQ(shift == 0, limit == 0);
    EXPECT_NEAR(total[0], shift + last[0], 1e-6) << "float centres";
    EXPECT_GT(std::fabs(last[0]), 1e-5) << "else this shows nothing";
  }
  EXPECT_TRUE(std::isnan(max_abs({1.0, std::nan(""), -2.0})));
  Gaussians none;
  EXPECT_TRUE(std::isnan(search(none, 1000000000)[0])) << "a NaN ends the loop";
}

}  // namespace
}  // namespace QXHermiteMath

#include "hermite/frame/center_of_mass.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Vector Centers(const Gaussians& gaussians) {
  Vector all;
  for (const QXGaussian& g : gaussians) all.insert(all.end(), {g.GetX(), g.GetY(), g.GetZ()});
  return all;
}

Vector CenterOfMass(Gaussians gaussians, double x, double y, double z) {
  return QXHermiteCM(gaussians, 4, x, y, z, false);
}

TEST(HermiteCenterOfMass, IsTheFirstMomentOfTheExpansion) {
  Gaussians gaussians = RandomGaussians(4, 80);
  const QXHermiteOptions options = FixedWidths(4, 0.8, 1.0, 1.2);
  const QXHermite h = Expanded(gaussians, options);
  Vector moments;
  for (int axis = 0; axis < 4; ++axis) {
    const auto integrand = [&](double x, double y, double z) {
      const double factors[] = {x, y, z, 1};
      return factors[axis] * Evaluate(h.GetCoefficients(), options, x, y, z);
    };
    moments.push_back(Integrate3D(integrand, 12.0, 0.375));
  }
  const double M0 = moments[3];
  // Moments of order 100 summed from coefficients to 50 roundings.
  EXPECT_TRUE(AllNear(CenterOfMass(gaussians, 0.8, 1.0, 1.2),
                      {moments[0] / M0, moments[1] / M0, moments[2] / M0}, 400 * kEpsilon));
  // With one width the smallest serves the expansion, while the moments take the three as given.
  const Vector one = CenterOfMass(gaussians, 0.8, 0.8, 0.8);
  EXPECT_TRUE(AllNear(QXHermiteCM(gaussians, 4, 0.8, 1.0, 1.2, true),
                      {one[0], one[1] * 0.8 / 1.0, one[2] * 0.8 / 1.2}, 32 * kEpsilon));
}

TEST(CenterOfMassFunction, HasExactDerivativesForOneWidth) {
  QXHermiteCOMFunc f(FixedWidths(4, 0.9, 0.9, 0.9), RandomGaussians(4, 81));
  ASSERT_EQ(f.NumVar(), 3u);
  const auto gradientAt = [&](const Vector& x) {
    Vector g(3);
    EXPECT_NEAR(f(x.data(), g.data()), f(x.data()), 4 * kEpsilon);
    return g;
  };
  // Steps from here are exact in the single precision of the shift.
  const Vector x = {0.25, -0.5, 0.125};
  Vector gradient(3), hessian(6);
  EXPECT_TRUE(f(x.data(), hessian.data(), gradient.data()));
  EXPECT_TRUE(AllNear(gradientAt(x), gradient, 64 * kEpsilon));
  EXPECT_TRUE(GradientAgrees(
      gradient, [&](const Vector& at) { return f(at.data()); }, x));
  EXPECT_TRUE(HessianAgrees(hessian, gradientAt, x));
}

// For unequal widths the gradient form scales its weights by -LambdaX, the Hessian form by the mean
// width. Their gradients are the same sum with another width L.
TEST(CenterOfMassFunction, ScalesItsTwoFormsByDifferentWidths) {
  constexpr unsigned int N = 4;
  const double lambda[] = {0.75, 0.9, 1.2};
  const QXHermiteOptions options = FixedWidths(N, lambda[0], lambda[1], lambda[2]);
  const Gaussians gaussians = RandomGaussians(4, 82);
  QXGaussianToHermite engine(N, 1, 0);
  engine.Expand(options, gaussians, 3);
  const double M0 =
      Hermite3DMoment(0, 0, 0, N, lambda[0], lambda[1], lambda[2], engine.GetHermiteCoefficients());
  const Vector C = CenterOfMass(gaussians, lambda[0], lambda[1], lambda[2]);
  const auto gradientFor = [&](double L) {
    Vector gradient(3, 0.0);
    size_t i = 0;
    ForShellOrder(N, [&](unsigned int l, unsigned int m, unsigned int n) {
      for (size_t a = 0; a < 4; ++a) {
        const double p =
            Hermite1DMoment(l, a == 0) * Hermite1DMoment(m, a == 1) * Hermite1DMoment(n, a == 2);
        const double weight = a < 3 ? C[a] / std::pow(L, 4)
                                    : -(C[0] * C[0] + C[1] * C[1] + C[2] * C[2]) / std::pow(L, 3);
        for (size_t j = 0; j < 3; ++j)
          gradient[j] += 2 * weight * p / M0 * engine.GetTranslationalDerivatives()[j][i];
      }
      ++i;
    });
    return gradient;
  };
  QXHermiteCOMFunc f(options, gaussians);
  const double x[3] = {};
  Vector gradient(3), ofHessian(3), hessian(6);
  f(x, gradient.data());
  f(x, hessian.data(), ofHessian.data());
  EXPECT_TRUE(AllNear(gradient, gradientFor(0.75), 1e-13));
  EXPECT_TRUE(AllNear(ofHessian, gradientFor(0.95), 1e-13));
  EXPECT_FALSE(AllNear(gradient, ofHessian, 1e-3));
}

TEST(CenterOfMassSearches, FindTheShiftAtWhichItVanishes) {
  Gaussians gaussians = RandomGaussians(5, 83);
  for (QXGaussian& g : gaussians) g.SetX(g.GetX() + 0.75f);
  const Vector before = Centers(gaussians);
  const Vector newton = QXOptimizationSearchOfHermiteCOM(gaussians, 4, 0.9);
  EXPECT_EQ(Centers(gaussians), before) << "not changed";
  Gaussians moved = gaussians, iterated = gaussians;
  float t[3];
  for (size_t a = 0; a < 3; ++a) t[a] = static_cast<float>(-newton[a]);
  EXPECT_TRUE(QXTranslateGaussians(moved, t));
  const Vector iterative = QXIterativeSearchOfHermiteCOM(iterated, 4, 0.9, 0.9, 0.9, 1e-6, 200);
  // A Newton step below 1e-4 leaves an error of its square; shifts are single precision.
  EXPECT_LT(max_abs(CenterOfMass(moved, 0.9, 0.9, 0.9)), 1e-6);
  EXPECT_LT(max_abs(CenterOfMass(iterated, 0.9, 0.9, 0.9)), 1e-6);
  EXPECT_TRUE(AllNear(iterative, newton, 1e-5));
}

TEST(CenterOfMassSearches, TheIterationAddsTheLastCenterWithoutMovingByIt) {
  const Gaussians gaussians = RandomGaussians(5, 84);
  const auto search = [](Gaussians& g, unsigned int limit) {
    return QXIterativeSearchOfHermiteCOM(g, 4, 0.8, 0.9, 1.0, 0.0, limit);
  };
  for (unsigned int limit : {0u, 2u}) {  // tolerance 0 ends at the limit only
    Gaussians moved = gaussians;
    const Vector total = search(moved, limit), last = CenterOfMass(moved, 0.8, 0.9, 1.0);
    for (size_t a = 0; a < 3; ++a) {
      const double shift = Centers(gaussians)[a] - Centers(moved)[a];
      EXPECT_EQ(shift == 0, limit == 0);
      EXPECT_NEAR(total[a], shift + last[a], 1e-6) << "float centres";
      EXPECT_GT(std::fabs(last[a]), 1e-5) << "else this shows nothing";
    }
  }
  Gaussians none;
  EXPECT_TRUE(std::isnan(search(none, 1000000000)[0])) << "a NaN ends the loop";
}

}  // namespace
}  // namespace QXHermiteMath

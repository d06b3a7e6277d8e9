#include "hermite/expansion/hermite.h"

#include "host/minimizer/bfgs.h"
#include "host/minimizer/newton.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Hermite, ExpandsAtGivenWidthsAboutTheOriginOrTheMeanOfTheCenters) {
  Gaussians gaussians = RandomGaussians(4, 100);
  gaussians[0].SetZ(-9.0f);
  Gaussians centered = gaussians;
  const Vector mean = QXCenterGaussians(centered);
  QXHermiteOptions options = FixedWidths(5, 3, 1, 2);
  for (bool center : {false, true}) {
    const Gaussians& about = center ? centered : gaussians;
    QXGaussianToHermite engine(5, 0, 0);
    engine.Expand(options, about, 0);
    options.SetUseCenterOfMass(center);
    const QXHermite h = Expanded(gaussians, options);
    EXPECT_EQ(Widths(h), (Vector{3, 1, 2}));
    EXPECT_EQ(h.GetCoefficients(), engine.GetHermiteCoefficients());
    EXPECT_EQ(h.GetSelfOverlap(), QXCalcHermiteSelfOverlap(h.GetCoefficients(), options));
    EXPECT_EQ(h.GetCenter(), center ? mean : Vector(3, 0.0));
    double largest = 0;
    for (const QXGaussian& g : about)
      for (double x : {g.GetX(), g.GetY(), g.GetZ()}) largest = std::max(largest, std::fabs(x));
    EXPECT_EQ(h.GetExtent(), 2 * largest);
  }
  options.SetUseSingleLambda(true);
  EXPECT_EQ(Widths(Expanded(gaussians, options)), (Vector{1, 1, 1})) << "the smallest";
  EXPECT_EQ(Expanded({}, options).GetCoefficients(), Vector(56, 0.0));
  EXPECT_EQ(Expanded({}, options).GetExtent(), std::numeric_limits<double>::min());
}

// The mean of x and y is a product with 1/n, that of z a division, to the bit.
TEST(CenterGaussians, MeansOfTheSameNumbersDifferInTheLastBit) {
  Gaussians gaussians;
  for (float x : {1.0f, 2.0f, 2.0f}) {
    const float center[3] = {x, x, x};
    gaussians.emplace_back(x, 1.0f, center, 0u);  // weights play no part
  }
  const Vector mean = QXCenterGaussians(gaussians);
  EXPECT_EQ(mean, (Vector{5.0 * (1.0 / 3.0), 5.0 * (1.0 / 3.0), 5.0 / 3.0}));
  EXPECT_NE(mean[0], mean[2]);
  EXPECT_EQ(gaussians[0].GetX(), 1.0f - static_cast<float>(mean[0])) << "in single precision";
  EXPECT_EQ(QXCenterGaussians(gaussians = {}), Vector(3, 0.0));
}

// One width is searched by BFGS from the mean of the option widths; three by Newton (0.01, at most
// 10 steps) from the estimate at degree 0, whatever the option widths are.
TEST(Hermite, WidthSearchesMinimiseMinusTheSelfOverlap) {
  for (double scale : {1.0, 0.01}) {  // ends by tolerance, ends by limit
    const Gaussians gaussians = RandomGaussians(6, 102, false, scale);
    QXHermiteOptions options;
    SetLambdas(options, 1.0, 1.5, 0.2);
    Vector u = {std::log((1.5 + 1.0 + 0.2) * 0.3333333333333333)}, best(1);
    QXHermiteSelfOverlap one(options, gaussians);
    QXMinimizer::QXBFGSOpt()(one, u.data(), best.data());
    const QXHermite single = Expanded(gaussians, options);
    EXPECT_EQ(Widths(single), Vector(3, std::exp(best[0])));

    options.SetUseSingleLambda(false);
    const QXHermite three = Expanded(gaussians, options);
    options.SetNPolyMax(0);
    u = QXApproxHermiteBestLambda(gaussians, options);
    options.SetNPolyMax(5);
    for (double& x : u) x = std::log(x);
    QXHermiteSelfOverlap f(options, gaussians);
    QXMinimizer::QXNewtonOpt newton;
    newton.SetTolerance(0.01);
    newton.SetIterLimit(10);
    newton(f, nullptr, u.data(), u.data());
    EXPECT_EQ(Widths(three), (Vector{std::exp(u[0]), std::exp(u[1]), std::exp(u[2])}));

    // The expansion is that at the widths kept, and the flag of the search stays.
    for (const QXHermite* h : {&single, &three}) {
      const Vector w = Widths(*h);
      EXPECT_EQ(h->GetCoefficients(),
                Expanded(gaussians, FixedWidths(5, w[0], w[1], w[2])).GetCoefficients());
      EXPECT_TRUE(h->GetOptions().GetUseOptimalLambdas());
    }
  }
}

TEST(Hermite, TakesCoefficientsOfTheRightSizeOnly) {
  QXHermite h;
  EXPECT_EQ(h.NumCoefficients(), 56u);
  QXHermiteOptions options = FixedWidths(3, 0.8, 0.9, 1.0);
  options.SetUseCenterOfMass(true);
  h.Setup(RandomGaussians(4, 103), options);
  const Vector c = RandomCoefficients(3, 104), center = h.GetCenter();
  options.SetUseOptimalLambdas(true);
  ASSERT_TRUE(h.Setup(c, options));
  EXPECT_FALSE(h.GetOptions().GetUseOptimalLambdas());
  // A wrong size is refused, but the options are taken over, as they are.
  SetLambdas(options, 2.0, 2.0, 2.0);
  EXPECT_FALSE(h.Setup(Vector(19), options));
  EXPECT_EQ(Widths(h), (Vector{2, 2, 2}));
  EXPECT_TRUE(h.GetOptions().GetUseOptimalLambdas());
  EXPECT_EQ(h.GetCoefficients(), c);
  EXPECT_EQ(h.GetCoefficient(7), c[7]);
  EXPECT_EQ(h.GetSelfOverlap(), QXCalcHermiteSelfOverlap(c, FixedWidths(3, 0.8, 0.9, 1.0)));
  EXPECT_EQ(h.GetCenter(), center);
  EXPECT_NE(center, Vector(3, 0.0));
}

}  // namespace
}  // namespace QXHermiteMath

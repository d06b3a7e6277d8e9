#include "hermite/expansion/hermite.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

Vector Widths(const QXHermite& h) {
  const QXHermiteOptions& o = h.GetOptions();
  return {o.GetLambdaX(), o.GetLambdaY(), o.GetLambdaZ()};
}

QXHermiteOptions Searching(bool single, double start) {
  QXHermiteOptions options;
  options.SetUseSingleLambda(single);
  SetLambdas(options, start, start, start);
  return options;
}

TEST(Hermite, ExpandsAtGivenWidthsAboutTheOriginOrTheMeanOfTheCenters) {
  const Gaussians gaussians = RandomGaussians(4, 100);
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

TEST(Hermite, WidthSearchesMaximiseTheSelfOverlap) {
  const Gaussians gaussians = RandomGaussians(6, 101);
  const auto selfOverlap = [&](const Vector& w) {
    return Expanded(gaussians, FixedWidths(5, w[0], w[1], w[2])).GetSelfOverlap();
  };
  const QXHermite one = Expanded(gaussians, Searching(true, 1.0));
  const QXHermite three = Expanded(gaussians, Searching(false, 1.0));
  const Vector w = Widths(one);
  EXPECT_EQ(w, Vector(3, w[0]));
  for (double factor : {0.4, 0.7, 0.95, 1.05, 1.4, 2.5}) {
    EXPECT_GT(one.GetSelfOverlap(), selfOverlap(Vector(3, w[0] * factor)));
    for (size_t a = 0; a < 3; ++a) {
      Vector changed = Widths(three);
      changed[a] *= factor;
      EXPECT_GT(three.GetSelfOverlap(), selfOverlap(changed));
    }
  }
  EXPECT_GT(three.GetSelfOverlap(), one.GetSelfOverlap());
  // The expansion is that at the widths kept, and the flag of the search stays.
  for (const QXHermite* h : {&one, &three}) {
    EXPECT_EQ(h->GetSelfOverlap(), selfOverlap(Widths(*h)));
    EXPECT_TRUE(h->GetOptions().GetUseOptimalLambdas());
  }
}

// Three widths start from the estimate at degree 0, whatever the option widths are; one width
// starts from the mean of the option widths and never from the estimate. Without Gaussians the
// objective is flat, and the start stays.
TEST(Hermite, WhereWidthSearchesStart) {
  const Gaussians gaussians = RandomGaussians(6, 102);
  EXPECT_EQ(Widths(Expanded(gaussians, Searching(false, 1.0))),
            Widths(Expanded(gaussians, Searching(false, 1e6))));
  QXHermiteOptions options = Searching(false, 1.0);
  SetLambdas(options, 2, 3, 7);
  EXPECT_TRUE(AllNear(Widths(Expanded({}, options)), {1, 1, 1}, 4 * kEpsilon)) << "2 / 2";
  options.SetUseSingleLambda(true);
  const QXHermite h = Expanded({}, options);
  EXPECT_TRUE(AllNear(Widths(h), {4, 4, 4}, 16 * kEpsilon));
  EXPECT_EQ(h.GetCoefficients(), Vector(56, 0.0));
  EXPECT_EQ(h.GetExtent(), std::numeric_limits<double>::min());
}

TEST(Hermite, TakesCoefficientsOfTheRightSizeOnly) {
  QXHermite h;
  EXPECT_EQ(h.NumCoefficients(), 56u);
  const Vector c = RandomCoefficients(3, 104);
  QXHermiteOptions options = FixedWidths(3, 0.8, 0.9, 1.0);
  options.SetUseOptimalLambdas(true);
  ASSERT_TRUE(h.Setup(c, options));
  EXPECT_FALSE(h.GetOptions().GetUseOptimalLambdas());
  // A wrong size is refused, but the options are taken over.
  EXPECT_FALSE(h.Setup(Vector(19), FixedWidths(3, 2.0, 2.0, 2.0)));
  EXPECT_EQ(Widths(h), (Vector{2, 2, 2}));
  EXPECT_EQ(h.GetCoefficients(), c);
  EXPECT_EQ(h.GetCoefficient(7), c[7]);
  EXPECT_EQ(h.GetSelfOverlap(), QXCalcHermiteSelfOverlap(c, options));
}

// Projections on growing bases: the self overlap rises to that of the density.
TEST(Hermite, SelfOverlapRisesToThatOfTheDensity) {
  const Gaussians gaussians = RandomGaussians(8, 105);
  const double exact = PairwiseSelfOverlap(gaussians);
  for (bool search : {false, true}) {
    double previous = 0;
    for (unsigned int N : {0u, 2u, 5u, 10u, 20u, 40u}) {
      QXHermiteOptions options = FixedWidths(N, 1.0, 1.0, 1.0);
      options.SetUseSingleLambda(search);
      options.SetUseOptimalLambdas(search);
      const double S = Expanded(gaussians, options).GetSelfOverlap();
      EXPECT_GT(S, previous) << N;
      EXPECT_LE(S, exact * (1 + 1e-13)) << N;
      previous = S;
    }
    EXPECT_NEAR(previous / exact, 1.0, 1e-6);
  }
}

}  // namespace
}  // namespace QXHermiteMath

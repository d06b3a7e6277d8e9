#include "hermite/overlay/overlap.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

const Vector kOrigin(6, 0.0);
const Vector kPoint = {0.4, -0.9, 2.2, 0.5, -0.375, 0.25};

QXHermite Centered(const Gaussians& gaussians, QXHermiteOptions options, bool centered = true) {
  options.SetUseCenterOfMass(centered);
  return Expanded(gaussians, options);
}

// A reference about a centre of its own, a fit of another degree, other widths, another centre.
struct Pair {
  Pair(unsigned int refDegree, unsigned int fitDegree)
      : ref(Centered(RandomGaussians(4, 200), FixedWidths(refDegree, 0.9, 0.9, 0.9))),
        fit(Centered(RandomGaussians(5, 201), FixedWidths(fitDegree, 0.7, 1.0, 1.2))) {
    EXPECT_TRUE(overlap.SetupRef(ref, ref.GetOptions()));
    EXPECT_TRUE(overlap.Setup(fit, fit.GetOptions()));
  }
  QXHermite ref, fit;
  QXHermiteOverlap overlap;
};

TEST(Overlap, IsTheIntegralOfTheTurnedReferenceTimesTheShiftedFitWithExactGradient) {
  for (const auto& [refDegree, fitDegree] : {std::pair(4u, 4u), {5u, 2u}, {2u, 5u}}) {
    Pair pair(refDegree, fitDegree);
    for (const Vector& x : {kOrigin, kPoint}) {
      const Matrix Q = EulerMatrix(x);
      Vector3d t;
      for (int a = 0; a < 3; ++a)
        t[a] = x[3 + a] + pair.fit.GetCenter()[a] - pair.ref.GetCenter()[a];
      const auto product = [&](double u, double v, double w) {
        const Vector3d r(u, v, w);
        return Value(pair.ref, Q.transpose() * r) * Value(pair.fit, r - t);
      };
      // Overlaps are of the order of the self overlap; both routes sum some hundred roundings.
      const double rounding = 400 * kEpsilon * pair.overlap.GetRefSelfOverlap();
      EXPECT_NEAR(pair.overlap(x.data()), -Integrate3D(product, 10.0, 0.3125), rounding);

      Vector gradient(6, 9.0);
      EXPECT_NEAR(pair.overlap(x.data(), gradient.data()), pair.overlap(x.data()), rounding);
      EXPECT_TRUE(GradientAgrees(
          gradient, [&](const Vector& at) { return pair.overlap(at.data()); }, x));
    }
  }
}

TEST(Overlap, OfAnExpansionWithItselfIsTheSelfOverlapRoundedToFloat) {
  const QXHermite h = Expanded(RandomGaussians(4, 202), FixedWidths(5, 0.8, 0.9, 1.0));
  QXHermiteOverlap overlap;
  overlap.SetupRef(h, h.GetOptions());
  overlap.Setup(h, h.GetOptions());
  const double S = h.GetSelfOverlap(), value = overlap(kOrigin.data());
  EXPECT_EQ(overlap.GetRefSelfOverlap(), S);
  EXPECT_EQ(overlap.GetFitSelfOverlap(), S);
  EXPECT_NEAR(value, -S, 64 * kEpsilon * S);
  EXPECT_EQ(overlap.GetOverlap(), -static_cast<double>(static_cast<float>(value)));
  EXPECT_NE(overlap.GetOverlap(), -value);
}

TEST(Overlap, ObjectsAreReusedAndCentersComeFromExpansionsOnly) {
  Pair big(5, 5), small(2, 3);
  QXHermiteOverlap reused = big.overlap;
  reused.SetupRef(small.ref, small.ref.GetOptions());
  reused.Setup(small.fit, small.fit.GetOptions());
  EXPECT_EQ(reused(kPoint.data()), small.overlap(kPoint.data()));
  reused.SetupRef(big.ref, big.ref.GetOptions());
  reused.Setup(big.fit, big.fit.GetOptions());
  EXPECT_EQ(reused(kPoint.data()), big.overlap(kPoint.data()));

  QXHermiteOverlap oneCenter, noCenter;
  oneCenter.SetupRef(big.ref, big.ref.GetOptions());
  oneCenter.Setup(big.fit.GetCoefficients(), big.fit.GetOptions());
  noCenter.SetupRef(big.ref.GetCoefficients(), big.ref.GetOptions());
  noCenter.Setup(big.fit.GetCoefficients(), big.fit.GetOptions());
  const Vector& c = big.ref.GetCenter();
  const Vector shift = {0, 0, 0, -c[0], -c[1], -c[2]};
  EXPECT_EQ(oneCenter(kOrigin.data()), noCenter(shift.data()));
}

// With optimal widths asked for, the axes share the narrowest estimate, with no search, and the
// flag stays true in the options kept.
TEST(Overlap, GaussiansAreExpandedAtTheSmallestEstimate) {
  const Gaussians ref = RandomGaussians(5, 203), fit = RandomGaussians(4, 204);
  for (bool centered : {false, true}) {
    QXHermiteOptions options;
    options.SetUseSingleLambda(false);
    options.SetUseCenterOfMass(centered);
    QXHermiteOverlap overlap, expected;
    EXPECT_TRUE(overlap.SetupRef(ref, options));
    EXPECT_TRUE(overlap.Setup(fit, options));
    const auto expand = [&](const Gaussians& gaussians) {
      Gaussians positions = gaussians;
      if (centered) QXCenterGaussians(positions);
      const Vector w = QXApproxHermiteBestLambda(positions, options);
      const double smallest = *std::min_element(w.begin(), w.end());
      return Centered(gaussians, FixedWidths(5, smallest, smallest, smallest), centered);
    };
    const QXHermite a = expand(ref), b = expand(fit);
    expected.SetupRef(a, a.GetOptions());
    expected.Setup(b, b.GetOptions());
    EXPECT_EQ(overlap(kPoint.data()), expected(kPoint.data()));
    EXPECT_EQ(overlap.GetFitSelfOverlap(), b.GetSelfOverlap());
    const QXHermiteOptions& kept = overlap.GetRefOptions();
    EXPECT_TRUE(kept.GetUseOptimalLambdas());
    EXPECT_EQ(kept.GetLambdaX(), a.GetOptions().GetLambdaX());
    EXPECT_EQ(kept.GetLambdaY(), kept.GetLambdaX());
    EXPECT_EQ(kept.GetLambdaZ(), kept.GetLambdaX());
  }
}

TEST(Objectives, ReportWhatTheyDoNotSupport) {
  std::vector<std::unique_ptr<QXMinimizer::QXFunc1>> objectives;
  objectives.push_back(std::make_unique<QXHermiteSelfOverlap>(QXHermiteOptions(), Gaussians()));
  objectives.push_back(std::make_unique<QXHermiteCOMFunc>(QXHermiteOptions(), Gaussians()));
  objectives.push_back(std::make_unique<QXHermiteOverlap>());
  objectives.push_back(std::make_unique<QXShapeComboTanimoto>());
  objectives.push_back(std::make_unique<QXShapeChargeComboTanimoto>(1.0, 0.0));
  using QXCore::QXErrorLevel;
  const std::vector<Messages::Message> expected = {
      {QXErrorLevel::Warning, "This method has not been implemented yet."},
      {QXErrorLevel::Error,
       "This is a GPU-specific method and should only be called from the derived class."}};
  for (const auto& f : objectives) {
    const Messages messages;
    EXPECT_EQ(f->GetFComponents(kOrigin.data()), nullptr);
    EXPECT_TRUE((*f)(static_cast<const float**>(nullptr)).empty());
    EXPECT_EQ(messages.all, expected);
  }
}

}  // namespace
}  // namespace QXHermiteMath

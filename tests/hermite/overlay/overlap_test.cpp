#include "hermite/overlay/overlap.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <memory>

#include "hermite/frame/best_lambda.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/overlay/tanimoto.h"
#include "support/density.h"
#include "support/messages.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using Eigen::AngleAxisd, Eigen::Vector3d;
using QXTest::FixedWidths;
using QXTest::Gaussians;
using QXTest::kEpsilon;
using QXTest::RandomGaussians;
using QXTest::Vector;

const Vector kOrigin(6, 0.0);
const Vector kPoint = {0.4, -0.9, 2.2, 0.5, -0.375, 0.25};

// A reference about a centre of its own, a fit of another degree, other widths, another centre.
struct Pair {
  Pair(unsigned int refDegree, unsigned int fitDegree) {
    ref = Expanded(RandomGaussians(4, 200), FixedWidths(refDegree, 0.9, 0.9, 0.9), true);
    fit = Expanded(RandomGaussians(5, 201), FixedWidths(fitDegree, 0.7, 1.0, 1.2), true);
    EXPECT_TRUE(overlap.SetupRef(ref, ref.GetOptions()));
    EXPECT_TRUE(overlap.Setup(fit, fit.GetOptions()));
  }
  static QXHermite Expanded(const Gaussians& gaussians, QXHermiteOptions options, bool centered) {
    options.SetUseCenterOfMass(centered);
    QXHermite h;
    h.Setup(gaussians, options);
    return h;
  }
  QXHermite ref, fit;
  QXHermiteOverlap overlap;
};

TEST(Overlap, IsTheIntegralOfTheTurnedReferenceTimesTheShiftedFit) {
  for (const auto& [refDegree, fitDegree] : {std::pair(4u, 4u), {5u, 2u}, {2u, 5u}}) {
    Pair pair(refDegree, fitDegree);
    for (const Vector& x : {kOrigin, kPoint}) {
      const Eigen::Matrix3d Q =
          (AngleAxisd(x[0], Vector3d::UnitX()) * AngleAxisd(x[1], Vector3d::UnitY()) *
           AngleAxisd(x[2], Vector3d::UnitZ()))
              .toRotationMatrix();
      Vector3d t;
      for (int a = 0; a < 3; ++a)
        t[a] = x[3 + a] + pair.fit.GetCenter()[a] - pair.ref.GetCenter()[a];
      const double integral = QXTest::Integrate3D(
          [&](double u, double v, double w) {
            const Vector3d r(u, v, w), turned = Q.transpose() * r, shifted = r - t;
            return QXTest::Evaluate(pair.ref.GetCoefficients(), pair.ref.GetOptions(), turned[0],
                                    turned[1], turned[2]) *
                   QXTest::Evaluate(pair.fit.GetCoefficients(), pair.fit.GetOptions(), shifted[0],
                                    shifted[1], shifted[2]);
          },
          10.0, 0.3125);
      // Overlaps are of the order of the self overlap; both routes sum some hundred roundings.
      EXPECT_NEAR(pair.overlap(x.data()), -integral,
                  400 * kEpsilon * pair.overlap.GetRefSelfOverlap());
    }
  }
}

TEST(Overlap, HasAnExactGradient) {
  for (const auto& [refDegree, fitDegree] : {std::pair(4u, 4u), {5u, 2u}, {2u, 5u}, {0u, 0u}}) {
    Pair pair(refDegree, fitDegree);
    ASSERT_EQ(pair.overlap.NumVar(), 6u);
    Vector gradient(6, 9.0);
    const double value = pair.overlap(kPoint.data(), gradient.data());
    EXPECT_NEAR(value, pair.overlap(kPoint.data()), 16 * kEpsilon * std::fabs(value));
    EXPECT_TRUE(QXTest::GradientAgrees(
        gradient, [&](const Vector& x) { return pair.overlap(x.data()); }, kPoint, 0.00390625));
  }
}

TEST(Overlap, OfAnExpansionWithItselfIsTheSelfOverlapRoundedToFloat) {
  const QXHermite h = Pair::Expanded(RandomGaussians(4, 202), FixedWidths(5, 0.8, 0.9, 1.0), false);
  QXHermiteOverlap overlap;
  overlap.SetupRef(h, h.GetOptions());
  overlap.Setup(h, h.GetOptions());
  const double S = h.GetSelfOverlap();
  EXPECT_EQ(overlap.GetRefSelfOverlap(), S);
  EXPECT_EQ(overlap.GetFitSelfOverlap(), S);
  const double value = overlap(kOrigin.data());
  EXPECT_NEAR(value, -S, 64 * kEpsilon * S);
  EXPECT_EQ(overlap.GetOverlap(), -static_cast<double>(static_cast<float>(value)));
  EXPECT_NE(overlap.GetOverlap(), -value);
}

TEST(Overlap, ObjectsAreReusedForOtherReferencesAndFits) {
  Pair big(5, 5), small(2, 3);
  QXHermiteOverlap reused = big.overlap;
  reused.Setup(small.fit, small.fit.GetOptions());
  reused.SetupRef(small.ref, small.ref.GetOptions());
  reused.Setup(small.fit, small.fit.GetOptions());
  EXPECT_EQ(reused(kPoint.data()), small.overlap(kPoint.data()));
  reused.SetupRef(big.ref, big.ref.GetOptions());
  reused.Setup(big.fit, big.fit.GetOptions());
  EXPECT_EQ(reused(kPoint.data()), big.overlap(kPoint.data()));

  // By coefficients no centre is known: that of an expansion then is the shift, with its sign.
  QXHermiteOverlap oneCenter;
  oneCenter.SetupRef(big.ref, big.ref.GetOptions());
  oneCenter.Setup(big.fit.GetCoefficients(), big.fit.GetOptions());
  QXHermiteOverlap noCenter;
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
    QXHermiteOverlap overlap;
    EXPECT_TRUE(overlap.SetupRef(ref, options));
    EXPECT_TRUE(overlap.Setup(fit, options));

    const auto expand = [&](const Gaussians& gaussians) {
      Gaussians positions = gaussians;
      if (centered) QXCenterGaussians(positions);
      const Vector estimate = QXApproxHermiteBestLambda(positions, options);
      const double smallest = *std::min_element(estimate.begin(), estimate.end());
      return Pair::Expanded(gaussians, FixedWidths(5, smallest, smallest, smallest), centered);
    };
    const QXHermite a = expand(ref), b = expand(fit);
    const QXHermiteOptions& kept = overlap.GetRefOptions();
    EXPECT_TRUE(kept.GetUseOptimalLambdas());
    EXPECT_EQ(kept.GetLambdaX(), a.GetOptions().GetLambdaX());
    EXPECT_EQ(kept.GetLambdaY(), kept.GetLambdaX());
    EXPECT_EQ(kept.GetLambdaZ(), kept.GetLambdaX());
    QXHermiteOverlap expected;
    expected.SetupRef(a, a.GetOptions());
    expected.Setup(b, b.GetOptions());
    EXPECT_EQ(overlap(kPoint.data()), expected(kPoint.data()));
    EXPECT_EQ(overlap.GetFitSelfOverlap(), b.GetSelfOverlap());
  }
  // Widths that are given are taken as they stand.
  QXHermiteOverlap fixed;
  fixed.SetupRef(ref, FixedWidths(5, 0.7, 0.8, 0.9));
  EXPECT_EQ(fixed.GetRefOptions().GetLambdaZ(), 0.9);
  EXPECT_FALSE(fixed.GetRefOptions().GetUseOptimalLambdas());
}

TEST(Objectives, ReportWhatTheyDoNotSupport) {
  std::vector<std::unique_ptr<QXMinimizer::QXFunc1>> objectives;
  objectives.push_back(std::make_unique<QXHermiteSelfOverlap>(QXHermiteOptions(), Gaussians()));
  objectives.push_back(std::make_unique<QXHermiteCOMFunc>(QXHermiteOptions(), Gaussians()));
  objectives.push_back(std::make_unique<QXHermiteOverlap>());
  objectives.push_back(std::make_unique<QXShapeComboTanimoto>());
  objectives.push_back(std::make_unique<QXShapeChargeComboTanimoto>(1.0, 0.0));
  using QXCore::QXErrorLevel;
  for (const auto& f : objectives) {
    QXTest::Messages messages;
    EXPECT_EQ(f->GetFComponents(kOrigin.data()), nullptr);
    EXPECT_TRUE((*f)(static_cast<const float**>(nullptr)).empty());
    const std::vector<QXTest::Messages::Message> expected = {
        {QXErrorLevel::Warning, "This method has not been implemented yet."},
        {QXErrorLevel::Error,
         "This is a GPU-specific method and should only be called from the derived class."}};
    EXPECT_EQ(messages.all, expected);
  }
}

}  // namespace
}  // namespace QXHermiteMath

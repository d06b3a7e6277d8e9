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
    EXPECT_TRUE(SetupRef(overlap));
    EXPECT_TRUE(Setup(overlap));
  }
  bool SetupRef(QXHermiteOverlap& f) const { return f.SetupRef(ref, ref.GetOptions()); }
  bool Setup(QXHermiteOverlap& f) const { return f.Setup(fit, fit.GetOptions()); }
  double Value() { return overlap(kPoint.data()); }

  QXHermite ref, fit;
  QXHermiteOverlap overlap;
};

TEST(Overlap, IsTheIntegralOfTheTurnedReferenceTimesTheShiftedFitWithExactGradient) {
  for (const auto& [refDegree, fitDegree] : {std::pair(4u, 4u), {5u, 2u}, {2u, 5u}}) {
    Pair pair(refDegree, fitDegree);
    const Matrix Q = EulerMatrix(kPoint);
    Vector3d t(&kPoint[3]);
    for (int a = 0; a < 3; ++a) t[a] += pair.fit.GetCenter()[a] - pair.ref.GetCenter()[a];
    const auto product = [&](double x, double y, double z) {
      const Vector3d r(x, y, z);
      return Value(pair.ref, Q.transpose() * r) * Value(pair.fit, r - t);
    };
    // Overlaps are of the order of the self overlap; both routes sum some hundred roundings.
    const double rounding = 400 * kEpsilon * pair.overlap.GetRefSelfOverlap();
    EXPECT_NEAR(pair.Value(), -Integrate3D(product, 10.0, 0.3125), rounding);
    EXPECT_TRUE(GradientAgrees(pair.overlap, kPoint, rounding));
  }
}

TEST(Overlap, ObjectsAreReusedAndCentersComeFromExpansionsOnly) {
  Pair big(5, 9), small(2, 3), mixed(2, 9);
  QXHermiteOverlap reused = big.overlap;
  small.SetupRef(reused);  // while a fit of a larger degree is held
  EXPECT_EQ(reused(kPoint.data()), mixed.Value());
  small.Setup(reused);
  EXPECT_EQ(reused(kPoint.data()), small.Value());
  big.SetupRef(reused);
  big.Setup(reused);
  EXPECT_EQ(reused(kPoint.data()), big.Value());

  QXHermiteOverlap oneCenter, noCenter;
  big.SetupRef(oneCenter);
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
    EXPECT_EQ(overlap.GetRefSelfOverlap(), a.GetSelfOverlap());
    // Where the two stand, in single precision on purpose.
    const double there = overlap(kOrigin.data());
    EXPECT_EQ(overlap.GetOverlap(), -static_cast<double>(static_cast<float>(there)));
    EXPECT_NE(overlap.GetOverlap(), -there);
    const QXHermiteOptions& kept = overlap.GetRefOptions();
    EXPECT_TRUE(kept.GetUseOptimalLambdas());
    EXPECT_EQ((Vector{kept.GetLambdaX(), kept.GetLambdaY(), kept.GetLambdaZ()}), Widths(a));
  }
}

TEST(Objectives, WarnThatTheyHaveNoComponents) {
  QXHermiteSelfOverlap a{QXHermiteOptions(), Gaussians()};
  QXHermiteCOMFunc b{QXHermiteOptions(), Gaussians()};
  QXHermiteOverlap c;
  QXShapeComboTanimoto d;
  QXShapeChargeComboTanimoto e(1.0, 0.0);
  QXHermiteCosAngleFunc g{QXHermiteOptions()};
  for (QXMinimizer::QXFunc1* f :
       std::initializer_list<QXMinimizer::QXFunc1*>{&a, &b, &c, &d, &e, &g}) {
    const Messages messages;
    EXPECT_EQ(f->GetFComponents(kOrigin.data()), nullptr);
    EXPECT_EQ(messages.all,
              (std::vector<Messages::Message>{
                  {QXCore::QXErrorLevel::Warning, "This method has not been implemented yet."}}));
  }
}

}  // namespace
}  // namespace QXHermiteMath

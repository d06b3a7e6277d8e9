#include "hermite/overlay/tanimoto.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

const Vector kOrigin(6, 0.0);
const Vector kPoint = {0.4, -0.9, 2.2, 0.5, -0.375, 0.25};
const QXHermiteOptions kOptions = FixedWidths(4, 0.9, 0.9, 0.9);
const Gaussians kRef = RandomGaussians(4, 210), kFit = RandomGaussians(5, 211);
const Gaussians kRefCharge = RandomGaussians(4, 212, true);
const Gaussians kFitCharge = RandomGaussians(4, 213, true);

Gaussians Scaled(const Gaussians& gaussians, float factor) {
  Gaussians scaled;
  for (const QXGaussian& g : gaussians) {
    const float center[3] = {g.GetX(), g.GetY(), g.GetZ()};
    scaled.emplace_back(factor * g.GetAmplitude(), g.GetWidth(), center, 0u);
  }
  return scaled;
}

double Tanimoto(const Gaussians& ref, const Gaussians& fit, const Vector& x) {
  QXHermiteOverlap overlap;
  overlap.SetupRef(ref, kOptions);
  overlap.Setup(fit, kOptions);
  const double O = -overlap(x.data());
  return O / (overlap.GetRefSelfOverlap() + overlap.GetFitSelfOverlap() - O);
}

Vector Coefficients(const Gaussians& gaussians) {
  return Expanded(gaussians, kOptions).GetCoefficients();
}

TEST(ShapeTanimoto, IsMinusTheTanimotoWithAnExactGradient) {
  QXShapeComboTanimoto f, byCoefficients, shared;
  EXPECT_TRUE(f.SetupRef(kRef, kOptions));
  EXPECT_TRUE(f.Setup(kFit));
  EXPECT_TRUE(byCoefficients.SetupRef(Coefficients(kRef), kOptions));
  EXPECT_TRUE(byCoefficients.Setup(Coefficients(kFit)));
  const double T = Tanimoto(kRef, kFit, kPoint);
  double computed = 9;
  Vector gradient(6);
  EXPECT_TRUE(f.ComputeTanimoto(kPoint.data(), computed));
  EXPECT_NEAR(computed, T, 8 * kEpsilon);
  EXPECT_NEAR(f(kPoint.data()), -T, 8 * kEpsilon);
  EXPECT_NEAR(byCoefficients(kPoint.data()), -T, 8 * kEpsilon);
  EXPECT_NEAR(f(kPoint.data(), gradient.data()), -T, 16 * kEpsilon);
  EXPECT_TRUE(GradientAgrees(
      gradient, [&](const Vector& x) { return f(x.data()); }, kPoint));
  f.Setup(kRef);
  EXPECT_NEAR(f(kOrigin.data()), -1.0, 64 * kEpsilon) << "of a density with itself";
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());

  // The fit shares the options the reference ended with; their flag is still true, so it gets
  // widths of its own.
  Gaussians longer = kFit;
  for (QXGaussian& g : longer) g.SetX(g.GetX() * 3);
  QXHermiteOverlap overlap;
  shared.SetupRef(kRef, QXHermiteOptions());
  shared.Setup(longer);
  overlap.SetupRef(kRef, QXHermiteOptions());
  overlap.Setup(longer, QXHermiteOptions());
  EXPECT_EQ(shared(kPoint.data()), -TanimotoFromValue(overlap(kPoint.data()), overlap));
}

TEST(ShapeChargeTanimoto, IsTheWeightedSumWithAnExactGradient) {
  const double Ts = Tanimoto(kRef, kFit, kPoint);
  const double Tc = Tanimoto(kRefCharge, kFitCharge, kPoint);
  Vector withoutOffset;
  for (const auto& [w, c] : {std::pair(0.7, 0.0), {0.7, 0.3}, {0.0, 0.3}}) {
    QXShapeChargeComboTanimoto f(w, c), byCoefficients(w, c);
    EXPECT_TRUE(f.SetupRef(kRef, kOptions, kRefCharge, kOptions));
    EXPECT_TRUE(f.Setup(kFit, kFitCharge));
    EXPECT_TRUE(
        byCoefficients.SetupRef(Coefficients(kRef), kOptions, Coefficients(kRefCharge), kOptions));
    EXPECT_TRUE(byCoefficients.Setup(Coefficients(kFit), Coefficients(kFitCharge)));
    Vector gradient(6);
    const double expected = -Ts - w * (Tc + c);
    EXPECT_NEAR(f(kPoint.data()), expected, 16 * kEpsilon);
    EXPECT_NEAR(byCoefficients(kPoint.data()), expected, 16 * kEpsilon);
    EXPECT_NEAR(f(kPoint.data(), gradient.data()), expected, 32 * kEpsilon);
    EXPECT_TRUE(GradientAgrees(
        gradient, [&](const Vector& x) { return f(x.data()); }, kPoint));
    if (c == 0.0) withoutOffset = gradient;
    EXPECT_EQ(gradient == withoutOffset, w == 0.7) << "the offset is none of the gradient's";
    double shape = 9, charge = 9;
    EXPECT_TRUE(f.ComputeShapeChargeTanimotos(kPoint.data(), shape, charge));
    EXPECT_NEAR(shape, Ts, 8 * kEpsilon);
    EXPECT_NEAR(charge, Tc, 8 * kEpsilon);
  }
  // Opposite charges: -A/(3A).
  QXShapeChargeComboTanimoto f(1.0, 0.0);
  f.SetupRef(kRef, kOptions, kRefCharge, kOptions);
  f.Setup(kRef, Scaled(kRefCharge, -1.0f));
  EXPECT_NEAR(f(kOrigin.data()), -1.0 + 1.0 / 3.0, 64 * kEpsilon);
  EXPECT_EQ(f.GetRefChargeSelfOverlap(), f.GetFitChargeSelfOverlap());
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());
  EXPECT_NE(f.GetRefShapeSelfOverlap(), f.GetRefChargeSelfOverlap());
}

// A denominator of exactly zero makes the charge Tanimoto zero; in the objective only, and for the
// charge term only.
TEST(ShapeChargeTanimoto, GuardsTheChargeTermAlone) {
  const Gaussians none = Scaled(kRef, 0.0f);
  const double w = 0.7, c = 0.3;
  QXShapeChargeComboTanimoto f(w, c), g(w, c);
  f.SetupRef(kRef, kOptions, none, kOptions);
  f.Setup(kFit, none);
  QXShapeComboTanimoto shapeOnly;
  shapeOnly.SetupRef(kRef, kOptions);
  shapeOnly.Setup(kFit);
  Vector gradient(6), expected(6);
  const double value = shapeOnly(kPoint.data(), expected.data()) - w * c;
  EXPECT_NEAR(f(kPoint.data()), value, 8 * kEpsilon);
  EXPECT_NEAR(f(kPoint.data(), gradient.data()), value, 8 * kEpsilon);
  EXPECT_TRUE(AllNear(gradient, expected, 8 * kEpsilon));
  double shape = 9, charge = 9;
  f.ComputeShapeChargeTanimotos(kPoint.data(), shape, charge);
  EXPECT_TRUE(std::isfinite(shape));
  EXPECT_TRUE(std::isnan(charge));
  g.SetupRef(none, kOptions, kRefCharge, kOptions);
  g.Setup(none, kFitCharge);
  EXPECT_TRUE(std::isnan(g(kPoint.data())));
}

}  // namespace
}  // namespace QXHermiteMath

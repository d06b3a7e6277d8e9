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

double Tanimoto(const Gaussians& ref, const Gaussians& fit, const QXHermiteOptions& options) {
  QXHermiteOverlap overlap;
  overlap.SetupRef(ref, options);
  overlap.Setup(fit, options);
  const double O = -overlap(kPoint.data());
  return O / (overlap.GetRefSelfOverlap() + overlap.GetFitSelfOverlap() - O);
}

Vector Coefficients(const Gaussians& gaussians) {
  return Expanded(gaussians, kOptions).GetCoefficients();
}

TEST(ShapeTanimoto, IsMinusTheTanimotoWithAnExactGradient) {
  QXShapeComboTanimoto f, byCoefficients;
  EXPECT_TRUE(f.SetupRef(kRef, kOptions));
  EXPECT_TRUE(f.Setup(kFit));
  EXPECT_TRUE(byCoefficients.SetupRef(Coefficients(kRef), kOptions));
  EXPECT_TRUE(byCoefficients.Setup(Coefficients(kFit)));
  const double T = Tanimoto(kRef, kFit, kOptions);
  double computed = 9;
  EXPECT_TRUE(f.ComputeTanimoto(kPoint.data(), computed));
  EXPECT_TRUE(AllNear({computed, -f(kPoint.data()), -byCoefficients(kPoint.data())}, {T, T, T},
                      8 * kEpsilon));
  EXPECT_TRUE(GradientAgrees(f, kPoint, 16 * kEpsilon));
  f.Setup(kRef);
  EXPECT_NEAR(f(kOrigin.data()), -1.0, 64 * kEpsilon) << "of a density with itself";
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());

  // The fit shares the options the reference ended with; their flag is still true, so it gets
  // widths of its own.
  Gaussians longer = kFit;
  for (QXGaussian& g : longer) g.SetX(g.GetX() * 3);
  f.SetupRef(kRef, QXHermiteOptions());
  f.Setup(longer);
  EXPECT_NEAR(f(kPoint.data()), -Tanimoto(kRef, longer, QXHermiteOptions()), 8 * kEpsilon);
}

TEST(ShapeChargeTanimoto, IsTheWeightedSumWithAnExactGradient) {
  const double w = 0.7, c = 0.3;
  QXShapeChargeComboTanimoto f(w, c), g(w, c);
  EXPECT_TRUE(f.SetupRef(kRef, kOptions, kRefCharge, kOptions));
  EXPECT_TRUE(f.Setup(kFit, kFitCharge));
  EXPECT_TRUE(g.SetupRef(Coefficients(kRef), kOptions, Coefficients(kRefCharge), kOptions));
  EXPECT_TRUE(g.Setup(Coefficients(kFit), Coefficients(kFitCharge)));
  const double shape = Tanimoto(kRef, kFit, kOptions);
  const double charge = Tanimoto(kRefCharge, kFitCharge, kOptions);
  EXPECT_NEAR(f(kPoint.data()), -shape - w * (charge + c), 16 * kEpsilon);
  EXPECT_NEAR(g(kPoint.data()), -shape - w * (charge + c), 16 * kEpsilon);
  EXPECT_TRUE(GradientAgrees(f, kPoint, 32 * kEpsilon));
  Vector computed(2);
  EXPECT_TRUE(f.ComputeShapeChargeTanimotos(kPoint.data(), computed[0], computed[1]));
  EXPECT_TRUE(AllNear(computed, {shape, charge}, 8 * kEpsilon));
  // Opposite charges: -A/(3A).
  f.Setup(kRef, Scaled(kRefCharge, -1.0f));
  EXPECT_NEAR(f(kOrigin.data()), -1.0 - w * (c - 1.0 / 3.0), 64 * kEpsilon);
  EXPECT_EQ(f.GetRefChargeSelfOverlap(), f.GetFitChargeSelfOverlap());
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());
  EXPECT_NE(f.GetRefShapeSelfOverlap(), f.GetRefChargeSelfOverlap());

  // Widths chosen for the reference are those in which coefficients of a fit are read.
  const auto chosen = [](const Gaussians& gaussians) {
    QXHermiteOverlap overlap;
    overlap.SetupRef(gaussians, QXHermiteOptions());
    return overlap.GetRefOptions();
  };
  QXHermiteOptions shapeOptions = chosen(kRef), chargeOptions = chosen(kRefCharge);
  for (QXHermiteOptions* o : {&shapeOptions, &chargeOptions}) o->SetUseOptimalLambdas(false);
  f.SetupRef(kRef, QXHermiteOptions(), kRefCharge, QXHermiteOptions());
  f.Setup(Expanded(kRef, shapeOptions).GetCoefficients(),
          Expanded(kRefCharge, chargeOptions).GetCoefficients());
  EXPECT_NEAR(f(kOrigin.data()), -1.0 - w * (1.0 + c), 256 * kEpsilon);
}

// A denominator of exactly zero makes the charge Tanimoto zero; in the objective only, and for the
// charge term only.
TEST(ShapeChargeTanimoto, GuardsTheChargeTermAlone) {
  const Gaussians none = Scaled(kRef, 0.0f);
  QXShapeChargeComboTanimoto f(0.7, 0.3), g(0.7, 0.3);
  f.SetupRef(kRef, kOptions, none, kOptions);
  f.Setup(kFit, none);
  EXPECT_NEAR(f(kPoint.data()), -Tanimoto(kRef, kFit, kOptions) - 0.7 * 0.3, 16 * kEpsilon);
  EXPECT_TRUE(GradientAgrees(f, kPoint, 16 * kEpsilon));
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

#include "hermite/overlay/tanimoto.h"

#include <gtest/gtest.h>

#include "support/density.h"
#include "support/numerics.h"

namespace QXHermiteMath {
namespace {

using QXTest::AllNear;
using QXTest::FixedWidths;
using QXTest::Gaussians;
using QXTest::kEpsilon;
using QXTest::RandomGaussians;
using QXTest::Vector;

const Vector kOrigin(6, 0.0);
const Vector kPoint = {0.4, -0.9, 2.2, 0.5, -0.375, 0.25};
const QXHermiteOptions kOptions = FixedWidths(4, 0.9, 0.9, 0.9);

Gaussians Charges(unsigned int seed) {
  return RandomGaussians(4, seed, true);
}

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

TEST(ShapeTanimoto, IsMinusTheTanimotoWithAnExactGradient) {
  const Gaussians ref = RandomGaussians(4, 210), fit = RandomGaussians(5, 211);
  QXShapeComboTanimoto f;
  EXPECT_TRUE(f.SetupRef(ref, kOptions));
  EXPECT_TRUE(f.Setup(fit));
  ASSERT_EQ(f.NumVar(), 6u);
  const double T = Tanimoto(ref, fit, kPoint);
  double computed = 9;
  EXPECT_TRUE(f.ComputeTanimoto(kPoint.data(), computed));
  EXPECT_NEAR(computed, T, 8 * kEpsilon);
  EXPECT_NEAR(f(kPoint.data()), -T, 8 * kEpsilon);
  Vector gradient(6);
  EXPECT_NEAR(f(kPoint.data(), gradient.data()), -T, 16 * kEpsilon);
  EXPECT_TRUE(QXTest::GradientAgrees(
      gradient, [&](const Vector& x) { return f(x.data()); }, kPoint, 0.00390625));

  EXPECT_TRUE(f.Setup(ref));
  EXPECT_NEAR(f(kOrigin.data()), -1.0, 64 * kEpsilon) << "of a density with itself";
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());

  // By coefficients, under the options of the reference.
  QXHermite h;
  h.Setup(fit, kOptions);
  QXShapeComboTanimoto g;
  EXPECT_TRUE(g.SetupRef(h.GetCoefficients(), kOptions));
  EXPECT_TRUE(g.Setup(h.GetCoefficients()));
  EXPECT_NEAR(g(kOrigin.data()), -1.0, 64 * kEpsilon);
}

// Optimal widths: the flag stays in the options that the fit shares, which so gets its own widths.
TEST(ShapeTanimoto, TheFitSharesTheOptionsOfTheReference) {
  const Gaussians ref = RandomGaussians(4, 212);
  Gaussians fit = RandomGaussians(4, 213);
  for (QXGaussian& g : fit) g.SetX(g.GetX() * 3);
  QXShapeComboTanimoto f;
  f.SetupRef(ref, QXHermiteOptions());
  f.Setup(fit);
  QXHermiteOverlap overlap;
  overlap.SetupRef(ref, QXHermiteOptions());
  overlap.Setup(fit, QXHermiteOptions());
  double T = 9;
  f.ComputeTanimoto(kPoint.data(), T);
  EXPECT_EQ(T, TanimotoFromValue(overlap(kPoint.data()), overlap));
}

TEST(ShapeChargeTanimoto, IsTheWeightedSumWithAnExactGradient) {
  const Gaussians ref = RandomGaussians(4, 220), fit = RandomGaussians(5, 221);
  const Gaussians refCharge = Charges(222), fitCharge = Charges(223);
  const double Ts = Tanimoto(ref, fit, kPoint), Tc = Tanimoto(refCharge, fitCharge, kPoint);
  Vector shapeGradient(6), gradientWithoutOffset;
  QXShapeComboTanimoto shape;
  shape.SetupRef(ref, kOptions);
  shape.Setup(fit);
  shape(kPoint.data(), shapeGradient.data());
  for (const auto& [w, c] : {std::pair(0.7, 0.0), {0.7, 0.3}, {0.0, 0.3}}) {
    QXShapeChargeComboTanimoto f(w, c);
    EXPECT_TRUE(f.SetupRef(ref, kOptions, refCharge, kOptions));
    EXPECT_TRUE(f.Setup(fit, fitCharge));
    ASSERT_EQ(f.NumVar(), 6u);
    EXPECT_NEAR(f(kPoint.data()), -Ts - w * (Tc + c), 16 * kEpsilon);
    Vector gradient(6);
    EXPECT_NEAR(f(kPoint.data(), gradient.data()), -Ts - w * (Tc + c), 32 * kEpsilon);
    EXPECT_TRUE(QXTest::GradientAgrees(
        gradient, [&](const Vector& x) { return f(x.data()); }, kPoint, 0.00390625));
    if (w == 0.0)
      EXPECT_TRUE(AllNear(gradient, shapeGradient, 8 * kEpsilon));
    else if (c == 0.0)
      gradientWithoutOffset = gradient;
    else
      EXPECT_EQ(gradient, gradientWithoutOffset);

    double shapeTanimoto = 9, chargeTanimoto = 9;
    EXPECT_TRUE(f.ComputeShapeChargeTanimotos(kPoint.data(), shapeTanimoto, chargeTanimoto));
    EXPECT_NEAR(shapeTanimoto, Ts, 8 * kEpsilon);
    EXPECT_NEAR(chargeTanimoto, Tc, 8 * kEpsilon);
  }
}

TEST(ShapeChargeTanimoto, OfOppositeChargesIsMinusAThird) {
  const Gaussians shape = RandomGaussians(4, 224), charge = Charges(225);
  QXShapeChargeComboTanimoto f(1.0, 0.0);
  f.SetupRef(shape, kOptions, charge, kOptions);
  f.Setup(shape, Scaled(charge, -1.0f));
  EXPECT_NEAR(f(kOrigin.data()), -1.0 + 1.0 / 3.0, 64 * kEpsilon);
  EXPECT_EQ(f.GetRefChargeSelfOverlap(), f.GetFitChargeSelfOverlap());
  EXPECT_EQ(f.GetRefShapeSelfOverlap(), f.GetFitShapeSelfOverlap());
  EXPECT_NE(f.GetRefShapeSelfOverlap(), f.GetRefChargeSelfOverlap());

  // The same by coefficients.
  QXHermite s, c;
  s.Setup(shape, kOptions);
  c.Setup(charge, kOptions);
  Vector opposite = c.GetCoefficients();
  for (double& v : opposite) v = -v;
  QXShapeChargeComboTanimoto g(1.0, 0.0);
  EXPECT_TRUE(g.SetupRef(s.GetCoefficients(), kOptions, c.GetCoefficients(), kOptions));
  EXPECT_TRUE(g.Setup(s.GetCoefficients(), opposite));
  EXPECT_NEAR(g(kOrigin.data()), -1.0 + 1.0 / 3.0, 64 * kEpsilon);
}

// A denominator of exactly zero makes the charge Tanimoto zero; in the objective only, and for the
// charge term only.
TEST(ShapeChargeTanimoto, GuardsTheChargeTermAlone) {
  const Gaussians shape = RandomGaussians(4, 226), fit = RandomGaussians(5, 227);
  const Gaussians none = Scaled(shape, 0.0f);
  const double w = 0.7, c = 0.3;
  QXShapeChargeComboTanimoto f(w, c);
  f.SetupRef(shape, kOptions, none, kOptions);
  f.Setup(fit, none);
  QXShapeComboTanimoto shapeOnly;
  shapeOnly.SetupRef(shape, kOptions);
  shapeOnly.Setup(fit);
  Vector gradient(6), expected(6);
  const double value = shapeOnly(kPoint.data(), expected.data());
  EXPECT_NEAR(f(kPoint.data()), value - w * c, 8 * kEpsilon);
  EXPECT_NEAR(f(kPoint.data(), gradient.data()), value - w * c, 8 * kEpsilon);
  EXPECT_TRUE(AllNear(gradient, expected, 8 * kEpsilon));
  double shapeTanimoto = 9, chargeTanimoto = 9;
  f.ComputeShapeChargeTanimotos(kPoint.data(), shapeTanimoto, chargeTanimoto);
  EXPECT_NEAR(shapeTanimoto, -value, 8 * kEpsilon);
  EXPECT_TRUE(std::isnan(chargeTanimoto));

  QXShapeChargeComboTanimoto g(w, c);
  g.SetupRef(none, kOptions, Charges(228), kOptions);
  g.Setup(none, Charges(229));
  EXPECT_TRUE(std::isnan(g(kPoint.data())));
}

}  // namespace
}  // namespace QXHermiteMath

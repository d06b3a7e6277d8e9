#include "hermite/expansion/mol_to_gaussians.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QXHermiteMath {
namespace {

const double kPi = std::acos(-1.0);

double Integral(const QXGaussian& g) {
  return g.GetAmplitude() * std::pow(kPi / g.GetWidth(), 1.5);
}

QXMol TwoAtoms() {
  QXMol mol;
  mol.NewAtom(1)->SetPartialCharge(0.5);
  mol.NewAtom(8)->SetPartialCharge(-1.25);
  const double coords[] = {0, 0, 0, 1, 2, 3};
  mol.SetCoords(coords);
  return mol;
}

void ExpectTwoCenters(const std::vector<QXGaussian>& gaussians) {
  ASSERT_EQ(gaussians.size(), 2u);
  EXPECT_EQ(gaussians[0].GetX(), 0.0f);
  EXPECT_EQ(gaussians[1].GetX(), 1.0f);
  EXPECT_EQ(gaussians[1].GetY(), 2.0f);
  EXPECT_EQ(gaussians[1].GetZ(), 3.0f);
}

TEST(ShapeGaussians, AreSpheresInVolumeWhateverTheElement) {
  for (double radius : {1.0, 1.7}) {
    const auto gaussians = QXMolToGaussians(TwoAtoms(), radius);
    ExpectTwoCenters(gaussians);
    for (const QXGaussian& g : gaussians) {
      EXPECT_EQ(g.GetAmplitude(), 2.7f);
      EXPECT_EQ(g.GetWidth(), static_cast<float>(2.34422871067 / (radius * radius)));
      // Amplitude and width are rounded to float, the width to the power 3/2.
      EXPECT_NEAR(Integral(g) / (4 * kPi / 3 * radius * radius * radius), 1.0, 2.5 * 6e-8);
    }
  }
}

// Two normalisations that must stay apart: by molecule a Gaussian integrates to its charge, by
// arrays it has the factor of one dimension only.
TEST(ChargeGaussians, HaveTwoNormalisations) {
  const double sigma = 0.8;
  const auto byMol = QXMolToElectroStaticGaussians(TwoAtoms(), sigma);
  const auto byArray = makeElectrostaticGaussians({0, 0, 0, 1, 2, 3}, {0.5, -1.25}, sigma);
  ExpectTwoCenters(byMol);
  ExpectTwoCenters(byArray);
  for (size_t i = 0; i < 2; ++i) {
    const double charge = i == 0 ? 0.5 : -1.25;
    EXPECT_NEAR(Integral(byMol[i]) / charge, 1.0, 2.5 * 6e-8);
    EXPECT_EQ(byMol[i].GetWidth(), static_cast<float>(0.5 / (0.8 * 0.8)));
    EXPECT_EQ(byArray[i].GetWidth(), byMol[i].GetWidth());
    EXPECT_NEAR(byArray[i].GetAmplitude() / (charge / (sigma * std::sqrt(2 * kPi))), 1.0, 6e-8);
  }
}

TEST(MoleculeGaussians, OfOddAndEmptyInput) {
  EXPECT_EQ(makeShapeGaussians({0, 0, 0, 1, 2, 3, 9}, 1.7).size(), 2u) << "a rest is ignored";
  QXMol neutral;
  neutral.NewAtom(6);
  ASSERT_EQ(QXMolToElectroStaticGaussians(neutral, 1.0).size(), 1u) << "of charge 0";
  EXPECT_EQ(QXMolToElectroStaticGaussians(neutral, 1.0)[0].GetAmplitude(), 0.0f);
  EXPECT_TRUE(QXMolToGaussians(QXMol(1), 1.7).empty());
  EXPECT_TRUE(QXMolToElectroStaticGaussians(QXMol(1), 1.0).empty());
  EXPECT_TRUE(makeShapeGaussians({}, 1.7).empty());
  EXPECT_TRUE(makeElectrostaticGaussians({}, {}, 1.0).empty());
}

}  // namespace
}  // namespace QXHermiteMath

#include "hermite/expansion/mol_to_gaussians.h"

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

const double kPi = std::acos(-1.0);
// Amplitude and width are rounded to float, the width to the power 3/2.
constexpr double kRounded = 2.5 * 6e-8;
const std::vector<double> kCoords = {0, 0, 0, 1, 2, 3};
const std::vector<double> kCharges = {0.5, -1.25};

double Integral(const QXGaussian& g) {
  return g.GetAmplitude() * std::pow(kPi / g.GetWidth(), 1.5);
}

QXMolKit::QXMol TwoAtoms() {
  QXMolKit::QXMol mol;
  mol.NewAtom(1)->SetPartialCharge(kCharges[0]);
  mol.NewAtom(8)->SetPartialCharge(kCharges[1]);
  mol.SetCoords(kCoords.data());
  return mol;
}

TEST(ShapeGaussians, AreSpheresInVolumeWhateverTheElement) {
  for (double radius : {1.0, 1.7}) {
    const auto gaussians = QXMolToGaussians(TwoAtoms(), radius);
    ASSERT_EQ(gaussians.size(), 2u);
    for (const QXGaussian& g : gaussians) {
      EXPECT_EQ(g.GetAmplitude(), 2.7f);
      EXPECT_NEAR(Integral(g) / (4 * kPi / 3 * std::pow(radius, 3)), 1.0, kRounded);
    }
    EXPECT_EQ(gaussians[1].GetX(), 1.0f);
    EXPECT_EQ(gaussians[1].GetZ(), 3.0f);
  }
  EXPECT_EQ(makeShapeGaussians({0, 0, 0, 1, 2, 3, 9}, 1.7).size(), 2u) << "a rest is ignored";
  EXPECT_TRUE(QXMolToGaussians(QXMolKit::QXMol(1), 1.7).empty());
}

TEST(ShapeGaussians, OfHeavyAtomsAreThoseOfAMoleculeWithoutItsHydrogens) {
  const QXMolKit::QXMol drug = Drug("losartan");
  for (QXMolKit::QXConfBase* conformer : Conformers(drug)) {
    QXMolKit::QXMol heavy(*conformer, 1);
    QXMolKit::QXSuppressHydrogens(heavy, false, false, true);
    const auto expected = QXMolToGaussians(heavy, 1.7),
               got = HeavyAtomsToGaussians(*conformer, 1.7);
    ASSERT_GT(expected.size(), 20u);
    ASSERT_EQ(got.size(), expected.size());
    for (size_t i = 0; i < got.size(); ++i) {
      const QXGaussian &a = got[i], &b = expected[i];
      EXPECT_EQ((std::array{a.GetAmplitude(), a.GetWidth(), a.GetX(), a.GetY(), a.GetZ()}),
                (std::array{b.GetAmplitude(), b.GetWidth(), b.GetX(), b.GetY(), b.GetZ()}));
    }
  }
}

// Two normalisations that must stay apart: by molecule a Gaussian integrates to its charge, by
// arrays it has the factor of one dimension only.
TEST(ChargeGaussians, HaveTwoNormalisations) {
  const double sigma = 0.8;
  const auto byMol = QXMolToElectroStaticGaussians(TwoAtoms(), sigma);
  const auto byArray = makeElectrostaticGaussians(kCoords, kCharges, sigma);
  ASSERT_EQ(byMol.size(), 2u);
  ASSERT_EQ(byArray.size(), 2u);
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_NEAR(Integral(byMol[i]) / kCharges[i], 1.0, kRounded);
    EXPECT_EQ(byMol[i].GetWidth(), static_cast<float>(0.5 / (sigma * sigma)));
    EXPECT_EQ(byArray[i].GetWidth(), byMol[i].GetWidth());
    EXPECT_EQ(byArray[i].GetY(), byMol[i].GetY());
    EXPECT_NEAR(byArray[i].GetAmplitude() * sigma * std::sqrt(2 * kPi) / kCharges[i], 1.0, 6e-8);
  }
  EXPECT_TRUE(QXMolToElectroStaticGaussians(QXMolKit::QXMol(1), 1.0).empty());
}

}  // namespace
}  // namespace QXHermiteMath

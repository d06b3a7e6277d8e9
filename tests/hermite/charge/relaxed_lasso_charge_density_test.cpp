#include "hermite/charge/relaxed_lasso_charge_density.h"

#include <Eigen/QR>

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

using Eigen::MatrixXd;
using Eigen::VectorXd;

/// Values at random, so that every function has its part.
struct Sample {
  Sample() {
    options.SetUseElectricField(false);
    mol.SetData("grid", points);
    mol.SetData("potential", values);
  }
  QXMultiHermiteParameters params{2, 1.1, {0, 0, 0, 1.2, 0.3, 0}};
  QXLassoChargeDensityOptions options;
  Vector points = RandomPoints(90, 4.0, 5), values = RandomPoints(30, 10.0, 6);
  QXMol mol;
};

// The second path ends at the least squares solution over the features alone: by a QR decomposition
// here, to the floor of the walk times the condition as in the fit of a sparse density.
TEST(RelaxedLassoChargeDensity, FitsTheFirstFeaturesByLeastSquares) {
  const Sample sample;
  QXRelaxedLassoChargeDensity fit(sample.params, sample.options), fromMol = fit;
  EXPECT_TRUE(fit.FeatureSelection(sample.points, sample.values));
  EXPECT_TRUE(fromMol.FeatureSelection(sample.mol));
  QXLassoChargeDensity first(sample.params, sample.options);
  ASSERT_TRUE(first.PrepData(sample.mol) && first.Fit());
  ASSERT_EQ(fit.MaxNumFeatures(), 18u);
  EXPECT_EQ(fit.GetFeatures(18), first.GetActives());
  EXPECT_EQ(fromMol.GetFeatures(18), first.GetActives());

  MatrixXd X = HermiteElectrostaticsDesignMatrix(sample.points, sample.params).topRows(90);
  const VectorXd norms = NormalizeDesignMatrix(X), y = VectorXd::Map(sample.values.data(), 90);
  for (unsigned int n : {1u, 7u, 18u}) {
    const UInts features = fit.GetFeatures(n);
    const MatrixXd subset = SubsetDesignMatrix(X, features);
    const VectorXd expected = subset.householderQr().solve(y);
    const VectorXd spread = (subset.transpose() * subset).inverse().cwiseAbs().rowwise().sum();
    for (const QXHermiteChargeDensity& density :
         {fit.FitChargeDensity(sample.points, sample.values, n),
          fit.FitChargeDensity(sample.mol, n)}) {
      ASSERT_EQ(density.NumActives(), n);
      for (size_t i = 0; i < n; ++i)
        EXPECT_NEAR(density.GetCoefficient(features[i]) * norms[features[i]], expected[i],
                    512 * kEpsilon * y.norm() * spread[i]);
    }
  }
}

// With the same data both paths have one order, so that other data tell.
TEST(RelaxedLassoChargeDensity, HasTheActivesInTheOrderOfTheSecondPath) {
  const Sample sample;
  QXRelaxedLassoChargeDensity fit(sample.params, sample.options);
  fit.FeatureSelection(sample.points, sample.values);
  const Vector others(sample.values.rbegin(), sample.values.rend());
  QXLassoChargeDensity second(sample.params, sample.options, fit.GetFeatures(12));
  second.PrepData(sample.points, others);
  second.Fit();
  const QXHermiteChargeDensity density = fit.FitChargeDensity(sample.points, others, 12);
  const auto expected = MapActivesPerSite(second.GetActives(), sample.params);
  ASSERT_NE(expected, MapActivesPerSite(fit.GetFeatures(12), sample.params));
  for (unsigned int site : {0u, 1u}) EXPECT_EQ(density.GetActives(site), expected[site]);
}

TEST(RelaxedLassoChargeDensity, HasNoActivesWhereThereIsNothingToFit) {
  const Sample sample;
  QXRelaxedLassoChargeDensity fit(sample.params, sample.options);
  fit.FeatureSelection(sample.mol);
  const QXHermiteChargeDensity none = fit.FitChargeDensity(sample.mol, 0);
  EXPECT_EQ(none.NumActives(), 0u);
  EXPECT_TRUE(none.GetActives(1).empty()) << "each site has a list";
  const Messages messages;  // of the preparation: they pass through
  EXPECT_EQ(fit.FitChargeDensity(QXMol(), 4).NumActives(), 0u);
  EXPECT_FALSE(fit.FeatureSelection(QXMol()));
  EXPECT_EQ(messages.all.size(), 2u);
  EXPECT_EQ(fit.MaxNumFeatures(), 18u);
}

TEST(SubsetDesignMatrix, TakesColumnsInAnyOrderAndRepeats) {
  const MatrixXd X = MatrixXd::Random(3, 4);
  MatrixXd expected(3, 3);
  expected << X.col(2), X.col(0), X.col(2);
  EXPECT_EQ(SubsetDesignMatrix(X, {2, 0, 2}), expected);
  EXPECT_EQ(SubsetDesignMatrix(X, {}).cols(), 0);
}

}  // namespace
}  // namespace QXHermiteMath

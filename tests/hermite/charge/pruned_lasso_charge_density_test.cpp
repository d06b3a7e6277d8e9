#include "hermite/charge/pruned_lasso_charge_density.h"

#include <Eigen/QR>

#include "hermite/charge/relaxed_lasso_charge_density.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

using Eigen::MatrixXd;
using Eigen::VectorXd;

double Residual(const MatrixXd& X, const VectorXd& y, const UInts& columns) {
  const MatrixXd subset = SubsetDesignMatrix(X, columns);
  return (y - subset * subset.colPivHouseholderQr().solve(y)).norm();
}

// Column by column against the least squares fits without each of them.
TEST(EliminateColumns, DropsWhatTheResidualLacksLeast) {
  MatrixXd X = MatrixXd::Random(30, 8);
  X.col(5) = X.col(2);  // of two alike either goes, and the inverse would not be there
  X.colwise().normalize();
  const VectorXd y = VectorXd::Random(30);
  UInts left = {0, 1, 2, 3, 4, 5, 6, 7};
  for (unsigned int keep = 7; keep > 0; --keep) {
    double least = HUGE_VAL;
    UInts best;
    for (size_t i = 0; i < left.size(); ++i) {
      UInts without = left;
      without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
      const double residual = Residual(X, y, without);
      if (residual < least) std::tie(least, best) = std::tuple(residual, without);
    }
    left = EliminateColumns(X.transpose() * X, X.transpose() * y, keep);
    EXPECT_NEAR(Residual(X, y, left), least, 1e-8) << keep;  // by the ridge
    ASSERT_EQ(left.size(), keep);
  }
}

// The potential of few functions among many near ones: the path takes neighbours too.
TEST(PrunedLassoChargeDensity, FindsTheFunctionsAmongTheirNeighbours) {
  const QXMultiHermiteParameters params(2, 1.3, {0, 0, 0, 0.9, 0, 0, -0.2, 0.8, 0.3});
  const UInts truth = {15, 21, 24, 28};
  QXHermiteChargeDensity density(params);
  density.SetCoefficients({0.8, -0.6, -0.7, 0.6}, truth);
  Vector points;
  for (size_t i = 0; i < 60; ++i) {
    const double z = (static_cast<double>(i) + 0.5) / 30 - 1, turn = 2.4 * static_cast<double>(i);
    const double r = 2.5 + 0.3 * static_cast<double>(i % 4), s = std::sqrt(1 - z * z);
    points.insert(points.end(), {r * s * std::cos(turn), r * s * std::sin(turn), r * z});
  }
  const Vector values = density.EvaluatePotential(points);
  QXLassoChargeDensityOptions options;
  options.SetUseElectricField(false);
  QXPrunedLassoChargeDensity fit(params, options);
  ASSERT_TRUE(fit.FeatureSelection(points, values));
  QXRelaxedLassoChargeDensity path(params, options);
  ASSERT_TRUE(path.FeatureSelection(points, values));
  UInts first = path.GetFeatures(4);
  std::sort(first.begin(), first.end());
  EXPECT_NE(first, truth);  // or this would be no test
  EXPECT_EQ(path.MaxNumFeatures(), fit.MaxNumFeatures());
  UInts found = fit.GetFeatures(4);
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, truth);
  const QXHermiteChargeDensity fitted = fit.FitChargeDensity(points, values, 4);
  for (unsigned int index : truth)
    EXPECT_NEAR(fitted.GetCoefficient(index), density.GetCoefficient(index), 1e-8);
  EXPECT_EQ(fit.FitChargeDensity(points, values, 0).NumActives(), 0u);
}

}  // namespace
}  // namespace QXHermiteMath

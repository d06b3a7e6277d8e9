#include "hermite/charge/pruned_lasso_charge_density.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <numeric>

#include "hermite/charge/relaxed_lasso_charge_density.h"

namespace QXHermiteMath {

bool QXPrunedLassoChargeDensity::FeatureSelection(std::vector<double> const& points,
                                                  std::vector<double> const& values,
                                                  unsigned int maxFunctions) {
  QXLassoChargeDensity lasso(params, options);
  if (!lasso.PrepData(points, values)) return false;
  lasso.Fit(maxFunctions <= params.NumBasis() ? 2 * maxFunctions : QXNumerics::QXLasso::kNoLimit);
  features = lasso.GetActives();
  std::vector<unsigned int> const& candidates = lasso.GetCandidates();
  std::vector<unsigned int> columns;
  for (unsigned int feature : features) {
    const auto place = std::lower_bound(candidates.begin(), candidates.end(), feature);
    columns.push_back(static_cast<unsigned int>(place - candidates.begin()));
  }
  const Eigen::MatrixXd X = SubsetDesignMatrix(lasso.GetDesignMatrix(), columns);
  const auto y = Eigen::VectorXd::Map(values.data(), static_cast<Eigen::Index>(values.size()));
  gram = X.transpose() * X;
  moments = X.transpose() * y;
  return true;
}

std::vector<unsigned int> QXPrunedLassoChargeDensity::GetFeatures(unsigned int n) const {
  const unsigned int proposed = std::min(2 * n, MaxNumFeatures());
  std::vector<unsigned int> left =
      EliminateColumns(gram.topLeftCorner(proposed, proposed), moments.head(proposed), n);
  for (unsigned int& feature : left) feature = features[feature];
  return left;
}

QXHermiteChargeDensity QXPrunedLassoChargeDensity::FitChargeDensity(
    std::vector<double> const& points, std::vector<double> const& values, unsigned int n) const {
  QXLassoChargeDensity lasso(params, options, GetFeatures(n));
  if (lasso.PrepData(points, values)) lasso.Fit();
  return lasso.GetLastChargeDensity();
}

std::vector<unsigned int> EliminateColumns(Eigen::MatrixXd const& gram,
                                           Eigen::VectorXd const& moments, unsigned int keep) {
  // Keeps the inverse finite where columns depend on each other.
  constexpr double kRidge = 1e-10;
  const Eigen::Index n = gram.rows();
  Eigen::MatrixXd ridged = gram;
  ridged.diagonal().array() += kRidge;
  Eigen::MatrixXd inverse = ridged.ldlt().solve(Eigen::MatrixXd::Identity(n, n));
  Eigen::VectorXd c = inverse * moments;
  std::vector<unsigned int> left(static_cast<size_t>(n));
  std::iota(left.begin(), left.end(), 0u);
  while (left.size() > keep) {
    const auto rise = [&](unsigned int j) { return c[j] * c[j] / inverse(j, j); };
    const auto least =
        std::min_element(left.begin(), left.end(),
                         [&](unsigned int a, unsigned int b) { return rise(a) < rise(b); });
    const Eigen::VectorXd row = inverse.col(*least) / inverse(*least, *least);
    c -= row * c[*least];
    inverse -= row * inverse.row(*least).eval();
    left.erase(least);
  }
  return left;
}

}  // namespace QXHermiteMath

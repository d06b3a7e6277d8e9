#include "hermite/charge/relaxed_lasso_charge_density.h"

namespace QXHermiteMath {

template <class... Data>
bool QXRelaxedLassoChargeDensity::Select(unsigned int maxFeatures, Data const&... data) {
  QXLassoChargeDensity lasso(params, options);
  if (!lasso.PrepData(data...)) return false;
  lasso.Fit(maxFeatures);
  features = lasso.GetActives();
  return true;
}

template <class... Data>
QXHermiteChargeDensity QXRelaxedLassoChargeDensity::FitFirst(unsigned int n,
                                                             Data const&... data) const {
  QXLassoChargeDensity lasso(params, options, GetFeatures(n));
  if (lasso.PrepData(data...)) lasso.Fit();
  return lasso.GetLastChargeDensity();
}

bool QXRelaxedLassoChargeDensity::FeatureSelection(std::vector<double> const& points,
                                                   std::vector<double> const& values,
                                                   unsigned int maxFeatures) {
  return Select(maxFeatures, points, values);
}

bool QXRelaxedLassoChargeDensity::FeatureSelection(QXMol const& mol) {
  return Select(QXNumerics::QXLasso::kNoLimit, mol);
}

QXHermiteChargeDensity QXRelaxedLassoChargeDensity::FitChargeDensity(
    std::vector<double> const& points, std::vector<double> const& values, unsigned int n) const {
  return FitFirst(n, points, values);
}

QXHermiteChargeDensity QXRelaxedLassoChargeDensity::FitChargeDensity(QXMol const& mol,
                                                                     unsigned int n) const {
  return FitFirst(n, mol);
}

std::vector<unsigned int> QXRelaxedLassoChargeDensity::GetFeatures(unsigned int n) const {
  return {features.begin(), features.begin() + n};
}

Eigen::MatrixXd SubsetDesignMatrix(Eigen::MatrixXd const& matrix,
                                   std::vector<unsigned int> const& columns) {
  return matrix(Eigen::all, columns);
}

}  // namespace QXHermiteMath

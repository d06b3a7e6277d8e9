#pragma once

#include <Eigen/Core>
#include <vector>

#include "hermite/charge/lasso_charge_density.h"

namespace QXHermiteMath {

/// Fits a charge density in two stages: the path of QXLassoChargeDensity over all functions tells
/// in which order they are needed, and a second path over the first n of them alone gives their
/// coefficients, free of the shrinkage with which the first path holds many functions down
/// (N. Meinshausen, Comput. Statist. Data Anal. 52 (2007) 374).
///
/// Both stages want the same data, in one of the two forms of QXLassoChargeDensity::PrepData, whose
/// reports pass through.
///
/// Example:
///   QXRelaxedLassoChargeDensity fit(params, options);
///   fit.FeatureSelection(points, values);
///   const unsigned int n = std::min(20u, fit.MaxNumFeatures());
///   QXHermiteChargeDensity density = fit.FitChargeDensity(points, values, n);
class QXRelaxedLassoChargeDensity {
 public:
  /// Without features.
  QXRelaxedLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                              QXLassoChargeDensityOptions const& newOptions)
      : params(newParams), options(newOptions) {}

  /// First stage, replacing the features: all, or the first so many. False, with no change, when
  /// PrepData is.
  bool FeatureSelection(std::vector<double> const& points, std::vector<double> const& values,
                        unsigned int maxFeatures = QXNumerics::QXLasso::kNoLimit);
  bool FeatureSelection(QXMol const& mol);

  /// Second stage: the end of the path over the first n features, the least squares solution for
  /// those that enter it. The actives of the result stand in the order of this path. n: at most
  /// MaxNumFeatures(), not checked. Without active functions when none enters: n is 0, or PrepData
  /// is false.
  QXHermiteChargeDensity FitChargeDensity(std::vector<double> const& points,
                                          std::vector<double> const& values, unsigned int n) const;
  QXHermiteChargeDensity FitChargeDensity(QXMol const& mol, unsigned int n) const;

  /// The first n features: flat indices in the order in which they first entered. n is not checked.
  std::vector<unsigned int> GetFeatures(unsigned int n) const;
  unsigned int MaxNumFeatures() const { return static_cast<unsigned int>(features.size()); }

 private:
  template <class... Data>
  bool Select(unsigned int maxFeatures, Data const&... data);
  template <class... Data>
  QXHermiteChargeDensity FitFirst(unsigned int n, Data const&... data) const;

  QXMultiHermiteParameters params;
  QXLassoChargeDensityOptions options;
  std::vector<unsigned int> features;
};

/// Column j of the result is column columns[j] of the matrix. Any order, repeats too.
Eigen::MatrixXd SubsetDesignMatrix(Eigen::MatrixXd const& matrix,
                                   std::vector<unsigned int> const& columns);

}  // namespace QXHermiteMath

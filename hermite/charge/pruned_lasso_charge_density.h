#pragma once

#include <Eigen/Core>
#include <vector>

#include "hermite/charge/lasso_charge_density.h"

namespace QXHermiteMath {

/// Fits a charge density with few functions in three stages: the path of QXLassoChargeDensity over
/// all functions proposes twice as many as are wanted; backward elimination takes them away one by
/// one, always the one whose loss raises the squared residual least; and the end of a second path
/// over those that are left gives their coefficients. Neighbours on a path say much the same, which
/// a path cannot undo: at a few functions a site, errors are a half to two thirds of those of
/// QXRelaxedLassoChargeDensity.
///
/// Example:
///   QXPrunedLassoChargeDensity fit(params, options);
///   fit.FeatureSelection(points, values);
///   const unsigned int n = std::min(20u, fit.MaxNumFeatures());
///   QXHermiteChargeDensity density = fit.FitChargeDensity(points, values, n);
class QXPrunedLassoChargeDensity {
 public:
  /// Without features.
  QXPrunedLassoChargeDensity(QXMultiHermiteParameters const& newParams,
                             QXLassoChargeDensityOptions const& newOptions)
      : params(newParams), options(newOptions) {}

  /// First stage, replacing the features: for any number of functions, or for at most so many.
  /// Points and values as for QXLassoChargeDensity::PrepData. False, with no change, when that is.
  bool FeatureSelection(std::vector<double> const& points, std::vector<double> const& values,
                        unsigned int maxFunctions = QXNumerics::QXLasso::kNoLimit);

  /// Second and third stage, from the same data, for n functions. n: at most MaxNumFeatures(), not
  /// checked. Without active functions when n is 0.
  QXHermiteChargeDensity FitChargeDensity(std::vector<double> const& points,
                                          std::vector<double> const& values, unsigned int n) const;

  /// The functions that the second stage leaves: n flat indices.
  std::vector<unsigned int> GetFeatures(unsigned int n) const;
  unsigned int MaxNumFeatures() const { return static_cast<unsigned int>(features.size()); }

 private:
  QXMultiHermiteParameters params;
  QXLassoChargeDensityOptions options;
  std::vector<unsigned int> features;  // in the order in which they entered the path
  Eigen::MatrixXd gram;                // scalar products of their normalised columns
  Eigen::VectorXd moments;             // and with the values
};

/// Backward elimination of columns down to `keep` of them: those left, rising. gram and moments:
/// scalar products of the columns with each other and with the values; the diagonal about 1. The
/// squared residual rises by c_j^2/(G^-1)_jj when column j with the coefficient c_j goes (A. J.
/// Miller, Subset Selection in Regression, 2nd ed. 2002, section 3.3). Columns within some 1e-5 of
/// the span of the others are told apart no more.
std::vector<unsigned int> EliminateColumns(Eigen::MatrixXd const& gram,
                                           Eigen::VectorXd const& moments, unsigned int keep);

}  // namespace QXHermiteMath

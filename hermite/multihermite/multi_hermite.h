#pragma once

#include <Eigen/Core>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/multihermite/multi_hermite_base.h"

namespace QXHermiteMath {

/// A multi-centre expansion in the Hermite functions h_k of basis.h, fitted to sampled values by
/// sparse regression (QXNumerics::QXLasso): it selects the functions that are needed.
///
/// Example:
///   QXMultiHermite model(QXMultiHermiteParameters(3, 0.9, sites));
///   model.Setup(points, values, 40);
///   std::vector<double> fitted = model.Evaluate(points);
class QXMultiHermite final : public QXMultiHermiteBase {
 public:
  /// The sites, and no active functions yet.
  QXMultiHermite(QXMultiHermiteParameters const& newParams) : QXMultiHermiteBase(newParams, 0.5) {}

  /// h_0 .. h_n; see BuildHermiteFunctions. Always true.
  bool BuildHermites(double t, unsigned int n, std::vector<double>& out) override;

  /// Fits to a value at each point (x, y, z of each), to the end of the regularisation path, or
  /// with at most maxActives functions. The functions are centred over the sample, and there is no
  /// intercept: the model follows how the values vary, and its mean over the sample is that of the
  /// values only as far as the functions explain them. With nothing to fit there are no active
  /// functions. Always true.
  bool Setup(std::vector<double> const& points, std::vector<double> const& values);
  bool Setup(std::vector<double> const& points, std::vector<double> const& values,
             unsigned int maxActives);

  /// Every function of the flat basis at every point: points down, functions across, in flat order.
  /// Beware of degree 1: see BuildHermiteFunctions.
  Eigen::MatrixXd BuildDesignMatrix(std::vector<double> const& points);

  /// One site as a single-centre expansion about the origin: the centre of the site does not go
  /// into it. Its widths along x and y are that of the site; along z it is 1.0, on purpose.
  QXHermite GetHermite(unsigned int site) const;
};

/// Writes h_0(t) .. h_n(t) by recurrence. At n = 1 only h_0 is written, on purpose: out[1] keeps
/// what it had. So a site of degree 1 has in place of h_1 zeros, or what a site of a higher degree
/// before it has left there; a column of zeros is NaN when normalised. Always true.
bool BuildHermiteFunctions(double t, unsigned int n, std::vector<double>& out);

}  // namespace QXHermiteMath

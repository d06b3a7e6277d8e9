#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <vector>

namespace QXHermiteMath {

/// Few Gaussians of one width that together reproduce sampled values, chosen from candidates by
/// sparse regression (QXNumerics::QXLasso). Each candidate exp(-exponent |r - c|^2) is a column of
/// a design matrix, centred and scaled to norm 1 over the samples; the values are taken as they
/// are, and there is no intercept.
///
/// Coordinates are flat lists in angstrom, x, y and z of each point.
///
/// Example:
///   QXLassoGaussians fit(candidates, 1.7);
///   fit.Setup(points, values, 20);
///   fit.GetValue(0.0, 0.0, 0.0);   // the sum over the Gaussians chosen
class QXLassoGaussians {
 public:
  /// Copies the candidates. The exponent is 2.34422871067/radius^2.
  QXLassoGaussians(std::vector<double> const& newCenters, double radius);

  /// Fits at most maxActives of the Gaussians to one value a point, replacing what was there. No
  /// fit where there is nothing to fit. Always true. Cheap where points are in rows along x as
  /// those of a grid are (GaussianDesign); for scattered points the whole matrix is stored.
  bool Setup(std::vector<double> const& points, std::vector<double> const& values,
             unsigned int maxActives);

  /// The matrix of the fit as a whole: a row a point, a column a candidate, through
  /// NormalizeDesignMatrix. norms: of the centred columns. A constant column gives 0/0.
  Eigen::MatrixXd BuildNormalizedDesignMatrix(std::vector<double> const& points,
                                              Eigen::VectorXd& norms);

  /// The sum over the chosen at a point; 0 when there are none.
  double GetValue(double x, double y, double z) const;

  /// One for each of GetActives(), to be multiplied with the Gaussian of height 1.
  std::vector<double> GetCoefficients() const { return coefficients; }
  /// The chosen candidates in the order in which they entered. One that has left again has the
  /// coefficient 0.
  std::vector<unsigned int> GetActives() const { return actives; }

 private:
  std::vector<double> centers;
  double exponent;
  uint32_t numCenters;
  std::vector<double> coefficients;
  std::vector<uint32_t> actives;
};

}  // namespace QXHermiteMath

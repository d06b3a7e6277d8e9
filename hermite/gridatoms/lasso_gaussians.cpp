#include "hermite/gridatoms/lasso_gaussians.h"

#include <cmath>

#include "hermite/gridatoms/gaussian_design.h"
#include "hermite/multihermite/design_matrix.h"
#include "host/numerics/lasso.h"

namespace QXHermiteMath {

namespace {

/// The exponent of a Gaussian of radius 1.
constexpr double kWidth = 2.34422871067;

double SquaredDistance(double const* center, double x, double y, double z) {
  const double dx = x - center[0], dy = y - center[1], dz = z - center[2];
  return dx * dx + dy * dy + dz * dz;
}

}  // namespace

QXLassoGaussians::QXLassoGaussians(std::vector<double> const& newCenters, double radius)
    : centers(newCenters),
      exponent(kWidth / (radius * radius)),
      numCenters(static_cast<uint32_t>(newCenters.size() / 3)) {}

bool QXLassoGaussians::Setup(std::vector<double> const& points, std::vector<double> const& values,
                             unsigned int maxActives) {
  const Eigen::VectorXd y =
      Eigen::VectorXd::Map(values.data(), static_cast<Eigen::Index>(values.size()));
  QXNumerics::QXLasso lasso;
  Eigen::VectorXd norms;
  if (GaussianDesign::SharesCoordinates(points)) {
    const GaussianDesign design(points, centers, exponent);
    norms = design.GetNorms();
    lasso.Fit(design, y, maxActives);
  } else {
    lasso.Fit(BuildNormalizedDesignMatrix(points, norms), y, maxActives);
  }
  const std::vector<std::vector<double>> path = lasso.GetCoefficients();
  coefficients = path.empty() ? std::vector<double>() : path.back();
  actives = lasso.GetActives();
  return NormalizeFitCoefficients(coefficients, actives, norms);
}

Eigen::MatrixXd QXLassoGaussians::BuildNormalizedDesignMatrix(std::vector<double> const& points,
                                                              Eigen::VectorXd& norms) {
  Eigen::MatrixXd matrix(static_cast<Eigen::Index>(points.size() / 3),
                         static_cast<Eigen::Index>(numCenters));
  for (Eigen::Index j = 0; j < matrix.cols(); ++j) {
    double const* center = &centers[3 * static_cast<size_t>(j)];
    for (Eigen::Index p = 0; p < matrix.rows(); ++p) {
      double const* point = &points[3 * static_cast<size_t>(p)];
      matrix(p, j) = std::exp(-exponent * SquaredDistance(center, point[0], point[1], point[2]));
    }
  }
  norms = NormalizeDesignMatrix(matrix);
  return matrix;
}

double QXLassoGaussians::GetValue(double x, double y, double z) const {
  double value = 0.0;
  for (size_t i = 0; i < actives.size(); ++i) {
    double const* center = &centers[3 * static_cast<size_t>(actives[i])];
    value += coefficients[i] * std::exp(-exponent * SquaredDistance(center, x, y, z));
  }
  return value;
}

}  // namespace QXHermiteMath

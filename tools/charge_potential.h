#pragma once

#include <vector>

#include "hermite/charge/charge_density.h"

namespace QXTools {

/// The distance below which two Hermite Gaussians, or one and a point, are too close for the closed
/// form, which then cancels down to less than six digits. order: the sum of their degrees, 1 more
/// for the field. alpha: the square of the width, or alpha beta/(alpha + beta) of two.
double LeastDistance(unsigned int order, double alpha);

/// Potential and field of a charge density anywhere: by the closed form, but for the sites closer
/// to a point than LeastDistance, by quadrature.
class ChargePotential {
 public:
  explicit ChargePotential(const QXHermiteMath::QXHermiteChargeDensity& density);

  /// kcal/mol/e at each point (x, y, z of each).
  std::vector<double> Potential(const std::vector<double>& points) const;
  /// The field, minus the gradient of the potential, in kcal/mol/e/angstrom: x, y and z at each
  /// point.
  std::vector<double> Field(const std::vector<double>& points) const;

 private:
  struct Site {
    unsigned int index;
    double center[3];
    double least;
  };

  /// The sites that a point is too close to.
  std::vector<unsigned int> TooClose(const double* point) const;
  /// The density without the functions of some sites.
  QXHermiteMath::QXHermiteChargeDensity Without(const std::vector<unsigned int>& sites) const;
  /// Potential, then field, of the functions of one site at a point.
  std::vector<double> ByQuadrature(unsigned int site, const double* point) const;

  QXHermiteMath::QXHermiteChargeDensity density_;
  std::vector<Site> sites_;
};

}  // namespace QXTools

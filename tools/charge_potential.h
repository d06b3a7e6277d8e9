#pragma once

#include <vector>

#include "hermite/charge/charge_density.h"

namespace QXTools {

/// The distance below which two Hermite Gaussians, or one and a point, are too close for the closed
/// form, which then cancels down to less than six digits. order: the sum of their degrees, 1 more
/// for the field. alpha: the square of the width, or alpha beta/(alpha + beta) of two.
double LeastDistance(unsigned int order, double alpha);

/// Potential and field of a charge density anywhere.
class ChargePotential {
 public:
  explicit ChargePotential(const QXHermiteMath::QXHermiteChargeDensity& density);

  /// kcal/mol/e at each point (x, y, z of each). Closer to a site than LeastDistance it is
  /// interpolated, to about 1e-4 of its range there, from four points across the site.
  std::vector<double> Potential(const std::vector<double>& points);
  /// The field, minus the gradient of the potential, in kcal/mol/e/angstrom: x, y and z at each
  /// point, interpolated likewise.
  std::vector<double> Field(const std::vector<double>& points);

  /// How many of the points are interpolated.
  size_t CountClose(const std::vector<double>& points) const;

 private:
  struct Site {
    double center[3];
    double least;
  };

  /// The site that a point is too close to, if any.
  const Site* TooClose(const double* point) const;
  template <typename Evaluate>
  std::vector<double> Values(const std::vector<double>& points, size_t each, Evaluate evaluate);

  QXHermiteMath::QXHermiteChargeDensity density_;
  std::vector<Site> sites_;
};

}  // namespace QXTools

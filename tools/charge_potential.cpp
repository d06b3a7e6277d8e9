#include "tools/charge_potential.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

namespace QXTools {

using QXHermiteMath::QXHermiteChargeDensity;

double LeastDistance(unsigned int order, double alpha) {
  // F_n(T) = (... - ...)/((2n + 1) t_n) with t_n = (2T)^n/(3 5 .. (2n + 1)): of numbers near 1 that
  // are good to 1e-16 or so, six digits are left when t_n is at least 1e-9.
  constexpr double kLeastTerm = 1e-9;
  constexpr double kLeastArgument = 1e-12;  // of order 0, where nothing cancels
  double product = kLeastTerm;
  for (unsigned int k = 1; k <= order; ++k) product *= 2.0 * k + 1.0;
  const double T = order == 0 ? kLeastArgument : 0.5 * std::pow(product, 1.0 / order);
  return std::sqrt(T / alpha);
}

ChargePotential::ChargePotential(const QXHermiteChargeDensity& density)
    : density_(density.WithSpareDegree()) {
  const auto layout = density.GetParams();
  for (unsigned int site = 0; site < layout.NumSites(); ++site) {
    if (density.GetActives(site).empty()) continue;
    Site& one = sites_.emplace_back();
    std::copy_n(layout.GetCenter(site).begin(), 3, one.center);
    const double lambda = layout.GetLambda(site);
    one.least = LeastDistance(layout.GetNPolyMax(site) + 1, lambda * lambda);
  }
}

const ChargePotential::Site* ChargePotential::TooClose(const double* point) const {
  const Eigen::Map<const Eigen::Vector3d> p(point);
  for (const Site& site : sites_) {
    const Eigen::Map<const Eigen::Vector3d> center(site.center);
    if ((p - center).squaredNorm() < site.least * site.least) return &site;
  }
  return nullptr;
}

size_t ChargePotential::CountClose(const std::vector<double>& points) const {
  size_t count = 0;
  for (size_t i = 0; i < points.size(); i += 3) count += TooClose(&points[i]) != nullptr;
  return count;
}

template <typename Evaluate>
std::vector<double> ChargePotential::Values(const std::vector<double>& points, size_t each,
                                            Evaluate evaluate) {
  std::vector<double> values = evaluate(points);
  // Four points on a line across the way to the site, from which what lies between follows to the
  // fourth order: (4 (f(d) + f(-d)) - (f(2d) + f(-2d)))/6.
  std::vector<size_t> close;
  std::vector<double> around;
  for (size_t i = 0; 3 * i < points.size(); ++i) {
    const Site* const site = TooClose(&points[3 * i]);
    if (site == nullptr) continue;
    close.push_back(i);
    const Eigen::Map<const Eigen::Vector3d> p(&points[3 * i]), center(site->center);
    Eigen::Vector3d way = p - center;
    if (way.norm() < 1e-3 * site->least) way = Eigen::Vector3d::UnitX();
    const Eigen::Vector3d across = site->least * way.unitOrthogonal();
    for (const double steps : {1.0, -1.0, 2.0, -2.0}) {
      const Eigen::Vector3d place = p + steps * across;
      around.insert(around.end(), place.begin(), place.end());
    }
  }
  const std::vector<double> f = evaluate(around);
  for (size_t k = 0; k < close.size(); ++k) {
    for (size_t j = 0; j < each; ++j) {
      const double* const at = &f[4 * each * k + j];
      values[each * close[k] + j] =
          (4.0 * (at[0] + at[each]) - (at[2 * each] + at[3 * each])) / 6.0;
    }
  }
  return values;
}

std::vector<double> ChargePotential::Potential(const std::vector<double>& points) {
  return Values(points, 1, [this](const auto& p) { return density_.EvaluatePotential(p); });
}

std::vector<double> ChargePotential::Field(const std::vector<double>& points) {
  return Values(points, 3, [this](const auto& p) { return density_.EvaluateElectricField(p); });
}

}  // namespace QXTools

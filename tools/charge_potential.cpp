#include "tools/charge_potential.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace QXTools {

using QXHermiteMath::QXHermiteChargeDensity;
using QXHermiteMath::QXMultiHermiteParameters;

namespace {

constexpr unsigned int kNodes = 40;

struct Node {
  double s;
  double weight;
};

/// Nodes and weights of Gauss and Legendre for integrals over 0 .. 1.
std::vector<Node> MakeNodes() {
  std::vector<Node> nodes;
  for (unsigned int k = 0; k < kNodes; ++k) {
    double x = std::cos(std::numbers::pi * (k + 0.75) / (kNodes + 0.5)), slope = 1.0;
    for (int step = 0; step < 10; ++step) {
      const double P = std::legendre(kNodes, x);
      slope = kNodes * (std::legendre(kNodes - 1, x) - x * P) / (1.0 - x * x);
      x -= P / slope;
    }
    nodes.push_back({0.5 * (1.0 + x), 1.0 / ((1.0 - x * x) * slope * slope)});
  }
  return nodes;
}

}  // namespace

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
  const QXMultiHermiteParameters layout = density_.GetParams();
  for (unsigned int site = 0; site < layout.NumSites(); ++site) {
    if (density_.GetActives(site).empty()) continue;
    Site& one = sites_.emplace_back();
    one.index = site;
    std::copy_n(layout.GetCenter(site).begin(), 3, one.center);
    const double lambda = layout.GetLambda(site);
    one.least = LeastDistance(layout.GetNPolyMax(site), lambda * lambda);
  }
}

std::vector<unsigned int> ChargePotential::TooClose(const double* point) const {
  std::vector<unsigned int> close;
  for (const Site& site : sites_) {
    const double distance =
        std::hypot(point[0] - site.center[0], point[1] - site.center[1], point[2] - site.center[2]);
    if (distance < site.least) close.push_back(site.index);
  }
  return close;
}

QXHermiteChargeDensity ChargePotential::Without(const std::vector<unsigned int>& sites) const {
  QXHermiteChargeDensity rest = density_;
  std::vector<double> dense = density_.GetDenseCoefficients();
  for (const unsigned int site : sites) {
    for (const unsigned int index : density_.GetActives(site)) dense[index] = 0.0;
  }
  rest.SetCoefficients(dense);
  return rest;
}

std::vector<double> ChargePotential::ByQuadrature(unsigned int site, const double* point) const {
  // With F_0(T) as the integral of exp(-T s^2) over s from 0 to 1 and u = lambda (r - center), a
  // function H_l H_m H_n exp(-u^2) has the potential 2 pi/lambda^2 times the integral over s of
  //
  //   s^(l+m+n) H_l(s u_x) H_m(s u_y) H_n(s u_z) exp(-s^2 u^2),
  //
  // and each derivative raises a degree: that of H_k(s u) exp(-s^2 u^2) by u is -s H_(k+1).
  static const std::vector<Node> nodes = MakeNodes();
  const QXMultiHermiteParameters layout = density_.GetParams();
  const double lambda = layout.GetLambda(site);
  const std::vector<double> center = layout.GetCenter(site);
  std::vector<double> sums(4);
  for (const Node& node : nodes) {
    double s2u2 = 0.0;
    std::array<double, 3> su;
    for (size_t axis = 0; axis < 3; ++axis) {
      su[axis] = node.s * lambda * (point[axis] - center[axis]);
      s2u2 += su[axis] * su[axis];
    }
    for (const unsigned int index : density_.GetActives(site)) {
      const auto lmn = layout.GetLmn(site, index);
      const double weight = node.weight * std::exp(-s2u2) * density_.GetCoefficient(index) *
                            std::pow(node.s, lmn[0] + lmn[1] + lmn[2]);
      for (size_t k = 0; k < 4; ++k) {  // the potential, then the derivatives by x, y and z
        double product = weight;
        for (size_t axis = 0; axis < 3; ++axis) {
          product *= std::hermite(lmn[axis] + (k == axis + 1), su[axis]);
        }
        sums[k] += k == 0 ? product : product * node.s * lambda;
      }
    }
  }
  const double factor =
      2.0 * std::numbers::pi * QXHermiteMath::kCoulombConstant / (lambda * lambda);
  for (double& sum : sums) sum *= factor;
  return sums;
}

std::vector<double> ChargePotential::Potential(const std::vector<double>& points) const {
  std::vector<double> values = density_.EvaluatePotential(points);
  for (size_t i = 0; i < values.size(); ++i) {
    const double* const point = &points[3 * i];
    const std::vector<unsigned int> close = TooClose(point);
    if (close.empty()) continue;
    values[i] = Without(close).EvaluatePotential({point, point + 3})[0];
    for (const unsigned int site : close) values[i] += ByQuadrature(site, point)[0];
  }
  return values;
}

std::vector<double> ChargePotential::Field(const std::vector<double>& points) const {
  std::vector<double> values = density_.EvaluateElectricField(points);
  for (size_t i = 0; i < values.size(); i += 3) {
    const double* const point = &points[i];
    const std::vector<unsigned int> close = TooClose(point);
    if (close.empty()) continue;
    const std::vector<double> rest = Without(close).EvaluateElectricField({point, point + 3});
    std::copy_n(rest.begin(), 3, &values[i]);
    for (const unsigned int site : close) {
      const std::vector<double> own = ByQuadrature(site, point);
      for (size_t axis = 0; axis < 3; ++axis) values[i + axis] += own[1 + axis];
    }
  }
  return values;
}

}  // namespace QXTools

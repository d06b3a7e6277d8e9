#include "hermite/charge/charge_density.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "hermite/charge/charge_terms.h"
#include "hermite/charge/r_table.h"
#include "hermite/charge/r_table_lanes.h"
#include "hermite/multihermite/hermite_recurrence.h"

namespace QXHermiteMath {

namespace {

constexpr double kPi = 3.141592653589793;

/// A site, with the rows of its R table that are summed up for each of several results.
template <size_t Results>
struct SiteSums {
  explicit SiteSums(ChargeSite const& site) : table(site.N, site.lambda, site.center) {}
  void Add(size_t result, unsigned int entry, double weight) {
    terms[result].push_back({entry, weight / table.alpha});
  }
  RTableSite table;
  std::array<std::vector<RTableTerm>, Results> terms;
};

/// What a point leaves of the table beyond the least order of all: the sites behind each of which
/// there is none of its order or more, in their order.
template <size_t Results>
std::vector<RTableSite> SitesThatLeaveMore(std::vector<SiteSums<Results>> const& sites) {
  std::vector<RTableSite> left;
  unsigned int least = ~0u;
  for (auto const& site : sites) {
    const unsigned int order = site.table.order;
    least = std::min(least, order);
    std::erase_if(left, [order](RTableSite const& earlier) { return earlier.order <= order; });
    left.push_back(site.table);
  }
  std::erase_if(left, [least](RTableSite const& site) { return site.order == least; });
  return left;
}

/// The results at each point, times kTwoPiCoulomb. Points are taken in blocks; the table
/// goes from site to site within a block, never cleared, and in front of the first site holds what
/// the point before has left, of the sites `left`; nothing for the first point of all.
template <size_t Results>
std::vector<double> SumOverSites(std::vector<SiteSums<Results>> const& sites,
                                 std::vector<RTableSite> const& left, unsigned int order,
                                 std::vector<double> const& points) {
  const QXSimdLevel level = QXCore::QXGetSimdLevel();
  const size_t numPoints = points.size() / 3;
  std::vector<double> values(Results * numPoints);
  std::vector<double> table(SizeOfRTables(order));
  for (size_t first = 0, count; first < numPoints; first += count) {
    count = std::min(kTableLanes, numPoints - first);
    if (first == 0 && !left.empty()) count = 1;
    if (first > 0)
      for (RTableSite const& site : left)
        BuildRTables(site, PointLanes(&points[3 * (first - 1)], count), table.data(), level);
    const PointLanes block(&points[3 * first], count);
    double sums[Results][kTableLanes] = {};
    for (auto const& site : sites) {
      BuildRTables(site.table, block, table.data(), level);
      for (size_t result = 0; result < Results; ++result)
        AddRows(site.terms[result], table.data(), sums[result], level);
    }
    for (size_t i = 0; i < count; ++i)
      for (size_t result = 0; result < Results; ++result)
        values[Results * (first + i) + result] = sums[result][i] * kTwoPiCoulomb;
  }
  return values;
}

}  // namespace

bool QXHermiteChargeDensity::BuildHermites(double t, unsigned int n, std::vector<double>& out) {
  return BuildHermiteGaussians(t, n, out);
}

std::vector<double> QXHermiteChargeDensity::EvaluatePotential(
    std::vector<double> const& points) const {
  std::vector<SiteSums<1>> sites;
  for (ChargeSite const& site : ActiveSites(*this)) {
    SiteSums<1>& sums = sites.emplace_back(site);
    for (auto const& [l, m, n, weight] : site.terms) sums.Add(0, RIndex(0, l, m, n), weight);
  }
  return SumOverSites(sites, {}, params.GetLargestNPolyMax(), points);
}

std::vector<double> QXHermiteChargeDensity::EvaluateElectricField(
    std::vector<double> const& points) const {
  std::vector<SiteSums<3>> sites;
  for (ChargeSite const& site : ActiveSites(*this)) {
    SiteSums<3>& sums = sites.emplace_back(site);
    for (auto const& [l, m, n, weight] : site.terms) {
      sums.Add(0, RIndex(0, l + 1, m, n), weight);
      sums.Add(1, RIndex(0, l, m + 1, n), weight);
      sums.Add(2, RIndex(0, l, m, n + 1), weight);
    }
  }
  return SumOverSites(sites, SitesThatLeaveMore(sites), params.GetLargestNPolyMax() + 1, points);
}

double QXHermiteChargeDensity::TotalCharge() const {
  double charge = 0.0;
  for (unsigned int site = 0; site < siteActives.size(); ++site) {
    const double edge = std::sqrt(kPi) / params.GetLambda(site);
    for (unsigned int index : siteActives[site])
      if (index == params.GetStartIndex(site)) charge += GetCoefficient(index) * edge * edge * edge;
  }
  return charge;
}

std::vector<double> QXHermiteChargeDensity::DipoleMoment() const {
  std::vector<double> dipole(3);
  for (unsigned int site = 0; site < siteActives.size(); ++site) {
    const std::vector<double> center = params.GetCenter(site);
    const double lambda = params.GetLambda(site);
    // The integrals of exp(-|u|^2) and, since H_1(t) = 2t, of (r - r_s) H_1(u) exp(-|u|^2).
    const double edge = std::sqrt(kPi) / lambda;
    const double charge = edge * edge * edge;
    const double moment = charge / lambda;
    for (unsigned int index : siteActives[site]) {
      const auto lmn = params.GetLmn(site, index);
      const unsigned int degree = lmn[0] + lmn[1] + lmn[2];
      for (size_t axis = 0; axis < 3; ++axis) {
        if (degree == 0) dipole[axis] += GetCoefficient(index) * charge * center[axis];
        if (degree == 1 && lmn[axis] == 1) dipole[axis] += GetCoefficient(index) * moment;
      }
    }
  }
  return dipole;
}

QXHermiteChargeDensity QXHermiteChargeDensity::WithSpareDegree() const {
  std::vector<unsigned int> degrees = params.GetNPolyMaxValues();
  for (unsigned int& N : degrees) ++N;
  QXHermiteChargeDensity spare(
      QXMultiHermiteParameters(degrees, params.GetLambdaValues(), params.GetCenterValues()));
  std::vector<double> values;
  std::vector<unsigned int> actives;
  for (unsigned int site = 0; site < siteActives.size(); ++site) {
    // The places within a site stay: a basis is a prefix of a larger one.
    const unsigned int shift = spare.params.GetStartIndex(site) - params.GetStartIndex(site);
    for (unsigned int index : siteActives[site]) {
      values.push_back(GetCoefficient(index));
      actives.push_back(index + shift);
    }
  }
  spare.SetCoefficients(values, actives);
  return spare;
}

bool BuildHermiteGaussians(double t, unsigned int n, std::vector<double>& out) {
  RunHermiteRecurrence(std::exp(-t * t), t, n, out);
  return true;
}

}  // namespace QXHermiteMath

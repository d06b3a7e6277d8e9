#include "hermite/charge/charge_terms.h"

#include <cmath>

namespace QXHermiteMath {

std::vector<ChargeSite> AllSites(QXHermiteChargeDensity const& density) {
  std::vector<ChargeSite> sites;
  const QXMultiHermiteParameters params = density.GetParams();
  for (unsigned int s = 0; s < params.NumSites(); ++s) {
    ChargeSite& site = sites.emplace_back(
        ChargeSite{params.GetNPolyMax(s), params.GetLambda(s), params.GetCenter(s), {}});
    if (density.NumActives() == 0) continue;  // there need not be lists yet
    std::vector<double> powers;
    for (unsigned int degree = 0; degree <= site.N; ++degree)
      powers.push_back(std::pow(site.lambda, degree));
    for (unsigned int index : density.GetActives(s)) {
      const auto [l, m, n] = params.GetLmn(s, index);
      site.terms.push_back({l, m, n, density.GetCoefficient(index) / powers[l + m + n]});
    }
  }
  return sites;
}

std::vector<ChargeSite> ActiveSites(QXHermiteChargeDensity const& density) {
  std::vector<ChargeSite> sites = AllSites(density);
  std::erase_if(sites, [](ChargeSite const& site) { return site.terms.empty(); });
  return sites;
}

}  // namespace QXHermiteMath

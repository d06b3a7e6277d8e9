#include "hermite/charge/charge_terms.h"

#include <cmath>

namespace QXHermiteMath {

std::vector<ChargeSite> ActiveSites(QXHermiteChargeDensity const& density) {
  std::vector<ChargeSite> sites;
  if (density.NumActives() == 0) return sites;
  const QXMultiHermiteParameters params = density.GetParams();
  for (unsigned int s = 0; s < params.NumSites(); ++s) {
    ChargeSite site{params.GetNPolyMax(s), params.GetLambda(s), params.GetCenter(s), {}};
    std::vector<double> powers;
    for (unsigned int degree = 0; degree <= site.N; ++degree)
      powers.push_back(std::pow(site.lambda, degree));
    for (unsigned int index : density.GetActives(s)) {
      const auto [l, m, n] = params.GetLmn(s, index);
      site.terms.push_back({l, m, n, density.GetCoefficient(index) / powers[l + m + n]});
    }
    if (!site.terms.empty()) sites.push_back(std::move(site));
  }
  return sites;
}

}  // namespace QXHermiteMath

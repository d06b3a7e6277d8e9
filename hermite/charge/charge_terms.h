#pragma once

#include <vector>

#include "hermite/charge/charge_density.h"

// The active functions of a charge density as sums over R tables want them: one list after the
// other, without look-ups.

namespace QXHermiteMath {

/// An active function of a site. Its Coulomb integrals are the R(0; l, m, n) times this weight, its
/// coefficient over lambda^(l + m + n), but for a factor common to the functions of the site.
struct ChargeTerm {
  unsigned int l, m, n;
  double weight;
};

/// A site with its active functions.
struct ChargeSite {
  unsigned int N;
  double lambda;
  std::vector<double> center;
  std::vector<ChargeTerm> terms;  ///< in the order of its list of actives
};

/// The sites of a density in their order: all, or those that have active functions.
std::vector<ChargeSite> AllSites(QXHermiteChargeDensity const& density);
std::vector<ChargeSite> ActiveSites(QXHermiteChargeDensity const& density);

}  // namespace QXHermiteMath

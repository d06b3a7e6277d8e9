#include "hermite/gridatoms/grid_to_multi_hermite.h"

#include <algorithm>

#include "host/molkit/mol.h"

namespace QXHermiteMath {

std::vector<double> QXGridToMultiHermite::FindHermiteSites(double siteSpacing, double valueFraction,
                                                           unsigned int maxSites) {
  QXMolKit::QXMol found(1);
  atoms.FindAtoms(found, 0.5 * siteSpacing, siteSpacing, valueFraction, maxSites);
  std::vector<double> sites(3 * static_cast<size_t>(found.NumAtoms()));
  found.GetCoords(sites.data());
  return sites;
}

QXMultiHermite QXGridToMultiHermite::FitMultiHermite(QXScalarGrid const& grid,
                                                     unsigned int nPolyMax, double lambda,
                                                     double siteSpacing, double valueFraction,
                                                     unsigned int maxSites, double activeFraction) {
  atoms.SetupGrid(grid, 0.0);
  const std::vector<double> sites = FindHermiteSites(siteSpacing, valueFraction, maxSites);
  const QXMultiHermiteParameters parameters(nPolyMax, lambda, sites);
  QXMultiHermite result(parameters);
  // Compared before it is truncated, so that no fraction is too large.
  const double all = parameters.NumBasis();
  const double maxActives = std::min(std::max(0.0, all * activeFraction), all);
  result.Setup(atoms.GetGridCoordinates(), atoms.GetGridValues(),
               static_cast<unsigned int>(maxActives));
  return result;
}

}  // namespace QXHermiteMath

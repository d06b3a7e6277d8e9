#pragma once

#include <vector>

#include "hermite/gridatoms/lasso_atoms.h"
#include "hermite/multihermite/multi_hermite.h"

namespace QXHermiteMath {

/// Fits an expansion about several sites to a grid: finds the sites as atoms (QXLassoAtoms), then
/// chooses and sizes functions by sparse regression on all positive elements (QXMultiHermite).
///
/// Example:
///   QXGridToMultiHermite fit;
///   QXMultiHermite density = fit.FitMultiHermite(grid, 3, 1.3, 1.2, 0.2, 30, 0.5);
class QXGridToMultiHermite {
 public:
  /// Sites and functions from a grid. nPolyMax and lambda, 1/angstrom, serve all sites.
  /// siteSpacing, valueFraction and maxSites: see FindHermiteSites. activeFraction: the largest
  /// part of all functions that may be active, 0 to 1. A grid without positive elements gives no
  /// sites.
  QXMultiHermite FitMultiHermite(QXScalarGrid const& grid, unsigned int nPolyMax, double lambda,
                                 double siteSpacing, double valueFraction, unsigned int maxSites,
                                 double activeFraction);

  /// Sites on the grid of the last FitMultiHermite, x, y and z of each, highest value of the fit
  /// first: at most maxSites atoms of radius siteSpacing/2, at least siteSpacing apart, in
  /// angstrom, where the grid is above valueFraction of its largest value. None before the first
  /// fit.
  std::vector<double> FindHermiteSites(double siteSpacing, double valueFraction,
                                       unsigned int maxSites);

 private:
  QXLassoAtoms atoms;
};

}  // namespace QXHermiteMath

#pragma once

#include <optional>
#include <string>

#include "hermite/foundations/options.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"
#include "tools/console.h"

// Pseudo-atoms for a density grid, by the methods that the command line offers.

namespace QXTools {

struct AtomSearch {
  AtomSearch() { expansion.SetNPolyMax(10); }

  std::string method = "refine";
  double radius = 1.3;
  double minDistance = 0.8;
  // refine, multistart
  double threshold = 0.15;  ///< least value under an atom or a start, as a part of the largest
  double startDistance = 0.8;
  unsigned int starts = 200;
  QXHermiteMath::QXHermiteOptions expansion;
  // lasso
  double valueFraction = 0.2;  ///< least value under an atom, as a part of the largest
  unsigned int maxAtoms = 100;
  std::string metric = "cosine";
};

struct FoundAtoms {
  QXMolKit::QXMol mol;
  double cosine = 0.0;  ///< of the densities at the elements of the grid
  double radius = 0.0;  ///< of the atoms there
  /// 1 - cosine of the expansions, with the options they had (refine, multistart).
  std::optional<double> objective;
  QXHermiteMath::QXHermiteOptions expansion;
  std::optional<double> score;  ///< by the metric (lasso)
};

/// Finds atoms for the density of a grid about the origin, whose file the console is told of where
/// there is something to tell. There may be none.
FoundAtoms FindAtoms(const QXCore::QXScalarGrid& grid, const AtomSearch& search,
                     const std::string& file, Console& console);

}  // namespace QXTools

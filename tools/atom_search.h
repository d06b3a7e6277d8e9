#pragma once

#include <optional>
#include <string>

#include "hermite/foundations/options.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"
#include "tools/listener.h"

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

/// Finds atoms for the density of a grid, which is `file` for the listener. Nothing when there are
/// no atoms to be found, or only such as do not overlap with it, which the listener is told; also
/// when they stand for little of it.
std::optional<FoundAtoms> FindAtoms(QXCore::QXScalarGrid grid, const AtomSearch& search,
                                    const std::string& file, Listener& listener);

}  // namespace QXTools

#include "hermite/gridatoms/grid_to_mol.h"

#include "hermite/gridatoms/lasso_atoms.h"
#include "host/molkit/mol.h"

namespace QXHermiteMath {

double QXGridToMol(QXCore::QXScalarGrid const& grid, QXMolKit::QXMolBase& mol, double radius,
                   double minDistance, double valueFraction, unsigned int maxAtoms,
                   unsigned int metric) {
  // The fit also reads the feet of the peaks on which candidates may stand.
  constexpr double kSamples = 0.9;
  QXLassoAtoms search;
  search.SetupGrid(grid, kSamples * valueFraction);
  QXMolKit::QXMol atoms(1);
  search.FindAtoms(atoms, radius, minDistance, valueFraction, maxAtoms);
  return search.OptimizeNumberOfAtoms(atoms, mol, metric);
}

}  // namespace QXHermiteMath

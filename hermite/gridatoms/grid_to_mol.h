#pragma once

#include "host/grid/scalar_grid.h"
#include "host/molkit/molbase.h"

namespace QXHermiteMath {

/// Replaces mol, a molecule and not a conformer of one, by carbons whose density reproduces a grid,
/// highest value first, and returns how well it does: QXLassoAtoms::FindAtoms, then
/// OptimizeNumberOfAtoms. The fit reads the elements above 0.9 valueFraction of the largest value.
///
/// radius: of the Gaussians fitted; one smaller than that of the atoms in the grid parts those that
/// run into each other. minDistance: of two atoms. Both in angstrom. valueFraction: the smallest
/// grid value under an atom, as a part of the largest. metric: 0 cosine, 1 Tanimoto. A grid without
/// positive elements gives no atoms and 0.
///
/// Example:
///   double tanimoto = QXGridToMol(grid, mol, 1.7, 1.0, 0.3, 30, 1);
double QXGridToMol(QXCore::QXScalarGrid const& grid, QXMolKit::QXMolBase& mol, double radius,
                   double minDistance, double valueFraction, unsigned int maxAtoms,
                   unsigned int metric);

}  // namespace QXHermiteMath

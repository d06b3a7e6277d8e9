#pragma once

#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/overlay/overlap.h"
#include "host/molkit/mol.h"

// What the overlays of molecules share: how a molecule becomes coefficients, the four starts of a
// fit, and the search from one of them.

namespace QXHermiteMath {

/// The shape density of one conformer: its heavy atoms, each of radius kOverlayAtomRadius.
std::vector<QXGaussian> GetHeavyAtomGaussians(QXMolKit::QXMolBase const& mol);

/// The expansion of that density.
QXHermite ExpandHeavyAtoms(QXMolKit::QXMolBase const& mol, QXHermiteOptions const& options);

/// The coefficients kept under `tag`, or null where there are none that are finite and of the size
/// of the basis.
const std::vector<double>* FindKeptCoefficients(QXCore::QXBase const& mol, const char* tag,
                                                QXHermiteOptions const& options);

/// The coefficients of a conformer: those kept under `tag`, else those of ExpandHeavyAtoms.
std::vector<double> GetConformerCoefficients(QXMolKit::QXConfBase const& conformer, const char* tag,
                                             QXHermiteOptions const& options);

/// The coefficients of a fit at each start: as it stands and, unless singleStart, after the half
/// turns about x, y and z. Start k of the fit itself is GetStart.
std::vector<std::vector<double>> GetStartCoefficients(std::vector<double> const& coefficients,
                                                      QXHermiteOptions const& options,
                                                      bool singleStart);

/// A molecule of the conformer, hydrogens included, at start k.
QXMolKit::QXMol GetStart(QXMolKit::QXConfBase const& conformer, size_t k);

/// The matrix of start k, nine doubles: rot_X, rot_Y, rot_Z for 1, 2, 3, and null for 0.
const double* GetStartRotation(size_t k);

/// The six variables of the optimum of `objective` that is found from the identity. An exhausted
/// limit is a result like any other.
std::vector<double> FindOptimum(QXMinimizer::QXFunc1& objective, double tolerance,
                                unsigned int iterationLimit);

/// The expansion of these coefficients, moved by the six variables p.
QXHermite MoveExpansion(std::vector<double> const& coefficients, QXHermiteOptions const& options,
                        std::vector<double> const& p);

}  // namespace QXHermiteMath

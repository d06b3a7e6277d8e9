#pragma once

#include <vector>

#include "host/core/gaussian.h"
#include "host/molkit/mol.h"

// From chemistry to mathematics: a molecule becomes a list of Gaussians, one an atom, in atom
// order. Values are worked out in double and narrowed to float once, in the QXGaussian.
// Hydrogens count like any other atom; QXSuppressHydrogens removes them first where unwanted.
// Nothing fails: no atoms give an empty list, a radius or sigma of 0 gives infinite widths.

namespace QXHermiteMath {

using QXCore::QXGaussian;
using QXMolKit::QXMol;

/// amplitudes.size() Gaussians A exp(-w |r - c|^2). coordinates: x, y, z of each. Sizes of widths
/// and coordinates are not checked.
std::vector<QXGaussian> makeGaussians(std::vector<double> amplitudes, std::vector<double> widths,
                                      std::vector<double> coordinates);

/// The shape density: amplitude 2.7 and width 2.34422871067 / radius^2 for every atom, so that
/// each integrates to the volume of a sphere of that radius (angstrom).
/// coordinates: x, y, z of each atom; a rest of one or two doubles is ignored.
std::vector<QXGaussian> makeShapeGaussians(const std::vector<double>& coordinates, double radius);

/// The shape density of a molecule's active conformer, hydrogens included.
std::vector<QXGaussian> QXMolToGaussians(QXMol mol, double radius);

/// The shape density of the atoms that QXSuppressHydrogens leaves, for one conformer or the active
/// one: the same list, without a copy of the molecule.
std::vector<QXGaussian> HeavyAtomsToGaussians(QXMolKit::QXMolBase const& mol, double radius);

/// Charges with the factor of a one-dimensional Gaussian: amplitude q / (sigma sqrt(2 pi)), width
/// 1 / (2 sigma^2). Not the density of QXMolToElectroStaticGaussians, on purpose.
std::vector<QXGaussian> makeElectrostaticGaussians(const std::vector<double>& coordinates,
                                                   const std::vector<double>& charges,
                                                   double sigma);

/// The charge density of a molecule: amplitude q / (sigma sqrt(2 pi))^3, width 1 / (2 sigma^2),
/// so that each Gaussian integrates to the partial charge of its atom. Overlays use this form.
std::vector<QXGaussian> QXMolToElectroStaticGaussians(QXMol mol, double sigma);

}  // namespace QXHermiteMath

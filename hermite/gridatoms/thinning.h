#pragma once

#include <array>
#include <limits>
#include <utility>
#include <vector>

#include "host/grid/scalar_grid.h"
#include "host/molkit/molbase.h"

// Points on the high values of a grid, thinned from the top: the highest is taken first, and any
// other when no point taken so far is closer than a distance. Of equal values that with the larger
// x comes first, then y, then z. Distances are in angstrom.

/// Replaces `coordinates` by thinned positions of elements, x, y, z of each, highest value first:
/// of the elements whose value is at least valueThreshold. Ends after the first `most`.
void UniformlySampleGrid(QXCore::QXScalarGrid const& grid, std::vector<double>& coordinates,
                         double minDistance, double valueThreshold,
                         size_t most = std::numeric_limits<size_t>::max());

namespace QXHermiteMath {

/// A value and the place that has it.
using ValuedPlace = std::pair<double, std::array<double, 3>>;

/// The places taken, x, y, z of each, highest value first. Ends after the first `most`.
std::vector<double> ThinPlaces(std::vector<ValuedPlace> candidates, double minDistance,
                               size_t most = std::numeric_limits<size_t>::max());

/// Replaces the atoms of mol by carbons on a thinned choice of their places, highest value first.
/// An atom counts with the value of the element in whose cell it lies. It is dropped outside the
/// box, and on a value below valueThreshold or one that is no number. mol is a molecule, not a
/// conformer of one.
void CleanUpResults(QXMolKit::QXMolBase& mol, QXCore::QXScalarGrid const& grid, double minDistance,
                    double valueThreshold);

}  // namespace QXHermiteMath

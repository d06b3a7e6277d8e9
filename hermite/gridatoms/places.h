#pragma once

#include <vector>

#include "host/molkit/molbase.h"

// Places of pseudo-atoms: x, y and z of each in one list, in angstrom.

namespace QXHermiteMath {

/// Replaces the contents of mol, a molecule and not a conformer of one, by a carbon at each place.
void SetCarbons(QXMolKit::QXMolBase& mol, std::vector<double> const& places);

/// Whether any of the places is closer to a point, three coordinates, than a distance.
bool IsNear(std::vector<double> const& places, double const* point, double distance);

}  // namespace QXHermiteMath

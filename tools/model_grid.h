#pragma once

#include <array>

#include "hermite/multihermite/multi_hermite.h"
#include "host/grid/scalar_grid.h"

namespace QXTools {

/// The cube, by its middle and its width, in angstrom, that holds the sites of an expansion.
struct SiteCube {
  std::array<double, 3> centre{};
  double width = 0.0;
};

SiteCube CubeOfSites(const QXHermiteMath::QXMultiHermiteParameters& layout);

/// Sets the elements of a grid, of any geometry, to the expansion at their places.
void EvaluateModel(QXHermiteMath::QXMultiHermite expansion, QXCore::QXScalarGrid& grid);

}  // namespace QXTools

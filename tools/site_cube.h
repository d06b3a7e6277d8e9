#pragma once

#include <array>

#include "hermite/multihermite/multi_hermite_parameters.h"

namespace QXTools {

/// The cube, by its middle and its width, in angstrom, that holds the sites of an expansion.
struct SiteCube {
  std::array<double, 3> centre{};
  double width = 0.0;
};

/// Of at least one site.
SiteCube CubeOfSites(const QXHermiteMath::QXMultiHermiteParameters& layout);

}  // namespace QXTools

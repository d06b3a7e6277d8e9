#pragma once

#include "host/grid/scalar_grid.h"

namespace QXCore {

/// Adds the Gaussian amplitude exp(-width |r - centre|^2) to the values of a grid, centre three
/// coordinates: each value in double precision, then narrowed and added to that of the element.
/// Factors along an axis of less than exp(-40), and Gaussians that are not finite there, are left
/// out.
void QXAddGaussian(QXScalarGrid& grid, double amplitude, double width, const double* centre);

}  // namespace QXCore

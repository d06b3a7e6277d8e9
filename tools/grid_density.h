#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "host/core/gaussian.h"
#include "host/grid/scalar_grid.h"
#include "tools/inertial_frame.h"
#include "tools/listener.h"

// Densities on grids, as the commands see them.

namespace QXTools {

/// True when the name ends as that of a grid file.
bool IsGridFile(const std::string& path);
/// What is wrong with the name of a grid file, or an empty text.
std::string CheckGridName(const std::string& path);

/// Reads a grid of finite values, some of them positive. Nothing otherwise, which the listener is
/// told.
std::optional<QXCore::QXScalarGrid> ReadDensityGrid(const std::string& path, Listener& listener);

/// The integral of the square: the sum over elements times the volume of one.
double SelfOverlap(const QXCore::QXScalarGrid& grid);

/// The options with widths for a grid that is expanded about `centre`, as given ones: where they
/// ask for it those of QXApproxHermiteBestLambda, but none so large that the functions of the basis
/// would be finer than the elements. One width for all axes is left to QXHermite::Setup.
QXHermiteMath::QXHermiteOptions WithWidths(QXHermiteMath::QXHermiteOptions options,
                                           const QXCore::QXScalarGrid& grid,
                                           const std::array<double, 3>& centre);

/// Tells that a basis is finer than the elements of a grid, by the share of the grid that the
/// expansion holds, which is above 1 then.
void WarnOfCoarseGrid(const std::string& path, double held, Listener& listener);
/// The same, and tells when the expansion holds less than half of the grid.
void WarnOfPoorExpansion(const std::string& path, double held, Listener& listener);

/// Cuts the largest values down to the one below which the given share of all that is positive
/// lies. The core peaks of electron densities, which no grid samples well, have little to do with
/// shape: uncut they decide where an overlay ends. A share of 1 changes nothing.
void CutPeaks(QXCore::QXScalarGrid& grid, double share);

/// Convolves the values with a Gaussian of standard deviation sigma, in angstrom: what lies within
/// four sigma of an element takes part, and beyond the grid there is nothing.
void Blur(QXCore::QXScalarGrid& grid, double sigma);

/// The frame with the origin in the centre of the density and its long, middle and short axis along
/// x, y and z. Only elements above a tenth of the largest value count, so that neither ripples
/// below zero nor the noise around a molecule have a say.
Frame FindInertialFrame(const QXCore::QXScalarGrid& grid);

/// Moves the grid in space by -centre, without resampling.
void MoveToOrigin(const Frame& frame, QXCore::QXScalarGrid& grid);

/// The expansion of a grid in a frame: moved there, then turned as a vector, without resampling.
/// Exact for one width on all axes.
QXHermiteMath::QXHermite ExpandInFrame(QXCore::QXScalarGrid grid, const Frame& frame,
                                       QXHermiteMath::QXHermiteOptions options);

/// The density of Gaussians at the elements of a grid of the same geometry as `like`.
QXCore::QXScalarGrid OnGrid(const std::vector<QXCore::QXGaussian>& gaussians,
                            const QXCore::QXScalarGrid& like);

/// The cosine of the angle between the values of two grids of the same geometry.
double Cosine(const QXCore::QXScalarGrid& a, const QXCore::QXScalarGrid& b);

}  // namespace QXTools

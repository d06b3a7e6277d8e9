#pragma once

#include <array>

#include "host/grid/scalar_grid.h"
#include "host/molkit/molbase.h"

// Overlaps of grids, and the density of a molecule on one.

namespace QXFieldKit {

/// A grid on its way to a handle.
class QXFieldGrid {
 public:
  /// Copies the grid.
  explicit QXFieldGrid(const QXCore::QXScalarGrid& grid) : grid_(grid) {}
  const QXCore::QXScalarGrid& GetGrid() const { return grid_; }

 private:
  QXCore::QXScalarGrid grid_;
};

/// Takes over a grid that was made with new, and returns its handle, counted from 1. All handles
/// live to the end of the program. Safe to call from many threads.
///
///     int handle = QXAcquireGridHandle(*new QXFieldGrid(grid));
int QXAcquireGridHandle(QXFieldGrid& grid);

/// The self overlap of A, that of B, and the overlap of A and B, each the sum over elements of the
/// product of values times the volume of an element. Where the geometries differ, the third is the
/// sum over the elements of A, at which B is read by trilinear interpolation, 0 more than 1e-4 of
/// an element outside its elements: B and A give another number then. Summed in double precision.
/// The last two arguments are not used. An unknown handle is an error report and gives three zeros.
std::array<float, 3> QXGridOverlap(int handleA, int handleB, int unused, float alsoUnused);

/// The same of two grids that have no handles.
std::array<float, 3> QXGridOverlap(const QXCore::QXScalarGrid& a, const QXCore::QXScalarGrid& b);

/// Fills a grid of given geometry with the density of the atoms of `mol`: a Gaussian
/// 2.7 exp(-w d^2), w = 2.34422871067/r^2, for every atom, r the Bondi radius of its element
/// (QXBondiRadius). All values are overwritten.
void QXMakeMolecularGaussianGrid(QXCore::QXScalarGrid& grid, const QXMolKit::QXMolBase& mol);

/// Adds the Gaussian of one atom of that density, at a centre of three coordinates. Atoms added in
/// their order give the grid of the molecule to the bit.
void QXAddAtomGaussian(QXCore::QXScalarGrid& grid, unsigned int atomicNumber, const double* centre);

/// The van der Waals radius of an element in angstrom, by A. Bondi, J. Phys. Chem. 68 (1964) 441,
/// with the main group completed by M. Mantina et al., J. Phys. Chem. A 113 (2009) 5806; 1.7 for
/// elements of neither.
double QXBondiRadius(unsigned int atomicNumber);

}  // namespace QXFieldKit

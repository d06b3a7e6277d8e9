#pragma once

#include <utility>
#include <vector>

#include "host/grid/scalar_grid.h"
#include "host/molkit/molbase.h"

namespace QXHermiteMath {

using QXCore::QXScalarGrid;
using QXMolKit::QXMolBase;

/// Turns a grid into carbons without a minimiser: thins the high values of the grid to candidate
/// places, lets a sparse regression pick those whose Gaussians together give the grid
/// (QXLassoGaussians), and drops picks that are too near to a better one.
///
/// Molecules are molecules, not conformers of one; coordinates are flat lists in angstrom. One
/// thread at a time. QXGridToMol is all of it in one call.
///
/// Example:
///   QXLassoAtoms search;
///   search.SetupGrid(grid, 0.2);
///   search.FindAtoms(atoms, 1.7, 1.0, 0.3, 30);
///   double tanimoto = search.OptimizeNumberOfAtoms(atoms, best, 1);
class QXLassoAtoms {
 public:
  /// Copies the grid and keeps its elements above a fraction of the largest value, or of 0 where
  /// none is positive, in the order of the grid: these are the samples of the fit. With a fraction
  /// of 0 that is every positive element, and no zero one. Replaces all state. Always true.
  bool SetupGrid(QXScalarGrid const& newGrid, double valueFraction);

  /// The elements kept and their values.
  std::vector<double> GetGridCoordinates() const { return gridCoordinates; }
  std::vector<double> GetGridValues() const { return gridValues; }

  /// Candidate places, highest value first: of the kept elements above a fraction of the largest
  /// value, each moved to its SampleGridLocalMaximum, those not nearer than minDistance to one
  /// taken before. Of equal values the larger x comes first, then y, then z.
  std::vector<double> SampleAtoms(double minDistance, double valueFraction);

  /// The highest of the grid at a kept element and at 100 random points beside it, by linear
  /// interpolation, and its place, three coordinates. The points lie up to one spacing towards
  /// larger coordinates, never towards smaller ones, and are the same ones beside every element.
  std::pair<double, std::vector<double>> SampleGridLocalMaximum(unsigned int index);

  /// Whether any of the places is nearer to a point than minDistance; at the distance is not.
  bool IsDuplicate(std::vector<double> const& coordinates, std::vector<double> const& point,
                   double minDistance);

  /// Replaces mol by a choice of its places, highest value first, at most maxAtoms carbons: an atom
  /// nearer than minDistance to one before it is dropped. One value an atom. Always true.
  bool DeduplicateAtoms(QXMolBase& mol, std::vector<double> const& values, double minDistance,
                        unsigned int maxAtoms);

  /// Replaces mol by at most maxAtoms carbons, at least minDistance apart, highest value of the fit
  /// first. radius: of their Gaussians. Candidates lie above valueFraction of the largest value,
  /// and stand five times as dense as the atoms; the regression may choose twice as many as remain.
  /// Always true.
  bool FindAtoms(QXMolBase& mol, double radius, double minDistance, double valueFraction,
                 unsigned int maxAtoms);

  /// Replaces out by the first atoms of in, as carbons: as many as make their density
  /// (QXFieldKit::QXMakeMolecularGaussianGrid) most like the grid, the fewest of equally good ones.
  /// Returns the score: metric 0 cosine, 1 Tanimoto, in single precision; any other scores 0, which
  /// leaves no atoms, as does all that scores no better than 0. in and out may be one molecule.
  double OptimizeNumberOfAtoms(QXMolBase const& in, QXMolBase& out, unsigned int metric);

 private:
  QXScalarGrid grid;
  std::vector<double> gridCoordinates;
  std::vector<double> gridValues;
  double spacing = 0.0;
  double maxValue = 0.0;
};

}  // namespace QXHermiteMath

#pragma once

#include <cstdint>
#include <string>

#include "hermite/overlay/cos_angle.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"
#include "host/numerics/random.h"

namespace QXHermiteMath {

/// Turns a grid into carbons whose density reproduces it: places them on high values, moves all at
/// once so that their expansion points along that of the grid (QXHermiteCosAngleFunc), and drops
/// those that ended outside, on low values or on one another.
///
/// The grid is expanded about the origin, so bring its density there (QXGridBase::SetMid), with a
/// transform that leads back; the basis must reach over it: functions of degree N and width lambda
/// end about sqrt(2 N + 1)/lambda from the origin. Give options with -UseOptimalLambdas and
/// -UseCenterOfMass false, see QXHermiteCosAngleFunc. One thread at a time.
///
/// Example:
///   QXGridToAtoms search(1.7, 0.8, 0.2, options, grid, trans);
///   QXMol atoms(1);
///   search.SampleStartingPoint(atoms);
///   double misfit = search.FindLocalMinimum(atoms);
///   search.OutputAtomsMol("atoms.sdf", atoms);
class QXGridToAtoms {
 public:
  /// Expands the grid. newRadius: of the atoms, angstrom. newMinDistance: the smallest distance of
  /// two atoms found, angstrom. valueFraction: the smallest grid value under an atom, as a part of
  /// the largest value of the grid (or of 0 where none is positive). newTrans: from the frame of
  /// the grid to that of the files written.
  QXGridToAtoms(double newRadius, double newMinDistance, double valueFraction,
                QXHermiteOptions const& newOptions, QXScalarGrid const& newGrid,
                QXTrans const& newTrans);

  /// Replaces mol by atoms on the highest values, at least 2.5 angstrom apart and no more than the
  /// self overlap of the grid holds, 200 at most: so the scale of the grid counts here, as if atoms
  /// had peaks of 2.7.
  void SampleStartingPoint(QXMol& mol);

  /// Moves the atoms of mol, a molecule and not a conformer of one, to the nearest minimum, and
  /// cleans up: what remains are carbons, highest value first. Returns the misfit at the minimum,
  /// 0 to 2, before the clean-up; NaN without atoms or where the grid is all zero. Any start will
  /// do: a dense one, 0.8 angstrom apart, is what parts bonded atoms, and those to spare end on one
  /// another or on low values.
  double FindLocalMinimum(QXMolKit::QXMolBase& mol);

  /// Writes mol, moved by the transform, in the format of the name.
  void OutputAtomsMol(std::string fileName, QXMol const& mol);

  /// Writes the density of mol, as its expansion has it, moved by the transform. The radius of the
  /// atoms is 1.7 here, whatever the object's own.
  void OutputAtomsGrid(std::string fileName, QXMol const& mol, float spacing);

 private:
  double radius;
  double minDistance;
  double valueThreshold;
  QXHermiteOptions options;
  QXHermiteCosAngleFunc objective;
  QXTrans trans;
  QXScalarGrid grid;
  QXCore::QXRandom random;  // never drawn from: the layout of a search with random starts
  uint32_t maxAtoms;
};

}  // namespace QXHermiteMath

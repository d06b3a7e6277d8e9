#pragma once

#include <string>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/overlay/overlap.h"
#include "hermite/overlay/shape_overlay.h"
#include "host/grid/scalar_grid.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXHermiteMath {

using QXMolKit::QXMCMolBase;
using QXMolKit::QXMolBase;

/// The best start of an overlay, and the motion that it found.
struct QXBestStart {
  double tanimoto = 0.0;   ///< of the expansions
  unsigned int start = 0;  ///< 0: the fit as it stood; 1, 2, 3: after a half turn about x, y, z
  std::vector<double> coefficients;  ///< of the moved fit; empty when no start scored above 0
  std::vector<double> variables = std::vector<double>(6);  ///< see rigid_motion.h; after the turn

  /// What happened to the fit, from where it stood to where it lies on the reference: the half turn
  /// if there is one, then the shift, then the rotation (that of FindPose). It applies to points of
  /// the frame in which the coefficients were made.
  QXTrans GetTransform() const;
};

/// The general overlay by shape: a reference given as molecule, grid or coefficients, fits given as
/// the conformers of a molecule, as a grid or as coefficients, in a basis that the constructor
/// fixes. Objective, starts and score are those of QXShapeOverlay: minus the overlap, minimised
/// from the fit as it stands and from its half turns about x, y and z; the Tanimoto.
///
/// No frame search happens here. SetupRef comes first. A copy is an overlay of its own. One thread
/// at a time.
///
/// Example, the pose that brings a density onto a grid:
///   QXHermiteShapeOverlay overlay(1e-8, 1000, 0.5, 10, true, 0.5, 20.0);
///   overlay.SetupRef(reference, QXTrans());
///   QXScalarGrid refOnGrid, fitOnGrid, moved;
///   double tanimoto = overlay.FindBestOverlay(fit, refOnGrid, fitOnGrid, moved, true, false);
class QXHermiteShapeOverlay {
 public:
  /// newTolerance and newIterationLimit go to QXBFGSOpt. The basis: newLambda on all axes, degree
  /// nPolyMax. With newMakeGrid, expansions are also put on grids of this spacing that reach over
  /// this width, see QXHermite::CreateGrid.
  QXHermiteShapeOverlay(double newTolerance, unsigned int newIterationLimit, double newLambda,
                        unsigned int nPolyMax, bool newMakeGrid, double newGridSpacing,
                        double newGridSize);

  /// The reference: the heavy atoms of one conformer. newTrans moves poses and grids at the end.
  bool SetupRef(QXMolBase const& mol, QXTrans const& newTrans);
  /// The reference: a density, expanded about the origin.
  bool SetupRef(QXScalarGrid const& grid, QXTrans const& newTrans);
  /// The reference: coefficients made under GetOptions().
  bool SetupRef(std::vector<double> const& coefficients, QXTrans const& newTrans);

  /// The basis of all expansions.
  QXHermiteOptions const& GetOptions() const { return options; }

  /// Overlays all conformers of fit, hydrogens taking no part in the density. A conformer with a
  /// finite coefficient vector of the basis size under "Hermite Shape Inertial Vector", such as a
  /// pose of an earlier call, is not expanded again. result: at most nPoses poses as conformers,
  /// best first, each with the data of FindLocalMinimum. Returns the best Tanimoto, 0 without a
  /// conformer.
  ///
  /// optimize false leaves every start where it is; singleStart true leaves out the half turns.
  double FindBestOverlay(QXMCMolBase const& fit, unsigned int nPoses, QXMCMolBase& result,
                         bool optimize, bool singleStart);

  /// Overlays a grid, by FindBestStart on its expansion about the origin. Returns the best
  /// Tanimoto, or 0 when none is above. Where grids are made:
  ///
  ///   refGridOut    the expansion of the last reference that was a grid
  ///   fitGridOut    the expansion of the fit, moved
  ///   movedGridOut  the fit itself, moved and resampled at its own spacing: it keeps all detail
  ///
  /// All three are moved by the transform of SetupRef. Without a score above 0 the fit stays where
  /// it is. Where no grids are made the three are left alone.
  double FindBestOverlay(QXScalarGrid const& fit, QXScalarGrid& refGridOut,
                         QXScalarGrid& fitGridOut, QXScalarGrid& movedGridOut, bool optimize,
                         bool singleStart);

  /// Overlays coefficients made under GetOptions(): the heart of the grid form, for callers that
  /// hold vectors. Of equal scores the earlier start is taken, and a score must be above 0.
  QXBestStart FindBestStart(std::vector<double> const& coefficients, bool optimize,
                            bool singleStart);

  /// One start. coefficients: of start on entry, of pose on return. variables: the motion found,
  /// six zeros with optimize false. Every conformer of pose gets the SD text "Shape Tanimoto", the
  /// moved coefficients under "Hermite Shape Inertial Vector" and, where grids are made, the moved
  /// expansion as a QXScalarGrid under "hermite grid". Returns the Tanimoto. An exhausted iteration
  /// limit is a result like any other.
  double FindLocalMinimum(QXMCMolBase const& start, std::vector<double>& coefficients,
                          QXMCMolBase& pose, std::vector<double>& variables, bool optimize);

 private:
  std::vector<OverlayPoint> FindPoints(std::vector<std::vector<double>> const& starts,
                                       bool optimize);
  bool SetupOverlap(std::vector<double> const& coefficients);
  double Score(std::vector<double> const& coefficients, OverlayPoint const& point) const;
  void Finish(QXMCMolBase const& start, std::vector<double>& coefficients, double tanimoto,
              std::vector<double> const& variables, QXMCMolBase& pose) const;
  QXScalarGrid MakeGrid(QXHermite const& h) const;

  double tolerance;
  unsigned int iterationLimit;
  QXHermiteOptions options;
  QXMol refMol;  // never read
  QXTrans trans;
  std::string coefficientTag = "Hermite Shape Inertial Vector";
  QXHermiteOverlap overlap;
  OverlapLanes lanes;  // of the same reference
  double gridSpacing;
  double gridSize;
  bool makeGrid;
  QXScalarGrid refGrid;
  QXScalarGrid fitGrid;
  QXScalarGrid movedGrid;
};

}  // namespace QXHermiteMath

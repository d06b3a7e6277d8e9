#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/overlay/lane_search.h"
#include "hermite/overlay/overlap.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXHermiteMath {

using QXMolKit::QXMol;
using QXMolKit::QXTrans;

/// The radius, in angstrom, that overlays give every atom of a shape density.
inline constexpr double kOverlayAtomRadius = 1.7;

/// Half turns about x, y and z, row-major: the further starts of an overlay. Entry k belongs to
/// entry k of ComputeInertialHermiteVectors.
extern const double rot_X[9];
extern const double rot_Y[9];
extern const double rot_Z[9];

/// Lays every conformer of a fit molecule over one fixed reference by rigid motion: four starts a
/// conformer (as it stands and the three half turns), each minimised on QXHermiteOverlap from the
/// identity. What is minimised is the negated overlap; the Tanimoto is computed at the end.
///
/// No frame search happens here: the caller brings reference and fit into the frames in which they
/// are to be compared (usually inertial frames), and says with trans how the poses get back to
/// where they are wanted.
///
/// Every fit is expanded with the options of the reference, and its coefficients are then read
/// under the reference's widths. So hand over a reference whose options have -UseOptimalLambdas
/// false (QXHermite::Setup from coefficients does that): with the flag true each fit would be
/// expanded at widths of its own, and the scores would mean nothing.
///
/// One thread at a time. Two objects that overlay molecules of one title at a time write one file.
///
/// Example:
///   QXShapeOverlay overlay(1e-6, 100, reference, QXTrans());
///   QXMol poses(1);
///   double tanimoto = overlay.FindBestOverlay(fit, 5, poses);
class QXShapeOverlay {
 public:
  /// tolerance and iterationLimit go to QXBFGSOpt. Copies the options of ref; its centre is not
  /// taken over.
  QXShapeOverlay(double tolerance, unsigned int iterationLimit, QXHermite const& ref,
                 QXTrans const& trans);

  /// Overlays all conformers of fit, hydrogens taking no part in the density. A conformer with a
  /// finite coefficient vector of the basis size under the empty tag, such as a pose of an earlier
  /// call, is not expanded again. result: at most nPoses poses as conformers, best first, each with
  /// the SD text "Shape Tanimoto" and its moved coefficients under the empty tag. Returns the best
  /// Tanimoto, 0 without a conformer. Always writes start, pose, start, pose ... to the file named
  /// after the title of fit plus ".qxb".
  double FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result);

  /// One minimisation. coefficients: of start on entry, of pose on return. Returns the Tanimoto.
  /// An exhausted iteration limit is a result like any other.
  double FindLocalMinimum(QXMol const& start, std::vector<double>& coefficients, QXMol& pose);

 private:
  double Finish(QXMol const& start, std::vector<double>& coefficients, OverlayPoint const& point,
                QXMol& pose);

  double tolerance;
  unsigned int iterationLimit;
  QXHermiteOptions options;
  QXHermiteOptions secondOptions;  // never read: the layout of an overlay by shape and charge
  QXMol refMol;                    // never read, for the same reason
  QXTrans trans;
  std::string coefficientTag;  // stays empty: the empty text is the tag
  QXHermiteOverlap overlap;
  OverlapLanes lanes;  // of the same reference
};

}  // namespace QXHermiteMath

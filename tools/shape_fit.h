#pragma once

#include "hermite/overlay/gaussian_overlap.h"
#include "hermite/overlay/shape_screen.h"
#include "host/molkit/mol.h"
#include "tools/overlay_arguments.h"
#include "tools/reference.h"

namespace QXTools {

/// Lays molecules over a reference by shape.
class ShapeFit {
 public:
  ShapeFit(const OverlayArguments& arguments, const Reference& reference);

  /// work: the conformers of one molecule in the frame of the reference, each with coefficients
  /// under `coefficientTag`. The best poses, in the coordinates of the reference, best first, each
  /// with its "Shape Tanimoto" and what else its conformer carries.
  QXMolKit::QXMol FindPoses(const QXMolKit::QXMol& work, const char* coefficientTag);

 private:
  unsigned int poses_;
  bool withGaussians_;
  QXMolKit::QXTrans back_;
  QXHermiteMath::QXShapeScreen screen_;
};

/// The shape Tanimotos of poses and a molecule, from the sums of their atoms' Gaussians: no
/// expansion has a part in them.
class ExactScore {
 public:
  /// The reference in its frame: atoms are compared about its centre, since far from the origin
  /// Gaussians have few digits left. Without its Gaussians there are no scores.
  explicit ExactScore(const Reference& reference);
  bool Exists() const { return exists_; }
  /// Of a pose, in the coordinates of the reference.
  double operator()(const QXMolKit::QXMol& pose);

 private:
  bool exists_;
  Frame frame_;
  QXHermiteMath::QXGaussianOverlap overlap_;
};

}  // namespace QXTools

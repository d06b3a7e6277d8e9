#pragma once

#include <array>
#include <limits>
#include <vector>

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/expansion/hermite.h"
#include "hermite/frame/axis_turns.h"
#include "hermite/overlay/gaussian_overlap.h"
#include "hermite/overlay/lane_search.h"
#include "hermite/overlay/overlap_lanes.h"

namespace QXHermiteMath {

/// How a screen looks for poses.
struct QXShapeScreenSettings {
  double tolerance = 1e-6;            ///< of the minimiser, relative
  unsigned int iterationLimit = 200;  ///< of one minimisation
  /// 4: the inertial axes agree up to half turns. 24, the most: any axis may lie along any other,
  /// which finds the poses of molecules whose moments are alike, or have little to do with the best
  /// overlap.
  unsigned int starts = 4;
  /// Every start is searched at this degree, the best few poses then at that of the reference. 0,
  /// or at least that: all at that of the reference.
  unsigned int searchDegree = 0;
  /// This many of the best poses of a fit are brought to the optimum of the exact overlap.
  unsigned int polish = 0;
};

/// One conformer to be laid over the reference, in the frame of overlays.
struct QXShapeFit {
  /// Its Gaussians. Needed where there are no coefficients, and for exact overlaps.
  std::vector<QXGaussian> gaussians;
  /// Its coefficients under the options of the reference, the whole basis; empty: made from the
  /// Gaussians.
  std::vector<double> coefficients;
};

/// A pose that a screen found: conformer, then GetAxisTurns()[start], then FindPose with x.
struct QXShapePose {
  size_t conformer = 0;       ///< of the fit, from 0
  size_t start = 0;           ///< which of the turns it started from
  std::array<double, 6> x{};  ///< see rigid_motion.h; after the turn
  double tanimoto = 0.0;      ///< of the expansions
  /// Of the sums of Gaussians; NaN where the screen or the fit has no Gaussians.
  double exactTanimoto = std::numeric_limits<double>::quiet_NaN();
};

/// Lays fits over one reference, many a second: what QXShapeOverlay does, without molecules, and
/// further: more starts, coarse searches, exact overlaps.
///
/// The overlap is first order: of Gaussians, one an atom, summed over pairs. Its maximum is found
/// on the expansions, which are smooth and cheap, from all starts at once in SIMD lanes; the best
/// poses are then carried to the maximum of the sum itself, which no expansion limits.
///
/// One thread at a time; objects share nothing.
///
/// Example:
///   QXShapeScreen screen(reference, refGaussians, {.polish = 2});
///   for (const QXShapePose& pose : screen.FindPoses({{fitGaussians, {}}}, 1)) Use(pose);
class QXShapeScreen {
 public:
  /// The reference, expanded about the origin; its widths are used for all fits, and must be equal
  /// for 24 starts. Without refGaussians there are no exact overlaps, and nothing is polished.
  QXShapeScreen(QXHermite const& ref, std::vector<QXGaussian> const& refGaussians,
                QXShapeScreenSettings const& newSettings);

  /// The best poses over all conformers, at most nPoses, best first: by exact Tanimoto where poses
  /// are polished, else by that of the expansions. Poses that several starts led to count once.
  /// A Tanimoto that is not a number, of a fit that is not finite, comes last.
  std::vector<QXShapePose> FindPoses(std::vector<QXShapeFit> const& conformers, size_t nPoses);

 private:
  struct Stage {
    unsigned int degree;
    OverlapLanes lanes;
    double refSelfOverlap;
    std::vector<TurnOfCoefficients> turns;
    std::vector<double> model;  ///< of the minimiser
  };
  Stage MakeStage(QXHermite const& ref, unsigned int degree) const;
  void Expand(std::vector<QXShapeFit> const& conformers);
  void Search(Stage& stage, double tolerance, std::vector<QXShapePose>& poses);
  void Polish(std::vector<QXShapeFit> const& conformers, std::vector<QXShapePose>& poses);
  void ScoreExpansion(QXShapePose& pose);
  double SelfOverlap(Stage const& stage, const double* c) const;
  void MakeExact(QXShapeFit const& fit, bool polish, QXShapePose& pose);

  QXShapeScreenSettings settings;
  QXHermiteOptions options;
  std::vector<double> norms;  ///< of SumOfNormalizedSquares
  QXGaussianToHermite engine;
  std::vector<Stage> stages;
  bool exact;
  QXGaussianOverlap gaussianOverlap;
  std::vector<double> coefficients;  ///< of all conformers, one after the other
};

}  // namespace QXHermiteMath
